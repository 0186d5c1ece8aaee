// Q with orthonormal columns from the k reflectors GEQR2 leaves below the diagonal:
// Q = H(1) ... H(k) applied to the first n columns of the identity, built from the last
// reflector back so that each step touches only the trailing block.
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/vrx_lapack_blas.h"

template <typename T>
void vrx_lapack_org2r(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work) {
  if (n <= 0) return;
  // Columns k+1..n start as those of the identity.
  for (vrx_int j = k; j < n; ++j) {
    T* column = a + j * lda;
    for (vrx_int i = 0; i < m; ++i) column[i] = T{};
    column[j] = vrx_hh_one<T>();
  }
  for (vrx_int i = k - 1; i >= 0; --i) {
    T* diagonal = a + i * lda + i;
    if (i + 1 < n) {
      *diagonal = vrx_hh_one<T>();
      vrx_lapack_larf("Left", m - i, n - i - 1, diagonal, 1, tau[i], diagonal + lda, lda, work);
    }
    const vrx_int below = m - i - 1, inc_one = 1;
    const T minus_tau = -tau[i];
    if (below > 0) vrx_lapack_blas<T>::scal(&below, &minus_tau, diagonal + 1, &inc_one);
    *diagonal = vrx_hh_one<T>() - tau[i];
    for (vrx_int l = 0; l < i; ++l) a[i * lda + l] = T{};
  }
}

#define VRX_ORG2R_INSTANCE(T) template void vrx_lapack_org2r<T>(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*);
VRX_ORG2R_INSTANCE(float)
VRX_ORG2R_INSTANCE(double)
VRX_ORG2R_INSTANCE(vrx_complex_float)
VRX_ORG2R_INSTANCE(vrx_complex_double)
#undef VRX_ORG2R_INSTANCE
