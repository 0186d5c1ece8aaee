// The paths of the Cholesky factorisation, generic over the element type. `upper`
// selects A = U^H U (true) or A = L L^H; `thread` and `offset` feed the progress hook
// (offset: the columns of the whole matrix finished before this part).
#pragma once
#include "lapack/vrx_lapack.h"

// The sequential left-looking routine; returns 1 when the progress hook asked to stop,
// else 0 with info as published.
template <typename T>
int vrx_lapack_potrf_recursive(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info, int thread, vrx_int offset);
// The recursion with thread 0 and offset 0; a stop becomes info = -1002.
template <typename T>
void vrx_lapack_potrf_seq(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info);
// The unblocked factorisation (POTF2) through the kernel dispatcher, without checks or
// hook; returns info.
template <typename T>
vrx_int vrx_lapack_potf2(bool upper, vrx_int n, T* a, vrx_int lda);
// The small kernel of `uplo` through its dispatcher slot (the host routine's path below
// the crossover).
template <typename T>
void vrx_lapack_potrf_small(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info);
// The host routine's path choice (the tile path on several threads).
template <typename T>
void vrx_lapack_potrf_host(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info);

// ---- the block operations shared by the recursion and the tile workers ----
// Blocks are named by the upper triangle: the target block has rows r0.. and columns
// c0.. of U (of L^H for lower), and the update runs over rows k0..k0 + depth of U.
// sequential: the BLAS members that never fork (inside workers).
template <typename T>
struct vrx_potrf_blocks {
  bool upper;
  T* a;
  vrx_int lda;
  bool sequential;
};
// Diagonal block of order h at r0: minus the product of the depth rows above it (SYRK
// for real data, HERK for complex).
template <typename T>
void vrx_lapack_potrf_diag_update(const vrx_potrf_blocks<T>& b, vrx_int r0, vrx_int h, vrx_int k0, vrx_int depth);
// Off-diagonal block hr by hc at (r0, c0): minus the product of the depth rows above
// its row and column blocks (GEMM).
template <typename T>
void vrx_lapack_potrf_off_update(const vrx_potrf_blocks<T>& b, vrx_int r0, vrx_int hr, vrx_int c0, vrx_int hc,
                                 vrx_int k0, vrx_int depth);
// Off-diagonal block hr by hc at (r0, c0) solved with the factored diagonal block at r0
// (TRSM).
template <typename T>
void vrx_lapack_potrf_off_solve(const vrx_potrf_blocks<T>& b, vrx_int r0, vrx_int hr, vrx_int c0, vrx_int hc);

// ---- the tile path ----
// The tile table: words of vrx_int, then next_step of tile (i, j), 1 <= i <= j <= tiles,
// packed by rows. next_step k > 0: update k is due; 0: finished; -k: held by a worker.
enum : int {
  VRX_POTRF_TILES = 0,
  VRX_POTRF_FINISHED = 1,
  VRX_POTRF_FIRST_ROW = 2,
  VRX_POTRF_SUPER = 3,
  VRX_POTRF_THREADS = 5,
  VRX_POTRF_STEPS = 6,
};
inline vrx_int vrx_potrf_table_words(vrx_int tiles) { return tiles * (tiles + 1) / 2 + VRX_POTRF_STEPS; }
inline vrx_int* vrx_potrf_step(vrx_int* table, vrx_int i, vrx_int j) {
  const vrx_int tiles = table[VRX_POTRF_TILES];
  return table + VRX_POTRF_STEPS - 1 + (i - 1) * (2 * tiles - i) / 2 + j;
}

// A worker's task: tile row i, column j (from 1), the step it runs (-1: nothing found)
// and its edge in tiles.
struct vrx_potrf_task {
  vrx_int i, j, step, size;
};

// Fills the table: super-tile edge, every tile at step 1.
void vrx_lapack_potrf_table_init(vrx_int* table, vrx_int tiles, vrx_int super, vrx_int threads);
// Edge in tiles of a task at step k (the super-tiles halve as the steps go on).
vrx_int vrx_lapack_potrf_task_size(const vrx_int* table, vrx_int k);
// Whether tile (i, j) with next_step k > 0 may run.
bool vrx_lapack_potrf_ready(vrx_int* table, vrx_int i, vrx_int j, vrx_int k);
// Replaces the worker's finished task with the next one and claims it; the caller holds
// the scheduler's critical section. step -1: nothing ready (finished set when nothing is
// left at all).
void vrx_lapack_potrf_fetch(vrx_int* table, vrx_potrf_task* task);
// The task done: its tiles take the next step (0 once past their own row). Outside the
// critical section; the square's top-left tile is written last.
void vrx_lapack_potrf_task_done(vrx_int* table, vrx_potrf_task* task);

// What the forked workers share.
template <typename T>
struct vrx_potrf_region {
  bool upper;
  vrx_int n, lda, b;
  T* a;
  vrx_int* table;
  vrx_int* info;
  int error;              // set by a worker whose factorisation was stopped
  int region_threads;     // threads the region ran with
  vrx_int tasks_by_size;  // bit log2(size) set for every size a task ran at
  vrx_int tasks;          // tasks run
};
// The body of every thread of the region.
template <typename T>
void vrx_lapack_potrf_worker(vrx_potrf_region<T>* region);

// ---- what the last call on this thread did, for tests ----
enum : int {
  VRX_POTRF_PATH_NONE = 0,
  VRX_POTRF_PATH_SMALL = 1,  // small kernel (order below the crossover)
  VRX_POTRF_PATH_SEQ = 2,    // sequential routine
  VRX_POTRF_PATH_TILES = 3,  // tile path with workers
};
struct vrx_potrf_trace {
  int path;                // path of the outermost call
  int threads;             // t of the outermost call
  vrx_int b, lim, tiles;   // tile edge, largest super-tile in elements, tiles per side
  vrx_int super;           // super-tile edge in tiles
  int fallback;            // 1: the table could not be had
  int region_threads;      // threads the worker region ran with
  vrx_int tasks_by_size;   // bit log2(size) for every task size that ran
  vrx_int tasks;           // tasks the workers ran
  vrx_int leading_path;    // path taken by the leading block
};
vrx_potrf_trace* vrx_lapack_potrf_trace();

// The published unblocked routines, with their checks of uplo, n and lda.
extern "C" {
vrx_potrf_fn_type<float> SPOTF2;
vrx_potrf_fn_type<double> DPOTF2;
vrx_potrf_fn_type<vrx_complex_float> CPOTF2;
vrx_potrf_fn_type<vrx_complex_double> ZPOTF2;
}
