// The one lock of the service frame, on a 32-bit word.
#include <sched.h>
#include "service/vrx_serv.h"

void vrx_serv_yield() { sched_yield(); }

void vrx_serv_spin_lock(volatile std::int32_t* word) {
  int failures = 0;
  for (;;) {
    std::int32_t expected = 0;
    if (__atomic_load_n(word, __ATOMIC_RELAXED) == 0 &&
        __atomic_compare_exchange_n(word, &expected, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
      return;
    if (failures >= vrx_serv_spin_yield_after) vrx_serv_yield();
    else ++failures;
  }
}

void vrx_serv_spin_unlock(volatile std::int32_t* word) { __atomic_store_n(word, 0, __ATOMIC_RELEASE); }
