// The LU and Cholesky members in child processes: refused memory of every kind (work array,
// transposition copy, wrapper temporary) with its exact code and text, and the verbose
// lines of the wrappers.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

namespace {
std::string run(const std::vector<std::string>& args, const std::vector<std::pair<std::string, std::string>>& env = {}) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("lapacke_driver"), args, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  return r.output;
}

std::string wrapper_report(const std::string& name) {
  return "\nArdix VRX INTERNAL ERROR: Not enough work memory in function " + name + "\n";
}

struct refusal_case {
  int allowed;          // pool buffers handed out before the refusals start
  const char* command;  // see the driver
  std::string output;   // everything printed
};
}  // namespace

TEST(LapackeRefusedMemory, EachKindGivesItsCodeAndTextAndLeavesTheArrays) {
  const refusal_case cases[] = {
      // The work array of the high-level layer.
      {0, "dgetri-col", "Not enough memory to allocate work array in LAPACKE_dgetri\n"
                        "dgetri-col result -1010 untouched 1\n"},
      // The work layer's copies: the first, or the second after the first was made.
      {0, "dgetrf-row", "Not enough memory to transpose matrix in LAPACKE_dgetrf_work\n"
                        "dgetrf-row result -1011 untouched 1\n"},
      {1, "dgetrs-row", "Not enough memory to transpose matrix in LAPACKE_dgetrs_work\n"
                        "dgetrs-row result -1011 untouched 1\n"},
      {1, "sgetrs-row", "Not enough memory to transpose matrix in LAPACKE_sgetrs_work\n"
                        "sgetrs-row result -1011 untouched 1\n"},
      {1, "dgetri-row", "Not enough memory to transpose matrix in LAPACKE_dgetri_work\n"
                        "dgetri-row result -1011 untouched 1\n"},
      {0, "dpotrf-row", "Not enough memory to transpose matrix in LAPACKE_dpotrf_work\n"
                        "dpotrf-row result -1011 untouched 1\n"},
      {0, "spotrf-row", "Not enough memory to transpose matrix in LAPACKE_spotrf_work\n"
                        "spotrf-row result -1011 untouched 1\n"},
      {0, "dpotrs-row", "Not enough memory to transpose matrix in LAPACKE_dpotrs_work\n"
                        "dpotrs-row result -1011 untouched 1\n"},
      {1, "spotrs-row", "Not enough memory to transpose matrix in LAPACKE_spotrs_work\n"
                        "spotrs-row result -1011 untouched 1\n"},
      // The wrappers' 64-bit pivots: -1023, counted with the layout as -1024.
      {0, "dgetrf-col", wrapper_report("DGETRF") + "dgetrf-col result -1024 untouched 1\n"},
      {0, "sgetrf-col", wrapper_report("SGETRF") + "sgetrf-col result -1024 untouched 1\n"},
      {0, "dgetrs-col", wrapper_report("DGETRS") + "dgetrs-col result -1024 untouched 1\n"},
      {0, "sgetrs-col", wrapper_report("SGETRS") + "sgetrs-col result -1024 untouched 1\n"},
      {1, "dgetri-col", wrapper_report("DGETRI") + "dgetri-col result -1024 untouched 1\n"},
      {1, "dgetrf-row", wrapper_report("DGETRF") + "dgetrf-row result -1024 untouched 1\n"},
  };
  for (const refusal_case& c : cases)
    EXPECT_EQ(run({"--allow", std::to_string(c.allowed), c.command}), c.output) << c.command << " " << c.allowed;
}

TEST(LapackeRefusedMemory, AWorkspaceQueryAndTheColumnMajorCholeskyMembersNeedNoMemory) {
  EXPECT_EQ(run({"--allow", "0", "DGETRI-query", "dpotrs-col", "dpotrf-col"}),
            "DGETRI-query result 0 untouched 1\ndpotrs-col result 0 untouched 0\ndpotrf-col result 0 untouched 0\n");
}

namespace {
const std::string pointer = R"((?:0x[0-9a-f]+|\(nil\)))";
const std::string elapsed = R"((?:\d+\.\d\d(?:s|ms|us)|\d+ns))";

// A verbose line: the call text with pointer arguments as `P`, then the elapsed time and the
// statistics.
std::regex verbose_line(const std::string& call) {
  std::string pattern = std::regex_replace(call, std::regex(R"([().])"), R"(\$&)");
  pattern = std::regex_replace(pattern, std::regex("([(,])P(?=[,)])"), "$1" + pointer);
  return std::regex("VRX_VERBOSE " + pattern + " " + elapsed + " CNR:\\S+ Dyn:\\d FastMM:\\d TID:0  NThr:.*");
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}
}  // namespace

TEST(WrapperVerbose, OneLinePerWrapperCallFromTheCallersValues) {
  const std::vector<std::string> lines =
      lines_of(run({"dgetrf-col", "sgetrf-col", "dgetrs-row", "sgetrs-col", "dgetri-col", "DGETRF-bad",
                    "DGETRI-query", "dpotrf-col", "spotrf-row", "dpotrs-row", "spotrs-row", "SPOTRF-bad"},
                   {{"VRX_VERBOSE", "1"}}));
  const std::vector<std::string> calls = {
      "DGETRF(4,4,P,4,P,0)",
      "SGETRF(4,4,P,4,P,0)",
      "DGETRS(N,4,2,P,4,P,P,4,0)",  // on the column-major copies
      "SGETRS(T,4,2,P,4,P,P,4,0)",
      "DGETRI(4,P,4,P,P,-1,0)",  // the workspace query
      "DGETRI(4,P,4,P,P,256,0)",
      "DGETRF(-1,4,P,4,P,-1)",  // a failed check still has its line
      "DGETRI(4,P,4,(nil),P,-1,0)",
      "DPOTRF(U,4,P,4,0)",
      "SPOTRF(U,4,P,4,0)",  // on the column-major copy
      "DPOTRS(U,4,2,P,4,P,4,0)",
      "SPOTRS(l,4,2,P,4,P,4,0)",
      "SPOTRF(X,4,P,4,-1)",  // reported under DPOTRF, timed under its own name
  };
  std::vector<std::string> verbose;
  for (const std::string& line : lines)
    if (line.rfind("VRX_VERBOSE ", 0) == 0 && line.find("VRX_VERBOSE customvrx") != 0) verbose.push_back(line);
  ASSERT_EQ(verbose.size(), calls.size()) << [&] {
    std::string all;
    for (const std::string& line : lines) all += line + "\n";
    return all;
  }();
  for (std::size_t i = 0; i < calls.size(); ++i)
    EXPECT_TRUE(std::regex_match(verbose[i], verbose_line(calls[i]))) << calls[i] << "\n" << verbose[i];
  // The failed check reports before its line.
  const std::string text = run({"DGETRF-bad"}, {{"VRX_VERBOSE", "1"}});
  const std::size_t report = text.find("\nArdix VRX ERROR: Parameter 1 was incorrect on entry to DGETRF.\n");
  ASSERT_NE(report, std::string::npos) << text;
  EXPECT_LT(report, text.find("VRX_VERBOSE DGETRF(-1,"));
}
