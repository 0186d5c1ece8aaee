// Runs tests/drivers/cpu_driver.cpp in a child process and checks its status and output exactly.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

typedef std::vector<std::pair<std::string, std::string>> vrx_env_list;

inline void vrx_expect_cpu_driver(const std::vector<std::string>& args, const vrx_env_list& env, int status,
                                  const std::string& output) {
  std::string where;
  for (const auto& [name, value] : env) where += name + "=" + value + " ";
  for (const auto& a : args) where += a + " ";
  const vrx_child_result r = vrx_test_run(vrx_test_driver("cpu_driver"), args, env);
  EXPECT_EQ(r.exit_status, status) << where;
  EXPECT_EQ(r.output, output) << where;
}
