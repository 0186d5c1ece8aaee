// The sequential GEMM as dispatched under each CPU type this processor runs, forced
// in a child process, and under a reproducibility branch that takes the second SSE2
// kernel set.
#include <gtest/gtest.h>

#include "support/child_process.h"

TEST(DgemmPackedTypes, EveryForcedCpuTypeGivesReferenceResults) {
  for (const char* type : {"0", "2", "3", "4"}) {
    const vrx_child_result r = vrx_test_run(vrx_test_driver("dgemm_packed_driver"), {}, {{"VRX_DEBUG_CPU_TYPE", type}});
    EXPECT_EQ(r.exit_status, 0) << r.output;
    EXPECT_EQ(r.output, std::string("type ") + type + " branch 1: 0 failures\n");
  }
}

TEST(DgemmPackedTypes, CompatibleBranchRunsTheSecondKernelSet) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("dgemm_packed_driver"), {}, {{"VRX_CBWR", "COMPATIBLE"}});
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, "type 0 branch 3: 0 failures\n");
  const vrx_child_result r2 = vrx_test_run(vrx_test_driver("dgemm_packed_driver"), {},
                                           {{"VRX_CBWR", "COMPATIBLE"}, {"VRX_DEBUG_CPU_TYPE", "2"}});
  EXPECT_EQ(r2.exit_status, 0) << r2.output;
  EXPECT_EQ(r2.output, "type 2 branch 3: 0 failures\n");
}
