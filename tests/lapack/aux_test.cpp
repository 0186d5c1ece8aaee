// The auxiliary routines: copies and fills of a triangle leave the rest alone; scaling by
// factors far outside the exponent range reaches the exact power of two without passing
// through an overflow or underflow, on every storage kind; the norms against a direct
// sum in long double, NaN propagation, and a Frobenius norm of huge entries that a plain
// sum of squares would overflow; the triangular solve's singular diagonal and checks.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "lapack/aux/vrx_aux.h"
#include "lapack/solve_check.h"
#include "lapack/vrx_lapack.h"

namespace {
template <typename T>
class AuxTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(AuxTest, element_types);

template <typename T>
T element(int i, int j) {
  // Distinct, sign-mixed, exactly representable values.
  const int v = ((i * 7 + j * 13) % 23) - 11;
  return vrx_traits<T>::make(static_cast<vrx_real_t<T>>(v), static_cast<vrx_real_t<T>>((i + 2 * j) % 5 - 2));
}

template <typename T>
std::vector<T> sample(int m, int n, int lda) {
  std::vector<T> a(static_cast<size_t>(lda) * n);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < lda; ++i) a[i + j * lda] = element<T>(i, j);
  return a;
}

template <typename T>
long double magnitude(T x) {
  const long double re = vrx_traits<T>::real_part(x), im = vrx_traits<T>::imag_part(x);
  return std::sqrt(re * re + im * im);
}
}  // namespace

TYPED_TEST(AuxTest, CopyAndFillTouchOnlyTheirTriangle) {
  typedef TypeParam T;
  const int m = 5, n = 7, lda = 6;
  const std::vector<T> a = sample<T>(m, n, lda);
  const T alpha = vrx_traits<T>::make(3, 1), beta = vrx_traits<T>::make(-4, 0);
  for (const char* uplo : {"U", "l", "A"}) {
    const bool upper = *uplo == 'U', lower = *uplo == 'l';
    std::vector<T> b(lda * n, vrx_traits<T>::make(99, 0)), c = b;
    vrx_lapack_lacpy<T>(uplo, m, n, a.data(), lda, b.data(), lda);
    vrx_lapack_laset<T>(uplo, m, n, alpha, beta, c.data(), lda);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < lda; ++i) {
        const bool inside = i < m && (upper ? i <= j : lower ? i >= j : true);
        EXPECT_EQ(b[i + j * lda], inside ? a[i + j * lda] : vrx_traits<T>::make(99, 0)) << uplo << i << j;
        EXPECT_EQ(c[i + j * lda], inside ? (i == j ? beta : alpha) : vrx_traits<T>::make(99, 0)) << uplo << i << j;
      }
  }
}

TYPED_TEST(AuxTest, ScalingReachesExtremeFactorsExactly) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const int emax = std::numeric_limits<R>::max_exponent;
  // cto / cfrom = 2^(2 emax - 8) overflows as one number; the steps must get there.
  const R cfrom = std::ldexp(R(1), -emax + 4), cto = std::ldexp(R(1), emax - 4);
  const int m = 4, n = 3, lda = 4;
  std::vector<T> a(lda * n);
  for (int k = 0; k < lda * n; ++k) a[k] = vrx_traits<T>::make(std::ldexp(R(1), -emax + 6), 0);
  vrx_int info = -1;
  vrx_lapack_lascl<T>("G", 0, 0, cfrom, cto, m, n, a.data(), lda, &info);
  EXPECT_EQ(info, 0);
  for (const T& x : a) EXPECT_EQ(vrx_traits<T>::real_part(x), std::ldexp(R(1), emax - 2));

  // Every storage kind scales exactly its part.
  struct kind {
    const char* type;
    int kl, ku, m, n, lda;
  };
  const kind kinds[] = {{"L", 0, 0, 5, 4, 5}, {"U", 0, 0, 5, 4, 5}, {"H", 0, 0, 5, 5, 5},
                        {"B", 2, 2, 5, 5, 3}, {"Q", 2, 2, 5, 5, 3}, {"Z", 1, 2, 5, 5, 5}};
  for (const kind& k : kinds) {
    std::vector<T> b(k.lda * k.n, vrx_traits<T>::make(1, 0));
    vrx_lapack_lascl<T>(k.type, k.kl, k.ku, R(1), R(4), k.m, k.n, b.data(), k.lda, &info);
    ASSERT_EQ(info, 0) << k.type;
    int scaled = 0;
    for (const T& x : b) scaled += vrx_traits<T>::real_part(x) == 4;
    const int expected[] = {14, 10, 19, 12, 12, 0};
    if (*k.type == 'Z') {
      // Full band of kl = 1, ku = 2 in rows kl..2kl+ku: 5 + 4 + 3 + 4 minus nothing = 16.
      EXPECT_EQ(scaled, 16) << k.type;
    } else {
      EXPECT_EQ(scaled, expected[&k - kinds]) << k.type;
    }
  }
}

