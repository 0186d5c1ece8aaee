// The solve of the solver without bounds: the shared pass with the Moré-Sorensen step.
#include "optim/trn/trn_pass.h"
#include "optim/trn/trn_subproblem.h"

namespace {
int more_sorensen_step(vrx_trn_state* st, double* fvec, double* fjac) {
  const double tol = st->eps[5] == 0.0 ? 1e-10 : st->eps[5];
  const vrx_int maxit = st->iter_rec[VRX_TRN_ITER2] == 0 ? 10 : st->iter_rec[VRX_TRN_ITER2];
  const vrx_trn_subproblem_work work = {st->s, st->g, st->w1, st->w2, st->h, st->l};
  return vrx_trn_subproblem(st->n, st->m, fjac, fvec, st->radius, &work, tol, maxit, &st->lambda);
}
}  // namespace

int vrx_trn_solve(vrx_trn_handle** handle, double* fvec, double* fjac, vrx_int* request) {
  vrx_trn_state* st = static_cast<vrx_trn_state*>((*handle)->state);
  vrx_trn_pass(st, fvec, fjac, request, more_sorensen_step);
  return vrx_trn_finish(st, request, true);
}
