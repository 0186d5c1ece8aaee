// SGEMM, DGEMM, CGEMM and ZGEMM under forced CPU types (the team road of types 5 and 7,
// the classic road of types 0 and 4) and 2 to 33 threads, in child processes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_process.h"

namespace {
vrx_child_result run_typed(const std::string& letter, const std::string& cpu, const std::string& threads,
                           const char* memory = nullptr) {
  std::vector<std::string> args = {letter};
  if (memory) args.push_back(memory);
  return vrx_test_run(vrx_test_driver("gemm_typed_driver"), args,
                      {{"VRX_DEBUG_CPU_TYPE", cpu}, {"VRX_NUM_THREADS", threads}, {"VRX_DYNAMIC", "false"}});
}

class GemmTypedRoads : public ::testing::TestWithParam<const char*> {};

// Every layout of the team road at 2, 3, 8 and 33 threads, the classic road at 3 and 33;
// two of them run twice and must give the same bits.
TEST_P(GemmTypedRoads, EveryLayoutAgainstWiderReferenceWithTheSameBitsEveryRun) {
  const std::string letter = GetParam();
  struct road {
    const char* cpu;
    const char* threads;
    bool twice;
  };
  const road roads[] = {{"5", "2", false}, {"5", "33", false}, {"7", "3", true},
                        {"7", "8", false}, {"0", "3", true},   {"4", "33", false}};
  for (const road& r : roads) {
    SCOPED_TRACE(letter + " type " + r.cpu + " threads " + r.threads);
    const vrx_child_result first = run_typed(letter, r.cpu, r.threads);
    EXPECT_EQ(first.exit_status, 0) << first.output;
    EXPECT_EQ(first.output.rfind("ok ", 0), 0u) << first.output;
    if (r.twice) EXPECT_EQ(run_typed(letter, r.cpu, r.threads).output, first.output);
  }
}

// Without scratch the split of k leaves the product to thread 0, the cooperating team
// and each slice take the allocation-free road; without any memory the vector-shaped
// products skip their gathers and conjugated copies as well: still correct.
TEST_P(GemmTypedRoads, EveryLayoutWithoutScratch) {
  struct road {
    const char* cpu;
    const char* threads;
    const char* memory;
  };
  for (const road& r0 : {road{"7", "4", "refuse"}, road{"5", "2", "nomemory"}, road{"0", "3", "nomemory"}}) {
    SCOPED_TRACE(std::string(r0.memory) + " type " + r0.cpu);
    const vrx_child_result r = run_typed(GetParam(), r0.cpu, r0.threads, r0.memory);
    EXPECT_EQ(r.exit_status, 0) << r.output;
    EXPECT_EQ(r.output.rfind("ok ", 0), 0u) << r.output;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryPrecision, GemmTypedRoads, ::testing::Values("S", "D", "C", "Z"));
}  // namespace
