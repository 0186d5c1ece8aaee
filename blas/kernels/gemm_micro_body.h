// Register-block kernels and packs of the single and complex products, written once
// over the element type and instantiated by each instruction class in its own folder
// (internal linkage, so copies built with different target flags never merge).
//
// A complex element is a (re, im) pair of reals, and the kernels work on the reals: a
// row of A in a vector covers width / 2 complex rows. Each complex value of B is
// broadcast twice, its real part into one accumulator and its imaginary part into a
// second one, so a k step is only multiply-adds; after the loop the pair combines as
// re = sum(ar br) - sum(ai bi), im = sum(ai br) + sum(ar bi) (swap within pairs, then
// subtract in the even lanes and add in the odd ones).
//
// Packed A: a panel of h rows at a + i * k holds, for each l, h consecutive values of
// op(A)(i.., l). Packed B: a panel of w columns at b + j * k holds, for each l, the w
// values op(B)(l, j..).
#pragma once
#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "blas/kernels/gemm_micro.h"
#include "blas/kernels/vrx_simd.h"

namespace {
template <typename T>
struct vrx_micro_elem;
template <>
struct vrx_micro_elem<float> {
  typedef float real;
  static constexpr int parts = 1;
};
template <>
struct vrx_micro_elem<vrx_complex_float> {
  typedef float real;
  static constexpr int parts = 2;
};
template <>
struct vrx_micro_elem<vrx_complex_double> {
  typedef double real;
  static constexpr int parts = 2;
};

constexpr int vrx_micro_log2(int x) {
  int r = 0;
  while (x > 1) x >>= 1, ++r;
  return r;
}

// Extent of the next panel: the register extent while it fits, then the remainder's
// powers of two from the largest down.
inline vrx_int vrx_micro_extent(vrx_int remaining, vrx_int register_extent) {
  if (remaining >= register_extent) return register_extent;
  return vrx_int(1) << (63 - __builtin_clzll(static_cast<unsigned long long>(remaining)));
}

// Slot of a panel extent in a tile table: 0 for the register extent, 1 + log2 for tails.
inline int vrx_micro_slot(vrx_int extent, vrx_int register_extent) {
  return extent == register_extent ? 0 : 1 + __builtin_ctzll(static_cast<unsigned long long>(extent));
}

// Number of slots of a register extent E: itself and every power of two below it.
constexpr int vrx_micro_slots(int e) { return e > 1 ? 2 + vrx_micro_log2(e - 1) : 1; }

// Pointers and ldc in reals. `next` and `next_lines`: cache lines of the next A panel
// this tile brings into L2.
template <typename R>
using vrx_micro_tile_fn = void (*)(vrx_int k, const R* a, const R* b, R* c, vrx_int ldc, const char* next,
                                   vrx_int next_lines);

// One k step: NV vectors of A against NB broadcast reals of B.
template <typename R, class V, int NV, int NB>
[[gnu::always_inline]] inline void vrx_micro_step(typename V::type (&acc)[NV][NB], const R* a, const R* b) {
  typename V::type av[NV];
  for (int v = 0; v < NV; ++v) av[v] = V::load(a + v * V::width);
  for (int j = 0; j < NB; ++j) {
    const typename V::type bj = V::bcast(b + j);
    for (int v = 0; v < NV; ++v) acc[v][j] = V::fma(av[v], bj, acc[v][j]);
  }
}

// C tile (+)= A panel * B panel, HR reals of rows (elements times P parts) by NC columns;
// FW is the class's widest vector in reals. STORE writes without reading C. AHEAD is the
// software prefetch distance in bytes inside the k loop (0: none; the tails rely on the
// hardware). A tile with fewer than eight accumulator chains would wait on each
// multiply-add: it keeps S sets over consecutive k steps instead, summed at the end.
template <typename R, int P, int FW, int HR, int NC, bool STORE, int AHEAD>
void vrx_micro_tile(vrx_int k, const R* __restrict a, const R* __restrict b, R* __restrict c, vrx_int ldc,
                    const char* next, vrx_int next_lines) {
  // Double data is complex here: rows are pairs of reals, so V is never the scalar
  // vrx_simd<double, 1>.
  static_assert(!std::is_same_v<R, double> || HR % 2 == 0);
  typedef vrx_simd<R, (HR >= FW ? FW : HR)> V;
  typedef typename V::type vec;
  constexpr int NV = HR / V::width, NB = NC * P, CHAINS = NV * NB;
  constexpr int S = AHEAD > 0 || CHAINS >= 8 ? 1 : (CHAINS >= 4 ? 2 : 4);
  vec acc[S][NV][NB];
  for (int q = 0; q < S; ++q)
    for (int v = 0; v < NV; ++v)
      for (int j = 0; j < NB; ++j) acc[q][v][j] = V::zero();
  // The C tile is needed only after the loop: ask for its lines first.
  for (int j = 0; j < NC; ++j) {
    const char* cj = reinterpret_cast<const char*>(c + j * ldc);
    for (int p = 0; p < HR * int(sizeof(R)); p += 64) __builtin_prefetch(cj + p, 1, 3);
    __builtin_prefetch(cj + HR * sizeof(R) - 1, 1, 3);
  }

  vrx_int l = 0, line = 0;
  if constexpr (AHEAD > 0) {
    // Main form: prefetch every line the next unrolled steps will read, AHEAD bytes on,
    // and one line of the next A panel per unrolled step so its misses never burst.
    constexpr int a_bytes = HR * 4 * sizeof(R), b_bytes = NB * 4 * sizeof(R);
    constexpr int a_lines = a_bytes / 64 > 0 ? a_bytes / 64 : 1, b_lines = b_bytes / 64 > 0 ? b_bytes / 64 : 1;
    const vrx_int steady = k - (AHEAD / (HR * vrx_int(sizeof(R))) + 4);
    const vrx_int last = next_lines - 1;
    for (; l + 4 <= steady; l += 4, ++line) {
      __builtin_prefetch(next + 64 * (line < last ? line : last), 0, 2);
      const char* pa = reinterpret_cast<const char*>(a + HR * l) + AHEAD;
      const char* pb = reinterpret_cast<const char*>(b + NB * l) + AHEAD / 2;
      for (int p = 0; p < a_lines; ++p) __builtin_prefetch(pa + 64 * p, 0, 3);
      for (int p = 0; p < b_lines; ++p) __builtin_prefetch(pb + 64 * p, 0, 3);
      vrx_micro_step<R, V, NV, NB>(acc[0], a + HR * l, b + NB * l);
      vrx_micro_step<R, V, NV, NB>(acc[0], a + HR * (l + 1), b + NB * (l + 1));
      vrx_micro_step<R, V, NV, NB>(acc[0], a + HR * (l + 2), b + NB * (l + 2));
      vrx_micro_step<R, V, NV, NB>(acc[0], a + HR * (l + 3), b + NB * (l + 3));
    }
  }
  for (; line < next_lines; ++line) __builtin_prefetch(next + 64 * line, 0, 2);
  // Last steps: the same without prefetches past the panels.
  for (; l + 4 <= k; l += 4) {
    vrx_micro_step<R, V, NV, NB>(acc[0], a + HR * l, b + NB * l);
    vrx_micro_step<R, V, NV, NB>(acc[1 % S], a + HR * (l + 1), b + NB * (l + 1));
    vrx_micro_step<R, V, NV, NB>(acc[2 % S], a + HR * (l + 2), b + NB * (l + 2));
    vrx_micro_step<R, V, NV, NB>(acc[3 % S], a + HR * (l + 3), b + NB * (l + 3));
  }
  for (; l < k; ++l) vrx_micro_step<R, V, NV, NB>(acc[0], a + HR * l, b + NB * l);
  for (int step = 1; step < S; step *= 2)
    for (int q = 0; q + step < S; q += 2 * step)
      for (int v = 0; v < NV; ++v)
        for (int j = 0; j < NB; ++j) acc[q][v][j] = V::add(acc[q][v][j], acc[q + step][v][j]);

  for (int j = 0; j < NC; ++j)
    for (int v = 0; v < NV; ++v) {
      vec r;
      if constexpr (P == 1) r = acc[0][v][j];
      else r = V::addsub(acc[0][v][2 * j], V::swap_pairs(acc[0][v][2 * j + 1]));
      R* p = c + j * ldc + v * V::width;
      if constexpr (STORE) V::store(p, r);
      else V::store(p, V::add(V::load(p), r));
    }
}

// Tile tables by slot of the row extent (outer) and of the column extent (inner). The
// tiles of full width rows against a full column panel prefetch AHEAD bytes on.
template <typename R, int P, int FW, int MR, int NR, bool STORE, int AHEAD>
struct vrx_micro_tiles {
  static constexpr int RS = vrx_micro_slots(MR), CS = vrx_micro_slots(NR);
  typedef std::array<vrx_micro_tile_fn<R>, CS> row_type;
  static constexpr int extent(int slot, int e) { return slot == 0 ? e : 1 << (slot - 1); }
  template <int RSLOT, std::size_t... CI>
  static constexpr row_type row(std::index_sequence<CI...>) {
    constexpr int hr = extent(RSLOT, MR) * P;
    return {{vrx_micro_tile<R, P, FW, hr, extent(int(CI), NR), STORE, (hr >= FW && CI == 0 ? AHEAD : 0)>...}};
  }
  template <std::size_t... RI>
  static constexpr std::array<row_type, RS> all(std::index_sequence<RI...>) {
    return {{row<int(RI)>(std::make_index_sequence<CS>{})...}};
  }
  static constexpr std::array<row_type, RS> table = all(std::make_index_sequence<RS>{});
};

// Below this k a tile's k loop is shorter than a trip to memory for its C tile.
constexpr vrx_int VRX_MICRO_SHORT_K = 192;

// Bytes of an A panel slice that stay in the first-level cache while every column panel
// of a row passes it; longer panels are walked in slices of k, C updated once per slice.
constexpr vrx_int VRX_MICRO_A_SLICE_BYTES = 24576;

// Walks row panels (outer), slices of k, then column panels (inner) of packed A and B
// over C (pointers and ldc in reals). The first slice runs the `first` tiles (store or
// accumulate, by beta), later ones accumulate.
template <typename R, int P, int MR, int NR, class Table>
void vrx_micro_walk(const Table& first, const Table& add, vrx_int m, vrx_int n, vrx_int k, const R* a, const R* b,
                    R* c, vrx_int ldc) {
  if (m < 1 || n < 1 || k < 1) return;
  constexpr vrx_int panel_step = MR * P * vrx_int(sizeof(R));  // bytes of one k step of a full A panel
  constexpr vrx_int slice_limit = VRX_MICRO_A_SLICE_BYTES / panel_step / 4 * 4;
  const vrx_int slices = k <= 2 * slice_limit ? 1 : (k + slice_limit - 1) / slice_limit;
  const vrx_int slice_k = slices == 1 ? k : ((k + slices - 1) / slices + 3) / 4 * 4;
  const vrx_int tiles_in_row = (n + NR - 1) / NR;
  for (vrx_int i = 0; i < m;) {
    const vrx_int h = vrx_micro_extent(m - i, MR);
    const R* ap = a + i * k * P;
    // The next A panel is brought into L2 in equal shares while this one is in use.
    const char* next_a = reinterpret_cast<const char*>(ap + h * k * P);
    const vrx_int next_lines =
        i + h < m ? (vrx_micro_extent(m - i - h, MR) * k * P * vrx_int(sizeof(R)) + 63) / 64 : 0;
    const vrx_int share = (next_lines + tiles_in_row * slices - 1) / (tiles_in_row * slices);
    vrx_int line = 0;
    for (vrx_int l0 = 0; l0 < k; l0 += slice_k) {
      const vrx_int kb = slice_k < k - l0 ? slice_k : k - l0;
      const auto& row = (l0 == 0 ? first : add)[vrx_micro_slot(h, MR)];
      for (vrx_int j = 0; j < n;) {
        const vrx_int w = vrx_micro_extent(n - j, NR);
        const vrx_int lines = line + share < next_lines ? share : next_lines - line;
        const char* share_start = next_a + 64 * line;
        line += lines;
        // With short k a tile is over before its own C prefetch lands: fetch the next
        // full column panel's C tile as well.
        if (kb < VRX_MICRO_SHORT_K && j + 2 * NR <= n) {
          const char* cn = reinterpret_cast<const char*>(c + (i + (j + NR) * ldc) * P);
          const vrx_int bytes = h * P * vrx_int(sizeof(R));
          for (int col = 0; col < NR; ++col, cn += ldc * P * vrx_int(sizeof(R))) {
            for (vrx_int p = 0; p < bytes; p += 64) __builtin_prefetch(cn + p, 1, 3);
            __builtin_prefetch(cn + bytes - 1, 1, 3);
          }
        }
        row[vrx_micro_slot(w, NR)](kb, ap + l0 * h * P, b + (j * k + l0 * w) * P, c + (i + j * ldc) * P,
                                   ldc * P, share_start, lines);
        j += w;
      }
    }
    i += h;
  }
}

template <typename T>
bool vrx_micro_is_zero(T x) {
  if constexpr (vrx_micro_elem<T>::parts == 1) return x == 0;
  else return x.re == 0 && x.im == 0;
}

// The kernel of a class: the store tiles on the first slice when beta is zero.
template <typename T, int FW, int MR, int NR, int AHEAD>
void vrx_micro_kernel(vrx_int m, vrx_int n, vrx_int k, const T* a, const T* b, T* c, vrx_int ldc, T beta) {
  typedef typename vrx_micro_elem<T>::real R;
  constexpr int P = vrx_micro_elem<T>::parts;
  constexpr auto& add = vrx_micro_tiles<R, P, FW, MR, NR, false, AHEAD>::table;
  constexpr auto& store = vrx_micro_tiles<R, P, FW, MR, NR, true, AHEAD>::table;
  vrx_micro_walk<R, P, MR, NR>(vrx_micro_is_zero(beta) ? store : add, add, m, n, k, reinterpret_cast<const R*>(a),
                               reinterpret_cast<const R*>(b), reinterpret_cast<R*>(c), ldc);
}

// ---- Packs ----

// How a pack multiplies: not at all (factor one), by a real factor, by a complex one.
enum { VRX_MICRO_SCALE_NONE = 0, VRX_MICRO_SCALE_REAL = 1, VRX_MICRO_SCALE_FULL = 2 };

template <int MODE, bool CONJ, typename T>
[[gnu::always_inline]] inline T vrx_micro_scaled(T f, T x) {
  if constexpr (vrx_micro_elem<T>::parts == 1) {
    if constexpr (MODE == VRX_MICRO_SCALE_NONE) return x;
    else return f * x;
  } else {
    if constexpr (CONJ) x.im = -x.im;
    if constexpr (MODE == VRX_MICRO_SCALE_NONE) return x;
    else if constexpr (MODE == VRX_MICRO_SCALE_REAL) return T{f.re * x.re, f.re * x.im};
    else return T{f.re * x.re - f.im * x.im, f.re * x.im + f.im * x.re};
  }
}

// Along: the H values of one step are contiguous in the source, steps ld apart.
template <int H, int MODE, bool CONJ, typename T>
void vrx_micro_copy_along(const T* __restrict src, vrx_int ld, vrx_int kb, T* __restrict out, T f) {
  constexpr int bytes = H * int(sizeof(T));
  for (vrx_int l = 0; l < kb; ++l) {
    const T* s = src + l * ld;
    T* o = out + l * H;
    // The next panel's source lies just past these H values: start fetching it now.
    if constexpr (bytes >= 64) {
      const char* next = reinterpret_cast<const char*>(s + H);
      for (int p = 0; p < bytes; p += 64) __builtin_prefetch(next + p, 0, 2);
      __builtin_prefetch(next + bytes - 1, 0, 2);
    }
    for (int r = 0; r < H; ++r) o[r] = vrx_micro_scaled<MODE, CONJ>(f, s[r]);
  }
}

// Eight lines of eight single-precision steps (ld apart) become eight steps of the panel
// (h apart), scaled unless MODE says the factor is one.
template <int MODE>
[[gnu::always_inline]] inline void vrx_micro_transpose8(const float* __restrict s, vrx_int ld, float* __restrict o,
                                                        vrx_int h, float factor) {
  __m256 r[8], t[8], u[8];
  for (int q = 0; q < 8; ++q) r[q] = _mm256_loadu_ps(s + q * ld);
  for (int q = 0; q < 8; q += 2) {
    t[q] = _mm256_unpacklo_ps(r[q], r[q + 1]);
    t[q + 1] = _mm256_unpackhi_ps(r[q], r[q + 1]);
  }
  for (int g = 0; g < 8; g += 4) {
    u[g + 0] = _mm256_shuffle_ps(t[g + 0], t[g + 2], 0x44);  // steps 0 and 4 of lines g .. g + 3
    u[g + 1] = _mm256_shuffle_ps(t[g + 0], t[g + 2], 0xee);  // steps 1 and 5
    u[g + 2] = _mm256_shuffle_ps(t[g + 1], t[g + 3], 0x44);  // steps 2 and 6
    u[g + 3] = _mm256_shuffle_ps(t[g + 1], t[g + 3], 0xee);  // steps 3 and 7
  }
  const __m256 f = _mm256_set1_ps(factor);
  for (int q = 0; q < 4; ++q) {
    __m256 low = _mm256_permute2f128_ps(u[q], u[q + 4], 0x20), high = _mm256_permute2f128_ps(u[q], u[q + 4], 0x31);
    if constexpr (MODE != VRX_MICRO_SCALE_NONE) low = _mm256_mul_ps(f, low), high = _mm256_mul_ps(f, high);
    _mm256_storeu_ps(o + q * h, low);
    _mm256_storeu_ps(o + (q + 4) * h, high);
  }
}

// Across: line r starts at src + r * ld and its steps are contiguous. Single-precision
// panels of a multiple of eight lines go through square transposes; otherwise runs of
// four steps are taken per line so that each line is read a piece at a time.
template <int H, int MODE, bool CONJ, typename T>
void vrx_micro_copy_across(const T* __restrict src, vrx_int ld, vrx_int kb, T* __restrict out, T f) {
  constexpr int run_bytes = 4 * int(sizeof(T));
  vrx_int l = 0;
  if constexpr (std::is_same_v<T, float> && H % 8 == 0) {
    for (; l + 8 <= kb; l += 8) {
      if ((l & 8) == 0)
        for (int r = 0; r < H; ++r) __builtin_prefetch(src + (r + H) * ld + l, 0, 2);
      for (int r = 0; r < H; r += 8) vrx_micro_transpose8<MODE>(src + r * ld + l, ld, out + l * H + r, H, f);
    }
  }
  for (; l + 4 <= kb; l += 4) {
    // The next panel's lines start H lines on; one prefetch per line and cache line.
    if constexpr (H >= 4)
      if ((l * vrx_int(sizeof(T))) % 64 < run_bytes)
        for (int r = 0; r < H; ++r) __builtin_prefetch(src + (r + H) * ld + l, 0, 2);
    for (int r = 0; r < H; ++r) {
      const T* s = src + r * ld + l;
      for (int q = 0; q < 4; ++q) out[(l + q) * H + r] = vrx_micro_scaled<MODE, CONJ>(f, s[q]);
    }
  }
  for (; l < kb; ++l)
    for (int r = 0; r < H; ++r) out[l * H + r] = vrx_micro_scaled<MODE, CONJ>(f, src[r * ld + l]);
}

template <int H, bool ALONG, int MODE, bool CONJ, typename T>
void vrx_micro_copy_panel(const T* src, vrx_int ld, vrx_int kb, T* out, T f) {
  if constexpr (ALONG) vrx_micro_copy_along<H, MODE, CONJ>(src, ld, kb, out, f);
  else vrx_micro_copy_across<H, MODE, CONJ>(src, ld, kb, out, f);
}

// A tail panel of h lines (a power of two below H2 * 2).
template <int H2, bool ALONG, int MODE, bool CONJ, typename T>
void vrx_micro_copy_tail(vrx_int h, const T* src, vrx_int ld, vrx_int kb, T* out, T f) {
  if (h == H2) vrx_micro_copy_panel<H2, ALONG, MODE, CONJ>(src, ld, kb, out, f);
  else if constexpr (H2 > 1) vrx_micro_copy_tail<H2 / 2, ALONG, MODE, CONJ>(h, src, ld, kb, out, f);
}

// Packs `lines` lines (rows of op(A) or columns of op(B)) of kb steps each. Along, line r
// starts at src + r and steps are ld apart; across, line r starts at src + r * ld.
template <int E, bool ALONG, int MODE, bool CONJ, typename T>
void vrx_micro_pack_lines(const T* src, vrx_int ld, vrx_int lines, vrx_int kb, T* out, T f) {
  const vrx_int line_step = ALONG ? 1 : ld;
  for (vrx_int i = 0; i < lines;) {
    const vrx_int h = vrx_micro_extent(lines - i, E);
    if (h == E) vrx_micro_copy_panel<E, ALONG, MODE, CONJ>(src + i * line_step, ld, kb, out, f);
    else vrx_micro_copy_tail<(1 << vrx_micro_log2(E - 1)), ALONG, MODE, CONJ>(h, src + i * line_step, ld, kb, out, f);
    out += h * kb;
    i += h;
  }
}

template <int E, bool ALONG, bool CONJ, typename T>
void vrx_micro_pack_scaled(const T* src, vrx_int ld, vrx_int lines, vrx_int kb, T* out, T f) {
  if (lines < 1 || kb < 1) return;
  if constexpr (vrx_micro_elem<T>::parts == 1) {
    if (f == 1) vrx_micro_pack_lines<E, ALONG, VRX_MICRO_SCALE_NONE, CONJ>(src, ld, lines, kb, out, f);
    else vrx_micro_pack_lines<E, ALONG, VRX_MICRO_SCALE_REAL, CONJ>(src, ld, lines, kb, out, f);
  } else {
    if (f.im != 0) vrx_micro_pack_lines<E, ALONG, VRX_MICRO_SCALE_FULL, CONJ>(src, ld, lines, kb, out, f);
    else if (f.re != 1) vrx_micro_pack_lines<E, ALONG, VRX_MICRO_SCALE_REAL, CONJ>(src, ld, lines, kb, out, f);
    else vrx_micro_pack_lines<E, ALONG, VRX_MICRO_SCALE_NONE, CONJ>(src, ld, lines, kb, out, f);
  }
}

// op(A), rows by cols (k). As stored a column's rows are contiguous (along); transposed
// the k values of a row are (across).
template <typename T, int MR, bool TRANSPOSED, bool CONJ>
void vrx_micro_pack_a(const T* src, vrx_int ld, vrx_int rows, vrx_int cols, T factor, T* out) {
  vrx_micro_pack_scaled<MR, !TRANSPOSED, CONJ>(src, ld, rows, cols, out, factor);
}

// op(B), rows (k) by cols. As stored a column's k values are contiguous (across the
// panel); transposed the columns of one k step are (along).
template <typename T, int NR, bool TRANSPOSED, bool CONJ>
void vrx_micro_pack_b(const T* src, vrx_int ld, vrx_int rows, vrx_int cols, T factor, T* out) {
  vrx_micro_pack_scaled<NR, TRANSPOSED, CONJ>(src, ld, cols, rows, out, factor);
}

// The table of a class: FW is its widest vector in reals, AHEAD the prefetch distance of
// the full tiles.
template <typename T, int FW, int MR, int NR, int AHEAD>
constexpr vrx_gemm_micro_kernels<T> vrx_micro_class_table() {
  constexpr bool cplx = vrx_micro_elem<T>::parts == 2;
  return {MR,
          NR,
          vrx_micro_kernel<T, FW, MR, NR, AHEAD>,
          {vrx_micro_pack_a<T, MR, false, false>, vrx_micro_pack_a<T, MR, true, false>,
           vrx_micro_pack_a<T, MR, true, cplx>},
          {vrx_micro_pack_b<T, NR, false, false>, vrx_micro_pack_b<T, NR, true, false>,
           vrx_micro_pack_b<T, NR, true, cplx>}};
}
}  // namespace
