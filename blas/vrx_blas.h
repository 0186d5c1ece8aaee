// Entries of the BLAS engine. All arguments by pointer, column-major, vrx_int sizes.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// The matrix product's signature, named once for every precision and every variant:
// C := alpha op(A) op(B) + beta C, Fortran order, all arguments by pointer.
template <typename T>
using vrx_gemm_fn_type = void(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                              const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc);
template <typename T>
using vrx_gemm_fn = vrx_gemm_fn_type<T>*;

typedef vrx_gemm_fn<double> vrx_dgemm_fn;

void vrx_blas_dgemm_gate(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                         const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                         const double* b, const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc,
                         vrx_int len_transa, vrx_int len_transb);
// The entry, the sequential kernel (never forks), the portable product that defines the
// result and the classic threaded road.
vrx_gemm_fn_type<double> vrx_blas_dgemm, vrx_blas_dgemm_sequential, vrx_blas_dgemm_reference,
    vrx_blas_dgemm_classic;
// 1: classic road (CPU types 0, 2, 3, 4); 2: team road (types 5 and 7).
int vrx_blas_dgemm_road();

void vrx_blas_dgemv(const char* trans, const vrx_int* rows, const vrx_int* cols, const double* alpha,
                    const double* a, const vrx_int* lda, const double* x, const vrx_int* incx, const double* beta,
                    double* y, const vrx_int* incy);
void vrx_blas_dger_beta(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                        const double* alpha, const double* x, const vrx_int* incx, const double* y,
                        const vrx_int* incy, const double* beta, double* c, const vrx_int* ldc);
void vrx_blas_dcopy_threaded(const vrx_int* n, const double* x, const vrx_int* incx, double* y,
                             const vrx_int* incy);

// The single and complex members, each by its precision letter: the entry, the
// sequential kernel (never forks), the classic threaded road and the portable product
// that defines the result.
vrx_gemm_fn_type<float> vrx_blas_sgemm, vrx_blas_sgemm_sequential, vrx_blas_sgemm_classic,
    vrx_blas_sgemm_reference;
vrx_gemm_fn_type<vrx_complex_float> vrx_blas_cgemm, vrx_blas_cgemm_sequential, vrx_blas_cgemm_classic,
    vrx_blas_cgemm_reference;
vrx_gemm_fn_type<vrx_complex_double> vrx_blas_zgemm, vrx_blas_zgemm_sequential, vrx_blas_zgemm_classic,
    vrx_blas_zgemm_reference;
// The engine routines by their published names, Fortran style: every argument by
// pointer, complex scalars as pointers to the two-element type, no hidden lengths. An
// m or n below 1 returns at once. Double's engine form is vrx_blas_dgemm_gate.
extern "C" {
vrx_gemm_fn_type<float> SGEMM;
vrx_gemm_fn_type<vrx_complex_float> CGEMM;
vrx_gemm_fn_type<vrx_complex_double> ZGEMM;
}

// The sequential route of a classic CPU type (0, 2, 3, 4) under a reproducibility branch;
// null for the other types.
template <typename T>
vrx_gemm_fn<T> vrx_blas_gemm_classic_route(int cpu_type, int branch);

// Transposition code of a character: N 0, T 1, C 2, anything else -1. Internal linkage:
// kernel classes compile their own copies.
static inline int vrx_blas_trans_code(char t) {
  switch (t & ~0x20) {
    case 'N': return 0;
    case 'T': return 1;
    case 'C': return 2;
    default: return -1;
  }
}

// The one reader of the level-3 argument words, by their first letter with bit 0x20
// cleared. A null pointer (an argument that does not apply, from an internal caller)
// has a code of its own.
static inline int vrx_blas_side_code(const char* side) {  // L 0, R 1, other -1, null 2
  if (!side) return 2;
  switch (*side & ~0x20) {
    case 'L': return 0;
    case 'R': return 1;
    default: return -1;
  }
}
static inline int vrx_blas_uplo_code(const char* uplo) {  // U 0, L 1, other -1, null 2
  if (!uplo) return 2;
  switch (*uplo & ~0x20) {
    case 'U': return 0;
    case 'L': return 1;
    default: return -1;
  }
}
static inline int vrx_blas_diag_code(const char* diag) {  // U 0, N 1, other -1, null 2
  if (!diag) return 2;
  switch (*diag & ~0x20) {
    case 'U': return 0;
    case 'N': return 1;
    default: return -1;
  }
}
static inline int vrx_blas_transa_code(const char* trans) {  // N 0, T 1, C 2, other -1, null 3
  return trans ? vrx_blas_trans_code(*trans) : 3;
}

