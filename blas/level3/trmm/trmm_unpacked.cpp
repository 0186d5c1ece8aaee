// The allocation-free triangular product: diagonal blocks of at most 64 by unit-stride
// loops over columns of B (side L) or rows of B (side R), the coupling blocks by the
// in-place SSE2 product. One thread, no packing, no allocation; it is also what a
// thread runs when scratch memory is short.
#include "blas/level3/trsm/vrx_tri_split.h"
#include "blas/vrx_l3.h"

namespace {
constexpr vrx_int leaf_max = 64;

// B := alpha op(A) B (or alpha B op(A)) on a triangle of order at most leaf_max, each
// entry of B overwritten only once nothing else needs its old value.
template <typename T>
void product_leaf(vrx_tri_codes c, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b, vrx_int ldb) {
  typedef vrx_traits<T> tr;
  const bool left = c.side != 1, lower = vrx_tri_lower(c), unit = c.diag == 0;
  const bool conj = tr::is_complex && c.trans == 2;
  if (left) {
    // op(A) copied once; column k of it adds alpha B(k, j) op(A)(:, k) into the rows
    // whose old values are no longer needed, then B(k, j) takes its diagonal term.
    // vrx_tri_columns columns of B at a time so that each entry of op(A) is loaded once.
    T op[leaf_max * leaf_max];
    vrx_tri_load_op(c, m, a, lda, op);
    for (vrx_int j0 = 0; j0 < n; j0 += vrx_tri_columns) {
      const vrx_int cols = n - j0 < vrx_tri_columns ? n - j0 : vrx_tri_columns;
      T* x[vrx_tri_columns];
      for (vrx_int q = 0; q < cols; ++q) x[q] = b + (j0 + q) * ldb;
      for (vrx_int step = 0; step < m; ++step) {
        const vrx_int k = lower ? m - 1 - step : step;
        const vrx_int i_begin = lower ? k + 1 : 0, i_end = lower ? m : k;
        const T* col = op + k * m;
        const T d = col[k];
        if (cols == vrx_tri_columns) {
          T* __restrict x0 = x[0];
          T* __restrict x1 = x[1];
          T* __restrict x2 = x[2];
          T* __restrict x3 = x[3];
          const T y0 = alpha * x0[k], y1 = alpha * x1[k], y2 = alpha * x2[k], y3 = alpha * x3[k];
          for (vrx_int i = i_begin; i < i_end; ++i) {
            const T v = col[i];
            x0[i] += y0 * v;
            x1[i] += y1 * v;
            x2[i] += y2 * v;
            x3[i] += y3 * v;
          }
          x0[k] = unit ? y0 : y0 * d;
          x1[k] = unit ? y1 : y1 * d;
          x2[k] = unit ? y2 : y2 * d;
          x3[k] = unit ? y3 : y3 * d;
        } else {
          for (vrx_int q = 0; q < cols; ++q) {
            T* __restrict xq = x[q];
            const T y = alpha * xq[k];
            for (vrx_int i = i_begin; i < i_end; ++i) xq[i] += y * col[i];
            xq[k] = unit ? y : y * d;
          }
        }
      }
    }
    return;
  }
  // B op(A): column j takes the columns l on op(A)'s side of the diagonal, which are
  // overwritten later (upper: from the right; lower: from the left).
  vrx_tri_right_walk(m, n, lower, !lower, b, [&](T* base, vrx_int rows, vrx_int j, vrx_int l_begin, vrx_int l_end) {
    T* bj = base + j * ldb;
    const T d = unit ? alpha : alpha * vrx_tri_op_at(a, lda, c.trans, conj, j, j);
    for (vrx_int i = 0; i < rows; ++i) bj[i] = d * bj[i];
    vrx_tri_add_columns(rows, bj, base, ldb, l_begin, l_end,
                        [&](vrx_int l) { return alpha * vrx_tri_op_at(a, lda, c.trans, conj, l, j); });
  });
}
}  // namespace

template <typename T>
void vrx_l3_trmm_unpacked(vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                          vrx_int ldb) {
  vrx_tri_unpacked<T>(VRX_TRI_PRODUCT, product_leaf<T>, leaf_max, codes, m, n, alpha, a, lda, b, ldb);
}

#define VRX_INSTANTIATE(T)                                                                                     \
  template void vrx_l3_trmm_unpacked<T>(vrx_tri_codes, vrx_int, vrx_int, T, const T*, vrx_int, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
