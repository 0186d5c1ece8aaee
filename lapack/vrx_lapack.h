// The LAPACK layer's face: the tuning query and the routines other subsystems call.
// Engine routines take Fortran style (every argument by pointer, vrx_int sizes,
// column-major arrays, 1-based pivots) and have no hidden character lengths.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// ---- tuning query ----
extern "C" {
// The published calling sequence; the two string lengths are passed by value.
vrx_int ILAENV(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1, const vrx_int* n2,
               const vrx_int* n3, const vrx_int* n4, vrx_int name_length, vrx_int opts_length);
}

// Every question the engine asks goes through this pointer (ILAENV unless a test puts
// another answerer in its place, to reach answers that this machine never gives).
typedef vrx_int (*vrx_lapack_tuning_fn)(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                                        const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                                        vrx_int opts_length);
extern vrx_lapack_tuning_fn vrx_lapack_tuning;

// The engine's form of the question: the family without its precision letter ("GETRF")
// and `opts` as a terminated string.
template <typename T>
inline vrx_int vrx_lapack_ilaenv(vrx_int ispec, const char* family, const char* opts, vrx_int n1, vrx_int n2,
                                 vrx_int n3, vrx_int n4) {
  const vrx_routine_name_buffer name = vrx_routine_name<T>(family);
  vrx_int name_length = 0;
  while (name.text[name_length]) ++name_length;
  vrx_int opts_length = 0;
  while (opts[opts_length]) ++opts_length;
  return vrx_lapack_tuning(&ispec, name.text, opts, &n1, &n2, &n3, &n4, name_length, opts_length);
}

// ---- LU family ----
// A = P L U of an m by n matrix; ipiv 1-based rows of the whole matrix, info as published
// (-1002: stopped by the progress hook or a worker's failure).
template <typename T>
using vrx_getrf_fn_type = void(const vrx_int* m, const vrx_int* n, T* a, const vrx_int* lda, vrx_int* ipiv,
                               vrx_int* info);
// Row interchanges k1..k2 of ipiv (stride incx, negative walks backward) on n columns.
template <typename T>
using vrx_laswp_fn_type = void(const vrx_int* n, T* a, const vrx_int* lda, const vrx_int* k1, const vrx_int* k2,
                               const vrx_int* ipiv, const vrx_int* incx);

// The entries that hold the offload gate's place; a build without offload goes straight
// to the host routine.
vrx_getrf_fn_type<float> vrx_lapack_SGETRF;
vrx_getrf_fn_type<double> vrx_lapack_DGETRF;
vrx_getrf_fn_type<vrx_complex_float> vrx_lapack_CGETRF;
vrx_getrf_fn_type<vrx_complex_double> vrx_lapack_ZGETRF;
// The host routines: path choice, no parameter checks.
vrx_getrf_fn_type<float> vrx_lapack_sgetrf_host;
vrx_getrf_fn_type<double> vrx_lapack_dgetrf_host;
vrx_getrf_fn_type<vrx_complex_float> vrx_lapack_cgetrf_host;
vrx_getrf_fn_type<vrx_complex_double> vrx_lapack_zgetrf_host;

// The published names of the engine.
extern "C" {
vrx_getrf_fn_type<float> SGETF2;
vrx_getrf_fn_type<double> DGETF2;
vrx_getrf_fn_type<vrx_complex_float> CGETF2;
vrx_getrf_fn_type<vrx_complex_double> ZGETF2;
vrx_laswp_fn_type<float> SLASWP;
vrx_laswp_fn_type<double> DLASWP;
vrx_laswp_fn_type<vrx_complex_float> CLASWP;
vrx_laswp_fn_type<vrx_complex_double> ZLASWP;
}

// ---- solves with the factors, and the inverse ----
// op(A) X = B with A = P L U from xGETRF; trans N, T or C (C means T for real data).
template <typename T>
using vrx_getrs_fn_type = void(const char* trans, const vrx_int* n, const vrx_int* nrhs, const T* a,
                               const vrx_int* lda, const vrx_int* ipiv, T* b, const vrx_int* ldb, vrx_int* info);
// inv(A) from the factors of xGETRF, in place; lwork = -1 asks for the workspace size.
template <typename T>
using vrx_getri_fn_type = void(const vrx_int* n, T* a, const vrx_int* lda, const vrx_int* ipiv, T* work,
                               const vrx_int* lwork, vrx_int* info);
// Inverse of a triangular matrix in place.
template <typename T>
using vrx_trtri_fn_type = void(const char* uplo, const char* diag, const vrx_int* n, T* a, const vrx_int* lda,
                               vrx_int* info);
// The engine's routines by precision letter (the upper-case names belong to the 32-bit
// wrappers of the interface layer).
vrx_getrs_fn_type<float> vrx_lapack_sgetrs;
vrx_getrs_fn_type<double> vrx_lapack_dgetrs;
vrx_getrs_fn_type<vrx_complex_float> vrx_lapack_cgetrs;
vrx_getrs_fn_type<vrx_complex_double> vrx_lapack_zgetrs;
vrx_getri_fn_type<float> vrx_lapack_sgetri;
vrx_getri_fn_type<double> vrx_lapack_dgetri;
vrx_getri_fn_type<vrx_complex_float> vrx_lapack_cgetri;
vrx_getri_fn_type<vrx_complex_double> vrx_lapack_zgetri;
vrx_trtri_fn_type<float> vrx_lapack_strtri;
vrx_trtri_fn_type<double> vrx_lapack_dtrtri;
vrx_trtri_fn_type<vrx_complex_float> vrx_lapack_ctrtri;
vrx_trtri_fn_type<vrx_complex_double> vrx_lapack_ztrtri;

