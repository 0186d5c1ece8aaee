// The LU team path's pieces: the parallel panel and the team's unblocked kernel, run by
// all members of a panel team together.
#pragma once
#include "lapack/sched/vrx_team_sync.h"
#include "lapack/vrx_lapack.h"

// Rows of a panel are owned by members in whole units of this many rows, the same at
// every level of the panel's recursion, so that row-wise steps need no barrier between
// them.
constexpr vrx_int vrx_lapack_panel_row_unit = 16;

// Factors the rows by cols panel (leading dimension lda) with all `size` members of
// `team`; every member calls it with its rank. Pivots from 1 within the panel and info
// (first zero pivot, from 1, else 0) are written by rank 0 only. The progress hook is
// told `thread` and offset plus the columns finished. Returns non-zero, on every
// member, when the hook asked to stop.
template <typename T>
int vrx_lapack_getrf_panel_team(vrx_lapack_panel_team* team, int rank, int size, vrx_int rows, vrx_int cols, T* panel,
                                vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread, vrx_int offset);

// The team's unblocked kernel on a panel of few columns: each member owns rows
// [own_first, own_first + own_count); the pivot is the first largest |re| + |im| of the
// whole column. Rank 0 interchanges the rows and writes ipiv (from 1) and *info (first
// zero pivot, kept when already set).
template <typename T>
void vrx_lapack_getf2_team(vrx_lapack_panel_team* team, int rank, int size, vrx_int rows, vrx_int cols, T* a,
                           vrx_int lda, vrx_int* ipiv, vrx_int* info, vrx_int own_first, vrx_int own_count);

struct vrx_gemm_pack_handle;

// What the threads of the team path's region share.
template <typename T>
struct vrx_getrf_team_call {
  vrx_int m, n, lda;
  T* a;
  vrx_int* ipiv;
  vrx_int* info;  // changed inside the scheduler's critical section while the region runs
  vrx_int nb, nblk, npan, lanes;
  int team_size;                          // key 20
  vrx_lapack_team* teams;                 // one record per team
  vrx_int* state;                         // the task queue's, or in packed mode the strict scheduler's
  vrx_gemm_pack_handle** panel_handles;   // per block column: the handle holding panel j's L part
  vrx_gemm_pack_handle* lane_handles[2];  // packed mode: the handles that panels take in turn
  int strict;                             // the strict scheduler runs (packed mode at the start)
  vrx_int depth;                          // its look-ahead
  int packed;                             // packed mode; switched off when a handle can't be made
  int error;                              // a member was told to stop
  vrx_lapack_panel_team* first_team;      // the panel team of the first panel (all threads but one)
  // What the region did, for the trace.
  int region_threads;
  int team_count;
  vrx_int group, tail;
};

// The body of the team path's region: scheduler set-up, first panel, then every team's
// task loop. Called by each thread of the region.
template <typename T>
void vrx_lapack_getrf_team_worker(vrx_getrf_team_call<T>* call);
