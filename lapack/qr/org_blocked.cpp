// The generator of Q by blocks. The reflectors past the last whole block (or before the
// first, for QL) are generated unblocked; then each block, working toward the first
// reflector (toward the last for QL), is turned into a block reflector, applied to the
// part of Q already generated beside it, and generated itself unblocked. With several
// threads the application is shared out in even slices of that part, and the zeroing of
// the part beside the unblocked leaf runs as a parallel loop; the factor and the
// unblocked steps stay on the calling thread.
#include <omp.h>

#include <algorithm>

#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_orthogonal.h"
#include "lapack/sched/vrx_team_sync.h"

namespace {
template <vrx_org_kind kind, typename T>
struct generator {
  vrx_int m, n, k;
  T* a;
  vrx_int lda;
  const T* tau;
  T* work;
  vrx_int ldwork;  // n for columns, m for rows: the factor in work's first rows, slices below
  int t;
  T* at(vrx_int i, vrx_int j) const { return a + i + j * lda; }
};

// Rows r0..r1-1 of columns c0..c1-1 set to zero, the columns shared among `t` threads.
template <vrx_org_kind kind, typename T>
void zero(const generator<kind, T>& g, vrx_int r0, vrx_int r1, vrx_int c0, vrx_int c1, int t) {
  if (r1 <= r0 || c1 <= c0) return;
#pragma omp parallel for num_threads(t) schedule(static) if (t > 1)
  for (vrx_int j = c0; j < c1; ++j)
    for (vrx_int i = r0; i < r1; ++i) *g.at(i, j) = T{};
}

// The unblocked generator of `kind` on an m by n part at a holding k reflectors.
template <vrx_org_kind kind, typename T>
void unblocked(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work) {
  if constexpr (kind == vrx_org_qr) vrx_lapack_org2r(m, n, k, a, lda, tau, work);
  else if constexpr (kind == vrx_org_lq) vrx_lapack_orgl2(m, n, k, a, lda, tau, work);
  else vrx_lapack_org2l(m, n, k, a, lda, tau, work);
}

// Where block i (reflectors i .. i + ib - 1) lies: its reflectors start at row and column
// `origin` (QR, LQ) or column `origin` from the top (QL); `length` is the order of its
// block reflector and `beside` the count of columns (QR, QL) or rows (LQ) of Q it is
// applied to.
struct block_place {
  vrx_int origin, length, beside;
};
template <vrx_org_kind kind, typename T>
block_place place_of(const generator<kind, T>& g, vrx_int i, vrx_int ib) {
  if constexpr (kind == vrx_org_qr) return {i, g.m - i, g.n - i - ib};
  else if constexpr (kind == vrx_org_lq) return {i, g.n - i, g.m - i - ib};
  else return {g.n - g.k + i, g.m - g.k + i + ib, g.n - g.k + i};
}

template <vrx_org_kind kind, typename T>
const T* reflectors_of(const generator<kind, T>& g, const block_place& b) {
  return kind == vrx_org_ql ? g.at(0, b.origin) : g.at(b.origin, b.origin);
}

// The block's factor into the first ib rows of work.
template <vrx_org_kind kind, typename T>
void factor(const generator<kind, T>& g, const block_place& b, vrx_int i, vrx_int ib) {
  const char* direct = kind == vrx_org_ql ? "Backward" : "Forward";
  const char* storev = kind == vrx_org_lq ? "Rowwise" : "Columnwise";
  vrx_lapack_larft(direct, storev, b.length, ib, reflectors_of(g, b), g.lda, g.tau + i, g.work, g.ldwork);
}

// The block applied to `count` of the columns (rows for LQ) beside it from `first` on,
// with the rows first + ib .. of work as its scratch.
template <vrx_org_kind kind, typename T>
void apply(const generator<kind, T>& g, const block_place& b, vrx_int ib, vrx_int first, vrx_int count,
           bool sequential) {
  if (count <= 0) return;
  const T* v = reflectors_of(g, b);
  T* scratch = g.work + ib + first;
  if constexpr (kind == vrx_org_qr) {
    vrx_lapack_larfb("Left", "No transpose", "Forward", "Columnwise", b.length, count, ib, v, g.lda, g.work,
                     g.ldwork, g.at(b.origin, b.origin + ib + first), g.lda, scratch, g.ldwork, sequential);
  } else if constexpr (kind == vrx_org_lq) {
    const char adjoint[2] = {vrx_traits<T>::adjoint, '\0'};
    vrx_lapack_larfb("Right", adjoint, "Forward", "Rowwise", count, b.length, ib, v, g.lda, g.work, g.ldwork,
                     g.at(b.origin + ib + first, b.origin), g.lda, scratch, g.ldwork, sequential);
  } else {
    vrx_lapack_larfb("Left", "No transpose", "Backward", "Columnwise", b.length, count, ib, v, g.lda, g.work,
                     g.ldwork, g.at(0, first), g.lda, scratch, g.ldwork, sequential);
  }
}

// The block generated unblocked, and the part of its columns (rows) outside the block's
// reflectors cleared.
template <vrx_org_kind kind, typename T>
void generate_block(const generator<kind, T>& g, const block_place& b, vrx_int i, vrx_int ib) {
  if constexpr (kind == vrx_org_qr) {
    unblocked<kind>(b.length, ib, ib, g.at(i, i), g.lda, g.tau + i, g.work);
    zero(g, 0, i, i, i + ib, 1);
  } else if constexpr (kind == vrx_org_lq) {
    unblocked<kind>(ib, b.length, ib, g.at(i, i), g.lda, g.tau + i, g.work);
    zero(g, i, i + ib, 0, i, 1);
  } else {
    unblocked<kind>(b.length, ib, ib, g.at(0, b.origin), g.lda, g.tau + i, g.work);
    zero(g, b.length, g.m, b.origin, b.origin + ib, 1);
  }
}

template <vrx_org_kind kind, typename T>
void run_block(const generator<kind, T>& g, vrx_int i, vrx_int nb) {
  const vrx_int ib = std::min(nb, g.k - i);
  const block_place b = place_of(g, i, ib);
  if (b.beside > 0) {
    factor(g, b, i, ib);
    if (g.t > 1) {
#pragma omp parallel num_threads(g.t)
      {
        vrx_int first = 0, count = 0;
        vrx_lapack_split(b.beside, omp_get_num_threads(), omp_get_thread_num(), &first, &count);
        apply(g, b, ib, first, count, true);
      }
    } else {
      apply(g, b, ib, 0, b.beside, false);
    }
  }
  generate_block(g, b, i, ib);
}
}  // namespace

