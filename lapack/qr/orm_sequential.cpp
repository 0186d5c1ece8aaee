// The product with Q on the calling thread: blocks of at most 64 reflectors, each turned
// into a block reflector (its triangular factor in a local array) and applied to the rows
// (side L) or columns (side R) of C it touches. When the caller's work can't hold a block
// of the width asked for, the blocks narrow to what fits; below the smallest width the
// reflectors are applied one by one.
#include <algorithm>

#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_orthogonal.h"

namespace {
constexpr vrx_int widest_block = 64;
constexpr vrx_int factor_rows = widest_block + 1;
}  // namespace

template <typename T>
void vrx_lapack_orm_sequential(const vrx_orm_problem& p, const T* a, vrx_int lda, const T* tau, T* c, vrx_int ldc,
                               T* work, vrx_int lwork) {
  vrx_orthogonal_trace* trace = vrx_lapack_orthogonal_trace();
  const vrx_int m = p.m, n = p.n, k = p.k;
  if (m == 0 || n == 0 || k == 0) return;
  const vrx_int nq = p.left ? m : n, nw = std::max<vrx_int>(1, p.left ? n : m);
  const char* side = p.left ? "Left" : "Right";
  const char trans[2] = {p.plain ? 'N' : vrx_traits<T>::adjoint, '\0'};

  vrx_int nb = std::min(widest_block, vrx_lapack_orm_key<T>(1, p));
  vrx_int nbmin = 2;
  if (nb > 1 && nb < k && lwork < nw * nb) {
    nb = lwork / nw;
    nbmin = std::max<vrx_int>(2, vrx_lapack_orm_key<T>(2, p));
  }
  if (nb < nbmin || nb >= k) {
    trace->path = VRX_ORTHOGONAL_PATH_UNBLOCKED;
    if (p.rowwise) vrx_lapack_orml2(side, trans, m, n, k, a, lda, tau, c, ldc, work);
    else vrx_lapack_orm2r(side, trans, m, n, k, a, lda, tau, c, ldc, work);
    return;
  }
  trace->path = VRX_ORTHOGONAL_PATH_BLOCKED;
  trace->nb = nb;

  T factor[factor_rows * widest_block];
  const char* storev = p.rowwise ? "Rowwise" : "Columnwise";
  const char block_op[2] = {vrx_orm_block_op<T>(p), '\0'};
  const bool forward = vrx_orm_forward(p);
  const vrx_int blocks = (k + nb - 1) / nb;
  for (vrx_int step = 0; step < blocks; ++step) {
    const vrx_int i = (forward ? step : blocks - 1 - step) * nb, ib = std::min(nb, k - i);
    const T* v = a + i + i * lda;
    vrx_lapack_larft("Forward", storev, nq - i, ib, v, lda, tau + i, factor, factor_rows);
    // H(i) .. H(i+ib-1) touch rows (side L) or columns (side R) i to nq of C.
    if (p.left)
      vrx_lapack_larfb(side, block_op, "Forward", storev, m - i, n, ib, v, lda, factor, factor_rows, c + i, ldc,
                       work, nw);
    else
      vrx_lapack_larfb(side, block_op, "Forward", storev, m, n - i, ib, v, lda, factor, factor_rows, c + i * ldc,
                       ldc, work, nw);
  }
}

#define VRX_ORM_SEQUENTIAL_INSTANCE(T)                                                                     \
  template void vrx_lapack_orm_sequential<T>(const vrx_orm_problem&, const T*, vrx_int, const T*, T*, vrx_int, \
                                             T*, vrx_int);
VRX_ORM_SEQUENTIAL_INSTANCE(float)
VRX_ORM_SEQUENTIAL_INSTANCE(double)
VRX_ORM_SEQUENTIAL_INSTANCE(vrx_complex_float)
VRX_ORM_SEQUENTIAL_INSTANCE(vrx_complex_double)
