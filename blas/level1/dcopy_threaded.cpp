// y := x for n elements with published increments.
#include "blas/vrx_blas.h"
#include "blas/vrx_stride.h"

void vrx_blas_dcopy_threaded(const vrx_int* n_, const double* x, const vrx_int* incx_, double* y,
                             const vrx_int* incy_) {
  const vrx_int n = *n_, incx = *incx_, incy = *incy_;
  if (n < 1) return;
  const double* x0 = x + vrx_blas_first_index(n, incx);
  double* y0 = y + vrx_blas_first_index(n, incy);
  for (vrx_int i = 0; i < n; ++i) y0[i * incy] = x0[i * incx];
}