// ---- Cholesky ----
// A = U^H U (uplo U) or L L^H (uplo L), one triangle stored and overwritten; info k > 0:
// the leading minor of order k is not positive definite; -1002: stopped.
template <typename T>
using vrx_potrf_fn_type = void(const char* uplo, const vrx_int* n, T* a, const vrx_int* lda, vrx_int* info);
// A X = B with the factor of xPOTRF.
template <typename T>
using vrx_potrs_fn_type = void(const char* uplo, const vrx_int* n, const vrx_int* nrhs, const T* a,
                               const vrx_int* lda, T* b, const vrx_int* ldb, vrx_int* info);
// The entries that hold the offload gate's place, and the host routines (path choice, no
// parameter checks).
vrx_potrf_fn_type<float> vrx_lapack_SPOTRF;
vrx_potrf_fn_type<double> vrx_lapack_DPOTRF;
vrx_potrf_fn_type<vrx_complex_float> vrx_lapack_CPOTRF;
vrx_potrf_fn_type<vrx_complex_double> vrx_lapack_ZPOTRF;
vrx_potrf_fn_type<float> vrx_lapack_spotrf_host;
vrx_potrf_fn_type<double> vrx_lapack_dpotrf_host;
vrx_potrf_fn_type<vrx_complex_float> vrx_lapack_cpotrf_host;
vrx_potrf_fn_type<vrx_complex_double> vrx_lapack_zpotrf_host;
vrx_potrs_fn_type<float> vrx_lapack_spotrs;
vrx_potrs_fn_type<double> vrx_lapack_dpotrs;
vrx_potrs_fn_type<vrx_complex_float> vrx_lapack_cpotrs;
vrx_potrs_fn_type<vrx_complex_double> vrx_lapack_zpotrs;

// ---- QR and least squares ----
template <typename T>
using vrx_geqrf_fn_type = void(const vrx_int* m, const vrx_int* n, T* a, const vrx_int* lda, T* tau, T* work,
                               const vrx_int* lwork, vrx_int* info);
// Minimum-norm or least-squares solution of op(A) X = B (trans N, or T for real data).
template <typename T>
using vrx_gels_fn_type = void(const char* trans, const vrx_int* m, const vrx_int* n, const vrx_int* nrhs, T* a,
                              const vrx_int* lda, T* b, const vrx_int* ldb, T* work, const vrx_int* lwork,
                              vrx_int* info);
// op(A) X = B for triangular A, with the published checks; info = i > 0: a(i,i) is zero.
template <typename T>
using vrx_trtrs_fn_type = void(const char* uplo, const char* trans, const char* diag, const vrx_int* n,
                               const vrx_int* nrhs, const T* a, const vrx_int* lda, T* b, const vrx_int* ldb,
                               vrx_int* info);
// The entries that hold the offload gate's place, and the host routines (path choice).
vrx_geqrf_fn_type<float> vrx_lapack_SGEQRF;
vrx_geqrf_fn_type<double> vrx_lapack_DGEQRF;
vrx_geqrf_fn_type<vrx_complex_float> vrx_lapack_CGEQRF;
vrx_geqrf_fn_type<vrx_complex_double> vrx_lapack_ZGEQRF;
vrx_geqrf_fn_type<float> vrx_lapack_sgeqrf_host;
vrx_geqrf_fn_type<double> vrx_lapack_dgeqrf_host;
vrx_geqrf_fn_type<vrx_complex_float> vrx_lapack_cgeqrf_host;
vrx_geqrf_fn_type<vrx_complex_double> vrx_lapack_zgeqrf_host;
vrx_gels_fn_type<float> vrx_lapack_sgels;
vrx_gels_fn_type<double> vrx_lapack_dgels;
vrx_trtrs_fn_type<float> vrx_lapack_strtrs;
vrx_trtrs_fn_type<double> vrx_lapack_dtrtrs;
vrx_trtrs_fn_type<vrx_complex_float> vrx_lapack_ctrtrs;
vrx_trtrs_fn_type<vrx_complex_double> vrx_lapack_ztrtrs;

// ---- symmetric and Hermitian eigenproblems ----
// Eigenvalues ascending in w; for jobz "V" the orthonormal eigenvectors in a.
template <typename T>
using vrx_syev_fn_type = void(const char* jobz, const char* uplo, const vrx_int* n, T* a, const vrx_int* lda, T* w,
                              T* work, const vrx_int* lwork, vrx_int* info);
// The Hermitian form takes rwork of max(1, 3 n - 2) reals.
template <typename T>
using vrx_heev_fn_type = void(const char* jobz, const char* uplo, const vrx_int* n, T* a, const vrx_int* lda,
                              vrx_real_t<T>* w, T* work, const vrx_int* lwork, vrx_real_t<T>* rwork, vrx_int* info);
vrx_syev_fn_type<float> vrx_lapack_ssyev;
vrx_syev_fn_type<double> vrx_lapack_dsyev;
vrx_heev_fn_type<vrx_complex_float> vrx_lapack_cheev;
vrx_heev_fn_type<vrx_complex_double> vrx_lapack_zheev;

// ---- machine constants by their published letters ('E', 'S', 'B', 'P', ...) ----
extern "C" {
float SLAMCH(const char* cmach);
double DLAMCH(const char* cmach);
}
