// Unblocked LQ: for each row, a reflector that zeroes it right of the diagonal, applied
// from the right to the rows below. For complex data the row is conjugated around the
// generation, so that the row keeps conj(v) and A = L Q with Q = H(k)^H ... H(1)^H.
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"

template <typename T>
void vrx_lapack_gelq2(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work) {
  const vrx_int k = m < n ? m : n;
  for (vrx_int i = 0; i < k; ++i) {
    T* diagonal = a + i * lda + i;
    const vrx_int len = n - i;
    const vrx_int right = i + 1 < n ? i + 1 : n - 1;
    vrx_hh_conjugate(len, diagonal, lda);
    vrx_lapack_larfg(len, diagonal, a + right * lda + i, lda, tau + i);
    if (i + 1 < m) {
      const T beta = *diagonal;
      *diagonal = vrx_hh_one<T>();
      vrx_lapack_larf("Right", m - i - 1, len, diagonal, lda, tau[i], diagonal + 1, lda, work);
      *diagonal = beta;
    }
    vrx_hh_conjugate(len, diagonal, lda);
  }
}

#define VRX_GELQ2_INSTANCE(T) template void vrx_lapack_gelq2<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*);
VRX_GELQ2_INSTANCE(float)
VRX_GELQ2_INSTANCE(double)
VRX_GELQ2_INSTANCE(vrx_complex_float)
VRX_GELQ2_INSTANCE(vrx_complex_double)
#undef VRX_GELQ2_INSTANCE
