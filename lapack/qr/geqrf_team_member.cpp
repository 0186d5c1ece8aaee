// The region of the QR team path. Team 0 factors panel 1 while the other teams wait;
// then each team's rank 0 fetches block columns from the task queue and commands its
// members through the team record: it writes the command and sets `status` to 1, works
// its own share, waits for every member's word to read 2, sets `status` to 5 and waits
// for the words to read 4 again. Members loop on those words until `status` is 3.
#include <omp.h>

#include "lapack/qr/vrx_geqrf.h"
#include "lapack/qr/vrx_geqrf_team.h"
#include "service/vrx_serv.h"

namespace {
struct place {
  int thread;
  int team;  // teams and beyond: left over, takes no part
  int rank;
  int size;
};

bool stopped(const int* error) { return __atomic_load_n(error, __ATOMIC_RELAXED) != 0; }

void wait_for_status(const vrx_geqrf_team_record* record, std::int64_t a, std::int64_t b, std::int64_t* seen) {
  int spins = 0;
  for (;;) {
    *seen = __atomic_load_n(&record->status, __ATOMIC_ACQUIRE);
    if (*seen == a || *seen == b) return;
    vrx_serv_spin_wait_round(&spins);
  }
}

void wait_for_words(const vrx_geqrf_team_record* record, int size, std::int64_t value) {
  int spins = 0;
  for (int i = 1; i < size; ++i)
    while (__atomic_load_n(&record->words[i].value, __ATOMIC_ACQUIRE) != value) vrx_serv_spin_wait_round(&spins);
}

template <typename T>
vrx_geqrf_team_scratch<T> scratch_of(const vrx_geqrf_team_call<T>* call, int team) {
  return {call->scratch + team * call->team_elems, call->slot_elems, call->slot_rows, call->b,
          call->scratch + team * call->team_elems + call->team_size * call->slot_elems};
}

// The member's share of the team's command: panel `panel`'s reflectors applied to
// columns [first_col, first_col + width), or the panel factored.
template <typename T>
void run_command(vrx_geqrf_team_call<T>* call, const place& me, vrx_int command, vrx_int panel, vrx_int first_col,
                 vrx_int width) {
  const vrx_int j = (panel - 1) * call->b, rows = call->m - j, lda = call->lda;
  vrx_geqrf_team_record* record = call->records + me.team;
  const vrx_geqrf_member<T> member =
      vrx_lapack_geqrf_member(record, scratch_of(call, me.team), me.rank, me.size, rows);
  T* panel_top = call->a + j + j * lda;
  T* t = call->factors + (panel - 1) * call->b * call->b;
  if (command == VRX_QR_COMMAND_APPLY)
    vrx_lapack_laqrf_apply_team(member, 0, rows, call->b, panel_top, lda, t, call->b, call->a + j + first_col * lda,
                                lda, width, call->sub);
  else
    vrx_lapack_laqrf_team(member, rows, width, panel_top, lda, call->tau + j, t, call->b);
}

template <typename T>
void member_loop(vrx_geqrf_team_call<T>* call, const place& me) {
  vrx_geqrf_team_record* record = call->records + me.team;
  std::int64_t* word = &record->words[me.rank].value;
  for (;;) {
    __atomic_store_n(word, VRX_QR_MEMBER_READY, __ATOMIC_RELEASE);
    std::int64_t status = 0;
    wait_for_status(record, VRX_QR_TEAM_GO, VRX_QR_TEAM_QUIT, &status);
    if (status == VRX_QR_TEAM_QUIT) return;
    run_command(call, me, record->command, record->panel, record->first_col, record->width);
    __atomic_store_n(word, VRX_QR_MEMBER_FINISHED, __ATOMIC_RELEASE);
    wait_for_status(record, VRX_QR_TEAM_END, VRX_QR_TEAM_QUIT, &status);
    if (status == VRX_QR_TEAM_QUIT) return;
  }
}

// Rank 0 gives one command and works its own share of it.
template <typename T>
void command_team(vrx_geqrf_team_call<T>* call, const place& me, vrx_int command, vrx_int panel, vrx_int first_col,
                  vrx_int width) {
  vrx_geqrf_team_record* record = call->records + me.team;
  record->command = command;
  record->panel = panel;
  record->first_col = first_col;
  record->width = width;
  __atomic_store_n(&record->status, VRX_QR_TEAM_GO, __ATOMIC_RELEASE);
  run_command(call, me, command, panel, first_col, width);
  wait_for_words(record, me.size, VRX_QR_MEMBER_FINISHED);
  __atomic_store_n(&record->status, VRX_QR_TEAM_END, __ATOMIC_RELEASE);
  wait_for_words(record, me.size, VRX_QR_MEMBER_READY);
}

template <typename T>
void after_panel(vrx_geqrf_team_call<T>* call, const place& me, vrx_int panel) {
  __atomic_add_fetch(&call->panels, 1, __ATOMIC_RELAXED);
  if (vrx_lapack_geqrf_progress<T>(me.thread, panel * call->b)) __atomic_store_n(&call->error, 1, __ATOMIC_RELAXED);
}

template <typename T>
void leader_loop(vrx_geqrf_team_call<T>* call, const place& me) {
  vrx_lapack_task task;
  vrx_lapack_sched_first_task(call->state, me.team, &task);
  int spins = 0;
  while (task.kind != VRX_TASK_FINISHED && !stopped(&call->error)) {
    vrx_lapack_sched_fetch_locked(call->state, me.team, &task);
    if (task.kind == VRX_TASK_NONE) {
      vrx_serv_spin_wait_round(&spins);
      continue;
    }
    if (task.kind == VRX_TASK_FINISHED) break;
    spins = 0;
    for (vrx_int p = task.first_panel; p <= task.last_panel; ++p)
      for (vrx_int col = task.first_col; col <= task.last_col; ++col) {
        const vrx_int first = (col - 1) * call->b;
        const vrx_int width = call->n - first < call->b ? call->n - first : call->b;
        command_team(call, me, VRX_QR_COMMAND_APPLY, p, first, width);
      }
    if (task.kind != VRX_TASK_PANEL) continue;
    command_team(call, me, VRX_QR_COMMAND_PANEL, task.first_col, (task.first_col - 1) * call->b, call->b);
    after_panel(call, me, task.first_col);
  }
  __atomic_store_n(&call->records[me.team].status, VRX_QR_TEAM_QUIT, __ATOMIC_RELEASE);
}

template <typename T>
void set_up(vrx_geqrf_team_call<T>* call, int threads, int teams, int size) {
  call->region_threads = threads;
  call->region_teams = teams;
  call->region_size = size;
  vrx_lapack_sched_init(call->state, teams, call->nblk, call->npan, 1, 10000);
  for (int i = 0; i < teams; ++i) {
    vrx_geqrf_team_record* record = call->records + i;
    record->status = 0;
    record->command = 0;
    for (int r = 0; r < vrx_geqrf_team_max_size; ++r) record->words[r].value = 0;
    vrx_lapack_panel_team_clear(&record->barrier, size);
  }
}
}  // namespace

