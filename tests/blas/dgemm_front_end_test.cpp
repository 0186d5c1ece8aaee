// The GEMM entry below the wrappers: the rules for beta = 0, alpha = 0, k = 0,
// empty results, and the vector-shaped reductions.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "blas/vrx_blas.h"
#include "support/gemm_reference.h"

namespace {
const double nan_value = std::numeric_limits<double>::quiet_NaN();

void gemm(const char* ta, const char* tb, vrx_int m, vrx_int n, vrx_int k, double alpha, const double* a, vrx_int lda,
          const double* b, vrx_int ldb, double beta, double* c, vrx_int ldc) {
  vrx_blas_dgemm_gate(ta, tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc, 1, 1);
}
}  // namespace

TEST(DgemmFrontEnd, EmptyResultNeverTouchesC) {
  std::vector<double> c(16, nan_value), a(16, 1.0), b(16, 1.0);
  gemm("N", "N", 0, 4, 4, 1.0, a.data(), 4, b.data(), 4, 0.0, c.data(), 4);
  gemm("N", "N", 4, 0, 4, 1.0, a.data(), 4, b.data(), 4, 0.0, c.data(), 4);
  for (double v : c) EXPECT_TRUE(std::isnan(v));
}

TEST(DgemmFrontEnd, BetaZeroWipesNaNAndAlphaZeroNeverReadsA) {
  for (auto [m, n, k] : {std::array<vrx_int, 3>{5, 6, 0}, {5, 6, 7}, {1, 6, 7}, {5, 1, 7}, {5, 6, 1}, {70, 3, 1}}) {
    SCOPED_TRACE(testing::Message() << m << "x" << n << "x" << k);
    std::vector<double> a(static_cast<size_t>(std::max<vrx_int>(m * k, 1) * 2), nan_value);
    std::vector<double> b(static_cast<size_t>(std::max<vrx_int>(k * n, 1)), nan_value);
    std::vector<double> c(static_cast<size_t>(m * n), nan_value);
    // alpha = 0: A and B are never read, beta = 0 stores zeros.
    gemm("N", "N", m, n, k, 0.0, a.data(), m, b.data(), std::max<vrx_int>(k, 1), 0.0, c.data(), m);
    for (double v : c) ASSERT_EQ(v, 0.0);
    // alpha = 0, beta = 2 scales C.
    for (size_t i = 0; i < c.size(); ++i) c[i] = static_cast<double>(i);
    gemm("T", "N", m, n, k, 0.0, a.data(), std::max<vrx_int>(k, 1), b.data(), std::max<vrx_int>(k, 1), 2.0, c.data(), m);
    for (size_t i = 0; i < c.size(); ++i) ASSERT_EQ(c[i], 2.0 * static_cast<double>(i));
  }
  // k = 0 with beta = 1 leaves C, NaN included.
  std::vector<double> c(12, nan_value), a(12, 1.0);
  gemm("N", "N", 3, 4, 0, 1.0, a.data(), 3, a.data(), 1, 1.0, c.data(), 3);
  for (double v : c) EXPECT_TRUE(std::isnan(v));
}

TEST(DgemmFrontEnd, RowOfCIsWrittenWithStrideLdcOnly) {
  // m = 1 with B not transposed: C is one row with stride ldc; nothing between is written.
  const vrx_int n = 9, k = 5, ldc = 3;
  std::vector<double> a = vrx_test_random(k * 2, 3), b = vrx_test_random(k * n, 4);
  std::vector<double> c(static_cast<size_t>(ldc * n), -7.0);
  gemm("N", "N", 1, n, k, 1.5, a.data(), 2, b.data(), k, 0.0, c.data(), ldc);
  std::vector<long double> ref;
  vrx_test_gemm_long_double('N', 'N', 1, n, k, 1.5, a.data(), 2, b.data(), k, 0.0, c.data(), ldc, ref);
  EXPECT_LT(vrx_test_gemm_error(c.data(), ldc, 1, n, ref, k, 1.5 * k), 1.0);
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 1; i < ldc; ++i) ASSERT_EQ(c[i + j * ldc], -7.0);
}

TEST(DgemmFrontEnd, RankOneGatherGivesTheSameResultOnBothSides) {
  // k = 1 with A transposed and lda = 2: x has stride 2, gathered above 64 rows.
  for (vrx_int m : {64, 65, 200}) {
    const vrx_int n = 7, lda = 2;
    std::vector<double> a = vrx_test_random(static_cast<size_t>(lda * m), 10), b = vrx_test_random(n, 11);
    std::vector<double> c = vrx_test_random(static_cast<size_t>(m * n), 12);
    std::vector<double> expected = c;
    for (vrx_int j = 0; j < n; ++j)
      for (vrx_int i = 0; i < m; ++i) expected[i + j * m] = -0.5 * expected[i + j * m] + 2.0 * b[j] * a[i * lda];
    gemm("T", "N", m, n, 1, 2.0, a.data(), lda, b.data(), 1, -0.5, c.data(), m);
    for (size_t i = 0; i < c.size(); ++i) ASSERT_NEAR(c[i], expected[i], 1e-15) << "m " << m;
  }
}

TEST(DgemmFrontEnd, NegativeKActsAsEmptyInnerDimension) {
  // Only callers below the wrappers can pass k < 0; the result is C := beta C on every road.
  for (auto [m, n] : {std::pair<vrx_int, vrx_int>{1, 4}, {4, 1}, {4, 5}}) {
    std::vector<double> a(8, nan_value), c(static_cast<size_t>(m * n), 3.0);
    gemm("N", "N", m, n, -2, 1.0, a.data(), m, a.data(), 1, 0.5, c.data(), m);
    for (double v : c) ASSERT_EQ(v, 1.5);
  }
}
