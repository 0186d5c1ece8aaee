// The SSE4.2 route of the sequential GEMM (CPU type 3): k = 1 to 10 on tiny shapes
// in place, everything else through the packed driver with the 2 by 8 row in mode 2.
#include <cstdint>
#include "blas/level3/packed/vrx_gemm_packed.h"

template <typename T>
void vrx_gemm_route_sse42(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                          const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                          const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  if (*m < 11 && *n < 11 && static_cast<std::uint64_t>(*k - 1) <= 9 && vrx_traits<T>::is_one(*beta)) {
    vrx_gemm_class_of<T>(vrx_gemm_kernels_sse42)->tiny_k(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c,
                                                         ldc);
    return;
  }
  vrx_gemm_packed_route_tail<T>(vrx_gemm_row_sse42_here<T>(), VRX_GEMM_VARIANT_SSE42, 2, transa, transb, m, n, k,
                                alpha, a, lda, b, ldb, beta, c, ldc);
}

void vrx_blas_dgemm_route_sse42(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                const double* b, const vrx_int* ldb, const double* beta, double* c,
                                const vrx_int* ldc) {
  vrx_gemm_route_sse42<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template vrx_gemm_fn_type<float> vrx_gemm_route_sse42<float>;
template vrx_gemm_fn_type<double> vrx_gemm_route_sse42<double>;
template vrx_gemm_fn_type<vrx_complex_float> vrx_gemm_route_sse42<vrx_complex_float>;
template vrx_gemm_fn_type<vrx_complex_double> vrx_gemm_route_sse42<vrx_complex_double>;
