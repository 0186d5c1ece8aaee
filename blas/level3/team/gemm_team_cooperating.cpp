// The cooperating worker: every thread holds a slice of the columns of B and C, and
// the team packs each block of A once, in strips, into one shared buffer.
#include <algorithm>

#include "blas/level3/driver/vrx_l3_sync.h"
#include "blas/level3/team/vrx_l3_team.h"

namespace {
constexpr int max_row_block_factor = 10;  // the shared block holds at most 10 blocks of rows

template <typename T>
void mark_failed(const vrx_l3_team<T>* team) { __atomic_store_n(team->failed, 1, __ATOMIC_RELAXED); }

// Thread `id` packs its strip of the mb by kb block of A at (i0, l0) into the shared buffer.
template <typename T>
void pack_strip(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_blocking<T>* shared,
                const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops, vrx_int i0, vrx_int l0, vrx_int mb, vrx_int kb) {
  if (team->id >= team->pack_threads) return;
  const vrx_int mr = ops->shape.mr, packers = team->pack_threads;
  const vrx_int strip = std::min(((mb + packers - 1) / packers + mr - 1) / mr * mr, mb);
  const vrx_int first = team->id * strip;
  if (first >= mb) return;
  const vrx_int h = std::min(strip, mb - first);
  vrx_l3_view<T> target = shared->a_packed;
  target.rows = mb;
  target.cols = kb;
  const vrx_l3_view<T> source = vrx_l3_sub_view(a, i0 + first, l0, h, kb);
  ops->pack_a(&source, &target, call->alpha, first);
}
}  // namespace

template <typename T>
void vrx_l3_team_cooperating(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                             const vrx_l3_view<T>* c, const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops) {
  const vrx_int m = c->rows, n = c->cols, k = a->cols;
  const int id = team->id, threads = team->threads;
  vrx_l3_blocking<T>* shared = team->shared_blocking;
  vrx_l3_sync* sync = team->sync;
  const vrx_l3_part cols = vrx_l3_cut(n, threads, id);
  const vrx_l3_view<T> my_b = vrx_l3_sub_view(b, 0, cols.start, k, cols.count);
  const vrx_l3_view<T> my_c = vrx_l3_sub_view(c, 0, cols.start, m, cols.count);

  // Thread 0 sizes the shared A block for the whole call; each thread has its own B buffer.
  if (id == 0) {
    vrx_l3_blocking_init(a, b, &ops->shape, shared);
    shared->mc = std::min(m, std::min(threads, max_row_block_factor) * shared->mc);
    shared->kind = VRX_L3_BUFFER_A;
    if (!shared->allocate(shared)) mark_failed(team);
  }
  vrx_l3_blocking<T> own;
  vrx_l3_blocking_init(a, &my_b, &ops->shape, &own);
  own.kind = VRX_L3_BUFFER_B;
  const bool have_own = own.allocate(&own) != 0;
  if (!have_own) mark_failed(team);
  vrx_l3_barrier(sync, id, threads);

  if (__atomic_load_n(team->failed, __ATOMIC_RELAXED)) {
    if (have_own) own.release(&own);
    if (id == 0) shared->release(shared);
    if (cols.count > 0) ops->fallback(call, a, &my_b, &my_c);
    return;
  }

  const vrx_int mc = shared->mc, kc = shared->kc;
  vrx_l3_blocking<T> mine = own;
  mine.a_packed = shared->a_packed;
  for (vrx_int l0 = 0; l0 < k; l0 += kc) {
    const vrx_int kb = std::min(kc, k - l0);
    for (vrx_int i0 = 0; i0 < m; i0 += mc) {
      const vrx_int mb = std::min(mc, m - i0);
      vrx_l3_barrier(sync, id, threads);  // the previous block is no longer read
      pack_strip(call, a, shared, team, ops, i0, l0, mb, kb);
      vrx_l3_barrier(sync, id, threads);
      if (cols.count == 0) continue;
      vrx_l3_call<T> block_call = *call;
      if (l0 > 0) block_call.beta = vrx_traits<T>::make(1, 0);
      const vrx_l3_view<T> ab = vrx_l3_sub_view(a, i0, l0, mb, kb);
      const vrx_l3_view<T> bb = vrx_l3_sub_view(b, l0, cols.start, kb, cols.count);
      const vrx_l3_view<T> cb = vrx_l3_sub_view(c, i0, cols.start, mb, cols.count);
      ops->driver(&block_call, &ab, &bb, &cb, &mine, ops);
    }
  }
  own.release(&own);
  vrx_l3_barrier(sync, id, threads);
  if (id == 0) shared->release(shared);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_l3_team_cooperating(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,       \
                                        const vrx_l3_view<T>*, const vrx_l3_team<T>*, const vrx_l3_ops<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
