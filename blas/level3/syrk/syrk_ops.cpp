// Operations of the level-3 driver for the kinds with a triangular result (SYRK,
// SYR2K and GEMM into one triangle of C). The general kernel works on whole tiles;
// the two triangle routines take care of the diagonal tiles: one applies beta to the
// tile's triangle only, the other runs the general kernel on the tile's register blocks
// inside the triangle and on the crossing ones through a scratch block, so that the
// part beyond the triangle is never written.
#include "blas/level3/ops/vrx_l3_kinds.h"
#include "blas/level3/syrk/vrx_syrk_ops.h"
#include "blas/level3/syrk/vrx_triangle_scale.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
bool lower_of(const vrx_l3_call<T>* call) {
  return vrx_blas_uplo_code(call->uplo) == 1;
}

template <typename T>
void triangle_scale(const vrx_l3_call<T>* call, const vrx_l3_view<T>*, const vrx_l3_view<T>*,
                    const vrx_l3_view<T>* c, const vrx_l3_ops<T>*) {
  vrx_scale_triangle(lower_of(call), vrx_l3_hermitian_result(call), c->rows, call->beta, c->address(0, 0, c),
                     c->ld);
}

// Element (i, j) of a view's op(X), conjugated when the view says so.
template <typename T>
T view_element(const vrx_l3_view<T>* v, vrx_int i, vrx_int j) {
  const T x = *v->address(i, j, v);
  return v->flags == VRX_L3_CONJUGATED ? vrx_traits<T>::conj(x) : x;
}

// The unpacked form: the tile's triangle gets the products read where they lie.
template <typename T>
void add_products_unpacked(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                           const vrx_l3_view<T>* c) {
  const bool lower = lower_of(call), two = call->kind == VRX_L3_SYR2K;
  vrx_l3_view<T> a2, b2;
  if (two) vrx_l3_swap_operands(a, b, &a2, &b2);
  const T alpha2 = vrx_l3_second_alpha(call);
  const vrx_int d = c->rows, k = a->cols;
  for (vrx_int j = 0; j < d; ++j) {
    vrx_int first, end;
    vrx_triangle_rows(lower, j, d, &first, &end);
    for (vrx_int i = first; i < end; ++i) {
      T s{}, s2{};
      for (vrx_int l = 0; l < k; ++l) s += view_element(a, i, l) * view_element(b, l, j);
      if (two)
        for (vrx_int l = 0; l < k; ++l) s2 += view_element(&a2, i, l) * view_element(&b2, l, j);
      *c->address(i, j, c) += call->alpha * s + (two ? alpha2 * s2 : T{});
    }
  }
}

// One product of a diagonal tile, packed whole: per column panel of B the row panels
// wholly inside the triangle go straight to C, the few that cross the diagonal into a
// small scratch block whose triangle part is then added. Nothing beyond the triangle
// is written, and only the crossing register blocks compute more than they keep.
template <typename T>
void packed_tile_product(bool lower, T alpha, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                         const vrx_l3_view<T>* c, const vrx_l3_ops<T>* ops, T* a_packed, T* b_packed, T* cross,
                         vrx_int kc) {
  const vrx_int d = c->rows, k = a->cols, mr = ops->shape.mr, nr = ops->shape.nr;
  const vrx_int full = d / mr * mr, ldx = 3 * mr + nr;
  const T one = vrx_traits<T>::make(1, 0);
  vrx_l3_view<T> ap = vrx_l3_make_view<T>(a_packed, d, 0, mr, VRX_L3_PLAIN);
  vrx_l3_view<T> bp = vrx_l3_make_view<T>(b_packed, 0, d, nr, VRX_L3_PLAIN);
  T* c0 = c->address(0, 0, c);
  for (vrx_int l0 = 0; l0 < k; l0 += kc) {
    const vrx_int kb = k - l0 < kc ? k - l0 : kc;
    const vrx_l3_view<T> sa = vrx_l3_sub_view(a, 0, l0, d, kb), sb = vrx_l3_sub_view(b, l0, 0, kb, d);
    ap.cols = kb;
    bp.rows = kb;
    ops->pack_a(&sa, &ap, alpha, 0);
    ops->pack_b(&sb, &bp, one, 0);
    for (vrx_int j = 0; j < d;) {
      const vrx_int w = vrx_l3_panel_extent(d - j, nr);
      // Row panels [low, high) cross the diagonal within these columns.
      const vrx_int low = j / mr * mr;
      vrx_int high = (j + w + mr - 1) / mr * mr;
      if (high > full) high = d;
      const T* bj = b_packed + j * kb;
      if (lower && high < d) ops->kernel(d - high, w, kb, a_packed + high * kb, bj, c0 + high + j * c->ld, c->ld, one);
      if (!lower && low > 0) ops->kernel(low, w, kb, a_packed, bj, c0 + j * c->ld, c->ld, one);
      ops->kernel(high - low, w, kb, a_packed + low * kb, bj, cross, ldx, T{});
      for (vrx_int jj = 0; jj < w; ++jj) {
        const vrx_int col = j + jj;
        const vrx_int first = lower ? col : low, end = lower ? high : col + 1;
        T* cj = c0 + col * c->ld;
        const T* xj = cross + jj * ldx - low;
        for (vrx_int i = first; i < end; ++i) cj[i] += xj[i];
      }
      j += w;
    }
  }
}

