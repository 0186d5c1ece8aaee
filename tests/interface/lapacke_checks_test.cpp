// Bad input to the LU and Cholesky members: each check prints exactly its message on stdout, returns
// its value and leaves every caller array untouched; NaN screening is silent.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "include/customvrx.h"
#include "interface/lapacke/vrx_lapacke.h"

namespace {
// Caller arrays with recognisable contents, big enough for every call below.
struct arrays {
  std::vector<double> a = std::vector<double>(64, 0.25);
  std::vector<double> b = std::vector<double>(64, -3.0);
  std::vector<float> as = std::vector<float>(64, 0.25f);
  std::vector<float> bs = std::vector<float>(64, -3.0f);
  std::vector<int> ipiv = std::vector<int>(16, 1);
};

// Bitwise, so that a planted NaN equals itself.
template <typename T>
bool same_bits(const std::vector<T>& x, const std::vector<T>& y) {
  return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(T)) == 0;
}
bool same(const arrays& x, const arrays& y) {
  return same_bits(x.a, y.a) && same_bits(x.b, y.b) && same_bits(x.as, y.as) && same_bits(x.bs, y.bs) &&
         same_bits(x.ipiv, y.ipiv);
}

struct outcome {
  int info;
  std::string output;
  bool untouched;
};

outcome run(const std::function<int(arrays&)>& call, const std::function<void(arrays&)>& prepare = {}) {
  arrays x;
  if (prepare) prepare(x);
  const arrays before = x;
  testing::internal::CaptureStdout();
  const int info = call(x);
  return {info, testing::internal::GetCapturedStdout(), same(x, before)};
}

std::string wrong(int parameter, const std::string& name) {
  return "Wrong parameter " + std::to_string(parameter) + " in " + name + "\n";
}
std::string engine_report(int parameter, const std::string& name) {
  return "\nArdix VRX ERROR: Parameter " + std::to_string(parameter) + " was incorrect on entry to " + name + ".\n";
}

struct check_case {
  const char* what;
  std::function<int(arrays&)> call;
  int info;
  std::string output;
  std::function<void(arrays&)> prepare = {};
};

const double quiet_nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();
}  // namespace

