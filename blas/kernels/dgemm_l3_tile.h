// Register-block kernel of the level-3 driver, written once over vector traits and
// instantiated by each instruction class in its own folder (internal linkage, so the
// copies built with different target flags never merge).
//
// Packed A: panels of height h hold, for each l, h consecutive values of op(A)(i.., l).
// Packed B: panels of width w hold, for each l, w consecutive values of op(B)(l, j..).
// A panel starting at row i sits at a + i * k, a panel starting at column j at b + j * k.
#pragma once
#include <immintrin.h>

#include "blas/kernels/prefetch_tile.h"
#include "blas/vrx_l3.h"




namespace {
// `next` and `next_lines`: cache lines of the next A panel this tile brings into L2.
typedef void (*vrx_l3_tile_fn)(vrx_int k, const double* a, const double* b, double* c, vrx_int ldc,
                               const char* next, vrx_int next_lines);

// One k step of an (NV * width) by NC tile.
template <class V, int NV, int NC>
[[gnu::always_inline]] inline void vrx_l3_tile_step(typename V::type (&acc)[NV][NC], const double* a,
                                                    const double* b) {
  typename V::type av[NV];
  for (int v = 0; v < NV; ++v) av[v] = V::load(a + v * V::width);
  for (int j = 0; j < NC; ++j) {
    const typename V::type bj = V::bcast(b + j);
    for (int v = 0; v < NV; ++v) acc[v][j] = V::fma(av[v], bj, acc[v][j]);
  }
}

// Adds S sets of N accumulators, stored one set after another, pairwise into the first.
template <class V, int S, int N>
[[gnu::always_inline]] inline void vrx_l3_sum_sets(typename V::type* acc) {
  for (int step = 1; step < S; step *= 2)
    for (int q = 0; q + step < S; q += 2 * step)
      for (int i = 0; i < N; ++i) acc[q * N + i] = V::add(acc[q * N + i], acc[(q + step) * N + i]);
}

// C tile (+)= A panel * B panel. STORE writes without reading C. AHEAD is the distance in
// bytes of the software prefetch inside the k loop (0: none; tails rely on the hardware).
// A tail tile with fewer than eight accumulators would wait on each multiply-add before
// the next of its chain: it keeps S sets over consecutive k steps instead (2 from four
// accumulators, 4 below), summed pairwise after the loop.
template <class V, int NV, int NC, bool STORE, int AHEAD>
void vrx_l3_tile(vrx_int k, const double* __restrict a, const double* __restrict b, double* __restrict c,
                 vrx_int ldc, const char* next, vrx_int next_lines) {
  constexpr int R = NV * V::width, CHAINS = NV * NC;
  constexpr int S = AHEAD > 0 || CHAINS >= 8 ? 1 : (CHAINS >= 4 ? 2 : 4);
  typename V::type acc[S][NV][NC];
  for (int q = 0; q < S; ++q)
    for (int v = 0; v < NV; ++v)
      for (int j = 0; j < NC; ++j) acc[q][v][j] = V::zero();
  vrx_prefetch_c_tile<R, NC>(c, ldc);

  vrx_int l = 0, line = 0;
  if constexpr (AHEAD > 0) {
    // Main form: prefetch every line the next unrolled steps will read, AHEAD bytes on.
    constexpr int a_lines = R * 4 * 8 / 64, b_lines = NC * 4 * 8 / 64;
    const vrx_int steady = k - (AHEAD / (R * 8) + 4);
    // One line of the next A panel per unrolled step, so these misses never come in a
    // burst; the index stops at the last line (a repeated prefetch costs nothing).
    const vrx_int last = next_lines - 1;
    for (; l + 4 <= steady; l += 4, ++line) {
      __builtin_prefetch(next + 64 * (line < last ? line : last), 0, 2);
      const char* pa = reinterpret_cast<const char*>(a + R * l) + AHEAD;
      const char* pb = reinterpret_cast<const char*>(b + NC * l) + AHEAD / 2;
      for (int p = 0; p < a_lines; ++p) __builtin_prefetch(pa + 64 * p, 0, 3);
      for (int p = 0; p < b_lines; ++p) __builtin_prefetch(pb + 64 * p, 0, 3);
      vrx_l3_tile_step<V, NV, NC>(acc[0], a + R * l, b + NC * l);
      vrx_l3_tile_step<V, NV, NC>(acc[0], a + R * (l + 1), b + NC * (l + 1));
      vrx_l3_tile_step<V, NV, NC>(acc[0], a + R * (l + 2), b + NC * (l + 2));
      vrx_l3_tile_step<V, NV, NC>(acc[0], a + R * (l + 3), b + NC * (l + 3));
    }
  }
  for (; line < next_lines; ++line) __builtin_prefetch(next + 64 * line, 0, 2);
  // Last steps: the same without prefetches past the panels.
  for (; l + 4 <= k; l += 4) {
    vrx_l3_tile_step<V, NV, NC>(acc[0], a + R * l, b + NC * l);
    vrx_l3_tile_step<V, NV, NC>(acc[1 % S], a + R * (l + 1), b + NC * (l + 1));
    vrx_l3_tile_step<V, NV, NC>(acc[2 % S], a + R * (l + 2), b + NC * (l + 2));
    vrx_l3_tile_step<V, NV, NC>(acc[3 % S], a + R * (l + 3), b + NC * (l + 3));
  }
  for (; l < k; ++l) vrx_l3_tile_step<V, NV, NC>(acc[0], a + R * l, b + NC * l);
  vrx_l3_sum_sets<V, S, NV * NC>(&acc[0][0][0]);

  for (int j = 0; j < NC; ++j)
    for (int v = 0; v < NV; ++v) {
      double* p = c + j * ldc + v * V::width;
      if constexpr (STORE) V::store(p, acc[0][v][j]);
      else V::store(p, V::add(V::load(p), acc[0][v][j]));
    }
}

// The four-column pieces of a row vector.
inline void vrx_l3_quarters(__m256d v, __m256d (&out)[1]) { out[0] = v; }
#if defined(__AVX512F__)
inline void vrx_l3_quarters(__m512d v, __m256d (&out)[2]) {
  out[0] = _mm512_castpd512_pd256(v);
  out[1] = _mm512_extractf64x4_pd(v, 1);
}
#endif

// C(0 .. H - 1, 0 .. 3) (+)= the H rows given, each holding four columns: the rows are
// turned into columns in registers, so C is read and written a column at a time.
template <int H, bool STORE>
[[gnu::always_inline]] inline void vrx_l3_put_rows(const __m256d (&rows)[H], double* c, vrx_int ldc) {
  if constexpr (H == 4) {
    const __m256d t0 = _mm256_unpacklo_pd(rows[0], rows[1]), t1 = _mm256_unpackhi_pd(rows[0], rows[1]),
                  t2 = _mm256_unpacklo_pd(rows[2], rows[3]), t3 = _mm256_unpackhi_pd(rows[2], rows[3]);
    const __m256d cols[4] = {_mm256_permute2f128_pd(t0, t2, 0x20), _mm256_permute2f128_pd(t1, t3, 0x20),
                             _mm256_permute2f128_pd(t0, t2, 0x31), _mm256_permute2f128_pd(t1, t3, 0x31)};
    for (int j = 0; j < 4; ++j) {
      double* p = c + j * ldc;
      _mm256_storeu_pd(p, STORE ? cols[j] : _mm256_add_pd(_mm256_loadu_pd(p), cols[j]));
    }
  } else if constexpr (H == 2) {
    const __m256d t0 = _mm256_unpacklo_pd(rows[0], rows[1]), t1 = _mm256_unpackhi_pd(rows[0], rows[1]);
    const __m128d cols[4] = {_mm256_castpd256_pd128(t0), _mm256_castpd256_pd128(t1), _mm256_extractf128_pd(t0, 1),
                             _mm256_extractf128_pd(t1, 1)};
    for (int j = 0; j < 4; ++j) {
      double* p = c + j * ldc;
      _mm_storeu_pd(p, STORE ? cols[j] : _mm_add_pd(_mm_loadu_pd(p), cols[j]));
    }
  } else {
    alignas(32) double row[4];
    _mm256_store_pd(row, rows[0]);
    for (int j = 0; j < 4; ++j) c[j * ldc] = STORE ? row[j] : c[j * ldc] + row[j];
  }
}

// A row tail of H = 1, 2 or 4 rows against a full column panel, computed across: each
// accumulator holds one row of the C tile over the panel's VB::width columns (a row of
// the packed B panel is one vector), so every multiply-add is full width where the
// plain tile would run H-wide vectors or scalars. S sets of accumulators take
// consecutive k steps, keeping eight chains in flight, and are summed pairwise at the end.
template <class VB, int H, bool STORE>
void vrx_l3_tile_across(vrx_int k, const double* __restrict a, const double* __restrict b, double* __restrict c,
                        vrx_int ldc, const char* next, vrx_int next_lines) {
  constexpr int NC = VB::width, S = 8 / H;
  typename VB::type acc[S][H];
  for (int q = 0; q < S; ++q)
    for (int r = 0; r < H; ++r) acc[q][r] = VB::zero();
  vrx_prefetch_c_tile<H, NC>(c, ldc);
  vrx_int l = 0, line = 0;
  for (; l + S <= k; l += S) {
    if (line < next_lines) __builtin_prefetch(next + 64 * line++, 0, 2);
    for (int q = 0; q < S; ++q) {
      const typename VB::type bv = VB::load(b + (l + q) * NC);
      for (int r = 0; r < H; ++r) acc[q][r] = VB::fma(VB::bcast(a + (l + q) * H + r), bv, acc[q][r]);
    }
  }
  for (; line < next_lines; ++line) __builtin_prefetch(next + 64 * line, 0, 2);
  for (; l < k; ++l) {
    const typename VB::type bv = VB::load(b + l * NC);
    for (int r = 0; r < H; ++r) acc[0][r] = VB::fma(VB::bcast(a + l * H + r), bv, acc[0][r]);
  }
  vrx_l3_sum_sets<VB, S, H>(&acc[0][0]);
  // Back into columns, four at a time.
  constexpr int P = NC / 4;
  __m256d pieces[P][H];
  for (int r = 0; r < H; ++r) {
    __m256d halves[P];
    vrx_l3_quarters(acc[0][r], halves);
    for (int q = 0; q < P; ++q) pieces[q][r] = halves[q];
  }
  for (int q = 0; q < P; ++q) vrx_l3_put_rows<H, STORE>(pieces[q], c + 4 * q * ldc, ldc);
}

// Slot of a panel extent in a tile table: 0 for the register extent, 1 + log2 for tails.
inline int vrx_l3_tile_slot(vrx_int extent, vrx_int register_extent) {
  return extent == register_extent ? 0 : 1 + __builtin_ctzll(static_cast<unsigned long long>(extent));
}

// Below this k a tile's k loop is shorter than a trip to memory for its C tile.
constexpr vrx_int VRX_L3_SHORT_K = 192;

// Bytes of an A panel slice that stay in the first-level cache while every column
// panel of a row passes it. A panel of more than twice as many bytes would be fetched
// again from L2 for each column panel; the row is then walked in slices of k, and C
// is updated once per slice. (Up to twice the size the extra C updates cost more than
// the refetches.)
constexpr vrx_int VRX_L3_A_SLICE_BYTES = 24576;

// Walks row panels (outer), slices of k, then column panels (inner) of packed A and B
// over C. The first slice runs the `first` tiles (store or accumulate, by beta), the
// later ones accumulate.
template <int MR, int NR, int ROW_SLOTS, int COL_SLOTS>
void vrx_l3_kernel_walk(const vrx_l3_tile_fn (&first)[ROW_SLOTS][COL_SLOTS],
                        const vrx_l3_tile_fn (&add)[ROW_SLOTS][COL_SLOTS], vrx_int m, vrx_int n, vrx_int k,
                        const double* a, const double* b, double* c, vrx_int ldc) {
  if (m < 1 || n < 1 || k < 1) return;
  constexpr vrx_int slice_limit = VRX_L3_A_SLICE_BYTES / (MR * 8) / 4 * 4;
  const vrx_int slices = k <= 2 * slice_limit ? 1 : (k + slice_limit - 1) / slice_limit;
  const vrx_int slice_k = slices == 1 ? k : ((k + slices - 1) / slices + 3) / 4 * 4;
  const vrx_int tiles_in_row = (n + NR - 1) / NR;
  for (vrx_int i = 0; i < m;) {
    const vrx_int h = vrx_l3_panel_extent(m - i, MR);
    const double* ap = a + i * k;
    // The next A panel is brought into L2 in equal slices while this one is in use,
    // each tile spreading its share over its k loop.
    const char* next_a = reinterpret_cast<const char*>(ap + h * k);
    const vrx_int next_lines = i + h < m ? (vrx_l3_panel_extent(m - i - h, MR) * k * 8 + 63) / 64 : 0;
    const vrx_int share = (next_lines + tiles_in_row * slices - 1) / (tiles_in_row * slices);
    vrx_int line = 0;
    for (vrx_int l0 = 0; l0 < k; l0 += slice_k) {
      const vrx_int kb = slice_k < k - l0 ? slice_k : k - l0;
      const vrx_l3_tile_fn* row = (l0 == 0 ? first : add)[vrx_l3_tile_slot(h, MR)];
      for (vrx_int j = 0; j < n;) {
        const vrx_int w = vrx_l3_panel_extent(n - j, NR);
        const vrx_int lines = line + share < next_lines ? share : next_lines - line;
        const char* share_start = next_a + 64 * line;
        line += lines;
        // With short k a tile is over before its own C prefetch lands: fetch the next
        // column panel's C tile as well (full panels only; the tail tiles fetch their own).
        // One panel ahead is enough; further ahead the lines crowd the first-level cache.
        if (kb < VRX_L3_SHORT_K && j + 2 * NR <= n) {
          const char* cn = reinterpret_cast<const char*>(c + i + (j + NR) * ldc);
          for (int col = 0; col < NR; ++col, cn += ldc * 8) {
            for (vrx_int p = 0; p < h * 8; p += 64) __builtin_prefetch(cn + p, 1, 3);
            __builtin_prefetch(cn + h * 8 - 1, 1, 3);
          }
        }
        // A slice of panel (h by k) starts l0 * h on, of a B panel (w by k) l0 * w on.
        row[vrx_l3_tile_slot(w, NR)](kb, ap + l0 * h, b + j * k + l0 * w, c + i + j * ldc, ldc, share_start, lines);
        j += w;
      }
    }
    i += h;
  }
}
}  // namespace

namespace {
// The kernel entry of a class: the store tiles when beta is 0.0, else the accumulating ones.
template <int MR, int NR, int RS, int CS, const vrx_l3_tile_fn (&ADD)[RS][CS], const vrx_l3_tile_fn (&STORE)[RS][CS]>
void vrx_l3_kernel_entry(vrx_int m, vrx_int n, vrx_int k, const double* a, const double* b, double* c,
                         vrx_int ldc, double beta) {
  if (beta == 0.0) vrx_l3_kernel_walk<MR, NR>(STORE, ADD, m, n, k, a, b, c, ldc);
  else vrx_l3_kernel_walk<MR, NR>(ADD, ADD, m, n, k, a, b, c, ldc);
}
}  // namespace
