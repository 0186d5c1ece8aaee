// The LU team path. In this process (CPU type 0: no packed operands, so the task queue
// schedules the teams): square, tall and wide matrices with several team layouts, one
// panel for the queue, the tall-and-thin branch on both sides of its threshold and its
// thread caps, zero pivots against the sequential recursion, and a region that can't
// fork. In child processes: the host routine choosing the path on CPU types 5 and 7
// with packed operands under the strict scheduler, handles that can't be made, buffers
// that can't be allocated, and a progress hook that stops it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lapack/getrf_team_keys.h"
#include "lapack/lu/vrx_getrf.h"
#include "support/child_process.h"
#include "support/lu_check.h"

namespace {
template <typename T>
class GetrfTeam : public testing::Test {};
using element_types = testing::Types<float, double, vrx_complex_float, vrx_complex_double>;
TYPED_TEST_SUITE(GetrfTeam, element_types);

struct team_case {
  const char* name;
  vrx_int m, n, nb, team_size;
  int t;
  int path, teams, tall_threads;
};

struct outcome {
  vrx_int info;
  vrx_getrf_trace trace;
  double ratio;
  bool padding;
};

template <typename T>
outcome factor(const team_case& c, std::vector<T>* a, std::vector<vrx_int>* ipiv, bool nested = false) {
  const vrx_int lda = c.m + 3;
  std::vector<T> lu = *a;
  ipiv->assign(static_cast<std::size_t>(std::min(c.m, c.n)), 0);
  outcome out = {-99, {}, 0, false};
  {
    vrx_test_team_tuned tuned(c.nb, c.team_size);
    *vrx_lapack_getrf_trace() = vrx_getrf_trace{};
    if (nested) {
      // Inside a region the runtime gives nested regions one thread.
#pragma omp parallel num_threads(2)
      {
#pragma omp master
        {
          vrx_lapack_getrf_team<T>(c.m, c.n, lu.data(), lda, ipiv->data(), &out.info, c.t);
          out.trace = *vrx_lapack_getrf_trace();
        }
      }
    } else {
      vrx_lapack_getrf_team<T>(c.m, c.n, lu.data(), lda, ipiv->data(), &out.info, c.t);
      out.trace = *vrx_lapack_getrf_trace();
    }
  }
  out.ratio = vrx_test_lu_residual(c.m, c.n, *a, lda, lu, lda, ipiv->data());
  out.padding = vrx_test_lu_padding_intact(lu, c.m, c.n, lda);
  *a = lu;
  return out;
}

template <typename T>
std::vector<T> matrix(const team_case& c, uint64_t seed) {
  return vrx_test_lu_matrix<T>(c.m, c.n, c.m + 3, seed);
}

// teams: t / team size, at least 1; the leftover threads join the last team.
const team_case layouts[] = {
    {"square, 2 teams of 2", 160, 160, 16, 2, 4, VRX_GETRF_PATH_TEAM, 2, 0},
    {"wide, 2 teams of 1", 150, 300, 8, 1, 2, VRX_GETRF_PATH_TEAM, 2, 0},
    {"one panel for the queue", 30, 30, 16, 2, 4, VRX_GETRF_PATH_TEAM, 2, 0},
    {"block size at min(m, n): unblocked", 60, 80, 60, 2, 4, VRX_GETRF_PATH_GETF2, 0, 0},
};
// The same in one precision for the layouts that differ only in their scheduling.
const team_case more_layouts[] = {
    {"tall, 1 team of 3", 230, 160, 16, 2, 3, VRX_GETRF_PATH_TEAM, 1, 0},
    {"square, teams of 2 and 3", 160, 160, 16, 2, 5, VRX_GETRF_PATH_TEAM, 2, 0},
    {"wide, rows a multiple of nb", 128, 200, 16, 2, 4, VRX_GETRF_PATH_TEAM, 2, 0},
};

// A regular matrix factored by the case's path, with the layout the trace recorded.
template <typename T>
void expect_factored(const team_case& c) {
  SCOPED_TRACE(c.name);
  std::vector<T> a = matrix<T>(c, 11);
  std::vector<vrx_int> ipiv;
  const outcome o = factor(c, &a, &ipiv);
  EXPECT_EQ(o.info, 0);
  EXPECT_LT(o.ratio, 30);
  EXPECT_TRUE(o.padding);
  EXPECT_EQ(o.trace.path, c.path);
  EXPECT_EQ(o.trace.tall_threads, c.tall_threads);
  if (c.path == VRX_GETRF_PATH_TALL) EXPECT_EQ(o.trace.region_threads, c.tall_threads);
  if (c.path != VRX_GETRF_PATH_TEAM) return;
  EXPECT_EQ(o.trace.teams, c.teams);
  EXPECT_EQ(o.trace.team_size, c.team_size);
  EXPECT_EQ(o.trace.region_threads, c.t);
  EXPECT_EQ(o.trace.packed, 0);
  EXPECT_GE(o.trace.group, 1);  // the task queue's keys were asked
}

TYPED_TEST(GetrfTeam, LayoutsFactorWithSmallResidual) {
  for (const team_case& c : layouts) expect_factored<TypeParam>(c);
}

TEST(GetrfTeamLayouts, MoreTeamShapes) {
  for (const team_case& c : more_layouts) expect_factored<double>(c);
}

// With t threads r = max(36 / t, 1), and m > 3 r n is tall and thin; m + n below 1000
// caps the threads at 6, below 2000 at 12.
const team_case tall_cases[] = {
    {"4 threads, m = 27 n", 540, 20, 16, 2, 4, VRX_GETRF_PATH_TEAM, 2, 0},
    {"4 threads, m = 27 n + 1", 541, 20, 16, 2, 4, VRX_GETRF_PATH_TALL, 0, 4},
    {"8 threads, m + n below 1000", 600, 20, 16, 2, 8, VRX_GETRF_PATH_TALL, 0, 6},
    {"16 threads, m + n below 2000", 1300, 40, 16, 2, 16, VRX_GETRF_PATH_TALL, 0, 12},
};

TEST(GetrfTeamTall, ThresholdAndThreadCaps) {
  for (const team_case& c : tall_cases) expect_factored<double>(c);
}

// Zero columns stay exactly zero under elimination, so the zero pivots are exact and
// every path must name the same ones.
TYPED_TEST(GetrfTeam, ZeroPivotsAsTheSequentialRecursion) {
  const team_case cases[] = {
      {"square", 160, 160, 16, 2, 4, VRX_GETRF_PATH_TEAM, 2, 0},
      {"wide", 100, 200, 16, 2, 2, VRX_GETRF_PATH_TEAM, 1, 0},
      {"tall and thin", 600, 20, 16, 2, 4, VRX_GETRF_PATH_TALL, 0, 4},
  };
  for (const team_case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<TypeParam> a = matrix<TypeParam>(c, 23);
    const vrx_int lda = c.m + 3;
    for (vrx_int col : {c.n - 2, c.n / 2, vrx_int{3}})
      for (vrx_int i = 0; i < c.m; ++i) a[col * lda + i] = vrx_traits<TypeParam>::make(0, 0);
    std::vector<TypeParam> seq = a;
    std::vector<vrx_int> ipiv, seq_ipiv(static_cast<std::size_t>(std::min(c.m, c.n)));
    const outcome o = factor(c, &a, &ipiv);
    vrx_int seq_info = -99;
    vrx_lapack_getrf_seq<TypeParam>(c.m, c.n, seq.data(), lda, seq_ipiv.data(), &seq_info);
    EXPECT_EQ(o.trace.path, c.path);
    EXPECT_EQ(o.info, 4);
    EXPECT_EQ(o.info, seq_info);
    EXPECT_EQ(ipiv, seq_ipiv);
    EXPECT_LT(o.ratio, 30);
  }
}

TEST(GetrfTeamNested, ARegionThatCannotForkRunsOnOneThread) {
  const team_case c = {"nested", 200, 200, 16, 2, 4, VRX_GETRF_PATH_TEAM, 1, 0};
  std::vector<double> a = matrix<double>(c, 9);
  std::vector<vrx_int> ipiv;
  const outcome o = factor(c, &a, &ipiv, true);
  EXPECT_EQ(o.info, 0);
  EXPECT_LT(o.ratio, 30);
  EXPECT_EQ(o.trace.path, VRX_GETRF_PATH_TEAM);
  EXPECT_EQ(o.trace.region_threads, 1);
  EXPECT_EQ(o.trace.teams, 1);
}

// ---- child processes ----
using environment = std::vector<std::pair<std::string, std::string>>;

std::string line(char letter, const std::string& action, vrx_int m, vrx_int n, int path, int teams, int size,
                 int packed, int region, int tall, int fallback, vrx_int info) {
  char text[200];
  std::snprintf(text, sizeof text,
                "%c %s %lldx%lld: path %d teams %d size %d packed %d region %d tall %d fallback %d info %lld\n", letter,
                action.c_str(), (long long)m, (long long)n, path, teams, size, packed, region, tall, fallback,
                (long long)info);
  return text;
}

environment settings(const std::string& cpu, int threads, const std::string& cbwr = "") {
  environment env = {{"VRX_DEBUG_CPU_TYPE", cpu}, {"VRX_DYNAMIC", "false"}, {"VRX_NUM_THREADS", std::to_string(threads)}};
  if (!cbwr.empty()) env.push_back({"VRX_CBWR", cbwr});
  return env;
}

// The host routine takes the team path on CPU types 5 and 7 (packed operands) under
// reproducibility branches 1 (look-ahead of every panel) and 2 (of the lanes).
TEST(GetrfTeamHost, PackedOperandsOnTheWideCpuTypes) {
  struct run {
    const char* letters;
    vrx_int m, n, nb;
    int packed;
  };
  // min(m, n) not above 2 nb (the last run) leaves packed operands off.
  const run every[] = {{"SDCZ", 120, 120, 16, 1}, {"D", 200, 120, 8, 1}, {"D", 120, 200, 16, 1}, {"D", 80, 80, 40, 0}};
  const run square[] = {{"D", 120, 120, 16, 1}};
  const run mixed[] = {{"C", 120, 120, 16, 1}, {"D", 200, 120, 8, 1}};
  struct host_layout {
    const char* cpu;
    int threads, team_size;
    const char* cbwr;
    const run* runs;
    int run_count;
  };
  // Two threads on this machine's two cores cost little: they take every shape; more
  // threads spin against each other, so they take fewer.
  const host_layout host_layouts[] = {
      {"5", 2, 1, "", every, 4},  {"5", 3, 2, "", square, 1}, {"7", 4, 2, "", mixed, 2},
      {"7", 9, 4, "", square, 1}, {"5", 4, 2, "AUTO", mixed, 2},
  };
  for (const host_layout& l : host_layouts) {
    SCOPED_TRACE(testing::Message() << "CPU " << l.cpu << ", " << l.threads << " threads, teams of " << l.team_size
                                    << " " << l.cbwr);
    std::vector<std::string> args;
    std::string expected;
    const int teams = std::max(l.threads / l.team_size, 1);
    for (const run* r = l.runs; r != l.runs + l.run_count; ++r) {
      for (const std::string& a : {std::string("host"), std::string(r->letters), std::to_string(r->m),
                                   std::to_string(r->n), std::to_string(r->nb), std::to_string(l.team_size)})
        args.push_back(a);
      for (const char* letter = r->letters; *letter; ++letter)
        expected += line(*letter, "host", r->m, r->n, VRX_GETRF_PATH_TEAM, teams, l.team_size, r->packed, l.threads,
                         0, 0, 0);
    }
    const vrx_child_result result =
        vrx_test_run(vrx_test_driver("getrf_team_driver"), args, settings(l.cpu, l.threads, l.cbwr));
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.output, expected + "ok\n");
  }
}

