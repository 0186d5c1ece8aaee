// Householder reflectors: generating them, applying one or a block of them, and the
// unblocked factorisations and generators built on them. Generic over the element type;
// every routine of the QR, LQ and QL families and of the eigen paths calls these.
//
// Conventions: sizes by value, arrays column-major, letters as words of which the first
// character counts ("Left", "C", ...), upper or lower case. A reflector is
// H = I - tau v v^H with v(1) = 1 implicit where the published routines keep it implicit.
// For real data trans "C" means "T". `sequential` asks for the BLAS calls that never
// fork, for callers that already run inside a parallel region.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// H^H (alpha; x) = (beta; 0), with beta real; tau = 0 when x is zero and alpha real.
// x has n - 1 elements at stride incx. Rescales by the safe minimum over eps as published.
template <typename T>
void vrx_lapack_larfg(vrx_int n, T* alpha, T* x, vrx_int incx, T* tau);

// C := H C (side L) or C H (side R) with H = I - tau v v^H; work of n (L) or m (R) elements.
// Only the leading part of v up to its last non-zero takes part, as published.
template <typename T>
void vrx_lapack_larf(const char* side, vrx_int m, vrx_int n, const T* v, vrx_int incv, T tau, T* c, vrx_int ldc,
                     T* work);

// As vrx_lapack_larf with v(1) = 1 implied: the first element of v is never read, so the
// reflectors can be applied where they are stored without writing to them; incv > 0.
template <typename T>
void vrx_lapack_larf1f(const char* side, vrx_int m, vrx_int n, const T* v, vrx_int incv, T tau, T* c, vrx_int ldc,
                       T* work);

// The triangular factor t (k by k) of the block reflector of order n built from k
// reflectors: direct "F" (H = H1..Hk, t upper) or "B" (H = Hk..H1, t lower); storev "C"
// (reflectors in columns of v) or "R" (in rows).
template <typename T>
void vrx_lapack_larft(const char* direct, const char* storev, vrx_int n, vrx_int k, const T* v, vrx_int ldv,
                      const T* tau, T* t, vrx_int ldt);

// C := H C, H^H C, C H or C H^H for the block reflector H = I - V T V^H (every variant of
// side, trans, direct and storev). work is ldwork by k, ldwork >= n (side L) or m (side R).
template <typename T>
void vrx_lapack_larfb(const char* side, const char* trans, const char* direct, const char* storev, vrx_int m,
                      vrx_int n, vrx_int k, const T* v, vrx_int ldv, const T* t, vrx_int ldt, T* c, vrx_int ldc,
                      T* work, vrx_int ldwork, bool sequential = false);

// Unblocked QR (A = Q R), LQ (A = L Q) and QL (A = Q L) of an m by n matrix; work of n
// (QR, QL) or m (LQ) elements.
template <typename T>
void vrx_lapack_geqr2(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work);
template <typename T>
void vrx_lapack_gelq2(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work);
template <typename T>
void vrx_lapack_geql2(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work);

// Unblocked generation of the m by n matrix Q with orthonormal columns (ORG2R, ORG2L) or
// rows (ORGL2) from k reflectors as GEQR2, GEQL2 and GELQ2 leave them; work of n (ORG2R,
// ORG2L) or m (ORGL2) elements.
template <typename T>
void vrx_lapack_org2r(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work);
template <typename T>
void vrx_lapack_orgl2(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work);
template <typename T>
void vrx_lapack_org2l(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work);

// Unblocked C := op(Q) C or C op(Q) with Q from GEQR2 (ORM2R) or GELQ2 (ORML2); trans N
// or C (T for real data); work of n (side L) or m (side R) elements. a is only read, so
// several threads may apply the same reflectors to parts of C at once.
template <typename T>
void vrx_lapack_orm2r(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work);
template <typename T>
void vrx_lapack_orml2(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work);
