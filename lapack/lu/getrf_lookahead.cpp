// The look-ahead path of the LU factorisation: one parallel region per panel, in which
// the threads bring their columns up to date with the previous panel while thread 0,
// given fewer columns, goes on to factor the next panel with the sequential recursion.
#include <omp.h>

#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"

namespace {
vrx_int down_to_4(vrx_int x) { return x > 0 ? x & ~vrx_int{3} : 0; }

// Columns of one panel region: thread 0 takes `first`, every other thread `other`, the
// last thread what is left over; `inside`: thread 0 factors the next panel.
struct column_split {
  vrx_int first;
  vrx_int other;
  bool inside;
};

// rem: columns right of the previous panel; jb: width of the next panel.
column_split split_columns(vrx_int rem, vrx_int jb, vrx_int nb, vrx_int factor12, vrx_int team) {
  const vrx_int even = down_to_4(rem / team);
  if (rem <= jb) return {even, even, false};
  const vrx_int half = nb * factor12 / 32;
  const vrx_int light = down_to_4(even - half);
  const vrx_int others = team - 1;
  if (light >= jb) return {light, others > 0 ? down_to_4((rem - light) / others) : 0, true};
  if (even >= jb || jb < 9) return {jb, others > 0 ? down_to_4((rem - jb) / others) : 0, true};
  return {even, even, false};
}

// The path after the checks; `top`: this call records the path it takes (the inner
// calls for single panels do not).
template <typename T>
int run(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread, vrx_int offset,
        bool top) {
  vrx_getrf_trace* trace = vrx_lapack_getrf_trace();
  *info = 0;
  if (m == 0 || n == 0) return 0;
  if (vrx_lapack_ilaenv<T>(3, "GETRF", " ", m, n, -1, -1) >= n) {
    if (top) trace->path = VRX_GETRF_PATH_SEQ;
    return vrx_lapack_getrf_recursive(m, n, a, lda, ipiv, info, thread, offset);
  }
  const int t = vrx_serv_get_max_threads();
  if (t < 2) {
    vrx_lapack_getrf_seq(m, n, a, lda, ipiv, info);
    return *info == -1002;
  }
  const vrx_int mn = m < n ? m : n;
  const vrx_int nb = vrx_lapack_ilaenv<T>(1, "GETRF", " ", m, n, t, -1);
  if (nb < 2 || nb >= mn) {
    if (top) trace->path = VRX_GETRF_PATH_GETF2;
    return vrx_lapack_getf2_leaf(m, n, a, lda, ipiv, info, thread, offset);
  }
  if (top) {
    trace->path = VRX_GETRF_PATH_LOOKAHEAD;
    trace->nb = nb;
  }
  const vrx_int factor12 = vrx_lapack_ilaenv<T>(12, "GETRF", " ", m, n, t, -1);

  if (run(m, nb, a, lda, ipiv, info, thread, offset, false)) return 1;
  vrx_int j = 0, jb = nb;
  for (vrx_int panel = 1; panel <= (mn - 1) / nb; ++panel) {
    const vrx_int previous = j;
    j = panel * nb;
    jb = mn - j < nb ? mn - j : nb;
    const vrx_int rem = n - j;
    column_split split = {};
    int stop = 0;
    ++trace->lookahead_forks;
#pragma omp parallel num_threads(t)
    {
      const vrx_int team = omp_get_num_threads(), id = omp_get_thread_num();
#pragma omp single
      split = split_columns(rem, jb, nb, factor12, team);
      const vrx_int start = id == 0 ? 0 : split.first + (id - 1) * split.other;
      const vrx_int count = id == team - 1 ? rem - start : (id == 0 ? split.first : split.other);
      vrx_lapack_getrf_apply_panel(m, a, lda, ipiv, previous, nb, j + start, count, true);
      if (id == 0) {
        trace->region_threads = static_cast<int>(team);
        if (split.inside) {
          ++trace->lookahead_inside;
          vrx_int part = 0;
          if (vrx_lapack_getrf_recursive(m - j, jb, a + j + j * lda, lda, ipiv + j, &part, thread, offset + j))
            stop = 1;
          else
            vrx_lapack_getrf_merge(info, part, j, ipiv + j, jb);
        }
      }
    }
    if (stop) return 1;
    if (!split.inside) {
      vrx_int part = 0;
      if (run(m - j, jb, a + j + j * lda, lda, ipiv + j, &part, thread, offset + j, false)) return 1;
      vrx_lapack_getrf_merge(info, part, j, ipiv + j, jb);
    }
  }
  // Columns right of a wide matrix's last panel: its interchanges and the solve.
  if (n > m) vrx_lapack_getrf_apply_panel(m, a, lda, ipiv, j, jb, m, n - m, false);

  // The interchanges left of each panel: every thread a slice of each block column.
#pragma omp parallel num_threads(t)
  {
    const vrx_int team = omp_get_num_threads(), id = omp_get_thread_num();
    const vrx_int slice = nb / team, start = id * slice;
    const vrx_int count = id == team - 1 ? nb - start : slice;
    for (vrx_int block = 0; block + nb < mn; block += nb)
      vrx_lapack_laswp_sequential(count, a + (block + start) * lda, lda, block + nb + 1, mn, ipiv, 1);
  }
  return 0;
}
}  // namespace

template <typename T>
int vrx_lapack_getrf_lookahead(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread,
                               vrx_int offset) {
  if (vrx_lapack_getrf_bad_arguments<T>("GETRF", m, n, lda, info)) return 0;
  return run(m, n, a, lda, ipiv, info, thread, offset, true);
}

template int vrx_lapack_getrf_lookahead<float>(vrx_int, vrx_int, float*, vrx_int, vrx_int*, vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_lookahead<double>(vrx_int, vrx_int, double*, vrx_int, vrx_int*, vrx_int*, int,
                                                vrx_int);
template int vrx_lapack_getrf_lookahead<vrx_complex_float>(vrx_int, vrx_int, vrx_complex_float*, vrx_int, vrx_int*,
                                                           vrx_int*, int, vrx_int);
template int vrx_lapack_getrf_lookahead<vrx_complex_double>(vrx_int, vrx_int, vrx_complex_double*, vrx_int,
                                                            vrx_int*, vrx_int*, int, vrx_int);
