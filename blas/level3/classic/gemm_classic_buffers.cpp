// Sizes of the shared buffers of the classic road's workers, through the row's own
// sizing operation, with the blocks capped by the call's extents.
#include <algorithm>
#include "blas/level3/classic/vrx_gemm_classic.h"

template <typename T>
void vrx_gemm_classic_shared_sizes(const vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k, std::size_t* a_bytes,
                                   std::size_t* b_bytes) {
  *a_bytes = *b_bytes = 0;
  if (s->count_a <= 0 && s->count_b <= 0) return;
  vrx_gemm_context_t<T> sizing = s->ctx;
  if (s->block_m > 0) sizing.mc = s->block_m;
  sizing.mc = std::min(sizing.mc, m);
  sizing.nc = std::min(sizing.nc, n);
  sizing.kc = std::min(sizing.kc, k);
  sizing.row.sizing(&sizing, VRX_GEMM_SIZE_ROUND, m, n, k);
  if (s->count_b > 0) {
    sizing.row.sizing(&sizing, VRX_GEMM_SIZE_B, m, n, k);
    *b_bytes = sizing.b.bytes;
  }
  if (s->count_a > 0) {
    sizing.row.sizing(&sizing, VRX_GEMM_SIZE_A, m, n, k);
    *a_bytes = sizing.a.bytes;
  }
}

#define VRX_X(T)                                                                                                   \
  template void vrx_gemm_classic_shared_sizes<T>(const vrx_gemm_split_t<T>*, vrx_int, vrx_int, vrx_int, std::size_t*, \
                                                 std::size_t*);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
