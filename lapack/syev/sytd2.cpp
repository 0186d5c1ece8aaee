// Unblocked reduction of a symmetric (Hermitian) matrix to tridiagonal form, one
// reflector per column: H(i) annihilates the column beyond the off-diagonal, and the
// two-sided update A := H A H is done as a rank-2 update with w = x - (tau/2)(x^H v) v,
// x = tau A v. The upper form works from the last column, the lower from the first.
#include "lapack/householder/vrx_householder.h"
#include "lapack/syev/vrx_sytrd.h"

namespace {
template <typename T>
inline T real_only(T x) {
  return vrx_traits<T>::make(vrx_traits<T>::real_part(x), 0);
}
}  // namespace

template <typename T>
void vrx_lapack_sytd2(bool upper, vrx_int n, T* a, vrx_int lda, vrx_real_t<T>* d, vrx_real_t<T>* e, T* tau) {
  typedef vrx_traits<T> tr;
  if (n <= 0) return;
  const auto at = [a, lda](vrx_int i, vrx_int j) -> T& { return a[i + j * lda]; };
  const T one = tr::make(1, 0);
  if (upper) {
    at(n - 1, n - 1) = real_only(at(n - 1, n - 1));
    for (vrx_int i = n - 2; i >= 0; --i) {
      // H(i) annihilates A(0 : i-1, i+1).
      T alpha = at(i, i + 1), taui;
      vrx_lapack_larfg<T>(i + 1, &alpha, &at(0, i + 1), 1, &taui);
      e[i] = tr::real_part(alpha);
      if (!tr::is_zero(taui)) {
        at(i, i + 1) = one;
        vrx_syev_reflect_both_sides("U", i + 1, taui, &at(0, i + 1), a, lda, tau);
      } else {
        at(i, i) = real_only(at(i, i));
      }
      at(i, i + 1) = tr::make(e[i], 0);
      d[i + 1] = tr::real_part(at(i + 1, i + 1));
      tau[i] = taui;
    }
    d[0] = tr::real_part(at(0, 0));
    return;
  }
  at(0, 0) = real_only(at(0, 0));
  for (vrx_int i = 0; i < n - 1; ++i) {
    // H(i) annihilates A(i+2 : n-1, i).
    const vrx_int m = n - i - 1;
    T alpha = at(i + 1, i), taui;
    vrx_lapack_larfg<T>(m, &alpha, &at(i + 2 < n ? i + 2 : n - 1, i), 1, &taui);
    e[i] = tr::real_part(alpha);
    if (!tr::is_zero(taui)) {
      at(i + 1, i) = one;
      vrx_syev_reflect_both_sides("L", m, taui, &at(i + 1, i), &at(i + 1, i + 1), lda, tau + i);
    } else {
      at(i + 1, i + 1) = real_only(at(i + 1, i + 1));
    }
    at(i + 1, i) = tr::make(e[i], 0);
    d[i] = tr::real_part(at(i, i));
    tau[i] = taui;
  }
  d[n - 1] = tr::real_part(at(n - 1, n - 1));
}

template void vrx_lapack_sytd2<float>(bool, vrx_int, float*, vrx_int, float*, float*, float*);
template void vrx_lapack_sytd2<double>(bool, vrx_int, double*, vrx_int, double*, double*, double*);
template void vrx_lapack_sytd2<vrx_complex_float>(bool, vrx_int, vrx_complex_float*, vrx_int, float*, float*,
                                                  vrx_complex_float*);
template void vrx_lapack_sytd2<vrx_complex_double>(bool, vrx_int, vrx_complex_double*, vrx_int, double*, double*,
                                                   vrx_complex_double*);
