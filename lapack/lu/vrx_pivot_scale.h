// Scaling a column below its pivot as the unblocked LU does: by the reciprocal when the
// pivot's modulus is at least the safe minimum, by division otherwise.
#pragma once
#include <cmath>

#include "blas/vrx_level12.h"

template <typename R>
inline R vrx_lapack_modulus(R x) {
  return std::fabs(x);
}
template <typename R>
inline R vrx_lapack_modulus(vrx_complex<R> x) {
  return std::hypot(x.re, x.im);
}

template <typename R>
inline R vrx_lapack_divide(R x, R y) {
  return x / y;
}
// Complex quotient scaled by the larger part of the divisor, so that no square of a tiny
// or huge divisor is formed.
template <typename R>
inline vrx_complex<R> vrx_lapack_divide(vrx_complex<R> x, vrx_complex<R> y) {
  if (std::fabs(y.re) >= std::fabs(y.im)) {
    const R ratio = y.im / y.re, d = y.re + y.im * ratio;
    return {(x.re + x.im * ratio) / d, (x.im - x.re * ratio) / d};
  }
  const R ratio = y.re / y.im, d = y.re * ratio + y.im;
  return {(x.re * ratio + x.im) / d, (x.im * ratio - x.re) / d};
}

template <typename T>
inline void vrx_lapack_scale_by_pivot(vrx_int count, T pivot, T* x) {
  if (count <= 0) return;
  if (vrx_lapack_modulus(pivot) >= vrx_machine<vrx_real_t<T>>::sfmin) {
    vrx_blas_level1<T>()->scal(count, vrx_lapack_divide(vrx_traits<T>::make(1, 0), pivot), x);
    return;
  }
  for (vrx_int i = 0; i < count; ++i) x[i] = vrx_lapack_divide(x[i], pivot);
}
