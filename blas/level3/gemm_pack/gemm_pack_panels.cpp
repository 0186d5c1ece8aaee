// The packed-operand service on CPU types 5 and 7: A is kept as the level-3 driver's
// packed A panels, cut in depth slices by the driver's block rule; each multiply packs
// only its B columns and runs the register-block kernels.
#include "blas/level3/gemm_pack/vrx_gemm_pack_handle.h"
#include "service/vrx_memory.h"

namespace {
vrx_int min_of(vrx_int x, vrx_int y) { return x < y ? x : y; }

// The driver's blocking for this operand: kc cuts the depth, nc the columns of B.
template <typename T>
vrx_l3_blocking<T> blocking_of(const vrx_gemm_pack_handle* h, vrx_int n) {
  vrx_l3_kernel_shape shape;
  vrx_l3_init_shape_for<T>(h->cpu, nullptr, &shape);
  vrx_l3_blocking<T> bl{};
  vrx_l3_blocking_rule<T>(h->packed_rows, n, h->packed_depth, &shape, &bl);
  return bl;
}

// The packed slice of depth [l0, l0 + kb) starts packed_rows * l0 elements in.
template <typename T>
const T* slice_of(const vrx_gemm_pack_handle* h, vrx_int l0) {
  return static_cast<const T*>(h->data) + h->packed_rows * l0;
}

// Rows [i, end) seen from the panel holding row i: either a run of whole panels that the
// kernel reads where they lie (direct), or the part of one panel that must be repacked
// at its own height. Answers the end of the piece and the start and height of its panel.
struct piece {
  vrx_int end;
  vrx_int panel;
  vrx_int height;
  bool direct;
};
piece piece_at(vrx_int i, vrx_int end, vrx_int lines, vrx_int mr) {
  piece p;
  p.panel = vrx_l3_panel_start(i, lines, mr, &p.height);
  if (p.panel != i || i + p.height > end) {
    p.end = min_of(end, p.panel + p.height);
    p.direct = false;
    return p;
  }
  // Whole panels from i on: the full-height ones in one step, then the tail's one by one.
  // Any such run is cut by the kernel into the same panels.
  const vrx_int full = lines / mr * mr;
  vrx_int e = i;
  if (e < full) e += (min_of(end, full) - e) / mr * mr;
  while (e < end) {
    vrx_int h = 0;
    const vrx_int start = vrx_l3_panel_start(e, lines, mr, &h);
    if (start != e || e + h > end) break;
    e += h;
  }
  p.end = e;
  p.direct = true;
  return p;
}

// Where a block of B goes: the call's scratch (nc columns, and room to pack a cut panel
// again), or without scratch a buffer on the stack for fewer columns, a cut panel then
// being read by plain loops.
template <typename T>
struct work_space {
  T* b_packed;
  T* a_scratch;  // null: no room for a cut panel
  vrx_int cols;  // columns of B per block
};
constexpr std::size_t stack_bytes = 32768;  // holds kc by at least one register width of B for every type

// C(rows by nb) += alpha A(rows, l0 : l0 + kb) B(l0 : l0 + kb, j0 : j0 + nb) for the rows
// of one cut panel (`a` at the first row, panel height `height`), by plain loops.
template <typename T>
void add_cut_panel(const T* a, vrx_int height, vrx_int rows, vrx_int kb, vrx_int nb, T alpha, const T* b,
                   vrx_int ldb, T* c, vrx_int ldc) {
  for (vrx_int j = 0; j < nb; ++j)
    for (vrx_int l = 0; l < kb; ++l) {
      const T s = alpha * b[l + j * ldb];
      const T* al = a + l * height;
      T* cj = c + j * ldc;
      for (vrx_int r = 0; r < rows; ++r) cj[r] = cj[r] + s * al[r];
    }
}

// C(rows by nb) (+)= packed A rows [row0, row0 + rows) of one slice times the packed B
// block, the original B block being b (kb by nb, scaled by alpha in the packed one).
template <typename T>
void multiply_rows(const vrx_gemm_pack_handle* h, const vrx_l3_kernels<T>* kr, const T* slice, vrx_int kb,
                   vrx_int row0, vrx_int rows, vrx_int nb, const work_space<T>& ws, T alpha, const T* b,
                   vrx_int ldb, T beta, T* c, vrx_int ldc) {
  const vrx_int end = row0 + rows;
  for (vrx_int i = row0; i < end;) {
    const piece p = piece_at(i, end, h->packed_rows, kr->mr);
    const T* a = slice + i * kb;
    T* ci = c + (i - row0);
    if (!p.direct) {
      // The rows of this piece as a column-major block of its panel (ld the height).
      const T* cut = slice + p.panel * kb + (i - p.panel);
      if (!ws.a_scratch) {
        add_cut_panel(cut, p.height, p.end - i, kb, nb, alpha, b, ldb, ci, ldc);
        i = p.end;
        continue;
      }
      const vrx_l3_view<T> source = vrx_l3_make_view<T>(cut, p.end - i, kb, p.height, VRX_L3_PLAIN);
      vrx_l3_view<T> target{};
      target.data = ws.a_scratch;
      kr->pack_a_plain(&source, &target, vrx_traits<T>::make(1, 0), 0);
      a = ws.a_scratch;
    }
    kr->kernel(p.end - i, nb, kb, a, ws.b_packed, ci, ldc, beta);
    i = p.end;
  }
}
}  // namespace

