// Row interchanges (LASWP): the in-place kernel and the threaded form that splits the
// columns among the threads of the LAPACK domain.
#include <omp.h>

#include "lapack/lu/vrx_getrf.h"
#include "lapack/sched/vrx_team_sync.h"
#include "service/vrx_serv.h"

namespace {
// Columns per block: the rows touched by a run of swaps stay in cache across the block.
constexpr vrx_int swap_block_columns = 32;
// Columns of the threaded form: more than this, and unit increment.
constexpr vrx_int threaded_min_columns = 128;

template <typename T>
inline void swap_rows(T* col, vrx_int count, vrx_int lda, vrx_int r1, vrx_int r2) {
  if (r1 == r2) return;
  for (vrx_int c = 0; c < count; ++c) {
    T* x = col + c * lda;
    const T t = x[r1];
    x[r1] = x[r2];
    x[r2] = t;
  }
}
}  // namespace

// Row i (from 1) is exchanged with row ipiv(k1 + (i - k1) |incx|) for i from k1 to k2,
// or from k2 down to k1 with a negative incx; a block of columns at a time and four
// pivots at a time within the block.
template <typename T>
void vrx_lapack_laswp_sequential(vrx_int n, T* a, vrx_int lda, vrx_int k1, vrx_int k2, const vrx_int* ipiv,
                                 vrx_int incx) {
  if (incx == 0 || n <= 0 || k2 < k1) return;
  const vrx_int count = k2 - k1 + 1;
  // Row (from 0) and pivot (from 0) of the s-th swap in the order they are applied.
  const vrx_int step = incx > 0 ? 1 : -1;
  const vrx_int first_row = incx > 0 ? k1 - 1 : k2 - 1;
  const vrx_int first_ix = k1 - 1 + (incx > 0 ? 0 : (k2 - k1) * -incx);
  for (vrx_int c = 0; c < n; c += swap_block_columns) {
    const vrx_int width = n - c < swap_block_columns ? n - c : swap_block_columns;
    T* block = a + c * lda;
    vrx_int s = 0;
    for (; s + 4 <= count; s += 4) {
      const vrx_int r = first_row + s * step, ix = first_ix + s * incx;
      const vrx_int p0 = ipiv[ix] - 1, p1 = ipiv[ix + incx] - 1, p2 = ipiv[ix + 2 * incx] - 1,
                    p3 = ipiv[ix + 3 * incx] - 1;
      for (vrx_int j = 0; j < width; ++j) {
        T* x = block + j * lda;
        T t;
        if (p0 != r) t = x[r], x[r] = x[p0], x[p0] = t;
        if (p1 != r + step) t = x[r + step], x[r + step] = x[p1], x[p1] = t;
        if (p2 != r + 2 * step) t = x[r + 2 * step], x[r + 2 * step] = x[p2], x[p2] = t;
        if (p3 != r + 3 * step) t = x[r + 3 * step], x[r + 3 * step] = x[p3], x[p3] = t;
      }
    }
    for (; s < count; ++s) swap_rows(block, width, lda, first_row + s * step, ipiv[first_ix + s * incx] - 1);
  }
}

// The engine's LASWP: threads take slices of the columns when the LAPACK domain has more
// than one thread, n > 128 and incx is 1; otherwise the kernel runs in place.
template <typename T>
void vrx_lapack_laswp(vrx_int n, T* a, vrx_int lda, vrx_int k1, vrx_int k2, const vrx_int* ipiv, vrx_int incx) {
  if (incx == 0 || n <= 0) return;
  const int t = incx == 1 && n > threaded_min_columns ? vrx_serv_get_max_threads() : 1;
  if (t == 1) {
    vrx_lapack_laswp_sequential(n, a, lda, k1, k2, ipiv, incx);
    return;
  }
#pragma omp parallel num_threads(t)
  {
    vrx_int first, width;
    vrx_lapack_split(n, omp_get_num_threads(), omp_get_thread_num(), &first, &width);
    vrx_lapack_laswp_sequential(width, a + first * lda, lda, k1, k2, ipiv, incx);
  }
}

#define VRX_LASWP_INSTANCES(T)                                                                                    \
  template void vrx_lapack_laswp_sequential<T>(vrx_int, T*, vrx_int, vrx_int, vrx_int, const vrx_int*, vrx_int); \
  template void vrx_lapack_laswp<T>(vrx_int, T*, vrx_int, vrx_int, vrx_int, const vrx_int*, vrx_int);
VRX_LASWP_INSTANCES(float)
VRX_LASWP_INSTANCES(double)
VRX_LASWP_INSTANCES(vrx_complex_float)
VRX_LASWP_INSTANCES(vrx_complex_double)
#undef VRX_LASWP_INSTANCES

extern "C" {
void SLASWP(const vrx_int* n, float* a, const vrx_int* lda, const vrx_int* k1, const vrx_int* k2,
            const vrx_int* ipiv, const vrx_int* incx) {
  vrx_lapack_laswp(*n, a, *lda, *k1, *k2, ipiv, *incx);
}
void DLASWP(const vrx_int* n, double* a, const vrx_int* lda, const vrx_int* k1, const vrx_int* k2,
            const vrx_int* ipiv, const vrx_int* incx) {
  vrx_lapack_laswp(*n, a, *lda, *k1, *k2, ipiv, *incx);
}
void CLASWP(const vrx_int* n, vrx_complex_float* a, const vrx_int* lda, const vrx_int* k1, const vrx_int* k2,
            const vrx_int* ipiv, const vrx_int* incx) {
  vrx_lapack_laswp(*n, a, *lda, *k1, *k2, ipiv, *incx);
}
void ZLASWP(const vrx_int* n, vrx_complex_double* a, const vrx_int* lda, const vrx_int* k1, const vrx_int* k2,
            const vrx_int* ipiv, const vrx_int* incx) {
  vrx_lapack_laswp(*n, a, *lda, *k1, *k2, ipiv, *incx);
}
}
