// LAPACKE_dsyev and LAPACKE_ssyev: eigenvalues against a known spectrum and the residual
// ratios of the vectors, in both layouts and triangles. A row-major matrix is copied whole
// both ways: with vectors the caller's whole square receives Z, and without them the
// triangle that isn't stored comes back bit for bit, a NaN there included, which the
// screening of the stored triangle lets through. A NaN in the stored triangle returns -5
// in silence; the work layer's row-major lda check, the layout and the driver's own checks
// print their lines. In child processes: a refused work array or copy, and the wrappers'
// verbose lines.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <regex>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "include/customvrx.h"
#include "interface/lapacke/vrx_lapacke.h"
#include "support/child_process.h"

namespace {
template <typename T>
class LapackeSyevTest : public testing::Test {};
typedef testing::Types<float, double> real_types;
TYPED_TEST_SUITE(LapackeSyevTest, real_types);

template <typename T>
int syev(int layout, char jobz, char uplo, int n, T* a, int lda, T* w) {
  if constexpr (std::is_same_v<T, double>) return LAPACKE_dsyev(layout, jobz, uplo, n, a, lda, w);
  else return LAPACKE_ssyev(layout, jobz, uplo, n, a, lda, w);
}
template <typename T>
int syev_work(int layout, char jobz, char uplo, int n, T* a, int lda, T* w, T* work, int lwork) {
  if constexpr (std::is_same_v<T, double>) return LAPACKE_dsyev_work(layout, jobz, uplo, n, a, lda, w, work, lwork);
  else return LAPACKE_ssyev_work(layout, jobz, uplo, n, a, lda, w, work, lwork);
}
template <typename T>
std::string letter() {
  return std::is_same_v<T, double> ? "d" : "s";
}

// A = Q diag(l) Q^T, l = 1..n, with Q = I - 2 v v^T / (v^T v): known exactly in long double.
struct problem {
  int n;
  std::vector<long double> a;  // row i, column j at i * n + j
};
problem make(int n) {
  problem p{n, std::vector<long double>(static_cast<std::size_t>(n * n))};
  std::vector<long double> v(n);
  long double vv = 0;
  for (int i = 0; i < n; ++i) vv += (v[i] = 1 + (i * 7 % 5) - 0.3L * i);
  vv = 0;
  for (long double x : v) vv += x * x;
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      long double s = 0;
      for (int k = 0; k < n; ++k) {
        const long double qik = (i == k) - 2 * v[i] * v[k] / vv, qjk = (j == k) - 2 * v[j] * v[k] / vv;
        s += qik * (k + 1) * qjk;
      }
      p.a[i * n + j] = s;
    }
  return p;
}

// The caller's array in `layout`: the stored triangle of A, `other` in the other one, 9 in
// the padding of lda.
template <typename T>
std::vector<T> caller_array(const problem& p, int layout, char uplo, int lda, T other) {
  const int n = p.n;
  std::vector<T> a(static_cast<std::size_t>(lda * n), T(9));
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      const bool stored = uplo == 'U' ? i <= j : i >= j;
      const std::size_t at = layout == LAPACK_ROW_MAJOR ? i * lda + j : i + j * lda;
      a[at] = stored ? static_cast<T>(p.a[i * n + j]) : other;
    }
  return a;
}

// ||A Z - Z W|| / (n ||A|| eps) and ||I - Z^T Z|| / (n eps), Z read in `layout` from the
// caller's whole square.
template <typename T>
void judge_vectors(const problem& p, int layout, const std::vector<T>& z_array, int lda, const std::vector<T>& w) {
  const int n = p.n;
  const long double eps = std::numeric_limits<T>::epsilon() / 2;
  auto z = [&](int i, int j) -> long double {
    return z_array[layout == LAPACK_ROW_MAJOR ? i * lda + j : i + j * lda];
  };
  long double residual = 0, orthogonality = 0, norm = 0;
  for (int j = 0; j < n; ++j) {
    long double r = 0, o = 0, c = 0;
    for (int i = 0; i < n; ++i) {
      long double s = -z(i, j) * w[j], g = i == j ? -1 : 0;
      for (int k = 0; k < n; ++k) {
        s += p.a[i * n + k] * z(k, j);
        g += z(k, i) * z(k, j);
      }
      r += std::fabs(s);
      o += std::fabs(g);
      c += std::fabs(p.a[i * n + j]);
    }
    residual = std::max(residual, r);
    orthogonality = std::max(orthogonality, o);
    norm = std::max(norm, c);
  }
  EXPECT_LT(residual / (n * norm * eps), 30);
  EXPECT_LT(orthogonality / (n * eps), 30);
}

