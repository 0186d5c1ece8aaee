// The LU factorisation in child processes: thread counts 1, 2, 3, 8 and 33 with
// VRX_DYNAMIC off, CPU types 0, 5 and 7 forced, the reproducibility branch, refused
// memory, a progress hook that asks to stop, a call from inside a parallel region that
// cannot fork, and order 3000 on exactly 8 threads; each case's path proved by the trace
// the driver prints (see tests/drivers/getrf_driver.cpp), the factors checked there.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

namespace {
typedef std::vector<std::pair<std::string, std::string>> environment;

environment settings(const char* cpu, int threads) {
  return {{"VRX_DEBUG_CPU_TYPE", cpu}, {"VRX_NUM_THREADS", std::to_string(threads)}, {"VRX_DYNAMIC", "false"}};
}

std::string line(char letter, const char* name, int path, int fallback, int forks, int inside, int threads,
                 int info) {
  return std::string(1, letter) + " " + name + " path " + std::to_string(path) + " fallback " +
         std::to_string(fallback) + " forks " + std::to_string(forks) + " inside " + std::to_string(inside) +
         " threads " + std::to_string(threads) + " info " + std::to_string(info) + "\n";
}

// Panels factored by thread 0 inside the regions with block size 16: those whose
// update columns, split evenly and rounded down to a multiple of 4, still cover the
// panel. Orders 200 (square), 300 by 90 (tall) and 90 by 300 (wide).
struct inside_counts {
  int threads, square, tall, wide;
};
const inside_counts inside_by_threads[] = {{2, 10, 3, 5}, {3, 9, 2, 5}, {8, 4, 0, 5}, {33, 0, 0, 0}};

// Order 64: sequential. Orders 200, 300 by 90 and 90 by 300 with block size 16: 12, 5
// and 5 panel regions on the look-ahead path. A block size equal to min(m, n): the
// unblocked kernel alone. One thread: sequential throughout.
std::string expected_paths(const std::string& letters, int t) {
  std::string out;
  inside_counts in = {t, 0, 0, 0};
  for (const inside_counts& c : inside_by_threads)
    if (c.threads == t) in = c;
  for (char l : letters) {
    out += line(l, "seq", 1, 0, 0, 0, 0, 0);
    if (t == 1) {
      for (const char* name : {"square", "tall", "wide", "getf2"}) out += line(l, name, 1, 0, 0, 0, 0, 0);
      continue;
    }
    out += line(l, "square", 3, 0, 12, in.square, t, 0);
    out += line(l, "tall", 3, 0, 5, in.tall, t, 0);
    out += line(l, "wide", 3, 0, 5, in.wide, t, 0);
    out += line(l, "getf2", 2, 0, 0, 0, 0, 0);
  }
  return out + "ok\n";
}

void expect_run(const std::vector<std::string>& args, const environment& env, const std::string& expected) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("getrf_driver"), args, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, expected);
}

TEST(GetrfEnv, PathsByThreadCountAndCpuType) {
  struct setting {
    const char* cpu;
    int threads;
    const char* letters;
  };
  const setting cases[] = {{"0", 1, "SDCZ"}, {"0", 2, "SDCZ"}, {"0", 3, "DZ"}, {"0", 8, "SC"}, {"0", 33, "D"},
                           {"5", 2, "DC"},   {"5", 33, "Z"},   {"7", 3, "SZ"}, {"7", 8, "D"}};
  for (const setting& s : cases) {
    SCOPED_TRACE(std::string("cpu ") + s.cpu + " threads " + std::to_string(s.threads));
    expect_run({"paths", s.letters}, settings(s.cpu, s.threads), expected_paths(s.letters, s.threads));
  }
}

// The runtime gives 2 of the 5 threads asked for: the regions split their columns
// among the threads they have.
TEST(GetrfEnv, RegionsSplitAmongTheThreadsTheyGet) {
  environment env = settings("0", 5);
  env.push_back({"OMP_THREAD_LIMIT", "2"});
  expect_run({"paths", "DC"}, env, expected_paths("DC", 2));
}

