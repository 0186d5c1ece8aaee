// GELQF: A = L Q by blocks of rows. Each block of nb rows is factored unblocked, its
// reflectors are gathered into a block reflector stored by rows, and that is applied from
// the right to the rows below. Rows past the crossover, and matrices too small for a
// block, are factored unblocked. Blocks narrow to the caller's work.
#include <algorithm>

#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_qr.h"
#include "lapack/solve/vrx_solve.h"

template <typename T>
void vrx_lapack_gelqf(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info) {
  *info = 0;
  const bool query = lwork == -1;
  int position = 0;
  if (m < 0) position = 1;
  else if (n < 0) position = 2;
  else if (lda < std::max<vrx_int>(1, m)) position = 4;
  else if (lwork < std::max<vrx_int>(1, m) && !query) position = 7;
  if (vrx_lapack_reject<T>("GELQF", position, info)) return;

  vrx_int nb = vrx_lapack_ilaenv<T>(1, "GELQF", " ", m, n, -1, -1);
  if (query) {
    work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(std::max<vrx_int>(1, m) * nb), 0);
    return;
  }
  const vrx_int k = std::min(m, n);
  if (k == 0) {
    work[0] = vrx_traits<T>::make(1, 0);
    return;
  }
  // The factor of a block sits in the first nb rows of an m by nb work array, the block
  // reflector's own scratch in the rows below.
  const vrx_int ldwork = m;
  vrx_int nbmin = 2, nx = 0, iws = m;
  if (nb > 1 && nb < k) {
    nx = std::max<vrx_int>(0, vrx_lapack_ilaenv<T>(3, "GELQF", " ", m, n, -1, -1));
    if (nx < k) {
      iws = ldwork * nb;
      if (lwork < iws) {
        nb = lwork / ldwork;
        nbmin = std::max<vrx_int>(2, vrx_lapack_ilaenv<T>(2, "GELQF", " ", m, n, -1, -1));
      }
    }
  }
  vrx_int i = 0;
  if (nb >= nbmin && nb < k && nx < k) {
    for (; i < k - nx; i += nb) {
      const vrx_int ib = std::min(k - i, nb);
      T* block = a + i + i * lda;
      vrx_lapack_gelq2(ib, n - i, block, lda, tau + i, work);
      if (i + ib < m) {
        vrx_lapack_larft("Forward", "Rowwise", n - i, ib, block, lda, tau + i, work, ldwork);
        vrx_lapack_larfb("Right", "No transpose", "Forward", "Rowwise", m - i - ib, n - i, ib, block, lda, work,
                         ldwork, block + ib, lda, work + ib, ldwork);
      }
    }
  }
  if (i < k) vrx_lapack_gelq2(m - i, n - i, a + i + i * lda, lda, tau + i, work);
  work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(iws), 0);
}

#define VRX_GELQF_INSTANCE(T) \
  template void vrx_lapack_gelqf<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, vrx_int*);
VRX_GELQF_INSTANCE(float)
VRX_GELQF_INSTANCE(double)
VRX_GELQF_INSTANCE(vrx_complex_float)
VRX_GELQF_INSTANCE(vrx_complex_double)
