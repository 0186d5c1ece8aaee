// Pack routines of the level-3 driver, written once and instantiated per instruction
// class (internal linkage). A block is cut into panels of the register extent, the tail
// in powers of two; no zero padding. The factor is multiplied in as values are copied.
#pragma once
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
    for (int r = 0; r < H; ++r) o[r] = factor * s[r];
  }
}

// Across: the H values of one l are ld apart; runs of 4 l are gathered per line so each
// line is read contiguously.
template <int H>
[[gnu::always_inline]] inline void vrx_l3_copy_across(const double* __restrict src, vrx_int ld, vrx_int kb,
                                                      double* __restrict out, double factor) {
  vrx_int l = 0;
  for (; l + 4 <= kb; l += 4) {
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
void vrx_l3_pack_a(const vrx_l3_view* source, const vrx_l3_view* target, double factor, vrx_int offset) {
  const double* src = source->address(0, 0, source);
  double* out = target->data + offset * source->cols;
  if constexpr (!TRANSPOSED) vrx_l3_pack_lines<MR, true>(src, source->ld, 1, source->rows, source->cols, out, factor);
  else vrx_l3_pack_lines<MR, false>(src, source->ld, source->ld, source->rows, source->cols, out, factor);
}

// op(B) block of source->rows (k) by source->cols. As stored a column's k values are
// contiguous (across the panel); transposed, the columns of one k step are (along).
template <int NR, bool TRANSPOSED>
void vrx_l3_pack_b(const vrx_l3_view* source, const vrx_l3_view* target, double factor, vrx_int offset) {
  const double* src = source->address(0, 0, source);
  double* out = target->data + offset * source->rows;
  if constexpr (TRANSPOSED) vrx_l3_pack_lines<NR, true>(src, source->ld, 1, source->cols, source->rows, out, factor);
  else vrx_l3_pack_lines<NR, false>(src, source->ld, source->ld, source->cols, source->rows, out, factor);
}
}  // namespace
