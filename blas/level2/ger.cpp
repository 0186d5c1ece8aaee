// ?GER, ?GERU and ?GERC: A := alpha x y^T + A (GERC: alpha x y^H + A), column by column.
#include "blas/level2/level2_common.h"
#include "blas/vrx_stride.h"

namespace {
template <typename T, bool Conj>
void ger(const char* name, vrx_int m, vrx_int n, T alpha, const T* x, vrx_int incx, const T* y, vrx_int incy, T* a,
         vrx_int lda) {
  int position = 0;
  if (m < 0) position = 1;
  else if (n < 0) position = 2;
  else if (incx == 0) position = 5;
  else if (incy == 0) position = 7;
  else if (lda < (m > 1 ? m : 1)) position = 9;
  if (position) return vrx_l2_report(name, position);
  if (m == 0 || n == 0 || vrx_traits<T>::is_zero(alpha)) return;
  const T* x0 = x + vrx_blas_first_index(m, incx);
  const T* y0 = y + vrx_blas_first_index(n, incy);
  for (vrx_int j = 0; j < n; ++j) {
    const T yj = Conj ? vrx_traits<T>::conj(y0[j * incy]) : y0[j * incy];
    if (!vrx_traits<T>::is_zero(yj)) vrx_l2_add_scaled(m, alpha * yj, x0, incx, a + j * lda, vrx_int(1));
  }
}
}  // namespace

void SGER(const vrx_int* m, const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx, const float* y,
          const vrx_int* incy, float* a, const vrx_int* lda) {
  ger<float, false>("SGER  ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void DGER(const vrx_int* m, const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx,
          const double* y, const vrx_int* incy, double* a, const vrx_int* lda) {
  ger<double, false>("DGER  ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void CGERU(const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x,
           const vrx_int* incx, const vrx_complex_float* y, const vrx_int* incy, vrx_complex_float* a,
           const vrx_int* lda) {
  ger<vrx_complex_float, false>("CGERU ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void CGERC(const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x,
           const vrx_int* incx, const vrx_complex_float* y, const vrx_int* incy, vrx_complex_float* a,
           const vrx_int* lda) {
  ger<vrx_complex_float, true>("CGERC ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void ZGERU(const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x,
           const vrx_int* incx, const vrx_complex_double* y, const vrx_int* incy, vrx_complex_double* a,
           const vrx_int* lda) {
  ger<vrx_complex_double, false>("ZGERU ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
void ZGERC(const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x,
           const vrx_int* incx, const vrx_complex_double* y, const vrx_int* incy, vrx_complex_double* a,
           const vrx_int* lda) {
  ger<vrx_complex_double, true>("ZGERC ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
