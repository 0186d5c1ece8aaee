// The diagonal blocks of the triangular solve and product on the team road: their pack
// (the layout is told in blas/kernels/tri_leaf_kernels.h), the class kernels that apply
// them to B, and the filler of the operations table that picks them by the A view's
// flags and the side.
#include "blas/kernels/tri_leaf_kernels.h"
#include "blas/level3/trsm/vrx_tri_team.h"

namespace {
template <typename T>
T element(const vrx_l3_view<T>* v, vrx_int i, vrx_int j) {
  const T x = *v->address(i, j, v);
  if constexpr (vrx_is_complex<T>)
    if (v->flags & VRX_L3_CONJUGATED) return vrx_traits<T>::conj(x);
  return x;
}

// -1 / x, Smith's way for complex x.
template <typename T>
T negative_reciprocal(T x) {
  if constexpr (vrx_is_complex<T>) {
    typedef vrx_real_t<T> R;
    const R re = x.re, im = x.im;
    if ((re < 0 ? -re : re) >= (im < 0 ? -im : im)) {
      const R ratio = im / re, den = re + im * ratio;
      return vrx_traits<T>::make(-1 / den, ratio / den);
    }
    const R ratio = re / im, den = re * ratio + im;
    return vrx_traits<T>::make(-ratio / den, 1 / den);
  } else {
    return -1 / x;
  }
}

// source: the diagonal block of op(A) (h by h from its offsets); target->data gets T.
template <typename T, bool Solve, bool Left, bool Forward, bool Unit>
void pack_diag(const vrx_l3_view<T>* source, const vrx_l3_view<T>* target, T, vrx_int) {
  const vrx_int h = source->rows;
  T* t = target->data;
  for (vrx_int q = 0; q < h; ++q) {
    T* tq = t + q * h;
    if (Unit)
      tq[q] = vrx_traits<T>::make(1, 0);
    else {
      const T d = element(source, q, q);
      tq[q] = Solve ? negative_reciprocal(d) : d;
    }
    const vrx_int p0 = Forward ? q + 1 : 0, p1 = Forward ? h : q;
    for (vrx_int p = p0; p < p1; ++p) tq[p] = Left ? element(source, p, q) : element(source, q, p);
  }
}

// The class's kernel on one block of B: c is the h by n (side L) or m by h (side R)
// block, tri->data its packed T and tri->flags the A view's, call->alpha the factor.
template <typename T, const vrx_tri_leaf_table<T>* Table>
void triangle_kernel(const vrx_l3_call<T>* call, const vrx_l3_view<T>* tri, const vrx_l3_view<T>*,
                     const vrx_l3_view<T>* c, const vrx_l3_ops<T>*) {
  const vrx_tri_codes codes = vrx_tri_codes_of(call);
  const bool left = codes.side != 1;
  const vrx_tri_leaf_fn<T> leaf =
      Table->leaf[call->kind != VRX_L3_TRSM][!left][!vrx_tri_forward(codes)][(tri->flags & VRX_L3_TRI_UNIT) != 0];
  leaf(tri->rows, tri->data, call->alpha, c->address(0, 0, c), c->ld, left ? c->cols : c->rows);
}

// The leaf tables of each class.
template <typename T>
struct leaf_tables;
template <>
struct leaf_tables<float> {
  static constexpr const vrx_tri_leaf_table<float>* avx2 = &vrx_tri_leaf_s_avx2;
  static constexpr const vrx_tri_leaf_table<float>* avx512 = &vrx_tri_leaf_s_avx512;
};
template <>
struct leaf_tables<double> {
  static constexpr const vrx_tri_leaf_table<double>* avx2 = &vrx_tri_leaf_d_avx2;
  static constexpr const vrx_tri_leaf_table<double>* avx512 = &vrx_tri_leaf_d_avx512;
};
template <>
struct leaf_tables<vrx_complex_float> {
  static constexpr const vrx_tri_leaf_table<vrx_complex_float>* avx2 = &vrx_tri_leaf_c_avx2;
  static constexpr const vrx_tri_leaf_table<vrx_complex_float>* avx512 = &vrx_tri_leaf_c_avx512;
};
template <>
struct leaf_tables<vrx_complex_double> {
  static constexpr const vrx_tri_leaf_table<vrx_complex_double>* avx2 = &vrx_tri_leaf_z_avx2;
  static constexpr const vrx_tri_leaf_table<vrx_complex_double>* avx512 = &vrx_tri_leaf_z_avx512;
};

template <typename T>
void fallback(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>*,
              const vrx_l3_view<T>* c) {
  const vrx_tri_codes codes = vrx_tri_codes_of(call);
  const T* a0 = a->address(0, 0, a);
  T* b0 = c->address(0, 0, c);
  vrx_tri_unpacked(call->kind, codes, c->rows, c->cols, call->alpha, a0, a->ld, b0, c->ld);
}

template <typename T>
vrx_l3_pack_fn<T> gemm_pack(std::uint32_t layout, vrx_l3_pack_fn<T> plain, vrx_l3_pack_fn<T> transposed,
                            vrx_l3_pack_fn<T> conjugated) {
  if (layout & VRX_L3_PLAIN) return plain;
  return layout & VRX_L3_CONJUGATED ? conjugated : transposed;
}

template <typename T, bool Solve, bool Left>
vrx_l3_pack_fn<T> diagonal_pack(bool forward, bool unit) {
  if (forward) return unit ? pack_diag<T, Solve, Left, true, true> : pack_diag<T, Solve, Left, true, false>;
  return unit ? pack_diag<T, Solve, Left, false, true> : pack_diag<T, Solve, Left, false, false>;
}
}  // namespace

