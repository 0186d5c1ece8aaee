// The portable GETF2 block kernel, every CPU type's fallback and the complex types'
// kernel: the published column-by-column algorithm on a block of columns (pivot the
// first largest |re| + |im|, interchange, scale, rank-one update).
#include "blas/vrx_level12.h"
#include "lapack/lu/vrx_getf2_kernels.h"
#include "lapack/lu/vrx_pivot_scale.h"

// Columns [j, j + jb) on rows j to m - 1, one column at a time with the level-1 kernels
// of this CPU type.
template <typename T>
vrx_int vrx_lapack_getf2_block_portable(vrx_int m, T* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,
                                        vrx_int info) {
  typedef vrx_traits<T> tr;
  const vrx_level1_kernels<T>* l1 = vrx_blas_level1<T>();
  for (vrx_int k = j; k < j + jb; ++k) {
    T* column = a + k * lda;
    const vrx_int p = k + l1->iamax(m - k, column + k);
    ipiv[k] = p + 1;
    const vrx_int below = m - k - 1;
    if (!tr::is_zero(column[p])) {
      if (p != k)
        for (vrx_int c = j; c < j + jb; ++c) {
          T* x = a + c * lda;
          const T t = x[k];
          x[k] = x[p];
          x[p] = t;
        }
      vrx_lapack_scale_by_pivot(below, column[k], column + k + 1);
    } else if (info == 0) {
      info = k + 1;
    }
    if (below > 0)
      for (vrx_int c = k + 1; c < j + jb; ++c) {
        T* x = a + c * lda;
        if (!tr::is_zero(x[k])) l1->axpy(below, -x[k], column + k + 1, x + k + 1);
      }
  }
  return info;
}

#define VRX_GETF2_BLOCK_INSTANCE(T) \
  template vrx_int vrx_lapack_getf2_block_portable<T>(vrx_int, T*, vrx_int, vrx_int*, vrx_int, vrx_int, vrx_int);
VRX_GETF2_BLOCK_INSTANCE(float)
VRX_GETF2_BLOCK_INSTANCE(double)
VRX_GETF2_BLOCK_INSTANCE(vrx_complex_float)
VRX_GETF2_BLOCK_INSTANCE(vrx_complex_double)
#undef VRX_GETF2_BLOCK_INSTANCE
