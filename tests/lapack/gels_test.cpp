// Least squares in the four precisions through the generic routine: least-squares
// solutions whose residual is orthogonal to the range of op(A) and whose trailing rows
// carry the residual's norm, consistent systems solved to their known answer, minimum-norm
// solutions of underdetermined systems against a wide reference, for both ops and shapes
// on both sides of m = n; zero pivots with their index, matrices scaled near the ends of
// the range, zero and empty problems, the workspace query and every check in order.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "lapack/qr/vrx_qr.h"
#include "lapack/solve_check.h"
#include "support/least_squares_check.h"

namespace {
template <typename T>
class GelsTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(GelsTest, element_types);

template <typename T>
constexpr char adjoint = vrx_is_complex<T> ? 'C' : 'T';

// One call: A m by n (lda = m + 2), B with max(m, n) rows (ldb = max(m, n) + 3), both with
// padding that must come back bit for bit.
template <typename T>
struct problem {
  char trans;
  int64_t m, n, nrhs, lda, ldb;
  std::vector<T> a, b;
  int64_t rows() const { return (trans & ~0x20) == 'N' ? m : n; }  // of op(A), and of B's input
  int64_t cols() const { return (trans & ~0x20) == 'N' ? n : m; }  // of op(A), and of the solution
};

template <typename T>
problem<T> make_problem(char trans, int64_t m, int64_t n, int64_t nrhs, unsigned seed) {
  problem<T> p{trans, m, n, nrhs, m + 2, std::max(m, n) + 3, {}, {}};
  uint64_t state = seed * 2654435761ull + 5;
  p.a.resize(static_cast<std::size_t>(p.lda * std::max<int64_t>(n, 1)));
  p.b.resize(static_cast<std::size_t>(p.ldb * std::max<int64_t>(nrhs, 1)));
  for (T& x : p.a) x = vrx_test_value<T>(&state);
  for (T& x : p.b) x = vrx_test_value<T>(&state);
  return p;
}

// B := op(A) X0 (rounded), for a system with the known solution X0 (cols by nrhs).
template <typename T>
void make_consistent(problem<T>& p, const std::vector<T>& x0) {
  const auto op = vrx_test_ls::op_of(p.trans, p.m, p.n, p.a.data(), p.lda);
  for (int64_t k = 0; k < p.nrhs; ++k)
    for (int64_t i = 0; i < p.rows(); ++i) {
      vrx_test_ls::wide<T> s = 0;
      for (int64_t l = 0; l < p.cols(); ++l) s += op.at(i, l) * vrx_test_ls::widen(x0[l + k * p.cols()]);
      p.b[i + k * p.ldb] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(s.real()), static_cast<vrx_real_t<T>>(s.imag()));
    }
}

// Runs the routine on copies with the workspace it asks for; the copies come back.
template <typename T>
int64_t solve(const problem<T>& p, std::vector<T>& a, std::vector<T>& b, int64_t lwork = 0) {
  a = p.a;
  b = p.b;
  int64_t info = -99;
  if (lwork == 0) {
    T size{};
    vrx_lapack_gels<T>(&p.trans, p.m, p.n, p.nrhs, a.data(), p.lda, b.data(), p.ldb, &size, -1, &info);
    EXPECT_EQ(info, 0);
    lwork = static_cast<int64_t>(vrx_traits<T>::real_part(size));
  }
  std::vector<T> work(static_cast<std::size_t>(std::max<int64_t>(lwork, 1)));
  const char trans[] = {p.trans, '\0'};
  vrx_lapack_gels<T>(trans, p.m, p.n, p.nrhs, a.data(), p.lda, b.data(), p.ldb, work.data(), lwork, &info);
  return info;
}

// Whether the elements of `after` outside rows x cols (leading dimension ld) are those of `before`.
template <typename T>
bool padding_kept(const std::vector<T>& before, const std::vector<T>& after, int64_t rows, int64_t cols, int64_t ld) {
  for (int64_t j = 0; j < cols; ++j)
    for (int64_t i = rows; i < ld; ++i)
      if (std::memcmp(&before[i + j * ld], &after[i + j * ld], sizeof(T)) != 0) return false;
  return true;
}

template <typename T>
std::string where(const problem<T>& p) {
  return std::string(1, p.trans) + " " + std::to_string(p.m) + "x" + std::to_string(p.n) + " nrhs " +
         std::to_string(p.nrhs);
}

struct shape {
  int64_t m, n, nrhs;
};
// Tall and wide, square, single rows and columns, and sizes past the factorisations'
// block sizes.
const shape shapes[] = {{1, 1, 1}, {7, 7, 3}, {20, 8, 3}, {8, 20, 3}, {33, 1, 2}, {1, 17, 2}, {200, 150, 3}, {150, 200, 3}};
}  // namespace

