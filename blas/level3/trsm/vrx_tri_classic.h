// The classic threaded road of the triangular solve and product (CPU types 0, 2, 3 and
// 4): the thread model, then a fork over the right-hand sides in which every thread runs
// the sequential kernel of the family on its slice of B.
#pragma once
#include "blas/level3/trsm/vrx_triangular.h"

// kind: VRX_L3_TRSM or VRX_L3_TRMM; `sequential` the family's sequential dispatcher.
template <typename T>
void vrx_tri_classic(std::uint32_t kind, vrx_trsm_fn<T> sequential, const char* side, const char* uplo,
                     const char* transa, const char* diag, const vrx_int* m, const vrx_int* n, const T* alpha,
                     const T* a, const vrx_int* lda, T* b, const vrx_int* ldb);

// For tests: what the calling thread's last call of the road decided.
struct vrx_tri_classic_trace {
  std::uint32_t kind;
  int planned;   // threads of the model; 1: the call ran sequentially
  int team;      // threads the runtime delivered
  vrx_int unit;  // slices are multiples of this (4 from m = 513), but the last
};
vrx_tri_classic_trace vrx_tri_classic_last_trace();
