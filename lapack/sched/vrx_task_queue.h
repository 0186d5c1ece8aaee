// The task queue of the blocked factorisations: block columns of a matrix are brought up
// to date panel by panel by several workers (threads, or teams of threads), each column
// held by one worker at a time, and the next panel is factored as soon as its column has
// every earlier panel. The queue works on worker numbers only; who runs a worker is the
// caller's business.
//
// The state is an array of vrx_int words, shared by the workers and changed only inside
// the scheduler's named critical section:
//   word 0 workers, 1 nblk (block columns), 2 npan (panels the queue factors),
//   3 group (block columns per ownership group), 4 tail (block columns at the right edge
//   left to the dynamic tail), 5 tail_level (lowest panel not yet claimed for every tail
//   column), 6 current (last factored panel), 6 + j level[j] for j = 1 to nblk (panels
//   applied to block column j; negative while a worker holds the column and will bring
//   it to the absolute value; a factored column j holds j).
#pragma once
#include <cstddef>

#include "service/vrx_types.h"

enum : int {
  VRX_SCHED_WORKERS = 0,
  VRX_SCHED_NBLK = 1,
  VRX_SCHED_NPAN = 2,
  VRX_SCHED_GROUP = 3,
  VRX_SCHED_TAIL = 4,
  VRX_SCHED_TAIL_LEVEL = 5,
  VRX_SCHED_CURRENT = 6,
};

// level[j] (j from 1) of a state.
inline vrx_int* vrx_lapack_sched_levels(vrx_int* state) { return state + VRX_SCHED_CURRENT; }
inline const vrx_int* vrx_lapack_sched_levels(const vrx_int* state) { return state + VRX_SCHED_CURRENT; }

// Kinds of task.
enum : vrx_int {
  VRX_TASK_FINISHED = -1,  // nothing left for this worker
  VRX_TASK_NONE = 0,       // nothing yet: ask again
  VRX_TASK_UPDATE = 1,     // apply panels first_panel..last_panel to columns first_col..last_col
  VRX_TASK_PANEL = 2,      // update column first_col likewise, then factor its panel
};

// One worker's task; block columns and panels count from 1. The worker keeps it until
// its next fetch, which reports it done.
struct vrx_lapack_task {
  vrx_int kind;
  vrx_int first_panel;
  vrx_int last_panel;
  vrx_int first_col;
  vrx_int last_col;
};

// Block columns of n columns in blocks of nb, and panels the queue factors: the last
// panel of a matrix with m >= n, and the rows from npan * nb on when m < n, are left to
// the caller's corner.
vrx_int vrx_lapack_sched_block_count(vrx_int n, vrx_int nb);
vrx_int vrx_lapack_sched_panel_count(vrx_int m, vrx_int n, vrx_int nb);

// Bytes of the state of nblk block columns, and the state itself (128-byte aligned from
// the service's allocator; null when refused). Released with vrx_lapack_sched_release.
std::size_t vrx_lapack_sched_state_bytes(vrx_int nblk);
vrx_int* vrx_lapack_sched_allocate(vrx_int nblk);
void vrx_lapack_sched_release(vrx_int* state);

// Fills the state with panel 1 factored (current 1) and nothing applied anywhere else.
void vrx_lapack_sched_init(vrx_int* state, vrx_int workers, vrx_int nblk, vrx_int npan, vrx_int group, vrx_int tail);

// A worker's task before its first fetch: kind 0 with the columns it starts from, so that
// the first fetch reports nothing; -1 when the worker owns no column and there is no tail.
void vrx_lapack_sched_first_task(const vrx_int* state, vrx_int worker, vrx_lapack_task* task);

// Reports `task` done and replaces it with the worker's next one. The caller holds the
// critical section; vrx_lapack_sched_fetch_locked takes it.
void vrx_lapack_sched_fetch(vrx_int* state, vrx_int worker, vrx_lapack_task* task);
void vrx_lapack_sched_fetch_locked(vrx_int* state, vrx_int worker, vrx_lapack_task* task);

// Runs body(context) inside the scheduler's named critical section: every change of the
// state, and any other word the workers share with it, goes through here.
void vrx_lapack_sched_locked(void (*body)(void* context), void* context);
