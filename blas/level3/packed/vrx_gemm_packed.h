// GEMM for the 128-bit and AVX CPU types (0, 2, 3, 4): the sequential routes, the
// SSE2 blocked loop, the packed driver with its kernel table rows, and the
// per-class kernels that read A, B and C where they lie.
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

// ---- kernels that read the operands in place (one set per instruction class) ----
// small: C := alpha op(A) op(B) + beta C for any beta (beta = 0 never reads C).
// tiny_k: 1 <= k <= 10 and beta = 1, one body per k picked by a branch tree.
// unpacked: the allocation-free fallback of every blocked road; any beta.
#define VRX_GEMM_DIRECT_DECLARE(cls)                                                                           \
  void vrx_blas_dgemm_small_##cls(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,   \
                                  const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,   \
                                  const double* b, const vrx_int* ldb, const double* beta, double* c,           \
                                  const vrx_int* ldc);                                                          \
  void vrx_blas_dgemm_tiny_k_##cls(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,  \
                                   const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,  \
                                   const double* b, const vrx_int* ldb, const double* beta, double* c,          \
                                   const vrx_int* ldc);                                                         \
  void vrx_blas_dgemm_unpacked_##cls(const char* transa, const char* transb, const vrx_int* m,                  \
                                     const vrx_int* n, const vrx_int* k, const double* alpha, const double* a,  \
                                     const vrx_int* lda, const double* b, const vrx_int* ldb,                   \
                                     const double* beta, double* c, const vrx_int* ldc);                        \
  void vrx_blas_dgemm_scale_c_##cls(vrx_int m, vrx_int n, double beta, double* c, vrx_int ldc);
VRX_GEMM_DIRECT_DECLARE(sse2)
VRX_GEMM_DIRECT_DECLARE(ssse3)
VRX_GEMM_DIRECT_DECLARE(sse42)
VRX_GEMM_DIRECT_DECLARE(avx)

// ---- sequential routes (entries of the sequential dispatcher) ----
void vrx_blas_dgemm_route_sse2(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                               const double* b, const vrx_int* ldb, const double* beta, double* c,
                               const vrx_int* ldc);
// The second kernel set of the SSE2 route: reproducibility branches other than 1.
void vrx_blas_dgemm_route_sse2_compatible(const char* transa, const char* transb, const vrx_int* m,
                                          const vrx_int* n, const vrx_int* k, const double* alpha, const double* a,
                                          const vrx_int* lda, const double* b, const vrx_int* ldb,
                                          const double* beta, double* c, const vrx_int* ldc);
void vrx_blas_dgemm_route_ssse3(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                const double* b, const vrx_int* ldb, const double* beta, double* c,
                                const vrx_int* ldc);
void vrx_blas_dgemm_route_sse42(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                const double* b, const vrx_int* ldb, const double* beta, double* c,
                                const vrx_int* ldc);
void vrx_blas_dgemm_route_avx(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                              const double* b, const vrx_int* ldb, const double* beta, double* c,
                              const vrx_int* ldc);

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
struct vrx_sse2_blocks {
  vrx_int kc, mc, nb;
  std::size_t bytes;  // the one allocation
};
vrx_sse2_blocks vrx_blas_dgemm_sse2_block_rule(vrx_int m, vrx_int n, vrx_int k);
// C += op(A) op(B) * alpha with C already scaled by beta. Answers 0, or -1 when
// the allocation failed and nothing was computed.
int vrx_blas_dgemm_sse2_blocked(int set, int a_trans, int b_trans, vrx_int m, vrx_int n, vrx_int k, double alpha,
                                const double* a, vrx_int lda, const double* b, vrx_int ldb, double* c,
                                vrx_int ldc);

// Kernels of the blocked loop (blas/kernels/sse2). Packed A: panels of `height`
// (then 2, 1) with kp values per row, alpha folded in; packed B: panels of
// 4 columns (then 2, 1). kp is a multiple of 4, padded with zeros. `dup` holds
// kp * 8 doubles of scratch for the broadcast copy of one B panel (dup kernel only).
// The two register-block kernels give bitwise identical results: dup copies each B
// panel doubled and suits tall blocks; swap reads packed B as it stands and takes A
// packed by pack_a_pairs (pairs of rows, each k step as (a0, a1) then (a1, a0):
// 2 * rows * kp doubles).
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

// Route choice for the other vendor's processors on CPU type 0.
enum { VRX_SSE2_ROUTE_PLAIN = 0, VRX_SSE2_ROUTE_FAMILY10 = 1, VRX_SSE2_ROUTE_FMA4 = 2 };
int vrx_blas_dgemm_sse2_amd_route();

// ---- the packed driver of CPU types 2, 3 and 4 ----
struct vrx_gemm_context;
typedef void (*vrx_gemm_block_fn)(vrx_gemm_context* ctx, vrx_int m, vrx_int n, vrx_int k);
typedef int (*vrx_gemm_sizing_fn)(vrx_gemm_context* ctx, int code, vrx_int m, vrx_int n, vrx_int k);
typedef int (*vrx_gemm_alloc_fn)(vrx_gemm_context* ctx);
// Packs rows/cols x kb of op(X) starting at the given source, scaled by `factor`.
typedef void (*vrx_gemm_pack_fn)(vrx_int extent, vrx_int kb, double factor, const double* src, vrx_int ld,
                                 double* out);
