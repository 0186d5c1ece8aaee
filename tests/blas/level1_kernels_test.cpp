// Level-1 kernels of every runnable class and the published entries on top of them.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include "blas/level12_test_support.h"

namespace {
template <typename T>
void check_level1_table(const vrx_level1_kernels<T>* k, const std::string& name) {
  SCOPED_TRACE(name);
  for (vrx_int n : {1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 64, 67, 130}) {
    SCOPED_TRACE(n);
    // Offsets of one element exercise unaligned bodies.
    std::vector<T> x = small_integers<T>(n + 1, 1), y = small_integers<T>(n + 1, 2);
    const T* xs = x.data() + 1;
    T* ys = y.data() + 1;
    long double dot = 0;
    for (vrx_int i = 0; i < n; ++i) dot += static_cast<long double>(xs[i]) * ys[i];
    EXPECT_EQ(k->dot(n, xs, ys), static_cast<T>(dot));
    long double sq = 0;
    for (vrx_int i = 0; i < n; ++i) sq += static_cast<long double>(xs[i]) * xs[i];
    EXPECT_EQ(k->sumsq(n, xs), static_cast<T>(sq));

    std::vector<T> y2 = y;
    k->axpy(n, T(3), xs, y2.data() + 1);
    for (vrx_int i = 0; i < n; ++i) ASSERT_EQ(y2[i + 1], ys[i] + 3 * xs[i]);
    EXPECT_EQ(y2[0], y[0]);  // untouched outside the vector

    std::vector<T> x2 = x;
    k->scal(n, T(-2), x2.data() + 1);
    for (vrx_int i = 0; i < n; ++i) ASSERT_EQ(x2[i + 1], -2 * xs[i]);

    std::vector<T> c(n + 2, T(99));
    k->copy(n, xs, c.data() + 1);
    for (vrx_int i = 0; i < n; ++i) ASSERT_EQ(c[i + 1], xs[i]);
    EXPECT_EQ(c[0], T(99));
    EXPECT_EQ(c[n + 1], T(99));

    std::vector<T> sx = x, sy = y;
    k->swap(n, sx.data() + 1, sy.data() + 1);
    for (vrx_int i = 0; i < n; ++i) ASSERT_TRUE(sx[i + 1] == ys[i] && sy[i + 1] == xs[i]);

    std::vector<T> rx = x, ry = y;
    k->rot(n, rx.data() + 1, ry.data() + 1, T(2), T(3));
    for (vrx_int i = 0; i < n; ++i) {
      ASSERT_EQ(rx[i + 1], 2 * xs[i] + 3 * ys[i]);
      ASSERT_EQ(ry[i + 1], 2 * ys[i] - 3 * xs[i]);
    }

    // The first largest magnitude wins, wherever it lies.
    for (vrx_int at : {vrx_int(0), n / 2, n - 1}) {
      std::vector<T> v = small_integers<T>(n, 3);
      v[at] = T(-9);
      if (at + 1 < n) v[n - 1] = T(9);
      EXPECT_EQ(k->iamax(n, v.data()), at) << "at " << at;
    }
  }
}
}  // namespace

TEST(Level1Kernels, EveryRunnableClassAgreesWithPlainLoops) {
  for (const level12_class& c : level12_runnable_classes()) {
    check_level1_table(c.d1, c.name + " double");
    check_level1_table(c.s1, c.name + " float");
  }
}

TEST(Level1Kernels, IamaxTreatsNaNAsTheReferenceDoes) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const level12_class& c : level12_runnable_classes()) {
    std::vector<double> v(20, 1.0);
    v[5] = nan;
    v[11] = -3.0;
    EXPECT_EQ(c.d1->iamax(20, v.data()), 11) << c.name;
    v[0] = nan;
    EXPECT_EQ(c.d1->iamax(20, v.data()), 0) << c.name;
  }
}

