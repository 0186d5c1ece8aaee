// Level-2 kernels of every runnable class, and the published level-2 routines, against
// plain loops with integer data (exact results).
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include "blas/level12_test_support.h"
#include "blas/vrx_blas.h"

namespace {
template <typename T>
void check_level2_table(const vrx_level2_kernels<T>* k, const std::string& name) {
  SCOPED_TRACE(name);
  // Rows cross the cache-line steps (8 doubles, 16 floats) and their tails; columns
  // cross the passes of 8 and 16 columns and the single columns after them; the last
  // shape is large enough (over 1 MiB) for the passes meant for matrices beyond the caches.
  std::vector<std::pair<vrx_int, vrx_int>> shapes = {{517, 263}};
  for (vrx_int m : {1, 3, 8, 17, 33, 70})
    for (vrx_int n : {1, 4, 5, 9, 16, 17, 35}) shapes.push_back({m, n});
  for (const auto& [m, n] : shapes) {
    const vrx_int lda = m + 3;
    std::vector<T> a = small_integers<T>(lda * n, 7), x = small_integers<T>(2 * (m + n), 8);
    std::vector<T> y = small_integers<T>(2 * (m + n), 9);
    // No transposition, x with stride 2.
    std::vector<T> yn = y;
    k->gemv_n(m, n, T(2), a.data(), lda, x.data(), 2, yn.data());
    for (vrx_int i = 0; i < m; ++i) {
      T s = y[i];
      for (vrx_int j = 0; j < n; ++j) s += 2 * a[i + j * lda] * x[2 * j];
      ASSERT_EQ(yn[i], s) << m << "x" << n << " row " << i;
    }
    EXPECT_EQ(yn[m], y[m]);
    // Transposed, y with stride 3 where it fits.
    std::vector<T> yt(3 * n + 1, T(1));
    k->gemv_t(m, n, T(-1), a.data(), lda, x.data(), yt.data(), 3);
    for (vrx_int j = 0; j < n; ++j) {
      T s = 1;
      for (vrx_int i = 0; i < m; ++i) s -= a[i + j * lda] * x[i];
      ASSERT_EQ(yt[3 * j], s) << m << "x" << n << " column " << j;
      if (j + 1 < n) ASSERT_EQ(yt[3 * j + 1], T(1));
    }
    std::vector<T> yd = y;
    const T dot = k->axpy_dot(m, T(3), a.data(), x.data(), yd.data());
    T expect = 0;
    for (vrx_int i = 0; i < m; ++i) {
      expect += a[i] * x[i];
      ASSERT_EQ(yd[i], y[i] + 3 * a[i]);
    }
    EXPECT_EQ(dot, expect);
  }
}

// Full symmetric / triangular matrices from one stored triangle, for the references.
template <typename T>
std::vector<T> triangle_of(const std::vector<T>& a, vrx_int n, vrx_int lda, bool upper, bool unit, bool symmetric) {
  std::vector<T> full(n * n, T(0));
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < n; ++i) {
      const bool stored = upper ? i <= j : i >= j;
      if (stored) full[i + j * n] = (i == j && unit) ? T(1) : a[i + j * lda];
      else if (symmetric) full[i + j * n] = a[j + i * lda];
    }
  return full;
}
}  // namespace

TEST(Level2Kernels, EveryRunnableClassAgreesWithPlainLoops) {
  for (const level12_class& c : level12_runnable_classes()) {
    check_level2_table(c.d2, c.name + " double");
    check_level2_table(c.s2, c.name + " float");
  }
}

TEST(Level2Published, SequentialGemvCoversStridesBetaAndBuffering) {
  // 600 rows cross the 512-element buffer; strides of either sign take the buffered road.
  for (char trans : {'N', 'T'}) {
    for (vrx_int m : {1, 63, 600}) {
      for (vrx_int n : {1, 64, 101}) {
        for (long inc : {1L, 2L, -3L}) {
          for (double beta : {0.0, 1.0, -2.0}) {
            const vrx_int lda = m + 1;
            std::vector<double> a = small_integers<double>(lda * n, 1), x = small_integers<double>(3 * (m + n), 2);
            std::vector<double> y = small_integers<double>(3 * (m + n), 3);
            if (beta == 0.0)
              for (auto& v : y) v = std::numeric_limits<double>::quiet_NaN();  // never read
            const std::vector<double> expect = reference_gemv(trans, m, n, 1.5, a, lda, x, inc, beta, y, -inc);
            const vrx_int incx = inc, incy = -inc, one = 1;
            const double alpha = 1.5;
            const char letter[2] = {trans, 0};
            vrx_blas_dgemv_sequential(letter, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy,
                                      &one);
            for (std::size_t i = 0; i < y.size(); ++i) {
              if (std::isnan(expect[i])) ASSERT_TRUE(std::isnan(y[i]));
              else ASSERT_EQ(y[i], expect[i]) << trans << " " << m << "x" << n << " inc " << inc << " beta " << beta;
            }
          }
        }
      }
    }
  }
}

