// Every worker of the classic road run through the real fork on small shapes, with
// the worker and its blocks set beforehand so that no large shape is needed to reach
// it: results against the long-double reference, padding of C untouched, thread
// counts that leave idle threads and uneven tiles, and every kernel-table row.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "blas/level3/classic/vrx_gemm_classic.h"
#include "service/vrx_serv.h"
#include "support/gemm_reference.h"

namespace {
struct shape {
  vrx_int m, n, k;
};
struct road {
  int strategy, compute_road, cpu_type, sse41;
};
// Prepares the split for t threads before the fork.
typedef std::function<void(vrx_gemm_split&, int t)> setup_fn;

// One product through the fork with a prepared split; answers the scaled error.
double run(const road& r, int t, const char* tr, shape s, double alpha, double beta, const setup_fn& setup,
           unsigned seed, vrx_gemm_classic_trace* trace = nullptr) {
  const bool an = tr[0] == 'N', bn = tr[1] == 'N';
  const vrx_int lda = (an ? s.m : s.k) + 3, ldb = (bn ? s.k : s.n) + 1, ldc = s.m + 2;
  std::vector<double> a = vrx_test_random(static_cast<size_t>(lda * (an ? s.k : s.m)), seed);
  std::vector<double> b = vrx_test_random(static_cast<size_t>(ldb * (bn ? s.n : s.k)), seed + 1);
  std::vector<double> c = vrx_test_random(static_cast<size_t>(ldc * s.n), seed + 2);
  if (beta == 0.0)
    for (vrx_int j = 0; j < s.n; ++j)
      for (vrx_int i = 0; i < s.m; i += 3) c[i + j * ldc] = std::numeric_limits<double>::quiet_NaN();
  const std::vector<double> c0 = c;

  vrx_gemm_classic_args args = {&tr[0], &tr[1], s.m, s.n, s.k, alpha, a.data(), lda, b.data(), ldb, beta, c.data(),
                                ldc};
  if (!vrx_gemm_classic_beta_with_product(r.strategy)) {
    vrx_gemm_classic_parallel_scale(t, s.m, s.n, s.k, beta, c.data(), ldc);
    args.beta = 1.0;
  }
  vrx_gemm_split base;
  vrx_gemm_classic_base(&base, r.strategy, r.compute_road, r.cpu_type, r.sse41, an, bn, s.m, s.n, s.k);
  if (setup) setup(base, t);
  vrx_gemm_classic_fork(&base, &args, t);
  if (trace) *trace = vrx_gemm_classic_last_trace();

  for (vrx_int j = 0; j < s.n; ++j)
    for (vrx_int i = s.m; i < ldc; ++i)
      if (c[i + j * ldc] != c0[i + j * ldc]) return 1e9;
  std::vector<long double> ref;
  vrx_test_gemm_long_double(tr[0], tr[1], s.m, s.n, s.k, alpha, a.data(), lda, b.data(), ldb, beta, c0.data(), ldc,
                            ref);
  return vrx_test_gemm_error(c.data(), ldc, s.m, s.n, ref, s.k, std::fabs(alpha) * s.k + std::fabs(beta));
}

const char* const pairs[] = {"NN", "TN", "NT", "TT"};

void check_all(const road& r, const std::vector<int>& threads, const std::vector<shape>& shapes,
               const setup_fn& setup, int expected_worker, const char* what) {
  unsigned seed = 5;
  const double scalars[][2] = {{1.0, 0.0}, {-0.5, 1.0}, {0.75, 2.0}};
  for (int t : threads)
    for (const shape& s : shapes)
      for (const char* tr : pairs)
        for (const auto& ab : scalars) {
          vrx_gemm_classic_trace trace;
          const double e = run(r, t, tr, s, ab[0], ab[1], setup, seed++, &trace);
          ASSERT_LT(e, 1.0) << what << " t=" << t << " " << tr << " m=" << s.m << " n=" << s.n << " k=" << s.k
                            << " alpha=" << ab[0] << " beta=" << ab[1];
          ASSERT_EQ(trace.worker, expected_worker) << what << " t=" << t;
          ASSERT_EQ(trace.team, t) << what;
        }
}

setup_fn with_worker(int id, setup_fn more = nullptr) {
  return [id, more](vrx_gemm_split& s, int t) {
    vrx_gemm_classic_set_worker(&s, id);
    s.threads = t;
    if (more) more(s, t);
  };
}

const road sse2_road = {0, 0, VRX_CPU_SSE2, 0};
const road ssse3_plain_road = {1, 1, VRX_CPU_SSSE3, 0};
const road ssse3_road = {4, 1, VRX_CPU_SSSE3, 1};
const road sse42_road = {3, 1, VRX_CPU_SSE42, 0};
const road avx_road = {5, 1, VRX_CPU_AVX, 0};
}  // namespace

