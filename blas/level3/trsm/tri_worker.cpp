// One thread of the triangular solve or product on the team road: the diagonal blocks
// of A are packed once into a buffer the group shares, then each thread runs the
// recursive split on its slice of B, the diagonal blocks through the triangle kernel
// and the coupling blocks through the packed GEMM kernel.
#include "blas/level3/driver/vrx_l3_sync.h"
#include "blas/level3/trsm/vrx_tri_recursion.h"
#include "blas/level3/trsm/vrx_tri_team.h"
#include "service/vrx_memory.h"

namespace {
// Halves at multiples of the leaf order, so that every whole part is one of the packed
// blocks, which start at multiples of vrx_tri_leaf.
vrx_int leaf_cut(vrx_int s) {
  return s <= vrx_tri_leaf ? 0 : (s / 2 + vrx_tri_leaf - 1) / vrx_tri_leaf * vrx_tri_leaf;
}

template <typename T>
struct thread_step {
  const vrx_l3_call<T>* call;
  const vrx_l3_view<T>* a;
  const vrx_l3_view<T>* b;
  const vrx_l3_ops<T>* ops;
  T* packed;
  vrx_l3_blocking<T>* blocking;
  bool left;

  vrx_int cut(vrx_int s) const { return leaf_cut(s); }

  void whole(vrx_int r0, vrx_int s, T alpha) const {
    vrx_l3_view<T> tri{};
    tri.data = packed + r0 * vrx_tri_leaf;
    tri.rows = tri.cols = tri.ld = tri.full_rows = s;
    tri.flags = a->flags;
    const vrx_l3_view<T> part =
        left ? vrx_l3_sub_view(b, r0, 0, s, b->cols) : vrx_l3_sub_view(b, 0, r0, b->rows, s);
    vrx_l3_call<T> scaled = *call;
    scaled.alpha = alpha;
    ops->triangle_kernel(&scaled, &tri, nullptr, &part, ops);
  }

  void couple(vrx_int p0, vrx_int plen, vrx_int q0, vrx_int qlen, T coef, T beta) const {
    vrx_l3_call<T> product = *call;
    product.kind = VRX_L3_GEMM;
    product.alpha = coef;
    product.beta = beta;
    if (left) {
      const vrx_l3_view<T> x = vrx_l3_sub_view(a, p0, q0, plen, qlen);
      const vrx_l3_view<T> y = vrx_l3_sub_view(b, q0, 0, qlen, b->cols);
      const vrx_l3_view<T> z = vrx_l3_sub_view(b, p0, 0, plen, b->cols);
      vrx_l3_driver_plain(&product, &x, &y, &z, blocking, ops);
    } else {
      const vrx_l3_view<T> x = vrx_l3_sub_view(b, 0, q0, b->rows, qlen);
      const vrx_l3_view<T> y = vrx_l3_sub_view(a, q0, p0, qlen, plen);
      const vrx_l3_view<T> z = vrx_l3_sub_view(b, 0, p0, b->rows, plen);
      vrx_l3_driver_plain(&product, &x, &y, &z, blocking, ops);
    }
  }
};

// Bytes of the packed diagonal blocks of a triangle of order s.
template <typename T>
std::size_t packed_bytes(vrx_int s) {
  return static_cast<std::size_t>(s) * static_cast<std::size_t>(vrx_tri_leaf) * sizeof(T);
}

// The GEMM blocking of the couplings: C at most the slice, k at most the triangle.
template <typename T>
void coupling_blocking(bool left, vrx_int s, const vrx_l3_view<T>* b, const vrx_l3_ops<T>* ops,
                       vrx_l3_blocking<T>* blocking) {
  const vrx_l3_view<T> x = vrx_l3_make_view<T>(nullptr, left ? s : b->rows, s, 1, VRX_L3_PLAIN);
  const vrx_l3_view<T> y = vrx_l3_make_view<T>(nullptr, s, left ? b->cols : s, 1, VRX_L3_PLAIN);
  vrx_l3_blocking_init(&x, &y, &ops->shape, blocking);
}
}  // namespace

template <typename T>
void vrx_tri_worker(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                    const vrx_tri_group<T>* group, const vrx_l3_ops<T>* ops) {
  const vrx_int s = a->rows;
  const bool left = vrx_blas_side_code(call->side) != 1;
  const bool busy = b->rows > 0 && b->cols > 0;
  if (group->id == 0) {
    group->shared->raw = vrx_l3_scratch_alloc(packed_bytes<T>(s), 128);
    if (!group->shared->raw) __atomic_store_n(group->failed, 1, __ATOMIC_RELAXED);
  }
  vrx_l3_blocking<T> own{};
  if (busy) {
    coupling_blocking(left, s, b, ops, &own);
    if (!own.allocate(&own)) __atomic_store_n(group->failed, 1, __ATOMIC_RELAXED);
  }
  vrx_l3_barrier(group->sync, group->id, group->size);
  if (__atomic_load_n(group->failed, __ATOMIC_RELAXED)) {
    if (busy) {
      own.release(&own);
      ops->fallback(call, a, nullptr, b);
    }
    if (group->id == 0 && group->shared->raw) vrx_serv_free(group->shared->raw);
    return;
  }
  T* packed = static_cast<T*>(group->shared->raw);
  // The group packs the diagonal blocks, block i by thread i mod size.
  for (vrx_int i = group->id; i * vrx_tri_leaf < s; i += group->size) {
    const vrx_int r0 = i * vrx_tri_leaf, h = s - r0 < vrx_tri_leaf ? s - r0 : vrx_tri_leaf;
    const vrx_l3_view<T> block = vrx_l3_sub_view(a, r0, r0, h, h);
    vrx_l3_view<T> target{};
    target.data = packed + r0 * vrx_tri_leaf;
    ops->pack_diag(&block, &target, call->alpha, 0);
  }
  vrx_l3_barrier(group->sync, group->id, group->size);
  if (busy) {
    thread_step<T> step{call, a, b, ops, packed, &own, left};
    vrx_tri_recurse(step, call->kind == VRX_L3_TRSM, vrx_tri_forward(vrx_tri_codes_of(call)), 0, s, call->alpha);
    own.release(&own);
  }
  vrx_l3_barrier(group->sync, group->id, group->size);
  if (group->id == 0) vrx_serv_free(group->shared->raw);
}

template <typename T>
void vrx_tri_driver(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>*, const vrx_l3_view<T>* c,
                    vrx_l3_blocking<T>*, const vrx_l3_ops<T>* ops) {
  vrx_l3_blocking<T> shared{};
  vrx_l3_sync sync;
  vrx_l3_sync_reset(&sync);
  vrx_int failed = 0;
  const vrx_tri_group<T> solo{0, 1, &sync, &shared, &failed};
  vrx_tri_worker(call, a, c, &solo, ops);
}

#define VRX_INSTANTIATE(T)                                                                    \
  template void vrx_tri_worker(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*, \
                               const vrx_tri_group<T>*, const vrx_l3_ops<T>*);                \
  template void vrx_tri_driver(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*, \
                               const vrx_l3_view<T>*, vrx_l3_blocking<T>*, const vrx_l3_ops<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
