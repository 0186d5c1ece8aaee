// SSE2 kernels of the blocked loop: packing with alpha folded into A, and the
// register blocks. Double precision (and double complex, on the same blocks) has two
// kernels, since SSE2 has no load-and-broadcast:
//  - dup: each B panel is copied once more with every value doubled ([b, b]) into a
//    small scratch area that stays in the first-level cache while the packed A block
//    streams past it; the copy pays off over many row tiles;
//  - swap: pairs of rows read packed B as it stands. Per pair of columns (b0, b1) one
//    register gathers (a0 b0, a1 b1), a second one, fed with the rows swapped, gathers
//    (a1 b0, a0 b1), and the lanes are sorted back into columns when C is updated.
// Both give every C element the same products added in the same order, from zero,
// so their results are bitwise identical. Single precision (and single complex) runs
// the plain register block of the class body: blocks of 8 rows (first set) or 4 rows
// (second set) by 4 columns.
#include <emmintrin.h>
#include <type_traits>
#define VRX_GEMM_VECTOR_BYTES 16
#include "blas/kernels/gemm_packed_vector_body.h"
#include "blas/level3/packed/vrx_gemm_kernels.h"

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

// Calls f with 128 as a compile-time trip count when kp is the full block depth,
// else with 0 (trip count from kp).
template <typename F>
inline void by_depth(vrx_int kp, F&& f) {
  if (kp == 128)
    f(std::integral_constant<int, 128>{});
  else
    f(std::integral_constant<int, 0>{});
}

inline void prefetch_columns(const double* c, vrx_int ldc, int w) {
  for (int j = 0; j < w; ++j) _mm_prefetch(reinterpret_cast<const char*>(c + j * ldc), _MM_HINT_T0);
}

// The last odd row against W columns of B, S doubles per B value (2 doubled, 1 plain):
// one register holds two k steps of one column, summed across at the end.
template <int W, int K, int S>
[[gnu::always_inline]] inline void tile_odd_row(vrx_int kp, const double* __restrict a, const double* __restrict b,
                                                double* __restrict c, vrx_int ldc) {
  const vrx_int kk = K > 0 ? K : kp;
  __m128d acc[W];
  for (int j = 0; j < W; ++j) acc[j] = _mm_setzero_pd();
#pragma clang loop unroll_count(2)
  for (vrx_int l = 0; l < kk; l += 2) {
    const __m128d av = _mm_loadu_pd(a + l);
    for (int j = 0; j < W; ++j) {
      const __m128d bj = _mm_unpacklo_pd(_mm_load_sd(b + S * (l * W + j)), _mm_load_sd(b + S * ((l + 1) * W + j)));
      acc[j] = _mm_add_pd(acc[j], _mm_mul_pd(av, bj));
    }
  }
  for (int j = 0; j < W; ++j) {
    const __m128d s = _mm_add_sd(acc[j], _mm_unpackhi_pd(acc[j], acc[j]));
    c[j * ldc] += _mm_cvtsd_f64(s);
  }
}

// ---- dup kernel ----

// C(H x W) += Apanel(H x K) * Bdup(K x W), H even: two C rows share one register.
template <int H, int W, int K>
[[gnu::always_inline]] inline void tile_dup(vrx_int kp, const double* __restrict a, const double* __restrict bd,
                                            double* __restrict c, vrx_int ldc) {
  const vrx_int kk = K > 0 ? K : kp;
  constexpr int MV = H / 2;
  __m128d acc[W][MV];
  for (int j = 0; j < W; ++j)
    for (int v = 0; v < MV; ++v) acc[j][v] = _mm_setzero_pd();
  prefetch_columns(c, ldc, W);
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
}

// Every A panel of the block against one doubled B panel of width W.
template <int W, int K>
void dup_column_panel(int height, vrx_int mb, vrx_int kp, const double* apack, const double* bd, double* c,
                      vrx_int ldc) {
  vrx_int i = 0;
  if (height == 4) {
    for (; i + 4 <= mb; i += 4) tile_dup<4, W, K>(kp, apack + i * kp, bd, c + i, ldc);
  }
  for (; i + 2 <= mb; i += 2) tile_dup<2, W, K>(kp, apack + i * kp, bd, c + i, ldc);
  if (i < mb) tile_odd_row<W, K, 2>(kp, apack + i * kp, bd, c + i, ldc);
}