TYPED_TEST(GelsTest, LeastSquaresResidualIsOrthogonalToTheRangeAndSitsInTheTrailingRows) {
  typedef TypeParam T;
  unsigned seed = 10;
  for (const shape& s : shapes)
    for (char trans : {'N', adjoint<T>}) {
      const problem<T> p = make_problem<T>(trans, s.m, s.n, s.nrhs, ++seed);
      if (p.rows() < p.cols()) continue;
      std::vector<T> a, x;
      ASSERT_EQ(solve(p, a, x), 0) << where(p);
      EXPECT_LT(vrx_test_ls_orthogonality_ratio(trans, p.m, p.n, p.nrhs, p.a.data(), p.lda, x.data(), p.ldb,
                                                p.b.data(), p.ldb),
                30)
          << where(p);
      // Rows cols..rows-1 hold the part of Q^H B outside the range of op(A): their norm is
      // the residual's, up to rounding in B and in op(A) X.
      const auto op = vrx_test_ls::op_of(trans, p.m, p.n, p.a.data(), p.lda);
      const auto r = vrx_test_ls::residual(op, p.nrhs, x.data(), p.ldb, p.b.data(), p.ldb);
      const double norm_a = vrx_test_ls::frobenius(op.e);
      for (int64_t k = 0; k < p.nrhs; ++k) {
        double tail = 0, want = 0, size_b = 0, size_x = 0;
        for (int64_t i = 0; i < p.rows(); ++i) {
          const double xi = static_cast<double>(std::norm(vrx_test_ls::widen(x[i + k * p.ldb])));
          (i < p.cols() ? size_x : tail) += xi;
          want += static_cast<double>(std::norm(r[i + k * p.rows()]));
          size_b += static_cast<double>(std::norm(vrx_test_ls::widen(p.b[i + k * p.ldb])));
        }
        const double bound = 30 * p.rows() * vrx_test_ls::eps<T>() * (std::sqrt(size_b) + norm_a * std::sqrt(size_x));
        EXPECT_LE(std::fabs(std::sqrt(tail) - std::sqrt(want)), bound) << where(p) << " column " << k;
      }
      EXPECT_TRUE(padding_kept(p.b, x, std::max(p.m, p.n), p.nrhs, p.ldb)) << where(p);
      EXPECT_TRUE(padding_kept(p.a, a, p.m, p.n, p.lda)) << where(p);
    }
}

TYPED_TEST(GelsTest, ConsistentSystemsGiveTheirSolutionAndUnderdeterminedOnesTheShortest) {
  typedef TypeParam T;
  unsigned seed = 40;
  for (const shape& s : shapes)
    for (char trans : {'N', adjoint<T>}) {
      problem<T> p = make_problem<T>(trans, s.m, s.n, s.nrhs, ++seed);
      std::vector<T> a, x;
      if (p.rows() >= p.cols()) {
        // One solution: X0.
        std::vector<T> x0(static_cast<std::size_t>(p.cols() * p.nrhs));
        uint64_t state = seed;
        for (T& v : x0) v = vrx_test_value<T>(&state);
        make_consistent(p, x0);
        ASSERT_EQ(solve(p, a, x), 0) << where(p);
        std::vector<vrx_test_ls::wide<T>> reference;
        for (const T& v : x0) reference.push_back(vrx_test_ls::widen(v));
        EXPECT_LT(vrx_test_ls_distance_ratio<T>(reference, p.cols(), p.nrhs, x.data(), p.ldb), 30) << where(p);
      } else {
        ASSERT_EQ(solve(p, a, x), 0) << where(p);
        EXPECT_LT(vrx_test_ls_residual_ratio(trans, p.m, p.n, p.nrhs, p.a.data(), p.lda, x.data(), p.ldb,
                                             p.b.data(), p.ldb),
                  30)
            << where(p);
        const auto shortest =
            vrx_test_ls_minimum_norm(trans, p.m, p.n, p.nrhs, p.a.data(), p.lda, p.b.data(), p.ldb);
        EXPECT_LT(vrx_test_ls_distance_ratio<T>(shortest, p.cols(), p.nrhs, x.data(), p.ldb), 30) << where(p);
      }
      EXPECT_TRUE(padding_kept(p.b, x, std::max(p.m, p.n), p.nrhs, p.ldb)) << where(p);
    }
}

