// Sequential GEMM of CPU type 5: small shapes read in place, the kernels for k = 1
// to 10, else the blocked road with the 12 by 4 register block.
#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/vrx_l3.h"

namespace {
// Shapes the in-place kernels serve faster than packing.
bool small_shape(vrx_int m, vrx_int n, vrx_int k, double alpha, double beta, bool a_transposed, bool b_plain) {
  if (m == k && (m == 9 || m == 12) && beta == 0.0) return true;
  if (k > 128 || alpha == 0.0) return false;
  const vrx_int q = m * n / (m + n);
  if (q <= 10) return m <= 100 || (n <= 3 && k <= 3);
  return k <= 6 && m <= 40 && n <= 40 && !(a_transposed && b_plain);
}
}  // namespace

void vrx_blas_dgemm_route_avx2(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                               const double* b, const vrx_int* ldb, const double* beta, double* c,
                               const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  const bool a_transposed = vrx_blas_trans_code(*transa) != 0, b_plain = vrx_blas_trans_code(*transb) == 0;
  if (small_shape(*m, *n, *k, *alpha, *beta, a_transposed, b_plain)) {
    vrx_blas_dgemm_small_avx2(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (*m <= 10 && *n <= 10 && *k >= 1 && *k <= 10 && *beta == 1.0) {
    vrx_blas_dgemm_tiny_k_avx2(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_l3_dgemm_blocked_road(VRX_CPU_AVX2, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
