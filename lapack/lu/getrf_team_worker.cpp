// The region of the LU team path: one thread sets up the scheduler, all threads but the
// last factor the first panel while the last makes the packed-operand handles, then each
// team fetches tasks through its rank 0 and works them with its members.
#include <omp.h>

#include "blas/vrx_blas.h"
#include "lapack/lu/vrx_getrf.h"
#include "lapack/lu/vrx_getrf_team.h"
#include "lapack/sched/vrx_strict_queue.h"
#include "lapack/vrx_lapack_blas.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
void set_up_scheduler(vrx_getrf_team_call<T>* call, int teams) {
  call->team_count = teams;
  for (int i = 0; i < teams; ++i) {
    vrx_serv_spin_barrier_reset(&call->teams[i].barrier);
    call->teams[i].panel_team = nullptr;
    call->teams[i].task = {VRX_TASK_NONE, 0, 0, 0, 0};
  }
  for (vrx_int j = 0; j < call->nblk; ++j) call->panel_handles[j] = nullptr;
  if (call->strict) {
    vrx_lapack_strict_init(call->state, call->nblk, call->npan, call->depth);
    return;
  }
  call->group = vrx_lapack_ilaenv<T>(17, "GETRF", " ", call->m, call->n, teams, -1);
  call->tail = vrx_lapack_ilaenv<T>(18, "GETRF", " ", call->m, call->n, teams, -1);
  vrx_lapack_sched_init(call->state, teams, call->nblk, call->npan, call->group, call->tail);
}

// The handles that panels take in turn, each big enough for the first panel's L part.
// One that can't be made releases the others and turns packed mode off.
template <typename T>
void create_handles(vrx_getrf_team_call<T>* call) {
  for (vrx_int lane = 0; lane < call->lanes; ++lane) {
    if (vrx_blas_gemm_pack_create<T>(&call->lane_handles[lane], call->m - call->nb, call->nb) == 0) continue;
    for (vrx_int made = 0; made <= lane; ++made) {
      vrx_blas_gemm_pack_release(call->lane_handles[made]);
      call->lane_handles[made] = nullptr;
    }
    __atomic_store_n(&call->packed, 0, __ATOMIC_RELAXED);
    return;
  }
}

bool stopped(const int* error) { return __atomic_load_n(error, __ATOMIC_RELAXED) != 0; }

// Packs the L part of the factored panel of block column c into its lane. The lane's
// previous panel must have finished every update first: the strict scheduler holds the
// panel task back for that when its look-ahead is the lane count; otherwise rank 0
// waits here. Without a packed copy the panel's updates take the sequential GEMM.
template <typename T>
void pack_panel(vrx_getrf_team_call<T>* call, vrx_int c) {
  const vrx_int lane = c % call->lanes, previous = c - call->lanes;
  if (previous >= 1) {
    const vrx_int* finished = vrx_lapack_strict_finished(call->state, previous);
    int spins = 0;
    while (__atomic_load_n(finished, __ATOMIC_ACQUIRE) < call->nblk - previous && !stopped(&call->error))
      vrx_serv_spin_wait_round(&spins);
  }
  const vrx_int j = (c - 1) * call->nb, width = call->nb;
  vrx_gemm_pack_handle* handle = call->lane_handles[lane];
  const bool packed = handle && vrx_blas_gemm_pack<T>(handle, call->m - j - width, width,
                                                      call->a + j + width + j * call->lda, call->lda) == 0;
  __atomic_store_n(&call->panel_handles[c - 1], packed ? handle : nullptr, __ATOMIC_RELEASE);
}

struct place_in_region {
  int thread;
  vrx_lapack_team_place team;
};

