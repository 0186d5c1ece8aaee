// The classic threaded road of TRSM and TRMM in every precision, in child processes:
// CPU types 0, 2, 3 and 4, the compatible set of the reproducibility branch, and 2 to 33
// threads with VRX_DYNAMIC=false. The driver checks every result against the wide
// reference and every decision against the thread model; here a few decisions are
// checked as they were worked out by hand.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_process.h"

namespace {
struct config {
  const char* cpu;
  const char* threads;
  const char* cbwr;  // empty: not set
  std::vector<const char*> lines;  // trace lines that must be printed
};

TEST(TrsmClassicRoad, EveryClassicTypeAndThreadCountAgainstWideReference) {
  const config configs[] = {
      {"0", "2", "", {"DTRSM RLNN 7x60 planned 2 team 2 unit 1", "STRMM LUNN 16x16 planned 1 team 1 unit 1"}},
      {"0", "33", "",
       {"STRSM LUNN 16x16 planned 1 team 1 unit 1", "ZTRMM LLTN 40x40 planned 20 team 20 unit 1",
        "CTRSM LUTN 520x13 planned 6 team 6 unit 1"}},
      {"2", "3", "",
       {"DTRSM LUTN 520x13 planned 3 team 3 unit 4", "DTRSM LLNU 512x13 planned 3 team 3 unit 1"}},
      {"3", "8", "", {"ZTRSM RUCN 530x20 planned 8 team 8 unit 4"}},
      {"4", "5", "", {"CTRMM RLCU 16x16 planned 1 team 1 unit 1"}},
      {"0", "3", "COMPATIBLE", {"DTRMM LUTN 520x13 planned 3 team 3 unit 4"}},
      {"2", "2", "COMPATIBLE", {"STRSM LLTN 40x40 planned 2 team 2 unit 1"}},
  };
  for (const config& c : configs) {
    std::vector<std::pair<std::string, std::string>> env = {
        {"VRX_DEBUG_CPU_TYPE", c.cpu}, {"VRX_NUM_THREADS", c.threads}, {"VRX_DYNAMIC", "false"}};
    if (*c.cbwr) env.push_back({"VRX_CBWR", c.cbwr});
    SCOPED_TRACE(std::string("type ") + c.cpu + " threads " + c.threads + " " + c.cbwr);
    const vrx_child_result r = vrx_test_run(vrx_test_driver("trsm_classic_driver"), {}, env);
    EXPECT_EQ(r.exit_status, 0) << r.output;
    EXPECT_NE(r.output.find("\nok\n"), std::string::npos) << r.output;
    for (const char* line : c.lines) EXPECT_NE(r.output.find(std::string(line) + "\n"), std::string::npos) << line;
  }
}
}  // namespace
