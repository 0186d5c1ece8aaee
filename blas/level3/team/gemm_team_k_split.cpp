// The k-split worker: threads on the same tile of C each take a part of k; part 0
// writes C, the others write private slabs that the team then adds into C.
#include <algorithm>

#include "blas/level3/driver/vrx_l3_sync.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int reduce_chunk = 64;  // rows summed at once, in a local accumulator
constexpr int group_parts = 18;       // from this many parts on, slabs go in groups of 16

// Sum of 16 slabs at row i: eight two-lane partial sums, added pairwise.
template <typename T>
inline T group_of_16(const T* s, vrx_int stride, vrx_int i) {
  T p[8];
  for (int j = 0; j < 8; ++j) p[j] = s[2 * j * stride + i] + s[(2 * j + 1) * stride + i];
  return ((p[0] + p[1]) + (p[2] + p[3])) + ((p[4] + p[5]) + (p[6] + p[7]));
}
}  // namespace

template <typename T>
void vrx_l3_team_reduce(T* c, const T* slabs, vrx_int slab_stride, int slab_count, vrx_int rows, int parts) {
  T sum[reduce_chunk];
  for (vrx_int i0 = 0; i0 < rows; i0 += reduce_chunk) {
    const vrx_int h = std::min(reduce_chunk, rows - i0);
    const T* first = slabs + i0;
    for (vrx_int i = 0; i < h; ++i) sum[i] = first[i];
    int s = 1;
    if (parts >= group_parts)
      for (; s + 16 <= slab_count; s += 16) {
        const T* g = first + s * slab_stride;
        for (vrx_int i = 0; i < h; ++i) sum[i] += group_of_16(g, slab_stride, i);
      }
    for (; s + 2 <= slab_count; s += 2) {
      const T* p = first + s * slab_stride;
      for (vrx_int i = 0; i < h; ++i) sum[i] += p[i] + p[slab_stride + i];
    }
    for (; s < slab_count; ++s) {
      const T* p = first + s * slab_stride;
      for (vrx_int i = 0; i < h; ++i) sum[i] += p[i];
    }
    T* out = c + i0;
    for (vrx_int i = 0; i < h; ++i) out[i] = sum[i] + out[i];
  }
}

template <typename T>
void vrx_l3_team_k_split(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
                         const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops) {
  const vrx_int m = c->rows, n = c->cols, k = a->cols;
  const int id = team->id, threads = team->threads;
  const vrx_int grid_m = team->grid_m, grid_n = team->grid_n, grid_k = team->grid_k;
  const vrx_int tiles = grid_m * grid_n;
  const vrx_int kz = id / tiles, r = id % tiles, jy = r / grid_m, ix = r % grid_m;
  const vrx_l3_part rows = vrx_l3_cut(m, grid_m, ix), cols = vrx_l3_cut(n, grid_n, jy);
  const vrx_int ldw = vrx_l3_slab_ld(m), slab = ldw * n;
  vrx_l3_sync* sync = team->sync;

  // Thread 0 owns the slabs; without them it computes the whole product alone.
  T* work = nullptr;
  if (grid_k >= 2) {
    vrx_l3_barrier(sync, id, threads);
    if (id == 0) {
      const std::size_t bytes = static_cast<std::size_t>(grid_k - 1) * static_cast<std::size_t>(slab) * sizeof(T);
      team->shared_blocking->raw = vrx_l3_scratch_alloc(bytes, 4096);
    }
    vrx_l3_barrier(sync, id, threads);
    work = static_cast<T*>(team->shared_blocking->raw);
    if (!work) {
      if (id == 0) ops->driver(call, a, b, c, nullptr, ops);
      return;
    }
  }

  const vrx_l3_part depth = vrx_l3_cut_k(k, grid_k, kz);
  if (rows.count > 0 && cols.count > 0) {
    const vrx_l3_view<T> sa = vrx_l3_sub_view(a, rows.start, depth.start, rows.count, depth.count);
    const vrx_l3_view<T> sb = vrx_l3_sub_view(b, depth.start, cols.start, depth.count, cols.count);
    if (kz == 0) {
      const vrx_l3_view<T> sc = vrx_l3_sub_view(c, rows.start, cols.start, rows.count, cols.count);
      ops->driver(call, &sa, &sb, &sc, nullptr, ops);
    } else {
      // An empty part of k still zeroes its slab: beta 0 with k = 0 stores zeros.
      T* tile = work + (kz - 1) * slab + rows.start + cols.start * ldw;
      const vrx_l3_view<T> sc = vrx_l3_make_c_view<T>(tile, rows.count, cols.count, ldw);
      vrx_l3_call<T> own = *call;
      own.beta = T{};
      ops->driver(&own, &sa, &sb, &sc, nullptr, ops);
    }
  }
  if (grid_k < 2) return;
  vrx_l3_barrier(sync, id, threads);

  // Each part of k adds the slabs into its share of the tile's columns.
  const vrx_l3_part share = vrx_l3_cut_k(cols.count, grid_k, kz);
  if (rows.count > 0)
    for (vrx_int j = share.start; j < share.start + share.count; ++j) {
      const vrx_int col = cols.start + j;
      vrx_l3_team_reduce(c->address(rows.start, col, c), work + rows.start + col * ldw, slab,
                         static_cast<int>(grid_k - 1), rows.count, static_cast<int>(grid_k));
    }
  vrx_l3_barrier(sync, id, threads);
  if (id == 0) vrx_serv_free(work);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_l3_team_reduce(T*, const T*, vrx_int, int, vrx_int, int);                                \
  template void vrx_l3_team_k_split(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,           \
                                    const vrx_l3_view<T>*, const vrx_l3_team<T>*, const vrx_l3_ops<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
