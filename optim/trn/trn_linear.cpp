// Linear algebra shared by the subproblem solves: the normal equations, factorisations,
// solves with the factor and the hard case's null-direction estimate.
#include <algorithm>
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "lapack/vrx_lapack.h"
#include "optim/trn/trn_subproblem.h"

namespace {
constexpr vrx_int unit = 1;
constexpr double one = 1.0, zero = 0.0;
}  // namespace

void vrx_trn_normal_equations(vrx_int n, vrx_int m, const double* fjac, const double* fvec, double* h, double* g) {
  vrx_blas_dgemm("Transpose", "No transpose", &n, &n, &m, &one, fjac, &m, fjac, &m, &zero, h, &n);
  DGEMV("Transpose", &m, &n, &one, fjac, &m, fvec, &unit, &zero, g, &unit);
}

void vrx_trn_shift_diagonal(vrx_int n, double* a, double shift) {
  for (vrx_int j = 0; j < n; ++j) a[j * n + j] += shift;
}

vrx_int vrx_trn_factor(vrx_int n, const double* h, double* l) {
  const vrx_int entries = n * n;
  DCOPY(&entries, h, &unit, l, &unit);
  vrx_int info = 0;
  vrx_lapack_DPOTRF("Lower", &n, l, &n, &info);
  return info;
}

vrx_int vrx_trn_cholesky_solve(vrx_int n, const double* l, double* g, double* save, double* s) {
  DCOPY(&n, g, &unit, save, &unit);
  vrx_int info = 0;
  vrx_lapack_dpotrs("Lower", &n, &unit, l, &n, g, &n, &info);
  DCOPY(&n, g, &unit, s, &unit);
  DCOPY(&n, save, &unit, g, &unit);
  return info;
}

vrx_int vrx_trn_newton_norm(vrx_int n, const double* l, double* s, double* w1, double* w2, double* q_norm) {
  DCOPY(&n, s, &unit, w1, &unit);
  vrx_int info = 0;
  vrx_lapack_dtrtrs("Lower", "No transpose", "Non-unit", &n, &unit, l, &n, s, &n, &info);
  if (info < 0) return info;
  DCOPY(&n, s, &unit, w2, &unit);
  DCOPY(&n, w1, &unit, s, &unit);
  *q_norm = DNRM2(&n, w2, &unit);
  return info;
}

vrx_int vrx_trn_null_direction(vrx_int n, double* l, double* w1, double* w2) {
  // Signs chosen row by row so that L w grows, over the stored +-1 entries.
  double* w = w2;
  for (vrx_int j = 0; j < n; ++j) {
    double t = 0.0;
    for (vrx_int i = 0; i < j; ++i) t += l[i * n + j] * w[i];
    const double d = l[j * n + j];
    w[j] = (d == 0.0 || (1.0 - t) / d > (-1.0 - t) / d) ? 1.0 : -1.0;
  }
  // Row scaling by the largest signed entry of each row, applied to w and to both sides of L.
  for (vrx_int j = 0; j < n; ++j) {
    double largest = 0.0;
    for (vrx_int i = 0; i <= j; ++i) largest = std::max(largest, l[i * n + j]);
    w1[j] = 1.0 / largest;
  }
  for (vrx_int j = 0; j < n; ++j) {
    w[j] *= w1[j];
    for (vrx_int i = 0; i <= j; ++i) l[i * n + j] *= w1[i] * w1[j];
  }
  vrx_int info = 0;
  vrx_lapack_dtrtrs("Lower", "Transpose", "Non-unit", &n, &unit, l, &n, w, &n, &info);
  if (info < 0) return info;
  for (vrx_int j = 0; j < n; ++j) w[j] /= w1[j];
  const double inverse_norm = 1.0 / DNRM2(&n, w, &unit);
  DSCAL(&n, &inverse_norm, w, &unit);
  DCOPY(&n, w, &unit, w1, &unit);
  return info;
}