TEST(DgemmClassicWorkers, RowsAndColumnsOnBothComputeRoads) {
  const std::vector<shape> shapes = {{37, 29, 19}, {9, 40, 70}};
  for (const road& r : {sse2_road, avx_road, sse42_road}) {
    check_all(r, {2, 3, 5}, shapes, with_worker(VRX_CLASSIC_ROWS), VRX_CLASSIC_ROWS, "rows");
    check_all(r, {2, 3, 5}, shapes, with_worker(VRX_CLASSIC_COLUMNS), VRX_CLASSIC_COLUMNS, "columns");
  }
  // The cut with dynamic mode off gives the first threads one more.
  for (int dynamic : {0, 1})
    check_all(sse2_road, {4}, {{11, 10, 8}}, with_worker(VRX_CLASSIC_ROWS, [dynamic](vrx_gemm_split& s, int) {
                s.dynamic = dynamic;
              }),
              VRX_CLASSIC_ROWS, "rows, dynamic cut");
}

TEST(DgemmClassicWorkers, GridWithUnevenTilesAndIdleThreads) {
  const std::vector<shape> shapes = {{45, 38, 33}, {7, 50, 12}};
  // Three threads on a 2 x 1 grid leave one idle; five on 2 x 2 likewise.
  for (const road& r : {sse2_road, ssse3_road, sse42_road, avx_road})
    check_all(r, {3, 5}, shapes, with_worker(VRX_CLASSIC_GRID, [](vrx_gemm_split& s, int) {
                s.grid_m = 2;
                s.grid_n = s.threads / 2;
                s.mode = s.compute_road ? 4 : 0;
              }),
              VRX_CLASSIC_GRID, "grid");
  // The other vendor's block walk on compute road 0.
  check_all(sse2_road, {4}, {{41, 53, 47}}, with_worker(VRX_CLASSIC_GRID, [](vrx_gemm_split& s, int) {
              s.grid_m = 2;
              s.grid_n = 2;
              s.block_m = 16;
              s.block_n = 12;
              s.block_k = 20;
            }),
            VRX_CLASSIC_GRID, "grid in blocks");
}

TEST(DgemmClassicWorkers, SharedPanelPacksOneBBlockTogether) {
  // Several k blocks (kc 152 at k = 300) and column blocks of 16, rows in chunks of 12.
  const setup_fn setup = with_worker(VRX_CLASSIC_SHARED_PANEL, [](vrx_gemm_split& s, int) {
    s.block_m = 12;
    s.mode = 32;
    s.count_b = 1;
    s.ctx.nc = 16;
  });
  check_all(ssse3_plain_road, {2, 3}, {{61, 45, 300}, {5, 30, 20}}, setup, VRX_CLASSIC_SHARED_PANEL, "shared-panel");
  check_all(ssse3_plain_road, {8}, {{40, 18, 9}}, setup, VRX_CLASSIC_SHARED_PANEL, "shared-panel, narrow");
}

TEST(DgemmClassicWorkers, RingRotatesColumnSlices) {
  // Rounds of t slices of 8 columns, then the columns left over.
  const setup_fn setup = with_worker(VRX_CLASSIC_RING, [](vrx_gemm_split& s, int) {
    s.block_m = 16;
    s.block_n = 8;
    s.mode = 64;
  });
  check_all(ssse3_road, {2, 3, 4}, {{70, 50, 300}, {13, 7, 9}}, setup, VRX_CLASSIC_RING, "ring");
}

TEST(DgemmClassicWorkers, TwoByManyWalksBlocks) {
  const setup_fn setup = with_worker(VRX_CLASSIC_TWO_BY_MANY, [](vrx_gemm_split& s, int) {
    s.grid_m = 2;
    s.grid_n = s.threads / 2;
    s.block_m = 20;
    s.block_n = 16;
    s.block_k = 32;
  });
  check_all(ssse3_road, {4, 5}, {{53, 47, 70}, {3, 9, 5}}, setup, VRX_CLASSIC_TWO_BY_MANY, "two-by-many");
}

