// The classic threaded road of CPU types 0, 2, 3 and 4: a small filter, a
// strategy by processor, a profitability test, the beta handling, then a fork in
// which every thread decides the same partition and runs one worker on its part
// of C. Only the order of summation differs from the sequential product.
#include <algorithm>
#include <omp.h>
#include "blas/level3/classic/vrx_gemm_classic.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int row_slice = 128;
}  // namespace

template <typename T>
vrx_gemm_fn<T> vrx_gemm_classic_sequential() {
  if constexpr (std::is_same_v<T, float>) return vrx_blas_sgemm_sequential;
  else if constexpr (std::is_same_v<T, double>) return vrx_blas_dgemm_sequential;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return vrx_blas_cgemm_sequential;
  else return vrx_blas_zgemm_sequential;
}

template <typename T>
void vrx_gemm_classic(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_, const vrx_int* k_,
                      const T* alpha_, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta_,
                      T* c, const vrx_int* ldc) {
  typedef vrx_traits<T> tr;
  const vrx_gemm_fn<T> sequential = vrx_gemm_classic_sequential<T>();
  const vrx_int m = *m_, n = *n_, k = *k_;
  if (m < 1 || n < 1) return;
  if (vrx_gemm_classic_small(m, n, k)) {
    sequential(transa, transb, m_, n_, k_, alpha_, a, lda, b, ldb, beta_, c, ldc);
    vrx_gemm_classic_note(-1, -1, VRX_CLASSIC_SEQUENTIAL, 1, 0);
    return;
  }
  const int compute_road = vrx_gemm_classic_compute_road();
  const int t = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  const vrx_gemm_classic_facts facts = vrx_gemm_classic_facts_of_process();
  const int strategy = vrx_gemm_classic_strategy(facts);
  const bool a_is_n = vrx_blas_trans_code(*transa) == 0;

  const bool unprofitable = t > 1 && !vrx_gemm_classic_profitable(strategy, t, m, n, k);
  if (vrx_gemm_classic_strategy_sequential(strategy, m, k) || unprofitable) {
    sequential(transa, transb, m_, n_, k_, alpha_, a, lda, b, ldb, beta_, c, ldc);
    vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SEQUENTIAL, 1, 0);
    return;
  }
  if (t <= 1) {
    if (strategy == 4 && (omp_in_parallel() || vrx_serv_cbwr_get(1) != 1)) {
      // One thread walks C in slices of 128 rows, in order.
      for (vrx_int i0 = 0; i0 < m; i0 += row_slice) {
        const vrx_int mb = std::min(row_slice, m - i0);
        sequential(transa, transb, &mb, n_, k_, alpha_, a_is_n ? a + i0 : a + i0 * *lda, lda, b, ldb,
                                  beta_, c + i0, ldc);
      }
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_ROW_SLICES, 1, 0);
    } else {
      sequential(transa, transb, m_, n_, k_, alpha_, a, lda, b, ldb, beta_, c, ldc);
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SEQUENTIAL, 1, 0);
    }
    return;
  }

  vrx_gemm_classic_args_t<T> args = {transa, transb, m, n, k, *alpha_, a, *lda, b, *ldb, *beta_, c, *ldc};
  if (vrx_gemm_classic_beta_with_product(strategy)) {
    if (tr::is_zero(args.alpha)) {
      // Team 0 in the record: no fork at all.
      const bool scaled = !tr::is_one(args.beta);
      if (scaled) vrx_gemm_classic_parallel_scale<T>(t, m, n, k, args.beta, c, args.ldc);
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SCALE_ONLY, scaled ? t : 0, 0);
      return;
    }
  } else {
    const bool scaled = !tr::is_one(args.beta);
    if (scaled) vrx_gemm_classic_parallel_scale<T>(t, m, n, k, args.beta, c, args.ldc);
    args.beta = tr::make(1, 0);
    if (tr::is_zero(args.alpha)) {
      vrx_gemm_classic_note(strategy, compute_road, VRX_CLASSIC_SCALE_ONLY, scaled ? t : 0, 0);
      return;
    }
  }

  vrx_gemm_split_t<T> base;
  vrx_gemm_classic_base<T>(&base, strategy, compute_road, facts.cpu_type, facts.sse41, a_is_n,
                           vrx_blas_trans_code(*transb) == 0, m, n, k);
  base.a_code = vrx_gemm_pack_code(*transa);
  base.b_code = vrx_gemm_pack_code(*transb);
  if (compute_road == 1) {
    base.pack_a = base.ctx.row.pack_a[base.a_code];
    base.pack_b = base.ctx.row.pack_b[base.b_code];
  }
  vrx_gemm_classic_fork<T>(&base, &args, t);
}

void vrx_blas_sgemm_classic(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                            const vrx_int* k, const float* alpha, const float* a, const vrx_int* lda, const float* b,
                            const vrx_int* ldb, const float* beta, float* c, const vrx_int* ldc) {
  vrx_gemm_classic<float>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_dgemm_classic(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                            const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                            const double* b, const vrx_int* ldb, const double* beta, double* c,
                            const vrx_int* ldc) {
  vrx_gemm_classic<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_cgemm_classic(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                            const vrx_int* k, const vrx_complex_float* alpha, const vrx_complex_float* a,
                            const vrx_int* lda, const vrx_complex_float* b, const vrx_int* ldb,
                            const vrx_complex_float* beta, vrx_complex_float* c, const vrx_int* ldc) {
  vrx_gemm_classic<vrx_complex_float>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zgemm_classic(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                            const vrx_int* k, const vrx_complex_double* alpha, const vrx_complex_double* a,
                            const vrx_int* lda, const vrx_complex_double* b, const vrx_int* ldb,
                            const vrx_complex_double* beta, vrx_complex_double* c, const vrx_int* ldc) {
  vrx_gemm_classic<vrx_complex_double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template vrx_gemm_fn<float> vrx_gemm_classic_sequential<float>();
template vrx_gemm_fn<double> vrx_gemm_classic_sequential<double>();
template vrx_gemm_fn<vrx_complex_float> vrx_gemm_classic_sequential<vrx_complex_float>();
template vrx_gemm_fn<vrx_complex_double> vrx_gemm_classic_sequential<vrx_complex_double>();
