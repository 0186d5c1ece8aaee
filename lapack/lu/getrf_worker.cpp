// The worker of the LU queue path: tasks from the scheduler bring block columns up to
// date with factored panels, and the panel task factors the next panel with the
// sequential recursion.
#include <algorithm>
#include <omp.h>

#include "lapack/lu/vrx_getrf_queue.h"
#include "lapack/sched/vrx_task_queue.h"
#include "service/vrx_spin_barrier.h"

namespace {
// The task's panels in order on its block columns (the last block column may be narrow).
template <typename T>
void update_columns(const vrx_getrf_queue_region<T>* r, const vrx_lapack_task& task) {
  const vrx_int col = (task.first_col - 1) * r->nb;
  const vrx_int count = std::min(task.last_col * r->nb, r->n) - col;
  for (vrx_int p = task.first_panel; p <= task.last_panel; ++p)
    vrx_lapack_getrf_apply_panel(r->m, r->a, r->lda, r->ipiv, (p - 1) * r->nb, r->nb, col, count, true);
}

template <typename T>
struct panel_report {
  vrx_getrf_queue_region<T>* region;
  vrx_int part_info, start, count;
};

// Factors the panel of block column c, rows from its diagonal down; returns 1 when the
// progress hook asked to stop.
template <typename T>
int factor_panel(vrx_getrf_queue_region<T>* r, vrx_int c, int worker) {
  const vrx_int j = (c - 1) * r->nb;
  const vrx_int width = std::min(r->nb, r->n - j);
  panel_report<T> report = {r, 0, j, std::min(r->m - j, width)};
  if (vrx_lapack_getrf_recursive(r->m - j, width, r->a + j + j * r->lda, r->lda, r->ipiv + j, &report.part_info,
                                 worker, j))
    return 1;
  // Panels are factored in order, so the first zero pivot recorded is the smallest.
  vrx_lapack_sched_locked(
      [](void* context) {
        panel_report<T>* p = static_cast<panel_report<T>*>(context);
        vrx_lapack_getrf_merge(p->region->info, p->part_info, p->start, p->region->ipiv + p->start, p->count);
      },
      &report);
  return 0;
}
}  // namespace

template <typename T>
void vrx_lapack_getrf_worker(vrx_getrf_queue_region<T>* r) {
  const int id = omp_get_thread_num(), team = omp_get_num_threads();
#pragma omp single
  {
    const vrx_int group = vrx_lapack_ilaenv<T>(17, "GETRF", " ", r->m, r->n, r->threads, -1);
    const vrx_int tail = vrx_lapack_ilaenv<T>(18, "GETRF", " ", r->m, r->n, r->threads, -1);
    vrx_lapack_sched_init(r->state, team, vrx_lapack_sched_block_count(r->n, r->nb),
                          vrx_lapack_sched_panel_count(r->m, r->n, r->nb), group, tail);
    r->region_threads = team;
  }
  vrx_lapack_task task;
  vrx_lapack_sched_first_task(r->state, id, &task);
#pragma omp barrier
  int spins = 0;
  while (task.kind != VRX_TASK_FINISHED && !__atomic_load_n(&r->stop, __ATOMIC_ACQUIRE)) {
    vrx_lapack_sched_fetch_locked(r->state, id, &task);
    if (task.kind == VRX_TASK_NONE) {
      // Nothing free yet: ask again at once, yielding only after the spin limit.
      vrx_serv_spin_wait_round(&spins);
      continue;
    }
    if (task.kind == VRX_TASK_FINISHED) break;
    spins = 0;
    update_columns(r, task);
    if (task.kind == VRX_TASK_PANEL && factor_panel(r, task.first_col, id))
      __atomic_store_n(&r->stop, 1, __ATOMIC_RELEASE);
  }
}

template void vrx_lapack_getrf_worker<float>(vrx_getrf_queue_region<float>*);
template void vrx_lapack_getrf_worker<double>(vrx_getrf_queue_region<double>*);
template void vrx_lapack_getrf_worker<vrx_complex_float>(vrx_getrf_queue_region<vrx_complex_float>*);
template void vrx_lapack_getrf_worker<vrx_complex_double>(vrx_getrf_queue_region<vrx_complex_double>*);
