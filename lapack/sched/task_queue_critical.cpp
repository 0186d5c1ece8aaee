// The scheduler's one named critical section, and what runs inside it.
#include "lapack/sched/vrx_task_queue.h"

void vrx_lapack_sched_locked(void (*body)(void* context), void* context) {
#pragma omp critical(vrx_lapack_sched)
  body(context);
}

namespace {
struct fetch_call {
  vrx_int* state;
  vrx_int worker;
  vrx_lapack_task* task;
};
}  // namespace

void vrx_lapack_sched_fetch_locked(vrx_int* state, vrx_int worker, vrx_lapack_task* task) {
  fetch_call call = {state, worker, task};
  vrx_lapack_sched_locked(
      [](void* context) {
        fetch_call* c = static_cast<fetch_call*>(context);
        vrx_lapack_sched_fetch(c->state, c->worker, c->task);
      },
      &call);
}
