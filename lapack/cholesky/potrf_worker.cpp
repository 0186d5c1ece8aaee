// The worker of the tile path: fetch a task inside the scheduler's critical section,
// run it outside (a solve, a product update, a rank update or the factorisation of a
// diagonal square), report it, until the table is finished, a diagonal block failed or
// a worker was stopped.
#include <omp.h>

#include "lapack/cholesky/vrx_potrf.h"
#include "lapack/sched/vrx_task_queue.h"
#include "service/vrx_spin_barrier.h"

namespace {
vrx_int min_of(vrx_int x, vrx_int y) { return x < y ? x : y; }

template <typename T>
void run(vrx_potrf_region<T>* r, const vrx_potrf_task& task, int thread) {
  const vrx_potrf_blocks<T> blocks = {r->upper, r->a, r->lda, true};
  const vrx_int b = r->b, r0 = (task.i - 1) * b, c0 = (task.j - 1) * b, k0 = (task.step - 1) * b;
  const vrx_int hr = min_of(r->n - r0, task.size * b), hc = min_of(r->n - c0, task.size * b);
  const vrx_int depth = min_of(task.size * b, (task.i - task.step) * b);
  if (task.i != task.j) {
    if (task.step == task.i)
      vrx_lapack_potrf_off_solve(blocks, r0, hr, c0, hc);
    else
      vrx_lapack_potrf_off_update(blocks, r0, hr, c0, hc, k0, depth);
  } else if (task.step < task.i) {
    vrx_lapack_potrf_diag_update(blocks, r0, hr, k0, depth);
  } else {
    vrx_int local = 0;
    if (vrx_lapack_potrf_recursive(r->upper, hr, r->a + r0 + r0 * r->lda, r->lda, &local, thread, r0))
      __atomic_store_n(&r->error, 1, __ATOMIC_RELEASE);
    else if (local > 0)
      __atomic_store_n(r->info, r0 + local, __ATOMIC_RELEASE);
  }
}

struct fetch_call {
  vrx_int* table;
  vrx_potrf_task* task;
};
void fetch_locked(vrx_int* table, vrx_potrf_task* task) {
  fetch_call call = {table, task};
  vrx_lapack_sched_locked(
      [](void* context) {
        fetch_call* c = static_cast<fetch_call*>(context);
        vrx_lapack_potrf_fetch(c->table, c->task);
      },
      &call);
}
}  // namespace

template <typename T>
void vrx_lapack_potrf_worker(vrx_potrf_region<T>* r) {
  const int thread = omp_get_thread_num();
  __atomic_store_n(&r->region_threads, omp_get_num_threads(), __ATOMIC_RELAXED);
  vrx_potrf_task task = {0, 0, -1, 0};
  int spins = 0;
  while (!__atomic_load_n(r->table + VRX_POTRF_FINISHED, __ATOMIC_ACQUIRE) &&
         !__atomic_load_n(r->info, __ATOMIC_ACQUIRE) && !__atomic_load_n(&r->error, __ATOMIC_ACQUIRE)) {
    fetch_locked(r->table, &task);
    if (task.step <= 0) {
      // Nothing ready: ask again at once, yielding only after the spin limit.
      vrx_serv_spin_wait_round(&spins);
      continue;
    }
    spins = 0;
    if (__atomic_load_n(r->info, __ATOMIC_ACQUIRE)) break;
    run(r, task, thread);
    __atomic_fetch_or(&r->tasks_by_size, task.size, __ATOMIC_RELAXED);
    __atomic_fetch_add(&r->tasks, 1, __ATOMIC_RELAXED);
    vrx_lapack_potrf_task_done(r->table, &task);
  }
}

template void vrx_lapack_potrf_worker<float>(vrx_potrf_region<float>*);
template void vrx_lapack_potrf_worker<double>(vrx_potrf_region<double>*);
template void vrx_lapack_potrf_worker<vrx_complex_float>(vrx_potrf_region<vrx_complex_float>*);
template void vrx_lapack_potrf_worker<vrx_complex_double>(vrx_potrf_region<vrx_complex_double>*);
