// The Moré-Sorensen solve of the solver without bounds. Every solve starts from lambda = 0;
// a pass costs one Cholesky factorisation, J^T J is formed once.
#include <algorithm>
#include <cmath>
#include "blas/vrx_level12.h"
#include "optim/trn/trn_subproblem.h"

namespace {
constexpr vrx_int unit = 1;

// Newton's update of lambda on the secular equation at a step of norm `norm` > radius,
// with h moved from the old lambda to the new one. Returns 0 to go on, code 3 when
// L^-1 s vanishes, or the triangular solve's negative info.
int newton_update(vrx_int n, double norm, double radius, const vrx_trn_subproblem_work* w, double* lambda) {
  if (*lambda != 0.0) vrx_trn_shift_diagonal(n, w->h, -*lambda);
  double q_norm = 0.0;
  const vrx_int info = vrx_trn_newton_norm(n, w->l, w->s, w->w1, w->w2, &q_norm);
  if (info < 0) return static_cast<int>(info);
  if (q_norm == 0.0) return VRX_TRN_SUB_BOUNDARY;
  *lambda += (norm * norm / (q_norm * q_norm)) * ((norm - radius) / radius);
  vrx_trn_shift_diagonal(n, w->h, *lambda);
  return 0;
}

// The hard case at a step inside the radius: s + tau z on the boundary along the null
// direction estimate z. Returns code 4 with s replaced, 0 when the candidate misses the
// boundary by 2% or more (s kept), or the triangular solve's negative info.
int hard_case(vrx_int n, double radius, const vrx_trn_subproblem_work* w) {
  const vrx_int info = vrx_trn_null_direction(n, w->l, w->w1, w->w2);
  if (info < 0) return static_cast<int>(info);
  double* z = w->w1;
  const double a = DDOT(&n, w->s, &unit, z, &unit);
  const double b = DDOT(&n, w->s, &unit, w->s, &unit);
  const double c2 = DDOT(&n, z, &unit, z, &unit);
  const double root = std::sqrt(4.0 * (a * a - (b - radius * radius) * c2));
  const double tau1 = ((root - a) - a) / (2.0 * c2);
  const double tau2 = (-2.0 * a - root) / (2.0 * c2);
  const double tau = std::min(tau1, tau2);
  // p = s + tau z formed in s, then moved to w1 with s restored.
  DCOPY(&n, w->s, &unit, w->w2, &unit);
  DAXPY(&n, &tau, z, &unit, w->s, &unit);
  DCOPY(&n, w->s, &unit, w->w1, &unit);
  DCOPY(&n, w->w2, &unit, w->s, &unit);
  if (0.02 * radius > std::fabs(DNRM2(&n, w->w1, &unit) - radius)) {
    DCOPY(&n, w->w1, &unit, w->s, &unit);
    return VRX_TRN_SUB_HARD_CASE;
  }
  return 0;
}
}  // namespace

int vrx_trn_subproblem(vrx_int n, vrx_int m, const double* fjac, const double* fvec, double radius,
                       const vrx_trn_subproblem_work* w, double /*tol*/, vrx_int maxit, double* lambda) {
  vrx_trn_normal_equations(n, m, fjac, fvec, w->h, w->g);
  const double minus_one = -1.0;
  DSCAL(&n, &minus_one, w->g, &unit);
  *lambda = 0.0;
  for (vrx_int pass = 0;; ++pass) {
    if (pass > maxit) return VRX_TRN_SUB_LIMIT;
    if (vrx_trn_factor(n, w->h, w->l) == 0) {
      const vrx_int info = vrx_trn_cholesky_solve(n, w->l, w->g, w->w2, w->s);
      if (info < 0) return static_cast<int>(info);
      const double norm = DNRM2(&n, w->s, &unit);
      if (0.01 * radius > std::fabs(norm - radius)) {
        const double scale = radius / norm;
        DSCAL(&n, &scale, w->s, &unit);
        return VRX_TRN_SUB_BOUNDARY;
      }
      if (norm < radius && *lambda == 0.0) return VRX_TRN_SUB_GAUSS_NEWTON;
      // A step inside the radius with lambda > 0 repeats this pass unchanged until the limit.
      if (norm > radius) {
        const int code = newton_update(n, norm, radius, w, lambda);
        if (code != 0) return code;
      }
      continue;
    }
    // Not positive definite: shift the diagonal from 1e-16 up by factors of 10 until it is.
    double t = 1e-16;
    for (;;) {
      if (*lambda != 0.0) vrx_trn_shift_diagonal(n, w->h, -*lambda);
      vrx_trn_shift_diagonal(n, w->h, t);
      if (vrx_trn_factor(n, w->h, w->l) == 0) break;
      *lambda = t;
      t *= 10.0;
      // J^T J with an infinity or NaN never factors: end rather than loop forever.
      if (!std::isfinite(t)) return vrx_trn_sub_shift_overflow;
    }
    const vrx_int info = vrx_trn_cholesky_solve(n, w->l, w->g, w->w2, w->s);
    if (info < 0) return static_cast<int>(info);
    const double norm = DNRM2(&n, w->s, &unit);
    *lambda = t;
    if (norm > radius) {
      const int code = newton_update(n, norm, radius, w, lambda);
      if (code != 0) return code;
    } else if (norm < radius) {
      const int code = hard_case(n, radius, w);
      if (code != 0) return code;
    }
  }
}
