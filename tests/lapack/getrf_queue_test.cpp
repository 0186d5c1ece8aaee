// The LU queue path called directly: square, tall and wide matrices with several block
// sizes, thread counts and scheduler keys (owned groups, partial and full tails), zero
// pivots against the sequential recursion, and a worker region that runs on one thread.
// In child processes: the host routine choosing it with 2 to 33 threads, a progress hook
// that stops it, and a scheduler state that can't be allocated.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "lapack/getrf_queue_keys.h"
#include "lapack/lu/vrx_getrf.h"
#include "support/child_process.h"
#include "support/lu_check.h"

namespace {
template <typename T>
class GetrfQueue : public testing::Test {};
using element_types = testing::Types<float, double, vrx_complex_float, vrx_complex_double>;
TYPED_TEST_SUITE(GetrfQueue, element_types);

struct queue_case {
  const char* name;
  vrx_int m, n, nb;
  int t;
  vrx_int group, tail;  // 0 and -1: this machine's answers
};

// m >= n leaves the last block column to the corner; m < n leaves the rows from
// (m - 1) / nb * nb on, with every column right of them.
const queue_case cases[] = {
    {"square, this machine's keys", 300, 300, 32, 2, 0, -1},
    {"square, groups of 2, short tail", 257, 257, 16, 3, 2, 4},
    {"tall, everything in the tail", 400, 150, 16, 8, 1, 1000000},
    {"wide, no tail", 150, 400, 16, 3, 3, 0},
    {"wide, rows a multiple of nb", 128, 300, 16, 2, 1, 2},
    {"square, 33 threads", 200, 200, 8, 33, 1, 10},
    {"tall, groups of 4, tail of 1", 330, 200, 16, 8, 4, 1},
};

struct outcome {
  int status;
  vrx_int info;
  vrx_getrf_trace trace;
  double ratio;
  bool padding;
};

template <typename T>
outcome factor(const queue_case& c, uint64_t seed, std::vector<T>* lu, std::vector<vrx_int>* ipiv,
               const std::vector<vrx_int>& zero_columns = {}) {
  const vrx_int lda = c.m + 3;
  std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, seed);
  for (vrx_int col : zero_columns)
    for (vrx_int i = 0; i < c.m; ++i) a[col * lda + i] = vrx_traits<T>::make(0, 0);
  *lu = a;
  ipiv->assign(static_cast<std::size_t>(std::min(c.m, c.n)), 0);
  outcome o = {};
  o.info = -99;
  *vrx_lapack_getrf_trace() = {};
  o.status = vrx_lapack_getrf_queue<T>(c.m, c.n, lu->data(), lda, ipiv->data(), &o.info, c.t, c.nb);
  o.trace = *vrx_lapack_getrf_trace();
  o.ratio = vrx_test_lu_residual(c.m, c.n, a, lda, *lu, lda, ipiv->data());
  o.padding = vrx_test_lu_padding_intact(*lu, c.m, c.n, lda);
  return o;
}

TYPED_TEST(GetrfQueue, FactorsEveryShapeWithEveryLayout) {
  typedef TypeParam T;
  for (const queue_case& c : cases) {
    vrx_test_queue_tuned keys(c.group, c.tail);
    std::vector<T> lu;
    std::vector<vrx_int> ipiv;
    const outcome o = factor<T>(c, static_cast<uint64_t>(c.m + c.n), &lu, &ipiv);
    SCOPED_TRACE(c.name);
    EXPECT_EQ(o.status, 0);
    EXPECT_EQ(o.info, 0);
    EXPECT_LT(o.ratio, 30);
    EXPECT_TRUE(o.padding);
    EXPECT_EQ(o.trace.path, VRX_GETRF_PATH_QUEUE);
    EXPECT_EQ(o.trace.nb, c.nb);
    EXPECT_EQ(o.trace.region_threads, c.t);
    EXPECT_EQ(vrx_test_getrf_asked_threads, c.t);
    if (c.group > 0) EXPECT_EQ(o.trace.group, c.group);
    if (c.tail >= 0) EXPECT_EQ(o.trace.tail, c.tail);
  }
}

// Zero columns stay exactly zero through every update, so each gives an exact zero pivot:
// in the first panel, in panels of the workers, in the corner. info is the first of them
// and the pivots are those of the sequential recursion.
TYPED_TEST(GetrfQueue, ZeroPivotsAsTheSequentialRecursion) {
  typedef TypeParam T;
  struct singular_case {
    queue_case shape;
    std::vector<vrx_int> zero_columns;  // from 0
    vrx_int info;
  };
  const singular_case singular[] = {
      {{"first panel", 200, 200, 16, 3, 1, 0}, {5, 120}, 6},
      {{"worker panels", 200, 200, 16, 3, 2, 3}, {90, 37}, 38},
      {{"worker panel in the tail", 200, 200, 16, 2, 1, 1000000}, {150, 170}, 151},
      {{"corner", 200, 200, 16, 8, 1, 2}, {195}, 196},
      {{"wide corner", 100, 250, 16, 3, 1, 4}, {98, 240}, 99},
  };
  for (const singular_case& s : singular) {
    SCOPED_TRACE(s.shape.name);
    vrx_test_queue_tuned keys(s.shape.group, s.shape.tail);
    std::vector<T> lu;
    std::vector<vrx_int> ipiv;
    const outcome o = factor<T>(s.shape, 11, &lu, &ipiv, s.zero_columns);
    EXPECT_EQ(o.status, 0);
    EXPECT_EQ(o.info, s.info);
    EXPECT_LT(o.ratio, 30);
    EXPECT_EQ(o.trace.path, VRX_GETRF_PATH_QUEUE);
    std::vector<T> seq_lu;
    std::vector<vrx_int> seq_ipiv;
    const vrx_int lda = s.shape.m + 3;
    seq_lu = vrx_test_lu_matrix<T>(s.shape.m, s.shape.n, lda, 11);
    for (vrx_int col : s.zero_columns)
      for (vrx_int i = 0; i < s.shape.m; ++i) seq_lu[col * lda + i] = vrx_traits<T>::make(0, 0);
    seq_ipiv.assign(ipiv.size(), 0);
    vrx_int seq_info = -99;
    vrx_lapack_getrf_seq<T>(s.shape.m, s.shape.n, seq_lu.data(), lda, seq_ipiv.data(), &seq_info);
    EXPECT_EQ(seq_info, s.info);
    EXPECT_EQ(ipiv, seq_ipiv);
  }
}

