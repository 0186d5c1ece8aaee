// The triangular inverse in the four precisions: ||I - T inv(T)||_1 / (n ||T||_1
// ||inv(T)||_1 eps) below 30 for both triangles and both diagonals, orders on both sides
// of the block size 64 (the unblocked and the blocked forms); the other triangle, a unit
// diagonal and the padding (all NaN) come back bit for bit. A zero on the diagonal is
// reported before anything is written, a NaN is not a zero, and a unit diagonal is never
// looked at. Every parameter check.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "lapack/solve_check.h"

namespace {
template <typename T>
class TrtriTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(TrtriTest, element_types);

template <typename T>
int64_t invert(char uplo, char diag, int64_t n, std::vector<T>& a, int64_t lda) {
  const char u[2] = {uplo, 0}, d[2] = {diag, 0};
  int64_t info = -99;
  vrx_test_solve_entries<T>::trtri(u, d, &n, a.data(), &lda, &info);
  return info;
}

// A well-conditioned triangle of order n (lda = n + 2) with NaN wherever the call must
// not write.
template <typename T>
vrx_test_triangular<T> triangle(char uplo, char diag, int64_t n, unsigned seed) {
  const char shape[5] = {'L', uplo, 'N', diag, 0};
  return vrx_test_make_triangular<T>(shape, n, 0, vrx_traits<T>::make(1, 0), seed);
}

// Whether a and b agree, bit for bit, everywhere but the stored triangle of order n.
template <typename T>
bool outside_untouched(const vrx_test_triangular<T>& p, const std::vector<T>& a) {
  const bool upper = (p.uplo & ~0x20) == 'U', unit = (p.diag & ~0x20) == 'U';
  for (int64_t j = 0; j < p.m; ++j)
    for (int64_t i = 0; i < p.lda; ++i) {
      const bool stored = i < p.m && (i == j ? !unit : (i < j) == upper);
      if (!stored && std::memcmp(&a[i + j * p.lda], &p.a[i + j * p.lda], sizeof(T)) != 0) return false;
    }
  return true;
}
}  // namespace

TYPED_TEST(TrtriTest, InvertsBothTrianglesBlockedAndUnblocked) {
  typedef vrx_test_wide_t<TypeParam> W;
  unsigned seed = 0;
  for (char uplo : {'U', 'L', 'u', 'l'})
    for (char diag : {'N', 'U', 'n', 'u'})
      for (int64_t n : {1, 5, 64, 65, 200}) {
        const vrx_test_triangular<TypeParam> p = triangle<TypeParam>(uplo, diag, n, ++seed);
        std::vector<TypeParam> inverse = p.a;
        ASSERT_EQ(invert(uplo, diag, n, inverse, p.lda), 0);
        // The inverse as a triangle of the same kind: read it through the same description.
        vrx_test_triangular<TypeParam> q = p;
        q.a = inverse;
        std::vector<vrx_test_detail::wide_complex<W>> t, t_inverse;
        vrx_test_detail::triangle_matrix<W>(p, &t);
        vrx_test_detail::triangle_matrix<W>(q, &t_inverse);
        // X = inv(T) column-major from the row-major wide form.
        std::vector<TypeParam> x(static_cast<std::size_t>(n * n));
        for (int64_t i = 0; i < n; ++i)
          for (int64_t j = 0; j < n; ++j) {
            const auto v = t_inverse[i * n + j];
            x[i + j * n] = vrx_traits<TypeParam>::make(static_cast<vrx_real_t<TypeParam>>(v.re),
                                                       static_cast<vrx_real_t<TypeParam>>(v.im));
          }
        const std::string where = std::string("uplo ") + uplo + " diag " + diag + " n " + std::to_string(n);
        EXPECT_LT(vrx_test_product_ratio<TypeParam>(t, n, n, x.data(), n, nullptr, 0), 30.0) << where;
        EXPECT_TRUE(outside_untouched(p, inverse)) << where;
      }
}

// The first zero on the diagonal is reported and A comes back bit for bit; a NaN is not
// a zero; with a unit diagonal the stored zeros are not looked at.
TYPED_TEST(TrtriTest, ZeroDiagonalIsReportedBeforeAnyWrite) {
  typedef vrx_real_t<TypeParam> R;
  const TypeParam zero = vrx_traits<TypeParam>::make(0, 0);
  for (char uplo : {'U', 'L'})
    for (int64_t n : {3, 100})
      for (int64_t at : {int64_t(0), n / 2, n - 1}) {
        vrx_test_triangular<TypeParam> p = triangle<TypeParam>(uplo, 'N', n, 7);
        p.a[at + at * p.lda] = zero;
        if (at + 1 < n) p.a[(n - 1) + (n - 1) * p.lda] = zero;  // a later zero does not count
        std::vector<TypeParam> a = p.a;
        EXPECT_EQ(invert(uplo, 'N', n, a, p.lda), at + 1);
        EXPECT_TRUE(vrx_test_same_bits(a, p.a));

        p.a[at + at * p.lda] = vrx_traits<TypeParam>::make(std::numeric_limits<R>::quiet_NaN(), 0);
        p.a[(n - 1) + (n - 1) * p.lda] = vrx_traits<TypeParam>::make(2, 0);
        a = p.a;
        EXPECT_EQ(invert(uplo, 'N', n, a, p.lda), 0) << "a NaN is not a zero";

        a = p.a;
        for (int64_t j = 0; j < n; ++j) a[j + j * p.lda] = zero;
        EXPECT_EQ(invert(uplo, 'U', n, a, p.lda), 0) << "unit diagonal";
      }
}

TYPED_TEST(TrtriTest, EmptyMatrixIsSilent) {
  std::vector<TypeParam> a(1, vrx_traits<TypeParam>::make(0, 0));
  std::string printed = vrx_test_printed_by([&] { EXPECT_EQ(invert('U', 'N', 0, a, 1), 0); });
  EXPECT_EQ(printed, "");
  EXPECT_TRUE(vrx_traits<TypeParam>::is_zero(a[0]));
}

TYPED_TEST(TrtriTest, ParameterChecksInOrder) {
  struct row {
    char uplo, diag;
    int64_t n, lda;
    int position;
  };
  const row rows[] = {
      {'X', 'X', -1, 0, 1}, {'N', 'N', 3, 3, 1}, {'U', 'X', -1, 0, 2}, {'l', 'T', 3, 3, 2},
      {'U', 'N', -1, 0, 3}, {'L', 'u', 3, 2, 5}, {'u', 'n', 0, 0, 5},
  };
  const std::string name = std::string(1, vrx_traits<TypeParam>::letter) + "TRTRI";
  for (const row& r : rows) {
    std::vector<TypeParam> a(16, vrx_traits<TypeParam>::make(2, 0));
    const std::vector<TypeParam> a0 = a;
    int64_t info = 0;
    const std::string printed = vrx_test_printed_by([&] { info = invert(r.uplo, r.diag, r.n, a, r.lda); });
    EXPECT_EQ(printed, vrx_test_parameter_line(r.position, name)) << r.uplo << r.diag << " " << r.n;
    EXPECT_EQ(info, -r.position);
    EXPECT_TRUE(vrx_test_same_bits(a, a0));
  }
}
