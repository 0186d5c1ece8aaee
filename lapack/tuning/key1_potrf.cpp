// Key 1 of POTRF: the block by n and thread count, then the super-tile questions of n3.
#include "lapack/tuning/tuning_query.h"
#include "service/vrx_types.h"

namespace {
constexpr vrx_ladder_step one_thread[] = {vrx_up_to(128, 128), vrx_up_to(450, 24),   vrx_up_to(700, 32),
                                          vrx_up_to(900, 56),  vrx_up_to(1050, 96),  vrx_up_to(1400, 128),
                                          vrx_up_to(1800, 192), vrx_up_to(2000, 256), vrx_up_to(3000, 384),
                                          vrx_rest(512)};
constexpr vrx_ladder_step threads[] = {vrx_below(200, 24),   vrx_below(400, 32),   vrx_below(750, 40),
                                       vrx_below(1300, 48),  vrx_below(1850, 56),  vrx_below(3000, 64),
                                       vrx_below(7000, 80),  vrx_below(16000, 96), vrx_rest(224)};
constexpr vrx_int ask_tile = -2, ask_largest_tile = -3;
constexpr vrx_int tile_whole_below = 1950, smallest_tile = 8, largest_tile = 384, tile_threads_from = 9;
}  // namespace

vrx_int vrx_tuning_potrf_block(const vrx_tuning_query& q) {
  const vrx_int n = q.n1, t = q.n2;
  const vrx_int nb = vrx_ladder_choose(t < 2, one_thread, threads, n);
  if (q.n3 == ask_tile) {
    if (n < tile_whole_below || t < 2) return n;
    const vrx_int tile = n / ((t + 1) * nb);
    return tile < smallest_tile ? smallest_tile : tile;
  }
  if (q.n3 == ask_largest_tile) return q.cpu >= VRX_CPU_SSE42 || t < tile_threads_from ? n : largest_tile;
  return nb;
}
