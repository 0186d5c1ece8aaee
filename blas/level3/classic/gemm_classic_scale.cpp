// C := beta C on the threads of the classic road, cut by columns or rows, with
// the matrix scaling kernel of the CPU type (beta = 0 stores zeros).
#include <omp.h>
#include "blas/vrx_gemm_classic.h"
#include "service/vrx_dispatch.h"

namespace {
constexpr vrx_variants<vrx_gemm_scale_fn> scale_variants = {
    .portable = vrx_blas_dgemm_scale_c_sse2, .compatible = vrx_blas_dgemm_scale_c_sse2,
    .sse2 = vrx_blas_dgemm_scale_c_sse2,     .ssse3 = vrx_blas_dgemm_scale_c_ssse3,
    .sse42 = vrx_blas_dgemm_scale_c_sse42,   .avx = vrx_blas_dgemm_scale_c_avx,
    .avx2 = vrx_blas_dgemm_scale_c_avx,      .avx512 = vrx_blas_dgemm_scale_c_avx,
};
vrx_gemm_scale_fn scale_cache = nullptr;
}  // namespace

vrx_gemm_scale_fn vrx_gemm_classic_scale_kernel() { return vrx_serv_dispatch(&scale_cache, scale_variants); }

int vrx_gemm_classic_scale_by_columns(int t, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_int u = m < 100 && n < 100 && k < 100 ? t * n : n;
  return m <= u * t;
}

void vrx_gemm_classic_parallel_scale(int t, vrx_int m, vrx_int n, vrx_int k, double beta, double* c, vrx_int ldc) {
  const vrx_gemm_scale_fn scale = vrx_gemm_classic_scale_kernel();
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
