// The bounded step: affine scaling by the distance to the bound the gradient points at, the
// trust-region step in the scaled space cut back into the box, the Cauchy step cut the same
// way, and a blend of the two when the cut step reduces the model too little.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "optim/trn/trn_records.h"
#include "optim/trn/trn_subproblem.h"
#include "optim/trn/trnbc_step.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int unit = 1;
constexpr double bound_limit = DBL_MAX;  // a bound at +-this is absent
constexpr double tiny_distance = 1e-18;
constexpr int step_vector_alignment = 128;
constexpr vrx_int subproblem_passes = 10;

// The twelve vectors a step takes and gives back.
enum { GRAD, V, D, B, T_M, CAUCHY, E1, E2, JE2_M, Q, U, MODEL_M, STEP_VECTORS };

// Scaling of unknown i by the distance to the bound that the gradient points at; each
// rule overrides the one before.
double scaling(double g, double x, double lw, double up) {
  double v = 1.0;
  if (g < 0.0 && up < bound_limit) v = x == up ? -tiny_distance : x - up;
  if (g > 0.0 && lw > -bound_limit) v = x == lw ? tiny_distance : x - lw;
  if (g == 0.0 && (lw > -bound_limit || up < bound_limit))
    v = x == lw ? tiny_distance : x == up ? tiny_distance : std::min(x - lw, -(x - up));
  if (g < 0.0 && up == bound_limit) v = -1.0;
  if (g > 0.0 && lw == -bound_limit) v = 1.0;
  if (g == 0.0 && lw == -bound_limit && up == bound_limit) v = 1.0;
  return v;
}

// jw := J with column i multiplied by 1/d[i]^power.
void scale_columns(vrx_int m, vrx_int n, const double* fjac, const double* d, int power, double* jw) {
  for (vrx_int i = 0; i < n; ++i) {
    const double factor = power == 1 ? 1.0 / d[i] : 1.0 / (d[i] * d[i]);
    const double* from = fjac + i * m;
    double* to = jw + i * m;
    for (vrx_int k = 0; k < m; ++k) to[k] = from[k] * factor;
  }
}

// x^T y of two m-vectors as a 1 x 1 product.
double row_product(vrx_int m, const double* x, const double* y) {
  const double one = 1.0, zero = 0.0;
  double result = 0.0;
  vrx_blas_dgemm("No transpose", "No transpose", &unit, &unit, &m, &one, x, &unit, y, &m, &zero, &result, &unit);
  return result;
}

// y^T := x^T J^T, the row form of J x.
void row_times_transpose(vrx_int m, vrx_int n, const double* fjac, const double* x, double* y) {
  const double one = 1.0, zero = 0.0;
  vrx_blas_dgemm("No transpose", "Transpose", &unit, &m, &n, &one, x, &unit, fjac, &m, &zero, y, &unit);
}

// Fraction of c that reaches the first bound from x; a bound at x counts as 1e-18 away.
double boundary_fraction(vrx_int n, const double* x, const double* c, const double* lw, const double* up) {
  double tau = bound_limit;
  for (vrx_int i = 0; i < n; ++i) {
    if (c[i] == 0.0) continue;  // counts as the bound limit
    const double to_up = up[i] == x[i] ? (up[i] < 0.0 ? -tiny_distance : tiny_distance) : up[i] - x[i];
    const double to_lw = lw[i] == x[i] ? -tiny_distance : lw[i] - x[i];
    tau = std::min(tau, std::max(to_up / c[i], to_lw / c[i]));
  }
  return tau;
}
}  // namespace

