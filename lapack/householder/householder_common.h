// Small pieces shared by the reflector routines: the constants one and minus one of an
// element type, conjugation of a vector in place (nothing to do for real data), and the
// application of stored reflectors one at a time.
#pragma once
#include "blas/vrx_level12.h"
#include "lapack/householder/vrx_householder.h"
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

// C := H(i) C (left) or C H(i) (right) for i = 1..k in turn (or k..1), each H(i) from the
// reflector that starts on the diagonal a(i, i) with its 1 implied and runs down the
// column (inc 1) or along the row (inc lda), touching only rows (left) or columns (right)
// i..; tau conjugated when asked.
template <typename T>
void vrx_hh_apply_each(bool left, bool first_to_last, bool conj_tau, vrx_int m, vrx_int n, vrx_int k, const T* a,
                       vrx_int lda, vrx_int inc, const T* tau, T* c, vrx_int ldc, T* work) {
  for (vrx_int step = 0; step < k; ++step) {
    const vrx_int i = first_to_last ? step : k - 1 - step;
    const T tau_i = conj_tau ? vrx_traits<T>::conj(tau[i]) : tau[i];
    const T* v = a + i * lda + i;
    if (left)
      vrx_lapack_larf1f("Left", m - i, n, v, inc, tau_i, c + i, ldc, work);
    else
      vrx_lapack_larf1f("Right", m, n - i, v, inc, tau_i, c + i * ldc, ldc, work);
  }
}
