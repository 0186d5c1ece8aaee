// Trust-region solvers on published test problems with known minima, through the whole
// reverse-communication loop: analytic Jacobians and central differences, without
// bounds, with absent bounds, and with bounds that hold the minimum on them.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <string>
#include <vector>

#include "support/nls_run.h"

namespace {
// The final ||F|| reaches the problem's known minimum: within 1e-8 of zero, or to six
// digits of a nonzero value.
void expect_minimum(const nls_problem& p, const nls_outcome& r, const char* how) {
  SCOPED_TRACE(testing::Message() << p.name << " (" << how << ")");
  EXPECT_EQ(r.solve_status, TRN_SUCCESS);
  EXPECT_GE(r.st_cr, 1);
  EXPECT_LE(r.st_cr, 6);
  EXPECT_NE(r.st_cr, 1) << "ran out of steps";
  auto reached = [&](double best) {
    return best == 0.0 ? r.final_norm <= 1e-8 : std::fabs(r.final_norm - best) <= 1e-6 * best;
  };
  EXPECT_TRUE(reached(p.best_norm) || (p.other_norm >= 0.0 && reached(p.other_norm)))
      << "final " << r.final_norm << ", known " << p.best_norm;
  EXPECT_NEAR(r.r2, r.final_norm, 1e-9 * (1.0 + r.final_norm));  // the report agrees with the point
}

struct box {
  std::vector<double> lw, up;
};
box open_box(int n) { return {std::vector<double>(n, -DBL_MAX), std::vector<double>(n, DBL_MAX)}; }
}  // namespace

TEST(TrustRegionProblems, KnownMinimaWithAnalyticJacobians) {
  for (const nls_problem& p : nls_problem_set()) {
    const nls_outcome r = nls_solve(p);
    expect_minimum(p, r, "analytic");
    EXPECT_GT(r.r1, r.final_norm);
  }
}

TEST(TrustRegionProblems, KnownMinimaWithCentralDifferences) {
  nls_options o;
  o.central_differences = true;
  for (const nls_problem& p : nls_problem_set()) {
    // Brown badly scaled takes 5000 steps of at most the first radius: its Jacobians are
    // analytic in the other runs only.
    if (std::string(p.name) == "Brown badly scaled") continue;
    expect_minimum(p, nls_solve(p, o), "djacobix");
  }
}

// Bounds at +-DBL_MAX are absent: the bounded solver finds the same minima.
TEST(TrustRegionProblems, BoundedSolverWithAbsentBounds) {
  for (const nls_problem& p : nls_problem_set()) {
    const box b = open_box(p.n);
    nls_options o;
    o.lw = b.lw.data(), o.up = b.up.data();
    const nls_outcome r = nls_solve(p, o);
    expect_minimum(p, r, "absent bounds");
    EXPECT_TRUE(r.stayed_in_box);
  }
}

// Rosenbrock with x1 held to one side of 1: for a fixed x1 the best x2 is x1^2, so the
// minimum lies on the bound b with ||F|| = |1 - b|.
TEST(TrustRegionProblems, RosenbrockWithItsMinimumOnABound) {
  const nls_problem rosenbrock = nls_problem_set()[0];
  struct bounded_case {
    const char* what;
    double lw1, up1, bound, x1;
  };
  const bounded_case cases[] = {
      {"lower bound, upper absent", 1.5, DBL_MAX, 1.5, 2.0},
      {"lower bound, start far away", 1.5, DBL_MAX, 1.5, 30.0},
      {"upper bound, lower absent", -DBL_MAX, 0.5, 0.5, -1.2},
      {"both bounds, start on the active one", 1.5, 3.0, 1.5, 1.5},
      {"both bounds, start on the far one", -2.0, 0.5, 0.5, -2.0},
  };
  for (const bounded_case& c : cases) {
    SCOPED_TRACE(c.what);
    const double lw[2] = {c.lw1, -DBL_MAX}, up[2] = {c.up1, DBL_MAX}, start[2] = {c.x1, 1.0};
    nls_options o;
    o.lw = lw, o.up = up;
    const nls_outcome r = nls_solve(rosenbrock, o, start);
    EXPECT_EQ(r.solve_status, TRN_SUCCESS);
    EXPECT_TRUE(r.stayed_in_box);
    EXPECT_NEAR(r.final_norm, std::fabs(1.0 - c.bound), 1e-8);
    EXPECT_NEAR(r.x[0], c.bound, 1e-8);
    EXPECT_NEAR(r.x[1], c.bound * c.bound, 1e-6);
    EXPECT_GE(r.x[0], c.lw1);
    EXPECT_LE(r.x[0], c.up1);
  }
}

