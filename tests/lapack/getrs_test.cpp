// Solves with the LU factors in the four precisions: the solve ratio for every trans
// letter (either case) and for 1, 2, 17 and, with two threads forced, 130 right-hand
// sides (the threaded interchanges), factors, pivots and padding untouched; one
// right-hand side (vector solve) against the first of two equal ones (matrix solve);
// empty systems; every parameter check with its printed line and outputs untouched.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "lapack/lu/vrx_getrf.h"
#include "lapack/solve_check.h"
#include "service/vrx_serv.h"
#include "support/lu_check.h"
#include "tests/support/lapack_seams.h"

namespace {
template <typename T>
class GetrsTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(GetrsTest, element_types);

// A random n by n matrix (lda = n + 3) and its factors from the sequential recursion.
template <typename T>
struct factored {
  int64_t n, lda;
  std::vector<T> a, lu;
  std::vector<int64_t> ipiv;
};
template <typename T>
factored<T> factor(int64_t n, uint64_t seed) {
  factored<T> f{n, n + 3, vrx_test_lu_matrix<T>(n, n, n + 3, seed), {}, std::vector<int64_t>(n > 0 ? n : 1, 1)};
  f.lu = f.a;
  int64_t info = -99;
  vrx_lapack_getrf_seq(n, n, f.lu.data(), f.lda, f.ipiv.data(), &info);
  EXPECT_EQ(info, 0);
  return f;
}

// Right-hand sides with ldb = n + 2, padding included, random.
template <typename T>
std::vector<T> right_sides(int64_t n, int64_t nrhs, uint64_t seed) {
  uint64_t state = seed * 7919 + 3;
  std::vector<T> b(static_cast<std::size_t>((n + 2) * (nrhs > 0 ? nrhs : 1)));
  for (auto& x : b) x = vrx_test_value<T>(&state);
  return b;
}

template <typename T>
int64_t solve(const char* trans, const factored<T>& f, int64_t nrhs, std::vector<T>& b, int64_t ldb) {
  int64_t info = -99;
  vrx_test_solve_entries<T>::getrs(trans, &f.n, &nrhs, f.lu.data(), &f.lda, f.ipiv.data(), b.data(), &ldb, &info);
  return info;
}

// Solves with `trans` and checks the ratio, the padding of B and the untouched factors.
template <typename T>
void check_solve(const char* trans, const factored<T>& f, int64_t nrhs, uint64_t seed) {
  const int64_t n = f.n, ldb = n + 2;
  const std::vector<T> b = right_sides<T>(n, nrhs, seed);
  std::vector<T> x = b;
  const std::vector<T> lu = f.lu;
  const std::vector<int64_t> ipiv = f.ipiv;
  ASSERT_EQ(solve(trans, f, nrhs, x, ldb), 0);
  const std::string where = std::string("trans ") + trans + " n " + std::to_string(n) + " nrhs " + std::to_string(nrhs);
  EXPECT_LT(vrx_test_solve_ratio(*trans, n, nrhs, f.a.data(), f.lda, x.data(), ldb, b.data(), ldb), 30.0) << where;
  for (int64_t j = 0; j < nrhs; ++j)
    for (int64_t i = n; i < ldb; ++i)
      EXPECT_EQ(std::memcmp(&x[i + j * ldb], &b[i + j * ldb], sizeof(T)), 0) << where << " padding row " << i;
  EXPECT_TRUE(vrx_test_same_bits(f.lu, lu)) << where;
  EXPECT_EQ(f.ipiv, ipiv) << where;
}

}  // namespace

TYPED_TEST(GetrsTest, SolvesEveryTransAndRightSideCount) {
  uint64_t seed = 1;
  for (int64_t n : {1, 5, 33, 100}) {
    const factored<TypeParam> f = factor<TypeParam>(n, n);
    for (int64_t nrhs : {1, 2, 17})
      for (const char* trans : {"N", "T", "C", "n", "t", "c", "No transpose", "Conjugate transpose"})
        check_solve(trans, f, nrhs, ++seed);
  }
}

TYPED_TEST(GetrsTest, ManyRightSidesTakeTheThreadedInterchanges) {
  const vrx_test_forced_threads two(2);
  const factored<TypeParam> f = factor<TypeParam>(40, 7);
  for (const char* trans : {"N", "T", "C"}) check_solve(trans, f, 130, 11);
}

// Real data: C is T. Complex data: C differs from T (the conjugate).
TYPED_TEST(GetrsTest, LowerCaseCIsTheTransposeForRealData) {
  const int64_t n = 33, nrhs = 3, ldb = n + 2;
  const factored<TypeParam> f = factor<TypeParam>(n, 5);
  std::vector<TypeParam> by_c = right_sides<TypeParam>(n, nrhs, 9), by_t = by_c;
  ASSERT_EQ(solve("c", f, nrhs, by_c, ldb), 0);
  ASSERT_EQ(solve("T", f, nrhs, by_t, ldb), 0);
  EXPECT_EQ(vrx_test_same_bits(by_c, by_t), !vrx_is_complex<TypeParam>);
}