TEST(Level2Published, SgemvAndQuickReturns) {
  const vrx_int m = 40, n = 30, lda = 40, one = 1;
  std::vector<float> a = small_integers<float>(lda * n, 4), x = small_integers<float>(40, 5);
  std::vector<float> y = small_integers<float>(40, 6);
  const std::vector<float> expect = reference_gemv<float>('T', m, n, 2.0f, a, lda, x, 1, 1.0f, y, 1);
  const float alpha = 2, beta = 1;
  SGEMV("Transpose", &m, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
  for (vrx_int i = 0; i < n; ++i) EXPECT_EQ(y[i], expect[i]);
  // alpha = 0 and beta = 1: y is not touched even when it holds NaN.
  std::vector<double> yd(5, std::numeric_limits<double>::quiet_NaN()), ad(25, 1.0), xd(5, 1.0);
  const double zero = 0, unit = 1;
  const vrx_int five = 5;
  DGEMV("N", &five, &five, &zero, ad.data(), &five, xd.data(), &one, &unit, yd.data(), &one);
  EXPECT_TRUE(std::isnan(yd[0]));
}

TEST(Level2Published, BadArgumentsAreReportedWithTheirPositions) {
  double a[4] = {}, x[2] = {}, y[2] = {};
  const vrx_int two = 2, one = 1, zero = 0, minus = -1;
  const double alpha = 1;
  struct {
    int position;
    std::string name;
    std::function<void()> call;
  } cases[] = {
      {1, "DGEMV ", [&] { DGEMV("X", &two, &two, &alpha, a, &two, x, &one, &alpha, y, &one); }},
      {6, "DGEMV ", [&] { DGEMV("N", &two, &two, &alpha, a, &one, x, &one, &alpha, y, &one); }},
      {11, "DGEMV ", [&] { DGEMV("T", &two, &two, &alpha, a, &two, x, &one, &alpha, y, &zero); }},
      {2, "DGER  ", [&] { DGER(&two, &minus, &alpha, x, &one, y, &one, a, &two); }},
      {9, "DGER  ", [&] { DGER(&two, &two, &alpha, x, &one, y, &one, a, &one); }},
      {3, "DTRSV ", [&] { DTRSV("U", "N", "Q", &two, a, &two, x, &one); }},
      {8, "DTRMV ", [&] { DTRMV("L", "T", "N", &two, a, &two, x, &zero); }},
      {5, "DSYMV ", [&] { DSYMV("U", &two, &alpha, a, &one, x, &one, &alpha, y, &one); }},
      {7, "DSYR2 ", [&] { DSYR2("L", &two, &alpha, x, &one, y, &zero, a, &two); }},
  };
  for (auto& c : cases) {
    testing::internal::CaptureStdout();
    c.call();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nArdix VRX ERROR: Parameter " + std::to_string(c.position) +
                                                          " was incorrect on entry to " + c.name + ".\n");
  }
  for (double v : y) EXPECT_EQ(v, 0.0);
}

