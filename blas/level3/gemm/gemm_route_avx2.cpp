// Sequential GEMM of CPU type 5: small shapes read in place, the kernels for k = 1
// to 10, else the blocked road on the class's register block (12 by 4 for double). The
// in-place kernels exist for double; the other precisions take the portable product there.
#include <type_traits>

#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/vrx_l3.h"

namespace {
// Shapes the in-place kernels serve faster than packing.
template <typename T>
bool small_shape(vrx_int m, vrx_int n, vrx_int k, T alpha, T beta, bool a_transposed, bool b_plain) {
  typedef vrx_traits<T> tr;
  if (m == k && (m == 9 || m == 12) && tr::is_zero(beta)) return true;
  if (k > 128 || tr::is_zero(alpha)) return false;
  const vrx_int q = m * n / (m + n);
  if (q <= 10) return m <= 100 || (n <= 3 && k <= 3);
  return k <= 6 && m <= 40 && n <= 40 && !(a_transposed && b_plain);
}

// The in-place kernel of the precision.
template <typename T>
constexpr vrx_gemm_fn<T> small_kernel() {
  if constexpr (std::is_same_v<T, double>) return vrx_blas_dgemm_small_avx2;
  else return vrx_gemm_members<T>::reference;
}
}  // namespace

template <typename T>
void vrx_blas_gemm_route_avx2(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                              const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  constexpr bool is_double = std::is_same_v<T, double>;
  constexpr vrx_gemm_fn<T> small = small_kernel<T>();
  const bool a_transposed = vrx_blas_trans_code(*transa) != 0, b_plain = vrx_blas_trans_code(*transb) == 0;
  if (small_shape(*m, *n, *k, *alpha, *beta, a_transposed, b_plain)) {
    small(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (*m <= 10 && *n <= 10 && *k >= 1 && *k <= 10 && vrx_traits<T>::is_one(*beta)) {
    if constexpr (is_double) vrx_blas_dgemm_tiny_k_avx2(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    else small(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_l3_gemm_blocked_road<T>(VRX_CPU_AVX2, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void vrx_blas_dgemm_route_avx2(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                               const double* b, const vrx_int* ldb, const double* beta, double* c,
                               const vrx_int* ldc) {
  vrx_blas_gemm_route_avx2<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_blas_gemm_route_avx2(const char*, const char*, const vrx_int*, const vrx_int*,           \
                                         const vrx_int*, const T*, const T*, const vrx_int*, const T*,      \
                                         const vrx_int*, const T*, T*, const vrx_int*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
