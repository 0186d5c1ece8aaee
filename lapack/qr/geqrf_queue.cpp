// The queue path of the QR factorisation: the first panel on the calling thread, then a
// region of workers under the column queue for every other panel and update, then any
// columns the panels leave to the sequential routine.
//
// Memory: the factors of all panels (k nb elements) and each thread's block reflector
// work (chunk nb by nb) in the caller's work when it is large enough, else in a block of
// our own; each thread's LAQRF work (chunk nb) when it can be had; the status words.
#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_geqrf_queue.h"
#include "service/vrx_serv.h"

namespace {
constexpr int alignment = 128;
constexpr vrx_int tall_rows = 64;

template <typename T>
T* allocate(vrx_int elements) {
  return static_cast<T*>(vrx_serv_malloc(static_cast<std::size_t>(elements) * sizeof(T), alignment));
}

// The columns beyond the queue's panels, from row and column j.
template <typename T>
int finish_columns(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int j) {
  const vrx_int rows = m - j, cols = n - j;
  if (rows <= 0 || cols <= 0) return 0;
  T* block = a + j * lda + j;
  if (m > n && rows >= tall_rows) {
    vrx_lapack_geqr2_tall(rows, cols, block, lda, tau + j, work, lwork);
    return 0;
  }
  return vrx_lapack_geqrf_blocked(rows, cols, block, lda, tau + j, work, lwork, 0, j);
}
}  // namespace

template <typename T>
int vrx_lapack_geqrf_queue(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info,
                           int t, vrx_int nb, vrx_int chunk) {
  const vrx_int k = m < n ? m : n;
  if (k <= 0 || nb < 1 || nb > k) return -1;
  if (chunk < 1) chunk = 1;
  const vrx_int nblk = (n + nb - 1) / nb, npan = (k + nb - 1) / nb;
  if (t < 1) t = 1;
  if (vrx_serv_get_dynamic() && nblk <= t) t = static_cast<int>(nblk - 1 > 1 ? nblk - 1 : 1);

  const vrx_int needed = k * nb + static_cast<vrx_int>(t) * chunk * nb * nb;
  T* panel_work = allocate<T>(static_cast<vrx_int>(t) * chunk * nb);  // may fail: LAQRF then runs plainly
  T* own_work = lwork >= needed ? nullptr : allocate<T>(needed);
  vrx_int* status = static_cast<vrx_int*>(vrx_serv_malloc(static_cast<std::size_t>(nblk + 2) * sizeof(vrx_int),
                                                          alignment));
  if (!status || (lwork < needed && !own_work)) {
    vrx_serv_free(status);
    vrx_serv_free(own_work);
    vrx_serv_free(panel_work);
    return -1;
  }
  T* shared = own_work ? own_work : work;
  status[0] = 0;
  for (vrx_int j = 1; j <= nblk; ++j) status[j] = 1;
  status[nblk + 1] = 0;

  vrx_geqrf_trace* trace = vrx_lapack_geqrf_trace();
  trace->path = VRX_GEQRF_PATH_QUEUE;
  trace->nb = nb;
  trace->chunk = chunk;
  trace->queue_threads = t;
  *info = 0;
  vrx_geqrf_queue_region<T> region = {m, n, lda, nb, k, a, tau, shared, shared + k * nb, panel_work,
                                      {status, nblk, npan, chunk, 1, 1}, 0, 0, 0};
  // Panel 1 before the workers start, with every thread of the call for its leaf.
  vrx_lapack_laqrf(m, nb, a, lda, tau, shared, nb, panel_work, panel_work ? t * chunk * nb : 0);
  int stop = vrx_lapack_geqrf_progress<T>(0, nb);
  if (!stop) {
#pragma omp parallel num_threads(t)
    vrx_lapack_geqrf_worker(&region);
    trace->region_threads = region.region_threads;
    trace->panels_by_workers = region.panels_by_workers;
    stop = region.stop;
  }
  if (!stop) stop = finish_columns(m, n, a, lda, tau, shared, own_work ? needed : lwork, npan * nb);
  vrx_serv_free(status);
  vrx_serv_free(own_work);
  vrx_serv_free(panel_work);
  if (stop) *info = -1002;
  return 0;
}

#define VRX_GEQRF_QUEUE_INSTANCE(T)                                                                               \
  template int vrx_lapack_geqrf_queue<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, vrx_int*, int, vrx_int, \
                                         vrx_int);
VRX_GEQRF_QUEUE_INSTANCE(float)
VRX_GEQRF_QUEUE_INSTANCE(double)
VRX_GEQRF_QUEUE_INSTANCE(vrx_complex_float)
VRX_GEQRF_QUEUE_INSTANCE(vrx_complex_double)
#undef VRX_GEQRF_QUEUE_INSTANCE
