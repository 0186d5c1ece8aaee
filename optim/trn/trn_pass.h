// One pass of the reverse-communication loop, shared by both solver families: the
// incoming request, the stops, the first radius, the step (the family's own), the trial
// point and the ratio stage with the radius update. The caller maps stops to requests.
#pragma once
#include <algorithm>
#include <cmath>
#include "blas/vrx_level12.h"
#include "optim/trn/vrx_trn.h"

namespace vrx_trn_detail {
constexpr vrx_int unit = 1;

// Ends the pass on a stop; r2 is given by the stop.
template <class State>
void stop(State* st, vrx_int* request, vrx_int criterion, double r2) {
  st->iter_rec[VRX_TRN_ST_CR] = criterion;
  st->res_rec[VRX_TRN_R2] = r2;
  st->iter_rec[VRX_TRN_FINAL_COUNT] = st->iteration;
  *request = 0;
}

template <class State>
void ask(State* st, vrx_int* request, vrx_int what) {
  st->iter_rec[VRX_TRN_ST_CR] = 0;
  *request = what;
}

// Step 1 of the ratio stage back to the current point, then the ratio of actual to
// predicted reduction, the radius update and the acceptance.
template <class State>
void ratio_stage(State* st, double* fvec, vrx_int* request) {
  const vrx_int n = st->n, m = st->m;
  const double minus_one = -1.0, plus_one = 1.0;
  DAXPY(&n, &minus_one, st->s, &unit, st->x, &unit);
  st->iter_rec[VRX_TRN_ST_CR] = 0;
  const double fn1 = DNRM2(&m, fvec, &unit);
  DCOPY(&m, fvec, &unit, st->work_m, &unit);
  DCOPY(&m, st->f_save, &unit, fvec, &unit);

  const double fn = st->f_norm;
  const double t1 = std::sqrt(st->lambda) * st->step_norm / fn;
  const double t2 = st->js_norm / fn;
  const double actual = fn > 0.1 * fn1 ? 1.0 - (fn1 / fn) * (fn1 / fn) : -1.0;
  const double predicted = t2 * t2 + 2.0 * t1 * t1;
  const double direction = -(t1 * t1 + t2 * t2);
  const double ratio = actual / predicted;  // no guard: a zero divisor gives an infinity or NaN

  if (ratio <= 0.25) {
    double q = actual >= 0.0 ? 0.5 : 0.5 * direction / (direction + 0.5 * actual);
    if (0.1 * fn1 >= fn || q < 0.1) q = 0.1;
    st->radius = q * std::min(st->radius, st->step_norm / 0.1);
  } else if (st->lambda == 0.0 && ratio >= 0.25) {
    st->radius = 2.0 * st->step_norm;
  }

  if (ratio >= st->accept_ratio) {
    st->ratio = ratio;
    DAXPY(&n, &plus_one, st->s, &unit, st->x, &unit);
    DCOPY(&m, st->work_m, &unit, fvec, &unit);
    st->iteration += 1;
    st->f_norm = fn1;
    st->iter_rec[VRX_TRN_FINAL_COUNT] = st->iteration;
  } else {
    st->ratio = vrx_trn_rejected_mark;  // a NaN ratio lands here too
  }
  if (st->first == 1) st->first = 0;
  *request = 0;
}

// Steps 9 to 15: the first radius, the empty-column stop, the step, stops 5 and 6, and
// the trial point. `step` fills s and lambda and returns a code, negative on failure.
template <class State, class Step>
void take_step(State* st, double* fvec, double* fjac, vrx_int* request, Step&& step) {
  const vrx_int n = st->n, m = st->m;
  const double* eps = st->eps;
  const double rs = st->res_rec[VRX_TRN_RS];
  if (st->first == 1) {
    for (vrx_int j = 0; j < n; ++j) {
      double d = DNRM2(&m, fjac + j * m, &unit);
      if (d <= 0.0) d = 1.0;
      st->w2[j] = d * st->x[j];
    }
    const double t = rs * DNRM2(&n, st->w2, &unit);
    st->radius = eps[0] >= t ? rs : t;
  }
  vrx_int empty = 0;
  for (vrx_int j = 0; j < n; ++j)
    if (DNRM2(&m, fjac + j * m, &unit) < eps[2]) ++empty;
  if (empty == n) return stop(st, request, 4, st->f_norm);

  if (step(st, fvec, fjac) < 0) {
    st->iter_rec[VRX_TRN_FINAL_COUNT] = 0;
    st->iter_rec[VRX_TRN_ST_CR] = -4;
    return;  // the request stays as it came in
  }
  st->step_norm = DNRM2(&n, st->s, &unit);
  if (st->first == 1) st->radius = std::min(st->radius, st->step_norm);
  if (eps[3] >= st->step_norm) return stop(st, request, 5, st->f_norm);

  const double one = 1.0, zero = 0.0;
  DGEMV("No transpose", &m, &n, &one, fjac, &m, st->s, &unit, &zero, st->work_m, &unit);
  st->js_norm = DNRM2(&m, st->work_m, &unit);
  // F - J s, although the model's residual at the step is F + J s: the test is kept so.
  for (vrx_int i = 0; i < m; ++i) st->f_save[i] = fvec[i] - st->work_m[i];
  if (eps[4] >= std::fabs(st->f_norm - DNRM2(&m, st->f_save, &unit))) return stop(st, request, 6, st->f_norm);

  DAXPY(&n, &one, st->s, &unit, st->x, &unit);
  DCOPY(&m, fvec, &unit, st->f_save, &unit);
  st->phase = 2;
  ask(st, request, 1);
}
}  // namespace vrx_trn_detail

