// Q with orthonormal columns from the k reflectors GEQL2 leaves in the last k columns:
// Q = H(k) ... H(1) applied to the last n columns of the identity, built from the first
// reflector on, each step touching only the leading block.
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/vrx_lapack_blas.h"

template <typename T>
void vrx_lapack_org2l(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work) {
  if (n <= 0) return;
  // Columns 1..n-k start as the last columns of the identity.
  for (vrx_int j = 0; j < n - k; ++j) {
    T* column = a + j * lda;
    for (vrx_int l = 0; l < m; ++l) column[l] = T{};
    column[m - n + j] = vrx_hh_one<T>();
  }
  for (vrx_int i = 0; i < k; ++i) {
    const vrx_int col = n - k + i, row = m - n + col;  // row: the reflector's 1
    T* column = a + col * lda;
    column[row] = vrx_hh_one<T>();
    vrx_lapack_larf("Left", row + 1, col, column, 1, tau[i], a, lda, work);
    const T minus_tau = -tau[i];
    const vrx_int inc_one = 1;
    vrx_lapack_blas<T>::scal(&row, &minus_tau, column, &inc_one);
    column[row] = vrx_hh_one<T>() - tau[i];
    for (vrx_int l = row + 1; l < m; ++l) column[l] = T{};
  }
}

#define VRX_ORG2L_INSTANCE(T) template void vrx_lapack_org2l<T>(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*);
VRX_ORG2L_INSTANCE(float)
VRX_ORG2L_INSTANCE(double)
VRX_ORG2L_INSTANCE(vrx_complex_float)
VRX_ORG2L_INSTANCE(vrx_complex_double)
#undef VRX_ORG2L_INSTANCE
