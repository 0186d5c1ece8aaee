// The paths of the LU factorisation, generic over the element type. Each path takes the
// engine's arguments by value; `thread` and `offset` feed the progress hook (offset: the
// columns of the whole matrix finished before this part).
#pragma once
#include "lapack/vrx_lapack.h"

// The sequential recursion; returns 1 when the progress hook asked to stop (info is then
// as far as it got), 0 otherwise.
template <typename T>
int vrx_lapack_getrf_recursive(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread,
                               vrx_int offset);
// The recursion with thread 0 and offset 0; a stop becomes info = -1002.
template <typename T>
void vrx_lapack_getrf_seq(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info);
// The unblocked kernel through the kernel dispatcher, then the hook; returns the hook's stop.
template <typename T>
int vrx_lapack_getf2_leaf(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread,
                          vrx_int offset);
// The look-ahead path: checks m, n, lda (reported under "xGETRF"), forks per panel.
// Returns 1 on a stop.
template <typename T>
int vrx_lapack_getrf_lookahead(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread,
                               vrx_int offset);
// The queue path on t threads with block size nb. Returns -1 without touching anything
// when the scheduler state can't be allocated (the caller then takes the look-ahead
// path), else 0 with info set (-1002 after a stop).
template <typename T>
int vrx_lapack_getrf_queue(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int t, vrx_int nb);
// The team path on t threads (falls back to the look-ahead path by itself).
template <typename T>
void vrx_lapack_getrf_team(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int t);
// The host routine's path choice.
template <typename T>
void vrx_lapack_getrf_host(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info);

// Row interchanges on n columns with the engine's LASWP meaning, never forking.
template <typename T>
void vrx_lapack_laswp_sequential(vrx_int n, T* a, vrx_int lda, vrx_int k1, vrx_int k2, const vrx_int* ipiv,
                                 vrx_int incx);

// The engine's LASWP: the columns split among the LAPACK domain's threads when there are
// more than one, n > 128 and incx is 1; otherwise the in-place kernel.
template <typename T>
void vrx_lapack_laswp(vrx_int n, T* a, vrx_int lda, vrx_int k1, vrx_int k2, const vrx_int* ipiv, vrx_int incx);

// The unblocked factorisation (GETF2) through the kernel dispatcher, without argument
// checks or hook: pivots from 1 within this matrix; returns the first zero pivot's
// column (from 1), or 0.
template <typename T>
vrx_int vrx_lapack_getf2(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv);

// Brings columns [col, col + count) (from 0) up to date with the factored panel of width
// jb at row and column j: the panel's interchanges, the unit lower solve on its jb rows
// and the product on the rows below. sequential: the BLAS members that never fork
// (inside workers).
template <typename T>
void vrx_lapack_getrf_apply_panel(vrx_int m, T* a, vrx_int lda, const vrx_int* ipiv, vrx_int j, vrx_int jb,
                                  vrx_int col, vrx_int count, bool sequential);

// The published checks of m (position 1), n (2) and lda (4): a failure sets info to
// minus the position, is reported under the precision's name of `family` ("GETRF" gives
// "DGETRF" for double) and returns true.
template <typename T>
bool vrx_lapack_getrf_bad_arguments(const char* family, vrx_int m, vrx_int n, vrx_int lda, vrx_int* info);

// A part factored at row and column `start` reports to the whole: its pivots (count of
// them) move by `start`, and its first zero pivot becomes info unless one is set.
inline void vrx_lapack_getrf_merge(vrx_int* info, vrx_int part_info, vrx_int start, vrx_int* ipiv, vrx_int count) {
  if (*info == 0 && part_info > 0) *info = part_info + start;
  for (vrx_int i = 0; i < count; ++i) ipiv[i] += start;
}

// ---- what the last call on this thread did, for tests ----
enum : int {
  VRX_GETRF_PATH_NONE = 0,
  VRX_GETRF_PATH_SEQ = 1,        // sequential recursion
  VRX_GETRF_PATH_GETF2 = 2,      // unblocked kernel alone (NB <= 1 or >= min(m, n))
  VRX_GETRF_PATH_LOOKAHEAD = 3,
  VRX_GETRF_PATH_QUEUE = 4,
  VRX_GETRF_PATH_TEAM = 5,
  VRX_GETRF_PATH_TALL = 6,       // team path's tall-and-thin branch
};
struct vrx_getrf_trace {
  int path;             // the path that did the work (after any fallback)
  int threads;          // t of the host routine
  vrx_int nb;           // block size of the parallel path
  int fallback;         // 1: a failed allocation sent the call to the look-ahead path
  int region_threads;   // threads the last worker region actually ran with
  int teams;            // team path: number of teams
  int team_size;        // team path: key 20
  int packed;           // team path: 1 when packed mode stayed on to the end
  int tall_threads;     // tall branch: threads after the caps
  vrx_int group;        // queue/team path: key 17 as stored
  vrx_int tail;         // queue/team path: key 18 as stored
  int lookahead_forks;  // look-ahead path: regions forked for panels
  int lookahead_inside; // look-ahead path: panels factored by thread 0 inside a region
};
// This thread's record; the host routine clears it at entry.
vrx_getrf_trace* vrx_lapack_getrf_trace();
