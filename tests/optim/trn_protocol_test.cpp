// Trust-region solvers, the protocol: argument tests of init, the requests a small
// problem leads to (derived by hand), each stop with what it reports, the first radius,
// the point handed to the caller, and a step that fails.
#include <gtest/gtest.h>


#include <cfloat>
#include <cmath>
#include <cstdint>
#include <vector>

#include "include/customvrx.h"
#include "optim/trn/vrx_trn.h"

namespace {
// A caller of one solver family, through the exported entries.
struct family {
  const char* name;
  bool bounded;
};
const family families[] = {{"dtrnlsp", false}, {"dtrnlspbc", true}};

const double no_lw[2] = {-DBL_MAX, -DBL_MAX}, no_up[2] = {DBL_MAX, DBL_MAX};

int init(const family& f, dtrnlsp_handle_t* h, int n, int m, double* x, const double* eps, int iter1, int iter2,
         double rs) {
  return f.bounded ? dtrnlspbc_init(h, &n, &m, x, no_lw, no_up, eps, &iter1, &iter2, &rs)
                   : dtrnlsp_init(h, &n, &m, x, eps, &iter1, &iter2, &rs);
}
int solve(const family& f, dtrnlsp_handle_t* h, double* fvec, double* fjac, int* request) {
  return f.bounded ? dtrnlspbc_solve(h, fvec, fjac, request) : dtrnlsp_solve(h, fvec, fjac, request);
}
struct report {
  int iter = -9, st_cr = -9;
  double r1 = -9, r2 = -9;
};
report get(const family& f, dtrnlsp_handle_t* h) {
  report r;
  const int status =
      f.bounded ? dtrnlspbc_get(h, &r.iter, &r.st_cr, &r.r1, &r.r2) : dtrnlsp_get(h, &r.iter, &r.st_cr, &r.r1, &r.r2);
  EXPECT_EQ(status, TRN_SUCCESS);
  return r;
}
void finish(const family& f, dtrnlsp_handle_t* h) {
  const dtrnlsp_handle_t kept = *h;
  EXPECT_EQ(f.bounded ? dtrnlspbc_delete(h) : dtrnlsp_delete(h), TRN_SUCCESS);
  EXPECT_EQ(*h, kept);  // the caller's pointer is left as it was
}
// The radius and step of the solver's record, read through the handle block.
double radius_of(const family& f, dtrnlsp_handle_t h) {
  void* state = static_cast<vrx_trn_handle*>(h)->state;
  return f.bounded ? static_cast<vrx_trnbc_state*>(state)->radius : static_cast<vrx_trn_state*>(state)->radius;
}
double ratio_of(const family& f, dtrnlsp_handle_t h) {
  void* state = static_cast<vrx_trn_handle*>(h)->state;
  return f.bounded ? static_cast<vrx_trnbc_state*>(state)->ratio : static_cast<vrx_trn_state*>(state)->ratio;
}

const double tight[6] = {1e-10, 1e-10, 1e-12, 1e-12, 1e-14, 1e-10};

// A one-residual problem F(x), F'(x) with a loop that records each request and the x it
// was made at.
typedef double (*scalar_fn)(double);
struct trace {
  std::vector<int> requests;
  std::vector<double> points;
  int status = 0;
  report end;
};
trace run_scalar(const family& f, scalar_fn value, scalar_fn slope, double x0, const double* eps = tight,
                 int iter1 = 100, double rs = 0.0) {
  trace t;
  double x = x0, fvec = 0.0, fjac = 0.0;
  dtrnlsp_handle_t h = nullptr;
  EXPECT_EQ(init(f, &h, 1, 1, &x, eps, iter1, 100, rs), TRN_SUCCESS);
  int request = 0;
  for (int calls = 0; calls < 1000; ++calls) {
    t.status = solve(f, &h, &fvec, &fjac, &request);
    if (t.status != TRN_SUCCESS) break;
    t.requests.push_back(request);
    t.points.push_back(x);
    if (request < 0) break;
    if (request == 1) fvec = value(x);
    if (request == 2) fjac = slope(x);
  }
  t.end = get(f, &h);
  finish(f, &h);
  return t;
}

double line(double x) { return x - 1.0; }
double one(double) { return 1.0; }
double arctan(double x) { return std::atan(x); }
double arctan_slope(double x) { return 1.0 / (1.0 + x * x); }
double zero_value(double) { return 0.0; }
double identity(double x) { return x; }
double constant(double) { return 1.0; }
double far_line(double x) { return x - 1000.0; }
double not_a_number(double) { return NAN; }
}  // namespace