// ---- the other level-3 families: signatures named once, members by precision letter ----
// B := alpha op(A)^-1 B (TRSM) or alpha op(A) B (TRMM), or with A on the right; A triangular.
template <typename T>
using vrx_trsm_fn_type = void(const char* side, const char* uplo, const char* transa, const char* diag,
                              const vrx_int* m, const vrx_int* n, const T* alpha, const T* a, const vrx_int* lda,
                              T* b, const vrx_int* ldb);
template <typename T>
using vrx_trsm_fn = vrx_trsm_fn_type<T>*;
// One triangle of C := alpha op(A) op(A)^T + beta C.
template <typename T>
using vrx_syrk_fn_type = void(const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k,
                              const T* alpha, const T* a, const vrx_int* lda, const T* beta, T* c,
                              const vrx_int* ldc);
// One triangle of C := alpha op(A) op(A)^H + beta C, alpha and beta real.
template <typename T>
using vrx_herk_fn_type = void(const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k,
                              const vrx_real_t<T>* alpha, const T* a, const vrx_int* lda,
                              const vrx_real_t<T>* beta, T* c, const vrx_int* ldc);
// One triangle of C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C.
template <typename T>
using vrx_syr2k_fn_type = void(const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k,
                               const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb,
                               const T* beta, T* c, const vrx_int* ldc);
// One triangle of C := alpha op(A) op(B)^H + conj(alpha) op(B) op(A)^H + beta C, beta real.
template <typename T>
using vrx_her2k_fn_type = void(const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k,
                               const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb,
                               const vrx_real_t<T>* beta, T* c, const vrx_int* ldc);
// C := alpha A B + beta C (side L) or alpha B A + beta C (side R), A symmetric (SYMM) or
// Hermitian (HEMM), one triangle stored.
template <typename T>
using vrx_symm_fn_type = void(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                              const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb,
                              const T* beta, T* c, const vrx_int* ldc);

// Each member: the engine entry, the sequential kernel (never forks) and the classic
// threaded road of CPU types 0, 2, 3 and 4.
vrx_trsm_fn_type<float> vrx_blas_strsm, vrx_blas_strsm_sequential, vrx_blas_strsm_classic;
vrx_trsm_fn_type<double> vrx_blas_dtrsm, vrx_blas_dtrsm_sequential, vrx_blas_dtrsm_classic;
vrx_trsm_fn_type<vrx_complex_float> vrx_blas_ctrsm, vrx_blas_ctrsm_sequential, vrx_blas_ctrsm_classic;
vrx_trsm_fn_type<vrx_complex_double> vrx_blas_ztrsm, vrx_blas_ztrsm_sequential, vrx_blas_ztrsm_classic;
vrx_trsm_fn_type<float> vrx_blas_strmm, vrx_blas_strmm_sequential, vrx_blas_strmm_classic;
vrx_trsm_fn_type<double> vrx_blas_dtrmm, vrx_blas_dtrmm_sequential, vrx_blas_dtrmm_classic;
vrx_trsm_fn_type<vrx_complex_float> vrx_blas_ctrmm, vrx_blas_ctrmm_sequential, vrx_blas_ctrmm_classic;
vrx_trsm_fn_type<vrx_complex_double> vrx_blas_ztrmm, vrx_blas_ztrmm_sequential, vrx_blas_ztrmm_classic;

vrx_syrk_fn_type<float> vrx_blas_ssyrk, vrx_blas_ssyrk_sequential;
vrx_syrk_fn_type<double> vrx_blas_dsyrk, vrx_blas_dsyrk_sequential;
vrx_syrk_fn_type<vrx_complex_float> vrx_blas_csyrk, vrx_blas_csyrk_sequential;
vrx_syrk_fn_type<vrx_complex_double> vrx_blas_zsyrk, vrx_blas_zsyrk_sequential;
vrx_herk_fn_type<vrx_complex_float> vrx_blas_cherk, vrx_blas_cherk_sequential;
vrx_herk_fn_type<vrx_complex_double> vrx_blas_zherk, vrx_blas_zherk_sequential;
vrx_syr2k_fn_type<float> vrx_blas_ssyr2k, vrx_blas_ssyr2k_sequential;
vrx_syr2k_fn_type<double> vrx_blas_dsyr2k, vrx_blas_dsyr2k_sequential;
vrx_syr2k_fn_type<vrx_complex_float> vrx_blas_csyr2k, vrx_blas_csyr2k_sequential;
vrx_syr2k_fn_type<vrx_complex_double> vrx_blas_zsyr2k, vrx_blas_zsyr2k_sequential;
vrx_her2k_fn_type<vrx_complex_float> vrx_blas_cher2k, vrx_blas_cher2k_sequential;
vrx_her2k_fn_type<vrx_complex_double> vrx_blas_zher2k, vrx_blas_zher2k_sequential;
vrx_symm_fn_type<float> vrx_blas_ssymm, vrx_blas_ssymm_sequential;
vrx_symm_fn_type<double> vrx_blas_dsymm, vrx_blas_dsymm_sequential;
vrx_symm_fn_type<vrx_complex_float> vrx_blas_csymm, vrx_blas_csymm_sequential, vrx_blas_chemm,
    vrx_blas_chemm_sequential;
