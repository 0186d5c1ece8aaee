// The symmetric (Hermitian) eigenproblem: reductions to tridiagonal form in one stage or
// through a band, the tridiagonal iterations and the plane-rotation engine, generic over
// the element type T; d, e and eigenvalues are of its real type. Sizes by value, letters
// as words of which the first character counts, work/lwork/info as published.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// ---- one-stage reduction ----
// Q^H A Q = tridiagonal (d, e), reflectors stored in a and tau as published; threaded.
template <typename T>
void vrx_lapack_sytrd(const char* uplo, vrx_int n, T* a, vrx_int lda, vrx_real_t<T>* d, vrx_real_t<T>* e, T* tau,
                      T* work, vrx_int lwork, vrx_int* info);
// The Q of SYTRD formed in place (ORGTR / UNGTR).
template <typename T>
void vrx_lapack_orgtr(const char* uplo, vrx_int n, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info);

// ---- two-stage reduction ----
// Full to band of width kd (-1: min(n - 1, key 1 of SYRDB)) and band to tridiagonal.
// jobz "N" no Q, "V" Q formed in q, "U" the Q passed in q updated. Returns at once with
// work[0] = 1 when n < 3 or kd >= n - 1 (the one-stage reduction must serve).
template <typename T>
void vrx_lapack_syrdb(const char* jobz, const char* uplo, vrx_int n, vrx_int kd, T* a, vrx_int lda,
                      vrx_real_t<T>* d, vrx_real_t<T>* e, T* tau, T* q, vrx_int ldq, T* work, vrx_int lwork,
                      vrx_int* info);
// Band (band storage, ldab >= 2 kd) to tridiagonal; info -100 when its tables cannot be had.
template <typename T>
void vrx_lapack_sbrdb(const char* vect, const char* uplo, vrx_int n, vrx_int kd, T* ab, vrx_int ldab,
                      vrx_real_t<T>* d, vrx_real_t<T>* e, T* q, vrx_int ldq, T* work, vrx_int lwork, vrx_int* info);

// ---- tridiagonal iterations ----
// Eigenvalues of (d, e) by the root-free QL/QR iteration; info = count not converged.
template <typename R>
void vrx_lapack_sterf(vrx_int n, R* d, R* e, vrx_int* info);
// Eigenvalues and, for compz "V" (z holds the reduction's Q) or "I" (z := identity first),
// eigenvectors by the implicit QL/QR iteration; work of max(1, 2 n - 2) reals for vectors.
template <typename T>
void vrx_lapack_steqr(const char* compz, vrx_int n, vrx_real_t<T>* d, vrx_real_t<T>* e, T* z, vrx_int ldz,
                      vrx_real_t<T>* work, vrx_int* info);

// ---- drivers ----
// All eigenvalues (ascending, in w) and for jobz "V" the eigenvectors (in a) of a symmetric
// (SYEV) or Hermitian (HEEV, rwork of max(1, 3 n - 2) reals) matrix.
template <typename T>
void vrx_lapack_syev(const char* jobz, const char* uplo, vrx_int n, T* a, vrx_int lda, vrx_real_t<T>* w, T* work,
                     vrx_int lwork, vrx_real_t<T>* rwork, vrx_int* info);
