// The QR panel with its block reflector factor in one: GEQR2 followed by LARFT
// ("Forward", "Columnwise"), but built over blocks of at most 256 columns, each block
// applied to the rest of the panel as a block reflector and its factor joined to the
// one on its left by T12 = -T11 (V1^H V2) T22. Narrow blocks run on several threads
// when the panel is tall enough and work holds their partial products.
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_geqrf.h"
#include "lapack/vrx_lapack_blas.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int widest_leaf = 256;

template <typename T>
void leaf(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* t, vrx_int ldt, T* work, vrx_int lwork) {
  const int threads = vrx_serv_get_max_threads();
  if (threads >= 2 && n < m && static_cast<vrx_int>(threads - 1) * n <= lwork) {
    const int team = vrx_lapack_laqrf_leaf_threads(m, n, threads, vrx_serv_get_dynamic());
    if (team >= 2) {
      vrx_lapack_laqrf_leaf_team(m, n, a, lda, tau, t, ldt, work, team);
      return;
    }
  }
  T column_work[widest_leaf];
  vrx_lapack_geqr2(m, n, a, lda, tau, column_work);
  vrx_lapack_larft("Forward", "Columnwise", m, n, a, lda, tau, t, ldt);
}

// T12 = -T11 (V1^H V2) T22 for the block of width jb at (j, j) of the panel, into
// t(0:j, j:j + jb).
template <typename T>
void join_factors(vrx_int m, vrx_int j, vrx_int jb, const T* a, vrx_int lda, T* t, vrx_int ldt, bool sequential) {
  typedef vrx_lapack_blas<T> blas;
  const vrx_gemm_fn<T> gemm = sequential ? blas::gemm_sequential : blas::gemm;
  const vrx_trsm_fn<T> trmm = sequential ? blas::trmm_sequential : blas::trmm;
  const T one = vrx_hh_one<T>(), minus_one = vrx_hh_minus_one<T>();
  T* t12 = t + j * ldt;
  // The rows of V1 beside the block's top, adjoint: V1 is stored below its diagonal there.
  for (vrx_int c = 0; c < jb; ++c)
    for (vrx_int r = 0; r < j; ++r) t12[c * ldt + r] = vrx_traits<T>::conj(a[r * lda + j + c]);
  trmm("Right", "Lower", "No transpose", "Unit", &j, &jb, &one, a + j * lda + j, &lda, t12, &ldt);
  const vrx_int below = m - j - jb;
  if (below > 0)
    gemm("Conjugate transpose", "No transpose", &j, &jb, &below, &one, a + j + jb, &lda, a + j * lda + j + jb, &lda,
         &one, t12, &ldt);
  trmm("Left", "Upper", "No transpose", "Non-unit", &j, &jb, &minus_one, t, &ldt, t12, &ldt);
  trmm("Right", "Upper", "No transpose", "Non-unit", &j, &jb, &one, t + j * ldt + j, &ldt, t12, &ldt);
}
// A panel wider than tall has m reflectors: the first m columns are factored as a
// panel, and the reflectors are applied one by one to each column beyond (this only
// happens for a last panel, so the level-2 cost does not matter).
template <typename T>
void wide(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* t, vrx_int ldt, T* work, vrx_int lwork) {
  vrx_lapack_laqrf(m, m, a, lda, tau, t, ldt, work, lwork);
  for (vrx_int i = 0; i < m; ++i) {
    T* diagonal = a + i * lda + i;
    const T beta = *diagonal;
    *diagonal = vrx_hh_one<T>();
    T scratch;
    for (vrx_int c = m; c < n; ++c)
      vrx_lapack_larf("Left", m - i, 1, diagonal, 1, vrx_traits<T>::conj(tau[i]), a + c * lda + i, lda, &scratch);
    *diagonal = beta;
  }
}
}  // namespace

template <typename T>
void vrx_lapack_laqrf(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* t, vrx_int ldt, T* work, vrx_int lwork) {
  if (m <= 0 || n <= 0) return;
  vrx_int b = vrx_lapack_ilaenv<T>(1, "LAQRF", " ", m, n, -1, -1);
  if (b > widest_leaf) b = widest_leaf;
  if (b < 1) b = 1;
  if (m < n) {
    wide(m, n, a, lda, tau, t, ldt, work, lwork);
    return;
  }
  if (n <= b) {
    leaf(m, n, a, lda, tau, t, ldt, work, lwork);
    return;
  }
  const bool sequential = vrx_serv_in_parallel() != 0;
  for (vrx_int j = 0; j < n; j += b) {
    const vrx_int jb = n - j < b ? n - j : b;
    T* block = a + j * lda + j;
    vrx_lapack_laqrf(m - j, jb, block, lda, tau + j, t + j * ldt + j, ldt, work, lwork);
    const vrx_int rest = n - j - jb;
    if (rest > 0) {
      // The columns of t right of this block are not filled yet: they hold the update's
      // rest by jb work array (jb <= ldt).
      vrx_lapack_larfb("Left", "Conjugate transpose", "Forward", "Columnwise", m - j, rest, jb, block, lda,
                       t + j * ldt + j, ldt, block + jb * lda, lda, t + (j + jb) * ldt, rest, sequential);
    }
    if (j > 0) {
      join_factors(m, j, jb, a, lda, t, ldt, sequential);
      ++vrx_lapack_geqrf_trace()->recursive_blocks;
    }
  }
}

#define VRX_LAQRF_INSTANCE(T) \
  template void vrx_lapack_laqrf<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, T*, vrx_int);
VRX_LAQRF_INSTANCE(float)
VRX_LAQRF_INSTANCE(double)
VRX_LAQRF_INSTANCE(vrx_complex_float)
VRX_LAQRF_INSTANCE(vrx_complex_double)
#undef VRX_LAQRF_INSTANCE
