// The per-thread record of the path a product with Q or a generation of Q took, read by tests.
#include "lapack/qr/vrx_orthogonal.h"

vrx_orthogonal_trace* vrx_lapack_orthogonal_trace() {
  static thread_local vrx_orthogonal_trace record;
  return &record;
}
