// Real products on the team road, run in this process on teams of a chosen size and
// CPU type: every layout and worker, the shared-buffer failures, a runtime that
// delivers fewer threads than asked, repeatability, and the team barrier.
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "blas/dgemm_team_check.h"
#include "blas/level3/driver/vrx_l3_sync.h"
#include "service/vrx_memory.h"

namespace {
struct team_case {
  const char* what;
  int threads;
  const char* trans;
  vrx_int m, n, k;
  double alpha, beta;
};

void check_case(int cpu, const team_case& t, unsigned seed) {
  const team_problem p = team_make(t.trans, t.m, t.n, t.k, t.alpha, t.beta, seed);
  const std::vector<double> c = team_run(p, cpu, t.threads);
  EXPECT_LT(team_error(p, c), 1.0) << t.what << " type " << cpu << " t=" << t.threads << " " << t.trans
                                   << " m=" << t.m << " n=" << t.n << " k=" << t.k << " beta=" << t.beta;
}

bool same_bits(const std::vector<double>& x, const std::vector<double>& y) {
  return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(double)) == 0;
}

// Allocation hooks of the level-3 scratch: the k-split slabs are the only 4096-aligned
// request; the shared A block of the cooperating team the only one above 4 MB there.
void* refuse_page_aligned(std::size_t size, int alignment) {
  return alignment == 4096 ? nullptr : vrx_serv_malloc(size, alignment);
}
void* refuse_large(std::size_t size, int alignment) {
  return size >= 4196992 ? nullptr : vrx_serv_malloc(size, alignment);
}
struct scratch_hook {
  explicit scratch_hook(vrx_l3_alloc_fn hook) : saved(vrx_l3_scratch_alloc) { vrx_l3_scratch_alloc = hook; }
  ~scratch_hook() { vrx_l3_scratch_alloc = saved; }
  vrx_l3_alloc_fn saved;
};

const team_case layout_cases[] = {
    {"columns", 16, "NN", 100, 100, 100, 1.0, 0.0},
    {"columns, beta 2.5", 3, "TN", 61, 77, 45, -1.5, 2.5},
    {"rows", 4, "NT", 300, 20, 50, 0.5, 1.0},
    {"rows, n below 2t", 4, "TT", 53, 7, 33, 1.0, -1.0},
    {"grid 2 by 2", 4, "NN", 800, 300, 100, 1.0, 0.0},
    {"grid 1 by 5, dynamic shrink", 5, "TN", 400, 7, 20, 2.0, 0.5},
    {"k split 1x1x4", 4, "NN", 100, 16, 1000, 1.0, 0.0},
    {"k split 1x1x3, beta", 3, "TT", 100, 16, 1000, -1.0, 1.5},
    {"k split 1x1x24, groups of 16", 24, "NT", 100, 16, 1000, 1.0, 2.0},
    {"3d 2x1x4", 8, "NN", 2048, 16, 2048, 1.0, 0.0},
    {"3d 2x1x3", 6, "TN", 1304, 100, 1400, 0.75, 1.0},
    {"cooperating", 3, "NN", 1000, 4000, 100, 1.0, 0.0},
    {"cooperating, beta", 2, "TT", 1000, 4001, 60, -0.5, 3.0},
};
}  // namespace

TEST(TeamWorkers, EveryLayoutOnBothTypes) {
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    unsigned seed = 11;
    for (const team_case& t : layout_cases) check_case(cpu, t, seed++);
  }
}

TEST(TeamWorkers, GridsOfTypeSeven) {
  if (!team_runs_type(7)) GTEST_SKIP();
  check_case(7, {"grid 2 by 2", 4, "NT", 800, 160, 64, 1.0, 0.0}, 3);
  check_case(7, {"grid 4 by 1", 4, "TN", 1600, 100, 40, 1.0, 1.0}, 4);
  check_case(7, {"k split 1x1x33", 33, "NN", 64, 24, 700, 1.0, 0.0}, 5);
}

