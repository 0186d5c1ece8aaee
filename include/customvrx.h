/* customvrx: dense numerical routines for x86-64.
   The exported C surface. Integers are 32-bit; matrices are arrays of double. */
#ifndef CUSTOMVRX_H
#define CUSTOMVRX_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- CBLAS enumerations ----
   Passed as int-sized arguments. In C++ they have int as fixed underlying type, so any int a
   caller passes is a value of the type (a value outside the list gets the parameter message). */
#ifdef __cplusplus
#define CUSTOMVRX_ENUM_BASE_ : int
#else
#define CUSTOMVRX_ENUM_BASE_
#endif
typedef enum CBLAS_LAYOUT CUSTOMVRX_ENUM_BASE_ { CblasRowMajor = 101, CblasColMajor = 102 } CBLAS_LAYOUT;
typedef enum CBLAS_TRANSPOSE CUSTOMVRX_ENUM_BASE_ {
  CblasNoTrans = 111,
  CblasTrans = 112,
  CblasConjTrans = 113
} CBLAS_TRANSPOSE;
#undef CUSTOMVRX_ENUM_BASE_

/* ---- Matrix product ----
   C := alpha * op(A) * op(B) + beta * C, op(A) m by k, op(B) k by n, C m by n.
   A bad argument prints one message on stdout and leaves C untouched. */
void cblas_dgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 double alpha, const double *a, int lda, const double *b, int ldb, double beta, double *c,
                 int ldc);

/* ---- Vector math ----
   y[i] := a[i] - b[i] for i < *n. y may be a or b itself, but no partial overlap.
   *n = 0 does nothing; a negative *n or a null array prints one message and leaves y untouched. */
void vdsub(const int *n, const double *a, const double *b, double *y);

/* ---- Matrix copy and transposition ----
   ordering 'R' (row-major) or 'C' (column-major), either case; trans 'N'/'R' copies,
   'T'/'C' transposes, either case. rows and cols describe the source; lda and ldb are the
   source and target distances between rows ('R') or columns ('C'). The result is alpha
   times the (transposed) source. Arguments are not checked; another letter does nothing.
   VRX_Dimatcopy works in place in ab; VRX_Domatcopy writes b, which must not overlap a. */
void VRX_Dimatcopy(char ordering, char trans, size_t rows, size_t cols, double alpha, double *ab, size_t lda,
                   size_t ldb);
void VRX_Domatcopy(char ordering, char trans, size_t rows, size_t cols, double alpha, const double *a, size_t lda,
                   double *b, size_t ldb);

/* ---- LAPACKE: LU factorisation, solves and inverse ----
   matrix_layout is LAPACK_ROW_MAJOR or LAPACK_COL_MAJOR. The result is 0 on success; above 0
   the routine's own condition (U(i,i) is exactly zero for i = the result); -k when argument k
   is bad (counting matrix_layout as 1) or its matrix holds a NaN; -1010 when the work array
   and -1011 when a transposition copy cannot be allocated. Bad arguments and lack of memory
   print one line on stdout. ipiv holds 1-based rows. */
#ifndef lapack_int
#define lapack_int int
#endif
#ifndef LAPACK_ROW_MAJOR
#define LAPACK_ROW_MAJOR 101
#endif
#ifndef LAPACK_COL_MAJOR
#define LAPACK_COL_MAJOR 102
#endif
/* A = P L U of an m by n matrix; ipiv gets min(m, n) elements. */
lapack_int LAPACKE_dgetrf(int matrix_layout, lapack_int m, lapack_int n, double *a, lapack_int lda,
                          lapack_int *ipiv);
lapack_int LAPACKE_sgetrf(int matrix_layout, lapack_int m, lapack_int n, float *a, lapack_int lda,
                          lapack_int *ipiv);
/* op(A) X = B with the factors of LAPACKE_?getrf; trans 'N', 'T' or 'C' (either case); the
   solution replaces B (n by nrhs). */
lapack_int LAPACKE_dgetrs(int matrix_layout, char trans, lapack_int n, lapack_int nrhs, const double *a,
                          lapack_int lda, const lapack_int *ipiv, double *b, lapack_int ldb);
lapack_int LAPACKE_sgetrs(int matrix_layout, char trans, lapack_int n, lapack_int nrhs, const float *a,
                          lapack_int lda, const lapack_int *ipiv, float *b, lapack_int ldb);
/* inv(A) in place of the factors of LAPACKE_dgetrf. */
lapack_int LAPACKE_dgetri(int matrix_layout, lapack_int n, double *a, lapack_int lda, const lapack_int *ipiv);

/* ---- LAPACKE: Cholesky factorisation and solves ----
   A is symmetric positive definite, of which only the triangle named by uplo ('U' or 'L',
   either case) is read and written: A = U^T U or A = L L^T. Results as for the LU members;
   above 0, the leading minor of that order is not positive definite. Only the stored
   triangle is screened for NaN. */
lapack_int LAPACKE_dpotrf(int matrix_layout, char uplo, lapack_int n, double *a, lapack_int lda);
lapack_int LAPACKE_spotrf(int matrix_layout, char uplo, lapack_int n, float *a, lapack_int lda);
/* A X = B with the factor of LAPACKE_?potrf; the solution replaces B (n by nrhs). */
lapack_int LAPACKE_dpotrs(int matrix_layout, char uplo, lapack_int n, lapack_int nrhs, const double *a,
                          lapack_int lda, double *b, lapack_int ldb);
lapack_int LAPACKE_spotrs(int matrix_layout, char uplo, lapack_int n, lapack_int nrhs, const float *a,
                          lapack_int lda, float *b, lapack_int ldb);