// Panels first_panel..last_panel applied to the member's share of the task's columns.
template <typename T>
void update_columns(vrx_getrf_team_call<T>* call, const vrx_lapack_task& task, vrx_lapack_team* record,
                    const place_in_region& me) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  const vrx_int nb = call->nb, lda = call->lda;
  const vrx_int first_col = (task.first_col - 1) * nb;
  const vrx_int end_col = task.last_col * nb < call->n ? task.last_col * nb : call->n;
  vrx_int first = 0, count = 0;
  vrx_lapack_split(end_col - first_col, me.team.size, me.team.rank, &first, &count);
  T* own = call->a + (first_col + first) * lda;
  for (vrx_int p = task.first_panel; p <= task.last_panel; ++p) {
    const vrx_int j = (p - 1) * nb, below = call->m - j - nb;
    const T* diagonal = call->a + j + j * lda;
    if (count > 0) vrx_lapack_laswp_sequential(count, own, lda, j + 1, j + nb, call->ipiv, 1);
    vrx_serv_spin_barrier_wait(&record->barrier, me.team.rank, me.team.size);
    if (count > 0)
      blas::trsm_sequential("Left", "Lower", "No transpose", "Unit", &nb, &count, &one, diagonal, &lda, own + j,
                            &lda);
    vrx_lapack_team_flag_step(record->panel_team, me.team.rank, me.team.size);
    if (count <= 0 || below <= 0) continue;
    vrx_gemm_pack_handle* handle =
        __atomic_load_n(&call->packed, __ATOMIC_RELAXED) ? __atomic_load_n(&call->panel_handles[p - 1], __ATOMIC_ACQUIRE)
                                                         : nullptr;
    if (handle && vrx_blas_gemm_pack_multiply<T>(handle, 0, below, count, minus_one, own + j, lda, one,
                                                 own + j + nb, lda) == 0)
      continue;
    blas::gemm_sequential("No transpose", "No transpose", &below, &count, &nb, &minus_one, diagonal + nb, &lda,
                          own + j, &lda, &one, own + j + nb, &lda);
  }
}

struct info_merge {
  vrx_int* info;
  vrx_int found;
};

// A zero pivot at column `found` of the whole matrix: the smallest such column stays.
void keep_first_info(vrx_int* info, vrx_int found) {
  info_merge merge = {info, found};
  vrx_lapack_sched_locked(
      [](void* context) {
        info_merge* m = static_cast<info_merge*>(context);
        if (*m->info == 0 || m->found < *m->info) *m->info = m->found;
      },
      &merge);
}

// The task's panel factored by the team, rows from its diagonal down.
template <typename T>
void factor_panel(vrx_getrf_team_call<T>* call, vrx_int c, vrx_lapack_team* record, const place_in_region& me) {
  vrx_serv_spin_barrier_wait(&record->barrier, me.team.rank, me.team.size);
  const vrx_int j = (c - 1) * call->nb, width = call->n - j < call->nb ? call->n - j : call->nb;
  vrx_int panel_info = 0;
  if (vrx_lapack_getrf_panel_team(record->panel_team, me.team.rank, me.team.size, call->m - j, width,
                                  call->a + j + j * call->lda, call->lda, call->ipiv + j, &panel_info, me.thread, j))
    __atomic_store_n(&call->error, 1, __ATOMIC_RELAXED);
  if (me.team.rank == 0 && panel_info > 0) keep_first_info(call->info, panel_info + j);
  vrx_int first = 0, count = 0;
  vrx_lapack_split(width, me.team.size, me.team.rank, &first, &count);
  for (vrx_int i = first; i < first + count; ++i) call->ipiv[j + i] += j;
  vrx_serv_spin_barrier_wait(&record->barrier, me.team.rank, me.team.size);
  if (call->strict && me.team.rank == 0 && __atomic_load_n(&call->packed, __ATOMIC_RELAXED)) pack_panel(call, c);
}

struct strict_fetch_call {
  vrx_int* state;
  vrx_lapack_task* task;
};

