// The team road's decisions as pure functions: thread counts of the cost model, the
// k-split model, the layouts and the cuts, with the values worked out by hand.
#include <gtest/gtest.h>

#include "blas/level3/team/vrx_l3_team.h"

namespace {
vrx_l3_team<double> layout(int cpu, int threads, vrx_int m, vrx_int n, vrx_int k, unsigned road = 2) {
  vrx_l3_team<double> team{};
  team.cpu = static_cast<std::uint32_t>(cpu);
  team.threads = threads;
  team.road = road;
  vrx_l3_team_layout(&team, m, n, k);
  return team;
}

struct expected_layout {
  int cpu, threads;
  vrx_int m, n, k;
  unsigned split, team_mode;
  int grid_m, grid_n, grid_k;
};

void expect_layout(const expected_layout& e) {
  const vrx_l3_team<double> t = layout(e.cpu, e.threads, e.m, e.n, e.k);
  const std::string where = "type " + std::to_string(e.cpu) + " t=" + std::to_string(e.threads) +
                            " m=" + std::to_string(e.m) + " n=" + std::to_string(e.n) + " k=" + std::to_string(e.k);
  EXPECT_EQ(t.split, e.split) << where;
  EXPECT_EQ(t.team_mode, e.team_mode) << where;
  if (e.split >= 2) {
    EXPECT_EQ(t.grid_m, e.grid_m) << where;
    EXPECT_EQ(t.grid_n, e.grid_n) << where;
    EXPECT_EQ(t.grid_k, e.grid_k) << where;
  }
  if (e.team_mode == 1) EXPECT_EQ(t.pack_threads, e.threads) << where;
}

// For any length and number of parts, the non-empty parts follow each other and cover it.
void expect_cover(vrx_l3_part (*cut)(vrx_int, vrx_int, vrx_int)) {
  for (vrx_int length = 1; length < 80; ++length)
    for (vrx_int parts = 1; parts < 40; ++parts) {
      vrx_int next = 0;
      for (vrx_int i = 0; i < parts; ++i) {
        const vrx_l3_part p = cut(length, parts, i);
        if (p.count == 0) continue;
        ASSERT_EQ(p.start, next) << length << " " << parts << " " << i;
        next += p.count;
      }
      ASSERT_EQ(next, length) << length << " " << parts;
    }
}
}  // namespace

TEST(TeamCostModel, SmallProductsStayOnOneThread) {
  EXPECT_EQ(vrx_l3_team_thread_count<double>(7, 32, 32, 8, 4), 1);     // cost 512
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 30, 50, 4), 1);    // cost 3000: never above 3000 t / (t - 1)
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 50, 60, 8), 1);    // cost 6000: the steps run out below t = 2
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 1000, 1000, 1000, 1), 1);
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 1000, 1000, 0, 8), 1);
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 1000, 1000, -5, 8), 1);
  for (vrx_int s = 1; s <= 16; ++s) EXPECT_EQ(vrx_l3_team_thread_count<double>(7, s, s, s, 2), 1) << s;
}

TEST(TeamCostModel, FewThreadsStepByOne) {
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 50, 70, 4), 4);  // cost 7000 > 4000
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 35, 50, 4), 1);  // 3500: 4500 at t = 3, 6000 at t = 2
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 44, 50, 4), 4);  // 4400
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 50, 50, 2), 1);  // 5000 needs more than 6000 at t = 2
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 61, 100, 2), 2);
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 85, 50, 3), 3);   // 8500 > 4500
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, 42, 100, 3), 3);  // three threads or one: 4500 < 6000
}

TEST(TeamCostModel, ManyThreadsStepByTwoFourAndEight) {
  // (t - 1) cost > (500 t + 4000) t, type 5 with m = 16 so that cost = 2 n k.
  const struct {
    int max_threads;
    vrx_int n, k;
    int expected;
  } cases[] = {
      {8, 46, 100, 8},    {8, 45, 100, 6},    {8, 42, 100, 4},   {8, 41, 100, 4},  {8, 40, 100, 1},
      {33, 100, 106, 33}, {33, 100, 100, 25}, {33, 80, 100, 21}, {33, 70, 100, 17}, {33, 60, 100, 13},
      {33, 50, 100, 9},   {33, 45, 100, 7},   {33, 41, 100, 5},  {33, 40, 100, 1},  {16, 62500, 1, 16},
  };
  for (const auto& c : cases)
    EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 16, c.n, c.k, c.max_threads), c.expected)
        << "t=" << c.max_threads << " cost=" << 2 * c.n * c.k;
  // m = n = k = 100 on type 5: cost 125000, 16 threads stay.
  EXPECT_EQ(vrx_l3_team_thread_count<double>(5, 100, 100, 100, 16), 16);
  // Type 7 halves the cost: 2 n k with m = 32.
  EXPECT_EQ(vrx_l3_team_thread_count<double>(7, 32, 41, 100, 8), 4);
  EXPECT_EQ(vrx_l3_team_thread_count<double>(7, 16, 41, 100, 8), 1);
}

