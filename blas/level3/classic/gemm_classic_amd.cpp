// Block functions of the other vendor's strategies: family 10h (strategy 6) picks
// its pair by the width of a column tile, the FMA4 processors (strategy 8) by the
// thread count. Each pair has one member for A as stored and one for A transposed.
// The grid worker walks its tile in these blocks.
#include <algorithm>
#include "blas/level3/classic/vrx_gemm_classic.h"

namespace {
struct amd_blocks {
  vrx_int block_m, block_n, block_k;
};
// [pair][A transposed]
constexpr amd_blocks family10_blocks[2][2] = {
    {{512, 384, 1024}, {384, 384, 1024}},  // narrow tiles: a tile's columns in one block
    {{768, 384, 768}, {512, 384, 768}},    // wide tiles
};
constexpr amd_blocks fma4_blocks[2][2] = {
    {{1024, 512, 1024}, {768, 512, 1024}},  // few threads: large blocks
    {{512, 256, 768}, {384, 256, 768}},     // sixteen threads or more share the caches
};
}  // namespace

template <typename T>
void vrx_gemm_classic_amd_blocks(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k) {
  const int transposed = s->a_is_n ? 0 : 1;
  amd_blocks b;
  if (s->strategy == 6) {
    const vrx_int tile_n = n / std::max(s->grid_n, 1);
    b = family10_blocks[tile_n <= 384 ? 0 : 1][transposed];
  } else {
    b = fma4_blocks[s->threads >= 16 ? 1 : 0][transposed];
  }
  s->block_m = std::min(b.block_m, std::max<vrx_int>(m, 1));
  s->block_n = std::min(b.block_n, std::max<vrx_int>(n, 1));
  s->block_k = std::min(b.block_k, std::max<vrx_int>(k, 1));
}

#define VRX_X(T) template void vrx_gemm_classic_amd_blocks<T>(vrx_gemm_split_t<T>*, vrx_int, vrx_int, vrx_int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