TEST(TeamWorkers, OneDeliveredThreadComputesTheWholeProduct) {
  // Inside a parallel region the runtime gives a nested team one thread.
  const team_problem split = team_make("NN", 100, 16, 1000, 1.0, 0.0, 21);
  const team_problem shared = team_make("TN", 1000, 4000, 30, 1.0, 1.0, 22);
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    std::vector<double> c1, c2;
#pragma omp parallel num_threads(2)
    {
      if (omp_get_thread_num() == 0) c1 = team_run(split, cpu, 8);
      else c2 = team_run(shared, cpu, 3);
    }
    EXPECT_LT(team_error(split, c1), 1.0) << cpu;
    EXPECT_LT(team_error(shared, c2), 1.0) << cpu;
    EXPECT_TRUE(same_bits(c1, team_run(split, cpu, 1))) << "one delivered thread runs the one-thread product";
  }
}

TEST(TeamWorkers, MissingSlabsGiveTheOneThreadProduct) {
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    for (const auto& [threads, m, n, k] : {std::array<vrx_int, 4>{4, 100, 16, 1000}, {8, 2048, 16, 2048}}) {
      const team_problem p = team_make("NT", m, n, k, 1.0, 2.0, 31);
      const std::vector<double> alone = team_run(p, cpu, 1);
      std::vector<double> c;
      {
        scratch_hook hook(refuse_page_aligned);
        c = team_run(p, cpu, static_cast<int>(threads));
      }
      EXPECT_TRUE(same_bits(c, alone)) << "type " << cpu << " t=" << threads << " m=" << m;
      EXPECT_LT(team_error(p, c), 1.0);
    }
  }
}

TEST(TeamWorkers, MissingSharedBlockFallsBackOnEveryColumnSlice) {
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    const team_problem p = team_make("NN", 1000, 4000, 50, -1.0, 0.0, 41);
    std::vector<double> c;
    {
      scratch_hook hook(refuse_large);
      c = team_run(p, cpu, 3);
    }
    EXPECT_LT(team_error(p, c), 1.0) << cpu;
  }
}

TEST(TeamWorkers, AFixedThreadCountRepeatsBitwise) {
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    const team_case cases[] = {{"k split", 24, "NN", 100, 16, 1000, 1.0, 1.0},
                               {"3d", 8, "TN", 2048, 16, 2048, 1.0, 0.5},
                               {"cooperating", 3, "NT", 1000, 4000, 50, 1.0, 1.0}};
    for (const team_case& t : cases) {
      const team_problem p = team_make(t.trans, t.m, t.n, t.k, t.alpha, t.beta, 51);
      const std::vector<double> first = team_run(p, cpu, t.threads);
      EXPECT_TRUE(same_bits(first, team_run(p, cpu, t.threads))) << t.what << " type " << cpu;
    }
  }
}

TEST(TeamBarrier, NoThreadPassesBeforeAllHaveArrived) {
  for (int size : {1, 2, 5, 9}) {
    vrx_l3_sync sync;
    vrx_l3_sync_reset(&sync);
    std::vector<std::atomic<int>> round(static_cast<size_t>(size));
    for (auto& r : round) r = 0;
    std::atomic<int> wrong{0};
#pragma omp parallel num_threads(size)
    {
      const int id = omp_get_thread_num(), delivered = omp_get_num_threads();
      for (int r = 1; r <= 100; ++r) {
        round[static_cast<size_t>(id)].store(r);
        vrx_l3_barrier(&sync, id, delivered);
        for (int other = 0; other < delivered; ++other)
          if (round[static_cast<size_t>(other)].load() < r) ++wrong;
        vrx_l3_barrier(&sync, id, delivered);
      }
    }
    EXPECT_EQ(wrong.load(), 0) << size;
    EXPECT_EQ(sync.released, size > 1 ? 200u * (size - 1) : 0u);
  }
}
