// The classic threaded road of CPU types 0, 2, 3 and 4: a small filter, a
// strategy by processor, a profitability test, the beta handling, then a fork in
// which every thread decides the same partition and runs one worker on its part
// of C. Only the order of summation differs from the sequential product.
#include <algorithm>
#include <omp.h>
#include "blas/vrx_gemm_classic.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int row_slice = 128;
}  // namespace

void vrx_blas_dgemm_classic(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_,
                            const vrx_int* k_, const double* alpha_, const double* a, const vrx_int* lda,
                            const double* b, const vrx_int* ldb, const double* beta_, double* c,
                            const vrx_int* ldc) {
  const vrx_int m = *m_, n = *n_, k = *k_;
  if (m < 1 || n < 1) return;
  if (vrx_gemm_classic_small(m, n, k)) {
    vrx_blas_dgemm_sequential(transa, transb, m_, n_, k_, alpha_, a, lda, b, ldb, beta_, c, ldc);
    vrx_gemm_classic_note(-1, -1, VRX_CLASSIC_SEQUENTIAL, 1, nullptr, 0);
    return;
  }
  const int compute_road = vrx_gemm_classic_compute_road();
  const int t = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  const vrx_gemm_classic_facts facts = vrx_gemm_classic_facts_of_process();
  const int strategy = vrx_gemm_classic_strategy(facts);
  const bool a_is_n = vrx_blas_trans_code(*transa) == 0;

  const bool unprofitable = t > 1 && !vrx_gemm_classic_profitable(strategy, t, m, n, k);
  if (vrx_gemm_classic_strategy_sequential(strategy, m, k) || unprofitable) {
    vrx_blas_dgemm_sequential(transa, transb, m_, n_, k_, alpha_, a, lda, b, ldb, beta_, c, ldc);
    vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SEQUENTIAL, 1, nullptr, 0);
    return;
  }
  if (t <= 1) {
    if (strategy == 4 && (omp_in_parallel() || vrx_serv_cbwr_get(1) != 1)) {
      // One thread walks C in slices of 128 rows, in order.
      for (vrx_int i0 = 0; i0 < m; i0 += row_slice) {
        const vrx_int mb = std::min(row_slice, m - i0);
        vrx_blas_dgemm_sequential(transa, transb, &mb, n_, k_, alpha_, a_is_n ? a + i0 : a + i0 * *lda, lda, b, ldb,
                                  beta_, c + i0, ldc);
      }
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_ROW_SLICES, 1, nullptr, 0);
    } else {
      vrx_blas_dgemm_sequential(transa, transb, m_, n_, k_, alpha_, a, lda, b, ldb, beta_, c, ldc);
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SEQUENTIAL, 1, nullptr, 0);
    }
    return;
  }

  vrx_gemm_classic_args args = {transa, transb, m, n, k, *alpha_, a, *lda, b, *ldb, *beta_, c, *ldc};
  if (vrx_gemm_classic_beta_with_product(strategy)) {
    if (args.alpha == 0.0) {
      // Team 0 in the record: no fork at all.
      if (args.beta != 1.0) vrx_gemm_classic_parallel_scale(t, m, n, k, args.beta, c, args.ldc);
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SCALE_ONLY, args.beta != 1.0 ? t : 0, nullptr, 0);
      return;
    }
  } else {
    const bool scaled = args.beta != 1.0;
    if (scaled) vrx_gemm_classic_parallel_scale(t, m, n, k, args.beta, c, args.ldc);
    args.beta = 1.0;
    if (args.alpha == 0.0) {
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SCALE_ONLY, scaled ? t : 0, nullptr, 0);
      return;
    }
  }

  vrx_gemm_split base;
  vrx_gemm_classic_base(&base, strategy, compute_road, facts.cpu_type, facts.sse41, a_is_n,
                        vrx_blas_trans_code(*transb) == 0, m, n, k);
  vrx_gemm_classic_fork(&base, &args, t);
}
