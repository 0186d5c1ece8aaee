// The decisions of the classic road as pure functions: small filter, compute road,
// strategy table, profitability, the partition for every strategy, the cutting
// rules, the parallel scaling's direction and the shared buffer sizes.
#include <gtest/gtest.h>

#include <vector>

#include "blas/level3/classic/vrx_gemm_classic.h"

namespace {
vrx_gemm_classic_facts facts(int type, int gate, int fam10 = 0, int fma4 = 0, int sse41 = 0,
                             std::int64_t l2 = 262144) {
  return {type, gate, fam10, fma4, sse41, l2};
}

struct expected {
  int worker, threads, grid_m, grid_n, mode;
  vrx_int block_m, block_n, block_k;
  int count_a, count_b;
};

vrx_gemm_split decide(int strategy, int road, int t, vrx_int m, vrx_int n, vrx_int k,
                      std::int64_t cache = 8388608) {
  vrx_gemm_split s = {};
  s.strategy = strategy;
  s.compute_road = road;
  s.threads = t;
  s.cache_bytes = cache;
  s.a_is_n = 1;
  vrx_gemm_classic_partition(&s, m, n, k);
  return s;
}

void expect(const vrx_gemm_split& s, const expected& e, const char* what) {
  EXPECT_EQ(s.worker_id, e.worker) << what;
  EXPECT_EQ(s.threads, e.threads) << what;
  if (e.worker == VRX_CLASSIC_ROWS || e.worker == VRX_CLASSIC_COLUMNS) return;
  EXPECT_EQ(s.grid_m, e.grid_m) << what;
  EXPECT_EQ(s.grid_n, e.grid_n) << what;
  EXPECT_EQ(s.mode, e.mode) << what;
  EXPECT_EQ(s.block_m, e.block_m) << what;
  EXPECT_EQ(s.block_n, e.block_n) << what;
  EXPECT_EQ(s.block_k, e.block_k) << what;
  EXPECT_EQ(s.count_a, e.count_a) << what;
  EXPECT_EQ(s.count_b, e.count_b) << what;
}

constexpr int ROWS = VRX_CLASSIC_ROWS, COLS = VRX_CLASSIC_COLUMNS, GRID = VRX_CLASSIC_GRID,
              PANEL = VRX_CLASSIC_SHARED_PANEL, RING = VRX_CLASSIC_RING, TWO = VRX_CLASSIC_TWO_BY_MANY,
              GROUPED = VRX_CLASSIC_GROUPED;
}  // namespace

TEST(DgemmClassicDecisions, SmallFilter) {
  EXPECT_TRUE(vrx_gemm_classic_small(100, 100, 4));
  EXPECT_FALSE(vrx_gemm_classic_small(101, 100, 4));
  EXPECT_FALSE(vrx_gemm_classic_small(100, 101, 4));
  EXPECT_FALSE(vrx_gemm_classic_small(100, 100, 5));
  EXPECT_TRUE(vrx_gemm_classic_small(17, 3, 0));
  EXPECT_TRUE(vrx_gemm_classic_small(16, 16, 16));
  EXPECT_FALSE(vrx_gemm_classic_small(16, 16, 17));
}

TEST(DgemmClassicDecisions, ComputeRoadAndStrategyTable) {
  EXPECT_EQ(vrx_gemm_classic_compute_road_of(0, 1), 0);
  EXPECT_EQ(vrx_gemm_classic_compute_road_of(2, 1), 1);
  EXPECT_EQ(vrx_gemm_classic_compute_road_of(2, 3), 0);
  EXPECT_EQ(vrx_gemm_classic_compute_road_of(3, 3), 1);
  EXPECT_EQ(vrx_gemm_classic_compute_road_of(4, 9), 1);

  EXPECT_EQ(vrx_gemm_classic_strategy(facts(0, 0, 1, 1)), 6);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(4, 0, 0, 1)), 8);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(3, 0)), 0);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(2, 1, 0, 0, 1, 3145729)), 2);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(2, 1, 0, 0, 1, 3145728)), 4);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(2, 1, 0, 0, 0)), 1);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(3, 1)), 3);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(4, 1)), 5);
  EXPECT_EQ(vrx_gemm_classic_strategy(facts(0, 1)), 0);

  EXPECT_TRUE(vrx_gemm_classic_strategy_sequential(1, 100, 4));
  EXPECT_TRUE(vrx_gemm_classic_strategy_sequential(1, 5, 100));
  EXPECT_FALSE(vrx_gemm_classic_strategy_sequential(1, 6, 5));
  EXPECT_FALSE(vrx_gemm_classic_strategy_sequential(4, 5, 4));
}

