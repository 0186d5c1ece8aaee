// C := beta C on the threads of the classic road, cut by columns or rows, with
// the matrix scaling kernel of the CPU type (beta = 0 stores zeros).
#include <omp.h>
#include "blas/level3/classic/vrx_gemm_classic.h"
#include "service/vrx_dispatch.h"

namespace {
template <typename T>
vrx_gemm_scale_c_fn<T> scale_cache = nullptr;
}  // namespace

template <typename T>
vrx_gemm_scale_c_fn<T> vrx_gemm_classic_scale_kernel() {
  // The class tables are objects of other translation units: read at the first call.
  const vrx_variants<vrx_gemm_scale_c_fn<T>> variants = {
      .portable = vrx_gemm_class_of<T>(vrx_gemm_kernels_sse2)->scale_c,
      .compatible = vrx_gemm_class_of<T>(vrx_gemm_kernels_sse2)->scale_c,
      .sse2 = vrx_gemm_class_of<T>(vrx_gemm_kernels_sse2)->scale_c,
      .ssse3 = vrx_gemm_class_of<T>(vrx_gemm_kernels_ssse3)->scale_c,
      .sse42 = vrx_gemm_class_of<T>(vrx_gemm_kernels_sse42)->scale_c,
      .avx = vrx_gemm_class_of<T>(vrx_gemm_kernels_avx)->scale_c,
      .avx2 = vrx_gemm_class_of<T>(vrx_gemm_kernels_avx)->scale_c,
      .avx512 = vrx_gemm_class_of<T>(vrx_gemm_kernels_avx)->scale_c,
  };
  return vrx_serv_dispatch(&scale_cache<T>, variants);
}

int vrx_gemm_classic_scale_by_columns(int t, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_int u = m < 100 && n < 100 && k < 100 ? t * n : n;
  return m <= u * t;
}

template <typename T>
void vrx_gemm_classic_parallel_scale(int t, vrx_int m, vrx_int n, vrx_int k, T beta, T* c, vrx_int ldc) {
  const vrx_gemm_scale_c_fn<T> scale = vrx_gemm_classic_scale_kernel<T>();
  const int by_columns = vrx_gemm_classic_scale_by_columns(t, m, n, k);
#pragma omp parallel num_threads(t)
  {
    const int team = omp_get_num_threads(), id = omp_get_thread_num();
    const vrx_int extent = by_columns ? n : m;
    const vrx_int chunk = extent / team, first = id * chunk;
    const vrx_int count = id == team - 1 ? extent - first : chunk;
    if (count > 0) {
      if (by_columns)
        scale(m, count, beta, c + first * ldc, ldc);
      else
        scale(count, n, beta, c + first, ldc);
    }
  }
}

#define VRX_X(T)                                                                                       \
  template vrx_gemm_scale_c_fn<T> vrx_gemm_classic_scale_kernel<T>();                                  \
  template void vrx_gemm_classic_parallel_scale<T>(int, vrx_int, vrx_int, vrx_int, T, T*, vrx_int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
