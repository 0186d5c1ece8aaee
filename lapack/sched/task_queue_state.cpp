// The task queue's state: its size, its allocation, its first contents, and where each
// worker starts.
#include <algorithm>

#include "lapack/sched/vrx_task_queue.h"
#include "service/vrx_memory.h"

namespace {
constexpr int state_alignment = 128;
}  // namespace

vrx_int vrx_lapack_sched_block_count(vrx_int n, vrx_int nb) { return (n - 1) / nb + 1; }

vrx_int vrx_lapack_sched_panel_count(vrx_int m, vrx_int n, vrx_int nb) { return m < n ? (m - 1) / nb : (n - 1) / nb; }

std::size_t vrx_lapack_sched_state_bytes(vrx_int nblk) { return static_cast<std::size_t>(nblk) * 8 + 64; }

vrx_int* vrx_lapack_sched_allocate(vrx_int nblk) {
  return static_cast<vrx_int*>(vrx_serv_malloc(vrx_lapack_sched_state_bytes(nblk), state_alignment));
}

void vrx_lapack_sched_release(vrx_int* state) {
  if (state) vrx_serv_free(state);
}

void vrx_lapack_sched_init(vrx_int* state, vrx_int workers, vrx_int nblk, vrx_int npan, vrx_int group, vrx_int tail) {
  state[VRX_SCHED_WORKERS] = std::max<vrx_int>(workers, 1);
  state[VRX_SCHED_NBLK] = nblk;
  state[VRX_SCHED_NPAN] = npan;
  state[VRX_SCHED_GROUP] = std::max<vrx_int>(group, 1);
  state[VRX_SCHED_TAIL] = std::max<vrx_int>(tail, 0);
  state[VRX_SCHED_TAIL_LEVEL] = 0;
  state[VRX_SCHED_CURRENT] = 1;
  vrx_int* level = vrx_lapack_sched_levels(state);
  level[1] = 1;
  for (vrx_int j = 2; j <= nblk; ++j) level[j] = 0;
}

void vrx_lapack_sched_first_task(const vrx_int* state, vrx_int worker, vrx_lapack_task* task) {
  const vrx_int workers = state[VRX_SCHED_WORKERS], group = state[VRX_SCHED_GROUP], tail = state[VRX_SCHED_TAIL];
  const vrx_int owned_end = std::max<vrx_int>(state[VRX_SCHED_NBLK] - tail, 0);
  // Worker w owns the group from w * group + 1; worker 0's first group holds the factored
  // column 1, so it starts past it, or at its next group when groups are single columns.
  vrx_int first = worker * group + 1, last = (worker + 1) * group;
  if (worker == 0) {
    first = group >= 2 ? 2 : workers + 1;
    last = group >= 2 ? group : workers + 1;
  }
  *task = {VRX_TASK_NONE, 0, 0, first, std::min(last, owned_end)};
  if (first <= owned_end) return;
  if (tail == 0) {
    task->kind = VRX_TASK_FINISHED;
    return;
  }
  // The first tail column right of the factored column 1.
  task->first_col = task->last_col = std::max<vrx_int>(owned_end, 1) + 1;
}