TEST(DgemmClassicDecisions, Profitability) {
  EXPECT_TRUE(vrx_gemm_classic_profitable(0, 2, 20, 20, 20));
  EXPECT_TRUE(vrx_gemm_classic_profitable(6, 2, 20, 20, 20));
  // Up to 8 threads: the three volume tests.
  EXPECT_FALSE(vrx_gemm_classic_profitable(3, 2, 20, 20, 20));
  EXPECT_TRUE(vrx_gemm_classic_profitable(3, 2, 64, 64, 64));
  EXPECT_TRUE(vrx_gemm_classic_profitable(3, 2, 20, 20, 513));
  EXPECT_FALSE(vrx_gemm_classic_profitable(5, 4, 500, 1, 500));  // no column per half
  // Nine threads and more.
  EXPECT_TRUE(vrx_gemm_classic_profitable(5, 16, 1000, 50, 100));
  EXPECT_FALSE(vrx_gemm_classic_profitable(5, 16, 50, 2, 100));   // few rows, n below 4
  EXPECT_FALSE(vrx_gemm_classic_profitable(5, 16, 200, 2, 2));    // (h + n) k below 225
  EXPECT_TRUE(vrx_gemm_classic_profitable(5, 16, 20, 1000, 10));  // wide: columns by t
  EXPECT_FALSE(vrx_gemm_classic_profitable(5, 16, 50, 10, 300));  // no row or column per thread
  EXPECT_TRUE(vrx_gemm_classic_profitable(5, 16, 50, 16, 300));
  EXPECT_FALSE(vrx_gemm_classic_profitable(5, 16, 200, 15, 20));  // one column per pair, k h below 2450
  EXPECT_TRUE(vrx_gemm_classic_profitable(5, 16, 200, 15, 25));
  EXPECT_TRUE(vrx_gemm_classic_profitable(5, 16, 300, 15, 8));    // tall: rows by t
}

TEST(DgemmClassicDecisions, PartitionStrategy0AndSequentialRoad) {
  expect(decide(0, 1, 3, 60, 20, 30), {ROWS, 3}, "rows");
  expect(decide(0, 1, 2, 20, 60, 30), {COLS, 2}, "columns");
  expect(decide(3, 0, 4, 60, 20, 30), {ROWS, 4}, "strategy 3 off the packed road");
  expect(decide(6, 0, 4, 60, 50, 30), {GRID, 4, 4, 1, 4, 60, 50, 30}, "family 10h, square");
  expect(decide(6, 0, 6, 600, 500, 300), {GRID, 6, 2, 3, 4, 512, 384, 300}, "family 10h, narrow tiles");
  expect(decide(6, 0, 2, 600, 1000, 2000), {GRID, 2, 2, 1, 4, 600, 384, 768}, "family 10h, wide tiles");
  expect(decide(8, 0, 3, 60, 20, 30), {GRID, 3, 3, 1, 4, 60, 20, 30}, "FMA4, odd");
  expect(decide(8, 0, 4, 20, 60, 30), {GRID, 4, 1, 4, 4, 20, 60, 30}, "FMA4, wide");
  expect(decide(8, 0, 16, 2000, 2000, 2000), {GRID, 16, 4, 4, 4, 512, 256, 768}, "FMA4, many threads");
}

