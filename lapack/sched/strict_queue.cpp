// The strict scheduler: right-looking order with a bounded look-ahead of panels.
#include "lapack/sched/vrx_strict_queue.h"

namespace {
vrx_int* busy_words(vrx_int* state) { return state + VRX_STRICT_HEADER - 1; }  // busy[j], j from 1
vrx_int* finished_words(vrx_int* state) { return state + VRX_STRICT_HEADER + state[VRX_STRICT_NBLK] - 1; }

void report(vrx_int* state, const vrx_lapack_task* task) {
  if (task->kind != VRX_TASK_UPDATE && task->kind != VRX_TASK_PANEL) return;
  busy_words(state)[task->first_col] = 0;
  if (task->kind == VRX_TASK_PANEL && task->first_col > state[VRX_STRICT_PANELS_DONE])
    state[VRX_STRICT_PANELS_DONE] = task->first_col;
}
}  // namespace

std::size_t vrx_lapack_strict_bytes(vrx_int nblk) { return static_cast<std::size_t>(nblk) * 16 + 48; }

void vrx_lapack_strict_init(vrx_int* state, vrx_int nblk, vrx_int npan, vrx_int depth) {
  state[VRX_STRICT_NBLK] = nblk;
  state[VRX_STRICT_NPAN] = npan;
  state[VRX_STRICT_PANEL] = 1;
  state[VRX_STRICT_COLUMN] = 1;
  state[VRX_STRICT_PANELS_DONE] = 1;
  state[VRX_STRICT_DEPTH] = depth;
  for (vrx_int j = 1; j <= nblk; ++j) busy_words(state)[j] = 0;
  for (vrx_int q = 1; q <= nblk; ++q) finished_words(state)[q] = 0;
}

vrx_int* vrx_lapack_strict_finished(vrx_int* state, vrx_int q) { return finished_words(state) + q; }

void vrx_lapack_strict_fetch(vrx_int* state, vrx_lapack_task* task) {
  report(state, task);
  const vrx_int nblk = state[VRX_STRICT_NBLK], npan = state[VRX_STRICT_NPAN], depth = state[VRX_STRICT_DEPTH];
  vrx_int p = state[VRX_STRICT_PANEL];
  *task = {VRX_TASK_NONE, p, p, 0, 0};
  if (state[VRX_STRICT_COLUMN] >= nblk && p <= npan) {
    // Every column has panel p; the next panel is applied once it has been factored (the
    // last one has no panel after it).
    if (p < npan && state[VRX_STRICT_PANELS_DONE] <= p) return;
    state[VRX_STRICT_PANEL] = ++p;
    state[VRX_STRICT_COLUMN] = p;
    task->first_panel = task->last_panel = p;
  }
  if (p > npan) {
    task->kind = VRX_TASK_FINISHED;
    return;
  }
  const vrx_int column = state[VRX_STRICT_COLUMN] + 1;
  if (busy_words(state)[column]) return;
  const bool panel = column == p + 1 && column <= npan && column < nblk;
  if (panel && column > depth) {
    const vrx_int q = column - depth;
    if (__atomic_load_n(vrx_lapack_strict_finished(state, q), __ATOMIC_ACQUIRE) < nblk - q) return;
  }
  busy_words(state)[column] = 1;
  state[VRX_STRICT_COLUMN] = column;
  *task = {panel ? VRX_TASK_PANEL : VRX_TASK_UPDATE, p, p, column, column};
}
