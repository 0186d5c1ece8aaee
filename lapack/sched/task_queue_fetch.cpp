// The fetch of the task queue: a worker reports its finished task and takes the next.
// Columns 1 to nd = nblk - tail are owned, in groups dealt cyclically to the workers;
// the columns right of them form the dynamic tail, which any worker serves one panel at
// a time, lowest level first.
#include <algorithm>

#include "lapack/sched/vrx_task_queue.h"

namespace {
void give(vrx_lapack_task* task, vrx_int kind, vrx_int first_panel, vrx_int last_panel, vrx_int first_col,
          vrx_int last_col) {
  *task = {kind, first_panel, last_panel, first_col, last_col};
}

void report(vrx_int* state, const vrx_lapack_task* task) {
  vrx_int* level = vrx_lapack_sched_levels(state);
  if (task->kind == VRX_TASK_UPDATE) {
    for (vrx_int j = task->first_col; j <= task->last_col; ++j) level[j] = task->last_panel;
  } else if (task->kind == VRX_TASK_PANEL) {
    level[task->first_col] = task->first_col;
    state[VRX_SCHED_CURRENT] = task->first_col;
  }
}

// The worker's own groups. The column right after the last factored panel is its panel
// task once it has every earlier panel but the last; other columns are brought up to a
// target that keeps that last application for the panel task. Returns whether a task
// was given; *pending tells whether any own column still lacks panels.
bool owned_part(vrx_int* state, vrx_int worker, vrx_int owned_end, vrx_lapack_task* task, bool* pending) {
  const vrx_int workers = state[VRX_SCHED_WORKERS], group = state[VRX_SCHED_GROUP], npan = state[VRX_SCHED_NPAN];
  const vrx_int current = state[VRX_SCHED_CURRENT];
  vrx_int* level = vrx_lapack_sched_levels(state);
  for (vrx_int start = worker * group + 1; start <= owned_end; start += group * workers) {
    const vrx_int end = std::min(start + group - 1, owned_end);
    if (end <= current) continue;
    const vrx_int c = std::max(start, current + 1);
    if (c == current + 1 && current < npan && level[c] == current - 1) {
      level[c] = -c;
      give(task, VRX_TASK_PANEL, current, current, c, c);
      return true;
    }
    const vrx_int target = current < npan ? std::min(std::max<vrx_int>(c - 2, 1), current) : current;
    for (vrx_int j = c; j <= end; ++j) {
      if (level[j] < npan) *pending = true;
      if (level[j] < 0 || level[j] >= target) continue;
      const vrx_int from = level[j];
      vrx_int last = j;
      while (last < end && level[last + 1] == from) ++last;
      for (vrx_int k = j; k <= last; ++k) level[k] = -target;
      give(task, VRX_TASK_UPDATE, from + 1, target, j, last);
      return true;
    }
  }
  return false;
}

// The tail, from the lowest level not yet claimed everywhere: a column at that level gets
// one more panel, or, when it is the next panel's column, all it lacks and the panel. A
// level is left behind only when no column is at it and none is held to come back to it.
// Returns the kind given, -1 when every tail column has been claimed for every panel.
vrx_int tail_part(vrx_int* state, vrx_int owned_end, vrx_lapack_task* task) {
  const vrx_int nblk = state[VRX_SCHED_NBLK], npan = state[VRX_SCHED_NPAN], current = state[VRX_SCHED_CURRENT];
  vrx_int* level = vrx_lapack_sched_levels(state);
  const vrx_int first = std::max(owned_end, current) + 1;
  for (vrx_int candidate = state[VRX_SCHED_TAIL_LEVEL]; candidate < npan; ++candidate) {
    state[VRX_SCHED_TAIL_LEVEL] = candidate;
    bool held = false;
    for (vrx_int j = first; j <= nblk; ++j) {
      if (level[j] != candidate) {
        held = held || (candidate > 0 && level[j] == -candidate);
        continue;
      }
      if (j == current + 1 && current < npan) {
        level[j] = -j;
        give(task, VRX_TASK_PANEL, candidate + 1, current, j, j);
        return VRX_TASK_PANEL;
      }
      if (candidate >= current) {
        give(task, VRX_TASK_NONE, 0, 0, 0, 0);
        return VRX_TASK_NONE;
      }
      level[j] = -(candidate + 1);
      give(task, VRX_TASK_UPDATE, candidate + 1, candidate + 1, j, j);
      return VRX_TASK_UPDATE;
    }
    if (held) {
      give(task, VRX_TASK_NONE, 0, 0, 0, 0);
      return VRX_TASK_NONE;
    }
  }
  state[VRX_SCHED_TAIL_LEVEL] = npan;
  return VRX_TASK_FINISHED;
}
}  // namespace

void vrx_lapack_sched_fetch(vrx_int* state, vrx_int worker, vrx_lapack_task* task) {
  report(state, task);
  const vrx_int owned_end = std::max<vrx_int>(state[VRX_SCHED_NBLK] - state[VRX_SCHED_TAIL], 0);
  bool pending = false;
  if (state[VRX_SCHED_CURRENT] < owned_end && owned_part(state, worker, owned_end, task, &pending)) return;
  if (tail_part(state, owned_end, task) != VRX_TASK_FINISHED) return;
  give(task, pending ? VRX_TASK_NONE : VRX_TASK_FINISHED, 0, 0, 0, 0);
}
