// The team path of the LU factorisation (being built): until it lands it takes the
// look-ahead path, as after a failed allocation.
#include "lapack/lu/vrx_getrf.h"

template <typename T>
void vrx_lapack_getrf_team(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int) {
  if (vrx_lapack_getrf_lookahead<T>(m, n, a, lda, ipiv, info, 0, 0) != 0) *info = -1002;
}
template void vrx_lapack_getrf_team<float>(vrx_int, vrx_int, float*, vrx_int, vrx_int*, vrx_int*, int);
template void vrx_lapack_getrf_team<double>(vrx_int, vrx_int, double*, vrx_int, vrx_int*, vrx_int*, int);
template void vrx_lapack_getrf_team<vrx_complex_float>(vrx_int, vrx_int, vrx_complex_float*, vrx_int, vrx_int*,
                                                       vrx_int*, int);
template void vrx_lapack_getrf_team<vrx_complex_double>(vrx_int, vrx_int, vrx_complex_double*, vrx_int, vrx_int*,
                                                        vrx_int*, int);
