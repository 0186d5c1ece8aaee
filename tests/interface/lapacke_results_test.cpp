// Numerical results of the LU and Cholesky members in both layouts and precisions,
// judged by residual ratios in wider precision: ||P A - L U|| / (n ||A|| eps),
// ||A - U^T U|| / (n ||A|| eps), ||op(A) X - B|| / (||A|| ||X|| n eps) and
// ||A inv(A) - I|| / (n ||A|| eps), below 30.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "include/customvrx.h"
#include "support/lu_check.h"

namespace {
template <typename T>
int getrf(int layout, int m, int n, T* a, int lda, int* ipiv) {
  if constexpr (sizeof(T) == 8) return LAPACKE_dgetrf(layout, m, n, a, lda, ipiv);
  else return LAPACKE_sgetrf(layout, m, n, a, lda, ipiv);
}
template <typename T>
int getrs(int layout, char trans, int n, int nrhs, const T* a, int lda, const int* ipiv, T* b, int ldb) {
  if constexpr (sizeof(T) == 8) return LAPACKE_dgetrs(layout, trans, n, nrhs, a, lda, ipiv, b, ldb);
  else return LAPACKE_sgetrs(layout, trans, n, nrhs, a, lda, ipiv, b, ldb);
}
template <typename T>
int potrf(int layout, char uplo, int n, T* a, int lda) {
  if constexpr (sizeof(T) == 8) return LAPACKE_dpotrf(layout, uplo, n, a, lda);
  else return LAPACKE_spotrf(layout, uplo, n, a, lda);
}
template <typename T>
int potrs(int layout, char uplo, int n, int nrhs, const T* a, int lda, T* b, int ldb) {
  if constexpr (sizeof(T) == 8) return LAPACKE_dpotrs(layout, uplo, n, nrhs, a, lda, b, ldb);
  else return LAPACKE_spotrs(layout, uplo, n, nrhs, a, lda, b, ldb);
}

// A rows by cols matrix in `layout` with leading dimension ld: element (i, j).
struct shape {
  int layout, rows, cols, ld;
  std::size_t at(int i, int j) const {
    return layout == LAPACK_COL_MAJOR ? std::size_t(j) * ld + i : std::size_t(i) * ld + j;
  }
  std::size_t size() const { return std::size_t(ld) * (layout == LAPACK_COL_MAJOR ? cols : rows); }
};

// Random entries in [-1, 1], plus `shift` on the diagonal.
template <typename T>
std::vector<T> random_matrix(const shape& s, unsigned seed, double shift = 0) {
  std::vector<T> a(s.size(), T(-777));
  uint64_t state = seed * 2654435761u + 3;
  for (int i = 0; i < s.rows; ++i)
    for (int j = 0; j < s.cols; ++j) a[s.at(i, j)] = vrx_test_value<T>(&state) + T(i == j ? shift : 0);
  return a;
}

// The column-major copy with leading dimension rows.
template <typename T>
std::vector<T> column_major(const shape& s, const std::vector<T>& a) {
  std::vector<T> c(std::size_t(std::max(s.rows, 1)) * std::max(s.cols, 1));
  for (int i = 0; i < s.rows; ++i)
    for (int j = 0; j < s.cols; ++j) c[std::size_t(j) * s.rows + i] = a[s.at(i, j)];
  return c;
}

// A symmetric matrix with entries in [-1, 1] and n on the diagonal: positive definite.
template <typename T>
std::vector<T> symmetric_matrix(const shape& s, unsigned seed) {
  std::vector<T> a = random_matrix<T>(s, seed, s.rows);
  for (int i = 0; i < s.rows; ++i)
    for (int j = 0; j < i; ++j) a[s.at(i, j)] = a[s.at(j, i)];
  return a;
}

// A system of order n in `layout` with three right-hand sides, leading dimensions above
// the minimum; A random, or symmetric positive definite.
template <typename T>
struct test_system {
  shape as, bs;
  std::vector<T> a, b;
};
template <typename T>
test_system<T> make_system(int layout, int n, bool symmetric) {
  const shape as{layout, n, n, n + 1};
  const shape bs{layout, n, 3, (layout == LAPACK_COL_MAJOR ? n : 3) + 2};
  return {as, bs, symmetric ? symmetric_matrix<T>(as, unsigned(n)) : random_matrix<T>(as, unsigned(n)),
          random_matrix<T>(bs, unsigned(n + 100))};
}

// Whether (i, j) lies in the triangle named by uplo.
bool stored(char uplo, int i, int j) { return (uplo == 'U' || uplo == 'u') ? i <= j : i >= j; }

template <typename T>
double eps() {
  return static_cast<double>(vrx_machine<T>::eps);
}

// ||R||_1 / (n ||A||_1 eps) for an n by n A, with R(i, j) = residual(i, j) in long double.
template <typename T, class Residual>
double matrix_ratio(const shape& s, const std::vector<T>& a, Residual residual) {
  const int n = s.rows;
  long double worst = 0, norm_a = 0;
  for (int j = 0; j < n; ++j) {
    long double column = 0, column_a = 0;
    for (int i = 0; i < n; ++i) {
      column += std::fabs(residual(i, j));
      column_a += std::fabs(static_cast<long double>(a[s.at(i, j)]));
    }
    worst = std::max(worst, column);
    norm_a = std::max(norm_a, column_a);
  }
  return static_cast<double>(worst / (n * norm_a * eps<T>()));
}

// ||op(A) X - B||_1 / (||A||_1 ||X||_1 n eps), column by column in long double.
template <typename T>
double solve_residual(const shape& as, const std::vector<T>& a, char trans, const shape& bs, const std::vector<T>& x,
                      const std::vector<T>& b) {
  const int n = as.rows, nrhs = bs.cols;
  const bool transposed = trans != 'N';
  long double worst = 0, norm_a = 0, norm_x = 0;
  for (int j = 0; j < n; ++j) {
    long double column = 0;
    for (int i = 0; i < n; ++i) column += std::fabs(static_cast<long double>(a[as.at(i, j)]));
    norm_a = std::max(norm_a, column);
  }
  for (int k = 0; k < nrhs; ++k) {
    long double column = 0, column_x = 0;
    for (int i = 0; i < n; ++i) {
      long double sum = -static_cast<long double>(b[bs.at(i, k)]);
      for (int l = 0; l < n; ++l)
        sum += static_cast<long double>(transposed ? a[as.at(l, i)] : a[as.at(i, l)]) * x[bs.at(l, k)];
      column += std::fabs(sum);
      column_x += std::fabs(static_cast<long double>(x[bs.at(i, k)]));
    }
    worst = std::max(worst, column);
    norm_x = std::max(norm_x, column_x);
  }
  return static_cast<double>(worst / (norm_a * norm_x * n * eps<T>()));
}

template <typename T>
class LapackeLu : public testing::Test {};
typedef testing::Types<float, double> precisions;
TYPED_TEST_SUITE(LapackeLu, precisions);

struct size_case {
  int m, n, ld_extra;
};
const size_case factor_sizes[] = {{1, 1, 0}, {7, 7, 2}, {9, 5, 0}, {5, 9, 3}, {64, 64, 1}, {150, 97, 0}};
}  // namespace

