// The team barrier of the level-3 routines: one record per group of threads, two
// counters on separate cache lines (see vrx_l3_sync in blas/vrx_l3.h).
#pragma once
#include "blas/vrx_l3.h"
#include "service/vrx_serv.h"

// Rounds a waiting thread spins before each further round also yields the processor.
constexpr int vrx_serv_spin_limit = vrx_serv_spin_yield_after;

// Both counters back to 0; done by the owner of the record before the threads start.
void vrx_l3_sync_reset(vrx_l3_sync* sync);

// Waits until all `size` threads of the group have arrived. Thread 0 collects the
// arrivals and releases the others; a group of one does nothing.
void vrx_l3_barrier(vrx_l3_sync* sync, int id, int size);
