// Rank-k and rank-2k updates of one triangle of C (SYRK, HERK, SYR2K, HER2K): the
// problem record shared by the entry, the classic front, the sequential pass and the
// team worker, and the walk that cuts a band of columns of the triangle into diagonal
// tiles and rectangles.
#pragma once
#include "blas/vrx_blas.h"
#include "blas/vrx_l3.h"
#include "service/vrx_traits.h"

// C := alpha op(A) op(B)^T + alpha2 op(B) op(A)^T + beta C on the stored triangle
// (second product only for the rank-2k forms; B is A for the rank-k forms). op(X) is
// n by k; `first` and `second` are the GEMM characters of op(X) and of op(Y)^T.
template <typename T>
struct vrx_syrk_problem {
  bool lower;
  bool transposed;  // op(X) = X^T or X^H
  bool hermitian;   // HERK, HER2K: real diagonal
  bool two;         // SYR2K, HER2K
  char first;
  char second;
  vrx_int n;
  vrx_int k;
  T alpha;
  T alpha2;
  const T* a;
  vrx_int lda;
  const T* b;
  vrx_int ldb;
  T beta;
  T* c;
  vrx_int ldc;
};

// The problem of the published arguments. `hermitian` picks the conjugating forms;
// a real SYRK reads 'C' as 'T'.
template <typename T>
vrx_syrk_problem<T> vrx_syrk_make_problem(bool hermitian, bool two, const char* uplo, const char* trans, vrx_int n,
                                          vrx_int k, T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb,
                                          T beta, T* c, vrx_int ldc);

// Row i of op(X) (X stored with leading dimension ld) as the first element of a block.
template <typename T>
inline const T* vrx_syrk_rows(const vrx_syrk_problem<T>* p, const T* x, vrx_int ld, vrx_int i) {
  return p->transposed ? x + i * ld : x + i;
}

// Cuts the columns [c0, c1) of the triangle of order n into diagonal tiles of at most
// `tile` columns and rectangles, each element of the stored triangle in exactly one
// piece: visit.rect(i0, j0, m, n) and visit.diagonal(j0, d). Halving keeps the
// rectangles large; the band's rectangle off the diagonal block comes first.
template <typename Visit>
void vrx_syrk_walk_diagonal(bool lower, vrx_int j0, vrx_int j1, vrx_int tile, Visit& visit) {
  const vrx_int width = j1 - j0;
  if (width <= tile) {
    if (width > 0) visit.diagonal(j0, width);
    return;
  }
  const vrx_int tiles = (width + tile - 1) / tile;
  const vrx_int mid = j0 + tiles / 2 * tile;
  vrx_syrk_walk_diagonal(lower, j0, mid, tile, visit);
  if (lower) visit.rect(mid, j0, j1 - mid, mid - j0);
  else visit.rect(j0, mid, mid - j0, j1 - mid);
  vrx_syrk_walk_diagonal(lower, mid, j1, tile, visit);
}
template <typename Visit>
void vrx_syrk_walk_band(bool lower, vrx_int n, vrx_int c0, vrx_int c1, vrx_int tile, Visit& visit) {
  if (c1 <= c0) return;
  if (lower && c1 < n) visit.rect(c1, c0, n - c1, c1 - c0);
  if (!lower && c0 > 0) visit.rect(0, c0, c0, c1 - c0);
  vrx_syrk_walk_diagonal(lower, c0, c1, tile, visit);
}

// Column bands of a triangle of order n for `parts` threads, of about equal area,
// starting and ending on multiples of `align` (except the last end, n).
vrx_int vrx_syrk_band_start(bool lower, vrx_int n, int parts, int index, vrx_int align);

// The sequential pass on columns [c0, c1): rectangles through `gemm`, diagonal tiles
// through the copy buffer `tile_buffer` (tile by tile elements) when there is one, else
// by the unpacked kernel.
template <typename T>
void vrx_syrk_band(const vrx_syrk_problem<T>* p, vrx_gemm_fn<T> gemm, vrx_int c0, vrx_int c1, vrx_int tile,
                   T* tile_buffer);
// Rows i0.. (m) by columns j0.. (n) of the product (both products for the rank-2k
// forms) into out (leading dimension ldo) with `beta`, through `gemm`.
template <typename T>
void vrx_syrk_gemm_block(const vrx_syrk_problem<T>* p, vrx_gemm_fn<T> gemm, vrx_int i0, vrx_int j0, vrx_int m,
                         vrx_int n, T beta, T* out, vrx_int ldo);
// The band [c0, c1) of the sequential pass with a copy buffer of its own, beta included.
template <typename T>
void vrx_syrk_sequential_band(const vrx_syrk_problem<T>* p, vrx_int c0, vrx_int c1);
// The unpacked kernel on a square diagonal block of order d at (j0, j0): beta on its
// triangle, then the products, reading A and B where they lie.
template <typename T>
void vrx_syrk_unpacked_diagonal(const vrx_syrk_problem<T>* p, vrx_int j0, vrx_int d, T beta);
// Adds the triangle of the tile w (d by d, leading dimension d) into C at (j0, j0)
// after beta on that triangle.
template <typename T>
void vrx_syrk_add_tile(const vrx_syrk_problem<T>* p, vrx_int j0, vrx_int d, const T* w, T beta);

// The sequential pass of the whole problem (the "DSYRK" copy buffer, beta first).
template <typename T>
void vrx_syrk_sequential_pass(const vrx_syrk_problem<T>* p);
// The classic front of CPU types 0 to 4 with t threads of domain 1.
template <typename T>
void vrx_syrk_classic(const vrx_syrk_problem<T>* p, int t);
// The team road of CPU types 5 and 7 with t threads; answers 0 when it did not run.
template <typename T>
int vrx_syrk_team_road(const vrx_syrk_problem<T>* p, int t);
// The sequential pass of CPU types 5 and 7: the team worker's walk in one thread,
// through the level-3 driver; answers 0 when the CPU type has no level-3 kernels.
template <typename T>
int vrx_syrk_driver_pass(const vrx_syrk_problem<T>* p);
// The whole entry after the argument words were read.
template <typename T>
void vrx_syrk_entry(const vrx_syrk_problem<T>* p);
// The sequential entry (never forks).
template <typename T>
void vrx_syrk_sequential(const vrx_syrk_problem<T>* p);

// ---- for tests: which road the calling thread's last call took ----
enum : int {
  VRX_SYRK_NOTHING = 0,        // quick return
  VRX_SYRK_SEQUENTIAL = 1,     // the sequential entry
  VRX_SYRK_TEAM = 2,           // the team fork through the level-3 driver
  VRX_SYRK_REPRODUCIBLE = 3,   // diagonal blocks in a fork, the rest by GEMM calls
  VRX_SYRK_ORDER_FOUR = 4,     // the kernel of n = 4
  VRX_SYRK_K_SPLIT = 5,        // k cut among threads, private results summed
  VRX_SYRK_SMALL_N = 6,        // the small-n kernel in one thread
  VRX_SYRK_TILES = 7,          // a fork over whole tiles of the triangle
};
struct vrx_syrk_trace {
  int road;
  int threads;          // threads asked for (1 on the sequential roads)
  int copy_buffer;      // the sequential pass had its copy buffer (-1: not run)
  int workspace;        // the k split had its workspace, the team worker its shared buffer (-1: not asked)
};
vrx_syrk_trace vrx_syrk_last_trace();
void vrx_syrk_note(int road, int threads);
void vrx_syrk_note_copy_buffer(int had);
void vrx_syrk_note_workspace(int had);
