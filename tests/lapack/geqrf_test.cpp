// The QR factorisation's paths in S, D, C and Z, judged by ||A - QR|| / (m ||A|| eps) and
// ||I - Q^H Q|| / (m eps) below 30: the sequential routine (with full and cut work), one
// unblocked pass with many threads (GEQR2 and the tall variant), the sequential routine
// below the threaded crossover, the queue path with 2, 3 and 8 threads; LAQRF's
// recursion and threaded leaf against LARFT on the same reflectors; workspace queries
// that touch nothing else; and the column queue's choices played out under random
// interleavings. Settings read once per process are in geqrf_env_test.cpp.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "lapack/geqrf_check.h"
#include "lapack/qr/vrx_geqrf.h"
#include "lapack/qr/vrx_geqrf_queue.h"
#include "support/lapack_seams.h"

namespace {
template <typename T>
class Geqrf : public testing::Test {};
using element_types = testing::Types<float, double, vrx_complex_float, vrx_complex_double>;
TYPED_TEST_SUITE(Geqrf, element_types);

struct outcome {
  vrx_int info;
  vrx_int size;  // work(1) after the call
  vrx_geqrf_trace trace;
  vrx_test_qr_ratios ratios;
};

// The host routine on `threads` threads with the workspace it asks for (or `lwork`).
template <typename T>
outcome factor(vrx_int m, vrx_int n, int threads, vrx_int lwork = 0) {
  const vrx_int lda = m + 2;
  const std::vector<T> a = vrx_test_lu_matrix<T>(m, n, lda, static_cast<uint64_t>(m * 31 + n));
  std::vector<T> qr = a, tau(static_cast<std::size_t>(std::max<vrx_int>(std::min(m, n), 1)));
  vrx_test_forced_threads forced(threads);
  outcome o = {};
  T asked{};
  vrx_lapack_geqrf_host<T>(m, n, qr.data(), lda, tau.data(), &asked, -1, &o.info);
  if (lwork == 0) lwork = static_cast<vrx_int>(vrx_traits<T>::real_part(asked));
  std::vector<T> work(static_cast<std::size_t>(std::max<vrx_int>(lwork, 1)));
  o.info = -99;
  vrx_lapack_geqrf_host<T>(m, n, qr.data(), lda, tau.data(), work.data(), lwork, &o.info);
  o.trace = *vrx_lapack_geqrf_trace();
  o.size = static_cast<vrx_int>(vrx_traits<T>::real_part(work[0]));
  o.ratios = vrx_test_qr_check(m, n, a, qr, lda, tau);
  return o;
}

#define EXPECT_GOOD(o)                                                                                 \
  EXPECT_TRUE((o).ratios.good()) << "residual " << (o).ratios.residual << " orthogonality "           \
                                 << (o).ratios.orthogonality << " padding " << (o).ratios.padding; \
  EXPECT_EQ((o).info, 0)

TYPED_TEST(Geqrf, SequentialRoutineOnEveryShape) {
  typedef TypeParam T;
  // Blocked (panels of 16 while the area is above the crossover's), wide, tall with the
  // tall variant for the last block, square, and too narrow for a panel.
  const vrx_int shapes[][2] = {{200, 150}, {100, 220}, {400, 40}, {64, 64}, {1000, 9}};
  for (const auto& s : shapes) {
    SCOPED_TRACE(testing::Message() << s[0] << " by " << s[1]);
    const outcome o = factor<T>(s[0], s[1], 1);
    EXPECT_GOOD(o);
    EXPECT_EQ(o.trace.path, VRX_GEQRF_PATH_SEQ);
  }
  // Work of one column only: the panels narrow to nothing and GEQR2 does it all.
  const outcome cut = factor<T>(200, 150, 1, 150);
  EXPECT_GOOD(cut);
}

TYPED_TEST(Geqrf, OneUnblockedPassUpTo32Columns) {
  typedef TypeParam T;
  // Taller than wide: the tall variant, its panels on the threaded leaf (t n work).
  const outcome tall = factor<T>(400, 20, 8);
  EXPECT_GOOD(tall);
  EXPECT_EQ(tall.trace.path, VRX_GEQRF_PATH_TALL);
  EXPECT_EQ(tall.size, 8 * 20);
  EXPECT_GT(tall.trace.leaf_teams, 0);
  const outcome wide = factor<T>(32, 300, 8);
  EXPECT_GOOD(wide);
  EXPECT_EQ(wide.trace.path, VRX_GEQRF_PATH_GEQR2);
}

TYPED_TEST(Geqrf, SequentialBelowTheThreadedCrossover) {
  typedef TypeParam T;
  // m + n below 200: the crossover with a thread count is m + n, above k.
  const outcome o = factor<T>(120, 60, 4);
  EXPECT_GOOD(o);
  EXPECT_EQ(o.trace.path, VRX_GEQRF_PATH_SMALL);
  EXPECT_EQ(o.trace.scratch, 1);
  EXPECT_EQ(o.size, 4 * 60);
}

TYPED_TEST(Geqrf, QueuePathWithTwoThreeAndEightThreads) {
  typedef TypeParam T;
  const vrx_int shapes[][2] = {{160, 160}, {120, 260}, {300, 80}};
  for (int t : {2, 3, 8}) {
    for (const auto& s : shapes) {
      // Eight threads on this machine's two cores: one shape is enough.
      if (t == 8 && s[0] != s[1]) continue;
      SCOPED_TRACE(testing::Message() << s[0] << " by " << s[1] << " on " << t << " threads");
      const outcome o = factor<T>(s[0], s[1], t);
      EXPECT_GOOD(o);
      EXPECT_EQ(o.trace.path, VRX_GEQRF_PATH_QUEUE);
      const vrx_int k = std::min(s[0], s[1]), nb = o.trace.nb;
      EXPECT_EQ(o.trace.panels_by_workers, (k + nb - 1) / nb - 1);
      EXPECT_EQ(o.size, std::max<vrx_int>(k * nb + t * o.trace.chunk * nb * nb, s[1]));
    }
  }
}

// LAQRF on an m by n panel against LARFT on the reflectors it left.
template <typename T>
void check_panel(vrx_int m, vrx_int n, int threads, vrx_int lwork, vrx_geqrf_trace* trace) {
  const vrx_int lda = m + 2, ldt = n + 1;
  const std::vector<T> a = vrx_test_lu_matrix<T>(m, n, lda, static_cast<uint64_t>(m + 7 * n));
  std::vector<T> qr = a, tau(static_cast<std::size_t>(n)), t(static_cast<std::size_t>(ldt * n)), t_ref = t;
  std::vector<T> work(static_cast<std::size_t>(std::max<vrx_int>(lwork, 1)));
  {
    vrx_test_forced_threads forced(threads);
    *vrx_lapack_geqrf_trace() = {};
    vrx_lapack_laqrf<T>(m, n, qr.data(), lda, tau.data(), t.data(), ldt, work.data(), lwork);
    *trace = *vrx_lapack_geqrf_trace();
  }
  const vrx_test_qr_ratios r = vrx_test_qr_check(m, n, a, qr, lda, tau);
  EXPECT_TRUE(r.good()) << "residual " << r.residual << " orthogonality " << r.orthogonality;
  vrx_lapack_larft<T>("Forward", "Columnwise", m, n, qr.data(), lda, tau.data(), t_ref.data(), ldt);
  EXPECT_LT(vrx_test_factor_distance(n, t.data(), ldt, t_ref.data(), ldt), 30.0 * n);
}

TYPED_TEST(Geqrf, LaqrfRecursionGivesTheFactorOfLarft) {
  typedef TypeParam T;
  vrx_geqrf_trace trace;
  // Up to 350 rows the block is the width, capped at 256: blocks of 256 and 24.
  check_panel<T>(300, 280, 1, 0, &trace);
  EXPECT_EQ(trace.recursive_blocks, 1);
  // Taller: blocks of 16.
  check_panel<T>(400, 40, 1, 0, &trace);
  EXPECT_EQ(trace.recursive_blocks, 2);
  // One block: the leaf alone.
  check_panel<T>(200, 30, 1, 0, &trace);
  EXPECT_EQ(trace.recursive_blocks, 0);
  EXPECT_EQ(trace.leaf_teams, 0);
}

TYPED_TEST(Geqrf, LaqrfThreadedLeaf) {
  typedef TypeParam T;
  vrx_geqrf_trace trace;
  check_panel<T>(500, 12, 3, 2 * 12, &trace);
  EXPECT_EQ(trace.leaf_teams, 1);
  EXPECT_GE(trace.leaf_threads, 1);
  // Blocks of 16 on the threaded leaf, joined by the T12 step.
  check_panel<T>(900, 40, 2, 40, &trace);
  EXPECT_EQ(trace.leaf_teams, 3);
  // Work short of (t - 1) n: the plain leaf.
  check_panel<T>(500, 12, 3, 2 * 12 - 1, &trace);
  EXPECT_EQ(trace.leaf_teams, 0);
}

TEST(GeqrfLeafThreads, FewerThreadsWhenRowsPerThreadAreFew) {
  struct row {
    vrx_int m, n;
    int threads, dynamic, expected;
  };
  const row rows[] = {
      {1000, 16, 4, 1, 4},  // n < m / t: every thread
      {100, 25, 4, 1, 3},   // n = m / t, n divides m: m / n - 1
      {110, 25, 8, 1, 4},   // m / n
      {100, 25, 4, 0, 1},   // a reduction needs dynamic adjustment
      {60, 25, 4, 1, 2},    {40, 25, 4, 1, 1},  // below 2: the plain leaf
      {50, 25, 2, 1, 1},    {30, 30, 4, 1, 1},  // n = m: no threaded leaf
      {100, 25, 1, 1, 1},
  };
  for (const row& r : rows)
    EXPECT_EQ(vrx_lapack_laqrf_leaf_threads(r.m, r.n, r.threads, r.dynamic), r.expected)
        << r.m << " by " << r.n << " on " << r.threads << " dynamic " << r.dynamic;
}

TYPED_TEST(Geqrf, QueryFillsWorkOneOnly) {
  typedef TypeParam T;
  struct query_case {
    vrx_int m, n;
    int threads;
  };
  const query_case cases[] = {{300, 200, 1}, {400, 20, 8}, {120, 60, 4}, {300, 200, 3}, {0, 5, 3}};
  for (const query_case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.m << " by " << c.n << " on " << c.threads << " threads");
    const vrx_int lda = std::max<vrx_int>(c.m, 1);
    const std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, 5);
    std::vector<T> qr = a, tau(8, vrx_traits<T>::make(-3, 0)), work(4, vrx_traits<T>::make(-5, 0));
    vrx_int info = -99;
    vrx_test_forced_threads forced(c.threads);
    vrx_lapack_geqrf_host<T>(c.m, c.n, qr.data(), lda, tau.data(), work.data(), -1, &info);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(std::memcmp(qr.data(), a.data(), a.size() * sizeof(T)), 0);
    EXPECT_EQ(tau, std::vector<T>(8, vrx_traits<T>::make(-3, 0)));
    EXPECT_GE(vrx_traits<T>::real_part(work[0]), 1);
    EXPECT_EQ(work[1], vrx_traits<T>::make(-5, 0));
  }
}

