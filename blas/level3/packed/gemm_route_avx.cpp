// The AVX route of the sequential GEMM (CPU type 4): small shapes read in place,
// everything else through the packed driver with the 8 by 4 row in mode 128.
#include "blas/level3/packed/vrx_gemm_packed.h"

template <typename T>
void vrx_gemm_route_avx(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_,
                        const vrx_int* k_, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                        const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  const vrx_int m = *m_, n = *n_, k = *k_;
  if (m < 1 || n < 1) return;
  const vrx_gemm_class_kernels<T>& kern = *vrx_gemm_class_of<T>(vrx_gemm_kernels_avx);
  if (m == k && (m == 9 || m == 12) && vrx_traits<T>::is_zero(*beta)) {
    kern.small(transa, transb, m_, n_, k_, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (k <= 128 && !vrx_traits<T>::is_zero(*alpha)) {
    const vrx_int q = (m * n) / (m + n);
    const bool a_trans = vrx_blas_trans_code(*transa) != 0, b_plain = vrx_blas_trans_code(*transb) == 0;
    const bool small = q <= 9 ? (m <= 70 || (n <= 3 && k <= 3))
                              : (k <= 6 && m <= 40 && n <= 40 && !(a_trans && b_plain));
    if (small) {
      kern.small(transa, transb, m_, n_, k_, alpha, a, lda, b, ldb, beta, c, ldc);
      return;
    }
  }
  if (m <= 10 && n <= 10 && k >= 1 && k <= 10 && vrx_traits<T>::is_one(*beta)) {
    kern.tiny_k(transa, transb, m_, n_, k_, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_gemm_packed_route_tail<T>(vrx_gemm_row_avx<T>(), VRX_GEMM_VARIANT_AVX, 128, transa, transb, m_, n_, k_, alpha,
                                a, lda, b, ldb, beta, c, ldc);
}

void vrx_blas_dgemm_route_avx(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                              const double* b, const vrx_int* ldb, const double* beta, double* c,
                              const vrx_int* ldc) {
  vrx_gemm_route_avx<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template vrx_gemm_fn_type<float> vrx_gemm_route_avx<float>;
template vrx_gemm_fn_type<double> vrx_gemm_route_avx<double>;
template vrx_gemm_fn_type<vrx_complex_float> vrx_gemm_route_avx<vrx_complex_float>;
template vrx_gemm_fn_type<vrx_complex_double> vrx_gemm_route_avx<vrx_complex_double>;
