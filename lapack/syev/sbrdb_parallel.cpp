// Band to tridiagonal with the sweeps on several threads. A task is a whole sweep, taken
// in order inside the scheduler's named critical section; sweep j may start once sweep
// j - 1 has left the rows its first step touches. The band is shared without locks: the
// position words alone keep two sweeps apart (a step waits until the sweep ahead has left
// every row it touches), so each element sees the same operations in the same order as
// in the sequential form, and each reflector goes to Q's columns as soon as it is made,
// which no other sweep touches at that time.
#include <omp.h>

#include "lapack/sched/vrx_task_queue.h"
#include "lapack/syev/vrx_band_reduction.h"
#include "service/vrx_memory.h"

namespace {
template <typename T>
struct sweeps {
  bool upper;
  vrx_int n, kd;
  T* ab;
  vrx_int ldab;
  vrx_real_t<T>* d;
  vrx_real_t<T>* e;
  T* q;
  vrx_int ldq;
  T* scratch;       // per thread, `per_thread` elements each
  vrx_int per_thread;
  vrx_int* pos;     // n - 1 words
  vrx_int* shared;  // started, finished
  int region_threads;
};

template <typename T>
struct claim {
  sweeps<T>* s;
  bool report;  // a sweep was finished since the last claim
  vrx_int sweep;  // out: the sweep to run, -1 none yet, -2 all taken
};

template <typename T>
void claim_locked(void* context) {
  claim<T>* c = static_cast<claim<T>*>(context);
  sweeps<T>* s = c->s;
  vrx_int& started = s->shared[0];
  vrx_int& finished = s->shared[1];
  if (c->report) finished += 1;
  c->report = false;
  const vrx_int j = started, count = s->n - 1;
  if (j >= count) {
    c->sweep = -2;
    return;
  }
  // The first step of sweep j touches rows up to j + min(n - j - 1, kd) + kd; it may
  // start when sweep j - 1 is past them.
  const vrx_int first = s->n - j - 1 < s->kd ? s->n - j - 1 : s->kd;
  const vrx_int below = s->n - j - 1 - first < s->kd ? s->n - j - 1 - first : s->kd;
  if (j > 0 && __atomic_load_n(s->pos + j - 1, __ATOMIC_ACQUIRE) < j + 1 + first + below) {
    c->sweep = -1;
    return;
  }
  __atomic_store_n(s->pos + j, j, __ATOMIC_RELEASE);
  started = j + 1;
  c->sweep = j;
}

template <typename T>
void worker(sweeps<T>* s) {
  const int tid = omp_get_thread_num();
  if (tid == 0) s->region_threads = omp_get_num_threads();
  T* work = s->scratch + tid * s->per_thread;
  claim<T> c = {s, false, -1};
  for (;;) {
    vrx_lapack_sched_locked(claim_locked<T>, &c);
    if (c.sweep == -2) break;
    if (c.sweep < 0) continue;
    vrx_lapack_sbrdb_sweep<T>(s->upper, s->n, s->kd, s->ab, s->ldab, s->d, s->e, s->q, s->ldq, work, c.sweep,
                              s->pos);
    c.report = true;
  }
  if (c.report) vrx_lapack_sched_locked(claim_locked<T>, &c);
}
}  // namespace

vrx_sbrdb_trace* vrx_lapack_sbrdb_trace() {
  static thread_local vrx_sbrdb_trace trace;
  return &trace;
}

template <typename T>
int vrx_lapack_sbrdb_parallel(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab, vrx_real_t<T>* d,
                              vrx_real_t<T>* e, T* q, vrx_int ldq, int threads) {
  vrx_int* tables = static_cast<vrx_int*>(vrx_serv_malloc(sizeof(vrx_int) * (n - 1 + 2), 128));
  if (!tables) return -100;
  const vrx_int per_thread = vrx_band_sweep_workspace(n, kd, q != nullptr);
  T* scratch = static_cast<T*>(vrx_serv_malloc(sizeof(T) * per_thread * threads, 128));
  if (!scratch) {
    vrx_serv_free(tables);
    return 1;  // the caller runs the sweeps one after the other
  }
  for (vrx_int j = 0; j < n + 1; ++j) tables[j] = 0;
  sweeps<T> s = {upper, n, kd, ab, ldab, d, e, q, ldq, scratch, per_thread, tables, tables + n - 1, 1};
  vrx_lapack_sbrdb_clear<T>(upper, n, kd, ab, ldab);
#pragma omp parallel num_threads(threads)
  worker(&s);
  vrx_lapack_sbrdb_trace()->region_threads = s.region_threads;
  d[n - 1] = vrx_traits<T>::real_part(ab[(upper ? 2 * kd - 1 : 0) + (n - 1) * ldab]);
  vrx_serv_free(scratch);
  vrx_serv_free(tables);
  return 0;
}

#define VRX_SBRDB_PARALLEL_INSTANCE(T)                                                                  \
  template int vrx_lapack_sbrdb_parallel<T>(bool, vrx_int, vrx_int, T*, vrx_int, vrx_real_t<T>*, vrx_real_t<T>*, \
                                            T*, vrx_int, int);
VRX_SBRDB_PARALLEL_INSTANCE(float)
VRX_SBRDB_PARALLEL_INSTANCE(double)
VRX_SBRDB_PARALLEL_INSTANCE(vrx_complex_float)
VRX_SBRDB_PARALLEL_INSTANCE(vrx_complex_double)
#undef VRX_SBRDB_PARALLEL_INSTANCE