/* ---- LAPACKE: least squares ----
   op(A) X = B for an m by n A of full rank, trans 'N' or 'T' (either case). When op(A) has
   at least as many rows as columns, X minimises ||B - op(A) X||_2; otherwise X is the
   solution of least norm. B is max(m, n) by nrhs: its leading rows hold the right-hand
   sides on entry and X on return, the rows below X the parts of the residual (their sum of
   squares is its square norm). A returns its QR (m >= n) or LQ factors. Results as for the
   LU members; above 0, the triangular factor is exactly zero at that diagonal position:
   A is not of full rank and no solution is given. */
lapack_int LAPACKE_dgels(int matrix_layout, char trans, lapack_int m, lapack_int n, lapack_int nrhs, double *a,
                         lapack_int lda, double *b, lapack_int ldb);
lapack_int LAPACKE_sgels(int matrix_layout, char trans, lapack_int m, lapack_int n, lapack_int nrhs, float *a,
                         lapack_int lda, float *b, lapack_int ldb);

/* ---- LAPACKE: symmetric eigenproblem ----
   All eigenvalues of the symmetric n by n matrix A, ascending in w, and for jobz 'V' the
   orthonormal eigenvectors in the columns of A (jobz 'N': eigenvalues only; either case).
   Only the triangle named by uplo is read and screened for NaN; with vectors all of A is
   written, and a row-major A is copied whole both ways. Above 0: the iteration failed to
   converge, that many off-diagonal elements did not reach zero. */
lapack_int LAPACKE_dsyev(int matrix_layout, char jobz, char uplo, lapack_int n, double *a, lapack_int lda,
                         double *w);
lapack_int LAPACKE_ssyev(int matrix_layout, char jobz, char uplo, lapack_int n, float *a, lapack_int lda, float *w);

/* ---- Jacobian by central differences ----
   fjac (m by n, column-major, leading dimension m) := the Jacobian of fcn at x, with step
   parameter *eps. fcn(m, n, x, f) writes m values to f at the point x; it is called 2n times,
   concurrently from several threads, each with its own copy of x. Its m and n point at 64-bit
   integers, so reading them as int or as long long gives the same value.
   Returns 1501 on success, 1502 for n < 1 or *eps <= 0, 1503 when memory runs out. */
typedef void (*djacobi_fcn)(int *m, int *n, double *x, double *f);
typedef void (*djacobix_fcn)(int *m, int *n, double *x, double *f, void *user_data);
int djacobi(djacobi_fcn fcn, const int *n, const int *m, double *fjac, const double *x, const double *eps);
int djacobix(djacobix_fcn fcn, const int *n, const int *m, double *fjac, const double *x, const double *eps,
             void *user_data);

/* ---- Nonlinear least squares by trust regions (reverse communication) ----
   Minimise ||F(x)||_2 over x of length n, F of length m >= n. The caller keeps a handle
   (a pointer-sized value) and passes its address to every entry. After dtrnlsp_init, set
   *rci_request to 0 and call dtrnlsp_solve in a loop; on return act on *rci_request and
   call again with that same value: 1 asks for F at x (into fvec), 2 for the Jacobian at x
   (into fjac, m by n, column-major, leading dimension m), 0 for nothing. A negative value
   -k ends the loop with stop criterion k (read by dtrnlsp_get):
     1 accepted steps reached iter1, 2 radius below eps[0], 3 ||F|| <= eps[1],
     4 every Jacobian column shorter than eps[2], 5 ||s|| <= eps[3],
     6 predicted change of ||F|| at most eps[4].
   The caller may stop the loop by passing -1 or -2; that call returns 0 in *rci_request.
   x and eps (six doubles) are kept by pointer and must outlive the handle; x is moved in
   place. iter2 limits the passes of the inner solve per step; rs (0: 100) scales the first
   radius. dtrnlspbc_* are the same with bounds lw <= x <= up (n doubles each, kept by
   pointer; +-DBL_MAX means no bound). */
typedef void *dtrnlsp_handle_t;
#define TRN_SUCCESS 1501        /* success */
#define TRN_INVALID_OPTION 1502 /* invalid input, or a failed step (st_cr -4) */
#define TRN_OUT_OF_MEMORY 1503  /* out of memory */
int dtrnlsp_init(dtrnlsp_handle_t *handle, const int *n, const int *m, double *x, const double *eps,
                 const int *iter1, const int *iter2, const double *rs);
int dtrnlsp_solve(dtrnlsp_handle_t *handle, double *fvec, double *fjac, int *rci_request);
/* The accepted steps, the stop criterion and the initial and final ||F||; any time. */
int dtrnlsp_get(dtrnlsp_handle_t *handle, int *iter, int *st_cr, double *r1, double *r2);
/* Frees the handle's memory; the caller's pointer keeps its value. */
int dtrnlsp_delete(dtrnlsp_handle_t *handle);
int dtrnlspbc_init(dtrnlsp_handle_t *handle, const int *n, const int *m, double *x, const double *lw,
                   const double *up, const double *eps, const int *iter1, const int *iter2, const double *rs);
/* As dtrnlsp_solve; a failed step sets st_cr -4 and still returns TRN_SUCCESS. */
int dtrnlspbc_solve(dtrnlsp_handle_t *handle, double *fvec, double *fjac, int *rci_request);
int dtrnlspbc_get(dtrnlsp_handle_t *handle, int *iter, int *st_cr, double *r1, double *r2);
int dtrnlspbc_delete(dtrnlsp_handle_t *handle);

#ifdef __cplusplus
}
#endif

#endif /* CUSTOMVRX_H */
