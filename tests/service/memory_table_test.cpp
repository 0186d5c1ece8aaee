// The thread table: its ladder of chunks, and threads numbered above 1024 that
// share the reader side of the table word instead of a slot lock of their own.
#include <gtest/gtest.h>

#include <cstring>

#include "service/memory_test_helpers.h"

namespace {
const RawHeader* chunk_allocation(const PoolSlot* first) {
  void* raw;
  std::memcpy(&raw, reinterpret_cast<const char*>(first) - 8, sizeof raw);
  return static_cast<const RawHeader*>(raw) - 1;
}
}  // namespace

TEST(MemoryTable, ChunksDoubleAfterTheFirstThousand) {
  vrx_serv_memory_init();
  struct {
    std::int32_t first, last;
    std::size_t bytes;
  } const chunks[] = {{1, 1024, 0x11000}, {1025, 2048, 0x11000}, {2049, 4096, 0x21000}, {4097, 8192, 0x41000}};
  for (const auto& c : chunks) {
    const PoolSlot* first = vrx_serv_slot_of(c.first, 1);
    const PoolSlot* last = vrx_serv_slot_of(c.last, 1);
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(is_aligned(first, 4096)) << c.first;
    EXPECT_EQ(last - first, c.last - c.first) << c.first;
    EXPECT_NE(vrx_serv_slot_of(c.last + 1, 1), last + 1) << c.last;
    const RawHeader* raw = chunk_allocation(first);
    EXPECT_EQ(raw->marker, vrx_raw_marker);
    EXPECT_EQ(raw->total, c.bytes + 32) << c.first;
    EXPECT_LE(reinterpret_cast<const char*>(last + 1), reinterpret_cast<const char*>(raw + 1) + c.bytes);
  }
  EXPECT_EQ(vrx_serv_slot_of(0, 1), nullptr);
}

TEST(MemoryTable, ThreadsAbove1024KeepWorkingPools) {
  // Short-lived threads until the numbers pass the slot locks.
  std::int32_t number = 0, first = 0;
  while (number <= vrx_slot_locks + 2) {
    on_new_thread([&] {
      vrx_serv_free(vrx_serv_malloc(8, 64));
      number = vrx_serv_thread_number();
    });
    if (!first) first = number;
  }
  void* lent = nullptr;
  std::int32_t high = 0;
  on_new_thread([&] {
    void* p = vrx_serv_malloc(1000, 128);
    vrx_serv_free(p);
    EXPECT_EQ(vrx_serv_malloc(1000, 128), p);
    lent = vrx_serv_malloc(2000, 64);
    high = vrx_serv_thread_number();
    on_new_thread([&] { vrx_serv_free(p); });  // another high thread gives it back
    EXPECT_EQ(own_pool()->in_use[0], 0u);
  });
  EXPECT_GT(high, vrx_slot_locks);
  const PoolSlot* slot = vrx_serv_slot_of(high, 0);
  ASSERT_NE(slot->pool, nullptr);
  EXPECT_EQ(slot->pool->orphan, 1);
  vrx_serv_free(lent);  // from a thread with a slot lock of its own
  EXPECT_EQ(slot->pool, nullptr);
  // Every ended thread gave its pool back.
  for (std::int32_t t = first; t < high; ++t)
    if (const PoolSlot* s = vrx_serv_slot_of(t, 0)) ASSERT_EQ(s->pool, nullptr) << t;
}