TEST(TrustRegionInit, RefusesBadArgumentsAndLeavesTheHandle) {
  for (const family& f : families) {
    double x[2] = {1, 2};
    struct variant {
      int n, m, iter1, iter2;
      double rs;
      int bad_eps;  // index set to bad_value, or -1
      double bad_value;
    };
    const variant bad[] = {
        {0, 2, 10, 10, 1.0, -1, 0},        {2, 0, 10, 10, 1.0, -1, 0},   {-1, 2, 10, 10, 1.0, -1, 0},
        {2, 1, 10, 10, 1.0, -1, 0},        {2, 2, 0, 10, 1.0, -1, 0},    {2, 2, 10, 0, 1.0, -1, 0},
        {2, 2, 10, 10, -1e-300, -1, 0},    {2, 2, 10, 10, 100.5, -1, 0}, {2, 2, 10, 10, 1.0, 0, 0.0},
        {2, 2, 10, 10, 1.0, 1, -0.0},      {2, 2, 10, 10, 1.0, 2, -1.0}, {2, 2, 10, 10, 1.0, 3, 0.0},
        {2, 2, 10, 10, 1.0, 4, -HUGE_VAL}, {2, 2, 10, 10, 1.0, 5, 0.0},
    };
    for (const variant& v : bad) {
      double eps[6] = {1e-5, 1e-5, 1e-5, 1e-5, 1e-5, 1e-5};
      if (v.bad_eps >= 0) eps[v.bad_eps] = v.bad_value;
      dtrnlsp_handle_t h = reinterpret_cast<dtrnlsp_handle_t>(std::uintptr_t{0x5eed});
      EXPECT_EQ(init(f, &h, v.n, v.m, x, eps, v.iter1, v.iter2, v.rs), TRN_INVALID_OPTION)
          << f.name << " n " << v.n << " m " << v.m << " rs " << v.rs << " eps " << v.bad_eps;
      EXPECT_EQ(h, reinterpret_cast<dtrnlsp_handle_t>(std::uintptr_t{0x5eed}));
    }
  }
}

TEST(TrustRegionInit, AcceptsNaNTolerancesAndTheRadiusFactorsAtTheirLimits) {
  for (const family& f : families) {
    double x[2] = {1, 2};
    for (double rs : {100.0, 0.0, 1e-300, double(NAN)}) {
      double eps[6] = {NAN, 1e-5, NAN, 1e-5, 1e-5, NAN};
      dtrnlsp_handle_t h = nullptr;
      ASSERT_EQ(init(f, &h, 2, 3, x, eps, 1, 1, rs), TRN_SUCCESS) << f.name << " rs " << rs;
      ASSERT_NE(h, nullptr);
      const vrx_trn_handle* block = static_cast<vrx_trn_handle*>(h);
      EXPECT_EQ(block->n, 2);
      EXPECT_EQ(block->m, 3);
      const double* res_rec = f.bounded ? static_cast<vrx_trnbc_state*>(block->state)->res_rec
                                        : static_cast<vrx_trn_state*>(block->state)->res_rec;
      if (std::isnan(rs))
        EXPECT_TRUE(std::isnan(res_rec[VRX_TRN_RS]));
      else
        EXPECT_EQ(res_rec[VRX_TRN_RS], rs == 0.0 ? 100.0 : rs);
      // The report is readable at once.
      const report r = get(f, &h);
      EXPECT_EQ(r.iter, 0);
      EXPECT_EQ(r.st_cr, 0);
      EXPECT_EQ(r.r1, 0.0);
      EXPECT_EQ(r.r2, 0.0);
      finish(f, &h);
    }
  }
}

