// The end of the LU paths that leave their last rows and columns to the caller: the
// corner past the last panel factored by the sequential recursion, then the
// interchanges of every later panel on the block columns left of it.
#pragma once
#include "lapack/vrx_lapack.h"

// Panels 1 to npan of width nb are factored and applied everywhere; the corner from row
// and column npan * nb on is left. Factors it (merging its info and pivots), then swaps
// the rows of block columns 1 to npan on t threads, a block column at a time. Returns 1
// when the progress hook asked to stop in the corner (the swaps are then not done).
template <typename T>
int vrx_lapack_getrf_corner(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int t, vrx_int nb,
                            vrx_int npan);
