// Once-only initialisation: a double-checked flag under the service spin lock.
#pragma once
#include <cstdint>
#include "service/vrx_locks.h"

// Runs init() the first time any thread gets here; later calls cost one load.
// `done` and `lock` are zero-initialised words in static storage, and `lock` has
// its place in the lock order (vrx_locks.h).
template <typename Init>
inline void vrx_serv_once(volatile std::int32_t* done, volatile std::int32_t* lock, Init&& init) {
  if (__atomic_load_n(done, __ATOMIC_ACQUIRE)) return;
  vrx_serv_fork_guard();
  vrx_serv_spin_lock(lock);
  if (!__atomic_load_n(done, __ATOMIC_ACQUIRE)) {
    init();
    __atomic_store_n(done, 1, __ATOMIC_RELEASE);
  }
  vrx_serv_spin_unlock(lock);
}
