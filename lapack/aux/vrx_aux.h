// The auxiliary routines of the LAPACK layer: copies, fills, scaling, norms and the machine
// constants, generic over the element type. Letters are words of which the first character
// counts, upper or lower case.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// B := A on the part named by uplo: "U" upper triangle, "L" lower, anything else all.
template <typename T>
void vrx_lapack_lacpy(const char* uplo, vrx_int m, vrx_int n, const T* a, vrx_int lda, T* b, vrx_int ldb);

// Off-diagonal elements of the part named by uplo ("U", "L", else all) := alpha, the
// diagonal := beta.
template <typename T>
void vrx_lapack_laset(const char* uplo, vrx_int m, vrx_int n, T alpha, T beta, T* a, vrx_int lda);

// A := A * (cto / cfrom) without overflow or underflow, in steps as published; type "G"
// full, "L" lower, "U" upper, "H" Hessenberg, "B", "Q", "Z" band. A bad argument sets
// info to minus its position and is reported under the precision's "LASCL".
template <typename T>
void vrx_lapack_lascl(const char* type, vrx_int kl, vrx_int ku, vrx_real_t<T> cfrom, vrx_real_t<T> cto, vrx_int m,
                      vrx_int n, T* a, vrx_int lda, vrx_int* info);

// "M" largest |a(i,j)|, "1"/"O" one norm, "I" infinity norm, "F"/"E" Frobenius norm; work
// of m elements for "I". NaN propagates as published.
template <typename T>
vrx_real_t<T> vrx_lapack_lange(const char* norm, vrx_int m, vrx_int n, const T* a, vrx_int lda,
                               vrx_real_t<T>* work);

// The same norms of a symmetric (Hermitian for complex: the diagonal's imaginary parts are
// ignored) matrix of which the uplo triangle is stored; work of n elements for "1"/"I".
template <typename T>
vrx_real_t<T> vrx_lapack_lansy(const char* norm, const char* uplo, vrx_int n, const T* a, vrx_int lda,
                               vrx_real_t<T>* work);

// The same norms of a real symmetric tridiagonal matrix, diagonal d (n), off-diagonal e (n-1).
template <typename R>
R vrx_lapack_lanst(const char* norm, vrx_int n, const R* d, const R* e);

// Solve op(A) X = B for triangular A with the published checks (reported under the
// precision's "TRTRS") and the published singularity test: info = i > 0 when a(i,i) = 0
// for diag "N", B untouched then.
template <typename T>
void vrx_lapack_trtrs(const char* uplo, const char* trans, const char* diag, vrx_int n, vrx_int nrhs, const T* a,
                      vrx_int lda, T* b, vrx_int ldb, vrx_int* info);
