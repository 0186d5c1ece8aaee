// The diagonal-block kernels of the triangular solve and product, per instruction
// class: one table per element type, on raw pointers.
//
// A block of order h is packed as an h by h column-major T in B's own order: T(p, q)
// couples line q of the block (a row of B for side L, a column for side R) into line p,
// below the diagonal when the block is taken forward, above it backward; the diagonal
// holds -1 / a for a solve, a for a product, and is not read with a unit diagonal.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// B's block (h lines of `count` elements, leading dimension ldb) := op^-1 alpha B
// (solve) or alpha op B (product).
template <typename T>
using vrx_tri_leaf_fn = void (*)(vrx_int h, const T* t, T alpha, T* b, vrx_int ldb, vrx_int count);

// Indexed [product][side R][backward][unit diagonal].
template <typename T>
struct vrx_tri_leaf_table {
  vrx_tri_leaf_fn<T> leaf[2][2][2][2];
};

extern const vrx_tri_leaf_table<float> vrx_tri_leaf_s_avx2, vrx_tri_leaf_s_avx512;
extern const vrx_tri_leaf_table<double> vrx_tri_leaf_d_avx2, vrx_tri_leaf_d_avx512;
extern const vrx_tri_leaf_table<vrx_complex_float> vrx_tri_leaf_c_avx2, vrx_tri_leaf_c_avx512;
extern const vrx_tri_leaf_table<vrx_complex_double> vrx_tri_leaf_z_avx2, vrx_tri_leaf_z_avx512;
