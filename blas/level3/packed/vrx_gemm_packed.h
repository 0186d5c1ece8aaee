// GEMM for the 128-bit and AVX CPU types (0, 2, 3, 4) in every precision: the
// sequential routes, the SSE2 blocked loop, the packed driver with its kernel table
// rows and the shared-operand modes that the classic road's workers run. Templates
// over the element type T (float, double, vrx_complex_float, vrx_complex_double),
// instantiated for the four in the sources beside this header.
//
// Extents count elements of T. A complex packed A panel takes two elements per row
// and step (vrx_gemm_a_expansion), since the kernels multiply on the real blocks.
#pragma once
#include <cstddef>
#include "blas/level3/packed/vrx_gemm_kernels.h"
#include "blas/vrx_blas.h"

template <typename T>
constexpr vrx_int vrx_gemm_a_expansion = vrx_traits<T>::is_complex ? 2 : 1;

// The kernels of a class for T.
template <typename T>
const vrx_gemm_class_kernels<T>* vrx_gemm_class_of(const vrx_gemm_class_table& table) {
  if constexpr (std::is_same_v<T, float>) return table.s;
  else if constexpr (std::is_same_v<T, double>) return table.d;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return table.c;
  else return table.z;
}
template <typename T>
const vrx_gemm_blocked_kernels<T>* vrx_gemm_blocked_of(const vrx_gemm_blocked_table& table) {
  if constexpr (std::is_same_v<T, float>) return table.s;
  else if constexpr (std::is_same_v<T, double>) return table.d;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return table.c;
  else return table.z;
}

// ---- sequential routes (entries of the sequential dispatcher) ----
// The SSE2 route: `set` 0 the first kernel set, 1 the second (reproducible) one.
template <typename T>
void vrx_gemm_route_sse2(int set, const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                         const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                         const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc);
template <typename T>
void vrx_gemm_route_sse2_first(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                       const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                       T* c, const vrx_int* ldc);
template <typename T>
void vrx_gemm_route_sse2_second(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                       const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                       T* c, const vrx_int* ldc);
template <typename T>
void vrx_gemm_route_ssse3(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                       const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                       T* c, const vrx_int* ldc);
template <typename T>
void vrx_gemm_route_sse42(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                       const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                       T* c, const vrx_int* ldc);
template <typename T>
void vrx_gemm_route_avx(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                       const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                       T* c, const vrx_int* ldc);

// The double-precision names of the routes.
vrx_gemm_fn_type<double> vrx_blas_dgemm_route_sse2, vrx_blas_dgemm_route_sse2_compatible, vrx_blas_dgemm_route_ssse3,
    vrx_blas_dgemm_route_sse42, vrx_blas_dgemm_route_avx;

// ---- scratch memory of the blocked roads ----
// Every blocked road of this family allocates through this pointer; tests point it
// at a failing allocator to exercise the fallback.
typedef void* (*vrx_gemm_scratch_alloc_fn)(std::size_t size, int alignment);
extern vrx_gemm_scratch_alloc_fn vrx_gemm_scratch_alloc;

// ---- the SSE2 blocked loop (CPU type 0, and type 2 off branch 1) ----
enum vrx_sse2_kernel_set {
  VRX_SSE2_SET_FIRST = 0,   // 4-row register blocks
  VRX_SSE2_SET_SECOND = 1,  // pairs of rows: the reproducible set
};
// Blocks in elements of T; `bytes` is the one allocation.
struct vrx_sse2_blocks {
  vrx_int kc, mc, nb;
  std::size_t bytes;
};
template <typename T = double>
vrx_sse2_blocks vrx_gemm_sse2_block_rule(vrx_int m, vrx_int n, vrx_int k);
vrx_sse2_blocks vrx_blas_dgemm_sse2_block_rule(vrx_int m, vrx_int n, vrx_int k);
// C += op(A) op(B) * alpha with C already scaled by beta (transposition codes 0 N,
// 1 T, 2 C). Answers 0, or -1 when the allocation failed and nothing was computed.
template <typename T>
int vrx_gemm_sse2_blocked(int set, int a_trans, int b_trans, vrx_int m, vrx_int n, vrx_int k, T alpha, const T* a,
                          vrx_int lda, const T* b, vrx_int ldb, T* c, vrx_int ldc);

