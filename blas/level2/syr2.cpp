// SSYR2, DSYR2, CHER2 and ZHER2: A := alpha x y^H + conj(alpha) y x^H + A on the stored
// triangle (x y^T + y x^T for real data). A Hermitian diagonal stays real: its imaginary
// part is set to zero.
#include "blas/level2/level2_common.h"
#include "blas/vrx_stride.h"

namespace {
template <typename T>
void her2(const char* name, const char* uplo, vrx_int n, T alpha, const T* x, vrx_int incx, const T* y,
          vrx_int incy, T* a, vrx_int lda) {
  typedef vrx_traits<T> tr;
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (n < 0) position = 2;
  else if (incx == 0) position = 5;
  else if (incy == 0) position = 7;
  else if (lda < (n > 1 ? n : 1)) position = 9;
  if (position) return vrx_l2_report(name, position);
  if (n == 0 || tr::is_zero(alpha)) return;
  const T* x0 = x + vrx_blas_first_index(n, incx);
  const T* y0 = y + vrx_blas_first_index(n, incy);
  const bool upper = vrx_l2_letter(uplo, "U");
  for (vrx_int j = 0; j < n; ++j) {
    T* column = a + j * lda;
    const T xj = x0[j * incx], yj = y0[j * incy];
    if (tr::is_zero(xj) && tr::is_zero(yj)) {
      column[j] = tr::make(tr::real_part(column[j]), 0);
      continue;
    }
    const T t1 = alpha * tr::conj(yj), t2 = tr::conj(alpha * xj);
    // Rows 0..j-1 of the upper triangle, rows j+1..n-1 of the lower, then the diagonal.
    const vrx_int first = upper ? 0 : j + 1, count = upper ? j : n - j - 1;
    vrx_l2_add_scaled(count, t1, x0 + first * incx, incx, column + first, vrx_int(1));
    vrx_l2_add_scaled(count, t2, y0 + first * incy, incy, column + first, vrx_int(1));
    column[j] = tr::make(tr::real_part(column[j] + xj * t1 + yj * t2), 0);
  }
}
}  // namespace

void SSYR2(const char* uplo, const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx,
           const float* y, const vrx_int* incy, float* a, const vrx_int* lda) {
  her2("SSYR2 ", uplo, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void DSYR2(const char* uplo, const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx,
           const double* y, const vrx_int* incy, double* a, const vrx_int* lda) {
  her2("DSYR2 ", uplo, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void CHER2(const char* uplo, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x,
           const vrx_int* incx, const vrx_complex_float* y, const vrx_int* incy, vrx_complex_float* a,
           const vrx_int* lda) {
  her2("CHER2 ", uplo, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void ZHER2(const char* uplo, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x,
           const vrx_int* incx, const vrx_complex_double* y, const vrx_int* incy, vrx_complex_double* a,
           const vrx_int* lda) {
  her2("ZHER2 ", uplo, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
