// The triangular solve (TRSM) of every precision: the engine entries, the sequential
// kernels and the published names.
#include "blas/level3/trsm/vrx_tri_team.h"

void vrx_blas_strsm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const float* alpha, const float* a, const vrx_int* lda, float* b,
                    const vrx_int* ldb) {
  vrx_tri_entry<float>(VRX_L3_TRSM, vrx_blas_strsm_classic, vrx_blas_strsm_sequential, side, uplo, transa, diag, m,
                       n, alpha, a, lda, b, ldb);
}
void vrx_blas_strsm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const float* alpha, const float* a,
                               const vrx_int* lda, float* b, const vrx_int* ldb) {
  vrx_tri_sequential<float>(VRX_L3_TRSM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_dtrsm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const double* alpha, const double* a, const vrx_int* lda, double* b,
                    const vrx_int* ldb) {
  vrx_tri_entry<double>(VRX_L3_TRSM, vrx_blas_dtrsm_classic, vrx_blas_dtrsm_sequential, side, uplo, transa, diag,
                        m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_dtrsm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const double* alpha, const double* a,
                               const vrx_int* lda, double* b, const vrx_int* ldb) {
  vrx_tri_sequential<double>(VRX_L3_TRSM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ctrsm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* a,
                    const vrx_int* lda, vrx_complex_float* b, const vrx_int* ldb) {
  vrx_tri_entry<vrx_complex_float>(VRX_L3_TRSM, vrx_blas_ctrsm_classic, vrx_blas_ctrsm_sequential, side, uplo,
                                   transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ctrsm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha,
                               const vrx_complex_float* a, const vrx_int* lda, vrx_complex_float* b,
                               const vrx_int* ldb) {
  vrx_tri_sequential<vrx_complex_float>(VRX_L3_TRSM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ztrsm(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                    const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* a,
                    const vrx_int* lda, vrx_complex_double* b, const vrx_int* ldb) {
  vrx_tri_entry<vrx_complex_double>(VRX_L3_TRSM, vrx_blas_ztrsm_classic, vrx_blas_ztrsm_sequential, side, uplo,
                                    transa, diag, m, n, alpha, a, lda, b, ldb);
}
void vrx_blas_ztrsm_sequential(const char* side, const char* uplo, const char* transa, const char* diag,
                               const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha,
                               const vrx_complex_double* a, const vrx_int* lda, vrx_complex_double* b,
                               const vrx_int* ldb) {
  vrx_tri_sequential<vrx_complex_double>(VRX_L3_TRSM, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

// The published names: the quick return, then the entry.
extern "C" void STRSM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const float* alpha, const float* a, const vrx_int* lda, float* b,
                      const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_strsm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
extern "C" void DTRSM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const double* alpha, const double* a, const vrx_int* lda, double* b,
                      const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_dtrsm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
extern "C" void CTRSM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* a,
                      const vrx_int* lda, vrx_complex_float* b, const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_ctrsm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
extern "C" void ZTRSM(const char* side, const char* uplo, const char* transa, const char* diag, const vrx_int* m,
                      const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* a,
                      const vrx_int* lda, vrx_complex_double* b, const vrx_int* ldb) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_ztrsm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