int vrx_trnbc_step(vrx_trnbc_state* st, const double* fvec, const double* fjac, double theta, double cut) {
  const vrx_int n = st->n, m = st->m;
  const double *x = st->x, *lw = st->lw, *up = st->up;
  const double radius = st->radius;
  const std::size_t vec_n = n * sizeof(double), vec_m = m * sizeof(double);
  const std::size_t bytes[STEP_VECTORS] = {vec_n, vec_n, vec_n, vec_n, vec_m, vec_n,
                                           vec_n, vec_n, vec_m, vec_n, vec_n, vec_m};
  void* blocks[STEP_VECTORS];
  const int taken = vrx_trn_take_blocks(blocks, bytes, STEP_VECTORS, step_vector_alignment);
  if (taken < STEP_VECTORS) {
    vrx_trn_free_blocks(blocks, 0, taken);
    return -1;
  }
  double* vec[STEP_VECTORS];
  for (int i = 0; i < STEP_VECTORS; ++i) vec[i] = static_cast<double*>(blocks[i]);
  double *grad = vec[GRAD], *d = vec[D], *c = vec[CAUCHY], *e1 = vec[E1], *e2 = vec[E2], *q = vec[Q], *u = vec[U];
  double* s = st->s;
  const double one = 1.0, zero = 0.0;

  // Scaling: d = 1 / sqrt|v|.
  DGEMV("Transpose", &m, &n, &one, fjac, &m, fvec, &unit, &zero, grad, &unit);
  for (vrx_int i = 0; i < n; ++i) {
    vec[V][i] = scaling(grad[i], x[i], lw[i], up[i]);
    d[i] = 1.0 / std::sqrt(std::fabs(vec[V][i]));
  }

  // The trust-region step in the scaled space, back in x.
  scale_columns(m, n, fjac, d, 1, st->jw);
  const vrx_trn_subproblem_work work = {s, st->g, st->w1, st->w2, st->h, st->l};
  const int code = vrx_trnbc_subproblem(n, m, st->jw, fvec, radius, &work, st->l2, subproblem_passes, &st->lambda);
  if (code < 0) {
    vrx_trn_free_blocks(blocks, 0, STEP_VECTORS);
    return code;
  }
  for (vrx_int i = 0; i < n; ++i) s[i] /= d[i];

  // The Cauchy step: steepest descent in the scaled space up to the model's minimum or
  // the radius.
  scale_columns(m, n, fjac, d, 1, st->jw);
  double *b = vec[B], *t = vec[T_M];
  DGEMV("Transpose", &m, &n, &one, st->jw, &m, fvec, &unit, &zero, b, &unit);
  DGEMV("No transpose", &m, &n, &one, st->jw, &m, b, &unit, &zero, t, &unit);
  const double bb = DDOT(&n, b, &unit, b, &unit), tt = DDOT(&m, t, &unit, t, &unit);
  const double alpha = (bb != 0.0 || tt != 0.0) ? std::min(bb / tt, radius / std::sqrt(bb)) : 0.0;
  scale_columns(m, n, fjac, d, 2, st->jw);
  const double minus_alpha = -alpha;
  DGEMV("Transpose", &m, &n, &minus_alpha, st->jw, &m, fvec, &unit, &zero, c, &unit);

  // The step cut to the box: e1 reaches the box, e2 is the part that lies on a bound.
  for (vrx_int i = 0; i < n; ++i) {
    const double y = x[i] + s[i];
    e1[i] = s[i];
    e2[i] = 0.0;
    if (lw[i] >= y) e1[i] = e2[i] = lw[i] - x[i];
    if (lw[i] < y && y < up[i]) {
      e1[i] = s[i];
      e2[i] = 0.0;
    }
    if (y >= up[i]) e1[i] = e2[i] = up[i] - x[i];
  }
  // Back off from the bounds along e2, by the model's best fraction kept in [0.0005, 0.05].
  double *je2 = vec[JE2_M], *model = vec[MODEL_M];
  row_times_transpose(m, n, fjac, e2, je2);
  row_times_transpose(m, n, fjac, e1, model);
  const double c3 = row_product(m, je2, je2);
  double r = std::fabs(c3) <= tiny_distance ? 0.0 : (row_product(m, fvec, je2) + row_product(m, model, je2)) / c3;
  r = std::max(0.0005, std::min(r, 0.05));
  for (vrx_int i = 0; i < n; ++i) q[i] = e1[i] - r * e2[i];

  // The Cauchy point, cut short of the box.
  DCOPY(&n, c, &unit, u, &unit);
  bool leaves = false;
  for (vrx_int i = 0; i < n; ++i) leaves = leaves || x[i] + c[i] < lw[i] || x[i] + c[i] > up[i];
  if (leaves) {
    const double tau = boundary_fraction(n, x, c, lw, up);
    if (tau <= 1.0) {
      const double factor = tau * cut;
      for (vrx_int i = 0; i < n; ++i) u[i] = factor * c[i];
    }
  }

  // Compare the model's reduction along q with the Cauchy point's.
  double *p_m = t, *q_m = je2;  // J u and J q
  DGEMV("No transpose", &m, &n, &one, fjac, &m, u, &unit, &zero, p_m, &unit);
  DGEMV("No transpose", &m, &n, &one, fjac, &m, q, &unit, &zero, q_m, &unit);
  const double f0 = 0.5 * DDOT(&m, fvec, &unit, fvec, &unit);
  for (vrx_int k = 0; k < m; ++k) model[k] = fvec[k] + q_m[k];
  const double reduction_q = f0 - 0.5 * DDOT(&m, model, &unit, model, &unit);
  for (vrx_int k = 0; k < m; ++k) model[k] = fvec[k] + p_m[k];
  const double reduction_c = f0 - 0.5 * DDOT(&m, model, &unit, model, &unit);
  const double rho = reduction_c != 0.0 ? reduction_q / reduction_c : theta - 1.0;

  // Too little: blend toward the Cauchy point until the reduction is theta times its own.
  double w = 0.0;
  if (!(rho >= theta)) {
    double e = 0.0, y = 0.0;
    for (vrx_int k = 0; k < m; ++k) {
      const double rk = p_m[k] - q_m[k];
      model[k] = rk;
      e += fvec[k] * (q_m[k] - theta * p_m[k]);
      y += -(fvec[k] + q_m[k]) * rk;
    }
    const double h2 = 0.5 * (DDOT(&m, q_m, &unit, q_m, &unit) - DDOT(&m, p_m, &unit, p_m, &unit) * theta);
    const double z2 = DDOT(&m, model, &unit, model, &unit);
    const double root = std::sqrt(y * y - (h2 + e) * 2.0 * z2);
    w = (y - root) / (z2 == 0.0 ? tiny_distance : z2);
  }
  for (vrx_int i = 0; i < n; ++i) s[i] = w * u[i] + (1.0 - w) * q[i];

  vrx_trn_free_blocks(blocks, 0, STEP_VECTORS);
  return code;
}
