// STRSM ... ZTRMM on the team road (CPU types 5 and 7) in child processes: every side,
// uplo, transa and diag against the wide reference at 1 to 33 threads, the entry's
// split of large triangles, refused scratch, and the edge cases of alpha 0 and a
// singular triangle.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_process.h"

namespace {
vrx_child_result run_team(const std::string& letter, const std::string& mode, const std::string& cpu,
                          const std::string& threads) {
  return vrx_test_run(vrx_test_driver("trsm_team_driver"), {letter, mode},
                      {{"VRX_DEBUG_CPU_TYPE", cpu}, {"VRX_NUM_THREADS", threads}, {"VRX_DYNAMIC", "false"}});
}

struct road {
  const char* mode;
  const char* cpu;
  const char* threads;
};

class TriangularTeam : public ::testing::TestWithParam<const char*> {
 protected:
  void expect_ok(std::initializer_list<road> roads) {
    for (const road& r : roads) {
      SCOPED_TRACE(std::string(GetParam()) + " " + r.mode + " type " + r.cpu + " threads " + r.threads);
      const vrx_child_result result = run_team(GetParam(), r.mode, r.cpu, r.threads);
      EXPECT_EQ(result.exit_status, 0) << result.output;
      EXPECT_EQ(result.output, "ok\n");
    }
  }
};

// One thread runs the level-3 driver alone; 2, 3, 8 and 33 threads cut B in whole
// register blocks, many of them empty at 33.
TEST_P(TriangularTeam, EveryCaseAgainstTheWideReference) {
  expect_ok(
      {{"sweep", "7", "1"}, {"sweep", "7", "2"}, {"sweep", "5", "3"}, {"sweep", "5", "8"}, {"sweep", "7", "33"}});
}

// Orders 513, 767 and 768 with 64 and 65 right-hand sides per thread: split by the
// entry into GEMM and forked parts, or kept whole.
TEST_P(TriangularTeam, LargeTrianglesSplitOrWhole) { expect_ok({{"large", "7", "2"}}); }

// With the level-3 scratch refused every thread takes the allocation-free kernel on its
// slice, also under the entry's split.
TEST_P(TriangularTeam, RefusedScratchGivesTheSameResult) {
  expect_ok({{"refuse", "7", "2"}, {"refuse", "5", "8"}, {"refuse", "7", "1"}});
}

// alpha 0 zeroes B over a NaN or zero diagonal; a zero on the diagonal gives non-finite
// values and no crash.
TEST_P(TriangularTeam, AlphaZeroAndSingularTriangles) { expect_ok({{"edges", "7", "4"}, {"edges", "5", "2"}}); }

INSTANTIATE_TEST_SUITE_P(EveryPrecision, TriangularTeam, ::testing::Values("S", "D", "C", "Z"));

// Order 768 on two threads: 64 right-hand sides per thread split it once at h = 384
// (two forks, one GEMM between them); 65 keep it whole (one fork).
TEST(TriangularTeamSplit, OrderSevenHundredSixtyEightSplitsAtSixtyFourPerThread) {
  for (const char* cpu : {"5", "7"}) {
    SCOPED_TRACE(std::string("type ") + cpu);
    const vrx_child_result r = run_team("D", "split", cpu, "2");
    EXPECT_EQ(r.exit_status, 0) << r.output;
    EXPECT_EQ(r.output,
              "solve 128: splits 1 h 384 forks 2\n"
              "solve 130: splits 0 h 0 forks 1\n"
              "product 128: splits 1 h 384 forks 2\n"
              "product 130: splits 0 h 0 forks 1\n");
  }
}

// The product with A on the left cooperates from 2501 rows against more than 256
// columns, and gives the sequential kernel's result to rounding.
TEST(TriangularTeamSplit, ProductOnTheLeftCooperatesFrom2501Rows) {
  const vrx_child_result r = run_team("D", "cooperate", "7", "2");
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output,
            "order 2500: forks 1 team mode 0\n"
            "order 2501: forks 1 team mode 1\n");
}
}  // namespace