// A zero column (m >= n) or row (m < n) of A leaves an exact zero on the diagonal of R or
// L at its index: info names it, whatever the op.
TYPED_TEST(GelsTest, AZeroPivotOfTheTriangularFactorIsReportedByItsIndex) {
  typedef TypeParam T;
  struct row {
    int64_t m, n, zero;
  };
  for (const row& r : {row{9, 5, 2}, row{6, 6, 5}, row{4, 11, 0}, row{5, 12, 3}})
    for (char trans : {'N', adjoint<T>}) {
      problem<T> p = make_problem<T>(trans, r.m, r.n, 2, unsigned(r.m * 7 + r.zero));
      for (int64_t l = 0; l < std::max(r.m, r.n); ++l) {
        if (r.m >= r.n && l < r.m) p.a[l + r.zero * p.lda] = T{};
        if (r.m < r.n && l < r.n) p.a[r.zero + l * p.lda] = T{};
      }
      std::vector<T> a, x;
      EXPECT_EQ(solve(p, a, x), r.zero + 1) << where(p);
    }
}

// A and B scaled towards underflow (subnormal entries) and overflow: each is brought into
// range before the factorisation and the solution is scaled back, so a consistent system
// still gives its solution, scaled as the problem was.
TYPED_TEST(GelsTest, BadlyScaledProblemsAreSolvedThroughRescaling) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const int tiny = sizeof(R) == 4 ? -135 : -1050, huge = sizeof(R) == 4 ? 110 : 1000;
  struct scaling {
    int a, b;  // powers of two applied to A and to B
  };
  for (const scaling& s : {scaling{tiny, tiny}, scaling{huge, 0}, scaling{0, huge}, scaling{huge, huge}})
    for (const shape& sh : {shape{12, 5, 2}, shape{5, 12, 2}}) {
      problem<T> p = make_problem<T>('N', sh.m, sh.n, sh.nrhs, unsigned(sh.m + s.a));
      // Entries of eighths keep every scaled value exact, even subnormal ones.
      for (std::vector<T>* m : {&p.a, &p.b})
        for (T& v : *m)
          v = vrx_traits<T>::make(std::round(vrx_traits<T>::real_part(v) * 8) / 8,
                                  std::round(vrx_traits<T>::imag_part(v) * 8) / 8);
      std::vector<T> a, x;
      ASSERT_EQ(solve(p, a, x), 0);
      const std::vector<T> unscaled = x;
      for (T& v : p.a) v = vrx_traits<T>::scale(std::ldexp(R(1), s.a), v);
      for (int64_t k = 0; k < p.nrhs; ++k)
        for (int64_t i = 0; i < p.m; ++i) p.b[i + k * p.ldb] = vrx_traits<T>::scale(std::ldexp(R(1), s.b), p.b[i + k * p.ldb]);
      ASSERT_EQ(solve(p, a, x), 0) << s.a << " " << s.b;
      std::vector<vrx_test_ls::wide<T>> reference;
      for (int64_t k = 0; k < p.nrhs; ++k)
        for (int64_t i = 0; i < p.n; ++i)
          reference.push_back(std::ldexp(vrx_test_ls::widen(unscaled[i + k * p.ldb]).real(), s.b - s.a) +
                              vrx_test_ls::wide<T>(0, std::ldexp(vrx_test_ls::widen(unscaled[i + k * p.ldb]).imag(),
                                                                 s.b - s.a)));
      EXPECT_LT(vrx_test_ls_distance_ratio<T>(reference, p.n, p.nrhs, x.data(), p.ldb), 30)
          << where(p) << " scaled by 2^" << s.a << ", 2^" << s.b;
    }
}

TYPED_TEST(GelsTest, ZeroAndEmptyProblemsGiveZeroSolutions) {
  typedef TypeParam T;
  struct row {
    int64_t m, n, nrhs;
    bool zero_a;
  };
  for (const row& r : {row{6, 4, 2, true}, row{3, 7, 2, true}, row{0, 5, 2, false}, row{5, 0, 3, false},
                       row{4, 4, 0, false}})
    for (char trans : {'N', adjoint<T>}) {
      problem<T> p = make_problem<T>(trans, r.m, r.n, r.nrhs, 3);
      if (r.zero_a)
        for (T& v : p.a) v = T{};
      std::vector<T> a, x;
      EXPECT_EQ(solve(p, a, x, std::max<int64_t>(1, std::min(r.m, r.n) + std::max(std::min(r.m, r.n), r.nrhs))), 0);
      for (int64_t k = 0; k < r.nrhs; ++k)
        for (int64_t i = 0; i < std::max(r.m, r.n); ++i) EXPECT_TRUE(vrx_traits<T>::is_zero(x[i + k * p.ldb]));
      EXPECT_TRUE(padding_kept(p.b, x, std::max(r.m, r.n), r.nrhs, p.ldb));
      if (r.nrhs == 0) EXPECT_TRUE(vrx_test_same_bits(x, p.b));
    }
}

