// The memory manager when its base allocator fails: every entry gives null,
// prints nothing, and the pools stay consistent for the next request.
#include <gtest/gtest.h>

#include <cstring>

#include "service/memory_test_helpers.h"

namespace {
// A position whose allocation failed: no block, nothing handed out, counted as held.
void expect_unfilled(const BufferPool* pool, int i) {
  EXPECT_EQ(pool->base[i], nullptr) << i;
  EXPECT_EQ(pool->user[i], nullptr) << i;
  EXPECT_EQ(pool->in_use[i], 1u) << i;
}
}  // namespace

TEST(MemoryFailure, NoRecordMemoryMeansNullEverywhere) {
  FailingAllocator failing;
  on_new_thread([] {
    FailingAllocator::records_fail = true;
    testing::internal::CaptureStdout();
    // A new thread cannot get its pool record: pool request and direct path both fail.
    EXPECT_EQ(vrx_serv_malloc(100, 64), nullptr);
    EXPECT_EQ(vrx_serv_malloc(0x8000001, 64), nullptr);
    EXPECT_EQ(vrx_serv_malloc_direct(100, 64), nullptr);
    EXPECT_EQ(vrx_serv_calloc(10, 10, 64), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    FailingAllocator::records_fail = false;
    void* p = vrx_serv_malloc(100, 64);
    ASSERT_NE(p, nullptr);
    const BufferPool* pool = own_pool();
    EXPECT_EQ(pool_position(pool, p), 0);
    EXPECT_EQ(pool->count, 1);
    EXPECT_EQ(pool->direct_blocks, 0);
    vrx_serv_free(p);
  });
}

TEST(MemoryFailure, NewEntryThatCannotBeFilledIsOverwrittenNextTime) {
  FailingAllocator failing;
  on_new_thread([] {
    void* first = vrx_serv_malloc(100, 64);
    BufferPool* pool = own_pool();
    FailingAllocator::pool_fail = true;
    EXPECT_EQ(vrx_serv_malloc(200, 64), nullptr);
    EXPECT_EQ(pool->count, 1);
    expect_unfilled(pool, 1);
    EXPECT_EQ(pool->direct_blocks, 0);  // no fallback to the direct path
    FailingAllocator::pool_fail = false;
    void* second = vrx_serv_malloc(300, 64);
    EXPECT_EQ(pool_position(pool, second), 1);
    EXPECT_EQ(pool->count, 2);
    EXPECT_EQ(pool->capacity[1], 364u);
    vrx_serv_free(second);
    vrx_serv_free(first);
    EXPECT_EQ(pool->in_use[0] + pool->in_use[1], 0u);
  });
}

TEST(MemoryFailure, ReplacementThatCannotBeFilledLosesOnlyThatPosition) {
  FailingAllocator failing;
  std::int32_t number = 0;
  on_new_thread([&] {
    void* p[5];
    for (int i = 0; i < 5; ++i) p[i] = vrx_serv_malloc(100, 64);
    for (int i = 0; i < 5; ++i) vrx_serv_free(p[i]);
    BufferPool* pool = own_pool();
    FailingAllocator::pool_fail = true;
    EXPECT_EQ(vrx_serv_malloc(5000, 64), nullptr);
    EXPECT_EQ(pool->count, 5);
    expect_unfilled(pool, 0);
    // The other four still serve requests without the allocator.
    for (int i = 1; i < 5; ++i) EXPECT_EQ(vrx_serv_malloc(100, 64), p[i]);
    for (int i = 1; i < 5; ++i) vrx_serv_free(p[i]);
    FailingAllocator::pool_fail = false;
    void* big = vrx_serv_malloc(5000, 64);
    EXPECT_EQ(pool_position(pool, big), 1);  // the first too-small free entry now
    std::memset(big, 3, 5000);
    vrx_serv_free(big);
    number = vrx_serv_thread_number();
  });
  // The lost position counts as held, so the ended thread's pool stays as an orphan
  // with every other entry given back.
  const PoolSlot* slot = vrx_serv_slot_of(number, 0);
  ASSERT_NE(slot->pool, nullptr);
  EXPECT_EQ(slot->pool->orphan, 1);
  for (int i = 1; i < 5; ++i) EXPECT_EQ(slot->pool->base[i], nullptr);
}

TEST(MemoryFailure, FullPoolAndFailingDirectPathGiveNull) {
  FailingAllocator failing;
  on_new_thread([] {
    void* p[5];
    for (int i = 0; i < 5; ++i) {
      p[i] = vrx_serv_malloc(64, 64);
      std::memset(p[i], i, 64);
    }
    FailingAllocator::records_fail = true;
    EXPECT_EQ(vrx_serv_malloc(64, 64), nullptr);
    FailingAllocator::records_fail = false;
    const BufferPool* pool = own_pool();
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(pool->in_use[i], 1u);
      EXPECT_EQ(static_cast<unsigned char*>(p[i])[63], i);
      vrx_serv_free(p[i]);
    }
    EXPECT_EQ(pool->direct_blocks, 0);
  });
}
