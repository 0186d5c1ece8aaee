// Unblocked QR: for each column, a reflector that zeroes it below the diagonal, applied
// (as H^H) to the columns on its right. R is left on and above the diagonal, the
// reflectors' vectors below it with their leading 1 implicit.
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"

template <typename T>
void vrx_lapack_geqr2(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work) {
  const vrx_int k = m < n ? m : n;
  for (vrx_int i = 0; i < k; ++i) {
    T* diagonal = a + i * lda + i;
    const vrx_int below = i + 1 < m ? i + 1 : m - 1;
    vrx_lapack_larfg(m - i, diagonal, a + i * lda + below, 1, tau + i);
    if (i + 1 < n) {
      const T beta = *diagonal;
      *diagonal = vrx_hh_one<T>();
      vrx_lapack_larf("Left", m - i, n - i - 1, diagonal, 1, vrx_traits<T>::conj(tau[i]), diagonal + lda, lda, work);
      *diagonal = beta;
    }
  }
}

#define VRX_GEQR2_INSTANCE(T) template void vrx_lapack_geqr2<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*);
VRX_GEQR2_INSTANCE(float)
VRX_GEQR2_INSTANCE(double)
VRX_GEQR2_INSTANCE(vrx_complex_float)
VRX_GEQR2_INSTANCE(vrx_complex_double)
#undef VRX_GEQR2_INSTANCE
