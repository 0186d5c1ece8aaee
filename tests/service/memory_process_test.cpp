// Memory manager behaviour fixed per process: settings, and a many-thread stress
// run with blocks handed between threads, checked in a child process.
#include <gtest/gtest.h>

#include <string>

#include "support/child_process.h"

namespace {
vrx_child_result run_memory_driver(const std::vector<std::string>& args,
                                   const std::vector<std::pair<std::string, std::string>>& env = {}) {
  return vrx_test_run(vrx_test_driver("memory_driver"), args, env);
}

void expect_settings(const std::vector<std::pair<std::string, std::string>>& env, const std::string& printed) {
  const vrx_child_result r = run_memory_driver({"settings"}, env);
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, printed);
}
}  // namespace

TEST(MemorySettingsProcess, DisableFastMmTakesAnyValueThatFits) {
  expect_settings({}, "fast_mm_disabled=0 limit=none\n");
  expect_settings({{"VRX_DISABLE_FAST_MM", "0"}}, "fast_mm_disabled=1 limit=none\n");
  expect_settings({{"VRX_DISABLE_FAST_MM", "no"}}, "fast_mm_disabled=1 limit=none\n");
  expect_settings({{"VRX_DISABLE_FAST_MM", ""}}, "fast_mm_disabled=0 limit=none\n");
  expect_settings({{"VRX_DISABLE_FAST_MM", std::string(31, 'x')}}, "fast_mm_disabled=1 limit=none\n");
  expect_settings({{"VRX_DISABLE_FAST_MM", std::string(32, 'x')}}, "fast_mm_disabled=0 limit=none\n");
}

TEST(MemorySettingsProcess, FastMemoryLimitInMebibytes) {
  expect_settings({{"VRX_FAST_MEMORY_LIMIT", "abc"}}, "fast_mm_disabled=0 limit=0\n");
  expect_settings({{"VRX_FAST_MEMORY_LIMIT", "64"}}, "fast_mm_disabled=0 limit=67108864\n");
  expect_settings({{"VRX_FAST_MEMORY_LIMIT", "-2"}}, "fast_mm_disabled=0 limit=none\n");
}

TEST(MemorySettingsProcess, DisabledPoolsSendEverythingDirect) {
  const vrx_child_result pooled = run_memory_driver({"pools"});
  EXPECT_EQ(pooled.exit_status, 0);
  EXPECT_EQ(pooled.output, "pooled=1 entries=1 direct_blocks=0\nafter_free direct_blocks=0\n");
  const vrx_child_result direct = run_memory_driver({"pools"}, {{"VRX_DISABLE_FAST_MM", "0"}});
  EXPECT_EQ(direct.exit_status, 0);
  EXPECT_EQ(direct.output, "pooled=0 entries=0 direct_blocks=1\nafter_free direct_blocks=0\n");
}

TEST(MemoryStatisticsProcess, FlagStartsAtMinusOneAndNothingMoves) {
  const vrx_child_result r = run_memory_driver({"stats"});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, "flag=-1 current_bytes=0 current_blocks=0 peak_bytes=0 peak_blocks=0\n");
}

TEST(MemoryStress, SixteenThreadsTradingBlocks) {
  // Three rounds of sixteen threads, blocks handed across threads and outliving
  // their owners; the driver checks contents, alignment and final bookkeeping.
  const vrx_child_result r = run_memory_driver({"stress", "16", "3", "400"});
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, "stress ok\n");
}
