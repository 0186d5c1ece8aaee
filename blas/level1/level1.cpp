// The level-1 members of every precision: DOT (DOTU, DOTC), AXPY, SCAL (and the complex
// vector scaled by a real), COPY, SWAP, ROT (real rotations, also of complex vectors),
// I?AMAX. The published argument rules and strided walks here, unit-stride work in the
// dispatched kernels.
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"

namespace {
template <typename T, bool Conj>
T dot(vrx_int n, const T* x, vrx_int incx, const T* y, vrx_int incy) {
  if (n < 1) return T{};
  if (incx == 1 && incy == 1) return Conj ? vrx_blas_level1<T>()->dotc(n, x, y) : vrx_blas_level1<T>()->dot(n, x, y);
  const T* x0 = x + vrx_blas_first_index(n, incx);
  const T* y0 = y + vrx_blas_first_index(n, incy);
  T s{};
  for (vrx_int i = 0; i < n; ++i) s += (Conj ? vrx_traits<T>::conj(x0[i * incx]) : x0[i * incx]) * y0[i * incy];
  return s;
}

template <typename T>
void axpy(vrx_int n, T alpha, const T* x, vrx_int incx, T* y, vrx_int incy) {
  if (n < 1 || vrx_traits<T>::is_zero(alpha)) return;
  if (incx == 1 && incy == 1) return vrx_blas_level1<T>()->axpy(n, alpha, x, y);
  const T* x0 = x + vrx_blas_first_index(n, incx);
  T* y0 = y + vrx_blas_first_index(n, incy);
  for (vrx_int i = 0; i < n; ++i) y0[i * incy] += alpha * x0[i * incx];
}

template <typename T>
void scal(vrx_int n, T alpha, T* x, vrx_int incx) {
  if (n < 1 || incx < 1) return;
  if (incx == 1) return vrx_blas_level1<T>()->scal(n, alpha, x);
  for (vrx_int i = 0; i < n; ++i) x[i * incx] *= alpha;
}

// A complex vector times a real number: both parts scale alike, so a unit stride is the
// real kernel on twice the length.
template <typename R>
void scal_by_real(vrx_int n, R alpha, vrx_complex<R>* x, vrx_int incx) {
  if (n < 1 || incx < 1) return;
  if (incx == 1) return vrx_blas_level1<R>()->scal(2 * n, alpha, &x->re);
  for (vrx_int i = 0; i < n; ++i) x[i * incx] = alpha * x[i * incx];
}

template <typename T>
void copy(vrx_int n, const T* x, vrx_int incx, T* y, vrx_int incy) {
  if (n < 1) return;
  if (incx == 1 && incy == 1) return vrx_blas_level1<T>()->copy(n, x, y);
  const T* x0 = x + vrx_blas_first_index(n, incx);
  T* y0 = y + vrx_blas_first_index(n, incy);
  for (vrx_int i = 0; i < n; ++i) y0[i * incy] = x0[i * incx];
}

template <typename T>
void swap(vrx_int n, T* x, vrx_int incx, T* y, vrx_int incy) {
  if (n < 1) return;
  if (incx == 1 && incy == 1) return vrx_blas_level1<T>()->swap(n, x, y);
  T* x0 = x + vrx_blas_first_index(n, incx);
  T* y0 = y + vrx_blas_first_index(n, incy);
  for (vrx_int i = 0; i < n; ++i) {
    const T t = x0[i * incx];
    x0[i * incx] = y0[i * incy];
    y0[i * incy] = t;
  }
}

template <typename T>
void rot(vrx_int n, T* x, vrx_int incx, T* y, vrx_int incy, vrx_real_t<T> c, vrx_real_t<T> s) {
  if (n < 1) return;
  if (incx == 1 && incy == 1) return vrx_blas_level1<T>()->rot(n, x, y, c, s);
  T* x0 = x + vrx_blas_first_index(n, incx);
  T* y0 = y + vrx_blas_first_index(n, incy);
  for (vrx_int i = 0; i < n; ++i) {
    const T a = x0[i * incx], b = y0[i * incy];
    x0[i * incx] = c * a + s * b;
    y0[i * incy] = c * b - s * a;
  }
}

// First largest |re| + |im| (the plain magnitude for real data).
template <typename T>
vrx_int iamax(vrx_int n, const T* x, vrx_int incx) {
  if (n < 1 || incx < 1) return 0;
  if (incx == 1) return vrx_blas_level1<T>()->iamax(n, x) + 1;
  vrx_int best = 0;
  vrx_real_t<T> top = vrx_traits<T>::abs1(x[0]);
  for (vrx_int i = 1; i < n; ++i) {
    const vrx_real_t<T> v = vrx_traits<T>::abs1(x[i * incx]);
    if (v > top) {
      top = v;
      best = i;
    }
  }
  return best + 1;
}
}  // namespace

