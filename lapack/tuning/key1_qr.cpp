// Key 1 of GEQRF: ladders on n without a thread count, the panel width formula with one.
#include "lapack/tuning/tuning_query.h"

namespace {
constexpr vrx_ladder_step parallel_panel[] = {vrx_up_to(200, 8),  vrx_up_to(400, 16),  vrx_up_to(550, 32),
                                              vrx_up_to(800, 48), vrx_up_to(1350, 64), vrx_rest(96)};
constexpr vrx_ladder_step blocked[] = {vrx_up_to(300, 16),  vrx_up_to(350, 24),  vrx_up_to(800, 48),
                                       vrx_up_to(1150, 64), vrx_up_to(3400, 96), vrx_rest(128)};
constexpr vrx_int largest_width = 160;
constexpr vrx_int blocked_panel_width = 2;  // opts "B"

vrx_int smallest(vrx_int a, vrx_int b) { return a < b ? a : b; }

// The threaded width: grows with n, shrinks with the thread count, bounded by m / 4.
vrx_int threaded_width(vrx_int m, vrx_int n, vrx_int t) {
  const double size = static_cast<double>(n);
  vrx_int b;
  if (t < 17)
    b = static_cast<vrx_int>(8.0 + static_cast<double>(32 / t) + (0.076 / static_cast<double>(t) + 0.012) * size);
  else
    b = static_cast<vrx_int>(0.006649 * size + 3.7);
  if (n < 151) b = 8;
  if (n > 10 * m && m < 251) {
    b = static_cast<vrx_int>(0.0018 * size + 32.0);
  } else {
    b = smallest(m / 4, b) / 8 * 8;
    if (b < 8) b = 8;
  }
  if (b < 8) {
    b = b / 4 * 4;
    if (b < 4) b = 4;
  } else {
    b = b / 8 * 8;
  }
  return smallest(smallest(m, n), smallest(b, largest_width));
}
}  // namespace

vrx_int vrx_tuning_geqrf_block(const vrx_tuning_query& q) {
  if (q.n3 < 1) return vrx_ladder_choose(q.opts == 'P', parallel_panel, blocked, q.n2);
  if (q.opts == 'B') return blocked_panel_width;
  return threaded_width(q.n1, q.n2, q.n3);
}