TEST(LapackeChecks, EveryCheckPrintsItsMessageAndReturnsItsValue) {
  const int R = LAPACK_ROW_MAJOR, C = LAPACK_COL_MAJOR;
  const check_case cases[] = {
      // Layout, before anything else is looked at.
      {"layout dgetrf", [](arrays& x) { return LAPACKE_dgetrf(100, -1, -1, x.a.data(), -1, x.ipiv.data()); }, -1,
       wrong(1, "LAPACKE_dgetrf")},
      {"layout sgetrf", [](arrays& x) { return LAPACKE_sgetrf(100, 2, 2, x.as.data(), 2, x.ipiv.data()); }, -1,
       wrong(1, "LAPACKE_sgetrf")},
      {"layout dgetrs",
       [](arrays& x) { return LAPACKE_dgetrs(103, 'N', 2, 1, x.a.data(), 2, x.ipiv.data(), x.b.data(), 2); }, -1,
       wrong(1, "LAPACKE_dgetrs")},
      {"layout sgetrs",
       [](arrays& x) { return LAPACKE_sgetrs(0, 'N', 2, 1, x.as.data(), 2, x.ipiv.data(), x.bs.data(), 2); }, -1,
       wrong(1, "LAPACKE_sgetrs")},
      {"layout dgetri", [](arrays& x) { return LAPACKE_dgetri(100, 2, x.a.data(), 2, x.ipiv.data()); }, -1,
       wrong(1, "LAPACKE_dgetri")},
      // Row-major leading dimensions, under the work layer's name.
      {"row lda getrf", [&](arrays& x) { return LAPACKE_dgetrf(R, 3, 5, x.a.data(), 4, x.ipiv.data()); }, -5,
       wrong(5, "LAPACKE_dgetrf_work")},
      {"row lda sgetrf", [&](arrays& x) { return LAPACKE_sgetrf(R, 3, 5, x.as.data(), 4, x.ipiv.data()); }, -5,
       wrong(5, "LAPACKE_sgetrf_work")},
      {"row lda getrs",
       [&](arrays& x) { return LAPACKE_dgetrs(R, 'N', 3, 2, x.a.data(), 2, x.ipiv.data(), x.b.data(), 2); }, -6,
       wrong(6, "LAPACKE_dgetrs_work")},
      {"row ldb getrs",
       [&](arrays& x) { return LAPACKE_sgetrs(R, 'N', 3, 2, x.as.data(), 3, x.ipiv.data(), x.bs.data(), 1); }, -9,
       wrong(9, "LAPACKE_sgetrs_work")},
      {"row lda getri", [&](arrays& x) { return LAPACKE_dgetri(R, 3, x.a.data(), 2, x.ipiv.data()); }, -4,
       wrong(4, "LAPACKE_dgetri_work")},
      // Column-major arguments are checked below, and counted with the layout.
      {"col m getrf", [&](arrays& x) { return LAPACKE_dgetrf(C, -1, 2, x.a.data(), 2, x.ipiv.data()); }, -2,
       engine_report(1, "DGETRF")},
      {"col n sgetrf", [&](arrays& x) { return LAPACKE_sgetrf(C, 2, -2, x.as.data(), 2, x.ipiv.data()); }, -3,
       engine_report(2, "DGETRF")},
      {"col n getrs",
       [&](arrays& x) { return LAPACKE_dgetrs(C, 'N', -1, 1, x.a.data(), 1, x.ipiv.data(), x.b.data(), 1); }, -3,
       engine_report(2, "DGETRS")},
      {"col trans getrs",
       [&](arrays& x) { return LAPACKE_sgetrs(C, 'X', 2, 1, x.as.data(), 2, x.ipiv.data(), x.bs.data(), 2); }, -2,
       engine_report(1, "SGETRS")},
      {"col ldb getrs",
       [&](arrays& x) { return LAPACKE_dgetrs(C, 'T', 3, 1, x.a.data(), 3, x.ipiv.data(), x.b.data(), 2); }, -9,
       engine_report(8, "DGETRS")},
      {"col lda getri", [&](arrays& x) { return LAPACKE_dgetri(C, 3, x.a.data(), 2, x.ipiv.data()); }, -4,
       engine_report(3, "DGETRI")},
      // NaN screening: minus the matrix's position, silently.
      {"nan getrf", [&](arrays& x) { return LAPACKE_dgetrf(R, 3, 3, x.a.data(), 3, x.ipiv.data()); }, -4, "",
       [](arrays& x) { x.a[5] = quiet_nan; }},
      {"nan sgetrf", [&](arrays& x) { return LAPACKE_sgetrf(C, 3, 3, x.as.data(), 3, x.ipiv.data()); }, -4, "",
       [](arrays& x) { x.as[0] = NAN; }},
      {"nan getrs a",
       [&](arrays& x) { return LAPACKE_dgetrs(C, 'N', 3, 1, x.a.data(), 3, x.ipiv.data(), x.b.data(), 3); }, -5, "",
       [](arrays& x) { x.a[8] = quiet_nan; }},
      {"nan getrs b",
       [&](arrays& x) { return LAPACKE_sgetrs(R, 'N', 3, 2, x.as.data(), 3, x.ipiv.data(), x.bs.data(), 2); }, -8, "",
       [](arrays& x) { x.bs[5] = NAN; }},
      {"nan getri", [&](arrays& x) { return LAPACKE_dgetri(C, 2, x.a.data(), 2, x.ipiv.data()); }, -3, "",
       [](arrays& x) { x.a[3] = quiet_nan; }},
      // The Cholesky members: layout first, then the stored triangle's screen, the
      // row-major dimensions and the checks below. The checker of both factorisations
      // reports under DPOTRF; a bad uplo screens as clean and is counted as -2.
      {"layout dpotrf", [](arrays& x) { return LAPACKE_dpotrf(100, 'x', -1, x.a.data(), -1); }, -1,
       wrong(1, "LAPACKE_dpotrf")},
      {"layout spotrf", [](arrays& x) { return LAPACKE_spotrf(0, 'U', 2, x.as.data(), 2); }, -1,
       wrong(1, "LAPACKE_spotrf")},
      {"layout dpotrs", [](arrays& x) { return LAPACKE_dpotrs(103, 'U', 2, 1, x.a.data(), 2, x.b.data(), 2); }, -1,
       wrong(1, "LAPACKE_dpotrs")},
      {"layout spotrs", [](arrays& x) { return LAPACKE_spotrs(100, 'L', 2, 1, x.as.data(), 2, x.bs.data(), 2); },
       -1, wrong(1, "LAPACKE_spotrs")},
      {"row lda dpotrf", [&](arrays& x) { return LAPACKE_dpotrf(R, 'U', 3, x.a.data(), 2); }, -5,
       wrong(5, "LAPACKE_dpotrf_work")},
      {"row lda spotrs", [&](arrays& x) { return LAPACKE_spotrs(R, 'L', 3, 2, x.as.data(), 2, x.bs.data(), 2); }, -6,
       wrong(6, "LAPACKE_spotrs_work")},
      {"row ldb dpotrs", [&](arrays& x) { return LAPACKE_dpotrs(R, 'U', 3, 2, x.a.data(), 3, x.b.data(), 1); }, -8,
       wrong(8, "LAPACKE_dpotrs_work")},
      {"col uplo dpotrf", [&](arrays& x) { return LAPACKE_dpotrf(C, 'x', 3, x.a.data(), 3); }, -2,
       engine_report(1, "DPOTRF"), [](arrays& x) { x.a[0] = x.a[5] = quiet_nan; }},
      {"row uplo spotrf", [&](arrays& x) { return LAPACKE_spotrf(R, 'x', 3, x.as.data(), 3); }, -2,
       engine_report(1, "DPOTRF"), [](arrays& x) { x.as[3] = NAN; }},
      {"col n spotrf", [&](arrays& x) { return LAPACKE_spotrf(C, 'u', -1, x.as.data(), 1); }, -3,
       engine_report(2, "DPOTRF")},
      {"col lda dpotrf", [&](arrays& x) { return LAPACKE_dpotrf(C, 'L', 3, x.a.data(), 2); }, -5,
       engine_report(4, "DPOTRF")},
      {"col uplo dpotrs", [&](arrays& x) { return LAPACKE_dpotrs(C, 'x', 2, 1, x.a.data(), 2, x.b.data(), 2); }, -2,
       engine_report(1, "DPOTRS")},
      {"col uplo spotrs", [&](arrays& x) { return LAPACKE_spotrs(C, '\0', 2, 1, x.as.data(), 2, x.bs.data(), 2); },
       -2, engine_report(1, "SPOTRS")},
      {"col nrhs dpotrs", [&](arrays& x) { return LAPACKE_dpotrs(C, 'U', 2, -1, x.a.data(), 2, x.b.data(), 2); }, -4,
       engine_report(3, "DPOTRS")},
      {"col lda spotrs", [&](arrays& x) { return LAPACKE_spotrs(C, 'U', 3, 1, x.as.data(), 2, x.bs.data(), 3); }, -6,
       engine_report(5, "SPOTRS")},
      {"col ldb dpotrs", [&](arrays& x) { return LAPACKE_dpotrs(C, 'l', 3, 1, x.a.data(), 3, x.b.data(), 2); }, -8,
       engine_report(7, "DPOTRS")},
      {"nan dpotrf upper", [&](arrays& x) { return LAPACKE_dpotrf(C, 'U', 3, x.a.data(), 3); }, -4, "",
       [](arrays& x) { x.a[3] = quiet_nan; }},
      {"nan spotrf lower row", [&](arrays& x) { return LAPACKE_spotrf(R, 'l', 3, x.as.data(), 3); }, -4, "",
       [](arrays& x) { x.as[3] = NAN; }},
      {"nan dpotrs a", [&](arrays& x) { return LAPACKE_dpotrs(C, 'L', 3, 1, x.a.data(), 3, x.b.data(), 3); }, -5, "",
       [](arrays& x) { x.a[1] = quiet_nan; }},
      {"nan spotrs b", [&](arrays& x) { return LAPACKE_spotrs(R, 'U', 3, 2, x.as.data(), 3, x.bs.data(), 2); }, -7,
       "", [](arrays& x) { x.bs[5] = NAN; }},
  };
  for (const check_case& c : cases) {
    const outcome r = run(c.call, c.prepare);
    EXPECT_EQ(r.info, c.info) << c.what;
    EXPECT_EQ(r.output, c.output) << c.what;
    EXPECT_TRUE(r.untouched) << c.what;
  }
}

