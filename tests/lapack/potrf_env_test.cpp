// The Cholesky factorisation in child processes: thread counts 1 to 33 with VRX_DYNAMIC
// off, CPU types 0, 2, 3, 4, 5 and 7 forced (the largest super-tile is 384 columns on
// types 0 and 2 from 9 threads), a region that gets fewer threads than asked, a refused
// tile table, a progress hook that asks to stop and the unblocked routine's argument
// checks; each case's path proved by the trace the driver prints (see
// tests/drivers/potrf_driver.cpp), the factors checked there.
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

std::string line(char letter, const std::string& name, char uplo, int path, int b, int lim, int super, int threads,
                 int fallback, int info) {
  return std::string(1, letter) + " " + name + " " + uplo + " path " + std::to_string(path) + " b " +
         std::to_string(b) + " lim " + std::to_string(lim) + " super " + std::to_string(super) + " threads " +
         std::to_string(threads) + " fallback " + std::to_string(fallback) + " info " + std::to_string(info) + "\n";
}

// Super-tile edges by thread count of the host routine for the driver's three tiled
// cases: 7 tiles of 32 (order 200), 33 of 8 (order 260), 13 of 16 (order 203).
struct supers {
  int threads, tiles, split, shorter;
};
const supers super_by_threads[] = {{2, 2, 8, 4}, {3, 1, 8, 2}, {5, 1, 4, 2}, {8, 1, 2, 1}, {9, 1, 2, 1}, {33, 1, 1, 1}};

// region: the threads the worker region runs with.
std::string expected_paths(const std::string& letters, const char* cpu, int t, int region) {
  supers s = {t, 0, 0, 0};
  for (const supers& row : super_by_threads)
    if (row.threads == t) s = row;
  const bool capped = (std::string(cpu) == "0" || std::string(cpu) == "2") && t >= 9;
  struct tiled {
    const char* name;
    int n, b, super;
  };
  const tiled cases[] = {{"tiles", 200, 32, s.tiles}, {"split", 260, 8, s.split}, {"short", 203, 16, s.shorter}};
  std::string out;
  for (char l : letters) {
    for (char uplo : {'U', 'L'}) out += line(l, "small", uplo, 1, 0, 0, 0, 0, 0, 0);
    for (const tiled& c : cases)
      for (char uplo : {'U', 'L'})
        out += t == 1 ? line(l, c.name, uplo, 2, 0, 0, 0, 0, 0, 0)
                      : line(l, c.name, uplo, 3, c.b, capped ? 384 : c.n, c.super, region, 0, 0);
  }
  return out + "ok\n";
}

void expect_run(const std::vector<std::string>& args, const environment& env, const std::string& expected) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("potrf_driver"), args, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, expected);
}

TEST(PotrfEnv, PathsByThreadCountAndCpuType) {
  struct setting {
    const char* cpu;
    int threads;
    const char* letters;
  };
  const setting cases[] = {{"0", 1, "DZ"}, {"0", 2, "SDCZ"}, {"2", 9, "DC"}, {"3", 9, "SZ"},
                           {"4", 3, "D"},  {"5", 8, "CZ"},   {"7", 33, "DS"}};
  for (const setting& s : cases) {
    SCOPED_TRACE(std::string("cpu ") + s.cpu + " threads " + std::to_string(s.threads));
    expect_run({"paths", s.letters}, settings(s.cpu, s.threads),
               expected_paths(s.letters, s.cpu, s.threads, s.threads));
  }
}

// The runtime gives 2 of the 5 threads asked for: the tiles are shared by the two.
TEST(PotrfEnv, RegionGetsFewerThreadsThanAsked) {
  environment env = settings("0", 5);
  env.push_back({"OMP_THREAD_LIMIT", "2"});
  expect_run({"paths", "ZD"}, env, expected_paths("ZD", "0", 5, 2));
}

// The tile table can't be allocated: the sequential routine instead, marked as a fallback.
TEST(PotrfEnv, RefusedTableFallsBackToSequential) {
  expect_run({"nomemory", "SDCZ"}, settings("7", 4),
             line('S', "tiles", 'L', 2, 32, 200, 0, 0, 1, 0) + line('D', "tiles", 'L', 2, 32, 200, 0, 0, 1, 0) +
                 line('C', "tiles", 'L', 2, 32, 200, 0, 0, 1, 0) + line('Z', "tiles", 'L', 2, 32, 200, 0, 0, 1, 0) +
                 "ok\n");
}

// The hook stops from column 100 on. Sequential (order 300, blocks of 24): the fifth
// leaf ends at column 120. Tiles of 8 on two threads (super-tile 8, its leading block
// of 64 by the small kernel, which has no hook): the diagonal squares of 32 at 64 and 96
// end at columns 96 and 128. info -1002 on both.
TEST(PotrfEnv, ProgressHookStopsSequentialAndTiles) {
  std::string expected;
  for (char l : std::string("SDCZ")) {
    const std::string who = std::string(1, l);
    expected += line(l, "seq", 'U', 2, 300, 300, 0, 0, 0, -1002);
    expected += who + " seq hook calls 5 stage " + who + "POTRF\n";
    expected += line(l, "split", 'U', 3, 8, 260, 8, 2, 0, -1002);
    expected += who + " split hook calls 2 stage " + who + "POTRF\n";
  }
  expect_run({"stop", "SDCZ"}, settings("0", 2), expected + "ok\n");
}

// Order 1000 with ILAENV's answers on two threads: 21 tiles of 48, super-tiles of 4; the
// leading 192 columns take the tile path again (tiles of 24).
TEST(PotrfEnv, OrderThousandWithTheTuningAnswers) {
  std::string expected;
  for (char l : std::string("DZ"))
    expected += line(l, "large", 'L', 3, 48, 1000, 4, 2, 0, 0) + l + " large leading path 3\n";
  expect_run({"large", "DZ"}, settings("0", 2), expected + "ok\n");
}

// The published unblocked routine checks uplo, n and lda (at least 1 also for an empty
// matrix) under its own name, accepts a lower-case letter, and reports a failing minor.
TEST(PotrfEnv, UnblockedRoutineChecksItsArguments) {
  std::string expected;
  for (char l : std::string("SZ")) {
    const std::string who = std::string(" was incorrect on entry to ") + l + "POTF2.\n";
    const std::string name = std::string(1, l) + " potf2 ";
    expected += "\nArdix VRX ERROR: Parameter 1" + who + name + "X 2 2 info -1\n";
    expected += "\nArdix VRX ERROR: Parameter 2" + who + name + "U -1 2 info -2\n";
    expected += "\nArdix VRX ERROR: Parameter 4" + who + name + "l 3 2 info -4\n";
    expected += "\nArdix VRX ERROR: Parameter 4" + who + name + "L 0 0 info -4\n";
    expected += name + "fails info 5\n";
  }
  expect_run({"checks", "SZ"}, settings("0", 2), expected + "ok\n");
}
}  // namespace
