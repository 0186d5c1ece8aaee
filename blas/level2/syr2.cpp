// DSYR2 and SSYR2: A := alpha x y^T + alpha y x^T + A on the stored triangle.
#include "blas/level2/level2_common.h"
#include "blas/vrx_stride.h"

namespace {
template <typename T>
void syr2(const char* name, const char* uplo, vrx_int n, T alpha, const T* x, vrx_int incx, const T* y,
          vrx_int incy, T* a, vrx_int lda) {
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (n < 0) position = 2;
  else if (incx == 0) position = 5;
  else if (incy == 0) position = 7;
  else if (lda < (n > 1 ? n : 1)) position = 9;
  if (position) return vrx_l2_report(name, position);
  if (n == 0 || alpha == 0) return;
  const T* x0 = x + vrx_blas_first_index(n, incx);
  const T* y0 = y + vrx_blas_first_index(n, incy);
  const bool upper = vrx_l2_letter(uplo, "U");
  for (vrx_int j = 0; j < n; ++j) {
    const T xj = x0[j * incx], yj = y0[j * incy];
    if (xj == 0 && yj == 0) continue;
    // Rows 0..j of the upper triangle, rows j..n-1 of the lower.
    const vrx_int first = upper ? 0 : j, count = upper ? j + 1 : n - j;
    T* column = a + j * lda + first;
    vrx_l2_add_scaled(count, alpha * yj, x0 + first * incx, incx, column, vrx_int(1));
    vrx_l2_add_scaled(count, alpha * xj, y0 + first * incy, incy, column, vrx_int(1));
  }
}
}  // namespace

void DSYR2(const char* uplo, const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx,
           const double* y, const vrx_int* incy, double* a, const vrx_int* lda) {
  syr2("DSYR2 ", uplo, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void SSYR2(const char* uplo, const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx,
           const float* y, const vrx_int* incy, float* a, const vrx_int* lda) {
  syr2("SSYR2 ", uplo, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
