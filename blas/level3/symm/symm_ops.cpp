// Operations of the level-3 driver for SYMM and HEMM: the symmetric operand is expanded
// while it is packed, so that the general kernel runs. A panel is cut along k into the
// part beside the stored triangle (the class's plain pack), the part beside the other
// triangle (the class's transposed or conjugate-transposed pack of the stored mirror
// image) and the few steps that cross the diagonal (copied here, element by element).
// The packed layout is therefore exactly the class's own.
#include "blas/level3/ops/vrx_l3_kinds.h"
#include "blas/level3/symm/vrx_symm.h"

namespace {
vrx_int min_of(vrx_int x, vrx_int y) { return x < y ? x : y; }
vrx_int max_of(vrx_int x, vrx_int y) { return x > y ? x : y; }

// One panel of `width` lines at global line index `line0`, over global steps [step0,
// step0 + steps), written to `out` with the `width` values of a step together. Lines are
// rows of the symmetric matrix for A and columns for B; symmetry makes both the same
// walk: steps before line0 lie below the diagonal for A rows (above it for B columns).
template <typename T, int CPU, bool LOWER, bool HERMITIAN, bool FOR_A>
void pack_mirrored_panel(const T* a, vrx_int lda, vrx_int line0, vrx_int width, vrx_int step0, vrx_int steps,
                         const vrx_l3_view<T>* target, T factor, T* out) {
  const vrx_l3_kernels<T>* k = vrx_l3_kernels_for<T>(CPU);
  const vrx_int end = step0 + steps;
  // Steps before the panel's first line: for A rows p >= q (lower stored), for B columns
  // q <= p, i.e. the element (line, step) as (row, col) lies in the lower triangle for A
  // and in the upper for B.
  const bool before_stored = FOR_A ? LOWER : !LOWER;
  auto run = [&](vrx_int s0, vrx_int s1, bool stored) {
    if (s1 <= s0) return;
    const vrx_int count = s1 - s0;
    vrx_l3_view<T> into = *target;
    into.data = out + (s0 - step0) * width;
    // Stored: element (line, step) at a[line + step * lda] for A, a[step + line * lda]
    // for B; mirrored: the other way round.
    const bool line_fast = FOR_A == stored;  // consecutive lines adjacent in memory
    const T* origin = line_fast ? a + line0 + s0 * lda : a + s0 + line0 * lda;
    vrx_l3_pack_fn<T> pack;
    std::uint32_t flags;
    if (stored) {
      flags = VRX_L3_PLAIN;
      pack = FOR_A ? k->pack_a_plain : k->pack_b_plain;
    } else {
      flags = HERMITIAN ? VRX_L3_CONJUGATED : VRX_L3_TRANSPOSED;
      pack = FOR_A ? (HERMITIAN ? k->pack_a_conjugated : k->pack_a_transposed)
                   : (HERMITIAN ? k->pack_b_conjugated : k->pack_b_transposed);
    }
    const vrx_l3_view<T> source = FOR_A ? vrx_l3_make_view<T>(origin, width, count, lda, flags)
                                        : vrx_l3_make_view<T>(origin, count, width, lda, flags);
    pack(&source, &into, factor, 0);
  };
  const vrx_int before_end = min_of(end, line0), after_start = max_of(step0, line0 + width);
  run(step0, before_end, before_stored);
  run(after_start, end, !before_stored);
  // The steps that cross the diagonal.
  const vrx_symm_source<T> sym{a, lda, LOWER, HERMITIAN};
  for (vrx_int q = max_of(step0, line0); q < min_of(end, line0 + width); ++q) {
    T* o = out + (q - step0) * width;
    for (vrx_int r = 0; r < width; ++r) o[r] = factor * (FOR_A ? sym.at(line0 + r, q) : sym.at(q, line0 + r));
  }
}

// A block of the symmetric operand, cut into panels of the register extent. In A's
// place its lines are source->rows rows from the row offset and its steps the columns;
// in B's place its lines are source->cols columns from the column offset.
template <typename T, int CPU, bool LOWER, bool HERMITIAN, bool FOR_A>
void pack_mirrored(const vrx_l3_view<T>* source, const vrx_l3_view<T>* target, T factor, vrx_int offset) {
  const vrx_l3_kernels<T>* k = vrx_l3_kernels_for<T>(CPU);
  const vrx_int extent = FOR_A ? k->mr : k->nr, lines = FOR_A ? source->rows : source->cols;
  const vrx_int steps = FOR_A ? source->cols : source->rows;
  const vrx_int line0 = FOR_A ? source->row_offset : source->col_offset;
  const vrx_int step0 = FOR_A ? source->col_offset : source->row_offset;
  T* out = target->data + offset * steps;
  for (vrx_int i = 0; i < lines;) {
    const vrx_int h = vrx_l3_panel_extent(lines - i, extent);
    pack_mirrored_panel<T, CPU, LOWER, HERMITIAN, FOR_A>(source->data, source->ld, line0 + i, h, step0, steps, target,
                                                          factor, out);
    out += h * steps;
    i += h;
  }
}

// The packs of one class, by [lower][hermitian].
template <typename T, int CPU>
struct mirrored_packs {
  static constexpr vrx_l3_pack_fn<T> a[2][2] = {
      {pack_mirrored<T, CPU, false, false, true>, pack_mirrored<T, CPU, false, true, true>},
      {pack_mirrored<T, CPU, true, false, true>, pack_mirrored<T, CPU, true, true, true>}};
  static constexpr vrx_l3_pack_fn<T> b[2][2] = {
      {pack_mirrored<T, CPU, false, false, false>, pack_mirrored<T, CPU, false, true, false>},
      {pack_mirrored<T, CPU, true, false, false>, pack_mirrored<T, CPU, true, true, false>}};
};
}  // namespace

template <typename T>
int vrx_l3_fill_symm(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>*,
                     const vrx_l3_view<T>*, const vrx_l3_view<T>*, vrx_l3_ops<T>* ops) {
  const int lower = vrx_symm_lower(call) ? 1 : 0, hermitian = vrx_symm_hermitian(call) ? 1 : 0;
  const vrx_l3_pack_fn<T>(*a_packs)[2];
  const vrx_l3_pack_fn<T>(*b_packs)[2];
  if (kernels == vrx_l3_kernels_for<T>(VRX_CPU_AVX512)) {
    a_packs = mirrored_packs<T, VRX_CPU_AVX512>::a;
    b_packs = mirrored_packs<T, VRX_CPU_AVX512>::b;
  } else if (kernels == vrx_l3_kernels_for<T>(VRX_CPU_AVX2)) {
    a_packs = mirrored_packs<T, VRX_CPU_AVX2>::a;
    b_packs = mirrored_packs<T, VRX_CPU_AVX2>::b;
  } else {
    return 0;
  }
  if (vrx_symm_right(call)) {
    ops->pack_a = kernels->pack_a_plain;
    ops->pack_b = b_packs[lower][hermitian];
  } else {
    ops->pack_a = a_packs[lower][hermitian];
    ops->pack_b = kernels->pack_b_plain;
  }
  ops->pack_diag = nullptr;
  ops->pack_tri = nullptr;
  ops->kernel = kernels->kernel;
  ops->fallback = vrx_symm_fallback<T>;
  ops->driver = ops->shape.team_mode == 4 ? vrx_l3_driver_cooperating<T> : vrx_l3_driver_plain<T>;
  return 1;
}

#define VRX_INSTANTIATE(T) VRX_L3_INSTANTIATE_FILL(vrx_l3_fill_symm, T)
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