void dup_block(int height, vrx_int mb, vrx_int nb, vrx_int kp, const double* apack, const double* bpack,
               double* dup, double* c, vrx_int ldc) {
  for (vrx_int j = 0; j < nb;) {
    const vrx_int w = vrx_gemm_panel_extent(j, nb, 4);
    const double* bp = bpack + j * kp;
    for (vrx_int t = 0; t < kp * w; ++t) _mm_store_pd(dup + 2 * t, _mm_set1_pd(bp[t]));
    double* cj = c + j * ldc;
    by_extent(w, [&](auto W) {
      by_depth(kp, [&](auto K) { dup_column_panel<W(), K()>(height, mb, kp, apack, dup, cj, ldc); });
    });
    j += w;
  }
}

// ---- swap kernel ----

// C(2 x W) += Apanel(2 x K) * B(K x W) on plain packed B. W = 8 spans two 4-column
// panels (b0, b1); otherwise b0 is the one panel of width W.
template <int W, int K>
[[gnu::always_inline]] inline void tile_swap(vrx_int kp, const double* __restrict a, const double* __restrict b0,
                                             const double* __restrict b1, double* __restrict c, vrx_int ldc) {
  const vrx_int kk = K > 0 ? K : kp;
  if constexpr (W == 1) {
    __m128d acc = _mm_setzero_pd();
#pragma clang loop unroll_count(4)
    for (vrx_int l = 0; l < kk; ++l) acc = _mm_add_pd(acc, _mm_mul_pd(_mm_load_pd(a + 4 * l), _mm_set1_pd(b0[l])));
    _mm_storeu_pd(c, _mm_add_pd(_mm_loadu_pd(c), acc));
  } else {
    constexpr int PW = W > 4 ? 4 : W;  // values per k step in one panel
    constexpr int NQ = W / 2;          // column pairs
    __m128d same[NQ], swap[NQ];
    for (int q = 0; q < NQ; ++q) same[q] = swap[q] = _mm_setzero_pd();
#pragma clang loop unroll_count(4)
    for (vrx_int l = 0; l < kk; ++l) {
      const __m128d av = _mm_load_pd(a + 4 * l), as = _mm_load_pd(a + 4 * l + 2);
      for (int q = 0; q < NQ; ++q) {
        const double* bp = 2 * q < PW ? b0 + l * PW + 2 * q : b1 + l * PW + 2 * q - PW;
        const __m128d bq = _mm_load_pd(bp);
        same[q] = _mm_add_pd(same[q], _mm_mul_pd(av, bq));
        swap[q] = _mm_add_pd(swap[q], _mm_mul_pd(as, bq));
      }
    }
    for (int q = 0; q < NQ; ++q) {
      double* c0 = c + 2 * q * ldc;
      double* c1 = c0 + ldc;
      _mm_storeu_pd(c0, _mm_add_pd(_mm_loadu_pd(c0), _mm_unpacklo_pd(same[q], swap[q])));
      _mm_storeu_pd(c1, _mm_add_pd(_mm_loadu_pd(c1), _mm_unpackhi_pd(swap[q], same[q])));
    }
  }
}

// Every pair of rows against W columns, then the odd row panel by panel.
template <int W, int K>
void swap_columns(vrx_int mb, vrx_int kp, const double* apack, const double* b0, double* c, vrx_int ldc) {
  constexpr int PW = W > 4 ? 4 : W;
  const double* b1 = b0 + PW * kp;
  vrx_int i = 0;
  for (; i + 2 <= mb; i += 2) tile_swap<W, K>(kp, apack + 2 * i * kp, b0, b1, c + i, ldc);
  if (i < mb) {
    tile_odd_row<PW, K, 1>(kp, apack + 2 * i * kp, b0, c + i, ldc);
    if constexpr (W > 4) tile_odd_row<PW, K, 1>(kp, apack + 2 * i * kp, b1, c + i + PW * ldc, ldc);
  }
}