// The query writes the size into work[0] and nothing else; the least workspace the checks
// accept solves as well as the size asked for.
TYPED_TEST(GelsTest, WorkspaceQueryAndTheLeastWorkspace) {
  typedef TypeParam T;
  for (const shape& s : {shape{200, 150, 3}, shape{150, 200, 3}, shape{40, 30, 50}})
    for (char trans : {'N', adjoint<T>}) {
      const problem<T> p = make_problem<T>(trans, s.m, s.n, s.nrhs, 77);
      std::vector<T> a = p.a, b = p.b, work(4, vrx_traits<T>::make(-5, 1));
      const std::vector<T> work0 = work;
      int64_t info = -99;
      const char op[] = {trans, '\0'};
      vrx_lapack_gels<T>(op, p.m, p.n, p.nrhs, a.data(), p.lda, b.data(), p.ldb, work.data(), -1, &info);
      const int64_t least = std::min(s.m, s.n) + std::max(std::min(s.m, s.n), s.nrhs);
      EXPECT_EQ(info, 0);
      EXPECT_GE(vrx_traits<T>::real_part(work[0]), least);
      EXPECT_EQ(std::memcmp(&work[1], &work0[1], 3 * sizeof(T)), 0);
      EXPECT_TRUE(vrx_test_same_bits(a, p.a) && vrx_test_same_bits(b, p.b));

      std::vector<T> x;
      ASSERT_EQ(solve(p, a, x, least), 0) << where(p);
      const double ratio = p.rows() >= p.cols()
                               ? vrx_test_ls_orthogonality_ratio(trans, p.m, p.n, p.nrhs, p.a.data(), p.lda,
                                                                 x.data(), p.ldb, p.b.data(), p.ldb)
                               : vrx_test_ls_residual_ratio(trans, p.m, p.n, p.nrhs, p.a.data(), p.lda, x.data(),
                                                            p.ldb, p.b.data(), p.ldb);
      EXPECT_LT(ratio, 30) << where(p);
    }
}

// Each row breaks the first check it names and maybe later ones too: the first wins. As
// published, a workspace too short still learns its size in work[0]; nothing else moves.
TYPED_TEST(GelsTest, ParameterChecksInOrder) {
  typedef TypeParam T;
  struct row {
    const char* trans;
    int64_t m, n, nrhs, lda, ldb, lwork;
    int position;
  };
  const char* const other = vrx_is_complex<T> ? "T" : "C";
  const row rows[] = {
      {"X", -1, -1, -1, 0, 0, 0, 1}, {other, 2, 2, 1, 2, 2, 10, 1}, {"n", -1, -1, -1, 0, 0, 0, 2},
      {"N", 3, -1, 1, 3, 3, 10, 3},  {"N", 3, 2, -1, 0, 0, 0, 4},  {"N", 3, 2, 1, 2, 3, 10, 6},
      {"N", 0, 0, 0, 0, 1, 1, 6},    {"N", 3, 5, 1, 3, 4, 10, 8},  {"N", 5, 3, 1, 5, 4, 10, 8},
      {"N", 0, 0, 0, 1, 0, 1, 8},    {"N", 5, 3, 4, 5, 5, 6, 10},   {"N", 0, 0, 0, 1, 1, 0, 10},
  };
  const std::string name = std::string(1, vrx_traits<T>::letter) + "GELS";
  for (const row& r : rows) {
    std::vector<T> a(32, vrx_traits<T>::make(2, 0)), b(32, vrx_traits<T>::make(3, 0)),
        work(16, vrx_traits<T>::make(4, 0));
    const std::vector<T> a0 = a, b0 = b, work0 = work;
    int64_t info = 0;
    const std::string printed = vrx_test_printed_by([&] {
      vrx_lapack_gels<T>(r.trans, r.m, r.n, r.nrhs, a.data(), r.lda, b.data(), r.ldb, work.data(), r.lwork, &info);
    });
    EXPECT_EQ(printed, vrx_test_parameter_line(r.position, name)) << r.trans << " " << r.position;
    EXPECT_EQ(info, -r.position);
    EXPECT_TRUE(vrx_test_same_bits(a, a0) && vrx_test_same_bits(b, b0));
    if (r.position == 10) EXPECT_GE(vrx_traits<T>::real_part(work[0]), r.lwork + 1);
    else EXPECT_TRUE(vrx_test_same_bits(work, work0));
  }
}