template <vrx_org_kind kind, typename T>
void vrx_lapack_org_blocked(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int nb,
                            vrx_int nx, int t) {
  vrx_orthogonal_trace* trace = vrx_lapack_orthogonal_trace();
  if (nb < 1 || nb >= k || nx >= k) {
    trace->path = VRX_ORTHOGONAL_PATH_UNBLOCKED;
    unblocked<kind>(m, n, k, a, lda, tau, work);
    return;
  }
  trace->path = t > 1 ? VRX_ORTHOGONAL_PATH_THREADED : VRX_ORTHOGONAL_PATH_BLOCKED;
  trace->nb = nb;
  const generator<kind, T> g = {m, n, k, a, lda, tau, work, kind == vrx_org_lq ? m : n, t};
  if constexpr (kind == vrx_org_ql) {
    // Blocks of nb at the end of the reflectors, the first k - kk generated unblocked.
    const vrx_int kk = std::min(k, (k - nx + nb - 1) / nb * nb);
    zero(g, m - kk, m, 0, n - kk, t);
    unblocked<kind>(m - kk, n - kk, k - kk, a, lda, tau, work);
    for (vrx_int i = k - kk; i < k; i += nb) run_block(g, i, nb);
  } else {
    // Blocks of nb from the first reflector, the ones past kk generated unblocked.
    const vrx_int last = (k - nx - 1) / nb * nb, kk = std::min(k, last + nb);
    if constexpr (kind == vrx_org_qr) zero(g, 0, kk, kk, n, t);
    else zero(g, kk, m, 0, kk, t);
    if (kk < (kind == vrx_org_qr ? n : m)) unblocked<kind>(m - kk, n - kk, k - kk, g.at(kk, kk), lda, tau + kk, work);
    for (vrx_int i = last; i >= 0; i -= nb) run_block(g, i, nb);
  }
}

#define VRX_ORG_BLOCKED_INSTANCE(kind, T)                                                                  \
  template void vrx_lapack_org_blocked<kind, T>(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*, vrx_int, \
                                                vrx_int, int);
#define VRX_ORG_BLOCKED_KINDS(T)           \
  VRX_ORG_BLOCKED_INSTANCE(vrx_org_qr, T) \
  VRX_ORG_BLOCKED_INSTANCE(vrx_org_lq, T) \
  VRX_ORG_BLOCKED_INSTANCE(vrx_org_ql, T)
VRX_ORG_BLOCKED_KINDS(float)
VRX_ORG_BLOCKED_KINDS(double)
VRX_ORG_BLOCKED_KINDS(vrx_complex_float)
VRX_ORG_BLOCKED_KINDS(vrx_complex_double)
