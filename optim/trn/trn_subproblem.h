// The trust-region subproblem: a step s with ||s|| about the radius or less for the model
// 1/2 ||J s + F||^2, by Cholesky factorisations of J^T J + lambda I and Newton's method on
// the secular equation, with the hard case handled by a null-direction estimate.
#pragma once
#include "service/vrx_types.h"

// Return codes: 1 pass limit reached, 2 unconstrained Gauss-Newton step, 3 step within 1%
// of the radius, 4 hard-case step on the boundary; negative: an argument error of the
// triangular solves, or a shift that no longer fits a double.
enum { VRX_TRN_SUB_LIMIT = 1, VRX_TRN_SUB_GAUSS_NEWTON = 2, VRX_TRN_SUB_BOUNDARY = 3, VRX_TRN_SUB_HARD_CASE = 4 };
constexpr int vrx_trn_sub_shift_overflow = -1000;

// Workspace of one solve: s, g, w1, w2 of n, h and l of n x n.
struct vrx_trn_subproblem_work {
  double* s;
  double* g;  // -J^T F
  double* w1;
  double* w2;
  double* h;  // J^T J + lambda I
  double* l;  // Cholesky factor, lower triangle
};

// The solve of the solver without bounds. J is m x n with leading dimension m; `tol` is
// accepted and not used. `lambda` receives the final Levenberg parameter.
int vrx_trn_subproblem(vrx_int n, vrx_int m, const double* fjac, const double* fvec, double radius,
                       const vrx_trn_subproblem_work* work, double tol, vrx_int maxit, double* lambda);

// The solve of the bounded step: the same model with lambda kept inside a bracket, at
// most `limit` passes. `l2` (n x n) holds the factor of a trial shift.
int vrx_trnbc_subproblem(vrx_int n, vrx_int m, const double* fjac, const double* fvec, double radius,
                         const vrx_trn_subproblem_work* work, double* l2, vrx_int limit, double* lambda);

// ---- pieces shared by both solves (trn_linear.cpp) ----
// h := J^T J and g := J^T F.
void vrx_trn_normal_equations(vrx_int n, vrx_int m, const double* fjac, const double* fvec, double* h, double* g);
// Adds `shift` to the diagonal of the n x n matrix a.
void vrx_trn_shift_diagonal(vrx_int n, double* a, double shift);
// l := h, then its lower Cholesky factor; the factorisation's info.
vrx_int vrx_trn_factor(vrx_int n, const double* h, double* l);
// s := (L L^T)^-1 g, with g kept (saved in `save` during the solve); the solve's info.
vrx_int vrx_trn_cholesky_solve(vrx_int n, const double* l, double* g, double* save, double* s);
// q_norm := ||L^-1 s||, s kept (w1 holds a copy, w2 receives L^-1 s); the solve's info.
vrx_int vrx_trn_newton_norm(vrx_int n, const double* l, double* s, double* w1, double* w2, double* q_norm);
// The hard case's unit estimate z of a null direction of L L^T, in w1; w2 is scratch and
// l is scaled on the way. The triangular solve's info.
vrx_int vrx_trn_null_direction(vrx_int n, double* l, double* w1, double* w2);
