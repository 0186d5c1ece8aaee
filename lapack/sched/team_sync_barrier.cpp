// The flag barrier of a panel team: members raise their flag and wait for the release
// word; rank 0 lowers each flag in turn, then publishes the release.
#include <atomic>

#include "lapack/sched/vrx_team_sync.h"
#include "service/vrx_serv.h"

void vrx_lapack_panel_team_clear(vrx_lapack_panel_team* team, int size) {
  for (int i = 0; i < size; ++i) std::atomic_ref<double>(team->flags[i]).store(-1.0, std::memory_order_relaxed);
  __atomic_store_n(&team->stop, 0, __ATOMIC_RELAXED);
  __atomic_store_n(&team->phase, 0, __ATOMIC_RELEASE);
}

void vrx_lapack_team_flag_barrier(vrx_lapack_panel_team* team, int rank, int size, std::int64_t phase) {
  if (size <= 1) {
    __atomic_store_n(&team->phase, phase, __ATOMIC_RELAXED);
    return;
  }
  int spins = 0;
  if (rank != 0) {
    std::atomic_ref<double>(team->flags[rank]).store(1.0, std::memory_order_release);
    while (__atomic_load_n(&team->phase, __ATOMIC_ACQUIRE) != phase) vrx_serv_spin_wait_round(&spins);
    return;
  }
  for (int i = 1; i < size; ++i) {
    std::atomic_ref<double> flag(team->flags[i]);
    while (flag.load(std::memory_order_acquire) != 1.0) vrx_serv_spin_wait_round(&spins);
    flag.store(-1.0, std::memory_order_relaxed);
  }
  __atomic_store_n(&team->phase, phase, __ATOMIC_RELEASE);
}

void vrx_lapack_team_flag_step(vrx_lapack_panel_team* team, int rank, int size) {
  // Every member has seen the last release before it arrives here, and rank 0 can't
  // publish the next one before all have arrived: all read the same value.
  const std::int64_t last = __atomic_load_n(&team->phase, __ATOMIC_ACQUIRE);
  vrx_lapack_team_flag_barrier(team, rank, size, last == 3 ? 4 : 3);
}
