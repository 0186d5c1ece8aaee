// Operations of the level-3 driver for the kinds with a triangular result (SYRK,
// SYR2K and GEMM into one triangle of C). The general kernel works on whole tiles;
// the two triangle routines take care of blocks that the diagonal crosses: one applies
// beta to the block's part of the triangle only, the other runs the general kernel on
// the register blocks inside the triangle and on the crossing ones through a scratch
// block, so that the part beyond the triangle is never written.
#include "blas/level3/ops/vrx_l3_kinds.h"
#include "blas/level3/syrk/vrx_syrk_ops.h"
#include "blas/level3/syrk/vrx_triangle_scale.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
bool lower_of(const vrx_l3_call<T>* call) {
  return vrx_blas_uplo_code(call->uplo) == 1;
}
// Row of the block at which the whole matrix's diagonal crosses the block's column 0.
template <typename T>
vrx_int diagonal_shift(const vrx_l3_view<T>* c) {
  return c->col_offset - c->row_offset;
}

template <typename T>
void triangle_scale(const vrx_l3_call<T>* call, const vrx_l3_view<T>*, const vrx_l3_view<T>*,
                    const vrx_l3_view<T>* c, const vrx_l3_ops<T>*) {
  vrx_scale_triangle(lower_of(call), vrx_l3_hermitian_result(call), c->rows, c->cols, diagonal_shift(c), call->beta,
                     c->address(0, 0, c), c->ld);
}

// Element (i, j) of a view's op(X), conjugated when the view says so.
template <typename T>
T view_element(const vrx_l3_view<T>* v, vrx_int i, vrx_int j) {
  const T x = *v->address(i, j, v);
  return v->flags == VRX_L3_CONJUGATED ? vrx_traits<T>::conj(x) : x;
}

// The unpacked form: the block's part of the triangle gets the products read where they lie.
template <typename T>
void add_products_unpacked(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                           const vrx_l3_view<T>* c) {
  const bool lower = lower_of(call), two = call->kind == VRX_L3_SYR2K;
  vrx_l3_view<T> a2, b2;
  if (two) vrx_l3_swap_operands(a, b, &a2, &b2);
  const T alpha2 = vrx_l3_second_alpha(call);
  const vrx_int m = c->rows, n = c->cols, k = a->cols, s = diagonal_shift(c);
  for (vrx_int j = 0; j < n; ++j) {
    vrx_int first, end;
    vrx_triangle_rows(lower, j, m, s, &first, &end);
    for (vrx_int i = first; i < end; ++i) {
      T sum{}, sum2{};
      for (vrx_int l = 0; l < k; ++l) sum += view_element(a, i, l) * view_element(b, l, j);
      if (two)
        for (vrx_int l = 0; l < k; ++l) sum2 += view_element(&a2, i, l) * view_element(&b2, l, j);
      *c->address(i, j, c) += call->alpha * sum + (two ? alpha2 * sum2 : T{});
    }
  }
}

// The scratch of one packed triangle product: A's rows, B's columns and the block
// where register blocks that cross the diagonal land.
template <typename T>
struct triangle_buffers {
  T* a;
  T* b;
  T* cross;
  vrx_int kc;
  vrx_int nc;
  vrx_int ldx;
};

vrx_int clamp_to(vrx_int x, vrx_int high) { return x < 0 ? 0 : (x > high ? high : x); }

// Row panels [*low, *high) of a block of m rows (full: rows in whole panels) that
// cross the diagonal within columns [j, j + w).
void crossing_rows(vrx_int j, vrx_int w, vrx_int s, vrx_int m, vrx_int mr, vrx_int full, vrx_int* low,
                   vrx_int* high) {
  const vrx_int d = j + s;
  *low = d <= 0 ? 0 : clamp_to(d / mr * mr, full);
  *high = d + w <= 0 ? 0 : clamp_to((d + w + mr - 1) / mr * mr, m);
  if (*high > full) *high = m;
}

