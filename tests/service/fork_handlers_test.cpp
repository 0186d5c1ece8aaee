// The fork handlers over the lock order, one lock at a time: a fork waits while
// another thread holds the lock, and the child finds it free. New locks in the order
// are covered as they are added.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "service/vrx_locks.h"

namespace {
void take(const vrx_lock_entry& lock) {
  if (lock.word) vrx_serv_spin_lock(lock.word);
  else lock.take();
}

void release(const vrx_lock_entry& lock) {
  if (lock.word) vrx_serv_spin_unlock(lock.word);
  else lock.release();
}

// In the child: every lock of the order can be taken and released at once. A lock
// left held would spin for ever, so the alarm ends the child instead.
[[noreturn]] void child_takes_every_lock() {
  alarm(5);
  for (int i = 0; i < vrx_serv_lock_count; ++i) {
    take(vrx_serv_lock_order[i]);
    release(vrx_serv_lock_order[i]);
  }
  _exit(0);
}
}  // namespace

TEST(ForkHandlers, ForkWaitsForEachHeldLockAndTheChildFindsAllFree) {
  vrx_serv_fork_guard();
  ASSERT_GT(vrx_serv_lock_count, 10);
  for (int i = 0; i < vrx_serv_lock_count; ++i) {
    SCOPED_TRACE(i);
    const vrx_lock_entry& lock = vrx_serv_lock_order[i];
    std::atomic<int> held{0}, letting_go{0};
    std::thread holder([&] {
      take(lock);
      held.store(1);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      letting_go.store(1);
      release(lock);
    });
    while (!held.load()) std::this_thread::yield();
    const pid_t pid = fork();
    if (pid == 0) child_takes_every_lock();
    // The prepare handler could take the lock only after the holder let it go.
    EXPECT_EQ(letting_go.load(), 1);
    holder.join();
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child status " << status;
  }
}
