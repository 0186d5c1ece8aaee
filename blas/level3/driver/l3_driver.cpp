// The plain driver (one thread on its own slice) and the cooperating driver (A packed
// by the team into a shared buffer) of the level-3 product.
#include "blas/vrx_l3.h"

namespace {
vrx_int min_of(vrx_int x, vrx_int y) { return x < y ? x : y; }

// The treatment of k = 0, beta and alpha shared by both drivers. Answers false when
// nothing is left to compute; otherwise call->beta is 1.0 or 0.0 on return.
template <typename T>
bool prologue(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* c, const vrx_l3_ops<T>* ops) {
  typedef vrx_traits<T> tr;
  const vrx_int m = c->rows, n = c->cols, k = a->cols;
  if (m < 1 || n < 1) return false;
  T* c0 = c->address(0, 0, c);
  if (k < 1) {
    if (!tr::is_one(call->beta)) ops->scale_c(m, n, call->beta, c0, c->ld);
    return false;
  }
  if (!tr::is_one(call->beta) && !tr::is_zero(call->beta)) {
    ops->scale_c(m, n, call->beta, c0, c->ld);
    call->beta = tr::make(1, 0);
  }
  if (tr::is_zero(call->alpha)) {
    if (tr::is_zero(call->beta)) ops->scale_c(m, n, T{}, c0, c->ld);
    return false;
  }
  return true;
}

// Packs op(B)(l0 .. l0 + kb, j0 .. j0 + nb) into the B buffer.
template <typename T>
void pack_b_block(const vrx_l3_view<T>* b, vrx_l3_blocking<T>* bl, const vrx_l3_ops<T>* ops, vrx_int l0, vrx_int j0,
                  vrx_int kb, vrx_int nb) {
  const vrx_l3_view<T> source = vrx_l3_sub_view(b, l0, j0, kb, nb);
  bl->b_packed.rows = kb;
  bl->b_packed.cols = nb;
  ops->pack_b(&source, &bl->b_packed, vrx_traits<T>::make(1, 0), 0);
}

template <typename T>
void run_blocks(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
                vrx_l3_blocking<T>* bl, const vrx_l3_ops<T>* ops) {
  const vrx_int m = c->rows, n = c->cols, k = a->cols;
  const vrx_int mr = ops->shape.mr, mc = bl->mc, nc = bl->nc, kc = bl->kc;
  const T* a_buffer = bl->a_packed.data;
  const T* b_buffer = bl->b_packed.data;
  for (vrx_int i0 = 0; i0 < m; i0 += mc) {
    const vrx_int mb = min_of(mc, m - i0);
    for (vrx_int l0 = 0; l0 < k; l0 += kc) {
      const vrx_int kb = min_of(kc, k - l0);
      const T beta = l0 == 0 ? call->beta : vrx_traits<T>::make(1, 0);
      bl->a_packed.rows = mb;
      bl->a_packed.cols = kb;
      vrx_int packed = i0;
      for (vrx_int j0 = 0; j0 < n; j0 += nc) {
        const vrx_int nb = min_of(nc, n - j0);
        const bool single_pass = nb >= n;  // every A panel is used once: keep one at offset 0
        pack_b_block(b, bl, ops, l0, j0, kb, nb);
        for (vrx_int i = i0; i < i0 + mb;) {
          if (packed > i) {
            ops->kernel(i0 + mb - i, nb, kb, a_buffer + (i - i0) * kb, b_buffer, c->address(i, j0, c), c->ld,
                        beta);
            break;
          }
          const vrx_int h = min_of(mr, i0 + mb - i);
          const vrx_int offset = single_pass ? 0 : i - i0;
          const vrx_l3_view<T> source = vrx_l3_sub_view(a, i, l0, h, kb);
          ops->pack_a(&source, &bl->a_packed, call->alpha, offset);
          ops->kernel(h, nb, kb, a_buffer + offset * kb, b_buffer, c->address(i, j0, c), c->ld, beta);
          packed = i + h;
          i += h;
        }
      }
    }
  }
}
}  // namespace

template <typename T>
void vrx_l3_driver_plain(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                         const vrx_l3_view<T>* c, vrx_l3_blocking<T>* blocking, const vrx_l3_ops<T>* ops) {
  if (!prologue(call, a, c, ops)) return;
  if (blocking) {
    run_blocks(call, a, b, c, blocking, ops);
    return;
  }
  vrx_l3_blocking<T> own;
  vrx_l3_blocking_init(a, b, &ops->shape, &own);
  if (!own.allocate(&own)) {
    ops->fallback(call, a, b, c);
    return;
  }
  run_blocks(call, a, b, c, &own, ops);
  own.release(&own);
}

// A (c->rows by a->cols) lies packed in blocking->a_packed; B is packed here in steps
// of nc into the blocking's own B buffer. Without a blocking it runs as the plain driver.
template <typename T>
void vrx_l3_driver_cooperating(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                               const vrx_l3_view<T>* c, vrx_l3_blocking<T>* blocking, const vrx_l3_ops<T>* ops) {
  if (!blocking) {
    vrx_l3_driver_plain<T>(call, a, b, c, nullptr, ops);
    return;
  }
  if (!prologue(call, a, c, ops)) return;
  const vrx_int m = c->rows, n = c->cols, kb = a->cols;
  for (vrx_int j0 = 0; j0 < n; j0 += blocking->nc) {
    const vrx_int nb = min_of(blocking->nc, n - j0);
    pack_b_block(b, blocking, ops, 0, j0, kb, nb);
    ops->kernel(m, nb, kb, blocking->a_packed.data, blocking->b_packed.data, c->address(0, j0, c), c->ld,
                call->beta);
  }
}

#define VRX_INSTANTIATE(T)                                                                                   \
  template void vrx_l3_driver_plain(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,            \
                                    const vrx_l3_view<T>*, vrx_l3_blocking<T>*, const vrx_l3_ops<T>*);         \
  template void vrx_l3_driver_cooperating(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,      \
                                          const vrx_l3_view<T>*, vrx_l3_blocking<T>*, const vrx_l3_ops<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
