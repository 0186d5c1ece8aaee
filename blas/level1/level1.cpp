// DDOT, DAXPY, DSCAL, DCOPY, DSWAP, DROT, IDAMAX and their S twins: the published
// argument rules and strided walks here, unit-stride work in the dispatched kernels.
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"

namespace {
template <typename T>
T dot(vrx_int n, const T* x, vrx_int incx, const T* y, vrx_int incy) {
  if (n < 1) return 0;
  if (incx == 1 && incy == 1) return vrx_blas_level1<T>()->dot(n, x, y);
  const T* x0 = x + vrx_blas_first_index(n, incx);
  const T* y0 = y + vrx_blas_first_index(n, incy);
  T s = 0;
  for (vrx_int i = 0; i < n; ++i) s += x0[i * incx] * y0[i * incy];
  return s;
}

template <typename T>
void axpy(vrx_int n, T alpha, const T* x, vrx_int incx, T* y, vrx_int incy) {
  if (n < 1 || alpha == 0) return;
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
void rot(vrx_int n, T* x, vrx_int incx, T* y, vrx_int incy, T c, T s) {
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

template <typename T>
vrx_int iamax(vrx_int n, const T* x, vrx_int incx) {
  if (n < 1 || incx < 1) return 0;
  if (incx == 1) return vrx_blas_level1<T>()->iamax(n, x) + 1;
  vrx_int best = 0;
  T top = x[0] < 0 ? -x[0] : x[0];
  for (vrx_int i = 1; i < n; ++i) {
    const T v = x[i * incx] < 0 ? -x[i * incx] : x[i * incx];
    if (v > top) {
      top = v;
      best = i;
    }
  }
  return best + 1;
}
}  // namespace

double DDOT(const vrx_int* n, const double* x, const vrx_int* incx, const double* y, const vrx_int* incy) {
  return dot(*n, x, *incx, y, *incy);
}
float SDOT(const vrx_int* n, const float* x, const vrx_int* incx, const float* y, const vrx_int* incy) {
  return dot(*n, x, *incx, y, *incy);
}
void DAXPY(const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx, double* y,
           const vrx_int* incy) {
  axpy(*n, *alpha, x, *incx, y, *incy);
}
void SAXPY(const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx, float* y, const vrx_int* incy) {
  axpy(*n, *alpha, x, *incx, y, *incy);
}
void DSCAL(const vrx_int* n, const double* alpha, double* x, const vrx_int* incx) { scal(*n, *alpha, x, *incx); }
void SSCAL(const vrx_int* n, const float* alpha, float* x, const vrx_int* incx) { scal(*n, *alpha, x, *incx); }
void DCOPY(const vrx_int* n, const double* x, const vrx_int* incx, double* y, const vrx_int* incy) {
  copy(*n, x, *incx, y, *incy);
}
void SCOPY(const vrx_int* n, const float* x, const vrx_int* incx, float* y, const vrx_int* incy) {
  copy(*n, x, *incx, y, *incy);
}
void DSWAP(const vrx_int* n, double* x, const vrx_int* incx, double* y, const vrx_int* incy) {
  swap(*n, x, *incx, y, *incy);
}
void SSWAP(const vrx_int* n, float* x, const vrx_int* incx, float* y, const vrx_int* incy) {
  swap(*n, x, *incx, y, *incy);
}
void DROT(const vrx_int* n, double* x, const vrx_int* incx, double* y, const vrx_int* incy, const double* c,
          const double* s) {
  rot(*n, x, *incx, y, *incy, *c, *s);
}
void SROT(const vrx_int* n, float* x, const vrx_int* incx, float* y, const vrx_int* incy, const float* c,
          const float* s) {
  rot(*n, x, *incx, y, *incy, *c, *s);
}
vrx_int IDAMAX(const vrx_int* n, const double* x, const vrx_int* incx) { return iamax(*n, x, *incx); }
vrx_int ISAMAX(const vrx_int* n, const float* x, const vrx_int* incx) { return iamax(*n, x, *incx); }
