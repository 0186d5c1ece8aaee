// Guarded subtraction for AVX2-level processors: 256-bit, four registers a step,
// masked loads and stores for the tail.
#include <immintrin.h>
#define VRX_VEC_BYTES 32
#include "vector/kernels/vdsub_body.h"

namespace {
struct masked_tail {
  static void run(int count, const double* left, const double* right, double* y) {
    const __m256i mask = _mm256_cmpgt_epi64(_mm256_set1_epi64x(count), _mm256_setr_epi64x(0, 1, 2, 3));
    const __m256d d = _mm256_sub_pd(_mm256_maskload_pd(left, mask), _mm256_maskload_pd(right, mask));
    _mm256_maskstore_pd(y, mask, d);
  }
};
}  // namespace

void vrx_vmf_dsub_guarded_avx2(int n, const double* a, const double* b, double* y) {
  vdsub_guarded<4, masked_tail>(n, a, b, y);
}