TEST(TeamKSplitModel, LeavesOfBothTrees) {
  const struct {
    int threads;
    vrx_int m, n, k;
    bool yes;
  } cases[] = {
      // up to 18 threads
      {4, 100, 16, 1000, true},    // n <= 32, m - 1.8 n <= 166: 0.749
      {4, 100, 32, 400, false},    // -0.046
      {4, 300, 16, 336, true},     // m - 1.8 n > 166: 0.519
      {4, 378, 32, 336, false},    // -0.030
      {4, 100, 100, 1000, false},  // 3.7 m + 3.5 n - 0.8 k > -283: 0.264
      {4, 100, 40, 2000, true},    // n <= 48: 0.824
      {18, 100, 100, 2000, true},  // n > 48: 1
      // above 18 threads
      {24, 100, 16, 1000, true},   // 0.781
      {24, 30, 20, 336, true},     // 0.556
      {24, 30, 10, 336, false},    // 0.366
      {24, 100, 200, 4000, true},  // 1.1 m - 0.6 n <= 153.5: 0.580
      {24, 300, 200, 4000, false}, // -0.029
      {24, 300, 200, 12000, true}, // 0.611
      {24, 100, 200, 1000, false}, // no split of k at all
  };
  for (const auto& c : cases)
    EXPECT_EQ(vrx_l3_team_k_split_model(c.threads, c.m, c.n, c.k), c.yes)
        << "t=" << c.threads << " m=" << c.m << " n=" << c.n << " k=" << c.k;
}

TEST(TeamLayout, ThreeDimensionalGrids) {
  const expected_layout cases[] = {
      {5, 8, 2000, 2000, 100000, 3, 0, 1, 2, 4},  // gn 4 lowered to 2
      {7, 8, 2000, 2000, 100000, 3, 0, 1, 2, 4},
      {5, 8, 2048, 16, 2048, 3, 0, 2, 1, 4},      // two row blocks
      {5, 6, 1304, 100, 1400, 3, 0, 2, 1, 3},     // gk 4 lowered to 3
      {5, 8, 1304, 1500, 12000, 3, 0, 1, 2, 4},   // gn 3 lowered to 2
      {5, 8, 1304, 960, 7680, 3, 0, 1, 2, 4},
      {5, 2, 1304, 16, 1304, 3, 0, 1, 1, 2},
  };
  for (const auto& e : cases) expect_layout(e);
  // Each failing test of the layout leads elsewhere.
  EXPECT_NE(layout(5, 8, 1303, 16, 1304).split, 3u);
  EXPECT_NE(layout(5, 8, 1304, 15, 1304).split, 3u);
  EXPECT_NE(layout(5, 8, 1304, 200, 1599).split, 3u);
  EXPECT_EQ(layout(5, 8, 1304, 200, 1600).split, 3u);
  EXPECT_NE(layout(5, 7, 2000, 2000, 100000).split, 3u);
  EXPECT_NE(layout(5, 8, 4096, 3200, 100000).split, 3u);  // m n = 13107200
  EXPECT_NE(layout(5, 8, 2000, 2000, 100000, 198).split, 3u);
}

TEST(TeamLayout, GridsRowsColumnsAndTheCooperatingTeam) {
  const expected_layout cases[] = {
      {5, 8, 2000, 2000, 100000, 3, 0, 1, 2, 4},
      {5, 8, 2000, 2000, 2000, 2, 0, 4, 2, 1},   // wide: rows doubled while m / gm >= 384, up to 4
      {5, 7, 2000, 2000, 100000, 2, 0, 1, 7, 1}, // odd t: one row of the grid
      {7, 4, 2000, 2000, 2000, 2, 0, 4, 1, 1},
      {5, 4, 800, 300, 100, 2, 0, 2, 2, 1},      // stops once n / gn > w2
      {7, 4, 800, 160, 64, 2, 0, 2, 2, 1},
      {5, 4, 1000, 20, 50, 2, 0, 4, 1, 1},
      {5, 3, 1000, 4000, 100, 1, 1, 0, 0, 0},    // cooperating
      {7, 3, 1000, 4000, 100, 1, 1, 0, 0, 0},
      {5, 2, 5000, 5000, 300, 1, 1, 0, 0, 0},
      {5, 3, 999, 4000, 100, 2, 0, 1, 3, 1},
      {5, 4, 100, 16, 1000, 3, 0, 1, 1, 4},      // split of k on a small C
      {7, 24, 100, 16, 1000, 3, 0, 1, 1, 24},
      {5, 4, 100, 32, 400, 0, 0, 0, 0, 0},       // the model says no: rows
      {5, 16, 100, 100, 100, 1, 0, 0, 0, 0},     // columns
      {5, 4, 400, 400, 400, 1, 0, 0, 0, 0},
      {5, 4, 300, 20, 50, 0, 0, 0, 0, 0},
      {5, 4, 20, 10, 50, 0, 0, 0, 0, 0},         // m / t >= 4
      {7, 4, 20, 10, 50, 1, 0, 0, 0, 0},         // m / t < 8 and n >= 2 t
      {7, 4, 20, 7, 50, 0, 0, 0, 0, 0},          // n < 2 t
      {5, 4, 300, 500, 400, 1, 0, 0, 0, 0},      // n > 378 passes over the k-split model
  };
  for (const auto& e : cases) expect_layout(e);
}

