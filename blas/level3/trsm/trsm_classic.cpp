// The classic threaded road of the triangular solve in each precision.
#include "blas/level3/trsm/vrx_tri_classic.h"
#include "blas/vrx_l3.h"

void vrx_blas_strsm_classic(const char* side, const char* uplo, const char* transa, const char* diag,
                            const vrx_int* m, const vrx_int* n, const float* alpha, const float* a,
                            const vrx_int* lda, float* b, const vrx_int* ldb) {
  vrx_tri_classic<float>(VRX_L3_TRSM, vrx_blas_strsm_sequential, side, uplo, transa, diag, m, n, alpha, a, lda, b,
                         ldb);
}
void vrx_blas_dtrsm_classic(const char* side, const char* uplo, const char* transa, const char* diag,
                            const vrx_int* m, const vrx_int* n, const double* alpha, const double* a,
                            const vrx_int* lda, double* b, const vrx_int* ldb) {
  vrx_tri_classic<double>(VRX_L3_TRSM, vrx_blas_dtrsm_sequential, side, uplo, transa, diag, m, n, alpha, a, lda, b,
                          ldb);
}
void vrx_blas_ctrsm_classic(const char* side, const char* uplo, const char* transa, const char* diag,
                            const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha,
                            const vrx_complex_float* a, const vrx_int* lda, vrx_complex_float* b,
                            const vrx_int* ldb) {
  vrx_tri_classic<vrx_complex_float>(VRX_L3_TRSM, vrx_blas_ctrsm_sequential, side, uplo, transa, diag, m, n, alpha,
                                     a, lda, b, ldb);
}
void vrx_blas_ztrsm_classic(const char* side, const char* uplo, const char* transa, const char* diag,
                            const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha,
                            const vrx_complex_double* a, const vrx_int* lda, vrx_complex_double* b,
                            const vrx_int* ldb) {
  vrx_tri_classic<vrx_complex_double>(VRX_L3_TRSM, vrx_blas_ztrsm_sequential, side, uplo, transa, diag, m, n,
                                      alpha, a, lda, b, ldb);
}
