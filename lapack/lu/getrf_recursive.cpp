// The sequential recursion of the LU factorisation: blocks of the width that the tuning
// query gives for "S" (about half the columns for double, so that it halves), each
// factored by the recursion itself, the unblocked kernel at the leaves. Interchanges
// left of a block are deferred to one pass after the last block.
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"

template <typename T>
int vrx_lapack_getrf_recursive(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread,
                               vrx_int offset) {
  *info = 0;
  if (m == 0 || n == 0) return 0;
  const vrx_int mn = m < n ? m : n;
  const vrx_int nb = vrx_lapack_ilaenv<T>(1, "GETRF", "S", m, n, -1, -1);
  if (nb <= 1 || nb >= mn) return vrx_lapack_getf2_leaf(m, n, a, lda, ipiv, info, thread, offset);

  // Inside a parallel region (a worker's panel) the BLAS calls must not fork again.
  const bool sequential = vrx_serv_in_parallel() != 0;
  for (vrx_int j = 0; j < mn; j += nb) {
    const vrx_int jb = mn - j < nb ? mn - j : nb;
    vrx_int block_info = 0;
    if (vrx_lapack_getrf_recursive(m - j, jb, a + j + j * lda, lda, ipiv + j, &block_info, thread, offset + j))
      return 1;
    vrx_lapack_getrf_merge(info, block_info, j, ipiv + j, jb);
    vrx_lapack_getrf_apply_panel(m, a, lda, ipiv, j, jb, j + jb, n - j - jb, sequential);
  }
  for (vrx_int j = nb; j < mn; j += nb) {
    const vrx_int last = j + nb < mn ? j + nb : mn;
    if (sequential)
      vrx_lapack_laswp_sequential(j, a, lda, j + 1, last, ipiv, 1);
    else
      vrx_lapack_laswp(j, a, lda, j + 1, last, ipiv, 1);
  }
  return 0;
}

template <typename T>
void vrx_lapack_getrf_seq(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info) {
  vrx_lapack_getrf_trace()->path = VRX_GETRF_PATH_SEQ;
  if (vrx_lapack_getrf_recursive(m, n, a, lda, ipiv, info, 0, 0)) *info = -1002;
}

#define VRX_GETRF_RECURSIVE_INSTANCES(T)                                                                       \
  template int vrx_lapack_getrf_recursive<T>(vrx_int, vrx_int, T*, vrx_int, vrx_int*, vrx_int*, int, vrx_int); \
  template void vrx_lapack_getrf_seq<T>(vrx_int, vrx_int, T*, vrx_int, vrx_int*, vrx_int*);
VRX_GETRF_RECURSIVE_INSTANCES(float)
VRX_GETRF_RECURSIVE_INSTANCES(double)
VRX_GETRF_RECURSIVE_INSTANCES(vrx_complex_float)
VRX_GETRF_RECURSIVE_INSTANCES(vrx_complex_double)
#undef VRX_GETRF_RECURSIVE_INSTANCES
