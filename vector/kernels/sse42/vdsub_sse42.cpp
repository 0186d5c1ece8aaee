// Guarded subtraction, second SSE body: the output is aligned before the main loop.
#define VRX_VEC_BYTES 16
#include "vector/kernels/vdsub_body.h"

void vrx_vmf_dsub_guarded_sse42(int n, const double* a, const double* b, double* y) {
  vdsub_guarded_aliased<4, true>(n, a, b, y);
}
