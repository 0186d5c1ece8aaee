// The subproblem solve of the bounded step: Moré-Sorensen with lambda kept inside a
// bracket [lo, hi] that every pass narrows, h carrying the present lambda throughout.
#include <algorithm>
#include <cmath>
#include "blas/vrx_level12.h"
#include "lapack/vrx_lapack.h"
#include "optim/trn/trn_subproblem.h"

namespace {
constexpr vrx_int unit = 1;

struct bracket {
  double lo, hi;
  // A lambda inside the bracket, near its upper end, after a failed factorisation.
  double inner() const { return std::max(std::sqrt(lo * hi), hi + (lo - hi) * 0.01); }
};

// The starting bracket from the Gershgorin bounds and norms of h, and |g| / radius.
bracket start_bracket(vrx_int n, const double* h, double g_norm, double radius) {
  double smallest_diagonal = h[0], upper_disc = -HUGE_VAL, lower_disc = -HUGE_VAL, frobenius = 0.0, column_sum = 0.0;
  for (vrx_int i = 0; i < n; ++i) {
    double off = 0.0, sum = 0.0;
    for (vrx_int k = 0; k < n; ++k) {
      const double a = std::fabs(h[i * n + k]);
      if (k != i) off += a;
      sum += a;
      frobenius += a * a;
    }
    const double d = h[i * n + i];
    smallest_diagonal = std::min(smallest_diagonal, d);
    upper_disc = std::max(upper_disc, d + off);
    lower_disc = std::max(lower_disc, -d + off);
    column_sum = std::max(column_sum, sum);
  }
  const double norm = std::min(std::sqrt(frobenius), column_sum);
  const double a = g_norm / radius;
  bracket b;
  b.lo = std::max({0.0, -smallest_diagonal, a - std::min(upper_disc, norm)});
  b.hi = std::max(0.0, a + std::min(lower_disc, norm));
  return b;
}

// Moves the diagonal of h from lambda to `next`.
void move_shift(vrx_int n, double* h, double* lambda, double next) {
  vrx_trn_shift_diagonal(n, h, -*lambda);
  *lambda = next;
  vrx_trn_shift_diagonal(n, h, next);
}

// The hard case inside the radius: z from the factor, lo raised by the curvature along z,
// and s + tau z taken when that curvature is small beside s^T h s. Returns code 4 or 0.
int hard_case(vrx_int n, double radius, const vrx_trn_subproblem_work* w, double lambda, bracket* b, vrx_int* info) {
  *info = vrx_trn_null_direction(n, w->l, w->w1, w->w2);
  if (*info < 0) return 0;
  const double one = 1.0, zero = 0.0;
  const double* z = w->w2;  // the null direction is in w2 and w1; w1 becomes h z
  DGEMV("No transpose", &n, &n, &one, w->h, &n, z, &unit, &zero, w->w1, &unit);
  const double zh = DDOT(&n, z, &unit, w->w1, &unit);
  b->lo = std::max(b->lo, lambda - zh);
  const double a = DDOT(&n, w->s, &unit, z, &unit);
  const double ss = DDOT(&n, w->s, &unit, w->s, &unit);
  const double c2 = DDOT(&n, z, &unit, z, &unit);
  const double root = std::sqrt(a * a - 4.0 * c2 * (ss - radius * radius));
  const double tau = std::min((root - 2.0 * a) / (2.0 * c2), (-2.0 * a - root) / (2.0 * c2));
  DGEMV("No transpose", &n, &n, &one, w->h, &n, w->s, &unit, &zero, w->w1, &unit);
  const double shs = DDOT(&n, w->s, &unit, w->w1, &unit);
  if (zh * tau * tau < 0.02 * shs) {
    DAXPY(&n, &tau, z, &unit, w->s, &unit);
    return VRX_TRN_SUB_HARD_CASE;
  }
  return 0;
}
}  // namespace

int vrx_trnbc_subproblem(vrx_int n, vrx_int m, const double* fjac, const double* fvec, double radius,
                         const vrx_trn_subproblem_work* w, double* l2, vrx_int limit, double* lambda) {
  vrx_trn_normal_equations(n, m, fjac, fvec, w->h, w->g);
  const double g_norm = DNRM2(&n, w->g, &unit);
  const double minus_one = -1.0;
  DSCAL(&n, &minus_one, w->g, &unit);
  // A limit reached before any factorisation succeeds leaves the zero step.
  for (vrx_int i = 0; i < n; ++i) w->s[i] = 0.0;

  bracket b = start_bracket(n, w->h, g_norm, radius);
  double lam = std::max(g_norm / radius, b.lo);
  if (b.hi <= 1.01 * b.lo) b.hi = 1.01 * b.lo;
  lam = std::min(lam, b.hi);
  *lambda = 0.0;
  move_shift(n, w->h, lambda, lam);

  for (vrx_int pass = 0;; ++pass) {
    if (pass > limit) return VRX_TRN_SUB_LIMIT;
    if (vrx_trn_factor(n, w->h, w->l) != 0) {
      // h + lambda I is not positive definite: lambda is a lower bound.
      b.lo = std::max(b.lo, *lambda);
      move_shift(n, w->h, lambda, b.inner());
      continue;
    }
    vrx_int info = vrx_trn_cholesky_solve(n, w->l, w->g, w->w2, w->s);
    if (info < 0) return static_cast<int>(info);
    const double norm = DNRM2(&n, w->s, &unit);
    if (std::fabs(norm - radius) < 0.01 * radius) {
      const double scale = radius / norm;
      DSCAL(&n, &scale, w->s, &unit);
      return VRX_TRN_SUB_BOUNDARY;
    }
    if (norm >= radius) {
      b.lo = std::max(b.lo, *lambda);
    } else {
      if (*lambda == 0.0) return VRX_TRN_SUB_GAUSS_NEWTON;
      b.hi = std::min(b.hi, *lambda);
    }
    double q_norm = 0.0;
    info = vrx_trn_newton_norm(n, w->l, w->s, w->w1, w->w2, &q_norm);
    if (info < 0) return static_cast<int>(info);
    if (q_norm == 0.0) return VRX_TRN_SUB_BOUNDARY;  // s vanished: nothing to scale
    double next = *lambda + (norm * norm / (q_norm * q_norm)) * ((norm - radius) / radius);
    next = std::min(std::max(next, b.lo), b.hi);
    if (norm < radius) {
      const int code = hard_case(n, radius, w, *lambda, &b, &info);
      if (info < 0) return static_cast<int>(info);
      if (code != 0) return code;
    }
    if (norm <= radius) {
      // Try the Newton estimate on a copy before moving h to it.
      const vrx_int entries = n * n;
      DCOPY(&entries, w->h, &unit, l2, &unit);
      vrx_trn_shift_diagonal(n, l2, next - *lambda);
      vrx_int trial = 0;
      vrx_lapack_DPOTRF("Lower", &n, l2, &n, &trial);
      if (trial != 0) {
        b.lo = std::max(b.lo, next);
        move_shift(n, w->h, lambda, b.inner());
        continue;
      }
    }
    move_shift(n, w->h, lambda, next);
  }
}
