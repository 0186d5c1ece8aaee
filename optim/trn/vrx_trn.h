// Reverse-communication trust-region solvers for nonlinear least squares: the records
// behind a handle and the internal entries, which take every argument by pointer with
// vrx_int integers. The exported entries only widen and narrow around them.
#pragma once
#include "optim/vrx_jacobi.h"
#include "service/vrx_types.h"

// The block the caller's handle points at; the same block serves both families.
struct vrx_trn_handle {
  vrx_int n;    // unknowns
  vrx_int m;    // residuals
  void* state;  // vrx_trn_state or vrx_trnbc_state
};

// Positions in the integer and real records kept beside the state.
enum { VRX_TRN_ITER1 = 0, VRX_TRN_ITER2 = 1, VRX_TRN_FINAL_COUNT = 2, VRX_TRN_ST_CR = 3 };
enum { VRX_TRN_RS = 0, VRX_TRN_R1 = 1, VRX_TRN_R2 = 2 };

// The ratio recorded for a rejected trial step: the most negative finite double.
constexpr double vrx_trn_rejected_mark = -1.7976931348623157e308;

// One solver without bounds. Fields in this order; three of the constants are stored at
// the first pass and read by nothing.
struct vrx_trn_state {
  double accept_ratio;  // a trial step is accepted at or above this ratio
  double ratio_high;    // stored, never read
  double ratio_low;     // stored, never read
  double grow_factor;   // stored, never read
  double f_norm;        // ||F|| at the current point
  double step_norm;     // ||s|| of the current trial step
  double js_norm;       // ||J s|| of the current trial step
  double ratio;         // actual over predicted reduction, or the rejected mark
  double lambda;        // Levenberg parameter of the last subproblem solve
  double radius;        // trust-region radius
  double* s;            // n: trial step
  double* f_save;       // m: F - J s, then F at the current point during a trial
  double* work_m;       // m: J s, then F at the trial point
  double* g;            // n: -J^T F inside the subproblem solve
  double* w1;           // n: scratch
  double* w2;           // n: scratch; D x in the first pass
  vrx_int phase;        // awaited evaluation: 1 the first F, 2 a trial F
  vrx_int iteration;    // accepted steps
  vrx_int first;        // 1 until the end of the first trial step
  vrx_int n, m;
  double* h;          // n x n: J^T J plus the present lambda on the diagonal
  double* l;          // n x n: Cholesky factor, lower triangle
  double* x;          // the caller's x
  vrx_int* iter_rec;  // iter1, iter2, final count, st_cr
  double* res_rec;    // rs, r1, r2
  const double* eps;  // the caller's six tolerances
};

// The solver with bounds: the scalars of vrx_trn_state with their meanings, then its
// arrays and the caller's pointers.
struct vrx_trnbc_state {
  double accept_ratio, ratio_high, ratio_low, grow_factor, f_norm, step_norm, js_norm, ratio, lambda, radius;
  vrx_int phase, iteration, first, n, m;
  double* s;       // n: the step
  double* work_m;  // m
  double* f_save;  // m
  double* g;       // n: J^T F of the step
  double* h;       // n x n
  double* l;       // n x n
  double* l2;      // n x n: factor of a trial shift
  double* jw;      // m x n: J with scaled columns
  double* w1;      // five n arrays of scratch; w2 also holds D x in the first pass
  double* w2;
  double* w3;
  double* w4;
  double* w5;
  const double* lw;  // the caller's bounds
  const double* up;
  double* x;
  vrx_int* iter_rec;
  double* res_rec;
  const double* eps;
};

// Without bounds. Statuses: 1501, 1502, 1503 (VRX_TRN_* of vrx_jacobi.h).
int vrx_trn_init(vrx_trn_handle** handle, const vrx_int* n, const vrx_int* m, double* x, const double* eps,
                 const vrx_int* iter1, const vrx_int* iter2, const double* rs);
int vrx_trn_solve(vrx_trn_handle** handle, double* fvec, double* fjac, vrx_int* request);
int vrx_trn_get(vrx_trn_handle** handle, vrx_int* iter, vrx_int* st_cr, double* r1, double* r2);
int vrx_trn_delete(vrx_trn_handle** handle);

// With bounds lw <= x <= up; a bound at +-DBL_MAX is absent.
int vrx_trnbc_init(vrx_trn_handle** handle, const vrx_int* n, const vrx_int* m, double* x, const double* lw,
                   const double* up, const double* eps, const vrx_int* iter1, const vrx_int* iter2, const double* rs);
int vrx_trnbc_solve(vrx_trn_handle** handle, double* fvec, double* fjac, vrx_int* request);
int vrx_trnbc_get(vrx_trn_handle** handle, vrx_int* iter, vrx_int* st_cr, double* r1, double* r2);
int vrx_trnbc_delete(vrx_trn_handle** handle);
