// The spin barrier: members other than 0 count themselves in on `arrived`, member 0
// waits for all of them and publishes the new generation on `released`.
#include "service/vrx_spin_barrier.h"
#include "service/vrx_serv.h"

void vrx_serv_spin_wait_round(int* spins) {
  if (*spins >= vrx_serv_spin_yield_after) {
    vrx_serv_yield();
    return;
  }
  ++*spins;
  __builtin_ia32_pause();
}

void vrx_serv_spin_barrier_reset(vrx_serv_spin_barrier* barrier) {
  __atomic_store_n(&barrier->arrived, 0, __ATOMIC_RELAXED);
  __atomic_store_n(&barrier->released, 0, __ATOMIC_RELAXED);
}

void vrx_serv_spin_barrier_wait(vrx_serv_spin_barrier* barrier, int member, int size) {
  if (size <= 1) return;
  // Every barrier adds size - 1 arrivals; `released` holds the total of the last one.
  const std::uint64_t target =
      static_cast<std::uint64_t>(size) + __atomic_load_n(&barrier->released, __ATOMIC_ACQUIRE) - 1;
  int spins = 0;
  if (member != 0) {
    std::uint64_t seen = __atomic_load_n(&barrier->arrived, __ATOMIC_RELAXED);
    while (!__atomic_compare_exchange_n(&barrier->arrived, &seen, seen + 1, true, __ATOMIC_ACQ_REL,
                                        __ATOMIC_RELAXED)) {
    }
    while (__atomic_load_n(&barrier->released, __ATOMIC_ACQUIRE) < target) vrx_serv_spin_wait_round(&spins);
    return;
  }
  while (__atomic_load_n(&barrier->arrived, __ATOMIC_ACQUIRE) < target) vrx_serv_spin_wait_round(&spins);
  __atomic_store_n(&barrier->released, target, __ATOMIC_RELEASE);
}
