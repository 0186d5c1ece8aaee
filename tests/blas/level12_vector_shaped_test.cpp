// GEMV and the rank-one update with beta in every precision (the members that the
// vector-shaped products reduce to), against references in a wider type.
#include <gtest/gtest.h>

#include "blas/level12_typed_support.h"
#include "blas/vrx_level12.h"

namespace {
template <typename T>
class VectorShaped : public ::testing::Test {};
typedef ::testing::Types<float, double, vrx_complex_float, vrx_complex_double> level12_types;
TYPED_TEST_SUITE(VectorShaped, level12_types);

// y := alpha op(A) x + beta y in the wider type, with the bound of each element.
template <typename T>
void reference_gemv(char trans, long m, long n, T alpha, const std::vector<T>& a, long lda, const std::vector<T>& x,
                    long incx, T beta, const std::vector<T>& y, long incy, std::vector<wide_t<T>>* want,
                    std::vector<long double>* scale) {
  const bool plain = trans == 'N', conj = trans == 'C';
  const long leny = plain ? m : n, lenx = plain ? n : m;
  want->assign(leny, wide_t<T>());
  scale->assign(leny, 0);
  for (long i = 0; i < leny; ++i) {
    wide_t<T> s = 0;
    long double bound = 0;
    for (long k = 0; k < lenx; ++k) {
      wide_t<T> aik = widen(plain ? a[i + k * lda] : a[k + i * lda]);
      if (conj) aik = wide_conj<T>(aik);
      const wide_t<T> term = aik * widen(x[strided_index(k, lenx, incx)]);
      s += term;
      bound += wide_abs<T>(term);
    }
    const wide_t<T> yi = widen(y[strided_index(i, leny, incy)]);
    const bool beta_zero = wide_abs<T>(widen(beta)) == 0;
    (*want)[i] = widen(alpha) * s + (beta_zero ? wide_t<T>() : widen(beta) * yi);
    (*scale)[i] = wide_abs<T>(widen(alpha)) * bound + (beta_zero ? 0 : wide_abs<T>(widen(beta) * yi)) + 1e-30L;
  }
}

TYPED_TEST(VectorShaped, GemvEveryTranspositionAndIncrement) {
  typedef TypeParam T;
  const T alpha = make_value<T>(0.75, -0.5), beta = make_value<T>(-1.25, 0.25);
  for (char trans : {'N', 'T', 'C'})
    for (auto [m, n] : {std::pair<long, long>{1, 1}, {5, 3}, {3, 40}, {70, 9}, {33, 33}, {600, 4}})
      for (long incx : {1, -1, 3})
        for (long incy : {1, -2}) {
          SCOPED_TRACE(testing::Message() << trans << " " << m << "x" << n << " incx " << incx << " incy " << incy);
          const long lda = m + 2, leny = trans == 'N' ? m : n, lenx = trans == 'N' ? n : m;
          std::vector<T> a = random_vector<T>(lda * n, 1), x = random_vector<T>(lenx * std::abs(incx), 2);
          std::vector<T> y = random_vector<T>(leny * std::abs(incy), 3);
          std::vector<wide_t<T>> want;
          std::vector<long double> scale;
          reference_gemv(trans, m, n, alpha, a, lda, x, incx, beta, y, incy, &want, &scale);
          std::vector<T> got = y;
          const char letter[2] = {trans, 0};
          const vrx_int mm = m, nn = n, ld = lda, ix = incx, iy = incy;
          vrx_blas_gemv<T>(letter, &mm, &nn, &alpha, a.data(), &ld, x.data(), &ix, &beta, got.data(), &iy);
          for (long i = 0; i < leny; ++i)
            ASSERT_TRUE(near_wide<T>(got[strided_index(i, leny, incy)], want[i], scale[i], 4.0L * (lenx + 2)))
                << "row " << i;
          if (std::abs(incy) > 1)  // the gaps between elements stay as they were
            for (long i = 0; i < leny * std::abs(incy); ++i)
              if (i % std::abs(incy)) ASSERT_TRUE(got[i] == y[i]);
        }
}

TYPED_TEST(VectorShaped, GemvEmptyInnerLengthScalesAndBetaZeroIgnoresNaN) {
  typedef TypeParam T;
  const vrx_int m = 4, zero = 0, one = 1, lda = 4;
  const T alpha = make_value<T>(1, 1), beta = make_value<T>(2, -1), zero_beta = T{};
  std::vector<T> a(16, make_value<T>(1, 0)), x(4, make_value<T>(1, 0));
  std::vector<T> y(4, make_value<T>(1, 1));
  vrx_blas_gemv<T>("N", &m, &zero, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
  for (const T& v : y) EXPECT_TRUE(near_wide<T>(v, widen(beta) * widen(make_value<T>(1, 1)), 4, 4));
  std::vector<T> nan(4, nan_value<T>());
  vrx_blas_gemv<T>("T", &m, &m, &alpha, a.data(), &lda, x.data(), &one, &zero_beta, nan.data(), &one);
  for (const T& v : nan) EXPECT_TRUE(near_wide<T>(v, widen(alpha) * wide_t<T>(4), 8, 8));
}

TYPED_TEST(VectorShaped, GerBetaConjugatesOnRequestAndNeverReadsCForBetaZero) {
  typedef TypeParam T;
  const long m = 7, n = 5, ldc = 9;
  const T alpha = make_value<T>(0.5, 1.5);
  for (long incx : {1, -2})
    for (long incy : {1, 3, -1})
      for (const char* ta : {"N", "C", "c"})
        for (const char* tb : {"T", "C"})
          for (const T beta : {T{}, make_value<T>(1, 0), make_value<T>(-0.5, 0.25)}) {
            SCOPED_TRACE(testing::Message() << incx << " " << incy << " " << ta << tb);
            std::vector<T> x = random_vector<T>(m * std::abs(incx), 4), y = random_vector<T>(n * std::abs(incy), 5);
            std::vector<T> c = random_vector<T>(ldc * n, 6);
            const bool beta_zero = wide_abs<T>(widen(beta)) == 0;
            if (beta_zero)
              for (long j = 0; j < n; ++j)
                for (long i = 0; i < m; ++i) c[i + j * ldc] = nan_value<T>();
            std::vector<T> got = c;
            const vrx_int mm = m, nn = n, ix = incx, iy = incy, ld = ldc;
            vrx_blas_ger_beta<T>(ta, tb, &mm, &nn, &alpha, x.data(), &ix, y.data(), &iy, &beta, got.data(), &ld);
            for (long j = 0; j < n; ++j)
              for (long i = 0; i < ldc; ++i) {
                if (i >= m) {
                  ASSERT_TRUE(got[i + j * ldc] == c[i + j * ldc]);
                  continue;
                }
                wide_t<T> xi = widen(x[strided_index(i, m, incx)]), yj = widen(y[strided_index(j, n, incy)]);
                if ((*ta & ~0x20) == 'C') xi = wide_conj<T>(xi);
                if (*tb == 'C') yj = wide_conj<T>(yj);
                const wide_t<T> old = beta_zero ? wide_t<T>() : widen(beta) * widen(c[i + j * ldc]);
                const wide_t<T> want = widen(alpha) * xi * yj + old;
                ASSERT_TRUE(near_wide<T>(got[i + j * ldc], want, 8, 8)) << i << "," << j;
              }
          }
}

TYPED_TEST(VectorShaped, GerBetaAlphaZeroOnlyScales) {
  typedef TypeParam T;
  const vrx_int m = 3, n = 2, one = 1, ldc = 3;
  const T alpha = T{}, beta = make_value<T>(2, 0), zero = T{};
  std::vector<T> x(3, nan_value<T>()), y(2, nan_value<T>()), c(6, make_value<T>(1, -1));
  vrx_blas_ger_beta<T>("N", "T", &m, &n, &alpha, x.data(), &one, y.data(), &one, &beta, c.data(), &ldc);
  for (const T& v : c) EXPECT_TRUE(v == make_value<T>(2, -2));
  std::vector<T> d(6, nan_value<T>());
  vrx_blas_ger_beta<T>("N", "T", &m, &n, &alpha, x.data(), &one, y.data(), &one, &zero, d.data(), &ldc);
  for (const T& v : d) EXPECT_TRUE(v == T{});
}
}  // namespace
