// The place where a product could be handed to an attached coprocessor. This build
// has no offload, so the gate only filters empty results and goes straight on.
#include "blas/vrx_blas.h"

void vrx_blas_dgemm_gate(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                         const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                         const double* b, const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc,
                         vrx_int, vrx_int) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_dgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
