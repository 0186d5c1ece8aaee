// The pieces of the two-stage reduction: the sequential band-to-tridiagonal sweeps and
// the workspace sizes that the band routines and the driver share.
//
// Band storage (ldab >= 2 kd): lower, A(p, q) for p >= q at ab[(p - q) + q ldab];
// upper, A(p, q) for p <= q at ab[(2 kd - 1 + p - q) + q ldab]. The rows beyond the kd
// + 1 of the band hold the bulges while they are chased. In both forms A(p, q) sits at
// view[p + q (ldab - 1)] with view = ab (lower) or ab + 2 kd - 1 (upper), so the band
// is an ordinary column-major matrix of leading dimension ldab - 1.
#pragma once
#include "lapack/syev/vrx_sytrd.h"

// Room the stored reflectors' blocked application to Q asks for.
inline vrx_int vrx_band_q_workspace(vrx_int n, vrx_int kd) { return 2 * ((kd + 2) * n + 5 * kd * (n + kd)); }

// Elements of work the sequential sweeps use: a reflector and a vector of the band's
// width, or of n when each reflector is applied to Q at once.
inline vrx_int vrx_band_sweep_workspace(vrx_int n, vrx_int kd, bool vectors) {
  const vrx_int width = kd < n - 1 ? kd : (n > 1 ? n - 1 : 1);
  const vrx_int wide = vectors && n > width ? n : width;
  return width + wide;
}

// The sweeps one after the other, arguments checked already: d, e filled, and with q
// non-null q := q H for every reflector H in the order made. work of
// vrx_band_sweep_workspace(n, kd, q != nullptr) elements.
template <typename T>
void vrx_lapack_sbrdb_seq(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab, vrx_real_t<T>* d,
                          vrx_real_t<T>* e, T* q, vrx_int ldq, T* work);

// The rows beyond the band cleared (the sweeps take them as zeros).
template <typename T>
void vrx_lapack_sbrdb_clear(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab);
// Sweep i alone (pos null), or beside others: before each step it waits until sweep
// i - 1 has left the rows the step touches (pos[i - 1] at least its last row + 1), and
// after it stores in pos[i] the first row it can still touch (n at the end). d[i], e[i]
// are final when it ends.
template <typename T>
void vrx_lapack_sbrdb_sweep(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab, vrx_real_t<T>* d,
                            vrx_real_t<T>* e, T* q, vrx_int ldq, T* work, vrx_int i, vrx_int* pos);

// The sweeps on `threads` threads (lower storage): 0 done, -100 when its tables cannot be
// had (nothing touched), 1 when its scratch cannot be had (nothing touched either; the
// caller runs the sequential form).
template <typename T>
int vrx_lapack_sbrdb_parallel(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab, vrx_real_t<T>* d,
                              vrx_real_t<T>* e, T* q, vrx_int ldq, int threads);

// What the last SBRDB call of this thread did, for tests: the threads its sweeps had side
// by side (0: the sequential form ran).
struct vrx_sbrdb_trace {
  int region_threads;
};
vrx_sbrdb_trace* vrx_lapack_sbrdb_trace();
