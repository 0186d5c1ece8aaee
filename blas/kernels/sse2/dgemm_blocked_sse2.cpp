// SSE2 kernels of the blocked loop: packing with alpha folded into A, and the
// register blocks. SSE2 has no load-and-broadcast, so each B panel is copied once
// more with every value doubled ([b, b]) into a small scratch area that stays in
// the first-level cache while the packed A block streams past it.
#include <emmintrin.h>
#include <type_traits>
#include "blas/vrx_gemm_packed.h"

namespace {

// Calls f with the panel extent 4, 2 or 1 as a compile-time constant.
template <typename F>
inline void by_extent(vrx_int e, F&& f) {
  if (e == 4)
    f(std::integral_constant<int, 4>{});
  else if (e == 2)
    f(std::integral_constant<int, 2>{});
  else
    f(std::integral_constant<int, 1>{});
}

// One register block: C(H x W) += Apanel(H x K) * Bdup(K x W). Two C rows share one
// register; K = 0 takes the trip count from kp (a multiple of 4).
template <int H, int W, int K>
[[gnu::always_inline]] inline void tile(vrx_int kp, const double* __restrict a, const double* __restrict bd,
                                        double* __restrict c, vrx_int ldc) {
  const vrx_int kk = K > 0 ? K : kp;
  if constexpr (H >= 2) {
    constexpr int MV = H / 2;
    __m128d acc[W][MV];
    for (int j = 0; j < W; ++j)
      for (int v = 0; v < MV; ++v) acc[j][v] = _mm_setzero_pd();
    for (int j = 0; j < W; ++j) _mm_prefetch(reinterpret_cast<const char*>(c + j * ldc), _MM_HINT_T0);
#pragma clang loop unroll_count(4)
    for (vrx_int l = 0; l < kk; ++l) {
      __m128d av[MV];
      for (int v = 0; v < MV; ++v) av[v] = _mm_load_pd(a + l * H + 2 * v);
      for (int j = 0; j < W; ++j) {
        const __m128d bj = _mm_load_pd(bd + 2 * (l * W + j));
        for (int v = 0; v < MV; ++v) acc[j][v] = _mm_add_pd(acc[j][v], _mm_mul_pd(av[v], bj));
      }
    }
    for (int j = 0; j < W; ++j)
      for (int v = 0; v < MV; ++v) {
        double* cp = c + j * ldc + 2 * v;
        _mm_storeu_pd(cp, _mm_add_pd(_mm_loadu_pd(cp), acc[j][v]));
      }
  } else {
    // The last odd row: one register holds two k steps of one column.
    __m128d acc[W];
    for (int j = 0; j < W; ++j) acc[j] = _mm_setzero_pd();
#pragma clang loop unroll_count(2)
    for (vrx_int l = 0; l < kk; l += 2) {
      const __m128d av = _mm_loadu_pd(a + l);
      for (int j = 0; j < W; ++j) {
        const __m128d bj = _mm_unpacklo_pd(_mm_load_sd(bd + 2 * (l * W + j)),
                                           _mm_load_sd(bd + 2 * ((l + 1) * W + j)));
        acc[j] = _mm_add_pd(acc[j], _mm_mul_pd(av, bj));
      }
    }
    for (int j = 0; j < W; ++j) {
      const __m128d s = _mm_add_sd(acc[j], _mm_unpackhi_pd(acc[j], acc[j]));
      c[j * ldc] += _mm_cvtsd_f64(s);
    }
  }
}

// Every A panel of the block against one doubled B panel of width W.
template <int W, int K>
void column_panel(int height, vrx_int mb, vrx_int kp, const double* apack, const double* bd, double* c,
                  vrx_int ldc) {
  vrx_int i = 0;
  if (height == 4) {
    for (; i + 4 <= mb; i += 4) tile<4, W, K>(kp, apack + i * kp, bd, c + i, ldc);
  }
  for (; i + 2 <= mb; i += 2) tile<2, W, K>(kp, apack + i * kp, bd, c + i, ldc);
  if (i < mb) tile<1, W, K>(kp, apack + i * kp, bd, c + i, ldc);
}

template <int W>
void column_panel_any_k(int height, vrx_int mb, vrx_int kp, const double* apack, const double* bd, double* c,
                        vrx_int ldc) {
  // The full block depth gets its own body with a fixed trip count.
  if (kp == 128)
    column_panel<W, 128>(height, mb, kp, apack, bd, c, ldc);
  else
    column_panel<W, 0>(height, mb, kp, apack, bd, c, ldc);
}

}  // namespace

namespace {
// One panel of H rows of op(A) (or H columns of op(B)); `across` when the H values of
// one k step lie next to each other in the source.
template <int H>
inline void pack_panel(bool across, vrx_int kb, vrx_int kp, double factor, const double* s, vrx_int ld,
                       double* o) {
  if (across) {
    for (vrx_int l = 0; l < kb; ++l)
      for (int r = 0; r < H; ++r) o[l * H + r] = factor * s[r + l * ld];
  } else {
    for (vrx_int l = 0; l < kb; ++l)
      for (int r = 0; r < H; ++r) o[l * H + r] = factor * s[l + r * ld];
  }
  for (vrx_int l = kb * H; l < kp * H; ++l) o[l] = 0.0;
}

inline void pack_panels(bool across, vrx_int extent, vrx_int kb, vrx_int kp, int full, double factor,
                        const double* src, vrx_int ld, double* out) {
  for (vrx_int i = 0; i < extent;) {
    const vrx_int h = vrx_gemm_panel_extent(i, extent, full);
    const double* s = across ? src + i : src + i * ld;
    double* o = out + i * kp;
    by_extent(h, [&](auto H) { pack_panel<H()>(across, kb, kp, factor, s, ld, o); });
    i += h;
  }
}
}  // namespace

void vrx_sse2_gemm_pack_a(int trans, vrx_int rows, vrx_int kb, vrx_int kp, int height, double alpha,
                          const double* a, vrx_int lda, double* out) {
  pack_panels(trans == 0, rows, kb, kp, height, alpha, a, lda, out);
}

void vrx_sse2_gemm_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const double* b, vrx_int ldb,
                          double* out) {
  pack_panels(trans != 0, cols, kb, kp, 4, 1.0, b, ldb, out);
}

void vrx_sse2_gemm_block(int set, vrx_int mb, vrx_int nb, vrx_int kp, const double* apack, const double* bpack,
                         double* dup, double* c, vrx_int ldc) {
  const int height = set == VRX_SSE2_SET_FIRST ? 4 : 2;
  for (vrx_int j = 0; j < nb;) {
    const vrx_int w = vrx_gemm_panel_extent(j, nb, 4);
    const double* bp = bpack + j * kp;
    for (vrx_int t = 0; t < kp * w; ++t) _mm_store_pd(dup + 2 * t, _mm_set1_pd(bp[t]));
    double* cj = c + j * ldc;
    by_extent(w, [&](auto W) { column_panel_any_k<W()>(height, mb, kp, apack, dup, cj, ldc); });
    j += w;
  }
}
