// Small pieces shared by the reflector routines: the constants one and minus one of an
// element type, and conjugation of a vector in place (nothing to do for real data).
#pragma once
#include "blas/vrx_level12.h"
#include "service/vrx_traits.h"

template <typename T>
constexpr T vrx_hh_one() {
  return vrx_traits<T>::make(1, 0);
}
template <typename T>
constexpr T vrx_hh_minus_one() {
  return vrx_traits<T>::make(-1, 0);
}

// x := conj(x) for n elements at stride inc (LACGV); a no-op for real data.
inline void vrx_hh_conjugate(vrx_int, float*, vrx_int) {}
inline void vrx_hh_conjugate(vrx_int, double*, vrx_int) {}
inline void vrx_hh_conjugate(vrx_int n, vrx_complex_float* x, vrx_int inc) { CLACGV(&n, x, &inc); }
inline void vrx_hh_conjugate(vrx_int n, vrx_complex_double* x, vrx_int inc) { ZLACGV(&n, x, &inc); }
