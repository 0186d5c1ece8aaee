// The queue path of the LU factorisation (being built): until it lands the state is
// reported as unavailable, so that the host routine takes the look-ahead path.
#include "lapack/lu/vrx_getrf.h"

template <typename T>
int vrx_lapack_getrf_queue(vrx_int, vrx_int, T*, vrx_int, vrx_int*, vrx_int*, int, vrx_int) {
  return -1;
}
template int vrx_lapack_getrf_queue<float>(vrx_int, vrx_int, float*, vrx_int, vrx_int*, vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_queue<double>(vrx_int, vrx_int, double*, vrx_int, vrx_int*, vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_queue<vrx_complex_float>(vrx_int, vrx_int, vrx_complex_float*, vrx_int, vrx_int*,
                                                       vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_queue<vrx_complex_double>(vrx_int, vrx_int, vrx_complex_double*, vrx_int, vrx_int*,
                                                        vrx_int*, int, vrx_int);
