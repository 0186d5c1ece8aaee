// Per-thread pools: reuse, best fit, the five-entry limit, the size border,
// alignment, frees from other threads and pools of ended threads.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>

#include "service/memory_test_helpers.h"

TEST(MemoryPool, RepeatedRequestGetsTheSameBuffer) {
  on_new_thread([] {
    void* p = vrx_serv_malloc(100, 128);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(is_aligned(p, 128));
    vrx_serv_free(p);
    EXPECT_EQ(vrx_serv_malloc(100, 128), p);
    vrx_serv_free(p);
    // Capacity 228 covers a need of 90 + 128 = 218.
    EXPECT_EQ(vrx_serv_malloc(90, 128), p);
    const BufferPool* pool = own_pool();
    EXPECT_EQ(pool->count, 1);
    EXPECT_EQ(pool->capacity[0], 228u);
    EXPECT_EQ(pool->requested[0], 90u);
    EXPECT_EQ(pool->in_use[0], 1u);
    vrx_serv_free(p);
    EXPECT_EQ(pool->in_use[0], 0u);
  });
}

TEST(MemoryPool, ReusedEntryIsRealignedForTheNewRequest) {
  on_new_thread([] {
    void* p = vrx_serv_malloc(164, 64);  // capacity 228
    vrx_serv_free(p);
    void* q = vrx_serv_malloc(100, 128);  // need 228: the same entry, at 128
    const BufferPool* pool = own_pool();
    EXPECT_EQ(pool_position(pool, q), 0);
    EXPECT_EQ(pool->count, 1);
    EXPECT_TRUE(is_aligned(q, 128));
    std::memset(q, 0x5a, 100);  // the whole request lies inside the entry
    vrx_serv_free(q);
  });
}

TEST(MemoryPool, BestFitPrefersExactThenSmallestLargerThenEarliest) {
  on_new_thread([] {
    const std::size_t sizes[5] = {1000, 300, 500, 300, 2000};
    void* p[5];
    for (int i = 0; i < 5; ++i) p[i] = vrx_serv_malloc(sizes[i], 64);
    for (int i = 0; i < 5; ++i) vrx_serv_free(p[i]);
    const BufferPool* pool = own_pool();
    EXPECT_EQ(vrx_serv_malloc(500, 64), p[2]);  // exact
    EXPECT_EQ(vrx_serv_malloc(200, 64), p[1]);  // smallest larger, earliest of the two equal ones
    EXPECT_EQ(vrx_serv_malloc(250, 64), p[3]);
    EXPECT_EQ(vrx_serv_malloc(600, 64), p[0]);
    EXPECT_EQ(pool->count, 5);
    for (int i = 0; i < 4; ++i) vrx_serv_free(p[i]);
  });
}

TEST(MemoryPool, AllFreeButTooSmallReplacesTheFirst) {
  on_new_thread([] {
    void* p[5];
    for (int i = 0; i < 5; ++i) p[i] = vrx_serv_malloc(100 + 10 * i, 64);
    for (int i = 0; i < 5; ++i) vrx_serv_free(p[i]);
    BufferPool* pool = own_pool();
    void* kept_base[5];
    for (int i = 0; i < 5; ++i) kept_base[i] = pool->base[i];
    void* big = vrx_serv_malloc(5000, 64);
    EXPECT_EQ(pool_position(pool, big), 0);
    EXPECT_EQ(pool->capacity[0], 5064u);
    EXPECT_EQ(pool->count, 5);
    for (int i = 1; i < 5; ++i) EXPECT_EQ(pool->base[i], kept_base[i]) << i;
    std::memset(big, 1, 5000);
    vrx_serv_free(big);
  });
}

TEST(MemoryPool, SixthConcurrentBufferTakesTheDirectPath) {
  on_new_thread([] {
    void* p[6];
    for (int i = 0; i < 6; ++i) p[i] = vrx_serv_malloc(1000, 64);
    const BufferPool* pool = own_pool();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(pool_position(pool, p[i]), i);
    EXPECT_EQ(pool_position(pool, p[5]), -1);
    const DirectHeader* header = static_cast<DirectHeader*>(p[5]) - 1;
    EXPECT_NE(header->raw, nullptr);
    EXPECT_EQ(header->total, 1000u + 64u + 24u);
    EXPECT_EQ(pool->direct_blocks, 1);
    for (int i = 0; i < 6; ++i) vrx_serv_free(p[i]);
    EXPECT_EQ(pool->direct_blocks, 0);
    EXPECT_EQ(pool->direct_bytes, 0);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(pool->in_use[i], 0u);
  });
}