TEST(LapackeChecks, ScreeningLetsInfinitiesEmptyAndNullMatricesThrough) {
  // +inf and -inf in one column pass the screen; the factorisation then runs.
  outcome r = run([](arrays& x) {
    for (int i = 0; i < 16; ++i) x.a[i] = i == 3 ? 4.0 : 0.5 * i;
    x.a[0] = inf;
    x.a[1] = -inf;
    return LAPACKE_dgetrf(LAPACK_COL_MAJOR, 2, 2, x.a.data(), 2, x.ipiv.data());
  });
  EXPECT_NE(r.info, -4);
  EXPECT_EQ(r.output, "");
  r = run([](arrays& x) { return LAPACKE_dgetrf(LAPACK_ROW_MAJOR, 0, 0, nullptr, 1, x.ipiv.data()); });
  EXPECT_EQ(r.info, 0);
  EXPECT_TRUE(r.untouched);
  r = run([](arrays& x) { return LAPACKE_dgetrf(LAPACK_COL_MAJOR, 0, 3, x.a.data(), 1, x.ipiv.data()); });
  EXPECT_EQ(r.info, 0);
  EXPECT_EQ(r.output, "");
  EXPECT_TRUE(r.untouched);
}

TEST(LapackeChecks, EmptySolvesTouchNothing) {
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR}) {
    const std::function<int(arrays&)> cholesky[] = {
        [&](arrays& x) { return LAPACKE_dpotrf(layout, 'U', 0, x.a.data(), 1); },
        [&](arrays& x) { return LAPACKE_spotrf(layout, 'l', 0, x.as.data(), 1); },
        [&](arrays& x) { return LAPACKE_dpotrs(layout, 'L', 3, 0, x.a.data(), 3, x.b.data(), 3); },
        [&](arrays& x) { return LAPACKE_spotrs(layout, 'u', 0, 2, x.as.data(), 1, x.bs.data(), 2); },
    };
    for (const auto& call : cholesky) {
      const outcome r = run(call);
      EXPECT_EQ(r.info, 0);
      EXPECT_EQ(r.output, "");
      EXPECT_TRUE(r.untouched);
    }
    outcome r = run([&](arrays& x) {
      return LAPACKE_dgetrs(layout, 'N', 3, 0, x.a.data(), 3, x.ipiv.data(), x.b.data(), 3);
    });
    EXPECT_EQ(r.info, 0);
    EXPECT_EQ(r.output, "");
    EXPECT_TRUE(r.untouched);
    r = run([&](arrays& x) {
      return LAPACKE_sgetrs(layout, 'T', 0, 2, x.as.data(), 1, x.ipiv.data(), x.bs.data(), 2);
    });
    EXPECT_EQ(r.info, 0);
    EXPECT_EQ(r.output, "");
    EXPECT_TRUE(r.untouched);
  }
}

TEST(LapackeChecks, SingularFactorsGiveTheirIndexWithTheMatrixUnchanged) {
  // Upper factor with U(2,2) = 0 (1-based), no interchanges.
  for (int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR}) {
    const outcome r = run(
        [&](arrays& x) { return LAPACKE_dgetri(layout, 3, x.a.data(), 3, x.ipiv.data()); },
        [](arrays& x) {
          const double factors[9] = {2, 0.5, 0.25, 1, 0, 0.5, 3, 4, 5};  // column major
          for (int i = 0; i < 9; ++i) x.a[i] = factors[i];
        });
    EXPECT_EQ(r.info, 2);
    EXPECT_EQ(r.output, "");
    EXPECT_TRUE(r.untouched);
  }
}
