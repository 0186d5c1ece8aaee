// The unblocked QR's result for matrices well taller than wide, at level-3 speed: blocks
// of 32 columns, each factored by LAQRF into a small factor T on the stack, then applied
// to the columns on its right 32 at a time as a block reflector.
#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_geqrf.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int block_width = 32;
}

template <typename T>
void vrx_lapack_geqr2_tall(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork) {
  T factor[block_width * block_width];
  T apply_work[block_width * block_width];
  const bool sequential = vrx_serv_in_parallel() != 0;
  const vrx_int k = m < n ? m : n;
  for (vrx_int j = 0; j < k; j += block_width) {
    const vrx_int jb = k - j < block_width ? k - j : block_width;
    T* block = a + j * lda + j;
    vrx_lapack_laqrf(m - j, jb, block, lda, tau + j, factor, block_width, work, lwork);
    ++vrx_lapack_geqrf_trace()->tall_blocks;
    for (vrx_int c = j + jb; c < n; c += block_width) {
      const vrx_int cb = n - c < block_width ? n - c : block_width;
      vrx_lapack_larfb("Left", "Conjugate transpose", "Forward", "Columnwise", m - j, cb, jb, block, lda, factor,
                       block_width, a + c * lda + j, lda, apply_work, cb, sequential);
    }
  }
}

#define VRX_GEQR2_TALL_INSTANCE(T) \
  template void vrx_lapack_geqr2_tall<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int);
VRX_GEQR2_TALL_INSTANCE(float)
VRX_GEQR2_TALL_INSTANCE(double)
VRX_GEQR2_TALL_INSTANCE(vrx_complex_float)
VRX_GEQR2_TALL_INSTANCE(vrx_complex_double)
#undef VRX_GEQR2_TALL_INSTANCE
