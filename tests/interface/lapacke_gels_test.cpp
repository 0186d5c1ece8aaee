// The least-squares members: least-squares and minimum-norm solutions in both layouts,
// precisions and ops judged in the wider precision, padding left alone; every check with
// its value and printed line, NaN screening of A and of B's max(m, n) rows, zero pivots,
// the work layer's query in both layouts; in child processes the verbose lines of the
// wrappers and refused memory with its code and text.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "include/customvrx.h"
#include "interface/lapacke/vrx_lapacke.h"
#include "support/lapacke_driver_run.h"
#include "support/least_squares_check.h"

namespace {
template <typename T>
int gels(int layout, char trans, int m, int n, int nrhs, T* a, int lda, T* b, int ldb) {
  if constexpr (sizeof(T) == 8) return LAPACKE_dgels(layout, trans, m, n, nrhs, a, lda, b, ldb);
  else return LAPACKE_sgels(layout, trans, m, n, nrhs, a, lda, b, ldb);
}

// A rows by cols matrix in `layout` with leading dimension ld, entries in [-1, 1], padding included.
template <typename T>
struct matrix {
  int layout, rows, cols, ld;
  std::vector<T> e;
  std::size_t at(int i, int j) const {
    return layout == LAPACK_COL_MAJOR ? std::size_t(j) * ld + i : std::size_t(i) * ld + j;
  }
  // The column-major copy of the leading r by c part, leading dimension r.
  std::vector<T> column_major(int r, int c) const {
    std::vector<T> out(std::size_t(std::max(r, 1)) * std::max(c, 1));
    for (int i = 0; i < r; ++i)
      for (int j = 0; j < c; ++j) out[std::size_t(j) * r + i] = e[at(i, j)];
    return out;
  }
};
template <typename T>
matrix<T> random_matrix(int layout, int rows, int cols, int extra, unsigned seed) {
  const int ld = (layout == LAPACK_COL_MAJOR ? rows : cols) + extra;
  matrix<T> x{layout, rows, cols, ld, std::vector<T>(std::size_t(ld) * std::max(layout == LAPACK_COL_MAJOR ? cols : rows, 1))};
  uint64_t state = seed * 2654435761u + 11;
  for (T& v : x.e) v = vrx_test_value<T>(&state);
  return x;
}

// Whether every element of `after` outside the leading rows by cols part is that of `before`.
template <typename T>
bool padding_kept(const matrix<T>& before, const std::vector<T>& after) {
  std::vector<bool> inside(before.e.size());
  for (int i = 0; i < before.rows; ++i)
    for (int j = 0; j < before.cols; ++j) inside[before.at(i, j)] = true;
  for (std::size_t k = 0; k < after.size(); ++k)
    if (!inside[k] && std::memcmp(&after[k], &before.e[k], sizeof(T)) != 0) return false;
  return true;
}

template <typename T>
class LapackeGels : public testing::Test {};
typedef testing::Types<float, double> precisions;
TYPED_TEST_SUITE(LapackeGels, precisions);
}  // namespace

TYPED_TEST(LapackeGels, SolvesInBothLayoutsAndOps) {
  typedef TypeParam T;
  struct shape {
    int m, n, nrhs;
  };
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (char trans : {'N', 't'})
      for (const shape& s : {shape{1, 1, 1}, shape{13, 6, 3}, shape{6, 13, 3}, shape{120, 45, 2}, shape{45, 120, 2}}) {
        const std::string where = std::to_string(layout) + trans + " " + std::to_string(s.m) + "x" +
                                  std::to_string(s.n);
        const matrix<T> a = random_matrix<T>(layout, s.m, s.n, 2, unsigned(s.m * 3 + s.n));
        const matrix<T> b = random_matrix<T>(layout, std::max(s.m, s.n), s.nrhs, 1, unsigned(s.m + 7));
        std::vector<T> f = a.e, x = b.e;
        ASSERT_EQ(gels<T>(layout, trans, s.m, s.n, s.nrhs, f.data(), a.ld, x.data(), b.ld), 0) << where;
        const int rows = trans == 'N' ? s.m : s.n, cols = trans == 'N' ? s.n : s.m;
        const std::vector<T> a0 = a.column_major(s.m, s.n), b0 = b.column_major(rows, s.nrhs);
        const std::vector<T> solution = matrix<T>{layout, b.rows, b.cols, b.ld, x}.column_major(cols, s.nrhs);
        if (rows >= cols) {
          EXPECT_LT(vrx_test_ls_orthogonality_ratio(trans, s.m, s.n, s.nrhs, a0.data(), s.m, solution.data(), cols,
                                                    b0.data(), rows),
                    30)
              << where;
        } else {
          EXPECT_LT(vrx_test_ls_residual_ratio(trans, s.m, s.n, s.nrhs, a0.data(), s.m, solution.data(), cols,
                                               b0.data(), rows),
                    30)
              << where;
          const auto shortest = vrx_test_ls_minimum_norm(trans, s.m, s.n, s.nrhs, a0.data(), s.m, b0.data(), rows);
          EXPECT_LT(vrx_test_ls_distance_ratio<T>(shortest, cols, s.nrhs, solution.data(), cols), 30) << where;
        }
        EXPECT_TRUE(padding_kept(a, f)) << where;
        EXPECT_TRUE(padding_kept(b, x)) << where;
      }
}