// One action of the driver in a fresh process on CPU type 5 with 4 threads, for what
// needs the packed service or the process's memory to itself.
TEST(GetrfTeamHost, PackedModeFailuresAndARegionThatCannotFork) {
  struct action_case {
    const char* name;
    std::vector<std::string> args;
    std::string expected;
  };
  const action_case cases[] = {
      {"handles that can't be made leave packed mode off",
       {"nohandle", "DZ", "300", "300", "16", "2", "4"},
       line('D', "nohandle", 300, 300, VRX_GETRF_PATH_TEAM, 2, 2, 0, 4, 0, 0, 0) +
           line('Z', "nohandle", 300, 300, VRX_GETRF_PATH_TEAM, 2, 2, 0, 4, 0, 0, 0)},
      {"buffers that can't be allocated take the look-ahead path",
       {"refused", "SZ", "200", "200", "16", "2", "4"},
       line('S', "refused", 200, 200, VRX_GETRF_PATH_LOOKAHEAD, 0, 0, 0, 4, 0, 1, 0) +
           line('Z', "refused", 200, 200, VRX_GETRF_PATH_LOOKAHEAD, 0, 0, 0, 4, 0, 1, 0)},
      {"a region that can't fork, packed operands on",
       {"nested", "CD", "200", "200", "16", "2", "4"},
       line('C', "nested", 200, 200, VRX_GETRF_PATH_TEAM, 1, 2, 1, 1, 0, 0, 0) +
           line('D', "nested", 200, 200, VRX_GETRF_PATH_TEAM, 1, 2, 1, 1, 0, 0, 0)},
  };
  for (const action_case& c : cases) {
    SCOPED_TRACE(c.name);
    const vrx_child_result r = vrx_test_run(vrx_test_driver("getrf_team_driver"), c.args, settings("5", 4));
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(r.output, c.expected + "ok\n");
  }
}

// Order 200 in blocks of 16: the first panel ends at 16, the teams' panels at 192, the
// corner holds the rest; the tall branch's panel is all 20 columns. Without the pools,
// whose kept buffers depend on which thread happened to take which task, every block
// the call takes goes back to the base allocator.
TEST(GetrfTeamHost, AStopAnywhereGivesMinus1002AndHoldsNothing) {
  for (const char* cpu : {"5", "0"}) {
    SCOPED_TRACE(testing::Message() << "CPU " << cpu);
    environment env = settings(cpu, 4);
    env.push_back({"VRX_DISABLE_FAST_MM", "1"});
    const vrx_child_result r = vrx_test_run(vrx_test_driver("getrf_team_driver"),
                                            {"stop", "D", "200", "200", "16", "2", "4", "8", "stop", "C", "200", "200",
                                             "16", "2", "4", "100", "stop", "D", "200", "200", "16", "2", "4", "196",
                                             "stop", "D", "600", "20", "16", "2", "4", "12"},
                                            env);
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(r.output,
              "D stop at 8: info -1002 held 0\nC stop at 100: info -1002 held 0\n"
              "D stop at 196: info -1002 held 0\nD stop at 12: info -1002 held 0\nok\n");
  }
}
}  // namespace
