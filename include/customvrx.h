/* customvrx: dense numerical routines for x86-64.
   The exported C surface. Integers are 32-bit; matrices are arrays of double. */
#ifndef CUSTOMVRX_H
#define CUSTOMVRX_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- CBLAS enumerations ---- */
typedef enum CBLAS_LAYOUT { CblasRowMajor = 101, CblasColMajor = 102 } CBLAS_LAYOUT;
typedef enum CBLAS_TRANSPOSE { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 } CBLAS_TRANSPOSE;

/* ---- Matrix product ----
   C := alpha * op(A) * op(B) + beta * C, op(A) m by k, op(B) k by n, C m by n.
   A bad argument prints one message on stdout and leaves C untouched. */
void cblas_dgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 double alpha, const double *a, int lda, const double *b, int ldb, double beta, double *c,
                 int ldc);

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

#ifdef __cplusplus
}
#endif

#endif /* CUSTOMVRX_H */
