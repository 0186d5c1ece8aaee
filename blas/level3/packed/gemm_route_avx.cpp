// The AVX route of the sequential GEMM (CPU type 4): small shapes read in place,
// everything else through the packed driver with the 8 by 4 row in mode 128.
#include "blas/vrx_gemm_packed.h"

void vrx_blas_dgemm_route_avx(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_,
                              const vrx_int* k_, const double* alpha, const double* a, const vrx_int* lda,
                              const double* b, const vrx_int* ldb, const double* beta, double* c,
                              const vrx_int* ldc) {
  const vrx_int m = *m_, n = *n_, k = *k_;
  if (m < 1 || n < 1) return;
  if (m == k && (m == 9 || m == 12) && *beta == 0.0) {
    vrx_blas_dgemm_small_avx(transa, transb, m_, n_, k_, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (k <= 128 && *alpha != 0.0) {
    const vrx_int q = (m * n) / (m + n);
    const bool a_trans = vrx_blas_trans_code(*transa) != 0, b_plain = vrx_blas_trans_code(*transb) == 0;
    const bool small = q <= 9 ? (m <= 70 || (n <= 3 && k <= 3))
                              : (k <= 6 && m <= 40 && n <= 40 && !(a_trans && b_plain));
    if (small) {
      vrx_blas_dgemm_small_avx(transa, transb, m_, n_, k_, alpha, a, lda, b, ldb, beta, c, ldc);
      return;
    }
  }
  if (m <= 10 && n <= 10 && k >= 1 && k <= 10 && *beta == 1.0) {
    vrx_blas_dgemm_tiny_k_avx(transa, transb, m_, n_, k_, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_gemm_packed_route_tail(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 128, transa, transb, m_, n_, k_, alpha, a,
                             lda, b, ldb, beta, c, ldc);
}
