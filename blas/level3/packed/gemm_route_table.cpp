// The sequential route of each classic CPU type (0, 2, 3, 4) in every precision, as the
// sequential dispatcher picks it: types 0 and 2 off reproducibility branch 1 take the
// second SSE2 kernel set.
#include "blas/level3/packed/vrx_gemm_packed.h"

template <typename T>
vrx_gemm_fn<T> vrx_blas_gemm_classic_route(int cpu_type, int branch) {
  switch (cpu_type) {
    case 0: return branch == 1 ? vrx_gemm_route_sse2_first<T> : vrx_gemm_route_sse2_second<T>;
    case 2: return branch == 1 ? vrx_gemm_route_ssse3<T> : vrx_gemm_route_sse2_second<T>;
    case 3: return vrx_gemm_route_sse42<T>;
    case 4: return vrx_gemm_route_avx<T>;
    default: return nullptr;
  }
}

template <>
vrx_gemm_fn<double> vrx_blas_gemm_classic_route<double>(int cpu_type, int branch) {
  switch (cpu_type) {
    case 0: return branch == 1 ? vrx_blas_dgemm_route_sse2 : vrx_blas_dgemm_route_sse2_compatible;
    case 2: return branch == 1 ? vrx_blas_dgemm_route_ssse3 : vrx_blas_dgemm_route_sse2_compatible;
    case 3: return vrx_blas_dgemm_route_sse42;
    case 4: return vrx_blas_dgemm_route_avx;
    default: return nullptr;
  }
}

template vrx_gemm_fn<float> vrx_blas_gemm_classic_route<float>(int, int);
template vrx_gemm_fn<vrx_complex_float> vrx_blas_gemm_classic_route<vrx_complex_float>(int, int);
template vrx_gemm_fn<vrx_complex_double> vrx_blas_gemm_classic_route<vrx_complex_double>(int, int);
