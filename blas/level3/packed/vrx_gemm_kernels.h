// What the instruction-class folders give the GEMM roads of CPU types 0, 2, 3 and 4:
// one table of kernels per class and element type, plain records only. The class
// folders include this header; the engine reads the tables.
#pragma once
#include <cstddef>
#include "blas/vrx_blas.h"

// Extent of the panel starting at i when `extent` is cut into panels of `full`, then
// the bits of the remainder, largest first (e.g. 8, 8, 4, 1 for 21).
static inline vrx_int vrx_gemm_panel_extent(vrx_int i, vrx_int extent, vrx_int full) {
  const vrx_int left = extent - i;
  if (left >= full) return full;
  vrx_int h = full >> 1;
  while (h > left) h >>= 1;
  return h;
}
// Transposition code of a kernel: 0 N, 1 T, 2 C (conjugate transpose); any other
// character transposes.
static inline int vrx_gemm_kernel_trans(char t) {
  const char u = static_cast<char>(t & ~0x20);
  return u == 'N' ? 0 : u == 'C' ? 2 : 1;
}

// Packs `extent` rows of op(X) (columns for B) by kb steps of k, starting at the given
// source, times `factor`, into panels of the register block.
template <typename T>
using vrx_gemm_pack_fn = void (*)(vrx_int extent, vrx_int kb, T factor, const T* src, vrx_int ld, T* out);
// C(m x n) (+)= packed A * packed B; store = 1 writes without reading C.
template <typename T>
using vrx_gemm_kernel_fn = void (*)(vrx_int m, vrx_int n, vrx_int k, const T* apack, const T* bpack, T* c,
                                    vrx_int ldc, int store);
// C := beta C over an m x n block; beta = 0 stores zeros without reading C.
template <typename T>
using vrx_gemm_scale_c_fn = void (*)(vrx_int m, vrx_int n, T beta, T* c, vrx_int ldc);

// The kernels of one class for one element type. A complex packed A panel of h rows
// and kb steps takes 2 h kb elements (each value becomes a real 2 x 2 block); a B
// panel of w columns takes w kb elements.
template <typename T>
struct vrx_gemm_class_kernels {
  vrx_gemm_fn<T> small;     // any beta, operands read in place
  vrx_gemm_fn<T> tiny_k;    // 1 <= k <= 10, beta = 1
  vrx_gemm_fn<T> unpacked;  // the allocation-free fallback of the blocked roads
  vrx_gemm_scale_c_fn<T> scale_c;
  vrx_gemm_pack_fn<T> pack_a[3];  // by transposition code N, T, C (null in the SSE2 class)
  vrx_gemm_pack_fn<T> pack_b[3];
  vrx_gemm_kernel_fn<T> kernel;       // the packed register block
  vrx_gemm_kernel_fn<T> kernel_rows;  // the same with A panels outside
  vrx_int mr, nr;                     // its rows and columns of C
};

// The pieces of the SSE2 blocked loop for one element type. Packed A: panels with kp
// real values per real row (kp a multiple of 4, zero padded), alpha folded in; packed
// B: panels of 4 columns with kp values per column. `dup` is scratch of kp * 8 reals.
template <typename T>
struct vrx_gemm_blocked_kernels {
  void (*pack_a)(int set, int trans, vrx_int rows, vrx_int kb, vrx_int kp, T alpha, const T* a, vrx_int lda,
                 T* out);
  void (*pack_b)(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const T* b, vrx_int ldb, T* out);
  // C(mb x nb) += packed A * packed B.
  void (*block)(int set, vrx_int mb, vrx_int nb, vrx_int kp, const T* apack, const T* bpack, T* dup, T* c,
                vrx_int ldc);
};

// One class, every element type.
struct vrx_gemm_class_table {
  const vrx_gemm_class_kernels<float>* s;
  const vrx_gemm_class_kernels<double>* d;
  const vrx_gemm_class_kernels<vrx_complex_float>* c;
  const vrx_gemm_class_kernels<vrx_complex_double>* z;
};
extern const vrx_gemm_class_table vrx_gemm_kernels_sse2;
extern const vrx_gemm_class_table vrx_gemm_kernels_ssse3;
extern const vrx_gemm_class_table vrx_gemm_kernels_sse42;
extern const vrx_gemm_class_table vrx_gemm_kernels_avx;

struct vrx_gemm_blocked_table {
  const vrx_gemm_blocked_kernels<float>* s;
  const vrx_gemm_blocked_kernels<double>* d;
  const vrx_gemm_blocked_kernels<vrx_complex_float>* c;
  const vrx_gemm_blocked_kernels<vrx_complex_double>* z;
};
extern const vrx_gemm_blocked_table vrx_gemm_blocked_sse2;

// The double-precision entries of each class by name (routes, tests and benchmarks
// call them directly).
#define VRX_GEMM_DIRECT_DECLARE(cls)                                                              \
  vrx_gemm_fn_type<double> vrx_blas_dgemm_small_##cls, vrx_blas_dgemm_tiny_k_##cls,                \
      vrx_blas_dgemm_unpacked_##cls;                                                               \
  void vrx_blas_dgemm_scale_c_##cls(vrx_int m, vrx_int n, double beta, double* c, vrx_int ldc);
VRX_GEMM_DIRECT_DECLARE(sse2)
VRX_GEMM_DIRECT_DECLARE(ssse3)
VRX_GEMM_DIRECT_DECLARE(sse42)
VRX_GEMM_DIRECT_DECLARE(avx)
#undef VRX_GEMM_DIRECT_DECLARE

// The two double-precision kernels of the SSE2 blocked loop by name. dup copies each B
// panel doubled and suits tall blocks; swap reads packed B as it stands and takes A
// packed by pack_a_pairs (pairs of rows, each k step as (a0, a1) then (a1, a0):
// 2 * rows * kp doubles). Both give bitwise identical results.
enum vrx_sse2_kernel { VRX_SSE2_KERNEL_DUP = 0, VRX_SSE2_KERNEL_SWAP = 1 };
int vrx_sse2_gemm_kernel_for(vrx_int mb);
void vrx_sse2_gemm_pack_a(int trans, vrx_int rows, vrx_int kb, vrx_int kp, int height, double alpha,
                          const double* a, vrx_int lda, double* out);
void vrx_sse2_gemm_pack_a_pairs(int trans, vrx_int rows, vrx_int kb, vrx_int kp, double alpha, const double* a,
                                vrx_int lda, double* out);
void vrx_sse2_gemm_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const double* b, vrx_int ldb,
                          double* out);
void vrx_sse2_gemm_block(int kernel, int height, vrx_int mb, vrx_int nb, vrx_int kp, const double* apack,
                         const double* bpack, double* dup, double* c, vrx_int ldc);
