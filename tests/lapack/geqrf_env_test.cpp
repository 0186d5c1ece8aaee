// The QR factorisation in child processes (tests/drivers/geqrf_driver.cpp): the queue's
// thread count under VRX_DYNAMIC (on: one fewer thread than block columns when there
// are no more columns than threads), the progress hook stopping the sequential routine
// and the queue path with info -1002 and the precision's stage text, and a refused
// allocation sending the queue path to the sequential routine with a correct result.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

namespace {
typedef std::vector<std::pair<std::string, std::string>> environment;

void expect_run(const char* mode, const environment& env, const std::string& expected) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("geqrf_driver"), {mode}, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, expected);
}

template <typename Line>
std::string lines(Line line) {
  std::string out;
  for (char l : std::string("SDCZ")) out += line(l);
  return out + "ok\n";
}

// The queue path asked for 8 threads on 8 block columns.
TEST(GeqrfEnv, DynamicAdjustmentLeavesOneThreadPerBlockColumnButOne) {
  for (const char* dynamic : {"true", "false"}) {
    const std::string t = std::string(dynamic) == "true" ? "7" : "8";
    expect_run("queue", {{"VRX_DYNAMIC", dynamic}},
               lines([&](char l) { return std::string(1, l) + " queue threads " + t + " region " + t + "\n"; }));
  }
}

// One thread: the sequential routine; three: the queue path, stopped in its first panel
// (step 1) or in a panel that a worker factors (step 50).
TEST(GeqrfEnv, ProgressHookStopsWithMinus1002) {
  for (const char* threads : {"1", "3"}) {
    const std::string path = std::string(threads) == "1" ? "1" : "6";
    expect_run("stop", {{"VRX_NUM_THREADS", threads}}, lines([&](char l) {
                 std::string out;
                 for (const char* at : {"1", "50"})
                   out += std::string(1, l) + " stop " + at + " path " + path + " info -1002 stage " + l + "GEQRF\n";
                 return out;
               }));
  }
}

TEST(GeqrfEnv, RefusedMemorySendsTheQueueToTheSequentialRoutine) {
  expect_run("refused", {{"VRX_NUM_THREADS", "3"}},
             lines([](char l) { return std::string(1, l) + " path 1 fallback 1\n"; }));
}
}  // namespace
