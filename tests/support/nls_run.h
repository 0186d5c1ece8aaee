// The reverse-communication loop of the trust-region solvers around a test
// problem, counting what the solver asked for. Shared by the solver tests and
// the bench.
#pragma once
#include <cmath>
#include <vector>

#include "include/customvrx.h"
#include "nls_problems.h"

struct nls_options {
  double eps[6] = {1e-10, 1e-10, 1e-12, 1e-12, 1e-14, 1e-10};
  int iter1 = 10000, iter2 = 100;
  double rs = 0.0;
  bool central_differences = false;  // the Jacobian from djacobix instead of the analytic one
  double jacobi_eps = 1e-6;
  const double *lw = nullptr;  // bounds: the solver with bounds when given
  const double *up = nullptr;
  int call_limit = 100000;  // a loop that runs longer counts as hung
};

struct nls_outcome {
  int init_status = 0, solve_status = 0, st_cr = 0, iterations = 0;
  int f_evals = 0, j_evals = 0, calls = 0;
  double r1 = 0.0, r2 = 0.0;
  double final_norm = 0.0;    // ||F|| recomputed at the final x
  bool stayed_in_box = true;  // every point the solver asked about lay in the bounds
  std::vector<int> requests;  // every request before the stop, 0s included
  std::vector<double> x;
};

namespace nls_detail {
inline void residual_for_jacobi(int *m, int *n, double *x, double *f, void *data) {
  static_cast<const nls_problem *>(data)->residual(*n, *m, x, f);
}
inline bool in_box(int n, const double *x, const double *lw, const double *up) {
  for (int i = 0; i < n; ++i)
    if (x[i] < lw[i] || x[i] > up[i]) return false;
  return true;
}
inline double norm(const std::vector<double> &v) {
  double s = 0.0;
  for (double e : v) s += e * e;
  return std::sqrt(s);
}
}  // namespace nls_detail

// Runs the solver from the problem's start (or from `start` when given) to its
// stop.
inline nls_outcome nls_solve(const nls_problem &p, const nls_options &o = {}, const double *start = nullptr) {
  nls_outcome out;
  const int n = p.n, m = p.m;
  const bool bounded = o.lw != nullptr;
  out.x.resize(n);
  if (start)
    out.x.assign(start, start + n);
  else
    p.start(n, out.x.data());
  std::vector<double> fvec(m, 0.0), fjac(static_cast<size_t>(m) * n, 0.0);
  dtrnlsp_handle_t handle = nullptr;
  out.init_status = bounded
                        ? dtrnlspbc_init(&handle, &n, &m, out.x.data(), o.lw, o.up, o.eps, &o.iter1, &o.iter2, &o.rs)
                        : dtrnlsp_init(&handle, &n, &m, out.x.data(), o.eps, &o.iter1, &o.iter2, &o.rs);
  if (out.init_status != TRN_SUCCESS) return out;
  int request = 0;
  for (out.calls = 0; out.calls < o.call_limit; ++out.calls) {
    out.solve_status = bounded ? dtrnlspbc_solve(&handle, fvec.data(), fjac.data(), &request)
                               : dtrnlsp_solve(&handle, fvec.data(), fjac.data(), &request);
    if (out.solve_status != TRN_SUCCESS || request < 0) break;
    out.requests.push_back(request);
    if (request == 0) continue;
    if (bounded && !nls_detail::in_box(n, out.x.data(), o.lw, o.up)) out.stayed_in_box = false;
    if (request == 1) {
      ++out.f_evals;
      p.residual(n, m, out.x.data(), fvec.data());
    } else if (request == 2) {
      ++out.j_evals;
      if (o.central_differences)
        djacobix(nls_detail::residual_for_jacobi, &n, &m, fjac.data(), out.x.data(), &o.jacobi_eps,
                 const_cast<nls_problem *>(&p));
      else
        p.jacobian(n, m, out.x.data(), fjac.data());
    }
  }
  bounded ? dtrnlspbc_get(&handle, &out.iterations, &out.st_cr, &out.r1, &out.r2)
          : dtrnlsp_get(&handle, &out.iterations, &out.st_cr, &out.r1, &out.r2);
  bounded ? dtrnlspbc_delete(&handle) : dtrnlsp_delete(&handle);
  p.residual(n, m, out.x.data(), fvec.data());
  out.final_norm = nls_detail::norm(fvec);
  return out;
}
