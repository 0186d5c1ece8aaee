// The team barrier: threads other than 0 count themselves in on `arrived`, thread 0
// waits for all of them and publishes the new generation on `released`.
#include "blas/level3/driver/vrx_l3_sync.h"

namespace {
// One round of waiting: a pause while counting, a yield once the limit is reached.
inline void wait_round(int* spins) {
  if (*spins >= vrx_serv_spin_limit) {
    vrx_serv_yield();
    return;
  }
  ++*spins;
  __builtin_ia32_pause();
}
}  // namespace

void vrx_l3_sync_reset(vrx_l3_sync* sync) {
  __atomic_store_n(&sync->arrived, 0, __ATOMIC_RELAXED);
  __atomic_store_n(&sync->released, 0, __ATOMIC_RELAXED);
}

void vrx_l3_barrier(vrx_l3_sync* sync, int id, int size) {
  if (size <= 1) return;
  // Every barrier adds size - 1 arrivals; `released` holds the total of the last one.
  const std::uint64_t target =
      static_cast<std::uint64_t>(size) + __atomic_load_n(&sync->released, __ATOMIC_ACQUIRE) - 1;
  int spins = 0;
  if (id != 0) {
    std::uint64_t seen = __atomic_load_n(&sync->arrived, __ATOMIC_RELAXED);
    while (!__atomic_compare_exchange_n(&sync->arrived, &seen, seen + 1, true, __ATOMIC_ACQ_REL,
                                        __ATOMIC_RELAXED)) {
    }
    while (__atomic_load_n(&sync->released, __ATOMIC_ACQUIRE) < target) wait_round(&spins);
    return;
  }
  while (__atomic_load_n(&sync->arrived, __ATOMIC_ACQUIRE) < target) wait_round(&spins);
  __atomic_store_n(&sync->released, target, __ATOMIC_RELEASE);
}