namespace {
// F_i = exp(x_i) - 2: separable, so the minimum in a box is ln 2 pushed into it.
void exp_start(int n, double* x) {
  for (int i = 0; i < n; ++i) x[i] = 0.0;
}
void exp_f(int n, int, const double* x, double* f) {
  for (int i = 0; i < n; ++i) f[i] = std::exp(x[i]) - 2.0;
}
void exp_j(int n, int m, const double* x, double* j) {
  for (int k = 0; k < n * m; ++k) j[k] = 0.0;
  for (int i = 0; i < n; ++i) j[i * m + i] = std::exp(x[i]);
}
// F = x - c: a coordinate that starts on its bound with c outside never moves.
const double shifted_target[3] = {-1.0, 0.25, 2.0};
void shifted_f(int n, int, const double* x, double* f) {
  for (int i = 0; i < n; ++i) f[i] = x[i] - shifted_target[i];
}
void shifted_j(int n, int m, const double*, double* j) {
  for (int k = 0; k < n * m; ++k) j[k] = 0.0;
  for (int i = 0; i < n; ++i) j[i * m + i] = 1.0;
}
}  // namespace

TEST(TrustRegionProblems, SeparableProblemEndsOnTheProjection) {
  const nls_problem p = {"exp", 4, 4, exp_start, exp_f, exp_j, 0.0};
  // ln 2 = 0.693: above an upper bound, below a lower bound, inside, and one-sided.
  const double lw[4] = {-1.0, 1.0, -5.0, -DBL_MAX}, up[4] = {0.5, 3.0, 5.0, 0.25};
  nls_options o;
  o.lw = lw, o.up = up;
  const double start[4] = {0.0, 2.0, 0.0, 0.0};
  const nls_outcome r = nls_solve(p, o, start);
  const double expected[4] = {0.5, 1.0, std::log(2.0), 0.25};
  double norm2 = 0.0;
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(r.x[i], expected[i], 1e-7) << i;
    norm2 += (std::exp(expected[i]) - 2.0) * (std::exp(expected[i]) - 2.0);
  }
  EXPECT_NEAR(r.final_norm, std::sqrt(norm2), 1e-7);
  EXPECT_TRUE(r.stayed_in_box);
}

// x0 sits on its lower bound with the gradient pointing out of the box: its scaling
// distance is 1e-18, its column of the scaled Jacobian nearly vanishes, and it stays on
// the bound at every point the solver asks about; the free unknowns reach their targets.
TEST(TrustRegionProblems, UnknownOnABoundWithOutwardGradientStaysThere) {
  const nls_problem p = {"shifted", 3, 3, exp_start, shifted_f, shifted_j, 0.0};
  const double lw[3] = {0.0, -DBL_MAX, -10.0}, up[3] = {DBL_MAX, DBL_MAX, 10.0}, start[3] = {0.0, 3.0, -3.0};
  nls_options o;
  o.lw = lw, o.up = up;
  const nls_outcome r = nls_solve(p, o, start);
  EXPECT_EQ(r.x[0], 0.0);
  EXPECT_NEAR(r.x[1], 0.25, 1e-8);
  EXPECT_NEAR(r.x[2], 2.0, 1e-8);
  EXPECT_NEAR(r.final_norm, 1.0, 1e-8);
  EXPECT_TRUE(r.stayed_in_box);
}

// Large and bounded: extended Rosenbrock with every odd unknown at or above 1.5 has its
// minimum on those bounds, with ||F||^2 = 0.25 per pair.
TEST(TrustRegionProblems, LargeBoundedProblem) {
  nls_problem p = nls_problem_set()[0];
  p.n = p.m = 100;
  box b = open_box(p.n);
  std::vector<double> start(p.n);
  for (int i = 0; i < p.n; i += 2) b.lw[i] = 1.5, b.up[i] = 10.0, start[i] = 3.0, start[i + 1] = 1.0;
  nls_options o;
  o.lw = b.lw.data(), o.up = b.up.data();
  const nls_outcome r = nls_solve(p, o, start.data());
  EXPECT_NEAR(r.final_norm, std::sqrt(0.25 * p.n / 2), 1e-7);
  for (int i = 0; i < p.n; i += 2) EXPECT_NEAR(r.x[i], 1.5, 1e-8) << i;
  EXPECT_TRUE(r.stayed_in_box);
}

// The bounded solver reads no iter2: its solve stops after 10 passes whatever the limit.
TEST(TrustRegionProblems, BoundedSolverIgnoresIter2) {
  const nls_problem rosenbrock = nls_problem_set()[0];
  const double lw[2] = {-DBL_MAX, -DBL_MAX}, up[2] = {0.5, DBL_MAX};
  nls_options one, many;
  one.lw = many.lw = lw, one.up = many.up = up;
  one.iter2 = 1, many.iter2 = 1000;
  const nls_outcome a = nls_solve(rosenbrock, one), b = nls_solve(rosenbrock, many);
  EXPECT_EQ(a.requests, b.requests);
  EXPECT_EQ(a.x, b.x);
  EXPECT_NEAR(a.final_norm, 0.5, 1e-8);
}