// F = x - 1 from 0: the first F, the Jacobian, the trial point 1, the ratio stage, and
// the stop at F = 0 (st_cr 3) at the next call.
TEST(TrustRegionRequests, LinearProblemByHand) {
  for (const family& f : families) {
    const trace t = run_scalar(f, line, one, 0.0);
    EXPECT_EQ(t.requests, (std::vector<int>{1, 2, 1, 0, -3})) << f.name;
    EXPECT_EQ(t.points, (std::vector<double>{0.0, 0.0, 1.0, 1.0, 1.0})) << f.name;
    EXPECT_EQ(t.end.st_cr, 3);
    EXPECT_EQ(t.end.iter, 1);
    EXPECT_EQ(t.end.r1, 1.0);
    EXPECT_EQ(t.end.r2, 0.0);
  }
}

// F = atan x from 2: the Gauss-Newton step -F/F' = -5.5357 lands at -3.5357 where |F| has
// grown: the ratio is 1 - (1.2952/1.1071)^2 = -0.3687, the step is rejected, the radius
// becomes q min(radius, |s|/0.1) with q = 0.5 (-1)/(-1 - 0.5 0.3687), and the next step is
// taken at once with the same Jacobian: 0 then 1, no 2 in between.
TEST(TrustRegionRequests, RejectedStepReusesTheJacobian) {
  const family& f = families[0];
  double x = 2.0, fvec = 0.0, fjac = 0.0;
  dtrnlsp_handle_t h = nullptr;
  ASSERT_EQ(init(f, &h, 1, 1, &x, tight, 100, 100, 0.0), TRN_SUCCESS);
  int request = 0;
  std::vector<int> requests;
  const double s = -std::atan(2.0) * 5.0;
  for (int k = 0; k < 7; ++k) {
    ASSERT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_SUCCESS);
    requests.push_back(request);
    if (k == 2) EXPECT_NEAR(x, 2.0 + s, 1e-14);  // the trial point
    if (k == 3) {
      const double actual = 1.0 - std::pow(std::atan(2.0 + s) / std::atan(2.0), 2);
      const double q = 0.5 * -1.0 / (-1.0 + 0.5 * actual);
      EXPECT_NEAR(radius_of(f, h), q * -s, 1e-12);
      EXPECT_EQ(ratio_of(f, h), -DBL_MAX);
      const double step = static_cast<vrx_trn_state*>(static_cast<vrx_trn_handle*>(h)->state)->s[0];
      EXPECT_EQ(x, (2.0 + step) - step);  // stepped back, not restored
    }
    if (k == 4) EXPECT_NEAR(x, 2.0 - radius_of(f, h), 0.01 * radius_of(f, h));  // a step to the boundary
    if (request == 1) fvec = std::atan(x);
    if (request == 2) fjac = arctan_slope(x);
  }
  EXPECT_EQ(requests, (std::vector<int>{1, 2, 1, 0, 1, 0, 2}));
  finish(f, &h);
  // The loop continues to the minimum at 0.
  for (const family& g : families) {
    const trace t = run_scalar(g, arctan, arctan_slope, 2.0);
    EXPECT_EQ(t.end.st_cr, 3) << g.name;
    EXPECT_LE(std::fabs(t.points.back()), 1e-10);
    EXPECT_EQ(t.requests.back(), -3);
  }
}

