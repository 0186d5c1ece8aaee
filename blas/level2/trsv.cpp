// ?TRSV: x := inv(op(A)) x for a triangular A, op one of A, A^T and (complex data) A^H,
// by columns (no transposition) or by dot products (transposed).
#include "blas/level2/level2_common.h"
#include "blas/vrx_stride.h"

namespace {
template <typename T>
void trsv(const char* name, const char* uplo, const char* trans, const char* diag, vrx_int n, const T* a,
          vrx_int lda, T* x, vrx_int incx) {
  vrx_l2_triangle<T> tri;
  if (!vrx_l2_triangular_setup(name, uplo, trans, diag, n, lda, x, incx, &tri)) return;
  const bool upper = tri.upper, plain = tri.plain, unit = tri.unit, conj = tri.conj;
  T* x0 = tri.x0;
  auto col = [&](vrx_int j) { return a + j * lda; };
  auto diagonal = [&](vrx_int j) { return conj ? vrx_traits<T>::conj(col(j)[j]) : col(j)[j]; };
  if (plain && upper) {
    for (vrx_int j = n - 1; j >= 0; --j) {
      T& xj = x0[j * incx];
      if (vrx_traits<T>::is_zero(xj)) continue;
      if (!unit) xj = vrx_l2_divide(xj, col(j)[j]);
      vrx_l2_add_scaled(j, -xj, col(j), vrx_int(1), x0, incx);
    }
  } else if (plain) {
    for (vrx_int j = 0; j < n; ++j) {
      T& xj = x0[j * incx];
      if (vrx_traits<T>::is_zero(xj)) continue;
      if (!unit) xj = vrx_l2_divide(xj, col(j)[j]);
      vrx_l2_add_scaled(n - j - 1, -xj, col(j) + j + 1, vrx_int(1), x0 + (j + 1) * incx, incx);
    }
  } else if (upper) {
    for (vrx_int j = 0; j < n; ++j) {
      T t = x0[j * incx] - vrx_l2_dot(j, col(j), vrx_int(1), x0, incx, conj);
      if (!unit) t = vrx_l2_divide(t, diagonal(j));
      x0[j * incx] = t;
    }
  } else {
    for (vrx_int j = n - 1; j >= 0; --j) {
      T t = x0[j * incx] - vrx_l2_dot(n - j - 1, col(j) + j + 1, vrx_int(1), x0 + (j + 1) * incx, incx, conj);
      if (!unit) t = vrx_l2_divide(t, diagonal(j));
      x0[j * incx] = t;
    }
  }
}
}  // namespace

void STRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const float* a,
           const vrx_int* lda, float* x, const vrx_int* incx) {
  trsv("STRSV ", uplo, trans, diag, *n, a, *lda, x, *incx);
}
void DTRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const double* a,
           const vrx_int* lda, double* x, const vrx_int* incx) {
  trsv("DTRSV ", uplo, trans, diag, *n, a, *lda, x, *incx);
}
void CTRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_complex_float* a,
           const vrx_int* lda, vrx_complex_float* x, const vrx_int* incx) {
  trsv("CTRSV ", uplo, trans, diag, *n, a, *lda, x, *incx);
}
void ZTRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_complex_double* a,
           const vrx_int* lda, vrx_complex_double* x, const vrx_int* incx) {
  trsv("ZTRSV ", uplo, trans, diag, *n, a, *lda, x, *incx);
}