TYPED_TEST(LapackeGels, AZeroPivotIsReportedInBothLayouts) {
  typedef TypeParam T;
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR}) {
    matrix<T> a = random_matrix<T>(layout, 7, 4, 0, 5);
    for (int i = 0; i < 7; ++i) a.e[a.at(i, 2)] = 0;
    matrix<T> b = random_matrix<T>(layout, 7, 2, 0, 6);
    EXPECT_EQ(gels<T>(layout, 'N', 7, 4, 2, a.e.data(), a.ld, b.e.data(), b.ld), 3) << layout;
  }
}

// The work layer's query: a row-major query copies nothing and answers as a column-major
// query with the transposed leading dimensions.
TEST(LapackeGelsWork, RowMajorQueryAnswersAsTheColumnMajorOne) {
  std::vector<double> a(400, 0.5), b(400, 0.25);
  const std::vector<double> a0 = a, b0 = b;
  double row = 0, column = 0;
  EXPECT_EQ(LAPACKE_dgels_work(LAPACK_ROW_MAJOR, 'N', 30, 12, 5, a.data(), 12, b.data(), 5, &row, -1), 0);
  EXPECT_EQ(LAPACKE_dgels_work(LAPACK_COL_MAJOR, 'N', 30, 12, 5, a.data(), 30, b.data(), 30, &column, -1), 0);
  EXPECT_EQ(row, column);
  EXPECT_GE(row, 12 + 12);
  float single = 0;
  std::vector<float> as(400, 0.5f), bs(400, 0.25f);
  EXPECT_EQ(LAPACKE_sgels_work(LAPACK_ROW_MAJOR, 'T', 12, 30, 5, as.data(), 30, bs.data(), 5, &single, -1), 0);
  EXPECT_GE(single, 12 + 12);
  EXPECT_EQ(a, a0);
  EXPECT_EQ(b, b0);
}

namespace {
struct arrays {
  std::vector<double> a = std::vector<double>(64, 0.25);
  std::vector<double> b = std::vector<double>(64, -3.0);
  std::vector<float> as = std::vector<float>(64, 0.25f);
  std::vector<float> bs = std::vector<float>(64, -3.0f);
  bool operator==(const arrays&) const = default;
};

std::string wrong(int parameter, const std::string& name) {
  return "Wrong parameter " + std::to_string(parameter) + " in " + name + "\n";
}
std::string engine_report(int parameter, const std::string& name) {
  return "\nArdix VRX ERROR: Parameter " + std::to_string(parameter) + " was incorrect on entry to " + name + ".\n";
}
}  // namespace