TYPED_TEST(AuxTest, ScalingChecksAndReports) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  std::vector<T> a(16, vrx_traits<T>::make(1, 0));
  const std::vector<T> a0 = a;
  const std::string name = std::string(1, vrx_traits<T>::letter) + "LASCL";
  struct row {
    const char* type;
    R cfrom, cto;
    vrx_int m, lda;
    int position;
  };
  const R nan = std::numeric_limits<R>::quiet_NaN();
  const row rows[] = {{"X", 1, 2, 2, 2, 1}, {"G", 0, 2, 2, 2, 4}, {"G", nan, 2, 2, 2, 4},
                      {"G", 1, nan, 2, 2, 5}, {"G", 1, 2, -1, 2, 6}, {"G", 1, 2, 3, 2, 9}};
  for (const row& r : rows) {
    vrx_int info = 0;
    const std::string printed = vrx_test_printed_by(
        [&] { vrx_lapack_lascl<T>(r.type, 0, 0, r.cfrom, r.cto, r.m, 2, a.data(), r.lda, &info); });
    EXPECT_EQ(printed, vrx_test_parameter_line(r.position, name));
    EXPECT_EQ(info, -r.position);
  }
  EXPECT_TRUE(vrx_test_same_bits(a, a0));
}

TYPED_TEST(AuxTest, NormsAgreeWithDirectSums) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const int m = 6, n = 5, lda = 7;
  const std::vector<T> a = sample<T>(m, n, lda);
  long double max_abs = 0, frob = 0, one = 0, inf = 0;
  for (int j = 0; j < n; ++j) {
    long double col = 0;
    for (int i = 0; i < m; ++i) {
      const long double x = magnitude(a[i + j * lda]);
      max_abs = std::max(max_abs, x);
      frob += x * x;
      col += x;
    }
    one = std::max(one, col);
  }
  for (int i = 0; i < m; ++i) {
    long double row = 0;
    for (int j = 0; j < n; ++j) row += magnitude(a[i + j * lda]);
    inf = std::max(inf, row);
  }
  std::vector<R> work(m);
  const R tol = 8 * std::numeric_limits<R>::epsilon();
  EXPECT_NEAR(vrx_lapack_lange<T>("M", m, n, a.data(), lda, work.data()), max_abs, tol * max_abs);
  EXPECT_NEAR(vrx_lapack_lange<T>("1", m, n, a.data(), lda, work.data()), one, tol * one);
  EXPECT_NEAR(vrx_lapack_lange<T>("o", m, n, a.data(), lda, work.data()), one, tol * one);
  EXPECT_NEAR(vrx_lapack_lange<T>("I", m, n, a.data(), lda, work.data()), inf, tol * inf);
  EXPECT_NEAR(vrx_lapack_lange<T>("F", m, n, a.data(), lda, work.data()), std::sqrt(frob), tol * std::sqrt(frob));
  EXPECT_EQ(vrx_lapack_lange<T>("M", 0, n, a.data(), lda, work.data()), R(0));

  // The symmetric (Hermitian) matrix of either stored triangle: the full matrix's norms.
  const int s = 5;
  std::vector<T> full(s * s);
  for (int j = 0; j < s; ++j)
    for (int i = 0; i < s; ++i) {
      const T x = element<T>(std::min(i, j), std::max(i, j));
      full[i + j * s] = i == j ? vrx_traits<T>::make(vrx_traits<T>::real_part(x), 0)
                               : (i < j ? x : vrx_traits<T>::conj(x));
    }
  std::vector<R> w(s);
  for (const char* norm : {"M", "1", "I", "F"}) {
    const R expected = vrx_lapack_lange<T>(norm, s, s, full.data(), s, w.data());
    for (const char* uplo : {"U", "L"}) {
      std::vector<T> stored = full;
      // The other triangle and the diagonal's imaginary parts must not be read.
      for (int j = 0; j < s; ++j)
        for (int i = 0; i < s; ++i)
          if ((*uplo == 'U') ? i > j : i < j) stored[i + j * s] = vrx_traits<T>::make(1e4f, 1e4f);
      for (int j = 0; j < s; ++j)
        stored[j + j * s] = vrx_traits<T>::make(vrx_traits<T>::real_part(full[j + j * s]), 1e4f);
      EXPECT_NEAR(vrx_lapack_lansy<T>(norm, uplo, s, stored.data(), s, w.data()), expected, tol * expected)
          << norm << uplo;
    }
  }
}

