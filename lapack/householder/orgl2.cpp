// Q with orthonormal rows from the k reflectors GELQ2 leaves right of the diagonal:
// Q = H(k)^H ... H(1)^H applied to the first m rows of the identity, built from the last
// reflector back. For complex data each row is conjugated back to v while it is applied.
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/vrx_lapack_blas.h"

template <typename T>
void vrx_lapack_orgl2(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work) {
  typedef vrx_traits<T> tr;
  if (m <= 0) return;
  // Rows k+1..m start as those of the identity.
  if (k < m) {
    for (vrx_int j = 0; j < n; ++j) {
      T* column = a + j * lda;
      for (vrx_int l = k; l < m; ++l) column[l] = T{};
      if (j >= k && j < m) column[j] = vrx_hh_one<T>();
    }
  }
  for (vrx_int i = k - 1; i >= 0; --i) {
    T* diagonal = a + i * lda + i;
    const vrx_int right = n - i - 1;
    if (right > 0) {
      vrx_hh_conjugate(right, diagonal + lda, lda);
      if (i + 1 < m) {
        *diagonal = vrx_hh_one<T>();
        vrx_lapack_larf("Right", m - i - 1, n - i, diagonal, lda, tr::conj(tau[i]), diagonal + 1, lda, work);
      }
      const T minus_tau = -tau[i];
      vrx_lapack_blas<T>::scal(&right, &minus_tau, diagonal + lda, &lda);
      vrx_hh_conjugate(right, diagonal + lda, lda);
    }
    *diagonal = vrx_hh_one<T>() - tr::conj(tau[i]);
    for (vrx_int l = 0; l < i; ++l) a[l * lda + i] = T{};
  }
}

#define VRX_ORGL2_INSTANCE(T) template void vrx_lapack_orgl2<T>(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*);
VRX_ORGL2_INSTANCE(float)
VRX_ORGL2_INSTANCE(double)
VRX_ORGL2_INSTANCE(vrx_complex_float)
VRX_ORGL2_INSTANCE(vrx_complex_double)
#undef VRX_ORGL2_INSTANCE
