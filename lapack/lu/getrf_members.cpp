// The LU factorisation by precision: the entries (where the offload gate stands; a build
// without offload goes straight through) and the host routines.
#include "lapack/lu/vrx_getrf.h"

void vrx_lapack_sgetrf_host(const vrx_int* m, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* ipiv,
                            vrx_int* info) {
  vrx_lapack_getrf_host(*m, *n, a, *lda, ipiv, info);
}
void vrx_lapack_dgetrf_host(const vrx_int* m, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* ipiv,
                            vrx_int* info) {
  vrx_lapack_getrf_host(*m, *n, a, *lda, ipiv, info);
}
void vrx_lapack_cgetrf_host(const vrx_int* m, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                            vrx_int* ipiv, vrx_int* info) {
  vrx_lapack_getrf_host(*m, *n, a, *lda, ipiv, info);
}
void vrx_lapack_zgetrf_host(const vrx_int* m, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                            vrx_int* ipiv, vrx_int* info) {
  vrx_lapack_getrf_host(*m, *n, a, *lda, ipiv, info);
}

void vrx_lapack_SGETRF(const vrx_int* m, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* ipiv,
                       vrx_int* info) {
  vrx_lapack_sgetrf_host(m, n, a, lda, ipiv, info);
}
void vrx_lapack_DGETRF(const vrx_int* m, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* ipiv,
                       vrx_int* info) {
  vrx_lapack_dgetrf_host(m, n, a, lda, ipiv, info);
}
void vrx_lapack_CGETRF(const vrx_int* m, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                       vrx_int* ipiv, vrx_int* info) {
  vrx_lapack_cgetrf_host(m, n, a, lda, ipiv, info);
}
void vrx_lapack_ZGETRF(const vrx_int* m, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                       vrx_int* ipiv, vrx_int* info) {
  vrx_lapack_zgetrf_host(m, n, a, lda, ipiv, info);
}