// Route choice for the other vendor's processors on CPU type 0.
enum { VRX_SSE2_ROUTE_PLAIN = 0, VRX_SSE2_ROUTE_FAMILY10 = 1, VRX_SSE2_ROUTE_FMA4 = 2 };
int vrx_blas_dgemm_sse2_amd_route();

// ---- the packed driver of CPU types 2, 3 and 4 ----
template <typename T>
struct vrx_gemm_context_t;
template <typename T>
using vrx_gemm_block_fn = void (*)(vrx_gemm_context_t<T>* ctx, vrx_int m, vrx_int n, vrx_int k);
template <typename T>
using vrx_gemm_sizing_fn = int (*)(vrx_gemm_context_t<T>* ctx, int code, vrx_int m, vrx_int n, vrx_int k);
template <typename T>
using vrx_gemm_alloc_fn = int (*)(vrx_gemm_context_t<T>* ctx);

template <typename T>
struct vrx_gemm_row_t {
  vrx_int mr, nr, ku, strips;
  vrx_int min_m, min_n, min_k;
  unsigned flags;
  vrx_gemm_block_fn<T> block;
  vrx_gemm_sizing_fn<T> sizing;
  vrx_gemm_alloc_fn<T> allocate;
  vrx_gemm_pack_fn<T> pack_a[3];  // by transposition code N, T, C
  vrx_gemm_pack_fn<T> pack_b[3];
  vrx_gemm_kernel_fn<T> kernel;
  vrx_gemm_kernel_fn<T> reserve[2];
};

template <typename T>
struct vrx_gemm_buffer_t {
  T* data;
  vrx_int elements;
  std::size_t bytes;
  int align_shift;
};

template <typename T>
struct vrx_gemm_context_t {
  vrx_gemm_row_t<T> row;
  vrx_int mc, nc, kc;
  vrx_gemm_buffer_t<T> a, b, strips;
  void* raw;                  // the one allocation behind the buffers
  std::size_t a_fault_bytes;  // the part of A this call fills, faulted in at allocation
  int variant;                // which family of block rules applies (see vrx_gemm_variant)
  const vrx_gemm_class_kernels<T>* kernels;  // the class's in-place kernels and scaling
};
typedef vrx_gemm_row_t<double> vrx_gemm_row;
typedef vrx_gemm_context_t<double> vrx_gemm_context;
typedef vrx_gemm_pack_fn<double> vrx_gemm_dpack_fn;

enum vrx_gemm_variant {
  VRX_GEMM_VARIANT_AVX = 0,
  VRX_GEMM_VARIANT_SSE42 = 1,
  VRX_GEMM_VARIANT_SSSE3_SSE41 = 2,  // SSSE3 with SSE4.1: the SSE4.2 blocks
  VRX_GEMM_VARIANT_SSSE3_PLAIN = 3,  // SSSE3 without SSE4.1
};

// Sizing codes: which buffers an allocation holds.
enum {
  VRX_GEMM_SIZE_ALL = 100,
  VRX_GEMM_SIZE_A = 101,
  VRX_GEMM_SIZE_B = 102,
  VRX_GEMM_SIZE_A_B = 103,
  VRX_GEMM_SIZE_B_STRIPS = 104,
  VRX_GEMM_SIZE_A_STRIPS = 105,
  VRX_GEMM_SIZE_STRIPS = 106,
  VRX_GEMM_SIZE_EXTENTS = 107,  // blocks from the call's extents, rounded to the register block
  VRX_GEMM_SIZE_ROUND = 108,    // the blocks themselves, rounded to the register block
};

// Rows of the kernel table (double unless asked otherwise).
template <typename T = double>
const vrx_gemm_row_t<T>* vrx_gemm_row_avx();
template <typename T = double>
const vrx_gemm_row_t<T>* vrx_gemm_row_sse42(int submodel66);
template <typename T = double>
const vrx_gemm_row_t<T>* vrx_gemm_row_ssse3(int with_sse41);
// The row choice of this processor and branch, asked once per process.
template <typename T = double>
const vrx_gemm_row_t<T>* vrx_gemm_row_sse42_here();
int vrx_gemm_ssse3_has_sse41_here();
// The kernels of the class behind a variant.
template <typename T>
const vrx_gemm_class_kernels<T>* vrx_gemm_variant_kernels(int variant);