void swap_block(vrx_int mb, vrx_int nb, vrx_int kp, const double* apack, const double* bpack, double* c,
                vrx_int ldc) {
  by_depth(kp, [&](auto K) {
    vrx_int j = 0;
    for (; j + 8 <= nb; j += 8) swap_columns<8, K()>(mb, kp, apack, bpack + j * kp, c + j * ldc, ldc);
    while (j < nb) {
      const vrx_int w = vrx_gemm_panel_extent(j, nb, 4);
      by_extent(w, [&](auto W) { swap_columns<W(), K()>(mb, kp, apack, bpack + j * kp, c + j * ldc, ldc); });
      j += w;
    }
  });
}

// ---- packing ----

// One panel of H rows of op(A) (or H columns of op(B)); `across` when the H values of
// one k step lie next to each other in the source, else each of the H lines runs
// along k. Scale multiplies by `factor` as it copies.
template <int H, bool Scale>
inline void pack_panel(bool across, vrx_int kb, vrx_int kp, double factor, const double* s, vrx_int ld,
                       double* o) {
  const __m128d f = _mm_set1_pd(factor);
  auto scaled = [&](__m128d v) { return Scale ? _mm_mul_pd(f, v) : v; };
  auto scaled1 = [&](double v) { return Scale ? factor * v : v; };
  if constexpr (H == 1) {
    const vrx_int step = across ? ld : 1;
    for (vrx_int l = 0; l < kb; ++l) o[l] = scaled1(s[l * step]);
  } else if (across) {
    for (vrx_int l = 0; l < kb; ++l)
      for (int r = 0; r < H; r += 2) _mm_store_pd(o + l * H + r, scaled(_mm_loadu_pd(s + r + l * ld)));
  } else {
    // Two k steps of two lines at a time: a 2 x 2 transposition.
    vrx_int l = 0;
    for (; l + 2 <= kb; l += 2)
      for (int r = 0; r < H; r += 2) {
        const __m128d x = _mm_loadu_pd(s + l + r * ld), y = _mm_loadu_pd(s + l + (r + 1) * ld);
        _mm_store_pd(o + l * H + r, scaled(_mm_unpacklo_pd(x, y)));
        _mm_store_pd(o + (l + 1) * H + r, scaled(_mm_unpackhi_pd(x, y)));
      }
    if (l < kb)
      for (int r = 0; r < H; ++r) o[l * H + r] = scaled1(s[l + r * ld]);
  }
  for (vrx_int l = kb * H; l < kp * H; ++l) o[l] = 0.0;
}

template <bool Scale>
void pack_panels(bool across, vrx_int extent, vrx_int kb, vrx_int kp, int full, double factor, const double* src,
                 vrx_int ld, double* out) {
  for (vrx_int i = 0; i < extent;) {
    const vrx_int h = vrx_gemm_panel_extent(i, extent, full);
    const double* s = across ? src + i : src + i * ld;
    double* o = out + i * kp;
    by_extent(h, [&](auto H) { pack_panel<H(), Scale>(across, kb, kp, factor, s, ld, o); });
    i += h;
  }
}
// Pairs of rows for the swap kernel: each k step as (a0, a1) then (a1, a0), so that
// the kernel needs no shuffle; the last odd row as a plain panel.
template <bool Scale>
void pack_pairs(bool across, vrx_int rows, vrx_int kb, vrx_int kp, double factor, const double* src, vrx_int ld,
                double* out) {
  const __m128d f = _mm_set1_pd(factor);
  auto scaled = [&](__m128d v) { return Scale ? _mm_mul_pd(f, v) : v; };
  vrx_int i = 0;
  for (; i + 2 <= rows; i += 2) {
    double* o = out + 2 * i * kp;
    if (across) {
      const double* s = src + i;
      for (vrx_int l = 0; l < kb; ++l) {
        const __m128d v = scaled(_mm_loadu_pd(s + l * ld));
        _mm_store_pd(o + 4 * l, v);
        _mm_store_pd(o + 4 * l + 2, _mm_shuffle_pd(v, v, 1));
      }
    } else {
      const double* x = src + i * ld;
      const double* y = x + ld;
      vrx_int l = 0;
      for (; l + 2 <= kb; l += 2) {
        const __m128d xv = scaled(_mm_loadu_pd(x + l)), yv = scaled(_mm_loadu_pd(y + l));
        _mm_store_pd(o + 4 * l, _mm_unpacklo_pd(xv, yv));
        _mm_store_pd(o + 4 * l + 2, _mm_unpacklo_pd(yv, xv));
        _mm_store_pd(o + 4 * l + 4, _mm_unpackhi_pd(xv, yv));
        _mm_store_pd(o + 4 * l + 6, _mm_unpackhi_pd(yv, xv));
      }
      if (l < kb) {
        const __m128d v = scaled(_mm_unpacklo_pd(_mm_load_sd(x + l), _mm_load_sd(y + l)));
        _mm_store_pd(o + 4 * l, v);
        _mm_store_pd(o + 4 * l + 2, _mm_shuffle_pd(v, v, 1));
      }
    }
    for (vrx_int l = 4 * kb; l < 4 * kp; ++l) o[l] = 0.0;
  }
  if (i < rows)
    pack_panel<1, Scale>(across, kb, kp, factor, across ? src + i : src + i * ld, ld, out + 2 * i * kp);
}


