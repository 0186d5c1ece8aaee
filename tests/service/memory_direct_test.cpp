// Direct path, base allocator and bad input of the memory manager.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "service/memory_test_helpers.h"

namespace {
constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();
}

TEST(MemoryDirect, HeaderSitsBelowTheAlignedPointer) {
  for (int alignment : {64, 128, 4096}) {
    for (std::size_t size : {1u, 1000u, 100000u}) {
      unsigned char* p = static_cast<unsigned char*>(vrx_serv_malloc_direct(size, alignment));
      ASSERT_NE(p, nullptr);
      EXPECT_TRUE(is_aligned(p, alignment));
      const DirectHeader* header = reinterpret_cast<DirectHeader*>(p) - 1;
      const unsigned char* raw = static_cast<const unsigned char*>(header->raw);
      EXPECT_GE(p - raw, 24);
      EXPECT_LE(p + size, raw + header->total);
      EXPECT_EQ(header->total, size + alignment + 24);
      EXPECT_EQ(header->registered, 0);
      EXPECT_EQ(header->alignment, alignment);
      const RawHeader* base = static_cast<const RawHeader*>(header->raw) - 1;
      EXPECT_EQ(base->marker, vrx_raw_marker);
      EXPECT_EQ(base->total, header->total + 32);
      EXPECT_EQ(base->high_bandwidth, 0u);
      std::memset(p, 0xee, size);
      vrx_serv_free_direct(p);
    }
  }
}

TEST(MemoryDirect, CountsPerThreadAndThroughEitherFree) {
  on_new_thread([] {
    void* a = vrx_serv_malloc_direct(100, 64);
    void* b = vrx_serv_malloc_direct(200, 128);
    const BufferPool* pool = own_pool();
    EXPECT_EQ(pool->direct_blocks, 2);
    EXPECT_EQ(pool->direct_bytes, (100 + 64 + 24) + (200 + 128 + 24));
    EXPECT_EQ(pool->count, 0);
    vrx_serv_free(a);  // not in any pool: goes to the direct path
    vrx_serv_free_direct(b);
    EXPECT_EQ(pool->direct_blocks, 0);
    EXPECT_EQ(pool->direct_bytes, 0);
  });
}

TEST(MemoryDirect, CallocZeroesEveryByte) {
  on_new_thread([] {
    // Dirty a block first so a reused one would show.
    unsigned char* dirty = static_cast<unsigned char*>(vrx_serv_malloc_direct(30000, 64));
    std::memset(dirty, 0xff, 30000);
    vrx_serv_free(dirty);
    unsigned char* p = static_cast<unsigned char*>(vrx_serv_calloc(1000, 30, 128));
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(is_aligned(p, 128));
    for (int i = 0; i < 30000; ++i) ASSERT_EQ(p[i], 0) << i;
    vrx_serv_free(p);
  });
}

TEST(MemoryDirect, SizeZeroAndWrappedTotalsGiveNull) {
  EXPECT_EQ(vrx_serv_malloc(0, 64), nullptr);
  EXPECT_EQ(vrx_serv_malloc_direct(0, 64), nullptr);
  EXPECT_EQ(vrx_serv_calloc(0, 8, 64), nullptr);
  EXPECT_EQ(vrx_serv_calloc(8, 0, 64), nullptr);
  EXPECT_EQ(vrx_serv_malloc_direct(huge - 80, 64), nullptr);
  EXPECT_EQ(vrx_serv_malloc(huge, 4096), nullptr);
  EXPECT_EQ(vrx_serv_raw_malloc(huge - 16), nullptr);
}