template <typename T>
void triangle_kernel(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                     const vrx_l3_view<T>* c, const vrx_l3_ops<T>* ops) {
  const vrx_int d = c->rows, mr = ops->shape.mr, nr = ops->shape.nr;
  vrx_l3_blocking<T> rule{};
  vrx_l3_blocking_rule(d, d, a->cols, &ops->shape, &rule);
  const vrx_int kc = rule.kc;
  const std::size_t panels = static_cast<std::size_t>((d + mr) * kc), columns = static_cast<std::size_t>((d + nr) * kc);
  const std::size_t cross = static_cast<std::size_t>((3 * mr + nr) * nr);
  T* scratch = static_cast<T*>(vrx_l3_scratch_alloc((panels + columns + cross) * sizeof(T), 128));
  if (!scratch) {
    add_products_unpacked(call, a, b, c);
  } else {
    const bool lower = lower_of(call);
    packed_tile_product(lower, call->alpha, a, b, c, ops, scratch, scratch + panels, scratch + panels + columns, kc);
    if (call->kind == VRX_L3_SYR2K) {
      vrx_l3_view<T> a2, b2;
      vrx_l3_swap_operands(a, b, &a2, &b2);
      packed_tile_product(lower, vrx_l3_second_alpha(call), &a2, &b2, c, ops, scratch, scratch + panels,
                          scratch + panels + columns, kc);
    }
    vrx_serv_free(scratch);
  }
  if (vrx_l3_hermitian_result(call)) vrx_zero_diagonal_imaginary(d, c->address(0, 0, c), c->ld);
}

template <typename T>
vrx_l3_pack_fn<T> pack_by_flag(std::uint32_t flags, vrx_l3_pack_fn<T> plain, vrx_l3_pack_fn<T> transposed,
                               vrx_l3_pack_fn<T> conjugated) {
  if (flags == VRX_L3_PLAIN) return plain;
  return flags == VRX_L3_CONJUGATED ? conjugated : transposed;
}

// The general kernel on whole tiles, the plain driver, and the two triangle routines.
template <typename T>
int fill_triangle_result(const vrx_l3_kernels<T>* kernels, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                         vrx_l3_ops<T>* ops) {
  ops->pack_a = pack_by_flag(a->flags, kernels->pack_a_plain, kernels->pack_a_transposed, kernels->pack_a_conjugated);
  ops->pack_b = pack_by_flag(b->flags, kernels->pack_b_plain, kernels->pack_b_transposed, kernels->pack_b_conjugated);
  ops->pack_diag = nullptr;
  ops->pack_tri = nullptr;
  ops->kernel = kernels->kernel;
  ops->driver = vrx_l3_driver_plain<T>;
  ops->triangle_kernel = triangle_kernel<T>;
  ops->triangle_scale = triangle_scale<T>;
  return 1;
}
}  // namespace

template <typename T>
bool vrx_l3_hermitian_result(const vrx_l3_call<T>* call) {
  return vrx_is_complex<T> && (call->code_a == 2 || call->code_b == 2);
}

template <typename T>
T vrx_l3_second_alpha(const vrx_l3_call<T>* call) {
  return vrx_l3_hermitian_result(call) ? vrx_traits<T>::conj(call->alpha) : call->alpha;
}

template <typename T>
void vrx_l3_swap_operands(const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, vrx_l3_view<T>* a2, vrx_l3_view<T>* b2) {
  *a2 = *a;
  a2->data = b->data;
  a2->ld = b->ld;
  *b2 = *b;
  b2->data = a->data;
  b2->ld = a->ld;
}

template <typename T>
int vrx_l3_fill_syrk(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>*, const vrx_l3_view<T>* a,
                     const vrx_l3_view<T>* b, const vrx_l3_view<T>*, vrx_l3_ops<T>* ops) {
  return fill_triangle_result(kernels, a, b, ops);
}
template <typename T>
int vrx_l3_fill_syr2k(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>*, const vrx_l3_view<T>* a,
                      const vrx_l3_view<T>* b, const vrx_l3_view<T>*, vrx_l3_ops<T>* ops) {
  return fill_triangle_result(kernels, a, b, ops);
}
template <typename T>
int vrx_l3_fill_gemm_triangle(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>*, const vrx_l3_view<T>* a,
                              const vrx_l3_view<T>* b, const vrx_l3_view<T>*, vrx_l3_ops<T>* ops) {
  return fill_triangle_result(kernels, a, b, ops);
}

#define VRX_INSTANTIATE(T)                                                                                    \
  VRX_L3_INSTANTIATE_FILL(vrx_l3_fill_syrk, T)                                                                \
  VRX_L3_INSTANTIATE_FILL(vrx_l3_fill_syr2k, T)                                                               \
  VRX_L3_INSTANTIATE_FILL(vrx_l3_fill_gemm_triangle, T)                                                       \
  template bool vrx_l3_hermitian_result(const vrx_l3_call<T>*);                                               \
  template T vrx_l3_second_alpha(const vrx_l3_call<T>*);                                                      \
  template void vrx_l3_swap_operands(const vrx_l3_view<T>*, const vrx_l3_view<T>*, vrx_l3_view<T>*,          \
                                     vrx_l3_view<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