// Rows [low, high) of columns [j, j + w) of the packed B block that starts at column jb
// (a block of m rows, full of them in whole panels): the rows beyond the band that
// crosses the diagonal go straight to C at the columns' full width; the band is halved
// by columns until a single column panel takes it through the scratch block, whose
// triangle part is merged into C.
template <typename T>
void triangle_columns(bool lower, vrx_int kb, T beta, vrx_int jb, vrx_int j, vrx_int w, vrx_int low, vrx_int high,
                      vrx_int m, vrx_int full, vrx_int s, T* c0, vrx_int ldc, const vrx_l3_ops<T>* ops,
                      const triangle_buffers<T>& buf) {
  const vrx_int mr = ops->shape.mr, nr = ops->shape.nr;
  vrx_int l, h;
  crossing_rows(j, w, s, m, mr, full, &l, &h);
  if (l < low) l = low;
  if (h > high) h = high;
  const T* bj = buf.b + (j - jb) * kb;
  if (lower && h < high) ops->kernel(high - h, w, kb, buf.a + h * kb, bj, c0 + h + j * ldc, ldc, beta);
  if (!lower && l > low) ops->kernel(l - low, w, kb, buf.a + low * kb, bj, c0 + low + j * ldc, ldc, beta);
  if (h <= l) return;
  if (w > nr) {
    const vrx_int left = (w / 2 + nr - 1) / nr * nr;
    triangle_columns(lower, kb, beta, jb, j, left, l, h, m, full, s, c0, ldc, ops, buf);
    triangle_columns(lower, kb, beta, jb, j + left, w - left, l, h, m, full, s, c0, ldc, ops, buf);
    return;
  }
  ops->kernel(h - l, w, kb, buf.a + l * kb, bj, buf.cross, buf.ldx, T{});
  for (vrx_int jj = 0; jj < w; ++jj) {
    vrx_int first, end;
    vrx_triangle_rows(lower, j + jj, m, s, &first, &end);
    if (first < l) first = l;
    if (end > h) end = h;
    T* cj = c0 + (j + jj) * ldc;
    const T* xj = buf.cross + jj * buf.ldx;  // row l of the block at xj[0]
    if (vrx_traits<T>::is_zero(beta))
      for (vrx_int i = first; i < end; ++i) cj[i] = xj[i - l];
    else
      for (vrx_int i = first; i < end; ++i) cj[i] += xj[i - l];
  }
}

// One product into the block's part of the triangle, with beta (0 or 1) on the first
// block of k. Per kc: A's rows packed once, B's columns nc at a time; per column panel
// of B the row panels wholly inside the triangle go straight to C, the few that cross
// the diagonal into the scratch block, whose triangle part is then merged. Nothing
// beyond the triangle is written, and only the crossing register blocks compute more
// than they keep.
template <typename T>
void packed_triangle_product(bool lower, T alpha, T beta, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                             const vrx_l3_view<T>* c, const vrx_l3_ops<T>* ops, const triangle_buffers<T>& buf) {
  typedef vrx_traits<T> tr;
  const vrx_int m = c->rows, n = c->cols, k = a->cols, mr = ops->shape.mr, nr = ops->shape.nr;
  const vrx_int full = m / mr * mr, s = diagonal_shift(c), ldc = c->ld;
  vrx_l3_view<T> ap = vrx_l3_make_view<T>(buf.a, m, 0, mr, VRX_L3_PLAIN);
  vrx_l3_view<T> bp = vrx_l3_make_view<T>(buf.b, 0, 0, nr, VRX_L3_PLAIN);
  T* c0 = c->address(0, 0, c);
  for (vrx_int l0 = 0; l0 < k; l0 += buf.kc) {
    const vrx_int kb = k - l0 < buf.kc ? k - l0 : buf.kc;
    const T step_beta = l0 == 0 ? beta : tr::make(1, 0);
    const vrx_l3_view<T> sa = vrx_l3_sub_view(a, 0, l0, m, kb);
    ap.cols = kb;
    ops->pack_a(&sa, &ap, alpha, 0);
    for (vrx_int jb = 0; jb < n; jb += buf.nc) {
      const vrx_int nb = n - jb < buf.nc ? n - jb : buf.nc;
      const vrx_l3_view<T> sb = vrx_l3_sub_view(b, l0, jb, kb, nb);
      bp.rows = kb;
      bp.cols = nb;
      ops->pack_b(&sb, &bp, tr::make(1, 0), 0);
      triangle_columns(lower, kb, step_beta, jb, jb, nb, 0, m, m, full, s, c0, ldc, ops, buf);
    }
  }
}

