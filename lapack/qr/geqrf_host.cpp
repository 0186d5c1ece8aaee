// The host routine of the QR factorisation: the path choice from the tuning answers, the
// thread count of the LAPACK domain and the CPU type, and the workspace it asks for.
#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_geqrf.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int unblocked_columns = 32;  // k up to this: one unblocked pass
constexpr int leaf_scratch_threads = 16;   // most threads the scratch below the crossover serves
constexpr int team_cpu_type = 5;
constexpr vrx_int team_columns = 2000;
constexpr int team_threads = 16;

template <typename T>
void set_size(T* work, vrx_int size) {
  work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(size), 0);
}

// Below the threaded crossover: the sequential routine on the whole matrix, with scratch
// for the threaded leaf of its panels when the matrix is taller than wide.
template <typename T>
void below_crossover(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info, int t) {
  const int share = t < leaf_scratch_threads ? t : leaf_scratch_threads;
  const vrx_int size = static_cast<vrx_int>(share) * n;
  if (lwork == -1) {
    set_size(work, size);
    return;
  }
  vrx_geqrf_trace* trace = vrx_lapack_geqrf_trace();
  trace->path = VRX_GEQRF_PATH_SMALL;
  T* scratch = nullptr;
  if (t >= 2 && n < m)
    scratch = static_cast<T*>(vrx_serv_malloc(static_cast<std::size_t>(size) * sizeof(T), 128));
  trace->scratch = scratch != nullptr;
  if (scratch) {
    vrx_lapack_geqrf_seq(m, n, a, lda, tau, scratch, size, info);
    vrx_serv_free(scratch);
  } else {
    vrx_lapack_geqrf_seq(m, n, a, lda, tau, work, lwork, info);
  }
  set_size(work, size);
}
}  // namespace

template <typename T>
void vrx_lapack_geqrf_host(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info) {
  vrx_geqrf_trace* trace = vrx_lapack_geqrf_trace();
  *trace = vrx_geqrf_trace{};
  *info = 0;
  const bool query = lwork == -1;
  const vrx_int k = m < n ? m : n;
  if (k <= 0) {
    set_size(work, 1);
    return;
  }
  int t = vrx_serv_get_max_threads();
  if (t < 1) t = 1;
  trace->threads = t;
  if (t < 2) {
    if (!query) trace->path = VRX_GEQRF_PATH_SEQ;
    vrx_lapack_geqrf_seq(m, n, a, lda, tau, work, lwork, info);
    return;
  }
  vrx_int nb = vrx_lapack_ilaenv<T>(1, "GEQRF", " ", m, n, t, -1);
  if (nb < 1) nb = 1;
  trace->nb = nb;
  if (nb == 1 || k <= unblocked_columns) {
    if (!query) {
      if (m <= n) {
        trace->path = VRX_GEQRF_PATH_GEQR2;
        vrx_lapack_geqr2(m, n, a, lda, tau, work);
      } else {
        trace->path = VRX_GEQRF_PATH_TALL;
        vrx_lapack_geqr2_tall(m, n, a, lda, tau, work, lwork);
      }
    }
    set_size(work, nb > 1 ? static_cast<vrx_int>(t) * n : n);
    return;
  }
  vrx_int chunk = vrx_lapack_ilaenv<T>(1, "GEQRF", "B", m, n, t, -1);
  if (chunk < 1) chunk = 1;
  const vrx_int nbmin = vrx_lapack_ilaenv<T>(2, "GEQRF", " ", m, n, t, -1);
  const vrx_int nx = vrx_lapack_ilaenv<T>(3, "GEQRF", " ", m, n, t, -1);
  trace->chunk = chunk;
  trace->nx = nx;
  if (nx > k) {
    below_crossover(m, n, a, lda, tau, work, lwork, info, t);
    return;
  }
  vrx_int size = k * nb + static_cast<vrx_int>(t) * chunk * nb * nb;
  if (size < n) size = n;
  if (query) {
    set_size(work, size);
    return;
  }
  if (vrx_serv_cpu_detect() >= team_cpu_type && k >= team_columns && m >= n && t >= team_threads) {
    trace->path = VRX_GEQRF_PATH_TEAM;
    vrx_lapack_geqrf_team(m, n, a, lda, tau, work, lwork, info, t);
    set_size(work, size);
    return;
  }
  const vrx_int smallest = nbmin > 2 ? nbmin : 2;
  if (nb >= smallest && nb <= k && nx < k) {
    if (vrx_lapack_geqrf_queue(m, n, a, lda, tau, work, lwork, info, t, nb, chunk) == -1) {
      trace->fallback = 1;
      trace->path = VRX_GEQRF_PATH_SEQ;
      vrx_lapack_geqrf_seq(m, n, a, lda, tau, work, lwork, info);
    }
  } else {
    trace->path = VRX_GEQRF_PATH_SEQ;
    vrx_lapack_geqrf_seq(m, n, a, lda, tau, work, lwork, info);
  }
  set_size(work, size);
}

#define VRX_GEQRF_HOST_INSTANCE(T) \
  template void vrx_lapack_geqrf_host<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, vrx_int*);
VRX_GEQRF_HOST_INSTANCE(float)
VRX_GEQRF_HOST_INSTANCE(double)
VRX_GEQRF_HOST_INSTANCE(vrx_complex_float)
VRX_GEQRF_HOST_INSTANCE(vrx_complex_double)
#undef VRX_GEQRF_HOST_INSTANCE
