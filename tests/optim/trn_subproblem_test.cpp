// The trust-region subproblem solves against long-double references: the Gauss-Newton
// step, a step on the boundary with its Levenberg parameter, the shift and hard case of a
// singular J^T J, and the bounded step that reduces to the scaled solve without bounds.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "optim/trn/trn_subproblem.h"
#include "optim/trn/trnbc_step.h"
#include "optim/trn/vrx_trn.h"

namespace {
// Workspace of one solve of order n.
struct workspace {
  std::vector<double> s, g, w1, w2, h, l, l2;
  vrx_trn_subproblem_work work;
  explicit workspace(int n) : s(n), g(n), w1(n), w2(n), h(n * n), l(n * n), l2(n * n) {
    work = {s.data(), g.data(), w1.data(), w2.data(), h.data(), l.data()};
  }
};

// -(J^T J + lambda I)^-1 J^T F in long double, by elimination (n is small).
std::vector<long double> shifted_step(int n, int m, const double* j, const double* f, long double lambda) {
  std::vector<long double> a(n * n), b(n);
  for (int p = 0; p < n; ++p) {
    b[p] = 0;
    for (int i = 0; i < m; ++i) b[p] -= static_cast<long double>(j[p * m + i]) * f[i];
    for (int q = 0; q < n; ++q) {
      long double sum = p == q ? lambda : 0;
      for (int i = 0; i < m; ++i) sum += static_cast<long double>(j[p * m + i]) * j[q * m + i];
      a[p * n + q] = sum;
    }
  }
  for (int k = 0; k < n; ++k)
    for (int r = k + 1; r < n; ++r) {
      const long double factor = a[r * n + k] / a[k * n + k];
      for (int c = k; c < n; ++c) a[r * n + c] -= factor * a[k * n + c];
      b[r] -= factor * b[k];
    }
  for (int k = n - 1; k >= 0; --k) {
    for (int c = k + 1; c < n; ++c) b[k] -= a[k * n + c] * b[c];
    b[k] /= a[k * n + k];
  }
  return b;
}

long double norm(const std::vector<long double>& v) {
  long double s = 0;
  for (long double e : v) s += e * e;
  return std::sqrt(s);
}
double norm(const std::vector<double>& v) {
  double s = 0;
  for (double e : v) s += e * e;
  return std::sqrt(s);
}

// A full-rank 3 by 2 problem.
const double full_j[6] = {2.0, 1.0, 0.0, 1.0, 3.0, 1.0};
const double full_f[3] = {1.0, -2.0, 0.5};
}  // namespace

TEST(TrustRegionSubproblem, GaussNewtonStepInsideTheRadius) {
  workspace w(2);
  double lambda = -1.0;
  EXPECT_EQ(vrx_trn_subproblem(2, 3, full_j, full_f, 100.0, &w.work, 1e-10, 10, &lambda), VRX_TRN_SUB_GAUSS_NEWTON);
  EXPECT_EQ(lambda, 0.0);
  const std::vector<long double> exact = shifted_step(2, 3, full_j, full_f, 0);
  for (int i = 0; i < 2; ++i) EXPECT_NEAR(w.s[i], static_cast<double>(exact[i]), 1e-14 * norm(exact)) << i;
  // g is -J^T F afterwards.
  EXPECT_NEAR(w.g[0], -(2.0 * 1.0 + 1.0 * -2.0), 1e-15);
  EXPECT_NEAR(w.g[1], -(1.0 * 1.0 + 3.0 * -2.0 + 0.5), 1e-15);
}

// A radius a tenth of the Gauss-Newton step: Newton's iteration finds lambda > 0 and the
// step (J^T J + lambda I)^-1 (-J^T F) scaled onto the radius, within 1% before scaling.
TEST(TrustRegionSubproblem, BoundaryStepOfBothSolves) {
  const std::vector<long double> gauss_newton = shifted_step(2, 3, full_j, full_f, 0);
  const double radius = 0.1 * static_cast<double>(norm(gauss_newton));
  for (bool bounded : {false, true}) {
    SCOPED_TRACE(bounded ? "bounded step's solve" : "plain solve");
    workspace w(2);
    double lambda = -1.0;
    const int code = bounded ? vrx_trnbc_subproblem(2, 3, full_j, full_f, radius, &w.work, w.l2.data(), 10, &lambda)
                             : vrx_trn_subproblem(2, 3, full_j, full_f, radius, &w.work, 1e-10, 10, &lambda);
    EXPECT_EQ(code, VRX_TRN_SUB_BOUNDARY);
    EXPECT_GT(lambda, 0.0);
    EXPECT_NEAR(norm(w.s), radius, 1e-14 * radius);
    const std::vector<long double> shifted = shifted_step(2, 3, full_j, full_f, lambda);
    EXPECT_NEAR(static_cast<double>(norm(shifted)), radius, 0.01 * radius);
    for (int i = 0; i < 2; ++i)
      EXPECT_NEAR(w.s[i], static_cast<double>(shifted[i] * radius / norm(shifted)), 1e-13 * radius) << i;
    // h carries the final lambda on its diagonal.
    EXPECT_NEAR(w.h[0], 5.0 + lambda, 1e-14 * (5.0 + lambda));
    EXPECT_NEAR(w.h[3], 11.0 + lambda, 1e-14 * (11.0 + lambda));
  }
}

