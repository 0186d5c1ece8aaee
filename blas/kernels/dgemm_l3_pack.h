// Pack routines of the level-3 driver, written once and instantiated per instruction
// class (internal linkage). A block is cut into panels of the register extent, the tail
// in powers of two; no zero padding. The factor is multiplied in as values are copied.
#pragma once
#include <immintrin.h>

#include "blas/vrx_l3.h"

namespace {
// Panel of H lines whose values for one l lie `line_stride` apart and consecutive l are
// `step_stride` apart: out[l * H + r] = factor * src[r * line_stride + l * step_stride].
// Along: the H values of one l are contiguous in the source (line_stride 1).
template <int H>
[[gnu::always_inline]] inline void vrx_l3_copy_along(const double* __restrict src, vrx_int ld, vrx_int kb,
                                                     double* __restrict out, double factor) {
  for (vrx_int l = 0; l < kb; ++l) {
    const double* s = src + l * ld;
    double* o = out + l * H;
    // The next panel's source lies just past these H values: start fetching it now, so
    // that its pack (one kernel row later) finds it in cache. Prefetches never fault.
    if constexpr (H >= 8) {
      const char* next = reinterpret_cast<const char*>(s + H);
      for (int p = 0; p < H * 8; p += 64) __builtin_prefetch(next + p, 0, 2);
      __builtin_prefetch(next + H * 8 - 1, 0, 2);
    }
    for (int r = 0; r < H; ++r) o[r] = factor * s[r];
  }
}

// Square transposes of the across copy: `lines` source lines of W values each (ld apart)
// become W rows of the panel (H apart), scaled. Only the classes whose vectors fit build them.
#if defined(__AVX512F__)
constexpr int vrx_l3_transpose_width = 8;
[[gnu::always_inline]] inline void vrx_l3_transpose_block(const double* __restrict s, vrx_int ld,
                                                          double* __restrict o, vrx_int h, double factor) {
  const __m512d f = _mm512_set1_pd(factor);
  __m512d r[8], t[8], u[8];
  for (int q = 0; q < 8; ++q) r[q] = _mm512_loadu_pd(s + q * ld);
  for (int q = 0; q < 8; q += 2) {
    t[q] = _mm512_unpacklo_pd(r[q], r[q + 1]);
    t[q + 1] = _mm512_unpackhi_pd(r[q], r[q + 1]);
  }
  for (int g = 0; g < 8; g += 4) {
    u[g + 0] = _mm512_shuffle_f64x2(t[g + 0], t[g + 2], 0x88);  // steps 0 and 4 of lines g .. g + 3
    u[g + 1] = _mm512_shuffle_f64x2(t[g + 0], t[g + 2], 0xdd);  // steps 2 and 6
    u[g + 2] = _mm512_shuffle_f64x2(t[g + 1], t[g + 3], 0x88);  // steps 1 and 5
    u[g + 3] = _mm512_shuffle_f64x2(t[g + 1], t[g + 3], 0xdd);  // steps 3 and 7
  }
  constexpr int step_of[4] = {0, 2, 1, 3};
  for (int q = 0; q < 4; ++q) {
    _mm512_storeu_pd(o + step_of[q] * h, _mm512_mul_pd(f, _mm512_shuffle_f64x2(u[q], u[q + 4], 0x88)));
    _mm512_storeu_pd(o + (step_of[q] + 4) * h, _mm512_mul_pd(f, _mm512_shuffle_f64x2(u[q], u[q + 4], 0xdd)));
  }
}
#elif defined(__AVX2__)
constexpr int vrx_l3_transpose_width = 4;
[[gnu::always_inline]] inline void vrx_l3_transpose_block(const double* __restrict s, vrx_int ld,
                                                          double* __restrict o, vrx_int h, double factor) {
  const __m256d f = _mm256_set1_pd(factor);
  const __m256d r0 = _mm256_loadu_pd(s), r1 = _mm256_loadu_pd(s + ld), r2 = _mm256_loadu_pd(s + 2 * ld),
                r3 = _mm256_loadu_pd(s + 3 * ld);
  const __m256d t0 = _mm256_unpacklo_pd(r0, r1), t1 = _mm256_unpackhi_pd(r0, r1), t2 = _mm256_unpacklo_pd(r2, r3),
                t3 = _mm256_unpackhi_pd(r2, r3);
  _mm256_storeu_pd(o, _mm256_mul_pd(f, _mm256_permute2f128_pd(t0, t2, 0x20)));
  _mm256_storeu_pd(o + h, _mm256_mul_pd(f, _mm256_permute2f128_pd(t1, t3, 0x20)));
  _mm256_storeu_pd(o + 2 * h, _mm256_mul_pd(f, _mm256_permute2f128_pd(t0, t2, 0x31)));
  _mm256_storeu_pd(o + 3 * h, _mm256_mul_pd(f, _mm256_permute2f128_pd(t1, t3, 0x31)));
}
#else
constexpr int vrx_l3_transpose_width = 0;
#endif

// Across: the H values of one l are ld apart. Where H is a multiple of the transpose width,
// square blocks go through vector transposes; otherwise runs of 4 l are gathered per line
// so each line is read contiguously.
template <int H>
[[gnu::always_inline]] inline void vrx_l3_copy_across(const double* __restrict src, vrx_int ld, vrx_int kb,
                                                      double* __restrict out, double factor) {
  vrx_int l = 0;
  if constexpr (vrx_l3_transpose_width > 0 && H % vrx_l3_transpose_width == 0) {
    constexpr int T = vrx_l3_transpose_width;
    for (; l + T <= kb; l += T) {
      // The next panel's lines start H lines on; one prefetch per line and cache line.
      if (T == 8 || (l & 4) == 0)
        for (int r = 0; r < H; ++r) __builtin_prefetch(src + (r + H) * ld + l, 0, 2);
      for (int r = 0; r < H; r += T) vrx_l3_transpose_block(src + r * ld + l, ld, out + l * H + r, H, factor);
    }
  }
  for (; l + 4 <= kb; l += 4) {
    // The next panel's lines start H lines on; one prefetch per line and cache line.
    if constexpr (H >= 8)
      if ((l & 4) == 0)
        for (int r = 0; r < H; ++r) __builtin_prefetch(src + (r + H) * ld + l, 0, 2);
    for (int r = 0; r < H; ++r) {
      const double* s = src + r * ld + l;
      out[(l + 0) * H + r] = factor * s[0];
      out[(l + 1) * H + r] = factor * s[1];
      out[(l + 2) * H + r] = factor * s[2];
      out[(l + 3) * H + r] = factor * s[3];
    }
  }
  for (; l < kb; ++l)
    for (int r = 0; r < H; ++r) out[l * H + r] = factor * src[r * ld + l];
}

template <int H, bool ALONG>
void vrx_l3_copy_panel(const double* src, vrx_int ld, vrx_int kb, double* out, double factor) {
  if constexpr (ALONG) vrx_l3_copy_along<H>(src, ld, kb, out, factor);
  else vrx_l3_copy_across<H>(src, ld, kb, out, factor);
}

typedef void (*vrx_l3_copy_fn)(const double* src, vrx_int ld, vrx_int kb, double* out, double factor);

// Packs `lines` lines (rows of op(A) or columns of op(B)) of kb steps each, starting at
// `src`; consecutive lines are `line_step` apart in the source.
template <int E, bool ALONG>
void vrx_l3_pack_lines(const double* src, vrx_int ld, vrx_int line_step, vrx_int lines, vrx_int kb, double* out,
                       double factor) {
  // Copy routines by slot: the register extent, then tails 1, 2, 4, 8, 16.
  constexpr vrx_l3_copy_fn copies[6] = {
      vrx_l3_copy_panel<E, ALONG>,                 vrx_l3_copy_panel<1, ALONG>,
      vrx_l3_copy_panel<(E > 2 ? 2 : 1), ALONG>,   vrx_l3_copy_panel<(E > 4 ? 4 : 1), ALONG>,
      vrx_l3_copy_panel<(E > 8 ? 8 : 1), ALONG>,   vrx_l3_copy_panel<(E > 16 ? 16 : 1), ALONG>,
  };
  for (vrx_int i = 0; i < lines;) {
    const vrx_int h = vrx_l3_panel_extent(lines - i, E);
    const int slot = h == E ? 0 : 1 + __builtin_ctzll(static_cast<unsigned long long>(h));
    copies[slot](src + i * line_step, ld, kb, out, factor);
    out += h * kb;
    i += h;
  }
}

// op(A) block of source->rows by source->cols. As stored the rows of a column are
// contiguous (along); transposed, the k values of a row are (across).
template <int MR, bool TRANSPOSED>
void vrx_l3_pack_a(const vrx_l3_view<double>* source, const vrx_l3_view<double>* target, double factor, vrx_int offset) {
  const double* src = source->address(0, 0, source);
  double* out = target->data + offset * source->cols;
  if constexpr (!TRANSPOSED) vrx_l3_pack_lines<MR, true>(src, source->ld, 1, source->rows, source->cols, out, factor);
  else vrx_l3_pack_lines<MR, false>(src, source->ld, source->ld, source->rows, source->cols, out, factor);
}

// op(B) block of source->rows (k) by source->cols. As stored a column's k values are
// contiguous (across the panel); transposed, the columns of one k step are (along).
template <int NR, bool TRANSPOSED>
void vrx_l3_pack_b(const vrx_l3_view<double>* source, const vrx_l3_view<double>* target, double factor, vrx_int offset) {
  const double* src = source->address(0, 0, source);
  double* out = target->data + offset * source->rows;
  if constexpr (TRANSPOSED) vrx_l3_pack_lines<NR, true>(src, source->ld, 1, source->cols, source->rows, out, factor);
  else vrx_l3_pack_lines<NR, false>(src, source->ld, source->ld, source->cols, source->rows, out, factor);
}
}  // namespace