// The queue's state can't be allocated: the look-ahead path instead, marked as a
// fallback. Under the COMPATIBLE branch an AVX-512 machine takes the queue, not the team.
TEST(GetrfEnv, QueueWithoutMemoryFallsBackToLookahead) {
  environment compatible = settings("7", 3);
  compatible.push_back({"VRX_CBWR", "COMPATIBLE"});
  expect_run({"queue", "D"}, settings("0", 2), line('D', "queue", 3, 1, 12, 10, 2, 0) + "ok\n");
  expect_run({"queue", "Z"}, settings("0", 8), line('Z', "queue", 3, 1, 12, 4, 8, 0) + "ok\n");
  expect_run({"queue", "S"}, compatible, line('S', "queue", 3, 1, 12, 9, 3, 0) + "ok\n");
}

// CPU types 5 and 7 under the default branch give the packed service: the team path.
TEST(GetrfEnv, PackedServiceChoosesTheTeamPath) {
  expect_run({"team", "D"}, settings("5", 2), "D team path 5\nok\n");
  expect_run({"team", "C"}, settings("7", 8), "C team path 5\nok\n");
}

// The hook stops the sequential recursion (order 64) at column 24 and the look-ahead
// path (order 200, panels of 16) at column 100: info -1002. Double's leaves are 8
// columns wide, the other precisions' one panel wide.
TEST(GetrfEnv, ProgressHookStopsSequentialAndLookahead) {
  std::string expected;
  for (char l : std::string("SDCZ")) {
    const std::string stage = std::string(1, l) + "GETRF";
    const bool d = l == 'D';
    expected += line(l, "seq", 1, 0, 0, 0, 0, -1002);
    expected += std::string(1, l) + " seq hook calls " + (d ? "3" : "1") + " thread 0 stage " + stage + "\n";
    expected += line(l, "square", 3, 0, 6, 6, 2, -1002);
    expected += std::string(1, l) + " square hook calls " + (d ? "13" : "7") + " thread 0 stage " + stage + "\n";
  }
  expect_run({"stop", "SDCZ"}, settings("0", 2), expected + "ok\n");
}

// The look-ahead path's own checks, reported under the precision's name; lda must be at
// least 1 also for an empty matrix. GETF2 reports under its own name.
TEST(GetrfEnv, LookaheadChecksItsArguments) {
  std::string expected;
  for (char l : std::string("DC")) {
    const std::string who = std::string(" was incorrect on entry to ") + l + "GETRF.\n";
    const std::string checks = std::string(1, l) + " checks ";
    expected += "\nArdix VRX ERROR: Parameter 1" + who + checks + "-1 2 2 info -1 returns 0\n";
    expected += "\nArdix VRX ERROR: Parameter 2" + who + checks + "2 -1 2 info -2 returns 0\n";
    expected += "\nArdix VRX ERROR: Parameter 4" + who + checks + "2 2 1 info -4 returns 0\n";
    expected += "\nArdix VRX ERROR: Parameter 4" + who + checks + "0 0 0 info -4 returns 0\n";
    expected += std::string("\nArdix VRX ERROR: Parameter 4 was incorrect on entry to ") + l + "GETF2.\n" + l +
                " getf2 checks info -4\n";
  }
  expect_run({"checks", "DC"}, settings("0", 2), expected + "ok\n");
}

// Called from inside a parallel region with nesting off: every region of the path runs
// on one thread, thread 0 factors every panel but the last inside.
TEST(GetrfEnv, RegionThatCannotForkRunsOnOneThread) {
  environment env = settings("0", 8);
  env.push_back({"OMP_MAX_ACTIVE_LEVELS", "1"});
  expect_run({"nested", "DC"}, env,
             line('D', "square", 3, 0, 12, 11, 1, 0) + line('C', "square", 3, 0, 12, 11, 1, 0) + "ok\n");
}

// Exactly 8 threads, double, order 3000: the crossover is 4000, so the look-ahead path
// runs with ILAENV's block size of 200.
TEST(GetrfEnv, OrderThreeThousandOnEightThreadsTakesLookahead) {
  // Fourteen panel regions, and twelve (panels of 16) inside each of the first panel and
  // the seven panels that the main thread factors after the join by the routine itself;
  // thread 0 factors seven panels inside, and four in each inner call.
  expect_run({"large"}, settings("0", 8), line('D', "large", 3, 0, 110, 39, 8, 0) + "D large nb 200\nok\n");
}
}  // namespace