TEST(TrustRegionStops, EachCriterionWithItsReport) {
  for (const family& f : families) {
    // 3: a start at F = 0 ends after one evaluation, before any Jacobian.
    trace t = run_scalar(f, zero_value, one, 0.5);
    EXPECT_EQ(t.requests, (std::vector<int>{1, -3})) << f.name;
    EXPECT_EQ(t.end.st_cr, 3);
    EXPECT_EQ(t.end.r1, 0.0);
    EXPECT_EQ(t.end.r2, 0.0);
    // 4: an all-zero Jacobian; r2 is the norm at the start.
    t = run_scalar(f, constant, zero_value, 0.5);
    EXPECT_EQ(t.requests, (std::vector<int>{1, 2, -4})) << f.name;
    EXPECT_EQ(t.end.r1, 1.0);
    EXPECT_EQ(t.end.r2, 1.0);
    // 5: the first step of atan from 2 is 5.54 long.
    double eps[6] = {1e-10, 1e-10, 1e-12, 5.6, 1e-14, 1e-10};
    t = run_scalar(f, arctan, arctan_slope, 2.0, eps);
    EXPECT_EQ(t.requests, (std::vector<int>{1, 2, -5})) << f.name;
    EXPECT_EQ(t.end.r2, std::atan(2.0));
    EXPECT_EQ(t.points.back(), 2.0);  // no trial point was made
    eps[3] = 5.5;
    t = run_scalar(f, arctan, arctan_slope, 2.0, eps);
    EXPECT_EQ(t.requests[2], 1) << f.name;
    // 2: the radius after the rejected first step falls below eps[0] (the first radius
    // is rs, as rs |D x| = 40 is below eps[0]).
    const double big_radius[6] = {1000.0, 1e-10, 1e-12, 1e-12, 1e-14, 1e-10};
    t = run_scalar(f, arctan, arctan_slope, 2.0, big_radius);
    EXPECT_EQ(t.requests, (std::vector<int>{1, 2, 1, 0, -2})) << f.name;
    EXPECT_EQ(t.end.r2, std::atan(2.0));
    // 1: iter1 = 1 stops at the call after the first accepted step.
    t = run_scalar(f, arctan, arctan_slope, 2.0, tight, 1);
    EXPECT_EQ(t.requests, (std::vector<int>{1, 2, 1, 0, 1, 0, -1})) << f.name;
    EXPECT_EQ(t.end.iter, 1);
    EXPECT_EQ(t.end.r2, std::fabs(std::atan(t.points.back())));
  }
}

// Stop 6 compares |F| with |F - J s|: for F = (x - 1, 1), J = (1, 0) at x = 0 the step is
// 1, |F| = sqrt 2 and |F - J s| = sqrt 5 (|F + J s| would be 1).
TEST(TrustRegionStops, PredictedChangeUsesFMinusJs) {
  const double gap = std::sqrt(5.0) - std::sqrt(2.0);
  for (const family& f : families) {
    for (double eps4 : {gap * 0.999, gap * 1.001}) {
      double eps[6] = {1e-10, 1e-10, 1e-12, 1e-12, eps4, 1e-10};
      double x = 0.0, fvec[2], fjac[2];
      dtrnlsp_handle_t h = nullptr;
      ASSERT_EQ(init(f, &h, 1, 2, &x, eps, 100, 100, 0.0), TRN_SUCCESS);
      int request = 0;
      std::vector<int> requests;
      for (int k = 0; k < 3; ++k) {
        ASSERT_EQ(solve(f, &h, fvec, fjac, &request), TRN_SUCCESS);
        requests.push_back(request);
        fvec[0] = x - 1.0, fvec[1] = 1.0, fjac[0] = 1.0, fjac[1] = 0.0;
      }
      const std::vector<int> expected = eps4 < gap ? std::vector<int>{1, 2, 1} : std::vector<int>{1, 2, -6};
      EXPECT_EQ(requests, expected) << f.name << " " << eps4;
      if (eps4 >= gap) EXPECT_EQ(get(f, &h).r2, std::sqrt(2.0));
      finish(f, &h);
    }
  }
}

TEST(TrustRegionStops, CallersOwnStopIsNotTurnedNegative) {
  for (const family& f : families) {
    for (int own : {-1, -2}) {
      double x = 2.0, fvec = 0.0, fjac = 0.0;
      dtrnlsp_handle_t h = nullptr;
      ASSERT_EQ(init(f, &h, 1, 1, &x, tight, 100, 100, 0.0), TRN_SUCCESS);
      int request = 0;
      ASSERT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_SUCCESS);
      ASSERT_EQ(request, 1);
      request = own;
      EXPECT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_SUCCESS);
      EXPECT_EQ(request, 0);
      EXPECT_EQ(get(f, &h).st_cr, own);
      EXPECT_EQ(x, 2.0);
      finish(f, &h);
    }
  }
}

