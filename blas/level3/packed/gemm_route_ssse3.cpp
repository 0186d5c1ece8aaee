// The SSSE3 route of the sequential GEMM (CPU type 2 on branch 1): k = 1 to 10 on
// tiny shapes in place, everything else through the packed driver with the 4 by 4
// row of this processor; the mode query keeps B in strips while its block is small.
#include <cstdint>
#include "blas/vrx_gemm_packed.h"

void vrx_blas_dgemm_route_ssse3(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                const double* b, const vrx_int* ldb, const double* beta, double* c,
                                const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  if (*m < 11 && *n < 11 && static_cast<std::uint64_t>(*k - 1) <= 9 && *beta == 1.0) {
    vrx_blas_dgemm_tiny_k_ssse3(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  const int sse41 = vrx_gemm_ssse3_has_sse41_here();
  vrx_gemm_packed_route_tail(vrx_gemm_row_ssse3(sse41),
                             sse41 ? VRX_GEMM_VARIANT_SSSE3_SSE41 : VRX_GEMM_VARIANT_SSSE3_PLAIN, 0, transa, transb,
                             m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