std::string printed_by(const std::function<void()>& call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}
}  // namespace

TYPED_TEST(LapackeSyevTest, BothLayoutsTrianglesAndJobs) {
  typedef TypeParam T;
  const int n = 23, lda = n + 2;
  const problem p = make(n);
  const T nan = std::numeric_limits<T>::quiet_NaN();
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR})
    for (char uplo : {'U', 'L'})
      for (char jobz : {'N', 'V'}) {
        SCOPED_TRACE(std::string("layout ") + std::to_string(layout) + " uplo " + uplo + " jobz " + jobz);
        std::vector<T> a = caller_array<T>(p, layout, uplo, lda, nan), w(n, T(-1));
        const std::vector<T> before = a;
        ASSERT_EQ(syev(layout, jobz, uplo, n, a.data(), lda, w.data()), 0);
        for (int i = 0; i < n; ++i)
          EXPECT_LE(std::fabs(w[i] - (i + 1)), 30 * n * n * std::numeric_limits<T>::epsilon()) << i;
        for (int line = 0; line < n; ++line)
          for (int k = n; k < lda; ++k) EXPECT_EQ(a[line * lda + k], T(9)) << "padding written";
        if (jobz == 'V') {
          // The whole square holds Z, the triangle that wasn't stored included.
          judge_vectors(p, layout, a, lda, w);
          continue;
        }
        // Without vectors the triangle that isn't stored comes back as it was, NaN and all.
        for (int i = 0; i < n; ++i)
          for (int j = 0; j < n; ++j) {
            const bool stored = uplo == 'U' ? i <= j : i >= j;
            const std::size_t at = layout == LAPACK_ROW_MAJOR ? i * lda + j : i + j * lda;
            if (!stored) EXPECT_TRUE(std::isnan(a[at])) << i << "," << j;
          }
      }
}

// The work layer's query answers what the column-major query with the transposed leading
// dimension answers, and copies nothing; a row-major call with that workspace solves.
TYPED_TEST(LapackeSyevTest, WorkspaceQueryAndTheWorkLayer) {
  typedef TypeParam T;
  const int n = 9;
  const problem p = make(n);
  T row = 0, column = 0;
  std::vector<T> a = caller_array<T>(p, LAPACK_ROW_MAJOR, 'L', n + 1, T(0)), w(n);
  EXPECT_EQ(syev_work<T>(LAPACK_ROW_MAJOR, 'V', 'L', n, a.data(), n + 1, w.data(), &row, -1), 0);
  EXPECT_EQ(syev_work<T>(LAPACK_COL_MAJOR, 'V', 'L', n, a.data(), n, w.data(), &column, -1), 0);
  EXPECT_EQ(row, column);
  EXPECT_GE(row, T(3 * n - 1));
  std::vector<T> work(static_cast<std::size_t>(row));
  ASSERT_EQ(syev_work<T>(LAPACK_ROW_MAJOR, 'V', 'L', n, a.data(), n + 1, w.data(), work.data(), int(row)), 0);
  judge_vectors(p, LAPACK_ROW_MAJOR, a, n + 1, w);
}

