// The solve of the solver with bounds: the shared pass with the bounded step. A failed
// step is reported through st_cr alone.
#include "optim/trn/trn_pass.h"
#include "optim/trn/trnbc_step.h"

namespace {
constexpr double least_cauchy_fraction = 0.1;
constexpr double cauchy_cut = 0.99995;

int bounded_step(vrx_trnbc_state* st, double* fvec, double* fjac) {
  return vrx_trnbc_step(st, fvec, fjac, least_cauchy_fraction, cauchy_cut);
}
}  // namespace

int vrx_trnbc_solve(vrx_trn_handle** handle, double* fvec, double* fjac, vrx_int* request) {
  vrx_trnbc_state* st = static_cast<vrx_trnbc_state*>((*handle)->state);
  vrx_trn_pass(st, fvec, fjac, request, bounded_step);
  return vrx_trn_finish(st, request, false);
}
