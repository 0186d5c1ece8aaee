// SSYMV, DSYMV, CHEMV and ZHEMV: y := alpha A x + beta y with A symmetric (Hermitian for
// complex data), one stored triangle read once: each column adds its part of the product
// and takes its (conjugated) dot product in the same pass. The imaginary part of a
// Hermitian diagonal is taken as zero.
#include "blas/level2/level2_common.h"
#include "blas/vrx_stride.h"

namespace {
// y += alpha a (a unit stride) and a^H x.
template <typename T>
T add_and_dot(vrx_int len, T alpha, const T* a, const T* x, vrx_int incx, T* y, vrx_int incy) {
  if (len < 1) return T{};
  if (incx == 1 && incy == 1) return vrx_blas_level2<T>()->axpy_dotc(len, alpha, a, x, y);
  T s{};
  for (vrx_int i = 0; i < len; ++i) {
    y[i * incy] += alpha * a[i];
    s += vrx_traits<T>::conj(a[i]) * x[i * incx];
  }
  return s;
}

template <typename T>
void hemv(const char* name, const char* uplo, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, vrx_int incx,
          T beta, T* y, vrx_int incy) {
  typedef vrx_traits<T> tr;
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (n < 0) position = 2;
  else if (lda < (n > 1 ? n : 1)) position = 5;
  else if (incx == 0) position = 7;
  else if (incy == 0) position = 10;
  if (position) return vrx_l2_report(name, position);
  if (n == 0 || (tr::is_zero(alpha) && tr::is_one(beta))) return;
  const T* x0 = x + vrx_blas_first_index(n, incx);
  T* y0 = y + vrx_blas_first_index(n, incy);
  if (tr::is_zero(beta)) {
    for (vrx_int i = 0; i < n; ++i) y0[i * incy] = T{};
  } else if (!tr::is_one(beta)) {
    for (vrx_int i = 0; i < n; ++i) y0[i * incy] *= beta;
  }
  if (tr::is_zero(alpha)) return;
  const bool upper = vrx_l2_letter(uplo, "U");
  for (vrx_int j = 0; j < n; ++j) {
    const T* aj = a + j * lda;
    const T t = alpha * x0[j * incx];
    const T diagonal = tr::real_part(aj[j]) * t;
    if (upper) {
      const T s = add_and_dot(j, t, aj, x0, incx, y0, incy);
      y0[j * incy] += diagonal + alpha * s;
    } else {
      y0[j * incy] += diagonal;
      const T s = add_and_dot(n - j - 1, t, aj + j + 1, x0 + (j + 1) * incx, incx, y0 + (j + 1) * incy, incy);
      y0[j * incy] += alpha * s;
    }
  }
}
}  // namespace

void SSYMV(const char* uplo, const vrx_int* n, const float* alpha, const float* a, const vrx_int* lda,
           const float* x, const vrx_int* incx, const float* beta, float* y, const vrx_int* incy) {
  hemv("SSYMV ", uplo, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
void DSYMV(const char* uplo, const vrx_int* n, const double* alpha, const double* a, const vrx_int* lda,
           const double* x, const vrx_int* incx, const double* beta, double* y, const vrx_int* incy) {
  hemv("DSYMV ", uplo, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
void CHEMV(const char* uplo, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* a,
           const vrx_int* lda, const vrx_complex_float* x, const vrx_int* incx, const vrx_complex_float* beta,
           vrx_complex_float* y, const vrx_int* incy) {
  hemv("CHEMV ", uplo, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
void ZHEMV(const char* uplo, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* a,
           const vrx_int* lda, const vrx_complex_double* x, const vrx_int* incx, const vrx_complex_double* beta,
           vrx_complex_double* y, const vrx_int* incy) {
  hemv("ZHEMV ", uplo, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
