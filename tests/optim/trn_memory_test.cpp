// Trust-region solvers when memory runs out, in child processes whose base allocator
// refuses one request: every block of init in turn, every vector of the bounded step,
// and what a whole solve leaves held.
#include <gtest/gtest.h>

#include <string>

#include "support/child_process.h"

namespace {
vrx_child_result run(const std::string& mode, const std::string& family, int refused) {
  return vrx_test_run(vrx_test_driver("trn_driver"), {mode, family, std::to_string(refused)},
                      {{"VRX_DISABLE_FAST_MM", "1"}});
}
}  // namespace

// Twelve blocks: a refusal of any gives 1503, frees what was taken and leaves the handle.
TEST(TrustRegionMemory, PlainInitGivesBackEveryBlockOnAFailure) {
  for (int k = 1; k <= 12; ++k) {
    const vrx_child_result r = run("init", "plain", k);
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(r.output, "status=1503 live=0 handle=kept\n") << "block " << k;
  }
  const vrx_child_result r = run("init", "plain", 13);
  EXPECT_EQ(r.output, "status=1501 live=12 handle=written\ndeleted live=0\n");
}

// Seventeen blocks; on a failure the arrays and the handle block go back and the state
// record, once taken (block 2), stays.
TEST(TrustRegionMemory, BoundedInitKeepsOnlyTheStateRecordOnAFailure) {
  for (int k = 1; k <= 17; ++k) {
    const vrx_child_result r = run("init", "bounded", k);
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(r.output, std::string("status=1503 live=") + (k <= 2 ? "0" : "1") + " handle=kept\n") << "block " << k;
  }
  const vrx_child_result r = run("init", "bounded", 18);
  EXPECT_EQ(r.output, "status=1501 live=17 handle=written\ndeleted live=0\n");
}

// The bounded step takes twelve vectors first; a refusal of any fails the step (st_cr -4,
// status 1501, the request as it came) with none of them kept.
TEST(TrustRegionMemory, BoundedStepFailsWhenAVectorIsRefused) {
  for (int k = 1; k <= 12; ++k) {
    const vrx_child_result r = run("step", "bounded", k);
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(r.output, "status=1501 st_cr=-4 request=2 live=0\n") << "vector " << k;
  }
}

// A whole solve keeps nothing beyond the handle's blocks.
TEST(TrustRegionMemory, SolveLoopKeepsNothing) {
  for (const char* family : {"plain", "bounded"}) {
    const vrx_child_result r =
        vrx_test_run(vrx_test_driver("trn_driver"), {"loop", family}, {{"VRX_DISABLE_FAST_MM", "1"}});
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_NE(r.output.find(" kept=0\n"), std::string::npos) << family << ": " << r.output;
    EXPECT_EQ(r.output.find("requests=0 "), std::string::npos) << r.output;
  }
}
