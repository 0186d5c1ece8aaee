// The portable unblocked LU kernel. The pivots are those of the published column-by-
// column algorithm (first largest |re| + |im| of the column wins); the work is arranged
// in blocks of eight columns, so that a wide leaf streams through its rows once per
// block instead of once per column: inside a block the rank-one updates stay on the
// block's columns, and the columns to its right take the block's interchanges, a unit
// lower solve and one product.
#include <cmath>

#include "blas/vrx_level12.h"
#include "lapack/lu/vrx_getrf.h"

namespace {
constexpr vrx_int block_columns = 8;

template <typename R>
inline R modulus(R x) {
  return std::fabs(x);
}
template <typename R>
inline R modulus(vrx_complex<R> x) {
  return std::hypot(x.re, x.im);
}

template <typename R>
inline R divide(R x, R y) {
  return x / y;
}
// Complex quotient scaled by the larger part of the divisor, so that no square of a
// tiny or huge divisor is formed.
template <typename R>
inline vrx_complex<R> divide(vrx_complex<R> x, vrx_complex<R> y) {
  if (std::fabs(y.re) >= std::fabs(y.im)) {
    const R ratio = y.im / y.re, d = y.re + y.im * ratio;
    return {(x.re + x.im * ratio) / d, (x.im - x.re * ratio) / d};
  }
  const R ratio = y.re / y.im, d = y.re * ratio + y.im;
  return {(x.re * ratio + x.im) / d, (x.im * ratio - x.re) / d};
}

// Columns [j, j + jb) on rows j to m - 1, one column at a time; the interchanges touch
// only these columns. Returns the first zero pivot (from 1) or `info` as it came.
template <typename T>
vrx_int factor_block(vrx_int m, T* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb, vrx_int info) {
  typedef vrx_traits<T> tr;
  typedef vrx_real_t<T> R;
  const vrx_level1_kernels<T>* l1 = vrx_blas_level1<T>();
  for (vrx_int k = j; k < j + jb; ++k) {
    T* column = a + k * lda;
    const vrx_int p = k + l1->iamax(m - k, column + k);
    ipiv[k] = p + 1;
    const vrx_int below = m - k - 1;
    if (!tr::is_zero(column[p])) {
      if (p != k)
        for (vrx_int c = j; c < j + jb; ++c) {
          T* x = a + c * lda;
          const T t = x[k];
          x[k] = x[p];
          x[p] = t;
        }
      const T pivot = column[k];
      if (below > 0) {
        if (modulus(pivot) >= vrx_machine<R>::sfmin) {
          l1->scal(below, divide(tr::make(1, 0), pivot), column + k + 1);
        } else {
          for (vrx_int i = k + 1; i < m; ++i) column[i] = divide(column[i], pivot);
        }
      }
    } else if (info == 0) {
      info = k + 1;
    }
    if (below > 0)
      for (vrx_int c = k + 1; c < j + jb; ++c) {
        T* x = a + c * lda;
        if (!tr::is_zero(x[k])) l1->axpy(below, -x[k], column + k + 1, x + k + 1);
      }
  }
  return info;
}
}  // namespace

template <typename T>
vrx_int vrx_lapack_getf2_portable(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv) {
  const vrx_int mn = m < n ? m : n;
  vrx_int info = 0;
  for (vrx_int j = 0; j < mn; j += block_columns) {
    const vrx_int jb = mn - j < block_columns ? mn - j : block_columns;
    info = factor_block(m, a, lda, ipiv, j, jb, info);
    vrx_lapack_laswp_sequential(j, a, lda, j + 1, j + jb, ipiv, 1);
    vrx_lapack_getrf_apply_panel(m, a, lda, ipiv, j, jb, j + jb, n - j - jb, true);
  }
  return info;
}

template vrx_int vrx_lapack_getf2_portable<float>(vrx_int, vrx_int, float*, vrx_int, vrx_int*);
template vrx_int vrx_lapack_getf2_portable<double>(vrx_int, vrx_int, double*, vrx_int, vrx_int*);
template vrx_int vrx_lapack_getf2_portable<vrx_complex_float>(vrx_int, vrx_int, vrx_complex_float*, vrx_int,
                                                              vrx_int*);
template vrx_int vrx_lapack_getf2_portable<vrx_complex_double>(vrx_int, vrx_int, vrx_complex_double*, vrx_int,
                                                               vrx_int*);
