// SSYMM ... ZHEMM under forced CPU types (the team road of types 5 and 7 at 2 to 33
// threads, the classic types' blocks through their GEMM routes) and without scratch, in
// child processes; the roads taken are read from the calls' trace.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_process.h"

namespace {
vrx_child_result run_symm(const std::string& letter, const std::string& cpu, const std::string& threads,
                          const char* extra = nullptr) {
  std::vector<std::string> args = {letter};
  if (extra) args.push_back(extra);
  return vrx_test_run(vrx_test_driver("symm_driver"), args,
                      {{"VRX_DEBUG_CPU_TYPE", cpu}, {"VRX_NUM_THREADS", threads}, {"VRX_DYNAMIC", "false"}});
}

// Scale only (1), unpacked (2), the driver in one thread (3), the team (4); the classic
// types: scale only and blocks (5), or the unpacked road without scratch (6).
const char team_roads[] = "roads 1 2 3 4\n";
const char classic_roads[] = "roads 1 5\n";

class SymmRoads : public ::testing::TestWithParam<const char*> {};

// The output after its first line must be exactly `roads` and `refused`, then "ok HASH".
void expect_roads(const vrx_child_result& r, const std::string& roads, const char* refused) {
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output.rfind(roads + "refused " + refused + "\nok ", 0), 0u) << r.output;
}

TEST_P(SymmRoads, EveryRoadAgainstWiderReferenceWithTheSameBitsEveryRun) {
  const std::string letter = GetParam();
  const bool wide = letter == "D" || letter == "Z";
  struct road {
    const char* cpu;
    const char* threads;
    bool twice;
    const char* extra;
  };
  // Many threads on two cores are slow: 33 for the narrow, 8 for the wide precisions.
  std::vector<road> roads = {{"0", "3", false, nullptr}, {"7", "3", true, nullptr}};
  if (wide)
    roads.insert(roads.end(), {{"2", "2", false, nullptr},
                               {"3", "1", false, nullptr},
                               {"4", "8", false, nullptr},
                               {"5", "8", true, nullptr}});
  else
    roads.insert(roads.end(), {{"5", "33", false, nullptr}, {"7", "2", false, nullptr}});
  if (letter == "D") roads.push_back({"7", "2", false, "cooperating"});
  for (const road& r : roads) {
    SCOPED_TRACE(letter + " type " + r.cpu + " threads " + r.threads);
    const vrx_child_result first = run_symm(letter, r.cpu, r.threads, r.extra);
    const bool team = r.cpu[0] == '5' || r.cpu[0] == '7';
    expect_roads(first, team ? team_roads : classic_roads, "no");
    if (r.twice) EXPECT_EQ(run_symm(letter, r.cpu, r.threads, r.extra).output, first.output);
  }
}

// Without scratch the team's driver runs take their fallback, the classic types the
// unpacked road; without any memory as well: still correct.
TEST_P(SymmRoads, EveryRoadWithoutScratch) {
  const std::string letter = GetParam();
  expect_roads(run_symm(letter, "7", "4", "refuse"), team_roads, "yes");
  expect_roads(run_symm(letter, "5", "2", "nomemory"), team_roads, "yes");
  expect_roads(run_symm(letter, "0", "3", "nomemory"), "roads 1 6\n", "yes");
}

INSTANTIATE_TEST_SUITE_P(EveryPrecision, SymmRoads, ::testing::Values("S", "D", "C", "Z"));
}  // namespace