TEST(MemoryDirect, OutOfMemoryGivesNullAndPrintsNothing) {
  testing::internal::CaptureStdout();
  const std::size_t too_much = std::size_t{1} << 50;
  EXPECT_EQ(vrx_serv_malloc(too_much, 64), nullptr);
  EXPECT_EQ(vrx_serv_malloc_direct(too_much, 128), nullptr);
  EXPECT_EQ(vrx_serv_calloc(too_much, 1, 64), nullptr);
  EXPECT_EQ(vrx_serv_raw_malloc(too_much), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(MemoryDirect, FreeingNullOrAnEmptyHeaderDoesNothing) {
  EXPECT_EQ(vrx_serv_free(nullptr), 0);
  vrx_serv_free_direct(nullptr);
  vrx_serv_raw_free(nullptr);
  alignas(64) unsigned char area[128] = {};
  vrx_serv_free_direct(area + 64);  // raw word 0 below the pointer
  vrx_serv_raw_free(area + 64);     // base word 0 in the raw header
  for (unsigned char byte : area) EXPECT_EQ(byte, 0);
}

TEST(MemoryRaw, ReallocKeepsTheContents) {
  EXPECT_EQ(vrx_serv_raw_realloc(nullptr, 0), nullptr);
  unsigned char* p = static_cast<unsigned char*>(vrx_serv_raw_realloc(nullptr, 10));
  ASSERT_NE(p, nullptr);
  for (int i = 0; i < 10; ++i) p[i] = static_cast<unsigned char>(i + 1);
  unsigned char* grown = static_cast<unsigned char*>(vrx_serv_raw_realloc(p, 100000));
  ASSERT_NE(grown, nullptr);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(grown[i], i + 1);
  EXPECT_EQ((reinterpret_cast<RawHeader*>(grown) - 1)->total, 100000u + 32u);
  for (int i = 0; i < 100000; ++i) grown[i] = static_cast<unsigned char>(i * 7);
  unsigned char* shrunk = static_cast<unsigned char*>(vrx_serv_raw_realloc(grown, 5000));
  ASSERT_NE(shrunk, nullptr);
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(shrunk[i], static_cast<unsigned char>(i * 7));
  // A failed move gives null and leaves the old block as it was.
  EXPECT_EQ(vrx_serv_raw_realloc(shrunk, std::size_t{1} << 50), nullptr);
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(shrunk[i], static_cast<unsigned char>(i * 7));
  EXPECT_EQ(vrx_serv_raw_realloc(shrunk, 0), nullptr);
}

TEST(MemorySettings, FastMemoryLimitIsParsedLikeAtoiInMebibytes) {
  EXPECT_EQ(vrx_serv_hbw_limit_from(nullptr), vrx_no_hbw_limit);
  EXPECT_EQ(vrx_serv_hbw_limit_from("abc"), 0u);
  EXPECT_EQ(vrx_serv_hbw_limit_from("0"), 0u);
  EXPECT_EQ(vrx_serv_hbw_limit_from("16"), std::uint64_t{16} << 20);
  EXPECT_EQ(vrx_serv_hbw_limit_from("  +8MB"), std::uint64_t{8} << 20);
  EXPECT_EQ(vrx_serv_hbw_limit_from("-1"), vrx_no_hbw_limit);
  EXPECT_EQ(vrx_serv_hbw_limit_from("99999999999"), std::uint64_t{2147483647} << 20);
}

TEST(MemorySettings, HighBandwidthLibraryStaysOffHere) {
  vrx_serv_memory_init();
  EXPECT_EQ(vrx_serv_hbw.on, 0);  // looked for only on CPU type 6
  EXPECT_EQ(vrx_serv_hbw_load("lib/libmemkind.so"), 0);
  EXPECT_EQ(vrx_serv_hbw_load("dir\\libmemkind.so"), 0);
  EXPECT_EQ(vrx_serv_hbw.on, 0);
}

TEST(MemoryStatistics, MoveOnlyWhileTheFlagIsOne) {
  EXPECT_EQ(vrx_serv_memory_stats.flag, -1);
  on_new_thread([] {
    const vrx_memory_statistics start = vrx_serv_memory_stats;
    vrx_serv_free(vrx_serv_malloc_direct(1000, 64));
    EXPECT_EQ(vrx_serv_memory_stats.peak_bytes, start.peak_bytes);
    vrx_serv_memory_stats = {1, 0, 0, 0, 0};
    void* a = vrx_serv_malloc_direct(1000, 64);
    void* b = vrx_serv_malloc_direct(3000, 128);
    vrx_serv_free(a);
    EXPECT_EQ(vrx_serv_memory_stats.current_blocks, 1);
    EXPECT_EQ(vrx_serv_memory_stats.current_bytes, 3000 + 128 + 24);
    EXPECT_EQ(vrx_serv_memory_stats.peak_blocks, 2);
    EXPECT_EQ(vrx_serv_memory_stats.peak_bytes, (1000 + 64 + 24) + (3000 + 128 + 24));
    vrx_serv_free(b);
    EXPECT_EQ(vrx_serv_memory_stats.current_bytes, 0);
    vrx_serv_memory_stats = start;
  });
}