template <typename T>
void vrx_tri_unpacked(std::uint32_t kind, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a,
                      vrx_int lda, T* b, vrx_int ldb) {
  if (kind == VRX_L3_TRSM)
    vrx_l3_trsm_unpacked(codes, m, n, alpha, a, lda, b, ldb);
  else
    vrx_l3_trmm_unpacked(codes, m, n, alpha, a, lda, b, ldb);
}

template <typename T>
int vrx_tri_fill(std::uint32_t kind, const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call,
                 const vrx_l3_view<T>* a, vrx_l3_ops<T>* ops) {
  const std::uint32_t flags = a->flags;
  if (!(flags & (VRX_L3_TRI_UPPER | VRX_L3_TRI_LOWER))) return 0;  // no triangle to pack
  const bool left = vrx_blas_side_code(call->side) != 1;
  // Bits 0x1 (as stored) and 0x10 (lower) agreeing: op(A) is lower.
  const bool op_lower = ((flags & VRX_L3_PLAIN) != 0) == ((flags & VRX_L3_TRI_LOWER) != 0);
  const bool forward = left == op_lower, unit = (flags & VRX_L3_TRI_UNIT) != 0;
  const bool solve = kind == VRX_L3_TRSM;
  // The coupling blocks: op(A) is GEMM's A for side L and its B for side R; B's parts
  // are read as stored.
  if (left) {
    ops->pack_a = gemm_pack(flags, kernels->pack_a_plain, kernels->pack_a_transposed, kernels->pack_a_conjugated);
    ops->pack_b = kernels->pack_b_plain;
    ops->pack_tri = ops->pack_a;
  } else {
    ops->pack_a = kernels->pack_a_plain;
    ops->pack_b = gemm_pack(flags, kernels->pack_b_plain, kernels->pack_b_transposed, kernels->pack_b_conjugated);
    ops->pack_tri = ops->pack_b;
  }
  if (solve)
    ops->pack_diag =
        left ? diagonal_pack<T, true, true>(forward, unit) : diagonal_pack<T, true, false>(forward, unit);
  else
    ops->pack_diag =
        left ? diagonal_pack<T, false, true>(forward, unit) : diagonal_pack<T, false, false>(forward, unit);
  ops->triangle_kernel = kernels == vrx_l3_kernels_for<T>(VRX_CPU_AVX512)
                             ? triangle_kernel<T, leaf_tables<T>::avx512>
                             : triangle_kernel<T, leaf_tables<T>::avx2>;
  ops->kernel = kernels->kernel;
  ops->driver = vrx_tri_driver<T>;
  ops->fallback = fallback<T>;
  return 1;
}

#define VRX_INSTANTIATE(T)                                                                                   \
  template void vrx_tri_unpacked(std::uint32_t, vrx_tri_codes, vrx_int, vrx_int, T, const T*, vrx_int, T*,     \
                                 vrx_int);                                                                     \
  template int vrx_tri_fill(std::uint32_t, const vrx_l3_kernels<T>*, const vrx_l3_call<T>*,                    \
                            const vrx_l3_view<T>*, vrx_l3_ops<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
