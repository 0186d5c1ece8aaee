// One thread of the team road: decides the layout for the threads really delivered,
// cuts its part of C and runs the level-3 driver on it (or the k-split and
// cooperating workers, which run several).
#include "blas/level3/team/vrx_l3_team.h"
#include "service/vrx_serv.h"

namespace {
// Rows (split 0) or columns (split 1) of C; the other matrix stays whole.
template <typename T>
void run_slice(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
               const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops) {
  const bool rows = team->split == 0;
  const vrx_l3_part part = vrx_l3_cut(rows ? c->rows : c->cols, team->threads, team->id);
  if (part.count == 0) return;
  if (rows) {
    const vrx_l3_view<T> sa = vrx_l3_sub_view(a, part.start, 0, part.count, a->cols);
    const vrx_l3_view<T> sc = vrx_l3_sub_view(c, part.start, 0, part.count, c->cols);
    ops->driver(call, &sa, b, &sc, nullptr, ops);
  } else {
    const vrx_l3_view<T> sb = vrx_l3_sub_view(b, 0, part.start, b->rows, part.count);
    const vrx_l3_view<T> sc = vrx_l3_sub_view(c, 0, part.start, c->rows, part.count);
    ops->driver(call, a, &sb, &sc, nullptr, ops);
  }
}

// A tile of the two-dimensional grid, on the grid as shrunk by the finer cut.
template <typename T>
void run_tile(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
              const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops) {
  const bool dynamic = vrx_serv_get_dynamic() != 0;
  vrx_l3_part probe;
  const vrx_int gm = vrx_l3_cut_grid(c->rows, team->grid_m, true, dynamic, 0, &probe);
  const vrx_int gn = vrx_l3_cut_grid(c->cols, team->grid_n, false, dynamic, 0, &probe);
  if (team->id >= gm * gn) return;
  vrx_l3_part rows, cols;
  vrx_l3_cut_grid(c->rows, team->grid_m, true, dynamic, team->id % gm, &rows);
  vrx_l3_cut_grid(c->cols, team->grid_n, false, dynamic, team->id / gm, &cols);
  if (rows.count == 0 || cols.count == 0) return;
  const vrx_l3_view<T> sa = vrx_l3_sub_view(a, rows.start, 0, rows.count, a->cols);
  const vrx_l3_view<T> sb = vrx_l3_sub_view(b, 0, cols.start, b->rows, cols.count);
  const vrx_l3_view<T> sc = vrx_l3_sub_view(c, rows.start, cols.start, rows.count, cols.count);
  ops->driver(call, &sa, &sb, &sc, nullptr, ops);
}
}  // namespace

template <typename T>
void vrx_l3_team_worker(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
                        vrx_l3_team<T>* team) {
  if (vrx_l3_triangular_result_kinds >> call->kind & 1) {
    vrx_l3_team_triangle(call, a, b, c, team);
    return;
  }
  if (team->threads > 1) vrx_l3_team_layout(team, c->rows, c->cols, a->cols);
  team->group_size = team->threads;
  // Only the k-split and cooperating workers use the group's shared records.
  if (team->split != 3 && team->team_mode != 1) team->group = -1;
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<T> ops;
  vrx_l3_init_shape_for<T>(static_cast<int>(team->cpu), team, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(static_cast<int>(team->cpu)), call, a, b, c, &shape, &ops)) return;
  if (team->threads <= 1) {
    ops.driver(call, a, b, c, nullptr, &ops);
    return;
  }
  if (team->split == 3) vrx_l3_team_k_split(call, a, b, c, team, &ops);
  else if (team->team_mode == 1) vrx_l3_team_cooperating(call, a, b, c, team, &ops);
  else if (team->split == 2) run_tile(call, a, b, c, team, &ops);
  else run_slice(call, a, b, c, team, &ops);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_l3_team_worker(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,            \
                                   const vrx_l3_view<T>*, vrx_l3_team<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
