// The team path of the QR factorisation: teams of threads take block columns from the
// task queue (every column in its dynamic tail), each panel is factored by a whole team
// with the team panel, and each application of a panel is shared by a team's members by
// rows. The last block column is factored after the join.
#include <omp.h>

#include <initializer_list>

#include "lapack/qr/vrx_geqrf.h"
#include "lapack/qr/vrx_geqrf_team.h"
#include "lapack/qr/vrx_qr.h"
#include "service/vrx_serv.h"

namespace {
constexpr int record_alignment = 64;
// Panel widths of key 1 of LAQRF above which the panel runs in blocks.
constexpr vrx_int widest_block = 256;

template <typename T>
vrx_int round_to_line(vrx_int elements) {
  const vrx_int line = 64 / static_cast<vrx_int>(sizeof(T)) > 0 ? 64 / static_cast<vrx_int>(sizeof(T)) : 1;
  return (elements + line - 1) / line * line;
}

// Rows of the members' partial products: the application's sub-blocks and the panel's
// blocks, for the panels with the most and the fewest rows.
template <typename T>
vrx_int slot_rows(vrx_int m, vrx_int b, vrx_int sub, vrx_int npan) {
  vrx_int rows = sub;
  for (vrx_int panel_rows : {m, m - (npan - 1) * b}) {
    vrx_int block = vrx_lapack_ilaenv<T>(1, "LAQRF", " ", panel_rows, b, -1, -1);
    if (block > widest_block) block = widest_block;
    if (block > rows) rows = block;
  }
  return rows < b ? rows : b;
}

template <typename T>
struct buffers {
  vrx_geqrf_team_record* records;
  vrx_int* state;
  T* scratch;
  T* factors;
  bool own_factors;
};

template <typename T>
void release(buffers<T>* held) {
  if (held->records) vrx_serv_free(held->records);
  vrx_lapack_sched_release(held->state);
  if (held->scratch) vrx_serv_free(held->scratch);
  if (held->own_factors && held->factors) vrx_serv_free(held->factors);
}

template <typename T>
void sequential(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info) {
  vrx_lapack_geqrf_team_trace()->path = VRX_GEQRF_TEAM_SEQUENTIAL;
  vrx_lapack_geqrf_seq<T>(m, n, a, lda, tau, work, lwork, info);
}
}  // namespace

template <typename T>
void vrx_lapack_geqrf_team(vrx_int m, vrx_int n, T* a, vrx_int lda, T* tau, T* work, vrx_int lwork, vrx_int* info,
                           int threads) {
  vrx_geqrf_team_trace* trace = vrx_lapack_geqrf_team_trace();
  *trace = vrx_geqrf_team_trace{};
  *info = 0;
  const vrx_geqrf_team_plan plan = vrx_lapack_geqrf_team_plan<T>(m, n, threads);
  trace->b = plan.b;
  trace->ib = plan.ib;
  if (lwork == -1) {
    trace->path = VRX_GEQRF_TEAM_QUERY;
    work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(plan.lwork), 0);
    return;
  }
  if (m == 0 || n == 0) return;
  if (!plan.runs) {
    sequential(m, n, a, lda, tau, work, lwork, info);
    return;
  }

  vrx_geqrf_team_call<T> call{.m = m,
                              .n = n,
                              .lda = lda,
                              .a = a,
                              .tau = tau,
                              .b = plan.b,
                              .sub = plan.ib < plan.b ? plan.ib : plan.b,
                              .nblk = vrx_lapack_sched_block_count(n, plan.b),
                              .npan = vrx_lapack_sched_panel_count(m, n, plan.b),
                              .team_size = static_cast<int>(plan.team_size)};
  call.slot_rows = slot_rows<T>(m, plan.b, call.sub, call.npan);
  call.slot_elems = round_to_line<T>(call.slot_rows * plan.b + plan.b);
  call.team_elems = round_to_line<T>(call.team_size * call.slot_elems + call.slot_rows * plan.b);

  // The T of every panel, and of the last block column, in the caller's workspace when it is big enough.
  const vrx_int factor_elems = (call.npan + 1) * plan.b * plan.b;
  buffers<T> held = {};
  held.records = static_cast<vrx_geqrf_team_record*>(
      vrx_serv_malloc(sizeof(vrx_geqrf_team_record) * plan.teams, record_alignment));
  held.state = vrx_lapack_sched_allocate(call.nblk);
  held.scratch = static_cast<T*>(vrx_serv_malloc(sizeof(T) * call.team_elems * plan.teams, record_alignment));
  held.own_factors = lwork < factor_elems;
  held.factors = held.own_factors ? static_cast<T*>(vrx_serv_malloc(sizeof(T) * factor_elems, record_alignment)) : work;
  // When the caller's workspace holds the factors, the size it was told stays in place.
  const T first_work = held.own_factors ? T{} : work[0];
  if (!held.records || !held.state || !held.scratch || !held.factors) {
    release(&held);
    trace->fallback = 1;
    sequential(m, n, a, lda, tau, work, lwork, info);
    return;
  }
  call.records = held.records;
  call.state = held.state;
  call.scratch = held.scratch;
  call.factors = held.factors;

#pragma omp parallel num_threads(plan.teams * call.team_size)
  vrx_lapack_geqrf_team_region(&call);

  trace->path = VRX_GEQRF_TEAM_RAN;
  trace->team_size = call.region_size;
  trace->teams = call.region_teams;
  trace->region_threads = call.region_threads;
  trace->panels = call.panels;
  if (call.error) {
    release(&held);
    if (!held.own_factors) work[0] = first_work;
    *info = -1002;
    return;
  }
  // The last block column: one panel, factored by team 0's rank 0 alone.
  const vrx_int j = call.npan * plan.b;
  const vrx_geqrf_team_scratch<T> scratch = {call.scratch, call.slot_elems, call.slot_rows, plan.b,
                                             call.scratch + call.team_size * call.slot_elems};
  const vrx_geqrf_member<T> alone = vrx_lapack_geqrf_member(call.records, scratch, 0, 1, m - j);
  vrx_lapack_panel_team_clear(&call.records[0].barrier, 1);
  vrx_lapack_laqrf_team(alone, m - j, n - j, a + j + j * lda, lda, tau + j, call.factors + call.npan * plan.b * plan.b,
                        plan.b);
  const bool stop = vrx_lapack_geqrf_progress<T>(0, n);
  release(&held);
  if (!held.own_factors) work[0] = first_work;
  if (stop) *info = -1002;
}

#define VRX_INSTANTIATE(T)                                                                                       \
  template void vrx_lapack_geqrf_team<T>(vrx_int, vrx_int, T*, vrx_int, T*, T*, vrx_int, vrx_int*, int);
VRX_INSTANTIATE(float)
VRX_INSTANTIATE(double)
VRX_INSTANTIATE(vrx_complex_float)
VRX_INSTANTIATE(vrx_complex_double)
#undef VRX_INSTANTIATE
