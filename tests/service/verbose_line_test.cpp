// Verbose mode in child processes: the setting, the banner once per process, and the
// line of each DGEMM call checked field by field.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

namespace {
using environment = std::vector<std::pair<std::string, std::string>>;

std::vector<std::string> run_lines(const std::vector<std::string>& commands, const environment& env) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("verbose_driver"), commands, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  std::vector<std::string> lines;
  std::istringstream in(r.output);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// What the statistics should show, as the child's subsystems answer.
struct facts {
  int branch = 0, fastmm = 0, dynamic = 0, nthr = 0, domains[5] = {};
};

facts parse_facts(const std::string& line) {
  facts f;
  EXPECT_EQ(std::sscanf(line.c_str(), "facts branch=%d fastmm=%d dynamic=%d nthr=%d blas=%d fft=%d vmf=%d dirsol=%d",
                        &f.branch, &f.fastmm, &f.dynamic, &f.nthr, &f.domains[1], &f.domains[2], &f.domains[3],
                        &f.domains[4]),
            8)
      << line;
  return f;
}

std::string branch_name(int branch) {
  const char* const names[] = {"?0",     "OFF",    "AUTO", "COMPATIBLE", "SSE2",       "?5",    "SSSE3",
                               "SSE4_1", "SSE4_2", "AVX",  "AVX2",       "AVX512_KPU", "AVX512"};
  return branch >= 0 && branch <= 12 ? names[branch] : "?";
}

// The statistics the line must end with, from the facts.
std::string statistics_of(const facts& f, int tid) {
  std::string text = " CNR:" + branch_name(f.branch) + " Dyn:" + std::to_string(f.dynamic) +
                     " FastMM:" + std::to_string(f.fastmm) + " TID:" + std::to_string(tid) + (tid < 10 ? " " : "") +
                     " NThr:" + std::to_string(f.nthr);
  const char* const labels[5] = {nullptr, "BLAS", "FFT", "VMF", "DIRSOL"};
  for (int d = 1; d < 5; ++d)
    if (f.domains[d] != f.nthr) text += std::string(",") + labels[d] + ":" + std::to_string(f.domains[d]);
  return text + " WDiv:HOST:+0.000";
}

const std::string pointer = R"((?:0x[0-9a-f]+|\(nil\)))";
const std::string elapsed = R"((?:\d+\.\d\d(?:s|ms|us)|\d+ns))";

// The line of the driver's DGEMM call with its m; pointers and timing as patterns.
std::regex call_line(int m, const std::string& statistics) {
  const std::string p = pointer;
  return std::regex("VRX_VERBOSE DGEMM\\(N,T," + std::to_string(m) + ",3,4," + p + "," + p + ",2," + p + ",3," + p +
                    "," + p + ",2\\) " + elapsed + std::regex_replace(statistics, std::regex(R"([+().?])"), R"(\$&)"));
}

const std::regex banner(
    R"(VRX_VERBOSE customvrx \d+\.\d+( Update \d+)? Product build 20\d{6} for x86-64 architecture )"
    R"(.*processors, Linux \d+\.\d\dGHz cdecl ardix_thread NKPUDev:0)");

int verbose_mode(const std::string& value) {
  const auto lines = run_lines({"mode"}, {{"VRX_VERBOSE", value}});
  return lines.size() == 1 && lines[0].rfind("mode=", 0) == 0 ? std::stoi(lines[0].substr(5)) : -9;
}
}  // namespace

TEST(VerboseMode, OnlyTheNumberOneTurnsItOn) {
  EXPECT_EQ(verbose_mode("1"), 1);
  EXPECT_EQ(verbose_mode("0x1"), 1);
  EXPECT_EQ(verbose_mode("01"), 1);
  EXPECT_EQ(verbose_mode("2"), 0);
  EXPECT_EQ(verbose_mode("yes"), 0);
  EXPECT_EQ(verbose_mode(""), 0);
  EXPECT_EQ(verbose_mode("1x"), 0);
  EXPECT_EQ(verbose_mode("0"), 0);
  EXPECT_EQ(run_lines({"mode"}, {}), std::vector<std::string>{"mode=0"});
}

