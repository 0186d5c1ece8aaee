// The diagonal-block kernels of the triangular solve and product, written once and
// compiled by each instruction class (internal linkage: no class's copy can stand in
// for another's). Every inner loop runs over consecutive elements.
#pragma once
#include "blas/kernels/tri_leaf_kernels.h"

namespace {
// Lines of a side R block taken at a time, so that its columns stay in cache.
constexpr vrx_int vrx_tri_row_block = 128;

template <typename T>
inline void vrx_tri_scale(T* x, vrx_int n, T alpha) {
  if (vrx_traits<T>::is_one(alpha)) return;
  for (vrx_int e = 0; e < n; ++e) x[e] *= alpha;
}

// y[0 .. n) += g x[0 .. n)
template <typename T>
inline void vrx_tri_axpy(vrx_int n, T g, const T* x, T* y) {
  for (vrx_int e = 0; e < n; ++e) y[e] += g * x[e];
}

// Side L: one column x of the block, h elements.
template <typename T, bool Solve, bool Forward, bool Unit>
inline void vrx_tri_leaf_column(vrx_int h, const T* t, T alpha, T* x) {
  if (Solve) {
    vrx_tri_scale(x, h, alpha);
    for (vrx_int s = 0; s < h; ++s) {
      const vrx_int q = Forward ? s : h - 1 - s;
      const T* tq = t + q * h;
      T xq = x[q];
      if (!Unit) x[q] = xq = -(xq * tq[q]);
      if (Forward)
        vrx_tri_axpy(h - q - 1, -xq, tq + q + 1, x + q + 1);
      else
        vrx_tri_axpy(q, -xq, tq, x);
    }
    return;
  }
  for (vrx_int s = 0; s < h; ++s) {
    const vrx_int q = Forward ? h - 1 - s : s;
    const T* tq = t + q * h;
    const T xq = x[q];
    if (Forward)
      vrx_tri_axpy(h - q - 1, xq, tq + q + 1, x + q + 1);
    else
      vrx_tri_axpy(q, xq, tq, x);
    if (!Unit) x[q] = tq[q] * xq;
  }
  vrx_tri_scale(x, h, alpha);
}

// Side R: `rows` rows of the block's h columns, column q at b + q * ldb.
template <typename T, bool Solve, bool Forward, bool Unit>
inline void vrx_tri_leaf_rows(vrx_int h, const T* t, T alpha, T* b, vrx_int ldb, vrx_int rows) {
  auto column = [&](vrx_int q) { return b + q * ldb; };
  if (Solve)
    for (vrx_int q = 0; q < h; ++q) vrx_tri_scale(column(q), rows, alpha);
  for (vrx_int s = 0; s < h; ++s) {
    // A solve takes the lines in dependency order, a product against it.
    const vrx_int q = (Forward == Solve) ? s : h - 1 - s;
    const T* tq = t + q * h;
    T* xq = column(q);
    if (Solve && !Unit) vrx_tri_scale(xq, rows, -tq[q]);
    const vrx_int p0 = Forward ? q + 1 : 0, p1 = Forward ? h : q;
    for (vrx_int p = p0; p < p1; ++p) vrx_tri_axpy(rows, Solve ? -tq[p] : tq[p], xq, column(p));
    if (!Solve && !Unit) vrx_tri_scale(xq, rows, tq[q]);
  }
  if (!Solve)
    for (vrx_int q = 0; q < h; ++q) vrx_tri_scale(column(q), rows, alpha);
}

// Side L takes its columns `vrx_tri_column_block` at a time through a transposed copy,
// so that it runs as side R does, on long consecutive lines.
constexpr vrx_int vrx_tri_column_block = 64, vrx_tri_max_order = 32;

template <typename T, bool Solve, bool Left, bool Forward, bool Unit>
void vrx_tri_leaf(vrx_int h, const T* t, T alpha, T* b, vrx_int ldb, vrx_int count) {
  if (Left) {
    if (h > vrx_tri_max_order) {
      for (vrx_int j = 0; j < count; ++j) vrx_tri_leaf_column<T, Solve, Forward, Unit>(h, t, alpha, b + j * ldb);
      return;
    }
    T w[vrx_tri_column_block * vrx_tri_max_order];
    for (vrx_int j0 = 0; j0 < count; j0 += vrx_tri_column_block) {
      const vrx_int c = count - j0 < vrx_tri_column_block ? count - j0 : vrx_tri_column_block;
      for (vrx_int e = 0; e < c; ++e)
        for (vrx_int p = 0; p < h; ++p) w[e + p * c] = b[p + (j0 + e) * ldb];
      vrx_tri_leaf_rows<T, Solve, Forward, Unit>(h, t, alpha, w, c, c);
      for (vrx_int e = 0; e < c; ++e)
        for (vrx_int p = 0; p < h; ++p) b[p + (j0 + e) * ldb] = w[e + p * c];
    }
    return;
  }
  for (vrx_int i0 = 0; i0 < count; i0 += vrx_tri_row_block) {
    const vrx_int rows = count - i0 < vrx_tri_row_block ? count - i0 : vrx_tri_row_block;
    vrx_tri_leaf_rows<T, Solve, Forward, Unit>(h, t, alpha, b + i0, ldb, rows);
  }
}

template <typename T, bool Solve, bool Left>
constexpr void vrx_tri_leaf_fill(vrx_tri_leaf_fn<T> (&by_order)[2][2]) {
  by_order[0][0] = vrx_tri_leaf<T, Solve, Left, true, false>;
  by_order[0][1] = vrx_tri_leaf<T, Solve, Left, true, true>;
  by_order[1][0] = vrx_tri_leaf<T, Solve, Left, false, false>;
  by_order[1][1] = vrx_tri_leaf<T, Solve, Left, false, true>;
}

// The class's table for elements of T.
template <typename T>
constexpr vrx_tri_leaf_table<T> vrx_tri_leaf_class_table() {
  vrx_tri_leaf_table<T> table{};
  vrx_tri_leaf_fill<T, true, true>(table.leaf[0][0]);
  vrx_tri_leaf_fill<T, true, false>(table.leaf[0][1]);
  vrx_tri_leaf_fill<T, false, true>(table.leaf[1][0]);
  vrx_tri_leaf_fill<T, false, false>(table.leaf[1][1]);
  return table;
}
}  // namespace
