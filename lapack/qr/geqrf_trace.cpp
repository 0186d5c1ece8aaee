// The per-thread record of the path a QR factorisation took, read by tests.
#include "lapack/qr/vrx_geqrf.h"

vrx_geqrf_trace* vrx_lapack_geqrf_trace() {
  static thread_local vrx_geqrf_trace record;
  return &record;
}