// The first radius is rs |D x| with D the Jacobian's column norms, or rs itself when that
// is not above eps[0]; the first trial step of F = c (x - 1000) reaches it.
TEST(TrustRegionRadius, FirstRadiusFromTheScaledStart) {
  struct start {
    double x0, slope, rs, trial;
  };
  const start cases[] = {{0.0, 1.0, 0.0, 100.0},  // x = 0: rs, 0 meaning 100
                         {0.0, 1.0, 50.0, 50.0},
                         {3.0, 2.0, 100.0, 3.0 + 100.0 * 2.0 * 3.0},
                         {3.0, 0.0, 100.0, 0.0}};  // a zero column: d = 1, then stop 4
  for (const family& f : families) {
    for (const start& c : cases) {
      double x = c.x0, fvec = 0.0, fjac = 0.0;
      dtrnlsp_handle_t h = nullptr;
      ASSERT_EQ(init(f, &h, 1, 1, &x, tight, 100, 100, c.rs), TRN_SUCCESS);
      int request = 0;
      for (int k = 0; k < 3 && request >= 0; ++k) {
        ASSERT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_SUCCESS);
        fvec = c.slope * (x - 1000.0) + (c.slope == 0.0 ? 1.0 : 0.0);
        fjac = c.slope;
      }
      if (c.slope == 0.0) {
        EXPECT_EQ(request, -4);
        EXPECT_EQ(radius_of(f, h), c.rs * 3.0);
      } else {
        EXPECT_EQ(request, 1);
        EXPECT_NEAR(x, c.trial, 1e-12 * c.trial) << f.name << " rs " << c.rs;
        EXPECT_NEAR(radius_of(f, h), c.trial - c.x0, 1e-12 * c.trial);
      }
      finish(f, &h);
    }
  }
}

// The accepted point is ((x + s) - s) + s, as the caller's x is stepped forward for the
// trial, back for the ratio and forward again.
TEST(TrustRegionRequests, AcceptedPointIsSteppedThreeTimes) {
  const family& f = families[0];
  const double x0 = 0.1, target = 0.7;
  double x = x0, fvec = 0.0, fjac = 1.0;
  dtrnlsp_handle_t h = nullptr;
  ASSERT_EQ(init(f, &h, 1, 1, &x, tight, 100, 100, 0.0), TRN_SUCCESS);
  int request = 0;
  for (int k = 0; k < 4; ++k) {
    ASSERT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_SUCCESS);
    fvec = x - target;
  }
  ASSERT_EQ(request, 0);
  const double s = static_cast<vrx_trn_state*>(static_cast<vrx_trn_handle*>(h)->state)->s[0];
  EXPECT_EQ(s, target - x0);
  EXPECT_EQ(x, ((x0 + s) - s) + s);
  finish(f, &h);
}

// A Jacobian with a NaN never factors, whatever the shift: the step fails with st_cr -4,
// the request as it came and status 1502, instead of shifting forever.
TEST(TrustRegionStops, FailedStepKeepsTheRequest) {
  const family& f = families[0];
  double x = 0.5, fvec = 0.0, fjac = 0.0;
  dtrnlsp_handle_t h = nullptr;
  ASSERT_EQ(init(f, &h, 1, 1, &x, tight, 100, 100, 0.0), TRN_SUCCESS);
  int request = 0;
  ASSERT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_SUCCESS);
  fvec = 1.0;
  ASSERT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_SUCCESS);
  ASSERT_EQ(request, 2);
  fjac = not_a_number(x);
  EXPECT_EQ(solve(f, &h, &fvec, &fjac, &request), TRN_INVALID_OPTION);
  EXPECT_EQ(request, 2);
  const report r = get(f, &h);
  EXPECT_EQ(r.st_cr, -4);
  EXPECT_EQ(r.iter, 0);
  EXPECT_EQ(x, 0.5);
  finish(f, &h);
}