TEST(MemoryPool, PoolsServeUpTo128MiB) {
  on_new_thread([] {
    unsigned char* at_border = static_cast<unsigned char*>(vrx_serv_malloc(0x8000000, 64));
    unsigned char* above = static_cast<unsigned char*>(vrx_serv_malloc(0x8000001, 64));
    ASSERT_NE(at_border, nullptr);
    ASSERT_NE(above, nullptr);
    const BufferPool* pool = own_pool();
    EXPECT_EQ(pool_position(pool, at_border), 0);
    EXPECT_EQ(pool_position(pool, above), -1);
    EXPECT_EQ(pool->direct_blocks, 1);
    at_border[0x8000000 - 1] = 1;
    above[0x8000000] = 1;
    vrx_serv_free(above);
    vrx_serv_free(at_border);
    EXPECT_EQ(pool->direct_blocks, 0);
  });
}

TEST(MemoryPool, EffectiveAlignmentOnBothPaths) {
  on_new_thread([] {
    const struct {
      int requested;
      std::size_t effective;
    } cases[] = {{0, 64}, {3, 64}, {32, 64}, {48, 64}, {96, 64}, {-128, 64}, {64, 64}, {128, 128}, {4096, 4096}};
    for (const auto& c : cases) {
      EXPECT_EQ(vrx_serv_effective_alignment(c.requested), c.effective) << c.requested;
      void* pooled = vrx_serv_malloc(333, c.requested);
      void* direct = vrx_serv_malloc_direct(333, c.requested);
      EXPECT_TRUE(is_aligned(pooled, c.effective)) << c.requested;
      EXPECT_TRUE(is_aligned(direct, c.effective)) << c.requested;
      EXPECT_EQ((static_cast<DirectHeader*>(direct) - 1)->alignment, static_cast<std::int32_t>(c.effective));
      vrx_serv_free(direct);
      vrx_serv_free(pooled);
    }
  });
}

TEST(MemoryPool, FreeFromAnotherThreadReturnsToTheOwner) {
  on_new_thread([] {
    unsigned char* p = static_cast<unsigned char*>(vrx_serv_malloc(4000, 64));
    std::memset(p, 7, 4000);
    BufferPool* owner = own_pool();
    BufferPool* other = nullptr;
    on_new_thread([&] {
      vrx_serv_free(p);
      other = own_pool();
      EXPECT_EQ(other->count, 0);
      EXPECT_EQ(other->direct_blocks, 0);  // not taken for a direct block
    });
    EXPECT_EQ(owner->in_use[0], 0u);
    EXPECT_EQ(vrx_serv_malloc(4000, 64), p);
    vrx_serv_free(p);
  });
}

TEST(MemoryPool, EndedThreadReleasesItsFreeBuffers) {
  std::int32_t number = 0;
  on_new_thread([&] {
    void* p = vrx_serv_malloc(1000, 64);
    vrx_serv_free(p);
    number = vrx_serv_thread_number();
  });
  ASSERT_GT(number, 0);
  const PoolSlot* slot = vrx_serv_slot_of(number, 0);
  ASSERT_NE(slot, nullptr);
  EXPECT_EQ(slot->pool, nullptr);
}

TEST(MemoryPool, HeldBufferKeepsAnOrphanedPoolUntilItsFree) {
  std::int32_t number = 0;
  void* lent = nullptr;
  void* direct = nullptr;
  const vrx_memory_totals before = vrx_serv_memory_totals;
  on_new_thread([&] {
    lent = vrx_serv_malloc(2000, 64);
    void* returned = vrx_serv_malloc(3000, 64);
    vrx_serv_free(returned);
    direct = vrx_serv_malloc_direct(500, 64);
    number = vrx_serv_thread_number();
  });
  const PoolSlot* slot = vrx_serv_slot_of(number, 0);
  ASSERT_NE(slot, nullptr);
  ASSERT_NE(slot->pool, nullptr);
  EXPECT_EQ(slot->pool->orphan, 1);
  EXPECT_EQ(slot->pool->base[1], nullptr);  // the free buffer went back at thread end
  EXPECT_NE(slot->pool->base[0], nullptr);
  // The ended thread's direct count was folded into the totals.
  EXPECT_EQ(vrx_serv_memory_totals.folded_blocks, before.folded_blocks + 1);
  EXPECT_EQ(vrx_serv_memory_totals.folded_bytes, before.folded_bytes + 500 + 64 + 24);

  std::atomic<bool> freed{false};
  on_new_thread([&] {
    vrx_serv_free(lent);
    vrx_serv_free(direct);
    EXPECT_EQ(own_pool()->direct_blocks, -1);  // counted against the thread that frees
    freed = true;
  });
  EXPECT_TRUE(freed);
  EXPECT_EQ(slot->pool, nullptr);
}

TEST(MemoryPool, ThreadNumbersAreNeverReused) {
  std::int32_t first = 0, second = 0;
  on_new_thread([&] {
    vrx_serv_free(vrx_serv_malloc(10, 64));
    first = vrx_serv_thread_number();
  });
  on_new_thread([&] {
    EXPECT_EQ(vrx_serv_thread_number(), 0);
    vrx_serv_free(vrx_serv_malloc(10, 64));
    second = vrx_serv_thread_number();
  });
  EXPECT_GT(second, first);
  EXPECT_LE(second, vrx_serv_threads_registered());
}
