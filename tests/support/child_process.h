// Runs a test driver in a child process with its own environment, and captures stdout.
#pragma once
#include <string>
#include <utility>
#include <vector>

struct vrx_child_result {
  int exit_status = -1;  // the status passed to exit, or -1 when killed by a signal
  std::string output;    // everything written to stdout
};

// Path of a driver program built from tests/drivers/<name>.c(pp).
std::string vrx_test_driver(const std::string& name);

// Runs `program args...` with the VRX_/OMP_ variables of this process removed and
// `env` added. Standard error is left alone.
vrx_child_result vrx_test_run(const std::string& program, const std::vector<std::string>& args,
                              const std::vector<std::pair<std::string, std::string>>& env = {});
