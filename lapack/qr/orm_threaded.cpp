// The product with Q on a team of threads. The triangular factors of all blocks are built
// first, shared out one block at a time; then C is cut into even shares of columns (side
// L) or rows (side R), and each thread applies every block to its own share in the order
// the sequential product uses, in pieces of at most 256 with a work block of its own.
// The shares are disjoint, so the threads never meet after the factors are done.
#include <omp.h>

#include <algorithm>

#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_orthogonal.h"
#include "lapack/sched/vrx_team_sync.h"

namespace {
// Columns (side L) or rows (side R) of C a thread applies the blocks to at a time: the
// leading dimension of its work block.
constexpr vrx_int piece = 256;
}  // namespace

vrx_int vrx_lapack_orm_threaded_size(vrx_int k, vrx_int nb, int t) { return (k + piece * t) * nb; }

template <typename T>
void vrx_lapack_orm_threaded(const vrx_orm_problem& p, const T* a, vrx_int lda, const T* tau, T* c, vrx_int ldc,
                             T* work, vrx_int nb, int t) {
  vrx_orthogonal_trace* trace = vrx_lapack_orthogonal_trace();
  trace->path = VRX_ORTHOGONAL_PATH_THREADED;
  trace->nb = nb;
  const vrx_int m = p.m, n = p.n, k = p.k, nq = p.left ? m : n;
  const vrx_int blocks = (k + nb - 1) / nb;
  const char* side = p.left ? "Left" : "Right";
  const char* storev = p.rowwise ? "Rowwise" : "Columnwise";
  const char block_op[2] = {vrx_orm_block_op<T>(p), '\0'};
  const bool forward = vrx_orm_forward(p);
  // Block b's factor sits in columns b nb .. b nb + ib - 1 of an nb by k array.
  T* factors = work;
  T* pieces = work + k * nb;

#pragma omp parallel num_threads(t)
  {
#pragma omp for schedule(dynamic, 1)
    for (vrx_int b = 0; b < blocks; ++b) {
      const vrx_int i = b * nb;
      vrx_lapack_larft("Forward", storev, nq - i, std::min(nb, k - i), a + i + i * lda, lda, tau + i,
                       factors + i * nb, nb);
    }
    const int me = omp_get_thread_num();
    vrx_int first = 0, count = 0;
    vrx_lapack_split(p.left ? n : m, omp_get_num_threads(), me, &first, &count);
    T* own = pieces + me * piece * nb;
    for (vrx_int at = first; at < first + count; at += piece) {
      const vrx_int width = std::min(piece, first + count - at);
      for (vrx_int step = 0; step < blocks; ++step) {
        const vrx_int i = (forward ? step : blocks - 1 - step) * nb, ib = std::min(nb, k - i);
        const T* v = a + i + i * lda;
        if (p.left)
          vrx_lapack_larfb(side, block_op, "Forward", storev, m - i, width, ib, v, lda, factors + i * nb, nb,
                           c + i + at * ldc, ldc, own, piece, true);
        else
          vrx_lapack_larfb(side, block_op, "Forward", storev, width, n - i, ib, v, lda, factors + i * nb, nb,
                           c + at + i * ldc, ldc, own, piece, true);
      }
    }
  }
}

#define VRX_ORM_THREADED_INSTANCE(T)                                                                      \
  template void vrx_lapack_orm_threaded<T>(const vrx_orm_problem&, const T*, vrx_int, const T*, T*, vrx_int, T*, \
                                           vrx_int, int);
VRX_ORM_THREADED_INSTANCE(float)
VRX_ORM_THREADED_INSTANCE(double)
VRX_ORM_THREADED_INSTANCE(vrx_complex_float)
VRX_ORM_THREADED_INSTANCE(vrx_complex_double)
