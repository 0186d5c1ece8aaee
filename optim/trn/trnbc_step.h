// The step of the solver with bounds, in place of the subproblem solve of the pass.
#pragma once
#include "optim/trn/vrx_trn.h"

// Fills st->s and st->lambda from F and J (m x n, leading dimension m) at st->x and the
// radius. `theta` is the least fraction of the Cauchy point's model reduction the step
// must reach before it is blended toward that point; `cut` keeps the Cauchy point short
// of the box. Returns the subproblem's code, or a negative one: -1 when the step's
// vectors cannot be allocated, else the failure of the subproblem solve.
int vrx_trnbc_step(vrx_trnbc_state* st, const double* fvec, const double* fjac, double theta, double cut);
