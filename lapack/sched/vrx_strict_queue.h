// The strict scheduler of the LU team path in packed mode: (panel, column) tasks handed
// out in right-looking order, one block column per task.
//
// The state is an array of vrx_int words, changed inside the task queue's critical
// section except the finished-update counters, which rank 0 of a team raises atomically:
//   word 0 nblk, 1 npan, 2 panel p, 3 column c (last handed out for p), 4 panels_done,
//   5 depth (look-ahead), then busy[j] for j = 1 to nblk (a team holds column j), then
//   finished[q] for q = 1 to nblk (updates of panel q done).
#pragma once
#include <cstddef>

#include "lapack/sched/vrx_task_queue.h"

enum : int {
  VRX_STRICT_NBLK = 0,
  VRX_STRICT_NPAN = 1,
  VRX_STRICT_PANEL = 2,
  VRX_STRICT_COLUMN = 3,
  VRX_STRICT_PANELS_DONE = 4,
  VRX_STRICT_DEPTH = 5,
  VRX_STRICT_HEADER = 6,
};

// Bytes of the state for nblk block columns: 48 + 16 nblk.
std::size_t vrx_lapack_strict_bytes(vrx_int nblk);

// Panel 1 factored, nothing applied; panel tasks look `depth` panels ahead at most.
void vrx_lapack_strict_init(vrx_int* state, vrx_int nblk, vrx_int npan, vrx_int depth);

// The counter of finished updates of panel q (from 1).
vrx_int* vrx_lapack_strict_finished(vrx_int* state, vrx_int q);

// Reports `task` done (its column is free again; a panel task counts its panel as
// factored) and replaces it with the next task: (p, c + 1) when that column is free,
// kind 2 for column p + 1 unless it is the last column or past npan, kind 0 while
// something must finish first, -1 once p has passed npan. The caller holds the task
// queue's critical section.
void vrx_lapack_strict_fetch(vrx_int* state, vrx_lapack_task* task);
