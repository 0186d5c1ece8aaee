// The sequential Cholesky factorisation: left-looking over blocks of the width that the
// tuning query gives for this order on one thread; each diagonal block is first brought
// up to date with the columns on its left and then factored by the routine itself, so
// that the block sizes shrink down the ladder until the unblocked kernel takes over.
#include "lapack/cholesky/vrx_potrf.h"
#include "service/vrx_serv.h"

namespace {
// The unblocked kernel on a leaf, then the progress hook; returns the hook's stop.
template <typename T>
int leaf(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info, int thread, vrx_int offset) {
  *info = vrx_lapack_potf2(upper, n, a, lda);
  const int step = static_cast<int>(n + offset);
  const vrx_routine_name_buffer stage = vrx_routine_name<T>("POTRF");
  return vrx_serv_progress(&thread, &step, stage.text, 6) != 0;
}
}  // namespace

template <typename T>
int vrx_lapack_potrf_recursive(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info, int thread,
                               vrx_int offset) {
  *info = 0;
  if (n == 0) return 0;
  const vrx_int b = vrx_lapack_ilaenv<T>(1, "POTRF", upper ? "U" : "L", n, -1, -1, -1);
  if (b < 2 || b >= n) return leaf(upper, n, a, lda, info, thread, offset);

  // Inside a parallel region (a worker's diagonal block) the BLAS calls must not fork.
  const vrx_potrf_blocks<T> blocks = {upper, a, lda, vrx_serv_in_parallel() != 0};
  for (vrx_int j = 0; j < n; j += b) {
    const vrx_int jb = n - j < b ? n - j : b, rest = n - j - jb;
    vrx_lapack_potrf_diag_update(blocks, j, jb, 0, j);
    vrx_int block_info = 0;
    if (vrx_lapack_potrf_recursive(upper, jb, a + j + j * lda, lda, &block_info, thread, offset + j)) return 1;
    if (block_info) {
      *info = block_info + j;
      return 0;
    }
    vrx_lapack_potrf_off_update(blocks, j, jb, j + jb, rest, 0, j);
    vrx_lapack_potrf_off_solve(blocks, j, jb, j + jb, rest);
  }
  return 0;
}

template <typename T>
void vrx_lapack_potrf_seq(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info) {
  if (vrx_lapack_potrf_recursive(upper, n, a, lda, info, 0, 0)) *info = -1002;
}

#define VRX_POTRF_RECURSIVE_INSTANCES(T)                                                          \
  template int vrx_lapack_potrf_recursive<T>(bool, vrx_int, T*, vrx_int, vrx_int*, int, vrx_int); \
  template void vrx_lapack_potrf_seq<T>(bool, vrx_int, T*, vrx_int, vrx_int*);
VRX_POTRF_RECURSIVE_INSTANCES(float)
VRX_POTRF_RECURSIVE_INSTANCES(double)
VRX_POTRF_RECURSIVE_INSTANCES(vrx_complex_float)
VRX_POTRF_RECURSIVE_INSTANCES(vrx_complex_double)
#undef VRX_POTRF_RECURSIVE_INSTANCES
