// The corner past the last panel and the interchanges left of each panel.
#include "lapack/lu/vrx_getrf.h"
#include "lapack/lu/vrx_getrf_corner.h"

template <typename T>
int vrx_lapack_getrf_corner(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int t, vrx_int nb,
                            vrx_int npan) {
  const vrx_int j0 = npan * nb, mn = m < n ? m : n;
  vrx_int corner_info = 0;
  if (vrx_lapack_getrf_recursive(m - j0, n - j0, a + j0 + j0 * lda, lda, ipiv + j0, &corner_info, 0, j0)) return 1;
  vrx_lapack_getrf_merge(info, corner_info, j0, ipiv + j0, mn - j0);
#pragma omp parallel for schedule(dynamic, 1) num_threads(t)
  for (vrx_int i = 1; i <= npan; ++i)
    vrx_lapack_laswp_sequential(nb, a + (i - 1) * nb * lda, lda, i * nb + 1, mn, ipiv, 1);
  return 0;
}

#define VRX_INSTANTIATE(T)                                                                                       \
  template int vrx_lapack_getrf_corner<T>(vrx_int, vrx_int, T*, vrx_int, vrx_int*, vrx_int*, int, vrx_int, vrx_int);
VRX_INSTANTIATE(float)
VRX_INSTANTIATE(double)
VRX_INSTANTIATE(vrx_complex_float)
VRX_INSTANTIATE(vrx_complex_double)
#undef VRX_INSTANTIATE