// J^T J = diag(1, 0) does not factor: the shift from 1e-16 succeeds at once, the shifted
// step (-0.5, 0) lies inside the radius, and the hard case moves it onto the boundary.
TEST(TrustRegionSubproblem, SingularNormalMatrixTakesTheShiftAndTheHardCase) {
  const double j[4] = {1.0, 0.0, 0.0, 0.0}, f[2] = {0.5, 1.0};
  workspace w(2);
  double lambda = -1.0;
  EXPECT_EQ(vrx_trn_subproblem(2, 2, j, f, 2.0, &w.work, 1e-10, 10, &lambda), VRX_TRN_SUB_HARD_CASE);
  EXPECT_EQ(lambda, 1e-16);
  EXPECT_NEAR(norm(w.s), 2.0, 1e-12);
  // With a radius below the shifted step the Newton iteration brings it back to the
  // boundary instead.
  EXPECT_EQ(vrx_trn_subproblem(2, 2, j, f, 0.25, &w.work, 1e-10, 10, &lambda), VRX_TRN_SUB_BOUNDARY);
  EXPECT_NEAR(w.s[0], -0.25, 1e-14);
  EXPECT_EQ(w.s[1], 0.0);
  EXPECT_NEAR(lambda, 1.0, 0.03);  // 0.5 / (1 + lambda) within 1% of 0.25
}

// With every bound absent the scaling is 1, the back-off acts on e2 = 0, the cut step
// reduces the model at least as much as the Cauchy point, and the step is the scaled
// solve's own, bit for bit.
TEST(TrustRegionSubproblem, BoundedStepWithAbsentBoundsIsTheSolvesStep) {
  for (double radius : {100.0, 0.1}) {
    double x[2] = {0.3, -0.7};
    const double lw[2] = {-DBL_MAX, -DBL_MAX}, up[2] = {DBL_MAX, DBL_MAX};
    const double eps[6] = {1e-10, 1e-10, 1e-10, 1e-10, 1e-10, 1e-10};
    const vrx_int n = 2, m = 3, iter1 = 10, iter2 = 10;
    const double rs = 0.0;
    vrx_trn_handle* h = nullptr;
    ASSERT_EQ(vrx_trnbc_init(&h, &n, &m, x, lw, up, eps, &iter1, &iter2, &rs), VRX_TRN_SUCCESS);
    vrx_trnbc_state* st = static_cast<vrx_trnbc_state*>(h->state);
    st->radius = radius;
    double f[3] = {full_f[0], full_f[1], full_f[2]};
    const int code = vrx_trnbc_step(st, f, full_j, 0.1, 0.99995);

    workspace w(2);
    double lambda = -1.0;
    EXPECT_EQ(vrx_trnbc_subproblem(2, 3, full_j, full_f, radius, &w.work, w.l2.data(), 10, &lambda), code);
    EXPECT_EQ(st->s[0], w.s[0]);
    EXPECT_EQ(st->s[1], w.s[1]);
    EXPECT_EQ(st->lambda, lambda);
    EXPECT_EQ(x[0], 0.3);  // the step leaves the point to the pass
    vrx_trnbc_delete(&h);
  }
}

// Two nearly equal columns: a pass ends with lambda > 0 and a step 7% inside the radius.
// Nothing changes from then on, so the same pass repeats until the counter passes the
// limit: code 1, with one step for every limit past that point.
TEST(TrustRegionSubproblem, StepInsideTheRadiusWithPositiveLambdaRunsToTheLimit) {
  const double j[8] = {0x1.27cfabe7c49fp-3, 0x1.1877e5c3501e4p-3, -0x1.60c5f3b7751b3p-3, -0x1.80cb0d8afa4cp-1,
                       0x1.27cfabe7d26fp-3, 0x1.1877e5c36c555p-3, -0x1.60c5f3b7c6805p-3, -0x1.80cb0d8bc5baap-1};
  const double f[4] = {0x1.c62a87b541b3cp-1, 0x1.98a77fc28682cp+0, -0x1.d87b4beae82a3p-1, 0x1.1c4e1653f9c6dp-1};
  const double radius = 0x1.35d620a357dd3p+14;
  std::vector<double> first;
  double first_lambda = 0.0;
  for (vrx_int limit : {2, 10, 50}) {
    workspace w(2);
    double lambda = -1.0;
    EXPECT_EQ(vrx_trn_subproblem(2, 4, j, f, radius, &w.work, 1e-10, limit, &lambda), VRX_TRN_SUB_LIMIT) << limit;
    EXPECT_GT(lambda, 0.0);
    EXPECT_LT(norm(w.s), 0.99 * radius);
    if (first.empty()) {
      first = w.s, first_lambda = lambda;
    } else {
      EXPECT_EQ(w.s, first) << limit;
      EXPECT_EQ(lambda, first_lambda);
    }
  }
}
