// SGEMV, DGEMV, CGEMV and ZGEMV: the published argument checks in front of the engine's GEMV.
#include "blas/level2/level2_common.h"
#include "blas/vrx_blas.h"

namespace {
template <typename T>
bool gemv_arguments_bad(const char* name, const char* trans, vrx_int m, vrx_int n, vrx_int lda, vrx_int incx,
                        vrx_int incy) {
  int position = 0;
  if (!vrx_l2_letter(trans, "NTC")) position = 1;
  else if (m < 0) position = 2;
  else if (n < 0) position = 3;
  else if (lda < (m > 1 ? m : 1)) position = 6;
  else if (incx == 0) position = 8;
  else if (incy == 0) position = 11;
  if (position) vrx_l2_report(name, position);
  return position != 0;
}

// The members without threads: checks, the quick return, then the sequential GEMV.
template <typename T>
void gemv_sequential_checked(const char* name, const char* trans, vrx_int m, vrx_int n, T alpha, const T* a,
                             vrx_int lda, const T* x, vrx_int incx, T beta, T* y, vrx_int incy) {
  if (gemv_arguments_bad<T>(name, trans, m, n, lda, incx, incy)) return;
  if (vrx_traits<T>::is_zero(alpha) && vrx_traits<T>::is_one(beta)) return;
  vrx_blas_gemv_sequential(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}
}  // namespace

void DGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const double* alpha, const double* a,
           const vrx_int* lda, const double* x, const vrx_int* incx, const double* beta, double* y,
           const vrx_int* incy) {
  if (gemv_arguments_bad<double>("DGEMV ", trans, *m, *n, *lda, *incx, *incy)) return;
  if (*m == 0 || *n == 0 || (*alpha == 0.0 && *beta == 1.0)) return;
  vrx_blas_dgemv(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

void SGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const float* alpha, const float* a,
           const vrx_int* lda, const float* x, const vrx_int* incx, const float* beta, float* y, const vrx_int* incy) {
  gemv_sequential_checked("SGEMV ", trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}

void CGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha,
           const vrx_complex_float* a, const vrx_int* lda, const vrx_complex_float* x, const vrx_int* incx,
           const vrx_complex_float* beta, vrx_complex_float* y, const vrx_int* incy) {
  gemv_sequential_checked("CGEMV ", trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}

void ZGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha,
           const vrx_complex_double* a, const vrx_int* lda, const vrx_complex_double* x, const vrx_int* incx,
           const vrx_complex_double* beta, vrx_complex_double* y, const vrx_int* incy) {
  gemv_sequential_checked("ZGEMV ", trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