// ---- the column queue's choices, played out ----
struct queue_play {
  vrx_int nblk, npan, chunk;
  int threads;
};

// Threads take turns at random (one of them seldom), finishing their claim and choosing the next; every
// block column must receive its panels once each and in order, panel p + 1 be factored
// right after column p + 1 got panel p, and every thread end.
void play(const queue_play& g, unsigned seed) {
  std::vector<vrx_int> status(static_cast<std::size_t>(g.nblk + 2), 1);
  status[g.nblk + 1] = 0;
  vrx_geqrf_queue_words q = {status.data(), g.nblk, g.npan, g.chunk, 1, 1};
  std::vector<vrx_int> applied(static_cast<std::size_t>(g.nblk + 1), 0), last(g.threads, 0);
  std::vector<vrx_geqrf_claim> claims(g.threads, vrx_geqrf_claim{});
  std::vector<bool> ended(g.threads, false);
  vrx_int factored = 1;
  std::mt19937 random(seed);
  int running = g.threads, rounds = 0;
  while (running > 0 && ++rounds < 100000) {
    // Thread 0 comes back seldom, so that levels move on while it holds columns.
    int tid = static_cast<int>(random() % (g.threads * 8));
    tid = tid < g.threads * 7 ? 1 + tid % std::max(g.threads - 1, 1) : 0;
    if (tid >= g.threads) tid = 0;
    if (ended[tid]) continue;
    const vrx_geqrf_claim done = claims[tid];
    // The claim's work, checked before it is reported.
    for (vrx_int c = done.first; c < done.first + done.count; ++c) {
      ASSERT_EQ(applied[c] + 1, done.panel) << "column " << c;
      ASSERT_LE(done.panel, factored);
      applied[c] = done.panel;
    }
    if (done.count > 0 && done.factor) {
      ASSERT_EQ(done.first, done.panel + 1);
      ASSERT_EQ(done.count, 1);
      ASSERT_EQ(factored, done.panel);
      factored = done.panel + 1;
    }
    vrx_geqrf_claim next = {};
    const int answer = vrx_lapack_geqrf_choose(&q, tid, g.threads, last[tid], &done, &next);
    ASSERT_EQ(q.factored, factored);
    claims[tid] = answer == VRX_GEQRF_CLAIM_TASK ? next : vrx_geqrf_claim{};
    if (answer == VRX_GEQRF_CLAIM_TASK) {
      ASSERT_LE(next.count, g.chunk);
      last[tid] = next.first + next.count - 1;
    }
    if (answer == VRX_GEQRF_CLAIM_FINISHED) {
      ended[tid] = true;
      --running;
    }
  }
  ASSERT_EQ(running, 0) << "a thread never ended";
  EXPECT_EQ(factored, g.npan);
  for (vrx_int c = 2; c <= g.nblk; ++c) EXPECT_EQ(applied[c], std::min(c - 1, g.npan)) << "column " << c;
}

TEST(GeqrfQueueChoice, EveryColumnGetsEveryPanelInOrder) {
  const queue_play games[] = {{9, 9, 2, 3}, {12, 5, 2, 4}, {2, 2, 2, 8}, {20, 20, 3, 2}, {7, 3, 1, 1}};
  for (const queue_play& g : games)
    for (unsigned seed = 1; seed <= 20; ++seed) {
      SCOPED_TRACE(testing::Message() << g.nblk << " columns, " << g.npan << " panels, " << g.threads
                                      << " threads, seed " << seed);
      play(g, seed);
    }
}
}  // namespace