TYPED_TEST(AuxTest, NormsPropagateNanAndAvoidOverflow) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  std::vector<T> a(9, vrx_traits<T>::make(1, 0));
  a[4] = vrx_traits<T>::make(std::numeric_limits<R>::quiet_NaN(), 0);
  std::vector<R> work(3);
  for (const char* norm : {"M", "1", "I", "F"})
    EXPECT_TRUE(std::isnan(vrx_lapack_lange<T>(norm, 3, 3, a.data(), 3, work.data()))) << norm;
  const R huge = std::numeric_limits<R>::max() / 4;
  std::vector<T> b(4, vrx_traits<T>::make(huge, 0));
  EXPECT_NEAR(vrx_lapack_lange<T>("F", 2, 2, b.data(), 2, work.data()) / huge, R(2), R(1e-5));
}

TEST(AuxTest, TridiagonalNorms) {
  const double d[] = {2, -5, 1, 3}, e[] = {-1, 4, 0.5};
  EXPECT_EQ(vrx_lapack_lanst<double>("M", 4, d, e), 5.0);
  EXPECT_EQ(vrx_lapack_lanst<double>("1", 4, d, e), 10.0);  // |e1| + |d2| + |e2| = 1 + 5 + 4
  EXPECT_EQ(vrx_lapack_lanst<double>("I", 4, d, e), 10.0);
  EXPECT_NEAR(vrx_lapack_lanst<double>("F", 4, d, e), std::sqrt(4 + 25 + 1 + 9 + 2 * (1 + 16 + 0.25)), 1e-14);
  EXPECT_EQ(vrx_lapack_lanst<double>("1", 1, d, e), 2.0);
  EXPECT_EQ(vrx_lapack_lanst<float>("M", 0, nullptr, nullptr), 0.0f);
}

TYPED_TEST(AuxTest, TriangularSolveReportsSingularityAndChecks) {
  typedef TypeParam T;
  const vrx_int n = 4, nrhs = 2;
  // Upper triangle with 2 on the diagonal and 1 above: solve against a known X.
  std::vector<T> a(n * n, vrx_traits<T>::make(0, 0));
  for (int j = 0; j < n; ++j)
    for (int i = 0; i <= j; ++i) a[i + j * n] = vrx_traits<T>::make(i == j ? 2 : 1, i == j ? 0 : 1);
  std::vector<T> x(n * nrhs), b(n * nrhs, vrx_traits<T>::make(0, 0));
  for (int k = 0; k < n * nrhs; ++k) x[k] = vrx_traits<T>::make(k % 3 - 1, 1);
  for (int c = 0; c < nrhs; ++c)
    for (int i = 0; i < n; ++i)
      for (int j = i; j < n; ++j) b[i + c * n] += a[i + j * n] * x[j + c * n];
  vrx_int info = -1;
  vrx_lapack_trtrs<T>("U", "N", "N", n, nrhs, a.data(), n, b.data(), n, &info);
  EXPECT_EQ(info, 0);
  for (int k = 0; k < n * nrhs; ++k) EXPECT_EQ(b[k], x[k]) << k;

  a[2 + 2 * n] = vrx_traits<T>::make(0, 0);
  const std::vector<T> b0 = b;
  vrx_lapack_trtrs<T>("U", "N", "N", n, nrhs, a.data(), n, b.data(), n, &info);
  EXPECT_EQ(info, 3);
  EXPECT_TRUE(vrx_test_same_bits(b, b0));
  vrx_lapack_trtrs<T>("U", "N", "U", n, nrhs, a.data(), n, b.data(), n, &info);
  EXPECT_EQ(info, 0);  // a unit diagonal is never looked at

  const std::string name = std::string(1, vrx_traits<T>::letter) + "TRTRS";
  struct row {
    const char *uplo, *trans, *diag;
    vrx_int n, nrhs, lda, ldb;
    int position;
  };
  const row rows[] = {{"X", "N", "N", 2, 1, 2, 2, 1}, {"U", "X", "N", 2, 1, 2, 2, 2}, {"U", "N", "X", 2, 1, 2, 2, 3},
                      {"U", "N", "N", -1, 1, 2, 2, 4}, {"U", "N", "N", 2, -1, 2, 2, 5}, {"L", "T", "N", 3, 1, 2, 3, 7},
                      {"L", "C", "U", 3, 1, 3, 2, 9}};
  for (const row& r : rows) {
    const std::string printed = vrx_test_printed_by(
        [&] { vrx_lapack_trtrs<T>(r.uplo, r.trans, r.diag, r.n, r.nrhs, a.data(), r.lda, b.data(), r.ldb, &info); });
    EXPECT_EQ(printed, vrx_test_parameter_line(r.position, name));
    EXPECT_EQ(info, -r.position);
  }
}