TEST(VerboseMode, OffWritesNothing) {
  EXPECT_TRUE(run_lines({"dgemm", "dgemm"}, {{"VRX_VERBOSE", "2"}}).empty());
  EXPECT_TRUE(run_lines({"dgemm"}, {}).empty());
}

TEST(VerboseLine, BannerOnceThenOneLinePerCall) {
  const auto lines = run_lines({"dgemm", "dgemm", "facts"}, {{"VRX_VERBOSE", "1"}});
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_TRUE(std::regex_match(lines[0], banner)) << lines[0];
  const std::string statistics = statistics_of(parse_facts(lines[3]), 0);
  EXPECT_TRUE(std::regex_match(lines[1], call_line(2, statistics))) << lines[1] << "\n" << statistics;
  EXPECT_TRUE(std::regex_match(lines[2], call_line(2, statistics))) << lines[2] << "\n" << statistics;
  EXPECT_EQ(lines[1].find(",BLAS"), std::string::npos);
}

TEST(VerboseLine, FailedCheckStillWritesTheLineAfterTheError) {
  const auto lines = run_lines({"bad", "facts"}, {{"VRX_VERBOSE", "1"}});
  std::size_t error = 0;
  while (error < lines.size() && lines[error] != "Ardix VRX ERROR: Parameter 3 was incorrect on entry to DGEMM .") ++error;
  ASSERT_EQ(error + 4, lines.size()) << "the error line, the banner, the call, the facts";
  EXPECT_TRUE(std::regex_match(lines[error + 1], banner)) << lines[error + 1];
  EXPECT_TRUE(std::regex_match(lines[error + 2], call_line(-1, statistics_of(parse_facts(lines[error + 3]), 0))))
      << lines[error + 2];
}

TEST(VerboseLine, ThreadSettingsAppearAsTheyAre) {
  const auto lines = run_lines({"dgemm", "facts"}, {{"VRX_VERBOSE", "1"},
                                                    {"VRX_DYNAMIC", "false"},
                                                    {"VRX_NUM_THREADS", "3"},
                                                    {"VRX_DOMAIN_NUM_THREADS", "VRX_DOMAIN_BLAS=1,VRX_DOMAIN_VMF=5"}});
  ASSERT_EQ(lines.size(), 3u);
  const facts f = parse_facts(lines[2]);
  EXPECT_EQ(f.dynamic, 0);
  EXPECT_EQ(f.nthr, 3);
  const std::string statistics = statistics_of(f, 0);
  EXPECT_NE(statistics.find(" Dyn:0 "), std::string::npos);
  EXPECT_NE(statistics.find(" NThr:3,BLAS:1,VMF:5 WDiv"), std::string::npos);
  EXPECT_TRUE(std::regex_match(lines[1], call_line(2, statistics))) << lines[1];
}

TEST(VerboseLine, ThreadNumberOfTheCaller) {
  const auto lines = run_lines({"thread1", "facts"}, {{"VRX_VERBOSE", "1"}});
  ASSERT_EQ(lines.size(), 3u);
  const facts f = parse_facts(lines[2]);
  // Inside the region dynamic mode gives the caller one thread in every domain.
  const std::string tail = " CNR:" + branch_name(f.branch) + " Dyn:1 FastMM:" + std::to_string(f.fastmm) +
                           " TID:1  NThr:1 WDiv:HOST:+0.000";
  ASSERT_GT(lines[1].size(), tail.size());
  EXPECT_EQ(lines[1].substr(lines[1].size() - tail.size()), tail) << lines[1];
}

TEST(VerboseLine, ReproducibilityBranchIsShown) {
  const auto lines = run_lines({"dgemm", "facts"}, {{"VRX_VERBOSE", "1"}, {"VRX_CBWR", "AUTO"}});
  ASSERT_EQ(lines.size(), 3u);
  const facts f = parse_facts(lines[2]);
  EXPECT_TRUE(f.branch == 1 || f.branch == 2) << f.branch;  // 1 until the setting is read
  EXPECT_TRUE(std::regex_match(lines[1], call_line(2, statistics_of(f, 0)))) << lines[1];
}
