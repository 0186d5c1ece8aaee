// The triangular product (TRMM) of every precision: the engine entries, the sequential
// kernels and the published names.
#include "blas/level3/trsm/vrx_tri_team.h"

void vrx_blas_strmm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const float* alpha, const float* a, const vrx_int* lda, float* b,
                    const vrx_int* ldb) {
  vrx_tri_entry<float>(VRX_L3_TRMM, vrx_blas_strmm_classic, vrx_blas_strmm_sequential, side, uplo, transa, diag, m,
                       n, alpha, a, lda, b, ldb);
}
void vrx_blas_strmm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const float* alpha, const float* a,
                               const vrx_int* lda, float* b, const vrx_int* ldb) {
  vrx_tri_sequential<float>(VRX_L3_TRMM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_dtrmm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const double* alpha, const double* a, const vrx_int* lda, double* b,
                    const vrx_int* ldb) {
  vrx_tri_entry<double>(VRX_L3_TRMM, vrx_blas_dtrmm_classic, vrx_blas_dtrmm_sequential, side, uplo, transa, diag,
                        m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_dtrmm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const double* alpha, const double* a,
                               const vrx_int* lda, double* b, const vrx_int* ldb) {
  vrx_tri_sequential<double>(VRX_L3_TRMM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ctrmm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* a,
                    const vrx_int* lda, vrx_complex_float* b, const vrx_int* ldb) {
  vrx_tri_entry<vrx_complex_float>(VRX_L3_TRMM, vrx_blas_ctrmm_classic, vrx_blas_ctrmm_sequential, side, uplo,
                                   transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ctrmm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha,
                               const vrx_complex_float* a, const vrx_int* lda, vrx_complex_float* b,
                               const vrx_int* ldb) {
  vrx_tri_sequential<vrx_complex_float>(VRX_L3_TRMM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ztrmm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* a,
                    const vrx_int* lda, vrx_complex_double* b, const vrx_int* ldb) {
  vrx_tri_entry<vrx_complex_double>(VRX_L3_TRMM, vrx_blas_ztrmm_classic, vrx_blas_ztrmm_sequential, side, uplo,
                                    transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ztrmm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha,
                               const vrx_complex_double* a, const vrx_int* lda, vrx_complex_double* b,
                               const vrx_int* ldb) {
  vrx_tri_sequential<vrx_complex_double>(VRX_L3_TRMM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

// The published names: the quick return, then the entry.
extern "C" void STRMM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const float* alpha, const float* a, const vrx_int* lda, float* b,
                      const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_strmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
extern "C" void DTRMM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const double* alpha, const double* a, const vrx_int* lda, double* b,
                      const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_dtrmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
extern "C" void CTRMM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* a,
                      const vrx_int* lda, vrx_complex_float* b, const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_ctrmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
extern "C" void ZTRMM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* a,
                      const vrx_int* lda, vrx_complex_double* b, const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_ztrmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
