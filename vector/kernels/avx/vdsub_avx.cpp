// Guarded subtraction with 256-bit AVX registers.
#define VRX_VEC_BYTES 32
#include "vector/kernels/vdsub_body.h"

void vrx_vmf_dsub_guarded_avx(int n, const double* a, const double* b, double* y) {
  vdsub_guarded_aliased<2>(n, a, b, y);
}
