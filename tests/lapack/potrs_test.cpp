// Solves with a Cholesky factor in the four precisions: the solve ratio
// ||A X - B||_1 / (n ||A||_1 ||X||_1 eps) with A = U^H U or L L^H formed in the wider
// precision from the factor, for both triangles (any spelling) and 1, 2 and 17
// right-hand sides; the other triangle and the factor's padding hold NaN that must never
// be read, the factor and B's padding stay as they were; empty systems; every parameter
// check with its printed line and outputs untouched.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "lapack/solve_check.h"

namespace {
template <typename T>
class PotrsTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(PotrsTest, element_types);

template <typename T>
constexpr vrx_potrs_fn_type<T>* potrs_of() {
  if constexpr (std::is_same_v<T, float>) return vrx_lapack_spotrs;
  else if constexpr (std::is_same_v<T, double>) return vrx_lapack_dpotrs;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return vrx_lapack_cpotrs;
  else return vrx_lapack_zpotrs;
}

// A factor of order n in the triangle named by uplo (lda = n + 2, NaN wherever it must not
// be read) and right-hand sides B (ldb = n + 3).
template <typename T>
vrx_test_triangular<T> factor(const char* uplo, int64_t n, int64_t nrhs, unsigned seed) {
  const char shape[] = {'L', *uplo, 'N', 'N', '\0'};
  return vrx_test_make_triangular<T>(shape, n, nrhs, vrx_traits<T>::make(1, 0), seed);
}

// A = U^H U (upper) or L L^H (lower), wide and row-major.
template <typename T>
std::vector<vrx_test_detail::wide_complex<vrx_test_wide_t<T>>> product_of(const vrx_test_triangular<T>& f) {
  typedef vrx_test_detail::wide_complex<vrx_test_wide_t<T>> C;
  const int64_t n = f.m;
  const bool upper = (f.uplo & ~0x20) == 'U';
  const auto at = [&](int64_t i, int64_t j) {
    return (i <= j) == upper || i == j ? vrx_test_detail::widen<vrx_test_wide_t<T>>(f.a[i + j * f.lda]) : C{0, 0};
  };
  const auto conj = [](C x) { return C{x.re, -x.im}; };
  std::vector<C> a(static_cast<std::size_t>(n * n), C{0, 0});
  for (int64_t i = 0; i < n; ++i)
    for (int64_t j = 0; j < n; ++j)
      for (int64_t l = 0; l < n; ++l)
        a[i * n + j] = a[i * n + j] + (upper ? conj(at(l, i)) * at(l, j) : at(i, l) * conj(at(j, l)));
  return a;
}

template <typename T>
int64_t solve(const char* uplo, const vrx_test_triangular<T>& f, int64_t n, int64_t nrhs, std::vector<T>& b,
              int64_t ldb) {
  int64_t info = -99;
  potrs_of<T>()(uplo, &n, &nrhs, f.a.data(), &f.lda, b.data(), &ldb, &info);
  return info;
}
}  // namespace

TYPED_TEST(PotrsTest, SolvesWithEitherTriangleAndAnyRightSideCount) {
  unsigned seed = 1;
  for (const char* uplo : {"U", "L", "u", "l", "Upper", "Lower"})
    for (int64_t n : {1, 5, 33, 100})
      for (int64_t nrhs : {1, 2, 17}) {
        const vrx_test_triangular<TypeParam> f = factor<TypeParam>(uplo, n, nrhs, ++seed);
        const std::vector<TypeParam> a = f.a;
        std::vector<TypeParam> x = f.b;
        const std::string where = std::string(uplo) + " n " + std::to_string(n) + " nrhs " + std::to_string(nrhs);
        ASSERT_EQ(solve(uplo, f, n, nrhs, x, f.ldb), 0) << where;
        EXPECT_LT(vrx_test_product_ratio(product_of(f), n, nrhs, x.data(), f.ldb, f.b.data(), f.ldb), 30.0) << where;
        EXPECT_TRUE(vrx_test_same_bits(f.a, a)) << where;
        for (int64_t j = 0; j < nrhs; ++j)
          for (int64_t i = n; i < f.ldb; ++i)
            EXPECT_EQ(std::memcmp(&x[i + j * f.ldb], &f.b[i + j * f.ldb], sizeof(TypeParam)), 0) << where << " " << i;
      }
}

TYPED_TEST(PotrsTest, EmptySystemsLeaveBUntouched) {
  for (int64_t n : {0, 4})
    for (int64_t nrhs : {0, 3}) {
      if (n != 0 && nrhs != 0) continue;
      const vrx_test_triangular<TypeParam> f = factor<TypeParam>("U", 4, 3, 2);
      std::vector<TypeParam> x = f.b;
      int64_t info = -99;
      const std::string printed = vrx_test_printed_by([&] { info = solve("L", f, n, nrhs, x, f.ldb); });
      EXPECT_EQ(info, 0);
      EXPECT_EQ(printed, "");
      EXPECT_TRUE(vrx_test_same_bits(x, f.b));
    }
}

// Each row breaks the first check it names and maybe later ones too: the first wins.
TYPED_TEST(PotrsTest, ParameterChecksInOrder) {
  struct row {
    const char* uplo;
    int64_t n, nrhs, lda, ldb;
    int position;
  };
  const row rows[] = {
      {"X", -1, -1, 0, 0, 1}, {" ", 3, 1, 3, 3, 1}, {"U", -1, -1, 0, 0, 2}, {"l", -1, 1, 1, 1, 2},
      {"L", 3, -1, 0, 0, 3},  {"U", 3, 2, 2, 0, 5}, {"u", 0, 1, 0, 1, 5},   {"L", 3, 2, 3, 2, 7},
      {"l", 0, 0, 1, 0, 7},
  };
  const std::string name = std::string(1, vrx_traits<TypeParam>::letter) + "POTRS";
  for (const row& r : rows) {
    std::vector<TypeParam> a(16, vrx_traits<TypeParam>::make(2, 0)), b(16, vrx_traits<TypeParam>::make(3, 0));
    const std::vector<TypeParam> a0 = a, b0 = b;
    int64_t info = 0;
    const std::string printed = vrx_test_printed_by(
        [&] { potrs_of<TypeParam>()(r.uplo, &r.n, &r.nrhs, a.data(), &r.lda, b.data(), &r.ldb, &info); });
    EXPECT_EQ(printed, vrx_test_parameter_line(r.position, name)) << r.uplo << " " << r.n;
    EXPECT_EQ(info, -r.position);
    EXPECT_TRUE(vrx_test_same_bits(a, a0) && vrx_test_same_bits(b, b0));
  }
}
