// DGEMV and SGEMV: the published argument checks in front of the engine's GEMV.
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
  if (gemv_arguments_bad<float>("SGEMV ", trans, *m, *n, *lda, *incx, *incy)) return;
  if (*alpha == 0.0f && *beta == 1.0f) return;
  vrx_blas_gemv_sequential(trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