enum { kernel_dup = 0, kernel_swap = 1 };
// Below 128 rows the doubled copy of B is spread over too few row tiles to pay off.
inline int kernel_for(vrx_int mb) { return mb < 128 ? kernel_swap : kernel_dup; }
inline int height_of(int set) { return set == 0 ? 4 : 2; }

// ---- double ----

void d_pack_a(int set, int trans, vrx_int rows, vrx_int kb, vrx_int kp, double alpha, const double* a,
              vrx_int lda, double* out) {
  const bool across = trans == 0;
  // A factor of 1 changes no value: plain copies then.
  if (kernel_for(rows) == kernel_swap) {
    if (alpha == 1.0)
      pack_pairs<false>(across, rows, kb, kp, alpha, a, lda, out);
    else
      pack_pairs<true>(across, rows, kb, kp, alpha, a, lda, out);
  } else if (alpha == 1.0) {
    pack_panels<false>(across, rows, kb, kp, height_of(set), alpha, a, lda, out);
  } else {
    pack_panels<true>(across, rows, kb, kp, height_of(set), alpha, a, lda, out);
  }
}
void d_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const double* b, vrx_int ldb, double* out) {
  pack_panels<false>(trans != 0, cols, kb, kp, 4, 1.0, b, ldb, out);
}
void d_block(int set, vrx_int mb, vrx_int nb, vrx_int kp, const double* apack, const double* bpack, double* dup,
             double* c, vrx_int ldc) {
  if (kernel_for(mb) == kernel_swap)
    swap_block(mb, nb, kp, apack, bpack, c, ldc);
  else
    dup_block(height_of(set), mb, nb, kp, apack, bpack, dup, c, ldc);
}

// ---- complex packing on the real blocks ----

// alpha op(A)(i, l) of a complex A as its real and imaginary parts.
template <typename R>
[[gnu::always_inline]] inline void complex_a_value(int trans, vrx_complex<R> alpha, bool real_alpha,
                                                   const vrx_complex<R>* a, vrx_int lda, vrx_int i, vrx_int l,
                                                   R* re, R* im) {
  const vrx_complex<R> x = trans == 0 ? a[i + l * lda] : a[l + i * lda];
  const R xi = trans == 2 ? -x.im : x.im;
  if (real_alpha) {
    *re = alpha.re * x.re;
    *im = alpha.re * xi;
  } else {
    *re = alpha.re * x.re - alpha.im * xi;
    *im = alpha.re * xi + alpha.im * x.re;
  }
}

// Panels of `height` real rows (height / 2 complex rows, then the bits of the
// remainder), kp real steps each: value v gives [v.re -v.im; v.im v.re].
template <typename R>
void complex_pack_panels(int height, int trans, vrx_int rows, vrx_int kb, vrx_int kp, vrx_complex<R> alpha,
                         const vrx_complex<R>* a, vrx_int lda, R* out) {
  const bool real_alpha = alpha.im == 0;
  for (vrx_int i = 0; i < rows;) {
    const vrx_int h = vrx_gemm_panel_extent(i, rows, height / 2), hr = 2 * h;
    R* o = out + 2 * i * kp;
    for (vrx_int l = 0; l < kb; ++l)
      for (vrx_int r = 0; r < h; ++r) {
        R re, im;
        complex_a_value<R>(trans, alpha, real_alpha, a, lda, i + r, l, &re, &im);
        o[2 * l * hr + 2 * r] = re;
        o[2 * l * hr + 2 * r + 1] = im;
        o[(2 * l + 1) * hr + 2 * r] = -im;
        o[(2 * l + 1) * hr + 2 * r + 1] = re;
      }
    for (vrx_int l = 2 * kb * hr; l < kp * hr; ++l) o[l] = 0;
    i += h;
  }
}

