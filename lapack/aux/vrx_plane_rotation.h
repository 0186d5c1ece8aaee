// The scalar plane-rotation helpers of the tridiagonal and bidiagonal iterations: the
// eigen-decomposition of a 2 by 2 symmetric matrix and the generation of a rotation that
// zeroes one component, over the real types, without overflow or harmful underflow.
#pragma once
#include "service/vrx_types.h"

// The eigenvalues of [[a, b], [b, c]]: rt1 of larger absolute value, rt2 the other.
template <typename R>
void vrx_lapack_lae2(R a, R b, R c, R* rt1, R* rt2);

// The same eigenvalues, and the unit right eigenvector (cs1, sn1) of rt1:
// [cs1 sn1; -sn1 cs1] [a b; b c] [cs1 -sn1; sn1 cs1] = [rt1 0; 0 rt2].
template <typename R>
void vrx_lapack_laev2(R a, R b, R c, R* rt1, R* rt2, R* cs1, R* sn1);

// The rotation with [c s; -s c] (f; g) = (r; 0), c >= 0 and r of the sign of f; f = 0
// gives c = 0, s = sign(g), r = |g|; g = 0 gives c = 1, s = 0, r = f.
template <typename R>
void vrx_lapack_lartg(R f, R g, R* c, R* s, R* r);

// The published names, Fortran calling style.
extern "C" {
void SLAE2(const float* a, const float* b, const float* c, float* rt1, float* rt2);
void DLAE2(const double* a, const double* b, const double* c, double* rt1, double* rt2);
void SLAEV2(const float* a, const float* b, const float* c, float* rt1, float* rt2, float* cs1, float* sn1);
void DLAEV2(const double* a, const double* b, const double* c, double* rt1, double* rt2, double* cs1, double* sn1);
void SLARTG(const float* f, const float* g, float* c, float* s, float* r);
void DLARTG(const double* f, const double* g, double* c, double* s, double* r);
}