TEST(Level2Published, RankUpdatesTriangularAndSymmetricRoutinesAreExact) {
  for (vrx_int n : {1, 5, 18, 37}) {
    for (vrx_int inc : {1, -2}) {
      const vrx_int lda = n + 2, len = 2 * n + 2, abs_inc = inc < 0 ? -inc : inc;
      const vrx_int x0 = inc < 0 ? (n - 1) * abs_inc : 0;
      auto at = [&](const std::vector<double>& v, vrx_int k) { return v[x0 + k * inc]; };
      std::vector<double> a = small_integers<double>(lda * n, n + 1), x = small_integers<double>(len, 2);
      std::vector<double> y = small_integers<double>(len, 3);
      for (vrx_int i = 0; i < n; ++i) a[i + i * lda] = (i % 2) ? 1.0 : -1.0;  // exact solves
      const double alpha = 2;
      for (bool upper : {true, false}) {
        const char* uplo = upper ? "Upper" : "Lower";
        // DSYR2 on the stored triangle only.
        std::vector<double> s = a;
        DSYR2(uplo, &n, &alpha, x.data(), &inc, y.data(), &inc, s.data(), &lda);
        for (vrx_int j = 0; j < n; ++j)
          for (vrx_int i = 0; i < lda; ++i) {
            const bool stored = i < n && (upper ? i <= j : i >= j);
            const double expect = stored ? a[i + j * lda] + 2 * at(x, i) * at(y, j) + 2 * at(y, i) * at(x, j)
                                         : a[i + j * lda];
            ASSERT_EQ(s[i + j * lda], expect) << uplo << " n " << n;
          }
        // DSYMV reads one triangle as the whole symmetric matrix.
        const std::vector<double> full = triangle_of(a, n, lda, upper, false, true);
        std::vector<double> ys = y;
        const double beta = -1;
        DSYMV(uplo, &n, &alpha, a.data(), &lda, x.data(), &inc, &beta, ys.data(), &inc);
        for (vrx_int i = 0; i < n; ++i) {
          double s2 = -at(y, i);
          for (vrx_int k = 0; k < n; ++k) s2 += 2 * full[i + k * n] * at(x, k);
          ASSERT_EQ(at(ys, i), s2) << uplo << " n " << n;
        }
        for (bool unit : {false, true}) {
          const std::vector<double> tri = triangle_of(a, n, lda, upper, unit, false);
          for (const char* trans : {"No transpose", "Transpose"}) {
            const bool plain = trans[0] == 'N';
            const char* diag = unit ? "Unit" : "Non-unit";
            std::vector<double> xm = x;
            DTRMV(uplo, trans, diag, &n, a.data(), &lda, xm.data(), &inc);
            for (vrx_int i = 0; i < n; ++i) {
              double s3 = 0;
              for (vrx_int k = 0; k < n; ++k) s3 += (plain ? tri[i + k * n] : tri[k + i * n]) * at(x, k);
              ASSERT_EQ(at(xm, i), s3) << uplo << trans << diag << " n " << n;
            }
            // The solve undoes the product exactly (integer data, unit-magnitude diagonal).
            DTRSV(uplo, trans, diag, &n, a.data(), &lda, xm.data(), &inc);
            for (vrx_int i = 0; i < len; ++i) ASSERT_EQ(xm[i], x[i]) << uplo << trans << diag << " n " << n;
          }
        }
      }
      // DGER adds alpha x y^T and leaves the gap rows alone.
      std::vector<double> g = a;
      DGER(&n, &n, &alpha, x.data(), &inc, y.data(), &inc, g.data(), &lda);
      for (vrx_int j = 0; j < n; ++j)
        for (vrx_int i = 0; i < lda; ++i)
          ASSERT_EQ(g[i + j * lda], a[i + j * lda] + (i < n ? 2 * at(x, i) * at(y, j) : 0.0));
    }
  }
}

TEST(Level2Published, SinglePrecisionTriangularAndRankUpdates) {
  const vrx_int n = 9, lda = 9, one = 1;
  std::vector<float> a = small_integers<float>(n * n, 11), x = small_integers<float>(n, 12), y = small_integers<float>(n, 13);
  for (vrx_int i = 0; i < n; ++i) a[i + i * n] = 1;
  std::vector<float> xs = x;
  STRMV("U", "N", "N", &n, a.data(), &lda, xs.data(), &one);
  STRSV("U", "N", "N", &n, a.data(), &lda, xs.data(), &one);
  for (vrx_int i = 0; i < n; ++i) EXPECT_EQ(xs[i], x[i]);
  const float alpha = 1;
  std::vector<float> g = a;
  SGER(&n, &n, &alpha, x.data(), &one, y.data(), &one, g.data(), &lda);
  EXPECT_EQ(g[3 + 4 * n], a[3 + 4 * n] + x[3] * y[4]);
  std::vector<float> s = a;
  SSYR2("U", &n, &alpha, x.data(), &one, y.data(), &one, s.data(), &lda);
  EXPECT_EQ(s[2 + 5 * n], a[2 + 5 * n] + x[2] * y[5] + y[2] * x[5]);
  std::vector<float> ys(n, 0.0f);
  const float zero = 0;
  SSYMV("L", &n, &alpha, a.data(), &lda, x.data(), &one, &zero, ys.data(), &one);
  float e = 0;
  for (vrx_int k = 0; k < n; ++k) e += (k >= 0 ? a[k + 0 * n] : 0) * x[k];
  EXPECT_EQ(ys[0], e);
}
