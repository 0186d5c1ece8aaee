// The team road through the GEMM entry in child processes, under forced CPU types 5
// and 7 and explicit thread counts (dynamic mode off) from 2 to 33 threads.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "blas/dgemm_team_check.h"
#include "support/child_process.h"

namespace {
typedef std::vector<std::pair<std::string, std::string>> env_list;

env_list settings(int cpu, int threads, bool dynamic = false) {
  env_list env = {{"VRX_DEBUG_CPU_TYPE", std::to_string(cpu)}, {"VRX_NUM_THREADS", std::to_string(threads)}};
  if (cpu == 7) env.push_back({"VRX_ENABLE_INSTRUCTIONS", "AVX512"});
  if (!dynamic) env.push_back({"VRX_DYNAMIC", "false"});
  return env;
}

void expect_run(const std::vector<std::string>& args, const env_list& env, const std::string& output) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("dgemm_team_driver"), args, env);
  std::string where;
  for (const auto& a : args) where += a + " ";
  for (const auto& [name, value] : env) where += name + "=" + value + " ";
  EXPECT_EQ(r.output, output) << where;
  EXPECT_EQ(r.exit_status, 0) << where;
}
}  // namespace

TEST(TeamRoad, ThreadCountsAndLayoutsOfTheEdgeCases) {
  if (!team_runs_type(5) || !team_runs_type(7)) GTEST_SKIP();
  expect_run({"plan", "100", "100", "100"}, settings(5, 16), "type 5 threads 16 split 1 mode 0 grid 1 1 1\n");
  expect_run({"plan", "32", "32", "8"}, settings(7, 4), "type 7 threads 1 split 1 mode 0 grid 1 1 1\n");
  expect_run({"plan", "2000", "2000", "100000"}, settings(5, 8), "type 5 threads 8 split 3 mode 0 grid 1 2 4\n");
  expect_run({"plan", "1304", "960", "7680"}, settings(7, 8), "type 7 threads 8 split 3 mode 0 grid 1 2 4\n");
  expect_run({"plan", "1000", "4000", "100"}, settings(7, 3), "type 7 threads 3 split 1 mode 1 grid 1 1 1\n");
  expect_run({"product", "NN", "100", "100", "100"}, settings(5, 16), "ok\n");
  expect_run({"product", "TN", "32", "32", "8", "alone"}, settings(7, 4), "ok\n");
  expect_run({"product", "NT", "1000", "4000", "100", "repeat"}, settings(7, 3), "ok\n");
  expect_run({"product", "TT", "1000", "4000", "100", "repeat"}, settings(5, 3), "ok\n");
}

TEST(TeamRoad, EveryLayoutAtEveryThreadCount) {
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    for (int threads : {2, 3, 4, 8, 16, 24, 33}) expect_run({"sweep"}, settings(cpu, threads), "ok\n");
  }
}

TEST(TeamRoad, ThreeDimensionalLayoutRepeatsAndSurvivesMissingSlabs) {
  if (!team_runs_type(5) || !team_runs_type(7)) GTEST_SKIP();
  expect_run({"product", "NN", "1304", "960", "7680", "repeat"}, settings(7, 8), "ok\n");
  // Without its slabs the team hands the product to one thread: the sequential bits.
  expect_run({"product", "TN", "2048", "16", "2048", "alone", "fail-slabs"}, settings(5, 8), "ok\n");
  expect_run({"product", "NT", "100", "16", "1000", "alone", "fail-slabs"}, settings(5, 24), "ok\n");
  expect_run({"product", "NN", "1000", "4000", "100", "fail-shared"}, settings(5, 3), "ok\n");
}

TEST(TeamRoad, FewerThreadsThanAskedStillComputeTheProduct) {
  if (!team_runs_type(5)) GTEST_SKIP();
  env_list env = settings(5, 8);
  env.push_back({"OMP_THREAD_LIMIT", "3"});
  expect_run({"sweep"}, env, "ok\n");
}

TEST(TeamRoad, InsideAParallelRegionDynamicModeRunsOneThread) {
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    expect_run({"inside", "300", "300", "300"}, settings(cpu, 4, true),
               "type " + std::to_string(cpu) + " threads 1 split 1 mode 0 grid 1 1 1\nok\n");
  }
}

TEST(TeamRoad, ApplicationThreadsCallingConcurrently) {
  for (int cpu : {5, 7}) {
    if (!team_runs_type(cpu)) continue;
    expect_run({"concurrent"}, settings(cpu, 2, true), "ok\n");
  }
}
