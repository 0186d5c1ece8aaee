// The 24 by 8 register-block kernel of CPU type 7, its pack routines and its table.
#include "blas/kernels/vrx_simd.h"
#include "blas/kernels/dgemm_l3_class.h"

namespace {
constexpr int mr = 24, nr = 8;
constexpr int ahead = 768;  // bytes of A ahead of the k loop (B: half of it)

// Row slots: 24, then tails 1, 2, 4, 8, 16. Column slots: 8, then tails 1, 2, 4. Row
// tails of 1, 2 and 4 against a full column panel are computed across the columns.
#define VRX_TILE_ROW(V, NV, S, AH) \
  { vrx_l3_tile<V, NV, 8, S, AH>, vrx_l3_tile<V, NV, 1, S, 0>, vrx_l3_tile<V, NV, 2, S, 0>, vrx_l3_tile<V, NV, 4, S, 0> }
#define VRX_TILE_ROW_ACROSS(V, H, S) \
  { vrx_l3_tile_across<vrx_vec8, H, S>, vrx_l3_tile<V, 1, 1, S, 0>, vrx_l3_tile<V, 1, 2, S, 0>, vrx_l3_tile<V, 1, 4, S, 0> }
#define VRX_TILE_TABLE(S)                                                                          \
  {                                                                                               \
    VRX_TILE_ROW(vrx_vec8, 3, S, ahead), VRX_TILE_ROW_ACROSS(vrx_vec1, 1, S),                     \
        VRX_TILE_ROW_ACROSS(vrx_vec2, 2, S), VRX_TILE_ROW_ACROSS(vrx_vec4, 4, S),                 \
        VRX_TILE_ROW(vrx_vec8, 1, S, ahead), VRX_TILE_ROW(vrx_vec8, 2, S, ahead)                  \
  }
constexpr vrx_l3_tile_fn tiles_add[6][4] = VRX_TILE_TABLE(false);
constexpr vrx_l3_tile_fn tiles_store[6][4] = VRX_TILE_TABLE(true);
#undef VRX_TILE_TABLE
#undef VRX_TILE_ROW_ACROSS
#undef VRX_TILE_ROW
}  // namespace

const vrx_l3_kernels<double> vrx_l3_dgemm_kernels_avx512 =
    vrx_l3_class_kernels<mr, nr, 6, 4, tiles_add, tiles_store, vrx_blas_dgemm_unpacked_avx512>();