TEST(DgemmClassicDecisions, PartitionStrategy1) {
  expect(decide(1, 1, 3, 8000, 3000, 512), {PANEL, 2, 1, 1, 32, 512, 0, 0, 0, 1}, "shared panel");
  expect(decide(1, 1, 4, 8000, 3000, 513), {GRID, 4, 2, 2, 4}, "k too deep for the panel");
  expect(decide(1, 1, 4, 100, 500, 64), {GRID, 4, 1, 4, 4}, "wide");
  expect(decide(1, 1, 4, 900, 200, 10), {GRID, 4, 4, 1, 4}, "tall");
  expect(decide(1, 1, 4, 128, 30, 51), {GRID, 4, 4, 1, 4}, "m = 128");
  expect(decide(1, 1, 4, 128, 30, 50), {GRID, 4, 2, 2, 4}, "m = 128, k = 50");
  expect(decide(1, 1, 5, 250, 60, 60), {GRID, 4, 4, 1, 4}, "201 <= m <= 800, odd t");
}

TEST(DgemmClassicDecisions, PartitionStrategies2And4) {
  expect(decide(2, 1, 3, 1000, 1000, 150), {COLS, 3}, "odd t below 8");
  expect(decide(2, 1, 9, 1000, 1000, 150), {RING, 8, 1, 1, 64, 1024, 8, 0}, "ring");
  expect(decide(2, 1, 4, 8000, 1000, 256), {RING, 4, 1, 1, 64, 704, 8, 0}, "ring, k = 256");
  expect(decide(4, 1, 4, 1000, 1000, 150), {RING, 4, 1, 1, 64, 448, 8, 0}, "ring, strategy 4");
  expect(decide(4, 1, 24, 700, 500, 257), {TWO, 24, 2, 12, 0, 200, 800, 128}, "two-by-many");
  expect(decide(4, 1, 24, 700, 500, 150), {RING, 24, 1, 1, 64, 448, 8, 0}, "ring on 24");
  expect(decide(4, 1, 25, 10000, 600, 500), {RING, 24, 1, 1, 64, 448, 8, 0}, "ring on 24, m >= 10000 rule");
  expect(decide(4, 1, 24, 600, 2000, 150), {GRID, 24, 2, 12, 4}, "not wanted on 24");
  expect(decide(2, 1, 4, 1000, 1000, 100), {GRID, 4, 2, 2, 4}, "not wanted");
  expect(decide(2, 1, 4, 10000, 100, 100), {GRID, 4, 4, 1, 4}, "not wanted, tall");
  expect(decide(2, 1, 4, 10, 1000, 100), {GRID, 4, 1, 4, 4}, "not wanted, wide");
}

TEST(DgemmClassicDecisions, PartitionStrategies3And5) {
  expect(decide(3, 1, 3, 100, 100, 40), {COLS, 3}, "odd t, enough rows");
  expect(decide(3, 1, 3, 90, 90, 40), {GRID, 2, 2, 1, 4}, "odd t, few rows");
  expect(decide(5, 1, 4, 90, 90, 40), {GRID, 4, 2, 2, 128}, "AVX plain");
  expect(decide(3, 1, 8, 200, 128, 200, 4194304), {GROUPED, 8, 4, 2, 16, 200, 128, 0, 4, 0}, "grouped SSE4.2");
  expect(decide(5, 1, 8, 200, 300, 200), {GROUPED, 8, 2, 4, 8, 200, 256, 0, 2, 0}, "grouped AVX");
  expect(decide(3, 1, 16, 1000, 128, 200), {GROUPED, 16, 4, 4, 16, 1000, 128, 0, 4, 0}, "grouped, 16");
  expect(decide(3, 1, 16, 1000, 128, 200, 4194304), {GROUPED, 16, 4, 4, 16, 384, 128, 0, 4, 0}, "small cache");
  expect(decide(3, 1, 16, 999, 128, 200), {GRID, 16, 16, 1, 4}, "m below 1000 on 16");
  expect(decide(3, 1, 33, 1000, 1000, 200), {GRID, 32, 4, 8, 4}, "33 threads");
  expect(decide(3, 1, 40, 1000, 1000, 200), {GROUPED, 40, 5, 8, 16, 1000, 1000, 0, 5, 0}, "40 threads");
  expect(decide(3, 1, 36, 1000, 1000, 200), {GRID, 36, 4, 9, 4}, "36 threads");
  expect(decide(3, 1, 8, 1000, 1000, 2001), {GRID, 8, 2, 4, 4}, "k above 2 m");
  expect(decide(5, 1, 8, 100, 1000, 40), {GRID, 8, 1, 8, 128}, "wide");
}

