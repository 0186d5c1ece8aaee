// VRX_DEBUG_CPU_TYPE with numbers wider than 32 bits, in child processes with exact output.
// The scan reads a 64-bit value (saturated beyond that range) and keeps its low 32 bits.
#include <gtest/gtest.h>

#include "service/cpu_driver_run.h"

namespace {
TEST(CpuForcedType, WideNumbersKeepTheirLowThirtyTwoBits) {
  const struct {
    const char* value;
    const char* output;
  } cases[] = {
      {"4294967296", "type=0\n"},            // 2^32
      {"0x100000003", "type=3\n"},           // hexadecimal
      {"-4294967294", "type=2\n"},           // -2^32 + 2
      {"-99999999999999999999", "type=0\n"}, // saturated to -2^63, whose low bits are 0
  };
  // Detection would give type 5 on this profile.
  for (const auto& c : cases) vrx_expect_cpu_driver({"fake=avx2", "type"}, {{"VRX_DEBUG_CPU_TYPE", c.value}}, 0, c.output);
  // 2^32 + 7 is type 7 and opts in like 7 itself.
  vrx_expect_cpu_driver({"fake=avx2", "type", "optin"}, {{"VRX_DEBUG_CPU_TYPE", "4294967303"}}, 0, "type=7\noptin=1\n");
}

TEST(CpuForcedType, WideNumbersOutsideTheTypesEndTheProcess) {
  const struct {
    const char* value;
    const char* output;
  } cases[] = {
      {"2147483648", "Ardix VRX ERROR: CPU -2147483648 is not supported.\n"},    // 2^31
      {"4294967302", "Ardix VRX ERROR: CPU 6 is not supported.\n"},              // 2^32 + 6
      {"99999999999999999999", "Ardix VRX ERROR: CPU -1 is not supported.\n"},  // saturated to 2^63 - 1
  };
  for (const auto& c : cases) vrx_expect_cpu_driver({"fake=avx2", "type"}, {{"VRX_DEBUG_CPU_TYPE", c.value}}, 1, c.output);
}
}  // namespace