// Panels of 4 columns (then 2, 1), kp real steps: each step's real parts, then its
// imaginary parts.
template <typename R>
void complex_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const vrx_complex<R>* b, vrx_int ldb,
                    R* out) {
  const R sign = trans == 2 ? R(-1) : R(1);
  for (vrx_int j = 0; j < cols;) {
    const vrx_int w = vrx_gemm_panel_extent(j, cols, 4);
    R* o = out + j * kp;
    for (vrx_int l = 0; l < kb; ++l)
      for (vrx_int c = 0; c < w; ++c) {
        const vrx_complex<R> x = trans == 0 ? b[l + (j + c) * ldb] : b[(j + c) + l * ldb];
        o[2 * l * w + c] = x.re;
        o[(2 * l + 1) * w + c] = sign * x.im;
      }
    for (vrx_int l = 2 * kb * w; l < kp * w; ++l) o[l] = 0;
    j += w;
  }
}

// ---- double complex: the double blocks on 2 mb real rows ----

void z_pack_a(int set, int trans, vrx_int rows, vrx_int kb, vrx_int kp, vrx_complex_double alpha,
              const vrx_complex_double* a, vrx_int lda, vrx_complex_double* out_) {
  double* out = reinterpret_cast<double*>(out_);
  if (kernel_for(2 * rows) != kernel_swap) {
    complex_pack_panels<double>(height_of(set), trans, rows, kb, kp, alpha, a, lda, out);
    return;
  }
  // Pairs of real rows are one complex row: each real step as (a0, a1) then (a1, a0).
  const bool real_alpha = alpha.im == 0;
  for (vrx_int i = 0; i < rows; ++i) {
    double* o = out + 4 * i * kp;
    for (vrx_int l = 0; l < kb; ++l) {
      double re, im;
      complex_a_value<double>(trans, alpha, real_alpha, a, lda, i, l, &re, &im);
      double* e = o + 8 * l;
      e[0] = re, e[1] = im, e[2] = im, e[3] = re;
      e[4] = -im, e[5] = re, e[6] = re, e[7] = -im;
    }
    for (vrx_int l = 8 * kb; l < 4 * kp; ++l) o[l] = 0.0;
  }
}
void z_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const vrx_complex_double* b, vrx_int ldb,
              vrx_complex_double* out) {
  complex_pack_b<double>(trans, kb, cols, kp, b, ldb, reinterpret_cast<double*>(out));
}
void z_block(int set, vrx_int mb, vrx_int nb, vrx_int kp, const vrx_complex_double* apack,
             const vrx_complex_double* bpack, vrx_complex_double* dup, vrx_complex_double* c, vrx_int ldc) {
  d_block(set, 2 * mb, nb, kp, reinterpret_cast<const double*>(apack), reinterpret_cast<const double*>(bpack),
          reinterpret_cast<double*>(dup), reinterpret_cast<double*>(c), 2 * ldc);
}

// ---- single precision and single complex: the plain register block ----

