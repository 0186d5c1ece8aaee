// VRX_DEBUG_CPU_TYPE and VRX_ENABLE_INSTRUCTIONS, in child processes with exact output.
#include <gtest/gtest.h>

#include "service/vrx_serv.h"
#include "service/cpu_driver_run.h"

namespace {
std::string unsupported(int type) { return "Ardix VRX ERROR: CPU " + std::to_string(type) + " is not supported.\n"; }

TEST(CpuForcedType, OutOfRangeOrWithoutKernelsEndsTheProcess) {
  for (const char* value : {"6", "8", "-1", "0x6", "100"}) {
    const int number = static_cast<int>(std::strtol(value, nullptr, 0));
    vrx_expect_cpu_driver({"type", "branch"}, {{"VRX_DEBUG_CPU_TYPE", value}}, 1, unsupported(number));
  }
}

TEST(CpuForcedType, TypeOneIsAcceptedButNoDispatcherRunsIt) {
  vrx_expect_cpu_driver({"type"}, {{"VRX_DEBUG_CPU_TYPE", "1"}}, 0, "type=1\n");
  vrx_expect_cpu_driver({"type", "variant", "type"}, {{"VRX_DEBUG_CPU_TYPE", "1"}}, 1, "type=1\n" + unsupported(1));
  vrx_expect_cpu_driver({"gemm"}, {{"VRX_DEBUG_CPU_TYPE", "1"}}, 1, unsupported(1));
}

TEST(CpuForcedType, ValueIsScannedAsAnInteger) {
  const struct {
    const char* value;
    const char* profile;
    const char* output;
  } cases[] = {
      {"abc", "fake=avx2", "type=5\n"},           // ignored: detection
      {"", "fake=avx2", "type=5\n"},              // empty: detection
      {"0x5", "fake=sse2", "type=5\n"},           // hexadecimal, no feature test
      {"07", "fake=sse2", "type=7\n"},            // octal
      {"  3", "fake=avx2", "type=3\n"},           // leading blanks skipped by the scan
      {"4 trailing", "fake=sse2", "type=4\n"},    // one integer is enough
      {"0", "fake=avx512", "type=0\n"},
      {"2", "fake=other_avx2", "type=2\n"},       // forcing serves any vendor
      {"                            5", "fake=sse2", "type=5\n"},   // 29 characters fit the buffer
      {"                             5", "fake=sse2", "type=0\n"},  // 30 do not: read as empty
  };
  for (const auto& c : cases) vrx_expect_cpu_driver({c.profile, "type"}, {{"VRX_DEBUG_CPU_TYPE", c.value}}, 0, c.output);
}

TEST(CpuForcedType, TypeSevenOptsIn) {
  vrx_expect_cpu_driver({"fake=sse2", "type", "optin"}, {{"VRX_DEBUG_CPU_TYPE", "7"}}, 0, "type=7\noptin=1\n");
  vrx_expect_cpu_driver({"fake=avx512", "type", "optin"}, {{"VRX_DEBUG_CPU_TYPE", "5"}}, 0, "type=5\noptin=0\n");
}

TEST(CpuForcedType, BranchIsReadFirstAndForcingWins) {
  vrx_expect_cpu_driver({"fake=avx2", "type", "stored"}, {{"VRX_DEBUG_CPU_TYPE", "5"}, {"VRX_CBWR", "COMPATIBLE"}}, 0,
             "type=5\nstored=3\n");
  vrx_expect_cpu_driver({"fake=avx2", "type"}, {{"VRX_DEBUG_CPU_TYPE", "abc"}, {"VRX_CBWR", "SSE4_2"}}, 0, "type=3\n");
}

TEST(CpuForcedType, ProcessorWithoutSse2EndsTheProcess) {
  const std::string notice = std::string(vrx_serv_message_text(1210)) + "\n" + vrx_serv_message_text(1211) + "\n";
  vrx_expect_cpu_driver({"fake=no_sse2", "type"}, {}, 1, notice);
  vrx_expect_cpu_driver({"fake=no_sse2", "class"}, {}, 1, notice);
  vrx_expect_cpu_driver({"fake=no_sse2", "branch"}, {{"VRX_CBWR", "AVX"}}, 1, notice);  // reach is asked of the table
  vrx_expect_cpu_driver({"fake=no_sse2", "type"}, {{"VRX_DEBUG_CPU_TYPE", "0"}}, 0, "type=0\n");
  vrx_expect_cpu_driver({"fake=no_sse2", "type"}, {{"VRX_CBWR", "COMPATIBLE"}}, 1, notice);  // the reach needs the table
}

TEST(CpuOptIn, OnlyTheExactValueAllowsAvx512) {
  const struct {
    const char* profile;
    const char* value;
    const char* output;
  } cases[] = {
      {"fake=avx512", nullptr, "type=5\noptin=0\n"},     {"fake=avx512", "AVX512", "type=7\noptin=1\n"},
      {"fake=avx512", "AVX2", "type=5\noptin=0\n"},      {"fake=avx512", "AVX5123", "type=5\noptin=0\n"},
      {"fake=avx512", "avx512", "type=5\noptin=0\n"},    {"fake=avx512", "AVX51", "type=5\noptin=0\n"},
      {"fake=avx512", "AVX512,AVX2", "type=5\noptin=0\n"},
      {"fake=avx2", "AVX512", "type=5\noptin=1\n"},      // opted in, but the processor lacks it
      {"fake=avx", "AVX2", "type=4\noptin=0\n"},         {"fake=avx", "AVX512", "type=4\noptin=1\n"},
      {"fake=other_avx2", "AVX512", "type=0\noptin=1\n"},
  };
  for (const auto& c : cases) {
    vrx_env_list env;
    if (c.value) env.push_back({"VRX_ENABLE_INSTRUCTIONS", c.value});
    vrx_expect_cpu_driver({c.profile, "type", "optin"}, env, 0, c.output);
  }
}

TEST(CpuOptIn, AvxFiveTwelveWithoutTheWideStateRunsAvx2) {
  vrx_expect_cpu_driver({"fake=avx2_no_ymm_save", "type"}, {{"VRX_ENABLE_INSTRUCTIONS", "AVX512"}}, 0, "type=3\n");
}
}  // namespace
