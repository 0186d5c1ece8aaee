// Register-block kernel of the level-3 driver, written once over vector traits and
// instantiated by each instruction class in its own folder (internal linkage, so the
// copies built with different target flags never merge).
//
// Packed A: panels of height h hold, for each l, h consecutive values of op(A)(i.., l).
// Packed B: panels of width w hold, for each l, w consecutive values of op(B)(l, j..).
// A panel starting at row i sits at a + i * k, a panel starting at column j at b + j * k.
#pragma once
#include "blas/vrx_l3.h"

namespace {
typedef void (*vrx_l3_tile_fn)(vrx_int k, const double* a, const double* b, double* c, vrx_int ldc);

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

// C tile (+)= A panel * B panel. STORE writes without reading C. AHEAD is the distance in
// bytes of the software prefetch inside the k loop (0: none; tails rely on the hardware).
template <class V, int NV, int NC, bool STORE, int AHEAD>
void vrx_l3_tile(vrx_int k, const double* __restrict a, const double* __restrict b, double* __restrict c,
                 vrx_int ldc) {
  constexpr int R = NV * V::width;
  typename V::type acc[NV][NC];
  for (int v = 0; v < NV; ++v)
    for (int j = 0; j < NC; ++j) acc[v][j] = V::zero();
  for (int j = 0; j < NC; ++j) {
    __builtin_prefetch(c + j * ldc, 1, 3);
    if constexpr (R > 8) __builtin_prefetch(c + j * ldc + R - 1, 1, 3);
  }

  vrx_int l = 0;
  if constexpr (AHEAD > 0) {
    // Main form: prefetch every line the next unrolled steps will read, AHEAD bytes on.
    constexpr int a_lines = R * 4 * 8 / 64, b_lines = NC * 4 * 8 / 64;
    const vrx_int steady = k - (AHEAD / (R * 8) + 4);
    for (; l + 4 <= steady; l += 4) {
      const char* pa = reinterpret_cast<const char*>(a + R * l) + AHEAD;
      const char* pb = reinterpret_cast<const char*>(b + NC * l) + AHEAD / 2;
      for (int p = 0; p < a_lines; ++p) __builtin_prefetch(pa + 64 * p, 0, 3);
      for (int p = 0; p < b_lines; ++p) __builtin_prefetch(pb + 64 * p, 0, 3);
      vrx_l3_tile_step<V, NV, NC>(acc, a + R * l, b + NC * l);
      vrx_l3_tile_step<V, NV, NC>(acc, a + R * (l + 1), b + NC * (l + 1));
      vrx_l3_tile_step<V, NV, NC>(acc, a + R * (l + 2), b + NC * (l + 2));
      vrx_l3_tile_step<V, NV, NC>(acc, a + R * (l + 3), b + NC * (l + 3));
    }
  }
  // Last steps: the same without prefetches past the panels.
  for (; l + 4 <= k; l += 4) {
    vrx_l3_tile_step<V, NV, NC>(acc, a + R * l, b + NC * l);
    vrx_l3_tile_step<V, NV, NC>(acc, a + R * (l + 1), b + NC * (l + 1));
    vrx_l3_tile_step<V, NV, NC>(acc, a + R * (l + 2), b + NC * (l + 2));
    vrx_l3_tile_step<V, NV, NC>(acc, a + R * (l + 3), b + NC * (l + 3));
  }
  for (; l < k; ++l) vrx_l3_tile_step<V, NV, NC>(acc, a + R * l, b + NC * l);

  for (int j = 0; j < NC; ++j)
    for (int v = 0; v < NV; ++v) {
      double* p = c + j * ldc + v * V::width;
      if constexpr (STORE) V::store(p, acc[v][j]);
      else V::store(p, V::add(V::load(p), acc[v][j]));
    }
}

// Slot of a panel extent in a tile table: 0 for the register extent, 1 + log2 for tails.
inline int vrx_l3_tile_slot(vrx_int extent, vrx_int register_extent) {
  return extent == register_extent ? 0 : 1 + __builtin_ctzll(static_cast<unsigned long long>(extent));
}

// Walks row panels (outer) and column panels (inner) of packed A and B over C.
template <int MR, int NR, int ROW_SLOTS, int COL_SLOTS>
void vrx_l3_kernel_walk(const vrx_l3_tile_fn (&tiles)[ROW_SLOTS][COL_SLOTS], vrx_int m, vrx_int n, vrx_int k,
                        const double* a, const double* b, double* c, vrx_int ldc) {
  if (m < 1 || n < 1 || k < 1) return;
  for (vrx_int i = 0; i < m;) {
    const vrx_int h = vrx_l3_panel_extent(m - i, MR);
    const vrx_l3_tile_fn* row = tiles[vrx_l3_tile_slot(h, MR)];
    const double* ap = a + i * k;
    // The next A panel is brought into L2 in equal slices while this one is in use.
    const char* next_a = reinterpret_cast<const char*>(ap + h * k);
    const vrx_int next_lines = i + h < m ? (vrx_l3_panel_extent(m - i - h, MR) * k * 8 + 63) / 64 : 0;
    const vrx_int tiles_in_row = (n + NR - 1) / NR;
    const vrx_int slice = (next_lines + tiles_in_row - 1) / tiles_in_row;
    for (vrx_int j = 0, line = 0; j < n;) {
      const vrx_int w = vrx_l3_panel_extent(n - j, NR);
      for (vrx_int end = line + slice < next_lines ? line + slice : next_lines; line < end; ++line)
        __builtin_prefetch(next_a + 64 * line, 0, 2);
      row[vrx_l3_tile_slot(w, NR)](k, ap, b + j * k, c + i + j * ldc, ldc);
      j += w;
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
  if (beta == 0.0) vrx_l3_kernel_walk<MR, NR>(STORE, m, n, k, a, b, c, ldc);
  else vrx_l3_kernel_walk<MR, NR>(ADD, m, n, k, a, b, c, ldc);
}
}  // namespace
