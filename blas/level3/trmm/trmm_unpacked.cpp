// The allocation-free triangular product: diagonal blocks of at most 64 by unit-stride
// loops over columns of B (side L) or rows of B (side R), the coupling blocks by the
// in-place SSE2 product. One thread, no packing, no allocation; it is also what a
// thread runs when scratch memory is short.
#include "blas/level3/packed/vrx_gemm_packed.h"
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
    for (vrx_int j = 0; j < n; ++j) {
      T* x = b + j * ldb;
      if (c.trans == 0 && !lower) {
        for (vrx_int k = 0; k < m; ++k) {
          const T* col = a + k * lda;
          const T t = alpha * x[k];
          for (vrx_int i = 0; i < k; ++i) x[i] += t * col[i];
          x[k] = unit ? t : t * col[k];
        }
      } else if (c.trans == 0) {
        for (vrx_int k = m - 1; k >= 0; --k) {
          const T* col = a + k * lda;
          const T t = alpha * x[k];
          for (vrx_int i = k + 1; i < m; ++i) x[i] += t * col[i];
          x[k] = unit ? t : t * col[k];
        }
      } else if (lower) {  // op(A) = A^T or A^H with A upper: dot products down the columns of A
        for (vrx_int i = m - 1; i >= 0; --i) {
          const T* col = a + i * lda;
          T t = unit ? x[i] : vrx_tri_conj_if(col[i], conj) * x[i];
          for (vrx_int l = 0; l < i; ++l) t += vrx_tri_conj_if(col[l], conj) * x[l];
          x[i] = alpha * t;
        }
      } else {
        for (vrx_int i = 0; i < m; ++i) {
          const T* col = a + i * lda;
          T t = unit ? x[i] : vrx_tri_conj_if(col[i], conj) * x[i];
          for (vrx_int l = i + 1; l < m; ++l) t += vrx_tri_conj_if(col[l], conj) * x[l];
          x[i] = alpha * t;
        }
      }
    }
    return;
  }
  // B op(A): column j takes the columns l on op(A)'s side of the diagonal, which are
  // overwritten later (upper: from the right; lower: from the left). Rows in chunks.
  for (vrx_int r0 = 0; r0 < m; r0 += vrx_tri_row_chunk) {
    const vrx_int rows = m - r0 < vrx_tri_row_chunk ? m - r0 : vrx_tri_row_chunk;
    T* base = b + r0;
    for (vrx_int step = 0; step < n; ++step) {
      const vrx_int j = lower ? step : n - 1 - step;
      T* bj = base + j * ldb;
      const T d = unit ? alpha : alpha * vrx_tri_op_at(a, lda, c.trans, conj, j, j);
      for (vrx_int i = 0; i < rows; ++i) bj[i] = d * bj[i];
      const vrx_int l_begin = lower ? j + 1 : 0, l_end = lower ? n : j;
      for (vrx_int l = l_begin; l < l_end; ++l) {
        const T coef = alpha * vrx_tri_op_at(a, lda, c.trans, conj, l, j);
        const T* bl = base + l * ldb;
        for (vrx_int i = 0; i < rows; ++i) bj[i] += coef * bl[i];
      }
    }
  }
}
}  // namespace

template <typename T>
void vrx_l3_trmm_unpacked(vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                          vrx_int ldb) {
  if (m < 1 || n < 1) return;
  if (vrx_traits<T>::is_zero(alpha)) {
    vrx_tri_zero(m, n, b, ldb);
    return;
  }
  vrx_tri_split<T>(VRX_TRI_PRODUCT, codes, m, n, alpha, a, lda, b, ldb, {leaf_max, 0}, product_leaf<T>,
                   vrx_gemm_class_of<T>(vrx_gemm_kernels_sse2)->unpacked);
}

#define VRX_INSTANTIATE(T)                                                                                     \
  template void vrx_l3_trmm_unpacked<T>(vrx_tri_codes, vrx_int, vrx_int, T, const T*, vrx_int, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
