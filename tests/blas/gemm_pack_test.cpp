// The packed-operand service in every precision, in child processes: the plain copy of
// CPU type 0 and the packed panels of types 5 and 7.
#include <gtest/gtest.h>

#include <string>

#include "support/child_process.h"

namespace {
vrx_child_result run_pack(const std::string& letter, const std::string& cpu, const std::string& mode) {
  return vrx_test_run(vrx_test_driver("gemm_pack_driver"), {letter, mode}, {{"VRX_DEBUG_CPU_TYPE", cpu}});
}

class GemmPackService : public ::testing::TestWithParam<const char*> {};

// Shapes around the register block and the depth slices, row ranges, alpha and beta;
// four threads on one handle; multiplies without scratch memory: each against the wider
// reference, on every CPU type, with the query's answer and the handle's layout.
TEST_P(GemmPackService, ProductsAgainstWiderReferenceOnEveryCpuType) {
  const std::string letter = GetParam();
  struct cpu_type {
    const char* type;
    const char* answer;
  };
  for (const cpu_type& cpu : {cpu_type{"0", " query 1 plain ok\n"}, cpu_type{"5", " query 2 packed ok\n"},
                              cpu_type{"7", " query 2 packed ok\n"}})
    for (const char* mode : {"shapes", "threads", "noscratch"}) {
      SCOPED_TRACE(letter + " type " + cpu.type + " " + mode);
      const vrx_child_result r = run_pack(letter, cpu.type, mode);
      EXPECT_EQ(r.exit_status, 0);
      EXPECT_EQ(r.output, letter + cpu.answer);
    }
}

// Without memory create fails, returns non-zero and leaves the handle null; releasing
// null is harmless.
TEST_P(GemmPackService, CreateWithoutMemoryFailsCleanly) {
  const std::string letter = GetParam();
  for (const char* cpu : {"0", "7"}) {
    const vrx_child_result r = run_pack(letter, cpu, "nomemory");
    EXPECT_EQ(r.exit_status, 0) << r.output;
    EXPECT_EQ(r.output, letter + (cpu[0] == '0' ? " query 1 plain ok\n" : " query 2 packed ok\n"));
  }
}

INSTANTIATE_TEST_SUITE_P(EveryPrecision, GemmPackService, ::testing::Values("S", "D", "C", "Z"));
}  // namespace
