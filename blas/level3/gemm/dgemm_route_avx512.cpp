// Sequential GEMM of CPU type 7: the kernels for k = 1 to 10, else the blocked road
// with the 24 by 8 register block.
#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/vrx_l3.h"

void vrx_blas_dgemm_route_avx512(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                 const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                 const double* b, const vrx_int* ldb, const double* beta, double* c,
                                 const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  if (*m <= 10 && *n <= 10 && *k >= 1 && *k <= 10 && *beta == 1.0) {
    vrx_blas_dgemm_tiny_k_avx512(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_l3_dgemm_blocked_road(VRX_CPU_AVX512, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