// The block's part of the triangle := beta times itself + the product(s), the block
// cut into blocks of rows of the driver's rule, each packed at once.
template <typename T>
void triangle_kernel(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                     const vrx_l3_view<T>* c, const vrx_l3_ops<T>* ops) {
  typedef vrx_traits<T> tr;
  const bool lower = lower_of(call), hermitian = vrx_l3_hermitian_result(call);
  const vrx_int m = c->rows, n = c->cols, k = a->cols, mr = ops->shape.mr, nr = ops->shape.nr;
  T beta = call->beta;
  if (!tr::is_zero(beta) && !tr::is_one(beta)) {
    triangle_scale(call, a, b, c, ops);
    beta = tr::make(1, 0);
  }
  // The driver's packed buffers (laid out against cache and page conflicts) and the
  // small block of the crossing register blocks.
  vrx_l3_blocking<T> blocking;
  vrx_l3_blocking_init(a, b, &ops->shape, &blocking);
  const vrx_int ldx = 3 * mr + nr;
  T* cross = static_cast<T*>(vrx_l3_scratch_alloc(static_cast<std::size_t>(ldx * nr) * sizeof(T), 128));
  const bool packed = cross && blocking.allocate(&blocking);
  if (!packed) {
    if (!tr::is_one(beta)) triangle_scale(call, a, b, c, ops);  // beta is zero here
    add_products_unpacked(call, a, b, c);
  } else {
    const triangle_buffers<T> buf{blocking.a_packed.data, blocking.b_packed.data, cross, blocking.kc, blocking.nc,
                                  ldx};
    vrx_l3_view<T> a2, b2;
    if (call->kind == VRX_L3_SYR2K) vrx_l3_swap_operands(a, b, &a2, &b2);
    for (vrx_int i0 = 0; i0 < m; i0 += blocking.mc) {
      const vrx_int h = m - i0 < blocking.mc ? m - i0 : blocking.mc;
      const vrx_l3_view<T> ca = vrx_l3_sub_view(a, i0, 0, h, k), cc = vrx_l3_sub_view(c, i0, 0, h, n);
      packed_triangle_product(lower, call->alpha, beta, &ca, b, &cc, ops, buf);
      if (call->kind == VRX_L3_SYR2K) {
        const vrx_l3_view<T> ca2 = vrx_l3_sub_view(&a2, i0, 0, h, k);
        packed_triangle_product(lower, vrx_l3_second_alpha(call), tr::make(1, 0), &ca2, &b2, &cc, ops, buf);
      }
    }
  }
  if (blocking.raw) blocking.release(&blocking);
  if (cross) vrx_serv_free(cross);
  if (hermitian) vrx_zero_diagonal_imaginary(m, n, diagonal_shift(c), c->address(0, 0, c), c->ld);
}

// The general kernel on whole tiles, the plain driver, and the two triangle routines.
template <typename T>
int fill_triangle_result(const vrx_l3_kernels<T>* kernels, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                         vrx_l3_ops<T>* ops) {
  vrx_l3_packs_by_flags(kernels, a, b, ops);
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
