// The LAPACKE driver (tests/drivers/lapacke_driver.cpp) in a child process, and the
// verbose lines of the wrapper calls it made.
#pragma once
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

// What the driver printed for `args`, run with `env` added; it must exit with status 0.
inline std::string vrx_test_lapacke_driver(const std::vector<std::string>& args,
                                           const std::vector<std::pair<std::string, std::string>>& env = {}) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("lapacke_driver"), args, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  return r.output;
}

// The verbose lines of `text` that describe calls (the banner left out).
inline std::vector<std::string> vrx_test_verbose_calls(const std::string& text) {
  std::vector<std::string> calls;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (line.rfind("VRX_VERBOSE ", 0) == 0 && line.rfind("VRX_VERBOSE customvrx", 0) != 0) calls.push_back(line);
  return calls;
}

// Whether `line` is the verbose line of `call`, written with P for any pointer argument and
// # for any integer, followed by the elapsed time and the statistics.
inline bool vrx_test_verbose_matches(const std::string& line, const std::string& call) {
  std::string pattern = std::regex_replace(call, std::regex(R"([().])"), R"(\$&)");
  pattern = std::regex_replace(pattern, std::regex("([(,])P(?=[,)])"), R"($1(?:0x[0-9a-f]+|\(nil\)))");
  pattern = std::regex_replace(pattern, std::regex("([(,])#(?=[,)])"), R"($1-?\d+)");
  return std::regex_match(line, std::regex("VRX_VERBOSE " + pattern +
                                           R"( (?:\d+\.\d\d(?:s|ms|us)|\d+ns) CNR:\S+ Dyn:\d FastMM:\d TID:0  NThr:.*)"));
}
