// Layouts of the team road: which of rows, columns, a two-dimensional grid, a
// three-dimensional grid with a split of k, or a cooperating team, and the cuts.
#include <algorithm>

#include "blas/level3/team/vrx_l3_team.h"

namespace {
enum : std::uint32_t { split_rows = 0, split_columns = 1, split_grid = 2, split_k = 3 };

// Register-block widths of the CPU type: column slices above w1 or at most w2 per
// thread favour a grid, and r is the register height in units of the row cut.
struct widths {
  vrx_int w1, w2, r;
};
widths widths_of(std::uint32_t cpu) {
  if (cpu == VRX_CPU_AVX512) return {96, 48, 8};
  return {192, 96, 4};
}

// Large k against a C of moderate size: split k as well as C.
template <typename T>
bool three_dimensional(const vrx_l3_team<T>* team, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_int t = team->threads;
  return team->road == 2 && m >= 1304 && n >= 16 && k >= 1304 && t % 2 == 0 && m * n < 13107200 &&
         k >= std::max(m, n) && k >= 8 * std::min(m, n);
}

template <typename T>
void set_three_dimensional(vrx_l3_team<T>* team, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_int t = team->threads;
  vrx_int gn = std::max(static_cast<vrx_int>(static_cast<double>(n) / 480.0), vrx_int(1));
  const vrx_int gm = (m / 1024 >= 2 && t >= 8) ? 2 : 1;
  const vrx_int h = (gn > 1 && t / gm >= 8 && (t / gm) % 2 == 0) ? 2 : 1;
  vrx_int gk = std::min(std::min((209715200 / m) * 8 * n, (t / gm) / h), (k + 383) / 384);
  gk = std::max(gk, vrx_int(1));
  while (gk > 1 && t % gk != 0) --gk;
  while (gn > 1 && (t / gk) % gn != 0) --gn;
  team->split = split_k;
  team->team_mode = 0;
  team->grid_m = static_cast<std::int32_t>(t / gk / gn);
  team->grid_n = static_cast<std::int32_t>(gn);
  team->grid_k = static_cast<std::int32_t>(gk);
}

template <typename T>
void set_grid(vrx_l3_team<T>* team, std::uint32_t split, vrx_int gm, vrx_int gn, vrx_int gk) {
  team->split = split;
  team->grid_m = static_cast<std::int32_t>(gm);
  team->grid_n = static_cast<std::int32_t>(gn);
  team->grid_k = static_cast<std::int32_t>(gk);
}
}  // namespace

template <typename T>
void vrx_l3_team_layout(vrx_l3_team<T>* team, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_int t = team->threads;
  const widths w = widths_of(team->cpu);
  team->team_mode = 0;
  team->rounding = 0;
  team->pack_threads = 0;
  set_grid(team, split_columns, 1, 1, 1);
  if (three_dimensional(team, m, n, k)) {
    set_three_dimensional(team, m, n, k);
    return;
  }
  const vrx_int q = n / t;
  const bool wide = m >= 384 && (q > w.w1 || q <= w.w2);
  bool try_grid = wide || m >= 24;
  if (try_grid) {
    if (n < 8 || k < 336 || m > 378) {
      if (m >= 1000 && n >= 4000) {
        // One packed block of A shared by the team, each thread on its columns.
        team->team_mode = 1;
        team->pack_threads = static_cast<std::int32_t>(t);
        return;
      }
    } else if (n <= 378 && vrx_l3_team_k_split_model(static_cast<int>(t), m, n, k)) {
      set_grid(team, split_k, 1, 1, t);
      return;
    }
    try_grid = wide;
  }
  if (try_grid) {
    vrx_int gm = 1, gn = t;
    if (t % 2 == 0) {
      do {
        if (q <= w.w1 && n / gn > w.w2) break;
        if (m / gm < 384 || gm >= 4) break;
        gm *= 2;
        gn /= 2;
      } while (gn % 2 == 0);
    }
    set_grid(team, split_grid, gm, gn, 1);
    return;
  }
  if (m > n && (m / t >= w.r || n < 2 * t)) team->split = split_rows;
}

#define VRX_INSTANTIATE(T) template void vrx_l3_team_layout(vrx_l3_team<T>*, vrx_int, vrx_int, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE

vrx_l3_part vrx_l3_cut(vrx_int length, vrx_int parts, vrx_int index) {
  vrx_int c = length / parts;
  if (c + 1 < length - c * (parts - 1)) ++c;
  const vrx_int start = index * c;
  if (start >= length) return {0, 0};
  const vrx_int count = index == parts - 1 ? length - start : c;
  return {start, std::min(count, length - start)};
}

vrx_l3_part vrx_l3_cut_k(vrx_int length, vrx_int parts, vrx_int index) {
  const vrx_int c = std::max(length / parts, vrx_int(1));
  const vrx_int rem = std::max(length - parts * c, vrx_int(0));
  const vrx_int start = index < rem ? index * (c + 1) : rem + c * index;
  const vrx_int count = index < rem ? c + 1 : c;
  if (start >= length) return {0, 0};
  return {start, std::min(count, length - start)};
}

vrx_int vrx_l3_cut_grid(vrx_int length, vrx_int parts, bool rows, bool dynamic, vrx_int index,
                        vrx_l3_part* part) {
  vrx_int c = length / parts;
  const vrx_int rem = length - c * (parts - 1);
  *part = {0, 0};
  if (rem <= c + 1) {
    if (index < parts) *part = {index * c, index == parts - 1 ? rem : c};
    return parts;
  }
  if (dynamic) {
    // Parts of c + 1 and a short last one: the grid shrinks and surplus threads idle.
    if (rows && parts < rem) ++c;
    const vrx_int used = (length + c) / (c + 1);
    if (index < used) *part = {index * (c + 1), index == used - 1 ? length - (used - 1) * (c + 1) : c + 1};
    return used;
  }
  const vrx_int longer = length - parts * c;  // these first parts take c + 1
  if (index < longer) *part = {index * (c + 1), c + 1};
  else if (index < parts) *part = {longer * (c + 1) + (index - longer) * c, c};
  return parts;
}
