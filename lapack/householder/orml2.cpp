// Unblocked C := op(Q) C or C op(Q) for Q = H(k)^H ... H(1)^H as GELQ2 leaves it (rows of
// a holding conj(v)). With s the stored row, H(i) = conj(G(i)) for the reflector
// G(i) = I - conj(tau) s s^H, so op(Q) C = conj(op(G) conj(C)): C is conjugated once on
// each side of the loop and the stored rows are applied as they are, never written.
#include "blas/level2/level2_common.h"
#include "lapack/householder/householder_common.h"

namespace {
template <typename T>
void conjugate_matrix(vrx_int m, vrx_int n, T* c, vrx_int ldc) {
  if constexpr (vrx_is_complex<T>)
    for (vrx_int j = 0; j < n; ++j) vrx_hh_conjugate(m, c + j * ldc, 1);
}
}  // namespace

template <typename T>
void vrx_lapack_orml2(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work) {
  if (m <= 0 || n <= 0 || k <= 0) return;
  const bool left = vrx_l2_letter(side, "L"), plain = vrx_l2_letter(trans, "N");
  // Q C applies H(1)^H first, Q^H C H(k) first; from the right the other way round.
  // op(H(i)) = I - tau_i v v^H with tau_i = conj(tau) for Q, tau for Q^H; G takes conj(tau_i).
  conjugate_matrix(m, n, c, ldc);
  vrx_hh_apply_each(left, left == plain, !plain, m, n, k, a, lda, lda, tau, c, ldc, work);
  conjugate_matrix(m, n, c, ldc);
}

#define VRX_ORML2_INSTANCE(T)                                                                                     \
  template void vrx_lapack_orml2<T>(const char*, const char*, vrx_int, vrx_int, vrx_int, const T*, vrx_int,       \
                                    const T*, T*, vrx_int, T*);
VRX_ORML2_INSTANCE(float)
VRX_ORML2_INSTANCE(double)
VRX_ORML2_INSTANCE(vrx_complex_float)
VRX_ORML2_INSTANCE(vrx_complex_double)
#undef VRX_ORML2_INSTANCE
