// Fork handlers over the lock order: before a fork every lock of the library is
// taken, outermost first; after it the parent releases them and the child, the only
// thread left, clears them (words other threads were changing at the fork are reset
// too). The OpenMP runtime keeps its own handlers for its threads.
#include <omp.h>
#include <pthread.h>
#include "service/vrx_locks.h"

namespace {
std::int32_t registered = 0;
pthread_once_t registration = PTHREAD_ONCE_INIT;

// The OpenMP runtime registers its fork handlers when it starts, holding its start-up
// lock. Started by one thread's first call, it could be caught halfway by another
// thread's fork, and the child would wait on that lock for ever; started while the
// library loads, before the program runs threads, it is ready before any fork.
[[gnu::constructor]] void start_openmp_runtime() { (void)omp_in_parallel(); }

void register_handlers() {
  pthread_atfork(vrx_serv_fork_prepare, vrx_serv_fork_parent, vrx_serv_fork_child);
  __atomic_store_n(&registered, 1, __ATOMIC_RELEASE);
}
}  // namespace

void vrx_serv_fork_guard() {
  if (__atomic_load_n(&registered, __ATOMIC_ACQUIRE)) [[likely]] return;
  pthread_once(&registration, register_handlers);
}

void vrx_serv_fork_prepare() {
  for (int i = 0; i < vrx_serv_lock_count; ++i) {
    const vrx_lock_entry& lock = vrx_serv_lock_order[i];
    if (lock.word) vrx_serv_spin_lock(lock.word);
    else lock.take();
  }
}

void vrx_serv_fork_parent() {
  for (int i = vrx_serv_lock_count - 1; i >= 0; --i) {
    const vrx_lock_entry& lock = vrx_serv_lock_order[i];
    if (lock.word) vrx_serv_spin_unlock(lock.word);
    else lock.release();
  }
}

void vrx_serv_fork_child() {
  for (int i = vrx_serv_lock_count - 1; i >= 0; --i) {
    const vrx_lock_entry& lock = vrx_serv_lock_order[i];
    if (lock.word) __atomic_store_n(lock.word, 0, __ATOMIC_RELAXED);
    else lock.clear();
  }
}