// One call of the solve: acts on the incoming request and leaves the next one (0, 1, 2)
// in *request, or 0 with st_cr set on a stop.
template <class State, class Step>
void vrx_trn_pass(State* st, double* fvec, double* fjac, vrx_int* request, Step&& step) {
  using namespace vrx_trn_detail;
  const vrx_int m = st->m;
  const double* eps = st->eps;
  const vrx_int incoming = *request;
  if (incoming == 1 && st->phase == 2) return ratio_stage(st, fvec, request);
  if (incoming == 2) {
    st->iter_rec[VRX_TRN_ST_CR] = 0;
    return take_step(st, fvec, fjac, request, step);
  }
  if (incoming == -1 || incoming == -2) {
    st->iter_rec[VRX_TRN_ST_CR] = incoming;
    st->iter_rec[VRX_TRN_FINAL_COUNT] = st->iteration;
    *request = 0;
    return;
  }
  if (incoming == 1 && st->phase == 1) {
    st->iter_rec[VRX_TRN_ST_CR] = 0;
    if (st->first == 1) {
      st->f_norm = DNRM2(&m, fvec, &unit);
      st->res_rec[VRX_TRN_R1] = st->f_norm;
    }
  } else {
    if (st->first == 1) {
      st->lambda = 0.0;
      st->radius = 1.0;
      st->accept_ratio = 0.0001;
      st->ratio_high = 0.99;
      st->ratio_low = 0.25;
      st->grow_factor = 2.0;
      st->ratio = 0.0;
      st->iteration = 0;
    }
    if (st->iteration >= st->iter_rec[VRX_TRN_ITER1]) return stop(st, request, 1, DNRM2(&m, fvec, &unit));
    if (eps[0] > st->radius && st->first == 0) return stop(st, request, 2, DNRM2(&m, fvec, &unit));
    if (st->first == 1) {
      st->phase = 1;
      return ask(st, request, 1);
    }
  }
  if (eps[1] >= st->f_norm) return stop(st, request, 3, DNRM2(&m, fvec, &unit));
  if (st->ratio != vrx_trn_rejected_mark) return ask(st, request, 2);
  // After a rejection the Jacobian has not changed: the step is taken again with it.
  take_step(st, fvec, fjac, request, step);
}

// The request and status the solve hands back: a stop by a criterion turns the request
// negative. st_cr -3 fails, and -4 (a failed step) where `step_failure_fails` says so.
template <class State>
int vrx_trn_finish(const State* st, vrx_int* request, bool step_failure_fails) {
  const vrx_int criterion = st->iter_rec[VRX_TRN_ST_CR];
  if (criterion >= 1) *request = -criterion;
  if (criterion == -3 || (step_failure_fails && criterion == -4)) return VRX_TRN_INVALID_OPTION;
  return VRX_TRN_SUCCESS;
}