void s_pack_a(int set, int trans, vrx_int rows, vrx_int kb, vrx_int kp, float alpha, const float* a, vrx_int lda,
              float* out) {
  const int height = set == 0 ? 8 : 4;
  for (vrx_int i = 0; i < rows;) {
    const vrx_int h = vrx_gemm_panel_extent(i, rows, height);
    float* o = out + i * kp;
    for (vrx_int l = 0; l < kb; ++l)
      for (vrx_int r = 0; r < h; ++r) o[l * h + r] = alpha * (trans == 0 ? a[i + r + l * lda] : a[l + (i + r) * lda]);
    for (vrx_int l = kb * h; l < kp * h; ++l) o[l] = 0.0f;
    i += h;
  }
}
void s_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const float* b, vrx_int ldb, float* out) {
  for (vrx_int j = 0; j < cols;) {
    const vrx_int w = vrx_gemm_panel_extent(j, cols, 4);
    float* o = out + j * kp;
    for (vrx_int l = 0; l < kb; ++l)
      for (vrx_int c = 0; c < w; ++c) o[l * w + c] = trans == 0 ? b[l + (j + c) * ldb] : b[(j + c) + l * ldb];
    for (vrx_int l = kb * w; l < kp * w; ++l) o[l] = 0.0f;
    j += w;
  }
}
void s_block(int set, vrx_int mb, vrx_int nb, vrx_int kp, const float* apack, const float* bpack, float*, float* c,
             vrx_int ldc) {
  if (set == 0)
    gemm_packed_kernel<float, 8, 4, false>(mb, nb, kp, apack, bpack, c, ldc, 0);
  else
    gemm_packed_kernel<float, 4, 4, false>(mb, nb, kp, apack, bpack, c, ldc, 0);
}
void c_pack_a(int set, int trans, vrx_int rows, vrx_int kb, vrx_int kp, vrx_complex_float alpha,
              const vrx_complex_float* a, vrx_int lda, vrx_complex_float* out) {
  complex_pack_panels<float>(set == 0 ? 8 : 4, trans, rows, kb, kp, alpha, a, lda, reinterpret_cast<float*>(out));
}
void c_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const vrx_complex_float* b, vrx_int ldb,
              vrx_complex_float* out) {
  complex_pack_b<float>(trans, kb, cols, kp, b, ldb, reinterpret_cast<float*>(out));
}
void c_block(int set, vrx_int mb, vrx_int nb, vrx_int kp, const vrx_complex_float* apack,
             const vrx_complex_float* bpack, vrx_complex_float*, vrx_complex_float* c, vrx_int ldc) {
  s_block(set, 2 * mb, nb, kp, reinterpret_cast<const float*>(apack), reinterpret_cast<const float*>(bpack),
          nullptr, reinterpret_cast<float*>(c), 2 * ldc);
}

constexpr vrx_gemm_blocked_kernels<float> s_blocked = {s_pack_a, s_pack_b, s_block};
constexpr vrx_gemm_blocked_kernels<double> d_blocked = {d_pack_a, d_pack_b, d_block};
constexpr vrx_gemm_blocked_kernels<vrx_complex_float> c_blocked = {c_pack_a, c_pack_b, c_block};
constexpr vrx_gemm_blocked_kernels<vrx_complex_double> z_blocked = {z_pack_a, z_pack_b, z_block};
}  // namespace

const vrx_gemm_blocked_table vrx_gemm_blocked_sse2 = {&s_blocked, &d_blocked, &c_blocked, &z_blocked};

// The double-precision pieces by name, each kernel on its own (tests hold the two
// kernels to the same bits).
int vrx_sse2_gemm_kernel_for(vrx_int mb) { return kernel_for(mb); }
void vrx_sse2_gemm_pack_a_pairs(int trans, vrx_int rows, vrx_int kb, vrx_int kp, double alpha, const double* a,
                                vrx_int lda, double* out) {
  if (alpha == 1.0)
    pack_pairs<false>(trans == 0, rows, kb, kp, alpha, a, lda, out);
  else
    pack_pairs<true>(trans == 0, rows, kb, kp, alpha, a, lda, out);
}
void vrx_sse2_gemm_pack_a(int trans, vrx_int rows, vrx_int kb, vrx_int kp, int height, double alpha,
                          const double* a, vrx_int lda, double* out) {
  if (alpha == 1.0)
    pack_panels<false>(trans == 0, rows, kb, kp, height, alpha, a, lda, out);
  else
    pack_panels<true>(trans == 0, rows, kb, kp, height, alpha, a, lda, out);
}
void vrx_sse2_gemm_pack_b(int trans, vrx_int kb, vrx_int cols, vrx_int kp, const double* b, vrx_int ldb,
                          double* out) {
  d_pack_b(trans, kb, cols, kp, b, ldb, out);
}
void vrx_sse2_gemm_block(int kernel, int height, vrx_int mb, vrx_int nb, vrx_int kp, const double* apack,
                         const double* bpack, double* dup, double* c, vrx_int ldc) {
  if (kernel == kernel_swap)
    swap_block(mb, nb, kp, apack, bpack, c, ldc);
  else
    dup_block(height, mb, nb, kp, apack, bpack, dup, c, ldc);
}