template <typename T>
void vrx_lapack_geqrf_team_region(vrx_geqrf_team_call<T>* call) {
  const int threads = omp_get_num_threads();
  place me = {omp_get_thread_num(), 0, 0, call->team_size};
  // Teams of team_size; a region with fewer threads than one team is one team.
  if (threads < me.size) me.size = threads;
  const int teams = threads / me.size;
  me.team = me.thread / me.size;
  me.rank = me.thread % me.size;
  if (me.thread == 0) set_up(call, threads, teams, me.size);
#pragma omp barrier
  if (me.team == 0) {
    vrx_geqrf_team_record* record = call->records;
    const vrx_geqrf_member<T> member = vrx_lapack_geqrf_member(record, scratch_of(call, 0), me.rank, me.size, call->m);
    vrx_lapack_laqrf_team(member, call->m, call->b, call->a, call->lda, call->tau, call->factors, call->b);
    if (me.rank == 0) after_panel(call, me, 1);
  }
#pragma omp barrier
  if (me.team >= teams) return;
  if (me.rank == 0)
    leader_loop(call, me);
  else
    member_loop(call, me);
}

template void vrx_lapack_geqrf_team_region<float>(vrx_geqrf_team_call<float>*);
template void vrx_lapack_geqrf_team_region<double>(vrx_geqrf_team_call<double>*);
template void vrx_lapack_geqrf_team_region<vrx_complex_float>(vrx_geqrf_team_call<vrx_complex_float>*);
template void vrx_lapack_geqrf_team_region<vrx_complex_double>(vrx_geqrf_team_call<vrx_complex_double>*);