// Inside a parallel region with nesting off the worker region gets one thread, and one
// worker takes every task by itself.
TYPED_TEST(GetrfQueue, OneWorkerWhenTheRegionCannotFork) {
  typedef TypeParam T;
  const int levels = omp_get_max_active_levels();
  omp_set_max_active_levels(1);
  const queue_case c = {"nested", 180, 180, 16, 4, 2, 3};
  vrx_test_queue_tuned keys(c.group, c.tail);
  outcome o[2] = {};
#pragma omp parallel num_threads(2)
  {
    std::vector<T> lu;
    std::vector<vrx_int> ipiv;
    o[omp_get_thread_num()] = factor<T>(c, 5 + static_cast<uint64_t>(omp_get_thread_num()), &lu, &ipiv);
  }
  omp_set_max_active_levels(levels);
  for (const outcome& r : o) {
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.info, 0);
    EXPECT_LT(r.ratio, 30);
    EXPECT_EQ(r.trace.path, VRX_GETRF_PATH_QUEUE);
    EXPECT_EQ(r.trace.region_threads, 1);
  }
}

// ---- in child processes ----
vrx_child_result run_driver(const std::vector<std::string>& args,
                            const std::vector<std::pair<std::string, std::string>>& env) {
  return vrx_test_run(vrx_test_driver("getrf_queue_driver"), args, env);
}

// The driver's line for a case through the host routine; the keys it didn't choose are
// ILAENV's, stored as at least 1 and at least 0.
template <typename T>
std::string host_line(const vrx_test_queue_host_case& c, int threads, int region) {
  const vrx_int group =
      c.group > 0 ? c.group : std::max<vrx_int>(vrx_lapack_ilaenv<T>(17, "GETRF", " ", c.m, c.n, threads, -1), 1);
  const vrx_int tail =
      c.tail >= 0 ? c.tail : std::max<vrx_int>(vrx_lapack_ilaenv<T>(18, "GETRF", " ", c.m, c.n, threads, -1), 0);
  char line[160];
  std::snprintf(line, sizeof line, "%c %s path %d threads %d region %d group %lld tail %lld info 0\n",
                vrx_traits<T>::letter, c.name, VRX_GETRF_PATH_QUEUE, threads, region, (long long)group,
                (long long)tail);
  return line;
}

template <typename... T>
std::string host_lines(int threads, int region, bool first_only) {
  std::string text;
  (
      [&] {
        for (const vrx_test_queue_host_case& c : vrx_test_queue_host_cases) {
          text += host_line<T>(c, threads, region);
          if (first_only) break;
        }
      }(),
      ...);
  return text;
}

TEST(GetrfQueueProcess, HostTakesTheQueueWithEveryThreadCount) {
  for (int threads : {2, 3, 8, 33}) {
    const vrx_child_result r =
        run_driver({"host"}, {{"VRX_NUM_THREADS", std::to_string(threads)}, {"VRX_DYNAMIC", "false"}});
    EXPECT_EQ(r.exit_status, 0) << threads;
    EXPECT_EQ(r.output,
              (host_lines<float, double, vrx_complex_float, vrx_complex_double>(threads, threads, false) + "ok\n"))
        << threads;
  }
}

// Four threads asked inside a region of two: without nesting the workers' region gets one.
TEST(GetrfQueueProcess, NestedCallRunsOneWorker) {
  const vrx_child_result r = run_driver({"nested"}, {{"VRX_NUM_THREADS", "4"}, {"VRX_DYNAMIC", "false"}});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, (host_lines<float, double, vrx_complex_float, vrx_complex_double>(4, 1, true) + "ok\n"));
}

std::string stop_lines(char letter) {
  std::string text;
  for (int at : {8, 100, 196})
    text += std::string(1, letter) + " stop " + std::to_string(at) + " status 0 info -1002 stage " + letter +
            "GETRF leaked 0\n";
  return text;
}

// Without pools every block comes from the base allocator, so none may stay behind.
TEST(GetrfQueueProcess, StopInAnyPanelGivesMinus1002AndReleasesTheState) {
  const vrx_child_result r = run_driver({"stop"}, {{"VRX_DISABLE_FAST_MM", "1"}});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output,
            stop_lines('S') + stop_lines('D') + stop_lines('C') + stop_lines('Z') + "ok\n");
}

TEST(GetrfQueueProcess, RefusedStateLeavesEverythingUntouched) {
  const vrx_child_result r = run_driver({"refused"}, {});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output,
            "S refused status -1 untouched yes\n"
            "D refused status -1 untouched yes\n"
            "C refused status -1 untouched yes\n"
            "Z refused status -1 untouched yes\n"
            "ok\n");
}
}  // namespace
