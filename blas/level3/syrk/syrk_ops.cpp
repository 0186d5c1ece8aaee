// Operations of the level-3 driver for the kinds with a triangular result (SYRK,
// SYR2K and GEMM into one triangle of C). The general kernel works on whole tiles;
// the two triangle routines take care of the diagonal tiles: one applies beta to the
// tile's triangle only, the other forms the whole tile's product in a scratch tile and
// adds its triangle into C, so that the part beyond the triangle is never written.
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

template <typename T>
void triangle_kernel(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                     const vrx_l3_view<T>* c, const vrx_l3_ops<T>* ops) {
  const vrx_int d = c->rows;
  T* tile = static_cast<T*>(vrx_l3_scratch_alloc(static_cast<std::size_t>(d * d) * sizeof(T), 128));
  if (!tile) {
    add_products_unpacked(call, a, b, c);
  } else {
    const vrx_l3_view<T> w = vrx_l3_make_c_view<T>(tile, d, d, d);
    vrx_l3_call<T> own = *call;
    own.beta = T{};
    ops->driver(&own, a, b, &w, nullptr, ops);
    if (call->kind == VRX_L3_SYR2K) {
      vrx_l3_view<T> a2, b2;
      vrx_l3_swap_operands(a, b, &a2, &b2);
      own = *call;
      own.alpha = vrx_l3_second_alpha(call);
      own.beta = vrx_traits<T>::make(1, 0);
      ops->driver(&own, &a2, &b2, &w, nullptr, ops);
    }
    const bool lower = lower_of(call);
    for (vrx_int j = 0; j < d; ++j) {
      vrx_int first, end;
      vrx_triangle_rows(lower, j, d, &first, &end);
      T* cj = c->address(0, j, c);
      for (vrx_int i = first; i < end; ++i) cj[i] += tile[i + j * d];
    }
    vrx_serv_free(tile);
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
