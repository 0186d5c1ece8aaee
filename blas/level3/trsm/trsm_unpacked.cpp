// The allocation-free triangular solve: diagonal blocks of at most 64 by substitution,
// unit-stride loops over columns of B (side L) or rows of B (side R), the coupling
// blocks by the in-place SSE2 product. One thread, no packing, no allocation; it is
// also what a thread runs when scratch memory is short.
#include "blas/level2/level2_common.h"
#include "blas/level3/trsm/vrx_tri_split.h"
#include "blas/vrx_l3.h"

namespace {
constexpr vrx_int leaf_max = 64;

// Substitution on a triangle of order at most leaf_max. The diagonal enters as its
// reciprocal, so a zero on it gives infinities rather than a trap.
template <typename T>
void solve_leaf(vrx_tri_codes c, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b, vrx_int ldb) {
  typedef vrx_traits<T> tr;
  const bool left = c.side != 1, lower = vrx_tri_lower(c), unit = c.diag == 0;
  const bool conj = tr::is_complex && c.trans == 2;
  const bool scaled = !tr::is_one(alpha);
  const vrx_int s = left ? m : n;
  T inv[leaf_max];
  for (vrx_int i = 0; i < s; ++i)
    inv[i] = unit ? tr::make(1, 0) : vrx_l2_divide(tr::make(1, 0), vrx_tri_conj_if(a[i + i * lda], conj));

  if (left) {
    // op(A) copied once: every column of B then walks unit-stride columns of it,
    // vrx_tri_columns columns of B at a time so that each entry of op(A) is loaded once.
    T op[leaf_max * leaf_max];
    vrx_tri_load_op(c, m, a, lda, op);
    for (vrx_int j0 = 0; j0 < n; j0 += vrx_tri_columns) {
      const vrx_int cols = n - j0 < vrx_tri_columns ? n - j0 : vrx_tri_columns;
      T* x[vrx_tri_columns];
      for (vrx_int q = 0; q < cols; ++q) {
        x[q] = b + (j0 + q) * ldb;
        if (scaled)
          for (vrx_int i = 0; i < m; ++i) x[q][i] = alpha * x[q][i];
      }
      for (vrx_int step = 0; step < m; ++step) {
        const vrx_int k = lower ? step : m - 1 - step;
        const vrx_int i_begin = lower ? k + 1 : 0, i_end = lower ? m : k;
        const T* col = op + k * m;
        if (cols == vrx_tri_columns) {
          T* __restrict x0 = x[0];
          T* __restrict x1 = x[1];
          T* __restrict x2 = x[2];
          T* __restrict x3 = x[3];
          const T y0 = unit ? x0[k] : x0[k] * inv[k], y1 = unit ? x1[k] : x1[k] * inv[k];
          const T y2 = unit ? x2[k] : x2[k] * inv[k], y3 = unit ? x3[k] : x3[k] * inv[k];
          x0[k] = y0;
          x1[k] = y1;
          x2[k] = y2;
          x3[k] = y3;
          for (vrx_int i = i_begin; i < i_end; ++i) {
            const T v = col[i];
            x0[i] -= y0 * v;
            x1[i] -= y1 * v;
            x2[i] -= y2 * v;
            x3[i] -= y3 * v;
          }
        } else {
          for (vrx_int q = 0; q < cols; ++q) {
            T* __restrict xq = x[q];
            const T y = unit ? xq[k] : xq[k] * inv[k];
            xq[k] = y;
            for (vrx_int i = i_begin; i < i_end; ++i) xq[i] -= y * col[i];
          }
        }
      }
    }
    return;
  }
  // X op(A) = alpha B: column j of X from the columns already solved.
  vrx_tri_right_walk(m, n, lower, lower, b, [&](T* base, vrx_int rows, vrx_int j, vrx_int l_begin, vrx_int l_end) {
    T* bj = base + j * ldb;
    if (scaled)
      for (vrx_int i = 0; i < rows; ++i) bj[i] = alpha * bj[i];
    vrx_tri_add_columns(rows, bj, base, ldb, l_begin, l_end,
                        [&](vrx_int l) { return -vrx_tri_op_at(a, lda, c.trans, conj, l, j); });
    if (!unit)
      for (vrx_int i = 0; i < rows; ++i) bj[i] = bj[i] * inv[j];
  });
}
}  // namespace

template <typename T>
void vrx_l3_trsm_unpacked(vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                          vrx_int ldb) {
  vrx_tri_unpacked<T>(VRX_TRI_SOLVE, solve_leaf<T>, leaf_max, codes, m, n, alpha, a, lda, b, ldb);
}

#define VRX_INSTANTIATE(T)                                                                                     \
  template void vrx_l3_trsm_unpacked<T>(vrx_tri_codes, vrx_int, vrx_int, T, const T*, vrx_int, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
