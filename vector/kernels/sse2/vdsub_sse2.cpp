// Subtraction kernels for SSE2: a plain one and one guarded by the mode word.
#define VRX_VEC_BYTES 16
#include "vector/kernels/vdsub_body.h"

void vrx_vmf_dsub_plain_sse2(int n, const double* a, const double* b, double* y) {
  vdsub_body<vdsub_no_alias, 4, false, vdsub_scalar_tail>(n, a, b, y);
}

void vrx_vmf_dsub_guarded_sse2(int n, const double* a, const double* b, double* y) {
  vdsub_guarded_aliased<4>(n, a, b, y);
}
