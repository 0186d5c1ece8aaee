// The plane-rotation engine of the tridiagonal and bidiagonal QR iterations: batches of
// rotation sequences gathered over several sweeps, applied to a matrix at once, threaded
// by slices that the rotations never couple.
//
// A sequence of k - 1 rotations acts on the k columns (side "R") or rows (side "L") of
// the target, as the published DLASR defines it: rotation j (from 0) with c[j], s[j]
// turns the pair of lines (x, y) into (c x + s y, c y - s x), where the pair is (j, j + 1)
// for pivot "V", (0, j + 1) for pivot "T" and (j, k - 1) for pivot "B"; direct "F"
// applies j = 0 first, "B" j = k - 2 first. A rotation with c = 1 and s = 0 is skipped.
// A batch is `sweeps` such sequences applied one after the other, sequence i at
// c + i ldcs, s + i ldcs.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// The batch on the m by n matrix a, threaded over the rows (side "R") or columns ("L")
// when the LAPACK domain has several threads and both dimensions pass their crossovers.
template <typename T>
void vrx_lapack_rotations_apply(const char* side, const char* pivot, const char* direct, vrx_int m, vrx_int n,
                                const vrx_real_t<T>* c, const vrx_real_t<T>* s, T* a, vrx_int lda,
                                vrx_int sweeps = 1, vrx_int ldcs = 0);

// The same on the calling thread only: strips of the rows (side "R") or columns ("L"),
// within each strip the sweeps of pivot "V" in wavefront order.
template <typename T>
void vrx_lapack_rotation_kernel(const char* side, const char* pivot, const char* direct, vrx_int m, vrx_int n,
                                const vrx_real_t<T>* c, const vrx_real_t<T>* s, T* a, vrx_int lda,
                                vrx_int sweeps = 1, vrx_int ldcs = 0);

// How many sweeps of a tridiagonal (name "xSTEQR") or bidiagonal ("xBDSQR") iteration of
// order n are gathered before an apply, for `threads` threads. Key 1 the batch, key 2 the
// smallest batch worth gathering (below it every sweep is applied at once), others -1;
// keys 1 and 2 answer 1 for a name without a precision letter.
vrx_int vrx_lapack_rotation_batch(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n,
                                  const vrx_int* threads);
