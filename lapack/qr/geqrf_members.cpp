// The QR factorisation by precision: the entries (where the offload gate stands; a build
// without offload goes straight through) and the host routines.
#include "lapack/qr/vrx_qr.h"
#include "lapack/vrx_lapack.h"

void vrx_lapack_sgeqrf_host(const vrx_int* m, const vrx_int* n, float* a, const vrx_int* lda, float* tau, float* work,
                            const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_geqrf_host(*m, *n, a, *lda, tau, work, *lwork, info);
}
void vrx_lapack_dgeqrf_host(const vrx_int* m, const vrx_int* n, double* a, const vrx_int* lda, double* tau,
                            double* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_geqrf_host(*m, *n, a, *lda, tau, work, *lwork, info);
}
void vrx_lapack_cgeqrf_host(const vrx_int* m, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                            vrx_complex_float* tau, vrx_complex_float* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_geqrf_host(*m, *n, a, *lda, tau, work, *lwork, info);
}
void vrx_lapack_zgeqrf_host(const vrx_int* m, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                            vrx_complex_double* tau, vrx_complex_double* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_geqrf_host(*m, *n, a, *lda, tau, work, *lwork, info);
}

void vrx_lapack_SGEQRF(const vrx_int* m, const vrx_int* n, float* a, const vrx_int* lda, float* tau, float* work,
                       const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_sgeqrf_host(m, n, a, lda, tau, work, lwork, info);
}
void vrx_lapack_DGEQRF(const vrx_int* m, const vrx_int* n, double* a, const vrx_int* lda, double* tau, double* work,
                       const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_dgeqrf_host(m, n, a, lda, tau, work, lwork, info);
}
void vrx_lapack_CGEQRF(const vrx_int* m, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                       vrx_complex_float* tau, vrx_complex_float* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_cgeqrf_host(m, n, a, lda, tau, work, lwork, info);
}
void vrx_lapack_ZGEQRF(const vrx_int* m, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                       vrx_complex_double* tau, vrx_complex_double* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_zgeqrf_host(m, n, a, lda, tau, work, lwork, info);
}