TEST(TeamCuts, EqualPartsWithTheRestOnTheLast) {
  const vrx_l3_part hundred[] = {vrx_l3_cut(100, 16, 0), vrx_l3_cut(100, 16, 13), vrx_l3_cut(100, 16, 14),
                                 vrx_l3_cut(100, 16, 15)};
  EXPECT_EQ(hundred[0].start, 0);
  EXPECT_EQ(hundred[0].count, 7);
  EXPECT_EQ(hundred[1].start, 91);
  EXPECT_EQ(hundred[2].start, 98);
  EXPECT_EQ(hundred[2].count, 2);
  EXPECT_EQ(hundred[3].count, 0);
  EXPECT_EQ(vrx_l3_cut(10, 4, 3).start, 9);
  EXPECT_EQ(vrx_l3_cut(10, 4, 3).count, 1);
  EXPECT_EQ(vrx_l3_cut(5, 4, 3).count, 2);
  expect_cover(vrx_l3_cut);
}

TEST(TeamCuts, KPartsTakeTheRemainderFirst) {
  const vrx_int expected[][2] = {{0, 3}, {3, 3}, {6, 2}, {8, 2}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(vrx_l3_cut_k(10, 4, i).start, expected[i][0]);
    EXPECT_EQ(vrx_l3_cut_k(10, 4, i).count, expected[i][1]);
  }
  EXPECT_EQ(vrx_l3_cut_k(3, 4, 2).count, 1);
  EXPECT_EQ(vrx_l3_cut_k(3, 4, 3).count, 0);
  expect_cover(vrx_l3_cut_k);
}

TEST(TeamCuts, GridCutShrinksOnlyInDynamicMode) {
  auto counts = [](vrx_int length, vrx_int parts, bool rows, bool dynamic) {
    std::vector<vrx_int> out;
    vrx_l3_part p;
    const vrx_int used = vrx_l3_cut_grid(length, parts, rows, dynamic, 0, &p);
    vrx_int next = 0;
    for (vrx_int i = 0; i < parts; ++i) {
      vrx_l3_cut_grid(length, parts, rows, dynamic, i, &p);
      if (i >= used) {
        EXPECT_EQ(p.count, 0);
        continue;
      }
      EXPECT_EQ(p.start, next);
      next += p.count;
      out.push_back(p.count);
    }
    EXPECT_EQ(next, length);
    return out;
  };
  using v = std::vector<vrx_int>;
  EXPECT_EQ(counts(100, 8, true, true), (v{14, 14, 14, 14, 14, 14, 14, 2}));
  EXPECT_EQ(counts(100, 8, false, true), (v{13, 13, 13, 13, 13, 13, 13, 9}));
  EXPECT_EQ(counts(100, 8, true, false), (v{13, 13, 13, 13, 12, 12, 12, 12}));
  EXPECT_EQ(counts(11, 4, true, true), (v{4, 4, 3}));
  EXPECT_EQ(counts(11, 4, false, true), (v{3, 3, 3, 2}));
  EXPECT_EQ(counts(30, 8, true, true), (v{5, 5, 5, 5, 5, 5}));
  EXPECT_EQ(counts(7, 5, false, true), (v{2, 2, 2, 1}));
  EXPECT_EQ(counts(7, 5, false, false), (v{2, 2, 1, 1, 1}));
  EXPECT_EQ(counts(9, 4, true, true), (v{2, 2, 2, 3}));  // an even cut stays
}

TEST(TeamReduce, SlabsAddIntoCExactlyAndOnlyOverTheRows) {
  // Integer values: every order of summation gives the exact sum.
  for (int parts : {2, 3, 17, 18, 19, 34, 40}) {
    const vrx_int rows = 70, stride = 100;
    const int slabs = parts - 1;
    std::vector<double> work(static_cast<size_t>(stride * slabs)), c(rows + 5, 3.0);
    for (int s = 0; s < slabs; ++s)
      for (vrx_int i = 0; i < stride; ++i) work[s * stride + i] = static_cast<double>((s + 1) * 1000 + i);
    vrx_l3_team_reduce(c.data(), work.data(), stride, slabs, rows, parts);
    for (vrx_int i = 0; i < rows; ++i) {
      double want = 3.0;
      for (int s = 0; s < slabs; ++s) want += (s + 1) * 1000 + i;
      ASSERT_EQ(c[i], want) << parts << " " << i;
    }
    for (vrx_int i = rows; i < rows + 5; ++i) ASSERT_EQ(c[i], 3.0);
  }
}
