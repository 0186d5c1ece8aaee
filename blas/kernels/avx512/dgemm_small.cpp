// In-place GEMM kernels of CPU type 7: small shapes, k = 1 to 10, and the
// allocation-free road of the blocked driver.
#include "blas/kernels/vrx_simd.h"
#include "blas/kernels/dgemm_l3_inplace.h"
#include "blas/kernels/dgemm_l3_kernel_table.h"

void vrx_blas_dgemm_small_avx512(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                 const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                 const double* b, const vrx_int* ldb, const double* beta, double* c,
                                 const vrx_int* ldc) {
  vrx_ip_gemm<vrx_vec8>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// Same arithmetic as the small kernels: no scratch, any shape.
void vrx_blas_dgemm_unpacked_avx512(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                    const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                    const double* b, const vrx_int* ldb, const double* beta, double* c,
                                    const vrx_int* ldc) {
  vrx_blas_dgemm_small_avx512(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void vrx_blas_dgemm_tiny_k_avx512(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                  const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                  const double* b, const vrx_int* ldb, const double* beta, double* c,
                                  const vrx_int* ldc) {
  vrx_ip_tiny_k<vrx_vec8>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