TEST(Level1Published, NegativeIncrementsWalkFromTheFarEnd) {
  // x logical order 1, 2, 3 stored backwards with stride 2.
  const double x[] = {3, -1, 2, -1, 1};
  double y[] = {10, 20, 30};
  const vrx_int n = 3, incx = -2, incy = 1, one = 1;
  EXPECT_EQ(DDOT(&n, x, &incx, y, &incy), 1 * 10 + 2 * 20 + 3 * 30);
  const double alpha = 2;
  DAXPY(&n, &alpha, x, &incx, y, &incy);
  EXPECT_EQ(y[0], 12);
  EXPECT_EQ(y[2], 36);
  double z[3] = {};
  DCOPY(&n, x, &incx, z, &one);
  EXPECT_EQ(z[0], 1);
  EXPECT_EQ(z[2], 3);
  double w[5] = {0, 7, 0, 7, 0};
  const vrx_int neg = -2;
  DCOPY(&n, z, &one, w, &neg);
  EXPECT_EQ(w[4], 1);
  EXPECT_EQ(w[0], 3);
  EXPECT_EQ(w[1], 7);  // gaps untouched
  double p[] = {1, 2, 3}, q[] = {4, 5, 6};
  const vrx_int minus = -1;
  DSWAP(&n, p, &one, q, &minus);
  EXPECT_EQ(p[0], 6);
  EXPECT_EQ(q[0], 3);
  const double c = 0, s = 1;
  DROT(&n, p, &one, q, &minus, &c, &s);  // p := q reversed, q := -p reversed
  EXPECT_EQ(p[0], 1);
  EXPECT_EQ(q[2], -6);
  double u[] = {1, -5, 5};
  const vrx_int zero = 0;
  EXPECT_EQ(IDAMAX(&n, u, &one), 2);
  EXPECT_EQ(IDAMAX(&n, u, &minus), 0);
  EXPECT_EQ(IDAMAX(&zero, u, &one), 0);
  const double f = 2;
  DSCAL(&n, &f, u, &minus);  // a non-positive increment does nothing
  EXPECT_EQ(u[1], -5);
  const vrx_int strided = 3;
  double big[9] = {1, 9, 9, 2, 9, 9, -2, 9, 9};
  EXPECT_EQ(IDAMAX(&n, big, &strided), 2);
}

TEST(Level1Published, NormIsSafeFromOverflowAndUnderflow) {
  const vrx_int one = 1, minus = -1;
  for (double scale : {1.0, 1e300, 1e-300, 1e-320, 1e154, 1e-160}) {
    std::vector<double> x(1000);
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = scale * ((i % 4) == 0 ? 3.0 : (i % 4) == 1 ? -4.0 : 0.0);
    const vrx_int n = 1000;
    // 250 pairs of (3, -4): norm = 5 sqrt(250) scale.
    const double expected = 5.0 * std::sqrt(250.0) * scale;
    const double tolerance = scale < 1e-300 ? 1e-3 : 1e-14;  // subnormal inputs carry few digits
    EXPECT_NEAR(DNRM2(&n, x.data(), &one) / expected, 1.0, tolerance) << scale;
    EXPECT_NEAR(DNRM2(&n, x.data(), &minus) / expected, 1.0, tolerance) << scale;
  }
  std::vector<float> xf = {3e30f, 4e30f, 0.0f, 1e-30f};
  const vrx_int four = 4;
  EXPECT_NEAR(SNRM2(&four, xf.data(), &one) / 5e30f, 1.0f, 1e-6f);
  // A mixture of huge and tiny keeps the huge part.
  std::vector<double> mixed = {1e-200, 1e200, 1e-200};
  const vrx_int three = 3;
  EXPECT_DOUBLE_EQ(DNRM2(&three, mixed.data(), &one), 1e200);
  std::vector<double> special = {1.0, std::numeric_limits<double>::infinity(), 2.0};
  EXPECT_TRUE(std::isinf(DNRM2(&three, special.data(), &one)));
  special[1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(DNRM2(&three, special.data(), &one)));
  const vrx_int zero = 0;
  EXPECT_EQ(DNRM2(&zero, special.data(), &one), 0.0);
}

TEST(Level1Published, ThreadedNormMatchesTheSequentialOneAtEveryTeamSize) {
  const vrx_int n = 50001;
  std::vector<double> x = small_integers<double>(3 * n, 5);
  for (vrx_int inc : {1, 3, -3}) {
    const double sequential = DNRM2(&n, x.data(), &inc);
    for (int threads : {1, 2, 3, 8, 200}) {
      const double threaded = vrx_blas_dnrm2_threaded(threads, &n, x.data(), &inc);
      EXPECT_NEAR(threaded, sequential, 1e-12 * sequential) << threads << " threads, inc " << inc;
    }
  }
  std::vector<double> huge(20000, 1e300);
  const vrx_int m = 20000, one = 1;
  EXPECT_NEAR(vrx_blas_dnrm2_threaded(4, &m, huge.data(), &one) / (1e300 * std::sqrt(20000.0)), 1.0, 1e-14);
}

TEST(Level1Published, SinglePrecisionMembersFollowTheSameRules) {
  std::vector<float> x = {1, 2, 3, 4}, y = {1, 1, 1, 1};
  const vrx_int n = 4, one = 1, minus = -1;
  EXPECT_EQ(SDOT(&n, x.data(), &one, y.data(), &minus), 10.0f);
  const float a = 2;
  SAXPY(&n, &a, x.data(), &minus, y.data(), &one);
  EXPECT_EQ(y[0], 9.0f);
  EXPECT_EQ(ISAMAX(&n, x.data(), &one), 4);
  SSCAL(&n, &a, x.data(), &one);
  EXPECT_EQ(x[3], 8.0f);
}