TEST(DgemmClassicWorkers, GroupedSharesOnePackedABlockPerGroup) {
  auto grouped = [](int grid_m, int grid_n, vrx_int block_m, vrx_int block_n, int mode) {
    return with_worker(VRX_CLASSIC_GROUPED, [=](vrx_gemm_split& s, int) {
      s.grid_m = grid_m;
      s.grid_n = grid_n;
      s.block_m = block_m;
      s.block_n = block_n;
      s.mode = mode;
      s.count_a = grid_m;
    });
  };
  // SSE4.2 packs along k when k / grid_n > 64, else along rows.
  check_all(sse42_road, {4, 5}, {{50, 43, 300}, {50, 43, 100}}, grouped(2, 2, 24, 43, 16), VRX_CLASSIC_GROUPED,
            "grouped, SSE4.2");
  // AVX packs along rows; beta stays with the product and the B block is private.
  check_all(avx_road, {4, 6}, {{50, 43, 300}, {6, 20, 11}}, grouped(2, 2, 24, 16, 8), VRX_CLASSIC_GROUPED,
            "grouped, AVX");
  check_all(avx_road, {6}, {{90, 33, 40}}, grouped(3, 2, 32, 8, 8), VRX_CLASSIC_GROUPED, "grouped, three groups");
}

TEST(DgemmClassicWorkers, PartitionChosenInTheForkRunsCorrectly) {
  // No worker set: every thread takes the decision itself.
  struct item {
    road r;
    int t;
    shape s;
    int worker;
  };
  const item items[] = {
      {sse2_road, 3, {60, 20, 30}, VRX_CLASSIC_ROWS},
      {sse2_road, 2, {20, 60, 30}, VRX_CLASSIC_COLUMNS},
      {{6, 0, VRX_CPU_SSE2, 0}, 4, {60, 50, 30}, VRX_CLASSIC_GRID},
      {{8, 0, VRX_CPU_SSE2, 0}, 3, {60, 20, 30}, VRX_CLASSIC_GRID},
      {sse42_road, 8, {200, 128, 200}, VRX_CLASSIC_GROUPED},
      {avx_road, 8, {200, 128, 200}, VRX_CLASSIC_GROUPED},
      {avx_road, 3, {100, 100, 40}, VRX_CLASSIC_COLUMNS},
      {ssse3_plain_road, 2, {64, 64, 64}, VRX_CLASSIC_GRID},
  };
  unsigned seed = 99;
  for (const item& it : items) {
    vrx_gemm_classic_trace trace;
    const double e = run(it.r, it.t, "NT", it.s, 1.25, 0.5, nullptr, seed++, &trace);
    EXPECT_LT(e, 1.0) << "strategy " << it.r.strategy << " t=" << it.t;
    EXPECT_EQ(trace.worker, it.worker) << "strategy " << it.r.strategy << " t=" << it.t;
  }
}

TEST(DgemmClassicWorkers, SameThreadCountGivesTheSameBits) {
  const shape s = {67, 59, 140};
  for (const road& r : {sse2_road, ssse3_road, avx_road}) {
    std::vector<double> first;
    for (int rep = 0; rep < 3; ++rep) {
      const vrx_int ldc = s.m;
      std::vector<double> a = vrx_test_random(s.m * s.k, 1), b = vrx_test_random(s.k * s.n, 2), c(s.m * s.n, 0.0);
      vrx_gemm_classic_args args = {"N", "N", s.m, s.n, s.k, 1.0, a.data(), s.m, b.data(), s.k, 0.0, c.data(), ldc};
      vrx_gemm_split base;
      vrx_gemm_classic_base(&base, r.strategy, r.compute_road, r.cpu_type, r.sse41, true, true, s.m, s.n, s.k);
      vrx_gemm_classic_set_worker(&base, VRX_CLASSIC_GRID);
      base.grid_m = 2;
      base.grid_n = 2;
      vrx_gemm_classic_fork(&base, &args, 4);
      if (rep == 0)
        first = c;
      else
        ASSERT_EQ(0, std::memcmp(first.data(), c.data(), c.size() * sizeof(double))) << r.strategy;
    }
  }
}