vrx_symm_fn_type<vrx_complex_double> vrx_blas_zsymm, vrx_blas_zsymm_sequential, vrx_blas_zhemm,
    vrx_blas_zhemm_sequential;

// The published names, Fortran style like SGEMM: every argument by pointer, no hidden
// lengths; each calls its engine entry.
extern "C" {
vrx_trsm_fn_type<float> STRSM, STRMM;
vrx_trsm_fn_type<double> DTRSM, DTRMM;
vrx_trsm_fn_type<vrx_complex_float> CTRSM, CTRMM;
vrx_trsm_fn_type<vrx_complex_double> ZTRSM, ZTRMM;
vrx_syrk_fn_type<float> SSYRK;
vrx_syrk_fn_type<double> DSYRK;
vrx_syrk_fn_type<vrx_complex_float> CSYRK;
vrx_syrk_fn_type<vrx_complex_double> ZSYRK;
vrx_herk_fn_type<vrx_complex_float> CHERK;
vrx_herk_fn_type<vrx_complex_double> ZHERK;
vrx_syr2k_fn_type<float> SSYR2K;
vrx_syr2k_fn_type<double> DSYR2K;
vrx_syr2k_fn_type<vrx_complex_float> CSYR2K;
vrx_syr2k_fn_type<vrx_complex_double> ZSYR2K;
vrx_her2k_fn_type<vrx_complex_float> CHER2K;
vrx_her2k_fn_type<vrx_complex_double> ZHER2K;
vrx_symm_fn_type<float> SSYMM;
vrx_symm_fn_type<double> DSYMM;
vrx_symm_fn_type<vrx_complex_float> CSYMM, CHEMM;
vrx_symm_fn_type<vrx_complex_double> ZSYMM, ZHEMM;
}

// ---- the packed-operand service: an operand A packed once, multiplied many times ----
// Used by the LU team path on the CPU types whose road is the team road. Every call
// returns non-zero on failure (a bad argument, or a handle made for another element
// type); multiply never forks.
struct vrx_gemm_pack_handle;
// 2 when the service packs on this CPU type (types 5 and 7), 1 otherwise (the calls
// still work, on a plain copy read by the sequential GEMM).
int vrx_blas_gemm_pack_query();
// A handle for an operand of up to `rows` by `depth` elements of T. On failure *handle
// is null.
template <typename T>
int vrx_blas_gemm_pack_create(vrx_gemm_pack_handle** handle, vrx_int rows, vrx_int depth);
// Packs A (rows by depth, column-major, not transposed; within the created extents)
// into the handle, replacing what it held. On types 5 and 7 A is stored as the level-3
// driver's packed A panels (height mr of the type's register block), in depth slices
// of the driver's kc.
template <typename T>
int vrx_blas_gemm_pack(vrx_gemm_pack_handle* handle, vrx_int rows, vrx_int depth, const T* a, vrx_int lda);
// C := alpha A(row0 : row0 + rows, :) B + beta C with the packed A; B is depth by n,
// C rows by n, both column-major; any alpha and beta (beta 0 does not read C). Any
// row range is served; it runs fastest when row0 is a multiple of the register height
// mr and the range ends at a multiple of mr or at the last row, since the panels are
// then read in place (a panel cut by the range is packed again per call). Reads the
// handle only: several threads may multiply with one handle at once on disjoint C.
// B is packed into a scratch buffer of the call; without one the product still runs,
// on a smaller buffer on the stack.
template <typename T>
int vrx_blas_gemm_pack_multiply(vrx_gemm_pack_handle* handle, vrx_int row0, vrx_int rows, vrx_int n, T alpha,
                                const T* b, vrx_int ldb, T beta, T* c, vrx_int ldc);
// Returns the handle's memory; a null handle is ignored.
void vrx_blas_gemm_pack_release(vrx_gemm_pack_handle* handle);
