// The team barrier of the level-3 routines: the service frame's spin barrier on the
// group's record (see vrx_l3_sync in blas/vrx_l3.h).
#pragma once
#include "blas/vrx_l3.h"
#include "service/vrx_serv.h"

inline void vrx_l3_sync_reset(vrx_l3_sync* sync) { vrx_serv_spin_barrier_reset(sync); }

// Waits until all `size` threads of the group have arrived; thread 0 releases.
inline void vrx_l3_barrier(vrx_l3_sync* sync, int id, int size) { vrx_serv_spin_barrier_wait(sync, id, size); }