// Shared pieces of the rows.
template <typename T>
void vrx_gemm_block_rule(vrx_gemm_context_t<T>* ctx, vrx_int m, vrx_int n, vrx_int k);
template <typename T>
int vrx_gemm_sizing(vrx_gemm_context_t<T>* ctx, int code, vrx_int m, vrx_int n, vrx_int k);
template <typename T>
int vrx_gemm_allocate(vrx_gemm_context_t<T>* ctx);
template <typename T>
void vrx_gemm_release(vrx_gemm_context_t<T>* ctx);
template <typename T>
void vrx_gemm_context_init(vrx_gemm_context_t<T>* ctx, const vrx_gemm_row_t<T>* row, int variant);
template <typename T>
int vrx_gemm_mode_query(const vrx_gemm_context_t<T>* ctx, vrx_int m, vrx_int n, vrx_int k);

// ---- shared-operand modes of the packed driver ----
// One k block (k <= ctx->kc) of C(m x n) (+)= op(A) op(B) alpha:
//   8:  `shared` holds op(A) packed with alpha; B block and strips private.
//   16: `shared` holds op(A) packed with alpha; only the strips private.
//   32: `shared` holds op(B) packed; A packed a panel at a time into the private strips.
//   64: nothing shared; A block and strips private, B taken a strip at a time.
// The private buffers come from vrx_gemm_shared_mode_prepare; `store` writes C
// without reading it. Transpositions are codes 0 N, 1 T, 2 C.
int vrx_gemm_shared_mode_code(int mode);
// Sizes and allocates the private buffers of `mode` for blocks of at most m x n x k; -1 on failure.
template <typename T>
int vrx_gemm_shared_mode_prepare(vrx_gemm_context_t<T>* ctx, int mode, vrx_int m, vrx_int n, vrx_int k);
template <typename T>
void vrx_gemm_shared_mode_run(vrx_gemm_context_t<T>* ctx, int mode, int a_trans, int b_trans, vrx_int m, vrx_int n,
                              vrx_int k, T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb, const T* shared,
                              T* c, vrx_int ldc, int store);
// Packs rows [first, first + count) of an m-row block of op(A) into its panels of `packed`
// (the block is kb deep), k columns [l_first, l_first + l_count) only.
template <typename T>
void vrx_gemm_pack_a_part(const vrx_gemm_context_t<T>* ctx, int a_trans, vrx_int m, vrx_int kb, vrx_int first,
                          vrx_int count, vrx_int l_first, vrx_int l_count, T alpha, const T* a, vrx_int lda,
                          T* packed);
// Modes 8, 16, 32 (one operand packed by the caller: ctx->a.data for 8 and 16, ctx->b.data
// for 32, k <= kc) and 64 (A block private, B a strip at a time), after the driver's beta
// and alpha steps. -1 when the private buffers cannot be had.
template <typename T>
int vrx_gemm_packed_shared_entry(vrx_gemm_context_t<T>* ctx, int mode, int a_trans, int b_trans, vrx_int m,
                                 vrx_int n, vrx_int k, T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb, T* c,
                                 vrx_int ldc, int store);

// Steps 4 and 5 of the packed routes: scale C by beta, stop for alpha = 0, then the
// packed driver in `mode` (0: the mode query decides) when m, n, k reach the row's
// register block, else the unpacked kernel.
template <typename T>
void vrx_gemm_packed_route_tail(const vrx_gemm_row_t<T>* row, int variant, int mode, const char* transa,
                                const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                                const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb,
                                const T* beta, T* c, const vrx_int* ldc);

// Runs one product on the packed road. mode 0 asks the mode query. Below the row's
// minimum extents, and when the allocation fails, the unpacked kernel runs instead.
template <typename T>
void vrx_gemm_packed(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                     const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                     T* c, const vrx_int* ldc, int mode, vrx_gemm_context_t<T>* ctx);
void vrx_blas_dgemm_packed(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                           const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                           const double* b, const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc,
                           int mode, vrx_gemm_context* ctx);

// Transposition code of an operand for the packing routines: 0 N, 1 T, 2 C; any
// other character transposes. Real data has no conjugation: C packs as T.
inline int vrx_gemm_pack_code(char t) { return vrx_gemm_kernel_trans(t); }
