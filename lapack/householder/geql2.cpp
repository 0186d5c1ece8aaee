// Unblocked QL: from the last column back, a reflector that zeroes the column above the
// diagonal of the trailing k by k block, applied (as H^H) to the columns on its left. L is
// left on and below that diagonal, each reflector's vector above it with its last element
// (the 1) implicit; A = Q L with Q = H(k) ... H(1).
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"

template <typename T>
void vrx_lapack_geql2(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work) {
  const vrx_int k = m < n ? m : n;
  for (vrx_int i = k - 1; i >= 0; --i) {
    const vrx_int row = m - k + i, col = n - k + i;
    T* column = a + col * lda;
    T alpha = column[row];
    vrx_lapack_larfg(row + 1, &alpha, column, 1, tau + i);
    column[row] = vrx_hh_one<T>();
    vrx_lapack_larf("Left", row + 1, col, column, 1, vrx_traits<T>::conj(tau[i]), a, lda, work);
    column[row] = alpha;
  }
}

#define VRX_GEQL2_INSTANCE(T) template void vrx_lapack_geql2<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*);
VRX_GEQL2_INSTANCE(float)
VRX_GEQL2_INSTANCE(double)
VRX_GEQL2_INSTANCE(vrx_complex_float)
VRX_GEQL2_INSTANCE(vrx_complex_double)
#undef VRX_GEQL2_INSTANCE
