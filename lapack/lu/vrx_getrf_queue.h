// The queue path's worker region: what the forked threads share, and the body each runs.
#pragma once
#include "lapack/lu/vrx_getrf.h"

template <typename T>
struct vrx_getrf_queue_region {
  vrx_int m, n, lda, nb;
  T* a;
  vrx_int* ipiv;       // 1-based rows of the whole matrix
  vrx_int* info;       // first zero pivot; written inside the scheduler's critical section
  vrx_int* state;      // the scheduler's words, filled by the region
  int threads;         // threads asked for: the thread count of the tuning questions
  int stop;            // set by a worker whose panel was stopped by the progress hook
  int region_threads;  // threads the region ran with
};

// Body of the worker region: one thread fills the scheduler state, then every thread
// takes tasks until none is left or a worker was stopped.
template <typename T>
void vrx_lapack_getrf_worker(vrx_getrf_queue_region<T>* region);