TYPED_TEST(LapackeLu, FactorsInBothLayouts) {
  typedef TypeParam T;
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (const size_case& c : factor_sizes) {
      const int ld = (layout == LAPACK_COL_MAJOR ? c.m : c.n) + c.ld_extra;
      const shape s{layout, c.m, c.n, ld};
      const std::vector<T> a = random_matrix<T>(s, unsigned(c.m * 31 + c.n));
      std::vector<T> lu = a;
      std::vector<int> ipiv(std::min(c.m, c.n));
      ASSERT_EQ(getrf<T>(layout, c.m, c.n, lu.data(), ld, ipiv.data()), 0);
      const std::vector<int64_t> pivots(ipiv.begin(), ipiv.end());
      const double residual = vrx_test_lu_residual<T>(c.m, c.n, column_major(s, a), c.m, column_major(s, lu), c.m,
                                                      pivots.data());
      EXPECT_LT(residual, 30) << layout << " " << c.m << "x" << c.n;
      // Padding beyond the matrix stays.
      for (std::size_t k = 0; k < lu.size(); ++k)
        if (a[k] == T(-777)) EXPECT_EQ(lu[k], T(-777));
    }
}

TYPED_TEST(LapackeLu, SolvesInBothLayoutsAndTranspositions) {
  typedef TypeParam T;
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (char trans : {'N', 'T', 'c'})
      for (int n : {1, 6, 40}) {
        const test_system<T> s = make_system<T>(layout, n, false);
        std::vector<T> lu = s.a, x = s.b;
        std::vector<int> ipiv(n);
        ASSERT_EQ(getrf<T>(layout, n, n, lu.data(), s.as.ld, ipiv.data()), 0);
        ASSERT_EQ(getrs<T>(layout, trans, n, s.bs.cols, lu.data(), s.as.ld, ipiv.data(), x.data(), s.bs.ld), 0);
        EXPECT_LT(solve_residual<T>(s.as, s.a, trans, s.bs, x, s.b), 30) << layout << " " << trans << " " << n;
      }
}

