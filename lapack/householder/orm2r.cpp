// Unblocked C := op(Q) C or C op(Q) for Q = H(1) ... H(k) as GEQR2 leaves it: one
// reflector at a time, in the order that op(Q) and the side call for, each touching
// only the rows (side L) or columns (side R) from its own index on. The reflectors are
// read where they are stored, their implied 1 never written.
#include "blas/level2/level2_common.h"
#include "lapack/householder/householder_common.h"

template <typename T>
void vrx_lapack_orm2r(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work) {
  if (m <= 0 || n <= 0 || k <= 0) return;
  const bool left = vrx_l2_letter(side, "L"), plain = vrx_l2_letter(trans, "N");
  // Q C applies H(k) first, Q^H C H(1)^H first; from the right the other way round.
  vrx_hh_apply_each(left, left != plain, !plain, m, n, k, a, lda, 1, tau, c, ldc, work);
}

#define VRX_ORM2R_INSTANCE(T)                                                                                     \
  template void vrx_lapack_orm2r<T>(const char*, const char*, vrx_int, vrx_int, vrx_int, const T*, vrx_int,       \
                                    const T*, T*, vrx_int, T*);
VRX_ORM2R_INSTANCE(float)
VRX_ORM2R_INSTANCE(double)
VRX_ORM2R_INSTANCE(vrx_complex_float)
VRX_ORM2R_INSTANCE(vrx_complex_double)
#undef VRX_ORM2R_INSTANCE