// Rank 0 reports the team's last task and fetches the next.
template <typename T>
void fetch(vrx_getrf_team_call<T>* call, vrx_lapack_team* record, int team) {
  vrx_lapack_task* task = &record->task;
  if (task->kind == VRX_TASK_FINISHED) return;
  if (call->strict && (task->kind == VRX_TASK_UPDATE || task->kind == VRX_TASK_PANEL))
    __atomic_add_fetch(vrx_lapack_strict_finished(call->state, task->first_panel), 1, __ATOMIC_RELEASE);
  if (stopped(&call->error)) {
    task->kind = VRX_TASK_FINISHED;
    return;
  }
  if (!call->strict) {
    vrx_lapack_sched_fetch_locked(call->state, team, task);
    return;
  }
  strict_fetch_call body = {call->state, task};
  vrx_lapack_sched_locked(
      [](void* context) {
        strict_fetch_call* c = static_cast<strict_fetch_call*>(context);
        vrx_lapack_strict_fetch(c->state, c->task);
      },
      &body);
}

template <typename T>
void task_loop(vrx_getrf_team_call<T>* call, const place_in_region& me) {
  vrx_lapack_team* record = call->teams + me.team.team;
  for (;;) {
    vrx_serv_spin_barrier_wait(&record->barrier, me.team.rank, me.team.size);
    if (me.team.rank == 0) fetch(call, record, me.team.team);
    vrx_serv_spin_barrier_wait(&record->barrier, me.team.rank, me.team.size);
    const vrx_lapack_task task = record->task;
    if (task.kind == VRX_TASK_FINISHED) return;
    if (task.kind == VRX_TASK_NONE) continue;
    update_columns(call, task, record, me);
    if (task.kind == VRX_TASK_PANEL) factor_panel(call, task.first_col, record, me);
  }
}
}  // namespace

template <typename T>
void vrx_lapack_getrf_team_worker(vrx_getrf_team_call<T>* call) {
  const int threads = omp_get_num_threads();
  place_in_region me = {omp_get_thread_num(), {}};
  me.team = vrx_lapack_team_place_of(me.thread, threads, call->team_size);
  if (me.thread == 0) {
    call->region_threads = threads;
    set_up_scheduler(call, me.team.teams);
  }
  // The first panel's team: every thread but the last, which makes the handles meanwhile
  // (a region of one thread does both in turn).
  const int members = threads > 1 ? threads - 1 : 1;
  if (me.thread == 0) vrx_lapack_panel_team_clear(call->first_team, members);
#pragma omp barrier
  if (me.thread == threads - 1 && call->packed) create_handles(call);
  if (me.thread < members) {
    vrx_int panel_info = 0;
    if (vrx_lapack_getrf_panel_team(call->first_team, me.thread, members, call->m, call->nb, call->a, call->lda,
                                    call->ipiv, &panel_info, me.thread, 0))
      __atomic_store_n(&call->error, 1, __ATOMIC_RELAXED);
    if (me.thread == 0) *call->info = panel_info;
  }
#pragma omp barrier
  if (me.thread == threads - 1 && call->strict && call->packed) {
    pack_panel(call, 1);
    if (!call->panel_handles[0]) __atomic_store_n(&call->packed, 0, __ATOMIC_RELAXED);
  }
  // Each team's rank 0 readies the team's panel team and first task.
  vrx_lapack_panel_team own_panel_team;
  vrx_lapack_team* record = call->teams + me.team.team;
  if (me.team.rank == 0) {
    vrx_lapack_panel_team_clear(&own_panel_team, me.team.size);
    record->panel_team = &own_panel_team;
    if (!call->strict) vrx_lapack_sched_first_task(call->state, me.team.team, &record->task);
  }
#pragma omp barrier
  task_loop(call, me);
  // Rank 0's panel team lives on its stack: the team leaves the loop together.
  vrx_serv_spin_barrier_wait(&record->barrier, me.team.rank, me.team.size);
}

template void vrx_lapack_getrf_team_worker<float>(vrx_getrf_team_call<float>*);
template void vrx_lapack_getrf_team_worker<double>(vrx_getrf_team_call<double>*);
template void vrx_lapack_getrf_team_worker<vrx_complex_float>(vrx_getrf_team_call<vrx_complex_float>*);
template void vrx_lapack_getrf_team_worker<vrx_complex_double>(vrx_getrf_team_call<vrx_complex_double>*);
