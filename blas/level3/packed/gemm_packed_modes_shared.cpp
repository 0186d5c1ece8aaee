// Modes 8, 16, 32 and 64 of the packed driver: one operand is packed by the
// caller (often into a buffer shared by several threads), the thread owns only
// what the mode's allocation code gives it.
#include <algorithm>
#include "blas/level3/packed/vrx_gemm_packed.h"

int vrx_gemm_shared_mode_code(int mode) {
  switch (mode) {
    case 8: return VRX_GEMM_SIZE_B_STRIPS;
    case 16:
    case 32: return VRX_GEMM_SIZE_STRIPS;
    case 64: return VRX_GEMM_SIZE_A_STRIPS;
    default: return VRX_GEMM_SIZE_ALL;
  }
}

template <typename T>
int vrx_gemm_shared_mode_prepare(vrx_gemm_context_t<T>* ctx, int mode, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_gemm_row_t<T>& r = ctx->row;
  ctx->mc = std::min(ctx->mc, std::max<vrx_int>(m, 1));
  ctx->nc = std::min(ctx->nc, std::max<vrx_int>(n, 1));
  ctx->kc = std::min(ctx->kc, std::max<vrx_int>(k, 1));
  r.sizing(ctx, VRX_GEMM_SIZE_ROUND, m, n, k);
  r.sizing(ctx, vrx_gemm_shared_mode_code(mode), m, n, k);
  // Mode 32 packs A panels into the strips: make sure one panel fits.
  const vrx_int panel = vrx_gemm_a_expansion<T> * r.mr * ctx->kc;
  if (mode == 32 && ctx->strips.elements < panel) {
    ctx->strips.elements = panel;
    ctx->strips.bytes = static_cast<std::size_t>(ctx->strips.elements) * sizeof(T) + 512;
  }
  return r.allocate(ctx);
}

template <typename T>
void vrx_gemm_shared_mode_run(vrx_gemm_context_t<T>* ctx, int mode, int at, int bt, vrx_int m, vrx_int n, vrx_int k,
                              T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb, const T* shared, T* c,
                              vrx_int ldc, int store) {
  if (m < 1 || n < 1 || k < 1) return;
  const vrx_gemm_row_t<T>& r = ctx->row;
  const vrx_gemm_pack_fn<T> pack_a = r.pack_a[at], pack_b = r.pack_b[bt];
  const T one = vrx_traits<T>::make(1, 0);
  auto b_at = [&](vrx_int j) { return bt ? b + j : b + j * ldb; };
  switch (mode) {
    case 8:
      // The B block is private: packed once per nc columns, then the whole shared A.
      for (vrx_int j0 = 0; j0 < n; j0 += ctx->nc) {
        const vrx_int nb = std::min(ctx->nc, n - j0);
        pack_b(nb, k, one, b_at(j0), ldb, ctx->b.data);
        r.kernel(m, nb, k, shared, ctx->b.data, c + j0 * ldc, ldc, store);
      }
      break;
    case 16:
    case 64:
      // B one register width at a time through the strips, against the whole A.
      for (vrx_int j = 0; j < n;) {
        const vrx_int w = vrx_gemm_panel_extent(j, n, r.nr);
        pack_b(w, k, one, b_at(j), ldb, ctx->strips.data);
        r.kernel(m, w, k, shared, ctx->strips.data, c + j * ldc, ldc, store);
        j += w;
      }
      break;
    case 32:
      // A one register height at a time through the strips, against the whole shared B.
      for (vrx_int i = 0; i < m;) {
        const vrx_int h = vrx_gemm_panel_extent(i, m, r.mr);
        pack_a(h, k, alpha, at ? a + i * lda : a + i, lda, ctx->strips.data);
        r.kernel(h, n, k, ctx->strips.data, shared, c + i, ldc, store);
        i += h;
      }
      break;
    default: break;
  }
}

