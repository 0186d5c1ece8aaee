// The classic threaded road (CPU types 0, 2, 3, 4). Interim: runs the sequential kernel.
#include "blas/vrx_blas.h"

void vrx_blas_dgemm_classic(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                            const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                            const double* b, const vrx_int* ldb, const double* beta, double* c,
                            const vrx_int* ldc) {
  vrx_blas_dgemm_sequential(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
