// The queue path of the LU factorisation: the first panel on the calling thread, then a
// region of workers under the task queue for every other panel and update, then the
// corner that the queue leaves (the rows and columns past its last panel) and the
// interchanges left of each panel.
#include <algorithm>

#include "lapack/lu/vrx_getrf_corner.h"
#include "lapack/lu/vrx_getrf_queue.h"
#include "lapack/sched/vrx_task_queue.h"

template <typename T>
int vrx_lapack_getrf_queue(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int t, vrx_int nb) {
  if (m <= 0 || n <= 0 || nb < 1 || nb >= std::min(m, n)) {
    // Nothing for a queue: one panel holds the whole matrix.
    vrx_lapack_getrf_seq(m, n, a, lda, ipiv, info);
    return 0;
  }
  const vrx_int nblk = vrx_lapack_sched_block_count(n, nb), npan = vrx_lapack_sched_panel_count(m, n, nb);
  t = std::max(t, 1);
  vrx_int* state = vrx_lapack_sched_allocate(nblk);
  if (!state) return -1;
  *info = 0;
  vrx_getrf_trace* trace = vrx_lapack_getrf_trace();
  trace->path = VRX_GETRF_PATH_QUEUE;
  trace->nb = nb;
  vrx_getrf_queue_region<T> region = {m, n, lda, nb, a, ipiv, info, state, t, 0, 1};
  // The first panel is the only one factored before the workers start.
  vrx_int first_info = 0;
  int stop = vrx_lapack_getrf_recursive(m, nb, a, lda, ipiv, &first_info, 0, 0);
  if (!stop) {
    vrx_lapack_getrf_merge(info, first_info, 0, ipiv, nb);
#pragma omp parallel num_threads(t)
    vrx_lapack_getrf_worker(&region);
    trace->region_threads = region.region_threads;
    trace->group = state[VRX_SCHED_GROUP];
    trace->tail = state[VRX_SCHED_TAIL];
    stop = region.stop;
  }
  if (!stop) stop = vrx_lapack_getrf_corner(m, n, a, lda, ipiv, info, t, nb, npan);
  vrx_lapack_sched_release(state);
  if (stop) *info = -1002;
  return 0;
}

template int vrx_lapack_getrf_queue<float>(vrx_int, vrx_int, float*, vrx_int, vrx_int*, vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_queue<double>(vrx_int, vrx_int, double*, vrx_int, vrx_int*, vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_queue<vrx_complex_float>(vrx_int, vrx_int, vrx_complex_float*, vrx_int, vrx_int*,
                                                       vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_queue<vrx_complex_double>(vrx_int, vrx_int, vrx_complex_double*, vrx_int, vrx_int*,
                                                        vrx_int*, int, vrx_int);
