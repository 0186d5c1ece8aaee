/* customvrx: dense numerical routines for x86-64.
   The exported C surface. Integers are 32-bit; matrices are arrays of double. */
#ifndef CUSTOMVRX_H
#define CUSTOMVRX_H

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

#ifdef __cplusplus
}
#endif

#endif /* CUSTOMVRX_H */