TYPED_TEST(LapackeLu, OneRightHandSideMatchesTwoEqualOnes) {
  typedef TypeParam T;
  const int n = 30;
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (char trans : {'N', 'T'}) {
      const shape as{layout, n, n, n};
      const std::vector<T> a = random_matrix<T>(as, 7);
      std::vector<T> lu = a;
      std::vector<int> ipiv(n);
      ASSERT_EQ(getrf<T>(layout, n, n, lu.data(), n, ipiv.data()), 0);
      const shape one{layout, n, 1, layout == LAPACK_COL_MAJOR ? n : 1};
      const shape two{layout, n, 2, layout == LAPACK_COL_MAJOR ? n : 2};
      std::vector<T> x1 = random_matrix<T>(one, 9), x2(two.size());
      for (int i = 0; i < n; ++i) x2[two.at(i, 0)] = x2[two.at(i, 1)] = x1[one.at(i, 0)];
      ASSERT_EQ(getrs<T>(layout, trans, n, 1, lu.data(), n, ipiv.data(), x1.data(), one.ld), 0);
      ASSERT_EQ(getrs<T>(layout, trans, n, 2, lu.data(), n, ipiv.data(), x2.data(), two.ld), 0);
      double norm = 0;
      for (int i = 0; i < n; ++i) norm = std::max(norm, std::fabs(double(x1[one.at(i, 0)])));
      for (int i = 0; i < n; ++i)
        for (int k = 0; k < 2; ++k)
          EXPECT_LE(std::fabs(double(x1[one.at(i, 0)]) - double(x2[two.at(i, k)])), 30 * n * eps<T>() * norm)
              << layout << trans << i;
    }
}

TEST(LapackeInverse, InvertsInBothLayouts) {
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (int n : {1, 5, 70, 130}) {
      // A dominant diagonal keeps inv(A) small, so the ratio below measures the inverse.
      const shape s{layout, n, n, n + 2};
      const std::vector<double> a = random_matrix<double>(s, unsigned(n * 3), 0.6 * n + 1);
      std::vector<double> inverse = a;
      std::vector<int> ipiv(n);
      ASSERT_EQ(LAPACKE_dgetrf(layout, n, n, inverse.data(), s.ld, ipiv.data()), 0);
      ASSERT_EQ(LAPACKE_dgetri(layout, n, inverse.data(), s.ld, ipiv.data()), 0);
      const double ratio = matrix_ratio(s, a, [&](int i, int j) {
        long double sum = i == j ? -1.0L : 0.0L;
        for (int l = 0; l < n; ++l) sum += static_cast<long double>(a[s.at(i, l)]) * inverse[s.at(l, j)];
        return sum;
      });
      EXPECT_LT(ratio, 30) << layout << " " << n;
    }
}

TYPED_TEST(LapackeLu, CholeskyFactorsTheStoredTriangleInBothLayouts) {
  typedef TypeParam T;
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (char uplo : {'U', 'l'})
      for (int n : {1, 7, 64, 150}) {
        const shape s{layout, n, n, n + n % 3};
        const std::vector<T> a = symmetric_matrix<T>(s, unsigned(n * 5 + uplo));
        // The other triangle holds NaN, which is neither screened nor read nor written.
        std::vector<T> f = a;
        for (int i = 0; i < n; ++i)
          for (int j = 0; j < n; ++j)
            if (!stored(uplo, i, j)) f[s.at(i, j)] = std::numeric_limits<T>::quiet_NaN();
        const std::vector<T> before = f;
        ASSERT_EQ(potrf<T>(layout, uplo, n, f.data(), s.ld), 0) << layout << uplo << n;
        // ||A - F^T F|| with F = U (upper) or L^T (lower), column by column.
        const auto factor = [&](int i, int j) -> long double {  // F(i, j), zero below the diagonal
          if (i > j) return 0;
          return stored(uplo, i, j) ? f[s.at(i, j)] : f[s.at(j, i)];
        };
        const double ratio = matrix_ratio(s, a, [&](int i, int j) {
          long double sum = -static_cast<long double>(a[s.at(i, j)]);
          for (int l = 0; l <= std::min(i, j); ++l) sum += factor(l, i) * factor(l, j);
          return sum;
        });
        EXPECT_LT(ratio, 30) << layout << uplo << n;
        for (std::size_t k = 0; k < f.size(); ++k)
          if (before[k] != before[k] || before[k] == T(-777))
            EXPECT_EQ(std::memcmp(&f[k], &before[k], sizeof(T)), 0) << layout << uplo << n << " at " << k;
      }
}

TYPED_TEST(LapackeLu, CholeskySolvesInBothLayouts) {
  typedef TypeParam T;
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (char uplo : {'L', 'u'})
      for (int n : {1, 6, 40}) {
        const test_system<T> s = make_system<T>(layout, n, true);
        std::vector<T> f = s.a, x = s.b;
        ASSERT_EQ(potrf<T>(layout, uplo, n, f.data(), s.as.ld), 0);
        ASSERT_EQ(potrs<T>(layout, uplo, n, s.bs.cols, f.data(), s.as.ld, x.data(), s.bs.ld), 0);
        EXPECT_LT(solve_residual<T>(s.as, s.a, 'N', s.bs, x, s.b), 30) << layout << " " << uplo << " " << n;
      }
}

TYPED_TEST(LapackeLu, CholeskyNamesTheFirstMinorThatIsNotPositiveDefinite) {
  typedef TypeParam T;
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR}) {
    std::vector<T> a = {4, 2, 0, 2, 1, 0, 0, 0, 5};  // the leading 2 by 2 minor is singular
    EXPECT_EQ(potrf<T>(layout, 'U', 3, a.data(), 3), 2) << layout;
  }
}
