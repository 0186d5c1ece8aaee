// The SSE4.2 route of the sequential GEMM (CPU type 3): k = 1 to 10 on tiny shapes
// in place, everything else through the packed driver with the 2 by 8 row in mode 2.
#include <cstdint>
#include "blas/vrx_gemm_packed.h"

void vrx_blas_dgemm_route_sse42(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                const double* b, const vrx_int* ldb, const double* beta, double* c,
                                const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  if (*m < 11 && *n < 11 && static_cast<std::uint64_t>(*k - 1) <= 9 && *beta == 1.0) {
    vrx_blas_dgemm_tiny_k_sse42(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_gemm_packed_route_tail(vrx_gemm_row_sse42_here(), VRX_GEMM_VARIANT_SSE42, 2, transa,
                             transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