// C(m x n) (+)= packed A * packed B; store = 1 writes without reading C.
typedef void (*vrx_gemm_kernel_fn)(vrx_int m, vrx_int n, vrx_int k, const double* apack, const double* bpack,
                                   double* c, vrx_int ldc, int store);

struct vrx_gemm_row {
  vrx_int mr, nr, ku, strips;
  vrx_int min_m, min_n, min_k;
  unsigned flags;
  vrx_gemm_block_fn block;
  vrx_gemm_sizing_fn sizing;
  vrx_gemm_alloc_fn allocate;
  vrx_gemm_pack_fn pack_a[3];  // by transposition code N, T, C
  vrx_gemm_pack_fn pack_b[3];
  vrx_gemm_kernel_fn kernel;
  vrx_gemm_kernel_fn reserve[2];
};

struct vrx_gemm_buffer {
  double* data;
  vrx_int elements;
  std::size_t bytes;
  int align_shift;
};

struct vrx_gemm_context {
  vrx_gemm_row row;
  vrx_int mc, nc, kc;
  vrx_gemm_buffer a, b, strips;
  void* raw;   // the one allocation behind the buffers
  std::size_t a_fault_bytes;  // the part of A this call fills, faulted in at allocation
  int variant; // which family of block rules applies (see vrx_gemm_variant)
};

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

// Rows of the kernel table.
const vrx_gemm_row* vrx_gemm_row_avx();
const vrx_gemm_row* vrx_gemm_row_sse42(int submodel66);
const vrx_gemm_row* vrx_gemm_row_ssse3(int with_sse41);
// The row choice of this processor and branch, asked once per process.
const vrx_gemm_row* vrx_gemm_row_sse42_here();
int vrx_gemm_ssse3_has_sse41_here();

// Shared pieces of the rows.
void vrx_gemm_block_rule(vrx_gemm_context* ctx, vrx_int m, vrx_int n, vrx_int k);
int vrx_gemm_sizing(vrx_gemm_context* ctx, int code, vrx_int m, vrx_int n, vrx_int k);
int vrx_gemm_allocate(vrx_gemm_context* ctx);
void vrx_gemm_release(vrx_gemm_context* ctx);
void vrx_gemm_context_init(vrx_gemm_context* ctx, const vrx_gemm_row* row, int variant);
int vrx_gemm_mode_query(const vrx_gemm_context* ctx, vrx_int m, vrx_int n, vrx_int k);
// Modes 8, 16, 32 (one operand packed by the caller: ctx->a.data for 8 and 16, ctx->b.data
// for 32, k <= kc) and 64 (A block private, B a strip at a time), after the driver's beta
// and alpha steps. -1 when the private buffers cannot be had. (gemm_packed_modes_shared.cpp)
int vrx_gemm_packed_shared_entry(vrx_gemm_context* ctx, int mode, int a_trans, int b_trans, vrx_int m, vrx_int n,
                                 vrx_int k, double alpha, const double* a, vrx_int lda, const double* b, vrx_int ldb,
                                 double* c, vrx_int ldc, int store);

// Steps 4 and 5 of the packed routes: scale C by beta, stop for alpha = 0, then the
// packed driver in `mode` (0: the mode query decides) when m, n, k reach the row's register block, else the
// unpacked kernel.
void vrx_gemm_packed_route_tail(const vrx_gemm_row* row, int variant, int mode, const char* transa,
                                const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                                const double* alpha, const double* a, const vrx_int* lda, const double* b,
                                const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc);

// Runs one product on the packed road. mode 0 asks the mode query. Below the row's
// minimum extents, and when the allocation fails, the unpacked kernel runs instead.
void vrx_blas_dgemm_packed(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                           const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                           const double* b, const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc,
                           int mode, vrx_gemm_context* ctx);

// Per-class pieces the rows point at.
#define VRX_GEMM_PACKED_DECLARE(cls)                                                                          \
  void vrx_gemm_pack_a_n_##cls(vrx_int rows, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out);                                                                 \
  void vrx_gemm_pack_a_t_##cls(vrx_int rows, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out);                                                                 \
  void vrx_gemm_pack_b_n_##cls(vrx_int cols, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out);                                                                 \
  void vrx_gemm_pack_b_t_##cls(vrx_int cols, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out);                                                                 \
  void vrx_gemm_kernel_##cls(vrx_int m, vrx_int n, vrx_int k, const double* apack, const double* bpack,     \
                             double* c, vrx_int ldc, int store);
VRX_GEMM_PACKED_DECLARE(ssse3)
VRX_GEMM_PACKED_DECLARE(sse42)
VRX_GEMM_PACKED_DECLARE(avx)
void vrx_gemm_kernel_sse42_rows(vrx_int m, vrx_int n, vrx_int k, const double* apack, const double* bpack,
                                double* c, vrx_int ldc, int store);
