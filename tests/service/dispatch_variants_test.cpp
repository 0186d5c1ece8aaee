// Which variant a dispatcher takes, by CPU type and reproducibility branch, and GEMM under
// every CPU type this machine can execute. Child processes with exact output.
#include <gtest/gtest.h>

#include "service/cpu_driver_run.h"

namespace {
TEST(DispatchVariants, ClassVariantOrCompatible) {
  const struct {
    const char* profile;
    vrx_env_list env;
    const char* variant;
  } cases[] = {
      {"fake=sse2", {}, "sse2"},                              // branch off: the class's own variant
      {"fake=sse2", {{"VRX_CBWR", "AUTO"}}, "compatible"},   // any other branch: the compatible one
      {"fake=sse2", {{"VRX_CBWR", "SSE2"}}, "compatible"},
      {"fake=avx2", {{"VRX_CBWR", "COMPATIBLE"}}, "compatible"},
      {"fake=ssse3", {}, "ssse3"},
      {"fake=ssse3", {{"VRX_CBWR", "AUTO"}}, "compatible"},
      {"fake=avx2", {{"VRX_CBWR", "SSSE3"}}, "compatible"},
      {"fake=sse42", {}, "sse42"},
      {"fake=sse42", {{"VRX_CBWR", "AUTO"}}, "sse42"},       // 3 and above never ask the branch
      {"fake=avx2", {{"VRX_CBWR", "SSE4_2"}}, "sse42"},
      {"fake=avx", {}, "avx"},
      {"fake=avx2", {}, "avx2"},
      {"fake=avx512", {{"VRX_ENABLE_INSTRUCTIONS", "AVX512"}}, "avx512"},
      {"fake=sse2", {{"VRX_DEBUG_CPU_TYPE", "7"}}, "avx512"},
      {"fake=other_avx2", {}, "sse2"},                        // another vendor runs class 0
      {"fake=other_avx2", {{"VRX_CBWR", "COMPATIBLE"}}, "compatible"},
  };
  for (const auto& c : cases) vrx_expect_cpu_driver({c.profile, "variant"}, c.env, 0, std::string("variant=") + c.variant + "\n");
}

TEST(DispatchVariants, UnsupportedTypeStopsAtTheFirstDispatch) {
  vrx_expect_cpu_driver({"type", "branch", "variant", "branch"}, {{"VRX_DEBUG_CPU_TYPE", "1"}}, 1,
             "type=1\nbranch=1\nArdix VRX ERROR: CPU 1 is not supported.\n");
}

bool machine_runs(int type) {
  __builtin_cpu_init();
  switch (type) {
    case 0: return __builtin_cpu_supports("sse2");
    case 2: return __builtin_cpu_supports("ssse3");
    case 3: return __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt");
    case 4: return __builtin_cpu_supports("avx");
    case 5: return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    case 7:
      return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
             __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
    default: return false;
  }
}

class DispatchGemm : public ::testing::TestWithParam<int> {};

TEST_P(DispatchGemm, ForcedTypeMultipliesCorrectly) {
  const int type = GetParam();
  if (!machine_runs(type)) GTEST_SKIP() << "this processor cannot run type " << type;
  const std::string forced = std::to_string(type);
  vrx_expect_cpu_driver({"type", "gemm"}, {{"VRX_DEBUG_CPU_TYPE", forced}}, 0, "type=" + forced + "\ngemm ok\n");
  if (type <= 2)  // the compatible variants of the lower classes
    vrx_expect_cpu_driver({"type", "gemm"}, {{"VRX_DEBUG_CPU_TYPE", forced}, {"VRX_CBWR", "COMPATIBLE"}}, 0,
               "type=" + forced + "\ngemm ok\n");
}

INSTANTIATE_TEST_SUITE_P(EveryType, DispatchGemm, ::testing::Values(0, 2, 3, 4, 5, 7));

TEST(DispatchGemm, DetectedTypeMultipliesCorrectly) {
  vrx_expect_cpu_driver({"gemm"}, {}, 0, "gemm ok\n");
  vrx_expect_cpu_driver({"gemm"}, {{"VRX_CBWR", "AUTO"}}, 0, "gemm ok\n");
}
}  // namespace