float SDOT(const vrx_int* n, const float* x, const vrx_int* incx, const float* y, const vrx_int* incy) {
  return dot<float, false>(*n, x, *incx, y, *incy);
}
double DDOT(const vrx_int* n, const double* x, const vrx_int* incx, const double* y, const vrx_int* incy) {
  return dot<double, false>(*n, x, *incx, y, *incy);
}
vrx_complex_float CDOTU(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx,
                        const vrx_complex_float* y, const vrx_int* incy) {
  return dot<vrx_complex_float, false>(*n, x, *incx, y, *incy);
}
vrx_complex_float CDOTC(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx,
                        const vrx_complex_float* y, const vrx_int* incy) {
  return dot<vrx_complex_float, true>(*n, x, *incx, y, *incy);
}
vrx_complex_double ZDOTU(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx,
                         const vrx_complex_double* y, const vrx_int* incy) {
  return dot<vrx_complex_double, false>(*n, x, *incx, y, *incy);
}
vrx_complex_double ZDOTC(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx,
                         const vrx_complex_double* y, const vrx_int* incy) {
  return dot<vrx_complex_double, true>(*n, x, *incx, y, *incy);
}

void SAXPY(const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx, float* y, const vrx_int* incy) {
  axpy(*n, *alpha, x, *incx, y, *incy);
}
void DAXPY(const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx, double* y,
           const vrx_int* incy) {
  axpy(*n, *alpha, x, *incx, y, *incy);
}
void CAXPY(const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x, const vrx_int* incx,
           vrx_complex_float* y, const vrx_int* incy) {
  axpy(*n, *alpha, x, *incx, y, *incy);
}
void ZAXPY(const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x, const vrx_int* incx,
           vrx_complex_double* y, const vrx_int* incy) {
  axpy(*n, *alpha, x, *incx, y, *incy);
}

void SSCAL(const vrx_int* n, const float* alpha, float* x, const vrx_int* incx) { scal(*n, *alpha, x, *incx); }
void DSCAL(const vrx_int* n, const double* alpha, double* x, const vrx_int* incx) { scal(*n, *alpha, x, *incx); }
void CSCAL(const vrx_int* n, const vrx_complex_float* alpha, vrx_complex_float* x, const vrx_int* incx) {
  scal(*n, *alpha, x, *incx);
}
void ZSCAL(const vrx_int* n, const vrx_complex_double* alpha, vrx_complex_double* x, const vrx_int* incx) {
  scal(*n, *alpha, x, *incx);
}
void CSSCAL(const vrx_int* n, const float* alpha, vrx_complex_float* x, const vrx_int* incx) {
  scal_by_real(*n, *alpha, x, *incx);
}
void ZDSCAL(const vrx_int* n, const double* alpha, vrx_complex_double* x, const vrx_int* incx) {
  scal_by_real(*n, *alpha, x, *incx);
}

void SCOPY(const vrx_int* n, const float* x, const vrx_int* incx, float* y, const vrx_int* incy) {
  copy(*n, x, *incx, y, *incy);
}
void DCOPY(const vrx_int* n, const double* x, const vrx_int* incx, double* y, const vrx_int* incy) {
  copy(*n, x, *incx, y, *incy);
}
void CCOPY(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx, vrx_complex_float* y,
           const vrx_int* incy) {
  copy(*n, x, *incx, y, *incy);
}
void ZCOPY(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx, vrx_complex_double* y,
           const vrx_int* incy) {
  copy(*n, x, *incx, y, *incy);
}

void SSWAP(const vrx_int* n, float* x, const vrx_int* incx, float* y, const vrx_int* incy) {
  swap(*n, x, *incx, y, *incy);
}
void DSWAP(const vrx_int* n, double* x, const vrx_int* incx, double* y, const vrx_int* incy) {
  swap(*n, x, *incx, y, *incy);
}
void CSWAP(const vrx_int* n, vrx_complex_float* x, const vrx_int* incx, vrx_complex_float* y, const vrx_int* incy) {
  swap(*n, x, *incx, y, *incy);
}
void ZSWAP(const vrx_int* n, vrx_complex_double* x, const vrx_int* incx, vrx_complex_double* y,
           const vrx_int* incy) {
  swap(*n, x, *incx, y, *incy);
}

void SROT(const vrx_int* n, float* x, const vrx_int* incx, float* y, const vrx_int* incy, const float* c,
          const float* s) {
  rot(*n, x, *incx, y, *incy, *c, *s);
}
void DROT(const vrx_int* n, double* x, const vrx_int* incx, double* y, const vrx_int* incy, const double* c,
          const double* s) {
  rot(*n, x, *incx, y, *incy, *c, *s);
}
void CSROT(const vrx_int* n, vrx_complex_float* x, const vrx_int* incx, vrx_complex_float* y, const vrx_int* incy,
           const float* c, const float* s) {
  rot(*n, x, *incx, y, *incy, *c, *s);
}
void ZDROT(const vrx_int* n, vrx_complex_double* x, const vrx_int* incx, vrx_complex_double* y,
           const vrx_int* incy, const double* c, const double* s) {
  rot(*n, x, *incx, y, *incy, *c, *s);
}

vrx_int ISAMAX(const vrx_int* n, const float* x, const vrx_int* incx) { return iamax(*n, x, *incx); }
vrx_int IDAMAX(const vrx_int* n, const double* x, const vrx_int* incx) { return iamax(*n, x, *incx); }
vrx_int ICAMAX(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx) { return iamax(*n, x, *incx); }
vrx_int IZAMAX(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx) { return iamax(*n, x, *incx); }
