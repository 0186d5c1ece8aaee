// The blocked frame shared by the triangular solve and product: the triangle is cut in
// two, the part that does not depend on the other is done first, and the coupling
// block becomes one GEMM. Also the small element helpers of the leaf kernels.
#pragma once
#include "blas/level3/trsm/vrx_triangular.h"

// The signature of a whole kernel (and of a leaf): the arguments of vrx_l3_trsm_unpacked.
template <typename T>
using vrx_tri_kernel_fn = void (*)(vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda,
                                   T* b, vrx_int ldb);

enum { VRX_TRI_SOLVE = 0, VRX_TRI_PRODUCT = 1 };

// How the triangle is cut: parts of at most `leaf` go to the leaf kernel. `halve` cuts
// in two near the middle (the leading part a multiple of 8); otherwise blocks of `leaf`
// are peeled off the part done first, one after the other.
struct vrx_tri_cut {
  vrx_int leaf;
  int halve;
};

// B := op(A)^-1 alpha B (kind VRX_TRI_SOLVE) or alpha op(A) B (VRX_TRI_PRODUCT), or with
// A on the right, through `leaf` on the diagonal parts and `gemm` on the coupling blocks.
// alpha is not 0 here. Only the stored triangle of A is read.
template <typename T>
void vrx_tri_split(int kind, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                   vrx_int ldb, vrx_tri_cut cut, vrx_tri_kernel_fn<T> leaf, vrx_gemm_fn<T> gemm);

// The quick returns every kernel starts with: true when B is empty, or when alpha = 0
// (then B is zeroed without reading it or A).
template <typename T>
bool vrx_tri_quick_return(vrx_int m, vrx_int n, T alpha, T* b, vrx_int ldb);

// The allocation-free kernel of a kind: quick returns, then the frame with leaves of at
// most leaf_max peeled one after the other and the coupling blocks by the in-place SSE2
// product.
template <typename T>
void vrx_tri_unpacked(int kind, vrx_tri_kernel_fn<T> leaf, vrx_int leaf_max, vrx_tri_codes codes, vrx_int m,
                      vrx_int n, T alpha, const T* a, vrx_int lda, T* b, vrx_int ldb);

// Whether op(A) is lower triangular.
inline bool vrx_tri_lower(vrx_tri_codes c) { return (c.uplo == 1) == (c.trans == 0); }

// x, or its conjugate when `conj`.
template <typename T>
inline T vrx_tri_conj_if(T x, bool conj) {
  if constexpr (vrx_is_complex<T>) return conj ? vrx_traits<T>::conj(x) : x;
  else return x;
}

// Element (i, j) of op(A), conjugated when op is the conjugate transpose.
template <typename T>
inline T vrx_tri_op_at(const T* a, vrx_int lda, int trans, bool conj, vrx_int i, vrx_int j) {
  return trans == 0 ? a[i + j * lda] : vrx_tri_conj_if(a[j + i * lda], conj);
}

// op(A) of a leaf of order s into `out` (column-major, leading dimension s), conjugated
// for the conjugate transpose: its triangle only, ones on a unit diagonal (A's diagonal
// is then not read). Side-L leaves then walk unit-stride columns whatever the transa.
template <typename T>
inline void vrx_tri_load_op(vrx_tri_codes c, vrx_int s, const T* a, vrx_int lda, T* out) {
  const bool lower = vrx_tri_lower(c), conj = vrx_is_complex<T> && c.trans == 2;
  for (vrx_int j = 0; j < s; ++j) {
    const vrx_int i_begin = lower ? j + 1 : 0, i_end = lower ? s : j;
    for (vrx_int i = i_begin; i < i_end; ++i) out[i + j * s] = vrx_tri_op_at(a, lda, c.trans, conj, i, j);
    out[j + j * s] = c.diag == 0 ? vrx_traits<T>::make(1, 0) : vrx_tri_op_at(a, lda, c.trans, conj, j, j);
  }
}

// Columns of B that side-L leaves carry through the triangle together.
constexpr vrx_int vrx_tri_columns = 4;

// Rows of B that side-R leaves take at a time, so that the columns in play stay in cache.
constexpr vrx_int vrx_tri_row_chunk = 256;

// bj += sum over l in [l_begin, l_end) of coef(l) times column l of `base` (rows long,
// leading dimension ld), four columns at a time so that bj is loaded once per four.
template <typename T, typename Coef>
inline void vrx_tri_add_columns(vrx_int rows, T* __restrict bj, const T* base, vrx_int ld, vrx_int l_begin,
                                vrx_int l_end, Coef&& coef) {
  vrx_int l = l_begin;
  for (; l + 4 <= l_end; l += 4) {
    const T c0 = coef(l), c1 = coef(l + 1), c2 = coef(l + 2), c3 = coef(l + 3);
    const T* __restrict x0 = base + l * ld;
    const T* __restrict x1 = x0 + ld;
    const T* __restrict x2 = x1 + ld;
    const T* __restrict x3 = x2 + ld;
    for (vrx_int i = 0; i < rows; ++i) bj[i] += (c0 * x0[i] + c1 * x1[i]) + (c2 * x2[i] + c3 * x3[i]);
  }
  for (; l < l_end; ++l) {
    const T c = coef(l);
    const T* __restrict x = base + l * ld;
    for (vrx_int i = 0; i < rows; ++i) bj[i] += c * x[i];
  }
}

// The walk of a side-R leaf of order n over B (m rows): rows in chunks, columns j in
// order (from the last when `backward`), each with the range [l_begin, l_end) of the
// columns on op(A)'s side of the diagonal. body(base, rows, j, l_begin, l_end), base
// the chunk's first row.
template <typename T, typename Body>
inline void vrx_tri_right_walk(vrx_int m, vrx_int n, bool lower, bool backward, T* b, Body&& body) {
  for (vrx_int r0 = 0; r0 < m; r0 += vrx_tri_row_chunk) {
    const vrx_int rows = m - r0 < vrx_tri_row_chunk ? m - r0 : vrx_tri_row_chunk;
    for (vrx_int step = 0; step < n; ++step) {
      const vrx_int j = backward ? n - 1 - step : step;
      body(b + r0, rows, j, lower ? j + 1 : 0, lower ? n : j);
    }
  }
}
