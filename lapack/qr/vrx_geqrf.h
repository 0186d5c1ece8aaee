// The paths of the QR factorisation below the host routine, generic over the element
// type: the blocked sequential loop with the progress hook, the tall unblocked variant,
// the threaded panel leaf, the queue path, and the record of the path a call took.
// `thread` and `offset` feed the progress hook (offset: columns of the whole matrix
// finished before this part).
#pragma once
#include "lapack/qr/vrx_qr.h"
#include "lapack/vrx_lapack.h"

// The blocked loop of the sequential routine on an m by n matrix; returns 1 when the
// progress hook asked to stop (the matrix is then partly reduced), else 0.
template <typename T>
int vrx_lapack_geqrf_blocked(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, int thread,
                             vrx_int offset);

// GEQR2's result for m above n: blocks of 32 columns, each factored by LAQRF (so on
// several threads when the threaded leaf can run with work/lwork) and applied to the
// columns on its right as a block reflector. Needs no workspace of its own.
template <typename T>
void vrx_lapack_geqr2_tall(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork);

// The threaded leaf of LAQRF on an m by n panel (n <= 256, n < m): rows split among
// `threads` threads, work of (threads - 1) n elements for their partial products. Fills
// tau and the n by n factor t as GEQR2 followed by LARFT would.
template <typename T>
void vrx_lapack_laqrf_leaf_team(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* t, vrx_int ldt, T* work,
                                int threads);
// Threads the threaded leaf runs with on an m by n panel when `threads` are available
// and dynamic adjustment is `dynamic`; below 2 the plain leaf runs.
int vrx_lapack_laqrf_leaf_threads(vrx_int m, vrx_int n, int threads, int dynamic);

// The queue path on t threads with panel width nb and claim size chunk. Returns -1
// without touching anything when its workspace or status words can't be allocated (the
// caller then takes the sequential routine), else 0 with info set (-1002 after a stop).
template <typename T>
int vrx_lapack_geqrf_queue(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info,
                           int t, vrx_int nb, vrx_int chunk);

// The progress hook with the precision's stage text ("DGEQRF"); true when it asks to stop.
template <typename T>
bool vrx_lapack_geqrf_progress(int thread, vrx_int step);

// ---- what the last call on this thread did, for tests ----
enum : int {
  VRX_GEQRF_PATH_NONE = 0,
  VRX_GEQRF_PATH_SEQ = 1,        // the blocked sequential routine
  VRX_GEQRF_PATH_GEQR2 = 2,      // one unblocked pass, m <= n
  VRX_GEQRF_PATH_TALL = 3,       // one pass of the tall unblocked variant
  VRX_GEQRF_PATH_SMALL = 4,      // sequential routine below the threaded crossover
  VRX_GEQRF_PATH_TEAM = 5,
  VRX_GEQRF_PATH_QUEUE = 6,
};
struct vrx_geqrf_trace {
  int path;             // the path that did the work (after any fallback)
  int threads;          // t of the host routine
  vrx_int nb;           // panel width of the threaded paths
  vrx_int chunk;        // queue path: most block columns one claim takes
  vrx_int nx;           // crossover asked with the thread count
  int fallback;         // 1: a failed allocation sent the call to the sequential routine
  int scratch;          // below the crossover: 1 when the scratch for the leaf was allocated
  int queue_threads;    // queue path: threads asked after the dynamic rule
  int region_threads;   // queue path: threads the worker region ran with
  int panels_by_workers;  // queue path: panels factored inside the region
  int leaf_threads;     // threads the last threaded leaf of LAQRF ran with (0: none ran)
  int leaf_teams;       // threaded leaves run
  int recursive_blocks; // LAQRF: blocks combined by the T12 step
  int tall_blocks;      // tall variant: blocks factored
};
// This thread's record; the host routine clears it at entry.
vrx_geqrf_trace* vrx_lapack_geqrf_trace();
