// The pieces of a verbose line: elapsed time, reproducibility branch, the bounded text
// area, the frequency in the brand string, the clock and the version record.
#include <gtest/gtest.h>

#include <time.h>

#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "service/vrx_serv.h"

namespace {
std::string elapsed_text(double seconds) {
  vrx_text_area area;
  vrx_serv_area_start(&area);
  vrx_serv_verbose_append_elapsed(&area, seconds);
  return area.text;
}

std::string branch_text(int branch) {
  vrx_text_area area;
  vrx_serv_area_start(&area);
  vrx_serv_verbose_append_branch(&area, branch);
  return area.text;
}

// The last 16 characters of a 48-character brand string, zero padded.
int brand_mhz(const std::string& brand) {
  char whole[48] = {};
  std::memcpy(whole, brand.data(), brand.size());
  return vrx_serv_brand_frequency(whole + 32);
}
}  // namespace

TEST(VerboseFormat, ElapsedTimeUnitsSwitchStrictlyAboveOne) {
  EXPECT_EQ(elapsed_text(1.0), "1000.00ms");
  EXPECT_EQ(elapsed_text(1.5), "1.50s");
  EXPECT_EQ(elapsed_text(52.125), "52.12s");
  EXPECT_EQ(elapsed_text(0.0), "0.00s");
  EXPECT_EQ(elapsed_text(-2.0), "0.00s");
  EXPECT_EQ(elapsed_text(0.01234), "12.34ms");
  EXPECT_EQ(elapsed_text(0.001), "1000.00us");
  EXPECT_EQ(elapsed_text(2.5e-6), "2.50us");
  EXPECT_EQ(elapsed_text(1e-6), "1000ns");
  EXPECT_EQ(elapsed_text(4.2e-7), "420ns");
}

TEST(VerboseFormat, ReproducibilityBranchNames) {
  const char* const names[] = {"OFF", "AUTO", "COMPATIBLE", "SSE2", nullptr, "SSSE3",
                               "SSE4_1", "SSE4_2", "AVX", "AVX2", "AVX512_KPU", "AVX512"};
  for (int branch = 1; branch <= 12; ++branch)
    if (names[branch - 1]) EXPECT_EQ(branch_text(branch), std::string(" CNR:") + names[branch - 1]);
  EXPECT_EQ(branch_text(5), " CNR:?5");
  EXPECT_EQ(branch_text(26), " CNR:?1a");
  EXPECT_EQ(branch_text(0), " CNR:?0");
  EXPECT_EQ(branch_text(-1), " CNR:?ffffffff");
}

TEST(VerboseFormat, TextAreaCutsRatherThanSpills) {
  vrx_text_area area;
  std::memset(&area, 'x', sizeof area);
  vrx_serv_area_start(&area);
  vrx_serv_area_append(&area, "%s", "head");
  EXPECT_EQ(area.budget, vrx_text_area_budget - 4);
  const std::string long_text(500, 'a');
  vrx_serv_area_append(&area, " %s", long_text.c_str());
  EXPECT_EQ(area.budget, 0);
  EXPECT_EQ(std::strlen(area.text), static_cast<std::size_t>(vrx_text_area_budget));
  EXPECT_EQ(std::string(area.text, 6), "head a");
  vrx_serv_area_append(&area, "%s", "tail");
  EXPECT_EQ(std::strlen(area.text), static_cast<std::size_t>(vrx_text_area_budget));
  EXPECT_EQ(area.text[vrx_text_area_budget - 1], 'a');
}

TEST(VerboseFormat, FrequencyFromTheBrandString) {
  // The unit must stand at position 4 or later of the last 16 characters.
  EXPECT_EQ(brand_mhz("Genuine Processor X5690 CPU @ 3.40GHz"), 0);
  EXPECT_EQ(brand_mhz("Ardix(R) Xeon(R) CPU E5-2670 0 @ 2.60GHz      "), 2600);
  EXPECT_EQ(brand_mhz("       Ardix(R) Xeon(R) CPU E5-2670 0 @ 2.60GHz"), 2600);
  EXPECT_EQ(brand_mhz("                                 CPU @ 3.40GHz"), 3400);
  EXPECT_EQ(brand_mhz("                     Ardix Processor 2600MHz"), 2600);
  EXPECT_EQ(brand_mhz("                         Ardix Processor 2600MHz"), 2600);
  EXPECT_EQ(brand_mhz("                               Ardix CPU 1.20THz"), 1200000);
  EXPECT_EQ(brand_mhz("AMD EPYC 9R14 96-Core Processor                 "), 0);
  EXPECT_EQ(brand_mhz("                         Ardix CPU @ 3.4 GHz"), 0);
}

TEST(VerboseClock, SecondsFollowTheMonotonicClock) {
  const double start = vrx_serv_second();
  timespec pause = {0, 30000000};
  nanosleep(&pause, nullptr);
  const double elapsed = vrx_serv_second() - start;
  EXPECT_GT(elapsed, 0.02);
  EXPECT_LT(elapsed, 5.0);
  EXPECT_GT(vrx_serv_cpu_frequency(), 0.0);
}

TEST(VerboseVersion, RecordNamesTheBuildAndTheProcessor) {
  vrx_version_record v;
  vrx_serv_get_version(&v);
  // The version is the project's own.
  std::ifstream cmake(std::string(VRX_SOURCE_DIR) + "/CMakeLists.txt");
  std::stringstream whole;
  whole << cmake.rdbuf();
  std::smatch m;
  const std::string text = whole.str();
  ASSERT_TRUE(std::regex_search(text, m, std::regex(R"(project\(customvrx VERSION (\d+)\.(\d+)\.(\d+))")));
  EXPECT_EQ(v.major, std::stoi(m[1]));
  EXPECT_EQ(v.minor, std::stoi(m[2]));
  EXPECT_EQ(v.update, std::stoi(m[3]));
  EXPECT_STREQ(v.status, "Product");
  EXPECT_TRUE(std::regex_match(v.build, std::regex(R"(20\d\d(0[1-9]|1[0-2])(0[1-9]|[12]\d|3[01]))"))) << v.build;
  EXPECT_STREQ(v.platform, "x86-64 architecture");
  const char* const classes[8] = {"(SSE2)", nullptr, "(SSSE3)", "(SSE4.2)", "(AVX)", "(AVX2)", nullptr, "(AVX-512)"};
  const int type = vrx_serv_cpu_detect();
  if (vrx_serv_vendor_gate() && type >= 0 && type < 8 && classes[type]) {
    EXPECT_NE(std::strstr(v.processor, classes[type]), nullptr) << v.processor;
    EXPECT_NE(std::strstr(v.processor, "enabled processors"), nullptr) << v.processor;
  } else {
    EXPECT_STREQ(v.processor, "processors");
  }
}
