// First use from many threads at once: one decision, one answer. The spin lock and the
// once-only initialisation under contention.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "service/cpu_fake_processor.h"
#include "service/vrx_dispatch.h"
#include "service/vrx_once.h"

namespace {
template <int Slot>
int variant() { return Slot; }
typedef int (*variant_fn)();
constexpr vrx_variants<variant_fn> all_variants = {variant<0>, variant<1>, variant<2>, variant<3>,
                                                   variant<4>, variant<5>, variant<6>, variant<7>};

constexpr int thread_count = 16;

// Starts `thread_count` threads together on `body(index)`.
template <typename Body>
void run_together(Body body) {
  std::atomic<int> ready{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < thread_count; ++t)
    threads.emplace_back([&, t] {
      ready.fetch_add(1);
      while (!go.load()) std::this_thread::yield();
      body(t);
    });
  while (ready.load() < thread_count) std::this_thread::yield();
  go.store(true);
  for (auto& th : threads) th.join();
}

class DispatchRace : public ::testing::Test {
 protected:
  void SetUp() override { vrx_fake_clear_environment(); }
  void TearDown() override { vrx_serv_cpu_test_install(nullptr); }
};

TEST_F(DispatchRace, FirstUseDecidesOnce) {
  for (const char* profile : {"avx2", "sse42", "ssse3", "other_avx2"}) {
    for (int round = 0; round < 10; ++round) {
      vrx_fake_install(*vrx_fake_profile(profile));
      variant_fn cache = nullptr;
      int types[thread_count], branches[thread_count], chosen[thread_count];
      run_together([&](int t) {
        types[t] = vrx_serv_cpu_detect();
        chosen[t] = vrx_serv_dispatch(&cache, all_variants)();
        branches[t] = vrx_serv_cbwr_get(1);
      });
      const int expected_type = vrx_serv_cpu_class(1);
      EXPECT_EQ(vrx_serv_cpu_state.decisions, 1) << profile;
      for (int t = 0; t < thread_count; ++t) {
        EXPECT_EQ(types[t], expected_type) << profile;
        EXPECT_EQ(chosen[t], chosen[0]) << profile;
        EXPECT_EQ(branches[t], 1) << profile;
      }
      ASSERT_NE(cache, nullptr);
      EXPECT_EQ(cache(), chosen[0]);
      // Branch off: each type takes its own class variant.
      const int slot_of_type[8] = {2, -1, 3, 4, 5, 6, -1, 7};
      EXPECT_EQ(chosen[0], slot_of_type[expected_type]) << profile;
    }
  }
}

TEST_F(DispatchRace, CachedDispatcherIgnoresLaterChanges) {
  vrx_fake_install(*vrx_fake_profile("avx2"));
  variant_fn cache = nullptr;
  EXPECT_EQ(vrx_serv_dispatch(&cache, all_variants)(), 6);
  vrx_fake_install(*vrx_fake_profile("sse2"));  // a new CPU type, but the pointer is kept
  EXPECT_EQ(vrx_serv_dispatch(&cache, all_variants)(), 6);
}

TEST_F(DispatchRace, QueriesAgreeUnderRaces) {
  vrx_fake_install(*vrx_fake_profile("sse42"));
  std::int32_t records[thread_count][5];
  int codes[thread_count], branches[thread_count];
  run_together([&](int t) {
    vrx_serv_cache_record(records[t]);
    codes[t] = vrx_serv_cpu_code();
    branches[t] = vrx_serv_cbwr_max_branch();
  });
  for (int t = 0; t < thread_count; ++t) {
    EXPECT_EQ(records[t][0], 3);
    EXPECT_EQ(records[t][3], vrx_fake::cache_sizes[2]);
    EXPECT_EQ(codes[t], 66);
    EXPECT_EQ(branches[t], 8);
  }
}

TEST(ServiceLock, ExcludesOtherThreads) {
  static std::int32_t lock_word = 0;
  long counter = 0;
  constexpr int rounds = 20000;
  run_together([&](int) {
    for (int i = 0; i < rounds; ++i) {
      vrx_serv_spin_lock(&lock_word);
      const long seen = counter;  // a lost update would show as a short count
      counter = seen + 1;
      vrx_serv_spin_unlock(&lock_word);
    }
  });
  EXPECT_EQ(counter, static_cast<long>(thread_count) * rounds);
  EXPECT_EQ(lock_word, 0);
}

TEST(ServiceLock, OnceRunsItsBodyOnceAndPublishesIt) {
  static std::int32_t done = 0, lock_word = 0;
  std::atomic<int> runs{0};
  int value = 0;
  int seen[thread_count];
  run_together([&](int t) {
    vrx_serv_once(&done, &lock_word, [&] {
      runs.fetch_add(1);
      std::this_thread::yield();
      value = 42;
    });
    seen[t] = value;
  });
  EXPECT_EQ(runs.load(), 1);
  for (int t = 0; t < thread_count; ++t) EXPECT_EQ(seen[t], 42);
}
}  // namespace