template <typename T>
void vrx_gemm_pack_panels(vrx_gemm_pack_handle* h, const vrx_l3_kernels<T>* kr, const T* a, vrx_int lda) {
  const vrx_int rows = h->packed_rows, depth = h->packed_depth;
  if (rows < 1) return;
  const vrx_int kc = blocking_of<T>(h, 1).kc;
  for (vrx_int l0 = 0; l0 < depth; l0 += kc) {
    const vrx_int kb = min_of(kc, depth - l0);
    const vrx_l3_view<T> source = vrx_l3_make_view<T>(a + l0 * lda, rows, kb, lda, VRX_L3_PLAIN);
    vrx_l3_view<T> target{};
    target.data = const_cast<T*>(slice_of<T>(h, l0));
    kr->pack_a_plain(&source, &target, vrx_traits<T>::make(1, 0), 0);
  }
}

template <typename T>
void vrx_gemm_pack_panels_multiply(const vrx_gemm_pack_handle* h, const vrx_l3_kernels<T>* kr, vrx_int row0,
                                   vrx_int rows, vrx_int n, T alpha, const T* b, vrx_int ldb, T beta, T* c,
                                   vrx_int ldc) {
  typedef vrx_traits<T> tr;
  const T one = tr::make(1, 0);
  // The kernels take beta 0 or 1: any other beta scales C first.
  if (!tr::is_one(beta) && !tr::is_zero(beta)) {
    kr->scale_c(rows, n, beta, c, ldc);
    beta = one;
  }
  const vrx_int depth = h->packed_depth;
  if (depth < 1 || tr::is_zero(alpha)) {
    if (tr::is_zero(beta)) kr->scale_c(rows, n, T{}, c, ldc);
    return;
  }
  const vrx_l3_blocking<T> bl = blocking_of<T>(h, n);
  const vrx_int kc = bl.kc, nc = bl.nc;
  work_space<T> ws;
  ws.b_packed = static_cast<T*>(vrx_serv_malloc(static_cast<std::size_t>((nc + kr->mr) * kc) * sizeof(T), 128));
  ws.a_scratch = ws.b_packed ? ws.b_packed + nc * kc : nullptr;
  ws.cols = nc;
  alignas(64) T stack[stack_bytes / sizeof(T)];
  if (!ws.b_packed) {
    ws.b_packed = stack;
    ws.cols = min_of(nc, static_cast<vrx_int>(stack_bytes / (static_cast<std::size_t>(kc) * sizeof(T))));
    // A cut panel is added by loops: C must hold beta C before.
    if (tr::is_zero(beta)) kr->scale_c(rows, n, T{}, c, ldc);
    beta = one;
  }
  vrx_l3_view<T> b_target{};
  b_target.data = ws.b_packed;
  for (vrx_int l0 = 0; l0 < depth; l0 += kc) {
    const vrx_int kb = min_of(kc, depth - l0);
    const T slice_beta = l0 == 0 ? beta : one;
    for (vrx_int j0 = 0; j0 < n; j0 += ws.cols) {
      const vrx_int nb = min_of(ws.cols, n - j0);
      // alpha goes into B, since A was packed once for every alpha.
      const T* b_block = b + l0 + j0 * ldb;
      const vrx_l3_view<T> source = vrx_l3_make_view<T>(b_block, kb, nb, ldb, VRX_L3_PLAIN);
      kr->pack_b_plain(&source, &b_target, alpha, 0);
      multiply_rows(h, kr, slice_of<T>(h, l0), kb, row0, rows, nb, ws, alpha, b_block, ldb, slice_beta,
                    c + j0 * ldc, ldc);
    }
  }
  if (ws.b_packed != stack) vrx_serv_free(ws.b_packed);
}

#define VRX_INSTANTIATE(T)                                                                                    \
  template void vrx_gemm_pack_panels(vrx_gemm_pack_handle*, const vrx_l3_kernels<T>*, const T*, vrx_int);     \
  template void vrx_gemm_pack_panels_multiply(const vrx_gemm_pack_handle*, const vrx_l3_kernels<T>*, vrx_int, \
                                              vrx_int, vrx_int, T, const T*, vrx_int, T, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
