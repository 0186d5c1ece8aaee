// The team path of the LU factorisation (being built): nothing reaches it yet.
#include "lapack/lu/vrx_getrf.h"

template <typename T>
void vrx_lapack_getrf_team(vrx_int, vrx_int, T*, vrx_int, vrx_int*, vrx_int*, int) {}
template void vrx_lapack_getrf_team<float>(vrx_int, vrx_int, float*, vrx_int, vrx_int*, vrx_int*, int);
template void vrx_lapack_getrf_team<double>(vrx_int, vrx_int, double*, vrx_int, vrx_int*, vrx_int*, int);
template void vrx_lapack_getrf_team<vrx_complex_float>(vrx_int, vrx_int, vrx_complex_float*, vrx_int, vrx_int*,
                                                       vrx_int*, int);
template void vrx_lapack_getrf_team<vrx_complex_double>(vrx_int, vrx_int, vrx_complex_double*, vrx_int, vrx_int*,
                                                        vrx_int*, int);
