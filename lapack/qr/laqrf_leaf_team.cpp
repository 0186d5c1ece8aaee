// The threaded leaf of LAQRF: the panel's rows split evenly among the threads, each
// column's reflector built from the threads' partial sums of squares, and one product
// with the panel per column giving both the update of the columns on the right and the
// column of T (V^H v), since v is zero above its diagonal row. T is completed at the
// end by one triangular product per column, as LARFT does.
//
// Per column: sums of squares of the own rows; barrier; every thread builds the same
// reflector, scales its rows and forms its partial product; barrier; every thread adds
// up the partials and updates its rows, thread 0 writes tau and the column of T. The
// sums and partials of column i + 1 are written only after the first barrier of that
// column, which no thread passes while another still reads those of column i.
#include <omp.h>

#include <cmath>

#include "blas/vrx_level12.h"
#include "lapack/qr/vrx_geqrf.h"
#include "lapack/qr/vrx_reflector_parts.h"
#include "lapack/sched/vrx_team_sync.h"
#include "lapack/vrx_lapack_blas.h"
#include "service/vrx_spin_barrier.h"

namespace {
constexpr vrx_int widest_leaf = 256;

template <typename T>
struct leaf_region {
  vrx_int m, n, lda, ldt;
  T* a;
  T* tau;
  T* t;
  T* own;    // thread 0's partial product, n elements
  T* work;   // the other threads' partial products, n each
  vrx_scaled_sum<vrx_real_t<T>>* sums;
  vrx_serv_spin_barrier barrier;
  int size;
};

template <typename T>
void leaf_body(leaf_region<T>* r) {
  typedef vrx_real_t<T> R;
  typedef vrx_traits<T> tr;
  const int id = omp_get_thread_num(), size = omp_get_num_threads();
  if (id == 0) r->size = size;
  const vrx_int m = r->m, n = r->n, lda = r->lda, ldt = r->ldt;
  T* const a = r->a;
  vrx_int r0 = 0, rc = 0;
  vrx_lapack_split(m, size, id, &r0, &rc);
  const vrx_int r1 = r0 + rc;
  T* const mine = id == 0 ? r->own : r->work + static_cast<vrx_int>(id - 1) * n;
  const vrx_level1_kernels<T>* l1 = vrx_blas_level1<T>();
  const vrx_level2_kernels<T>* l2 = vrx_blas_level2<T>();
  const R up = vrx_machine<R>::eps / vrx_machine<R>::sfmin;
  for (vrx_int i = 0; i < n; ++i) {
    T* const col = a + i * lda;
    const vrx_int lo = r0 > i + 1 ? r0 : i + 1;  // own rows of v below its diagonal
    const vrx_int count = r1 > lo ? r1 - lo : 0;
    const bool diagonal_row = r0 <= i && i < r1;
    r->sums[id] = vrx_sum_of_squares(count, col + lo);
    vrx_serv_spin_barrier_wait(&r->barrier, id, size);

    vrx_scaled_sum<R> total = {0, 1};
    for (int p = 0; p < size; ++p) vrx_scaled_sum_add(&total, r->sums[p].scale, r->sums[p].ssq);
    const vrx_reflector_scalars<T> h = vrx_reflector_from_norm(col[i], total.scale * std::sqrt(total.ssq));
    if (!h.identity) {
      for (int s = 0; s < h.steps; ++s) l1->scal(count, tr::make(up, 0), col + lo);
      l1->scal(count, h.factor, col + lo);
      for (vrx_int c = 0; c < n; ++c) mine[c] = T{};
      if (count > 0) l2->gemv_c(count, n, tr::make(1, 0), a + lo, lda, col + lo, mine, 1);
      if (diagonal_row)  // v(i) = 1
        for (vrx_int c = 0; c < n; ++c) mine[c] += tr::conj(a[c * lda + i]);
    }
    vrx_serv_spin_barrier_wait(&r->barrier, id, size);

    if (h.identity) {
      if (id == 0) {
        r->tau[i] = T{};
        for (vrx_int c = 0; c <= i; ++c) r->t[i * ldt + c] = T{};
      }
      continue;
    }
    const T minus_tau_conj = tr::make(0, 0) - tr::conj(h.tau);
    for (vrx_int c = i + 1; c < n; ++c) {
      T w = r->own[c];
      for (int p = 1; p < size; ++p) w += r->work[(p - 1) * n + c];
      const T s = minus_tau_conj * tr::conj(w);
      if (count > 0) l1->axpy(count, s, col + lo, a + c * lda + lo);
      if (diagonal_row) a[c * lda + i] += s;
    }
    if (diagonal_row) col[i] = tr::make(h.beta, 0);
    if (id == 0) {
      for (vrx_int c = 0; c < i; ++c) {
        T w = r->own[c];
        for (int p = 1; p < size; ++p) w += r->work[(p - 1) * n + c];
        r->t[i * ldt + c] = (tr::make(0, 0) - h.tau) * w;
      }
      r->t[i * ldt + i] = h.tau;
      r->tau[i] = h.tau;
    }
  }
}
}  // namespace

int vrx_lapack_laqrf_leaf_threads(vrx_int m, vrx_int n, int threads, int dynamic) {
  if (threads > vrx_lapack_team_max_members) threads = vrx_lapack_team_max_members;
  if (threads < 2 || n < 1 || n >= m) return 1;
  if (n < m / threads) return threads;
  // Too few rows per thread for this width: fewer threads, when that is allowed.
  vrx_int reduced = m / n;
  if (m % n == 0) --reduced;
  if (reduced < 2 || reduced >= threads || !dynamic) return 1;
  return static_cast<int>(reduced);
}

template <typename T>
void vrx_lapack_laqrf_leaf_team(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* t, vrx_int ldt, T* work,
                                int threads) {
  typedef vrx_real_t<T> R;
  if (m <= 0 || n <= 0 || n > widest_leaf) return;
  if (threads > vrx_lapack_team_max_members) threads = vrx_lapack_team_max_members;
  T own[widest_leaf];
  vrx_scaled_sum<R> sums[vrx_lapack_team_max_members];
  leaf_region<T> region = {m, n, lda, ldt, a, tau, t, own, work, sums, {}, 1};
  vrx_serv_spin_barrier_reset(&region.barrier);
#pragma omp parallel num_threads(threads)
  leaf_body(&region);
  vrx_geqrf_trace* trace = vrx_lapack_geqrf_trace();
  trace->leaf_threads = region.size;
  ++trace->leaf_teams;
  // T(0:i, i) := T(0:i, 0:i) T(0:i, i), in order, so that each product uses finished columns.
  const vrx_int unit = 1;
  for (vrx_int i = 1; i < n; ++i)
    vrx_lapack_blas<T>::trmv("Upper", "No transpose", "Non-unit", &i, t, &ldt, t + i * ldt, &unit);
}

#define VRX_LAQRF_LEAF_TEAM_INSTANCE(T) \
  template void vrx_lapack_laqrf_leaf_team<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, T*, int);
VRX_LAQRF_LEAF_TEAM_INSTANCE(float)
VRX_LAQRF_LEAF_TEAM_INSTANCE(double)
VRX_LAQRF_LEAF_TEAM_INSTANCE(vrx_complex_float)
VRX_LAQRF_LEAF_TEAM_INSTANCE(vrx_complex_double)
#undef VRX_LAQRF_LEAF_TEAM_INSTANCE