template <typename T>
void vrx_gemm_pack_a_part(const vrx_gemm_context_t<T>* ctx, int at, vrx_int m, vrx_int kb, vrx_int first,
                          vrx_int count, vrx_int l_first, vrx_int l_count, T alpha, const T* a, vrx_int lda,
                          T* packed) {
  if (count < 1 || l_count < 1) return;
  const vrx_gemm_row_t<T>& r = ctx->row;
  const vrx_gemm_pack_fn<T> pack = r.pack_a[at];
  constexpr vrx_int x = vrx_gemm_a_expansion<T>;
  auto a_at = [&](vrx_int i, vrx_int l) { return at ? a + l + i * lda : a + i + l * lda; };
  const bool whole_panels = first % r.mr == 0 && (first + count == m || count % r.mr == 0);
  if (l_first == 0 && l_count == kb && whole_panels) {
    // The slice's own panels are those of the block: one call packs them.
    pack(count, kb, alpha, a_at(first, 0), lda, packed + x * first * kb);
    return;
  }
  // A part of the depth: panel by panel, each into its place in the block's panel.
  for (vrx_int i = 0; i < first + count;) {
    const vrx_int h = vrx_gemm_panel_extent(i, m, r.mr);
    if (i >= first) pack(h, l_count, alpha, a_at(i, l_first), lda, packed + x * (i * kb + l_first * h));
    i += h;
  }
}

template <typename T>
int vrx_gemm_packed_shared_entry(vrx_gemm_context_t<T>* ctx, int mode, int at, int bt, vrx_int m, vrx_int n,
                                 vrx_int k, T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb, T* c,
                                 vrx_int ldc, int store) {
  if (mode == 64) {
    if (vrx_gemm_shared_mode_prepare(ctx, 64, m, n, k) != 0) return -1;
    for (vrx_int l0 = 0; l0 < k; l0 += ctx->kc) {
      const vrx_int kb = std::min(ctx->kc, k - l0);
      for (vrx_int i0 = 0; i0 < m; i0 += ctx->mc) {
        const vrx_int mb = std::min(ctx->mc, m - i0);
        const T* a0 = at ? a + l0 + i0 * lda : a + i0 + l0 * lda;
        vrx_gemm_pack_a_part(ctx, at, mb, kb, 0, mb, 0, kb, alpha, a0, lda, ctx->a.data);
        vrx_gemm_shared_mode_run<T>(ctx, 64, at, bt, mb, n, kb, alpha, nullptr, lda, bt ? b + l0 * ldb : b + l0, ldb,
                                 ctx->a.data, c + i0, ldc, store && l0 == 0);
      }
    }
    vrx_gemm_release(ctx);
    return 0;
  }
  // The caller's packed block stays where it is; only the private buffers come and go.
  T* const shared = mode == 32 ? ctx->b.data : ctx->a.data;
  if (!shared || k > ctx->kc) return -1;
  const int failed = vrx_gemm_shared_mode_prepare(ctx, mode, m, n, k);
  if (failed == 0) {
    vrx_gemm_shared_mode_run(ctx, mode, at, bt, m, n, k, alpha, a, lda, b, ldb, shared, c, ldc, store);
    vrx_gemm_release(ctx);
  }
  if (mode == 32)
    ctx->b.data = shared;
  else
    ctx->a.data = shared;
  return failed;
}

#define VRX_GEMM_SHARED_INSTANTIATE(T)                                                                           \
  template int vrx_gemm_shared_mode_prepare<T>(vrx_gemm_context_t<T>*, int, vrx_int, vrx_int, vrx_int);         \
  template void vrx_gemm_shared_mode_run<T>(vrx_gemm_context_t<T>*, int, int, int, vrx_int, vrx_int, vrx_int, T, \
                                            const T*, vrx_int, const T*, vrx_int, const T*, T*, vrx_int, int);  \
  template void vrx_gemm_pack_a_part<T>(const vrx_gemm_context_t<T>*, int, vrx_int, vrx_int, vrx_int, vrx_int,  \
                                        vrx_int, vrx_int, T, const T*, vrx_int, T*);                            \
  template int vrx_gemm_packed_shared_entry<T>(vrx_gemm_context_t<T>*, int, int, int, vrx_int, vrx_int, vrx_int, \
                                               T, const T*, vrx_int, const T*, vrx_int, T*, vrx_int, int);
VRX_GEMM_SHARED_INSTANTIATE(float)
VRX_GEMM_SHARED_INSTANTIATE(double)
VRX_GEMM_SHARED_INSTANTIATE(vrx_complex_float)
VRX_GEMM_SHARED_INSTANTIATE(vrx_complex_double)
