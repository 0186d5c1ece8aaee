// Shared checks of the level-3 GEMM tests: a product through any routine with the
// GEMM argument list, against the long-double reference, with padded matrices.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "blas/vrx_blas.h"
#include "support/gemm_reference.h"

struct l3_case {
  char ta, tb;
  vrx_int m, n, k;
  double alpha, beta;
};

inline bool l3_has_avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }
inline bool l3_has_avx512() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}

// Runs `fn` on random data with padded leading dimensions; C holds NaN when beta = 0.
// Checks every element against the reference and that the padding of C is untouched.
inline void l3_check(vrx_dgemm_fn fn, const l3_case& t, unsigned seed) {
  const bool ap = (t.ta & ~0x20) == 'N', bp = (t.tb & ~0x20) == 'N';
  const vrx_int a_rows = ap ? t.m : t.k, a_cols = ap ? t.k : t.m;
  const vrx_int b_rows = bp ? t.k : t.n, b_cols = bp ? t.n : t.k;
  const vrx_int lda = a_rows + 3, ldb = b_rows + 1, ldc = t.m + 2;
  std::vector<double> a = vrx_test_random(static_cast<size_t>(lda * (a_cols > 0 ? a_cols : 1)), seed);
  std::vector<double> b = vrx_test_random(static_cast<size_t>(ldb * (b_cols > 0 ? b_cols : 1)), seed + 7);
  std::vector<double> c = vrx_test_random(static_cast<size_t>(ldc * t.n), seed + 13);
  if (t.beta == 0.0)
    for (vrx_int j = 0; j < t.n; ++j)
      for (vrx_int i = 0; i < t.m; ++i) c[i + j * ldc] = std::numeric_limits<double>::quiet_NaN();
  const std::vector<double> c0 = c;
  fn(&t.ta, &t.tb, &t.m, &t.n, &t.k, &t.alpha, a.data(), &lda, b.data(), &ldb, &t.beta, c.data(), &ldc);

  std::vector<long double> ref;
  vrx_test_gemm_long_double(t.ta, t.tb, t.m, t.n, t.k, t.alpha, a.data(), lda, b.data(), ldb, t.beta, c0.data(),
                            ldc, ref);
  const double err = vrx_test_gemm_error(c.data(), ldc, t.m, t.n, ref, t.k,
                                         std::fabs(t.alpha) * static_cast<double>(t.k) + std::fabs(t.beta));
  EXPECT_LT(err, 1.0) << t.ta << t.tb << " m=" << t.m << " n=" << t.n << " k=" << t.k << " alpha=" << t.alpha
                      << " beta=" << t.beta;
  for (vrx_int j = 0; j < t.n; ++j)
    for (vrx_int i = t.m; i < ldc; ++i)
      ASSERT_EQ(c[i + j * ldc], c0[i + j * ldc]) << "padding of C written at " << i << "," << j;
}
