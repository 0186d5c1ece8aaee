// Guarded subtraction with 512-bit registers and a masked tail.
#include <immintrin.h>
#define VRX_VEC_BYTES 64
#include "vector/kernels/vdsub_body.h"

namespace {
struct masked_tail {
  static void run(int count, const double* left, const double* right, double* y) {
    const __mmask8 mask = static_cast<__mmask8>((1u << count) - 1);
    const __m512d d = _mm512_sub_pd(_mm512_maskz_loadu_pd(mask, left), _mm512_maskz_loadu_pd(mask, right));
    _mm512_mask_storeu_pd(y, mask, d);
  }
};
}  // namespace

void vrx_vmf_dsub_guarded_avx512(int n, const double* a, const double* b, double* y) {
  vdsub_guarded<4, masked_tail>(n, a, b, y);
}
