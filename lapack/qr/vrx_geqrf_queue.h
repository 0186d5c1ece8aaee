// The column queue of the threaded QR: block columns brought up to date panel by panel
// by the threads of one region, each column held by one thread at a time, and the next
// panel factored by the thread that gave its column the last update.
//
// status[j], j = 1 to nblk (status[nblk + 1] = 0 ends the array): the number of panels
// applied to block column j plus 1, -1 while a thread holds it. `factored`: panels
// finished. `scan_level`: the lowest panel that may still have columns to update. All
// three change only inside the scheduler's named critical section.
#pragma once
#include "lapack/qr/vrx_geqrf.h"

// One claim: apply panel `panel` to block columns first..first + count - 1, and when
// `factor` is set, factor panel `panel` + 1 afterwards (its column is `first`).
struct vrx_geqrf_claim {
  vrx_int panel;
  vrx_int first;
  vrx_int count;
  int factor;
};

struct vrx_geqrf_queue_words {
  vrx_int* status;
  vrx_int nblk, npan, chunk;
  vrx_int factored;
  vrx_int scan_level;
};

enum : int {
  VRX_GEQRF_CLAIM_FINISHED = -1,  // no panel left to apply: the thread ends
  VRX_GEQRF_CLAIM_WAIT = 0,       // nothing open: wait until `factored` or `scan_level` moves
  VRX_GEQRF_CLAIM_TASK = 1,
};

// Reports `done` (count 0: nothing) and chooses the next claim for thread `tid` of
// `threads`, `last_col` being the last block column it worked on (0: none). Called
// inside the critical section.
int vrx_lapack_geqrf_choose(vrx_geqrf_queue_words* q, int tid, int threads, vrx_int last_col,
                            const vrx_geqrf_claim* done, vrx_geqrf_claim* next);

// What the worker region shares.
template <typename T>
struct vrx_geqrf_queue_region {
  vrx_int m, n, lda, nb, k;
  T* a;
  T* tau;
  T* factors;      // T of panel p at (p - 1) nb nb, leading dimension nb
  T* update_work;  // per thread chunk nb by nb elements for the block reflector
  T* panel_work;   // per thread chunk nb elements for LAQRF, or null
  vrx_geqrf_queue_words words;
  int stop;             // set by a thread whose panel was stopped by the progress hook
  int region_threads;   // threads the region ran with
  int panels_by_workers;
};

// Body of the worker region: claims until no panel is left or a thread was stopped.
template <typename T>
void vrx_lapack_geqrf_worker(vrx_geqrf_queue_region<T>* region);