// One right-hand side goes through the vector solve, two through the matrix solve; the
// two answers agree within rounding (the operations differ in order, so not bit for
// bit): |x1 - x2|_1 / |x2|_1 below 30 n eps on these well-conditioned systems.
TYPED_TEST(GetrsTest, OneRightSideMatchesTwoEqualOnes) {
  typedef vrx_real_t<TypeParam> R;
  for (int64_t n : {1, 6, 50}) {
    factored<TypeParam> f = factor<TypeParam>(n, 3 + n);
    // A dominant diagonal keeps the condition near 1, so rounding alone separates them.
    for (int64_t i = 0; i < n; ++i) f.a[i + i * f.lda] = f.a[i + i * f.lda] + vrx_traits<TypeParam>::make(R(n), 0);
    f.lu = f.a;
    int64_t info = -1;
    vrx_lapack_getrf_seq(n, n, f.lu.data(), f.lda, f.ipiv.data(), &info);
    ASSERT_EQ(info, 0);
    const int64_t ldb = n + 2;
    for (const char* trans : {"N", "T", "C"}) {
      std::vector<TypeParam> one = right_sides<TypeParam>(n, 1, 21), two = right_sides<TypeParam>(n, 2, 22);
      for (int64_t i = 0; i < n; ++i) two[i + ldb] = two[i] = one[i];
      ASSERT_EQ(solve(trans, f, 1, one, ldb), 0);
      ASSERT_EQ(solve(trans, f, 2, two, ldb), 0);
      double difference = 0, size = 0;
      for (int64_t i = 0; i < n; ++i) {
        difference += static_cast<double>(vrx_traits<TypeParam>::abs1(one[i] - two[i]));
        size += static_cast<double>(vrx_traits<TypeParam>::abs1(two[i]));
      }
      EXPECT_LT(difference / size, 30.0 * n * static_cast<double>(vrx_machine<R>::eps)) << trans << " n " << n;
      EXPECT_TRUE(std::memcmp(&two[0], &two[ldb], n * sizeof(TypeParam)) == 0) << "equal columns, equal answers";
    }
  }
}

TYPED_TEST(GetrsTest, EmptySystemsLeaveBUntouched) {
  for (int64_t n : {0, 4})
    for (int64_t nrhs : {0, 3}) {
      if (n != 0 && nrhs != 0) continue;
      const factored<TypeParam> f = factor<TypeParam>(n, 2);
      const std::vector<TypeParam> b = right_sides<TypeParam>(n, 3, 4);
      std::vector<TypeParam> x = b;
      int64_t info = -99;
      const std::string printed = vrx_test_printed_by([&] { info = solve("N", f, nrhs, x, 2 + n); });
      EXPECT_EQ(info, 0);
      EXPECT_EQ(printed, "");
      EXPECT_TRUE(vrx_test_same_bits(x, b));
    }
}

// Each row breaks the first check it names and maybe later ones too: the first wins.
TYPED_TEST(GetrsTest, ParameterChecksInOrder) {
  struct row {
    const char* trans;
    int64_t n, nrhs, lda, ldb;
    int position;
  };
  const row rows[] = {
      {"X", -1, -1, 0, 0, 1}, {" ", 3, 1, 3, 3, 1},   {"N", -1, -1, 0, 0, 2}, {"T", -1, 1, 1, 1, 2},
      {"C", 3, -1, 0, 0, 3},  {"N", 3, 2, 2, 0, 5},   {"n", 0, 1, 0, 1, 5},   {"N", 3, 2, 3, 2, 8},
      {"t", 0, 0, 1, 0, 8},
  };
  const std::string name = std::string(1, vrx_traits<TypeParam>::letter) + "GETRS";
  for (const row& r : rows) {
    std::vector<TypeParam> a(16, vrx_traits<TypeParam>::make(2, 0)), b(16, vrx_traits<TypeParam>::make(3, 0));
    const std::vector<TypeParam> a0 = a, b0 = b;
    std::vector<int64_t> ipiv(4, 1);
    int64_t info = 0;
    const std::string printed = vrx_test_printed_by([&] {
      vrx_test_solve_entries<TypeParam>::getrs(r.trans, &r.n, &r.nrhs, a.data(), &r.lda, ipiv.data(), b.data(),
                                               &r.ldb, &info);
    });
    EXPECT_EQ(printed, vrx_test_parameter_line(r.position, name)) << r.trans << " " << r.n;
    EXPECT_EQ(info, -r.position);
    EXPECT_TRUE(vrx_test_same_bits(a, a0) && vrx_test_same_bits(b, b0));
  }
}
