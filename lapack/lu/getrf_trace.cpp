// The per-thread record of the path an LU factorisation took, read by tests.
#include "lapack/lu/vrx_getrf.h"

vrx_getrf_trace* vrx_lapack_getrf_trace() {
  static thread_local vrx_getrf_trace record;
  return &record;
}
