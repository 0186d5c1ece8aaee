// The team path of the LU factorisation: teams of threads take block columns from a
// scheduler, and each panel is factored by a whole team with the parallel panel. A tall
// and thin matrix is one panel for all threads.
#include <omp.h>

#include "blas/vrx_blas.h"
#include "lapack/lu/vrx_getrf.h"
#include "lapack/lu/vrx_getrf_corner.h"
#include "lapack/lu/vrx_getrf_team.h"
#include "lapack/sched/vrx_strict_queue.h"
#include "service/vrx_serv.h"

namespace {
constexpr int buffer_alignment = 64;

// All threads, as one team, factor the whole matrix as a panel; fewer of them when the
// matrix is small.
template <typename T>
void tall_and_thin(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int t,
                   vrx_getrf_trace* trace) {
  int threads = t;
  if (m + n < 1000 && threads > 6) threads = 6;
  if (m + n < 2000 && threads > 12) threads = 12;
  trace->path = VRX_GETRF_PATH_TALL;
  trace->tall_threads = threads;
  vrx_lapack_panel_team team;
  vrx_lapack_panel_team_clear(&team, threads);
  int stop = 0, delivered = 1;
  vrx_int panel_info = 0;
#pragma omp parallel num_threads(threads)
  {
    const int id = omp_get_thread_num(), size = omp_get_num_threads();
    vrx_int own_info = 0;
    const int own_stop = vrx_lapack_getrf_panel_team(&team, id, size, m, n, a, lda, ipiv, &own_info, id, 0);
    if (id == 0) {
      stop = own_stop;
      panel_info = own_info;
      delivered = size;
    }
  }
  trace->region_threads = delivered;
  *info = stop ? -1002 : panel_info;
}

template <typename T>
void release(vrx_getrf_team_call<T>* call) {
  for (vrx_gemm_pack_handle* handle : call->lane_handles) vrx_blas_gemm_pack_release(handle);
  if (call->teams) vrx_serv_free(call->teams);
  if (call->state) vrx_serv_free(call->state);
  if (call->panel_handles) vrx_serv_free(call->panel_handles);
}
}  // namespace

template <typename T>
void vrx_lapack_getrf_team(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int t) {
  vrx_getrf_trace* trace = vrx_lapack_getrf_trace();
  trace->path = VRX_GETRF_PATH_TEAM;
  *info = 0;
  if (m == 0 || n == 0) return;
  if (t < 1) t = 1;
  if (t > vrx_lapack_team_max_members) t = vrx_lapack_team_max_members;
  const int r = 36 / t > 1 ? 36 / t : 1;
  if (m > 3 * r * n) {
    tall_and_thin(m, n, a, lda, ipiv, info, t, trace);
    return;
  }
  const vrx_int mn = m < n ? m : n;
  const vrx_int nb = vrx_lapack_ilaenv<T>(1, "GETRF", " ", m, n, t, -1);
  trace->nb = nb;
  if (nb < 2 || nb >= mn) {
    trace->path = VRX_GETRF_PATH_GETF2;
    if (vrx_lapack_getf2_leaf(m, n, a, lda, ipiv, info, 0, 0)) *info = -1002;
    return;
  }
  vrx_int team_size = vrx_lapack_ilaenv<T>(20, "GETRF", " ", m, n, t, -1);
  if (team_size < 1) team_size = 1;
  const int teams = t / team_size > 1 ? static_cast<int>(t / team_size) : 1;

  const vrx_int nblk = vrx_lapack_sched_block_count(n, nb), npan = vrx_lapack_sched_panel_count(m, n, nb);
  vrx_getrf_team_call<T> call{.m = m,
                              .n = n,
                              .lda = lda,
                              .a = a,
                              .ipiv = ipiv,
                              .info = info,
                              .nb = nb,
                              .nblk = nblk,
                              .npan = npan,
                              .lanes = npan < 2 ? npan : 2,
                              .team_size = static_cast<int>(team_size)};
  call.teams = static_cast<vrx_lapack_team*>(vrx_serv_malloc(sizeof(vrx_lapack_team) * teams, buffer_alignment));
  call.state = static_cast<vrx_int*>(vrx_serv_malloc(vrx_lapack_strict_bytes(call.nblk), buffer_alignment));
  call.panel_handles = static_cast<vrx_gemm_pack_handle**>(
      vrx_serv_malloc(sizeof(vrx_gemm_pack_handle*) * call.nblk, buffer_alignment));
  if (!call.teams || !call.state || !call.panel_handles) {
    release(&call);
    trace->fallback = 1;
    trace->path = VRX_GETRF_PATH_LOOKAHEAD;
    if (vrx_lapack_getrf_lookahead(m, n, a, lda, ipiv, info, 0, 0)) *info = -1002;
    return;
  }
  call.packed = vrx_blas_gemm_pack_query() == 2 && mn > 2 * nb ? 1 : 0;
  call.strict = call.packed;
  call.depth = vrx_serv_cbwr_get(1) == 1 ? call.npan : call.lanes;
  vrx_lapack_panel_team first_team;
  call.first_team = &first_team;
#pragma omp parallel num_threads(t)
  vrx_lapack_getrf_team_worker(&call);

  trace->team_size = call.team_size;
  trace->teams = call.team_count;
  trace->region_threads = call.region_threads;
  trace->packed = call.packed;
  trace->group = call.group;
  trace->tail = call.tail;
  const bool stopped = call.error || vrx_lapack_getrf_corner(m, n, a, lda, ipiv, info, t, nb, call.npan);
  release(&call);
  if (stopped) *info = -1002;
}

#define VRX_INSTANTIATE(T) \
  template void vrx_lapack_getrf_team<T>(vrx_int, vrx_int, T*, vrx_int, vrx_int*, vrx_int*, int);
VRX_INSTANTIATE(float)
VRX_INSTANTIATE(double)
VRX_INSTANTIATE(vrx_complex_float)
VRX_INSTANTIATE(vrx_complex_double)
#undef VRX_INSTANTIATE
