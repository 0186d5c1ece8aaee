// Sequential GEMM of CPU type 7: the kernels for k = 1 to 10, else the blocked road on
// the class's register block (24 by 8 for double). The kernels for small k exist for
// double; the other precisions take the portable product there.
#include <type_traits>

#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/vrx_l3.h"

template <typename T>
void vrx_blas_gemm_route_avx512(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                                const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  if (*m <= 10 && *n <= 10 && *k >= 1 && *k <= 10 && vrx_traits<T>::is_one(*beta)) {
    if constexpr (std::is_same_v<T, double>)
      vrx_blas_dgemm_tiny_k_avx512(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    else
      vrx_gemm_members<T>::reference(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_l3_gemm_blocked_road<T>(VRX_CPU_AVX512, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void vrx_blas_dgemm_route_avx512(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                 const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                                 const double* b, const vrx_int* ldb, const double* beta, double* c,
                                 const vrx_int* ldc) {
  vrx_blas_gemm_route_avx512<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_blas_gemm_route_avx512(const char*, const char*, const vrx_int*, const vrx_int*,         \
                                           const vrx_int*, const T*, const T*, const vrx_int*, const T*,    \
                                           const vrx_int*, const T*, T*, const vrx_int*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