// Screening, layout, lda and the driver's checks: values, printed lines, arrays untouched.
TYPED_TEST(LapackeSyevTest, ChecksAndScreening) {
  typedef TypeParam T;
  const std::string d = letter<T>();
  const T nan = std::numeric_limits<T>::quiet_NaN();
  struct check {
    int layout;
    char jobz, uplo;
    int n, lda;
    int nan_at;  // element given a NaN, or -1
    int info;
    std::string line;
  };
  const std::string report = "\nArdix VRX ERROR: Parameter 1 was incorrect on entry to " +
                             std::string(std::is_same_v<T, double> ? "D" : "S") + "SYEV.\n";
  const check checks[] = {
      {100, 'N', 'U', 3, 3, -1, -1, "Wrong parameter 1 in LAPACKE_" + d + "syev\n"},
      {LAPACK_ROW_MAJOR, 'N', 'U', 3, 2, -1, -6, "Wrong parameter 6 in LAPACKE_" + d + "syev_work\n"},
      {LAPACK_COL_MAJOR, 'X', 'U', 3, 3, -1, -2, report},
      {LAPACK_ROW_MAJOR, 'X', 'U', 3, 3, -1, -2, report},
      // (0, 2) is stored for 'U' in row-major order; (2, 0) is not.
      {LAPACK_ROW_MAJOR, 'V', 'U', 3, 3, 2, -5, ""},
      {LAPACK_COL_MAJOR, 'V', 'L', 3, 3, 2, -5, ""},
  };
  for (const check& c : checks) {
    std::vector<T> a(9, T(0.5)), w(3, T(7));
    if (c.nan_at >= 0) a[c.nan_at] = nan;
    const std::vector<T> before = a;
    int info = 0;
    const std::string out =
        printed_by([&] { info = syev(c.layout, c.jobz, c.uplo, c.n, a.data(), c.lda, w.data()); });
    EXPECT_EQ(info, c.info);
    EXPECT_EQ(out, c.line);
    EXPECT_EQ(std::memcmp(a.data(), before.data(), a.size() * sizeof(T)), 0);
    for (T x : w) EXPECT_EQ(x, T(7));
  }
  // A NaN in the triangle that isn't stored passes the screening and is never read.
  std::vector<T> a = {2, nan, 0, 1, 3, nan, 0, 1, 4}, w(3);
  EXPECT_EQ(syev(LAPACK_COL_MAJOR, 'N', 'U', 3, a.data(), 3, w.data()), 0);
  EXPECT_FALSE(std::isnan(w[0]) || std::isnan(w[1]) || std::isnan(w[2]));
}

// ---- in child processes: refused memory and the wrappers' verbose lines ----
namespace {
std::string run_driver(const std::vector<std::string>& args,
                       const std::vector<std::pair<std::string, std::string>>& env = {}) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("lapacke_driver"), args, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  return r.output;
}
}  // namespace

TEST(LapackeSyevProcess, RefusedWorkArrayAndCopyLeaveTheArrays) {
  EXPECT_EQ(run_driver({"--allow", "0", "dsyev-col"}),
            "Not enough memory to allocate work array in LAPACKE_dsyev\ndsyev-col result -1010 untouched 1\n");
  EXPECT_EQ(run_driver({"--allow", "1", "dsyev-row"}),
            "Not enough memory to transpose matrix in LAPACKE_dsyev_work\ndsyev-row result -1011 untouched 1\n");
  EXPECT_EQ(run_driver({"--allow", "1", "ssyev-row"}),
            "Not enough memory to transpose matrix in LAPACKE_ssyev_work\nssyev-row result -1011 untouched 1\n");
}

TEST(LapackeSyevProcess, OneVerboseLinePerWrapperCall) {
  const std::string text = run_driver({"dsyev-col", "ssyev-row", "DSYEV-bad"}, {{"VRX_VERBOSE", "1"}});
  const std::string p = R"((?:0x[0-9a-f]+|\(nil\)))";
  const std::string tail = R"( (?:\d+\.\d\d(?:s|ms|us)|\d+ns) CNR:\S+ Dyn:\d FastMM:\d TID:0  NThr:.*)";
  const std::vector<std::string> calls = {
      R"(DSYEV\(V,L,4,P,4,P,P,-1,0\))",  // the workspace query
      R"(DSYEV\(V,L,4,P,4,P,P,\d+,0\))",
      R"(SSYEV\(V,u,4,P,4,P,P,-1,0\))",  // on the caller's array, no copy
      R"(SSYEV\(V,u,4,P,4,P,P,\d+,0\))",  // on the column-major copy
      R"(DSYEV\(X,U,4,P,4,P,P,16,-1\))",  // a failed check still has its line
  };
  std::vector<std::string> verbose;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (line.rfind("VRX_VERBOSE ", 0) == 0 && line.find("VRX_VERBOSE customvrx") != 0) verbose.push_back(line);
  ASSERT_EQ(verbose.size(), calls.size()) << text;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    const std::string pattern = "VRX_VERBOSE " + std::regex_replace(calls[i], std::regex("P"), p) + tail;
    EXPECT_TRUE(std::regex_match(verbose[i], std::regex(pattern))) << verbose[i];
  }
  EXPECT_NE(text.find("\nArdix VRX ERROR: Parameter 1 was incorrect on entry to DSYEV.\n"), std::string::npos);
}
