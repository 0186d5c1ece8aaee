// The blocked sequential QR: panels by LAQRF with their factor T written straight into
// work, each applied to the trailing columns as a block reflector; the block size,
// crossover and smallest block are asked again for what remains after every panel, and
// the width is cut to what lwork holds. The last columns go to GEQR2, or to the tall
// variant when the matrix is taller than wide and enough rows remain.
#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_geqrf.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int tall_rows = 64;

vrx_int larger(vrx_int a, vrx_int b) { return a > b ? a : b; }
}  // namespace

template <typename T>
bool vrx_lapack_geqrf_progress(int thread, vrx_int step) {
  const int columns = static_cast<int>(step);
  const vrx_routine_name_buffer stage = vrx_routine_name<T>("GEQRF");
  return vrx_serv_progress(&thread, &columns, stage.text, 6) != 0;
}

template <typename T>
int vrx_lapack_geqrf_blocked(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, int thread,
                             vrx_int offset) {
  const vrx_int k = m < n ? m : n;
  if (k <= 0) return 0;
  const bool sequential = vrx_serv_in_parallel() != 0;
  vrx_int i = 0;
  for (;;) {
    const vrx_int rows = m - i, cols = n - i, left = k - i;
    vrx_int nb = vrx_lapack_ilaenv<T>(1, "GEQRF", " ", rows, cols, -1, -1);
    const vrx_int nx = larger(0, vrx_lapack_ilaenv<T>(3, "GEQRF", " ", rows, cols, -1, -1));
    const vrx_int nbmin = larger(2, vrx_lapack_ilaenv<T>(2, "GEQRF", " ", rows, cols, -1, -1));
    // T (nb by nb) and the update's work (cols - nb by nb) share work.
    const vrx_int cap = lwork / cols;
    if (nb > cap) nb = cap;
    if (nb < nbmin || nb >= left || nx >= left) break;
    T* block = a + i * lda + i;
    T* factor = work;
    T* rest = work + nb * nb;
    vrx_lapack_laqrf(rows, nb, block, lda, tau + i, factor, nb, rest, lwork - nb * nb);
    vrx_lapack_larfb("Left", "Conjugate transpose", "Forward", "Columnwise", rows, cols - nb, nb, block, lda, factor,
                     nb, block + nb * lda, lda, rest, cols - nb, sequential);
    i += nb;
    if (vrx_lapack_geqrf_progress<T>(thread, offset + i)) return 1;
  }
  const vrx_int rows = m - i, cols = n - i;
  T* block = a + i * lda + i;
  if (m > n && cols < lwork && rows >= tall_rows)
    vrx_lapack_geqr2_tall(rows, cols, block, lda, tau + i, work, lwork);
  else
    vrx_lapack_geqr2(rows, cols, block, lda, tau + i, work);
  return 0;
}

template <typename T>
void vrx_lapack_geqrf_seq(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info) {
  *info = 0;
  const vrx_int k = m < n ? m : n;
  const vrx_int nb = vrx_lapack_ilaenv<T>(1, "GEQRF", " ", m, n, -1, -1);
  const vrx_int optimal = k == 0 ? 1 : larger(1, n * larger(1, nb));
  if (lwork == -1 || k == 0) {
    work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(optimal), 0);
    return;
  }
  if (vrx_lapack_geqrf_blocked(m, n, a, lda, tau, work, lwork, 0, 0)) *info = -1002;
  work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(optimal), 0);
}

#define VRX_GEQRF_SEQ_INSTANCES(T)                                                                                \
  template bool vrx_lapack_geqrf_progress<T>(int, vrx_int);                                                       \
  template int vrx_lapack_geqrf_blocked<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, int, vrx_int);          \
  template void vrx_lapack_geqrf_seq<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, vrx_int*);
VRX_GEQRF_SEQ_INSTANCES(float)
VRX_GEQRF_SEQ_INSTANCES(double)
VRX_GEQRF_SEQ_INSTANCES(vrx_complex_float)
VRX_GEQRF_SEQ_INSTANCES(vrx_complex_double)
#undef VRX_GEQRF_SEQ_INSTANCES
