// y := alpha op(A) x + beta y. Sequential body used by the vector-shaped products.
#include "blas/vrx_blas.h"
#include "blas/vrx_stride.h"

void vrx_blas_dgemv(const char* trans, const vrx_int* rows_, const vrx_int* cols_, const double* alpha_,
                    const double* a, const vrx_int* lda_, const double* x, const vrx_int* incx_,
                    const double* beta_, double* y, const vrx_int* incy_) {
  const vrx_int rows = *rows_, cols = *cols_, lda = *lda_, incx = *incx_, incy = *incy_;
  const double alpha = *alpha_, beta = *beta_;
  const bool plain = vrx_blas_trans_code(*trans) == 0;
  const vrx_int leny = plain ? rows : cols, lenx = plain ? cols : rows;
  if (leny < 1) return;

  double* y0 = y + vrx_blas_first_index(leny, incy);
  if (beta == 0.0) {
    for (vrx_int i = 0; i < leny; ++i) y0[i * incy] = 0.0;
  } else if (beta != 1.0) {
    for (vrx_int i = 0; i < leny; ++i) y0[i * incy] *= beta;
  }
  if (alpha == 0.0 || lenx < 1) return;

  const double* x0 = x + vrx_blas_first_index(lenx, incx);
  if (plain) {
    for (vrx_int j = 0; j < cols; ++j) {
      const double t = alpha * x0[j * incx];
      const double* aj = a + j * lda;
      for (vrx_int i = 0; i < rows; ++i) y0[i * incy] += t * aj[i];
    }
  } else {
    for (vrx_int j = 0; j < cols; ++j) {
      const double* aj = a + j * lda;
      double sum = 0.0;
      for (vrx_int i = 0; i < rows; ++i) sum += aj[i] * x0[i * incx];
      y0[j * incy] += alpha * sum;
    }
  }
}
