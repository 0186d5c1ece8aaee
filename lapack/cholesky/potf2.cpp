// The unblocked Cholesky factorisation through the kernel dispatcher: one slot per
// precision and uplo (the small kernels), used by the host routine below its crossover,
// by the recursion's leaves (POTF2) and by the published unblocked names.
#include "blas/level2/level2_common.h"
#include "lapack/cholesky/vrx_potrf.h"
#include "lapack/cholesky/vrx_potrf_kernels.h"
#include "service/vrx_dispatch.h"

namespace {
template <typename T>
struct small_kernels;
// The sse2 class is baseline x86-64: it serves as the portable variant.
#define VRX_POTRF_SMALL_VARIANTS(T, x)                                                                             \
  template <>                                                                                                      \
  struct small_kernels<T> {                                                                                        \
    static constexpr vrx_variants<vrx_potrf_kernel_fn<T>> upper = {                                                \
        vrx_lapack_##x##potrf_small_upper_sse2,  nullptr, vrx_lapack_##x##potrf_small_upper_sse2,                  \
        vrx_lapack_##x##potrf_small_upper_ssse3, vrx_lapack_##x##potrf_small_upper_sse42,                          \
        vrx_lapack_##x##potrf_small_upper_avx,   vrx_lapack_##x##potrf_small_upper_avx2,                           \
        vrx_lapack_##x##potrf_small_upper_avx512};                                                                 \
    static constexpr vrx_variants<vrx_potrf_kernel_fn<T>> lower = {                                                \
        vrx_lapack_##x##potrf_small_lower_sse2,  nullptr, vrx_lapack_##x##potrf_small_lower_sse2,                  \
        vrx_lapack_##x##potrf_small_lower_ssse3, vrx_lapack_##x##potrf_small_lower_sse42,                          \
        vrx_lapack_##x##potrf_small_lower_avx,   vrx_lapack_##x##potrf_small_lower_avx2,                           \
        vrx_lapack_##x##potrf_small_lower_avx512};                                                                 \
  };
VRX_POTRF_SMALL_VARIANTS(float, s)
VRX_POTRF_SMALL_VARIANTS(double, d)
VRX_POTRF_SMALL_VARIANTS(vrx_complex_float, c)
VRX_POTRF_SMALL_VARIANTS(vrx_complex_double, z)
#undef VRX_POTRF_SMALL_VARIANTS

template <typename T>
void small_upper(const char* uplo, const vrx_int* n, T* a, const vrx_int* lda, vrx_int* info) {
  static vrx_potrf_kernel_fn<T> cache;
  vrx_serv_dispatch(&cache, small_kernels<T>::upper)(uplo, n, a, lda, info);
}
template <typename T>
void small_lower(const char* uplo, const vrx_int* n, T* a, const vrx_int* lda, vrx_int* info) {
  static vrx_potrf_kernel_fn<T> cache;
  vrx_serv_dispatch(&cache, small_kernels<T>::lower)(uplo, n, a, lda, info);
}

// The published unblocked routine: checks of uplo (1), n (2) and lda (4), reported under
// its own name.
template <typename T>
void potf2_entry(const char* uplo, const vrx_int* n, T* a, const vrx_int* lda, vrx_int* info) {
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL"))
    position = 1;
  else if (*n < 0)
    position = 2;
  else if (*lda < (*n > 1 ? *n : 1))
    position = 4;
  if (position) {
    *info = -position;
    const vrx_routine_name_buffer name = vrx_routine_name<T>("POTF2");
    vrx_serv_xerbla(name.text, &position, 6);
    return;
  }
  *info = *n == 0 ? 0 : vrx_lapack_potf2(vrx_l2_letter(uplo, "U"), *n, a, *lda);
}
}  // namespace

template <typename T>
void vrx_lapack_potrf_small(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info) {
  if (upper)
    small_upper<T>("U", &n, a, &lda, info);
  else
    small_lower<T>("L", &n, a, &lda, info);
}

template <typename T>
vrx_int vrx_lapack_potf2(bool upper, vrx_int n, T* a, vrx_int lda) {
  vrx_int info = 0;
  vrx_lapack_potrf_small(upper, n, a, lda, &info);
  return info;
}

#define VRX_POTF2_INSTANCES(T)                                                         \
  template void vrx_lapack_potrf_small<T>(bool, vrx_int, T*, vrx_int, vrx_int*);     \
  template vrx_int vrx_lapack_potf2<T>(bool, vrx_int, T*, vrx_int);
VRX_POTF2_INSTANCES(float)
VRX_POTF2_INSTANCES(double)
VRX_POTF2_INSTANCES(vrx_complex_float)
VRX_POTF2_INSTANCES(vrx_complex_double)
#undef VRX_POTF2_INSTANCES

void vrx_lapack_spotrf_small_upper(const char* uplo, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* info) {
  small_upper(uplo, n, a, lda, info);
}
void vrx_lapack_spotrf_small_lower(const char* uplo, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* info) {
  small_lower(uplo, n, a, lda, info);
}
void vrx_lapack_dpotrf_small_upper(const char* uplo, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* info) {
  small_upper(uplo, n, a, lda, info);
}
void vrx_lapack_dpotrf_small_lower(const char* uplo, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* info) {
  small_lower(uplo, n, a, lda, info);
}
void vrx_lapack_cpotrf_small_upper(const char* uplo, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                                   vrx_int* info) {
  small_upper(uplo, n, a, lda, info);
}
void vrx_lapack_cpotrf_small_lower(const char* uplo, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                                   vrx_int* info) {
  small_lower(uplo, n, a, lda, info);
}
void vrx_lapack_zpotrf_small_upper(const char* uplo, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                                   vrx_int* info) {
  small_upper(uplo, n, a, lda, info);
}
void vrx_lapack_zpotrf_small_lower(const char* uplo, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                                   vrx_int* info) {
  small_lower(uplo, n, a, lda, info);
}

extern "C" {
void SPOTF2(const char* uplo, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* info) {
  potf2_entry(uplo, n, a, lda, info);
}
void DPOTF2(const char* uplo, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* info) {
  potf2_entry(uplo, n, a, lda, info);
}
void CPOTF2(const char* uplo, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda, vrx_int* info) {
  potf2_entry(uplo, n, a, lda, info);
}
void ZPOTF2(const char* uplo, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda, vrx_int* info) {
  potf2_entry(uplo, n, a, lda, info);
}
}
