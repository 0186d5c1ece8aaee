// QR, LQ and QL factorisations, the products with their Q and its generation, and least
// squares, generic over the element type. Sizes by value; `work`/`lwork` as published
// (lwork = -1 asks for the size in work[0] and touches nothing else); info as published,
// -1002 when the progress hook asked to stop. Letters are words of which the first
// character counts. "C" (conjugate transpose) means "T" for real data.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// ---- QR factorisation ----
// The host routine's path choice: unblocked, sequential, team or queue path.
template <typename T>
void vrx_lapack_geqrf_host(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info);
// The blocked sequential routine (panels by LAQRF, T written into work directly).
template <typename T>
void vrx_lapack_geqrf_seq(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info);
// The team path for wide processors, `threads` the host's thread count; answers a query
// with its own workspace size, falls to the sequential routine where it cannot run.
template <typename T>
void vrx_lapack_geqrf_team(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info,
                           int threads);
// The panel: GEQR2 followed by LARFT ("Forward", "Columnwise") in one, with t (ldt by n)
// built recursively over blocks of at most 256 columns.
template <typename T>
void vrx_lapack_laqrf(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* t, vrx_int ldt, T* work, vrx_int lwork);

// ---- LQ factorisation ----
template <typename T>
void vrx_lapack_gelqf(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info);

// ---- products with Q and its generation ----
// C := op(Q) C or C op(Q), Q from GEQRF (ORMQR) or GELQF (ORMLQ); the published checks
// reported under the precision's "ORMQR"/"ORMLQ" ("UNMQR"/"UNMLQ" for complex data).
template <typename T>
void vrx_lapack_ormqr(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work, vrx_int lwork, vrx_int* info);
template <typename T>
void vrx_lapack_ormlq(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work, vrx_int lwork, vrx_int* info);
// The m by n Q with orthonormal columns (ORGQR from GEQRF, ORGQL from GEQLF) or rows
// (ORGLQ from GELQF) from k reflectors, in place of them ("UNG.." for complex data).
template <typename T>
void vrx_lapack_orgqr(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info);
template <typename T>
void vrx_lapack_orglq(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info);
template <typename T>
void vrx_lapack_orgql(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info);

// ---- least squares ----
// Minimum-norm or least-squares solution of op(A) X = B for full-rank A (trans N, or T/C);
// info = i > 0 when the i-th diagonal element of the triangular factor is zero.
template <typename T>
void vrx_lapack_gels(const char* trans, vrx_int m, vrx_int n, vrx_int nrhs, T* a, vrx_int lda, T* b, vrx_int ldb,
                     T* work, vrx_int lwork, vrx_int* info);
