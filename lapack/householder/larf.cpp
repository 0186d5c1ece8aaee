// One elementary reflector H = I - tau v v^H applied to C from the left or the right, with
// v(1) stored or implied. The trailing zeros of v and the trailing zero columns (left) or
// rows (right) of the part of C that v touches take no part: the update shrinks to the
// block that can change.
#include "blas/level2/level2_common.h"
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
template <typename T>
bool nonzero(T x) {
  return !vrx_traits<T>::is_zero(x);
}

// Number of leading columns of the m by n matrix c up to its last column with a non-zero.
template <typename T>
vrx_int last_nonzero_column(vrx_int m, vrx_int n, const T* c, vrx_int ldc) {
  if (m == 0) return 0;
  for (vrx_int j = n; j > 0; --j) {
    const T* column = c + (j - 1) * ldc;
    for (vrx_int i = 0; i < m; ++i)
      if (nonzero(column[i])) return j;
  }
  return 0;
}

// Number of leading rows of the m by n matrix c up to its last row with a non-zero.
template <typename T>
vrx_int last_nonzero_row(vrx_int m, vrx_int n, const T* c, vrx_int ldc) {
  vrx_int rows = 0;
  for (vrx_int j = 0; j < n && rows < m; ++j) {
    const T* column = c + j * ldc;
    vrx_int i = m;
    while (i > rows && !nonzero(column[i - 1])) --i;
    if (i > rows) rows = i;
  }
  return rows;
}
}  // namespace

template <typename T>
void vrx_lapack_larf(const char* side, vrx_int m, vrx_int n, const T* v, vrx_int incv, T tau, T* c, vrx_int ldc,
                     T* work) {
  typedef vrx_lapack_blas<T> blas;
  if (vrx_traits<T>::is_zero(tau)) return;
  const bool left = vrx_l2_letter(side, "L");
  // v's last non-zero, counted in logical order (a negative increment starts at the far
  // end, so there the trimmed vector starts later in memory).
  const vrx_int full = left ? m : n;
  vrx_int len = full;
  const T* last = v + (incv > 0 ? (len - 1) * incv : 0);
  while (len > 0 && !nonzero(*last)) {
    --len;
    last -= incv;
  }
  if (len == 0) return;
  if (incv < 0) v -= (full - len) * incv;
  const T one = vrx_hh_one<T>(), zero = T{}, minus_tau = -tau;
  const vrx_int inc_one = 1;
  if (left) {
    // w := C(1:len, 1:cols)^H v;  C := C - tau v w^H.
    vrx_int cols = last_nonzero_column(len, n, c, ldc);
    if (cols == 0) return;
    const char adjoint[2] = {vrx_traits<T>::adjoint, 0};
    blas::gemv(adjoint, &len, &cols, &one, c, &ldc, v, &incv, &zero, work, &inc_one);
    blas::gerc(&len, &cols, &minus_tau, v, &incv, work, &inc_one, c, &ldc);
  } else {
    // w := C(1:rows, 1:len) v;  C := C - tau w v^H.
    vrx_int rows = last_nonzero_row(m, len, c, ldc);
    if (rows == 0) return;
    blas::gemv("N", &rows, &len, &one, c, &ldc, v, &incv, &zero, work, &inc_one);
    blas::gerc(&rows, &len, &minus_tau, work, &inc_one, v, &incv, c, &ldc);
  }
}

template <typename T>
void vrx_lapack_larf1f(const char* side, vrx_int m, vrx_int n, const T* v, vrx_int incv, T tau, T* c, vrx_int ldc,
                       T* work) {
  typedef vrx_lapack_blas<T> blas;
  if (vrx_traits<T>::is_zero(tau) || m <= 0 || n <= 0) return;
  const bool left = vrx_l2_letter(side, "L");
  vrx_int len = left ? m : n;  // v's length up to its last non-zero, the implied 1 included
  while (len > 1 && !nonzero(v[(len - 1) * incv])) --len;
  const vrx_int tail = len - 1;  // v(2:len), stored from v + incv
  const T one = vrx_hh_one<T>(), minus_tau = -tau;
  const vrx_int inc_one = 1;
  if (left) {
    // w := C(1, :)^H + C(2:len, :)^H v(2:len);  C(1, :) -= tau w^H;  C(2:len, :) -= tau v(2:len) w^H.
    vrx_int cols = last_nonzero_column(len, n, c, ldc);
    if (cols == 0) return;
    blas::copy(&cols, c, &ldc, work, &inc_one);
    vrx_hh_conjugate(cols, work, 1);
    const char adjoint[2] = {vrx_traits<T>::adjoint, 0};
    if (tail > 0) {
      blas::gemv(adjoint, &tail, &cols, &one, c + 1, &ldc, v + incv, &incv, &one, work, &inc_one);
      blas::gerc(&tail, &cols, &minus_tau, v + incv, &incv, work, &inc_one, c + 1, &ldc);
    }
    blas::gerc(&inc_one, &cols, &minus_tau, &one, &inc_one, work, &inc_one, c, &ldc);
  } else {
    // w := C(:, 1) + C(:, 2:len) v(2:len);  C(:, 1) -= tau w;  C(:, 2:len) -= tau w v(2:len)^H.
    vrx_int rows = last_nonzero_row(m, len, c, ldc);
    if (rows == 0) return;
    blas::copy(&rows, c, &inc_one, work, &inc_one);
    if (tail > 0) {
      blas::gemv("N", &rows, &tail, &one, c + ldc, &ldc, v + incv, &incv, &one, work, &inc_one);
      blas::gerc(&rows, &tail, &minus_tau, work, &inc_one, v + incv, &incv, c + ldc, &ldc);
    }
    blas::gerc(&rows, &inc_one, &minus_tau, work, &inc_one, &one, &inc_one, c, &ldc);
  }
}

#define VRX_LARF_INSTANCE(T)                                                                                      \
  template void vrx_lapack_larf<T>(const char*, vrx_int, vrx_int, const T*, vrx_int, T, T*, vrx_int, T*);        \
  template void vrx_lapack_larf1f<T>(const char*, vrx_int, vrx_int, const T*, vrx_int, T, T*, vrx_int, T*);
VRX_LARF_INSTANCE(float)
VRX_LARF_INSTANCE(double)
VRX_LARF_INSTANCE(vrx_complex_float)
VRX_LARF_INSTANCE(vrx_complex_double)
#undef VRX_LARF_INSTANCE