TEST(DgemmClassicDecisions, Cuts) {
  auto parts = [](vrx_int extent, int t, int dynamic) {
    std::vector<vrx_int> out;
    vrx_int expected_first = 0;
    for (int id = 0; id < t; ++id) {
      vrx_int first, count;
      vrx_gemm_classic_cut(extent, t, id, dynamic, &first, &count);
      if (count > 0) EXPECT_EQ(first, expected_first);
      expected_first += count;
      out.push_back(count);
    }
    EXPECT_EQ(expected_first, extent);
    return out;
  };
  EXPECT_EQ(parts(10, 4, 1), (std::vector<vrx_int>{3, 3, 3, 1}));
  EXPECT_EQ(parts(10, 4, 0), (std::vector<vrx_int>{3, 3, 2, 2}));
  EXPECT_EQ(parts(9, 4, 1), (std::vector<vrx_int>{2, 2, 2, 3}));
  EXPECT_EQ(parts(3, 4, 1), (std::vector<vrx_int>{1, 1, 1, 0}));
  EXPECT_EQ(parts(7, 3, 1), (std::vector<vrx_int>{2, 2, 3}));
  EXPECT_EQ(parts(22, 8, 1), (std::vector<vrx_int>{3, 3, 3, 3, 3, 3, 3, 1}));
  EXPECT_EQ(parts(22, 8, 0), (std::vector<vrx_int>{3, 3, 3, 3, 3, 3, 2, 2}));

  vrx_int first, count;
  vrx_gemm_classic_chunk(45, 2, 0, 4, &first, &count);
  EXPECT_EQ(count, 20);
  vrx_gemm_classic_chunk(45, 2, 1, 4, &first, &count);
  EXPECT_EQ(first, 20);
  EXPECT_EQ(count, 25);
  vrx_gemm_classic_chunk(7, 2, 0, 4, &first, &count);
  EXPECT_EQ(count, 0);
  vrx_gemm_classic_chunk(7, 2, 1, 4, &first, &count);
  EXPECT_EQ(count, 7);
}

TEST(DgemmClassicDecisions, ScalingDirectionAndSharedSizes) {
  EXPECT_TRUE(vrx_gemm_classic_scale_by_columns(2, 50, 50, 50));     // all below 100: u = t n
  EXPECT_FALSE(vrx_gemm_classic_scale_by_columns(2, 201, 100, 100));
  EXPECT_TRUE(vrx_gemm_classic_scale_by_columns(2, 200, 100, 100));

  // Grouped on SSE4.2: one A block of block_m rows by kc, capped by the call.
  vrx_gemm_split s;
  vrx_gemm_classic_base(&s, 3, 1, VRX_CPU_SSE42, 0, true, true, 200, 128, 200);
  s.threads = 8;
  vrx_gemm_classic_partition(&s, 200, 128, 200);
  ASSERT_EQ(s.worker_id, GROUPED);
  std::size_t a_bytes, b_bytes;
  vrx_gemm_classic_shared_sizes(&s, 200, 128, 200, &a_bytes, &b_bytes);
  EXPECT_EQ(a_bytes, 200u * 200u * 8u + 512u);
  EXPECT_EQ(b_bytes, 0u);
  // Shared panel on SSSE3: one B block of nc by kc, capped by n and k.
  vrx_gemm_classic_base(&s, 1, 1, VRX_CPU_SSSE3, 0, true, true, 8000, 3000, 100);
  s.threads = 2;
  vrx_gemm_classic_partition(&s, 8000, 3000, 100);
  ASSERT_EQ(s.worker_id, PANEL);
  vrx_gemm_classic_shared_sizes(&s, 8000, 3000, 100, &a_bytes, &b_bytes);
  EXPECT_EQ(a_bytes, 0u);
  EXPECT_EQ(b_bytes, 3000u * 100u * 8u + 4096u);
}