// Each check returns its value, prints its line and leaves the caller's arrays as they were;
// a NaN is found silently in A, and in B's max(m, n) rows only.
TEST(LapackeGelsChecks, EveryCheckInOrder) {
  const int R = LAPACK_ROW_MAJOR, C = LAPACK_COL_MAJOR;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct check_case {
    const char* what;
    std::function<int(arrays&)> call;
    int info;
    std::string output;
    std::function<void(arrays&)> prepare = {};
  };
  const check_case cases[] = {
      {"layout d", [](arrays& x) { return LAPACKE_dgels(100, 'N', -1, 2, 1, x.a.data(), 2, x.b.data(), 2); }, -1,
       wrong(1, "LAPACKE_dgels")},
      {"layout s", [](arrays& x) { return LAPACKE_sgels(0, 'X', 2, 2, 1, x.as.data(), 2, x.bs.data(), 2); }, -1,
       wrong(1, "LAPACKE_sgels")},
      {"nan a", [&](arrays& x) { return LAPACKE_dgels(C, 'N', 4, 3, 2, x.a.data(), 4, x.b.data(), 4); }, -6, "",
       [&](arrays& x) { x.a[11] = nan; }},
      {"nan b row", [&](arrays& x) { return LAPACKE_sgels(R, 'N', 3, 5, 2, x.as.data(), 5, x.bs.data(), 2); }, -8, "",
       [](arrays& x) { x.bs[9] = NAN; }},  // row 5 of B: beyond m, within max(m, n)
      {"nan a before b", [&](arrays& x) { return LAPACKE_dgels(R, 'T', 2, 3, 1, x.a.data(), 3, x.b.data(), 1); }, -6,
       "", [&](arrays& x) { x.a[5] = x.b[0] = nan; }},
      {"row lda", [&](arrays& x) { return LAPACKE_dgels(R, 'N', 4, 3, 2, x.a.data(), 2, x.b.data(), 2); }, -7,
       wrong(7, "LAPACKE_dgels_work")},
      {"row ldb", [&](arrays& x) { return LAPACKE_sgels(R, 'N', 4, 3, 2, x.as.data(), 3, x.bs.data(), 1); }, -9,
       wrong(9, "LAPACKE_sgels_work")},
      {"col trans", [&](arrays& x) { return LAPACKE_dgels(C, 'C', 4, 3, 2, x.a.data(), 4, x.b.data(), 4); }, -2,
       engine_report(1, "DGELS")},
      {"col m", [&](arrays& x) { return LAPACKE_sgels(C, 'N', -1, 3, 2, x.as.data(), 1, x.bs.data(), 3); }, -3,
       engine_report(2, "SGELS")},
      {"col nrhs", [&](arrays& x) { return LAPACKE_dgels(C, 'N', 4, 3, -2, x.a.data(), 4, x.b.data(), 4); }, -5,
       engine_report(4, "DGELS")},
      {"col lda", [&](arrays& x) { return LAPACKE_dgels(C, 'T', 4, 3, 2, x.a.data(), 3, x.b.data(), 4); }, -7,
       engine_report(6, "DGELS")},
      {"col ldb", [&](arrays& x) { return LAPACKE_sgels(C, 'N', 3, 5, 2, x.as.data(), 3, x.bs.data(), 3); }, -9,
       engine_report(8, "SGELS")},
  };
  for (const check_case& c : cases) {
    arrays x;
    if (c.prepare) c.prepare(x);
    const arrays before = x;
    testing::internal::CaptureStdout();
    const int info = c.call(x);
    EXPECT_EQ(info, c.info) << c.what;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.output) << c.what;
    EXPECT_TRUE(std::memcmp(&x.a[0], &before.a[0], 64 * sizeof(double)) == 0 &&
                std::memcmp(&x.bs[0], &before.bs[0], 64 * sizeof(float)) == 0 && x.b.size() == before.b.size() &&
                std::memcmp(&x.b[0], &before.b[0], 64 * sizeof(double)) == 0 &&
                std::memcmp(&x.as[0], &before.as[0], 64 * sizeof(float)) == 0)
        << c.what;
  }
  // A NaN in B outside its max(m, n) rows is not screened: the solve runs.
  arrays x;
  for (int j = 0; j < 3; ++j) x.a[j * 5] = 2;  // 4 by 3, column-major: a diagonal of 2 in a field of 0.25
  x.b[4] = nan;                                // ldb 5: row 4 is padding
  EXPECT_EQ(LAPACKE_dgels(C, 'N', 4, 3, 1, x.a.data(), 4, x.b.data(), 5), 0);
}

TEST(LapackeGelsMemory, RefusedWorkArrayAndCopiesGiveTheirCodeAndText) {
  EXPECT_EQ(vrx_test_lapacke_driver({"--allow", "0", "dgels-col"}),
            "Not enough memory to allocate work array in LAPACKE_dgels\ndgels-col result -1010 untouched 1\n");
  EXPECT_EQ(vrx_test_lapacke_driver({"--allow", "1", "dgels-row"}),
            "Not enough memory to transpose matrix in LAPACKE_dgels_work\ndgels-row result -1011 untouched 1\n");
  EXPECT_EQ(vrx_test_lapacke_driver({"--allow", "2", "sgels-row"}),
            "Not enough memory to transpose matrix in LAPACKE_sgels_work\nsgels-row result -1011 untouched 1\n");
}

// One line per wrapper call from the caller's values: the query and the solve of each
// LAPACKE call (on the column-major copies for row-major data), a direct query, and a
// workspace too short, reported before its line.
TEST(LapackeGelsVerbose, OneLinePerWrapperCall) {
  const std::string text =
      vrx_test_lapacke_driver({"dgels-col", "sgels-row", "DGELS-query", "SGELS-short"}, {{"VRX_VERBOSE", "1"}});
  const std::vector<std::string> calls = {
      "DGELS(N,4,4,2,P,4,P,4,P,-1,0)", "DGELS(N,4,4,2,P,4,P,4,P,#,0)", "SGELS(N,4,4,2,P,4,P,4,P,-1,0)",
      "SGELS(N,4,4,2,P,4,P,4,P,#,0)",  "DGELS(N,4,4,2,P,4,P,4,P,-1,0)", "SGELS(N,4,4,2,P,4,P,4,P,3,-10)",
  };
  const std::vector<std::string> lines = vrx_test_verbose_calls(text);
  ASSERT_EQ(lines.size(), calls.size()) << text;
  for (std::size_t i = 0; i < calls.size(); ++i) EXPECT_TRUE(vrx_test_verbose_matches(lines[i], calls[i])) << lines[i];
  const std::size_t report = text.find("\nArdix VRX ERROR: Parameter 10 was incorrect on entry to SGELS.\n");
  ASSERT_NE(report, std::string::npos) << text;
  EXPECT_LT(report, text.find("VRX_VERBOSE SGELS(N,4,4,2,", text.find("DGELS-query")));
}
