// vdsub and the frame under settings read from the environment, in child processes.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/child_process.h"
#include "vector/vrx_vmf.h"

namespace {
typedef std::vector<std::pair<std::string, std::string>> environment;

vrx_child_result run(const std::vector<std::string>& args, const environment& env = {}) {
  return vrx_test_run(vrx_test_driver("vmf_driver"), args, env);
}

int number_after(const std::string& text, const std::string& key) {
  const auto at = text.find(key);
  if (at == std::string::npos) return -1000;
  return std::atoi(text.c_str() + at + key.size());
}

double real_after(const std::string& text, const std::string& key) {
  const auto at = text.find(key);
  return at == std::string::npos ? -1.0 : std::atof(text.c_str() + at + key.size());
}

bool runs_here(int code) {
  switch (code) {
    case 5: return __builtin_cpu_supports("sse4.2");
    case 6: return __builtin_cpu_supports("avx");
    case 7: return __builtin_cpu_supports("avx2");
    case 9: return __builtin_cpu_supports("avx512f");
    default: return true;
  }
}

// vdsub on these sizes in a child, and what it prints when all are right.
std::vector<std::string> sizes_args(const std::vector<int>& sizes) {
  std::vector<std::string> args;
  for (int n : sizes) args.push_back("sub:" + std::to_string(n));
  return args;
}
std::string sizes_ok(const std::vector<int>& sizes) {
  std::string out;
  for (int n : sizes) out += "sub " + std::to_string(n) + " ok status=0\n";
  return out;
}
const std::vector<int> road_sizes = {0, 1, 99, 100, 103, 1000000};
}  // namespace

TEST(VmfEnvironment, ModeGrammarInTheEnvironment) {
  const std::pair<const char*, unsigned> cases[] = {
      {nullptr, 6658},
      {"VMF_HA,VMF_ERRMODE_IGNORE", 0x102},
      {"VMF_HA,XYZ", 6658},
      {"VMF_EP,VMF_ERRMODE_ERRNO", 0x203},
      {"VMF_DOUBLE_CONSISTEN", 0x20},
      {"VMF_DOUBLE_CONSISTENT", 6658},
      {"VMF_LA,", 6658},
      {"", 6658},
      {"VMF_DEFAULT_PRECISION", 0},
  };
  for (const auto& [value, mode] : cases) {
    environment env;
    if (value) env.push_back({"VRX_VMF_MODE", value});
    const vrx_child_result r = run({"mode"}, env);
    EXPECT_EQ(r.exit_status, 0);
    // Each thread reads the variable at its own first query.
    EXPECT_EQ(r.output, "mode=" + std::to_string(mode) + " other=" + std::to_string(mode) + "\n")
        << (value ? value : "(unset)");
  }
}

TEST(VmfEnvironment, ModeWithoutAccuracyRunsTheHighAccuracyRow) {
  for (const char* value : {"VMF_ERRMODE_IGNORE", "VMF_DEFAULT_PRECISION"}) {
    const vrx_child_result r = run({"code", "kernel", "sub:1000", "sub:103"}, {{"VRX_VMF_MODE", value}});
    EXPECT_EQ(r.exit_status, 0) << value;
    EXPECT_NE(r.output.find("sub 1000 ok status=0\nsub 103 ok status=0\n"), std::string::npos) << r.output;
  }
}

TEST(VmfEnvironment, ColumnFollowsTheBranchAndTheProcessor) {
  for (const char* branch : {"", "COMPATIBLE", "SSE2", "AVX2", "AVX512", "AUTO"}) {
    environment env;
    if (*branch) env.push_back({"VRX_CBWR", branch});
    const vrx_child_result r = run({"code"}, env);
    ASSERT_EQ(r.exit_status, 0);
    const int code = number_after(r.output, "code="), in_force = number_after(r.output, "branch=");
    EXPECT_EQ(code, vrx_vmf_code_from_features(vrx_vmf_read_features(), vrx_vmf_branch_code(in_force)))
        << branch << ": " << r.output;
  }
}

TEST(VmfEnvironment, OverrideForcesEachKernelAndResultsStayExact) {
  const char* const kernel_of[10] = {"plain_sse2",    "plain_sse2",  "guarded_sse2", "guarded_sse2",
                                     "plain_sse2",    "guarded_sse42", "guarded_avx", "guarded_avx2",
                                     "none",          "guarded_avx512"};
  for (int code = 0; code < 10; ++code) {
    if (code == 8 || !runs_here(code)) continue;
    std::vector<std::string> args = {"code", "kernel"};
    const std::vector<std::string> subs = sizes_args(road_sizes);
    args.insert(args.end(), subs.begin(), subs.end());
    const vrx_child_result r = run(args, {{"VRX_VMF_CPU_CODE", std::to_string(code)}});
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(number_after(r.output, "code="), code);
    EXPECT_NE(r.output.find(std::string("kernel=") + kernel_of[code] + "\n"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find(sizes_ok(road_sizes)), std::string::npos) << r.output;
  }
  // Refused values fall back to detection.
  const vrx_child_result detected = run({"code"});
  for (const char* refused : {"8", "10", "5x", "x"}) {
    const vrx_child_result r = run({"code"}, {{"VRX_VMF_CPU_CODE", refused}});
    EXPECT_EQ(r.output, detected.output) << refused;
  }
  EXPECT_EQ(number_after(run({"code"}, {{"VRX_VMF_CPU_CODE", "07"}}).output, "code="), 7);
}

TEST(VmfEnvironment, ForcedCpuTypesKeepResultsExact) {
  for (int type : {0, 2, 3, 4, 5, 7}) {
    if (type == 7 && !__builtin_cpu_supports("avx512f")) continue;
    if (type == 5 && !__builtin_cpu_supports("avx2")) continue;
    // The forced type does not move the kernel column; a short list suffices.
    const std::vector<int> sizes = {1, 99, 100, 103, 10000};
    const vrx_child_result r = run(sizes_args(sizes), {{"VRX_DEBUG_CPU_TYPE", std::to_string(type)}});
    EXPECT_EQ(r.exit_status, 0) << type;
    EXPECT_EQ(r.output, sizes_ok(sizes)) << type;
  }
}

TEST(VmfEnvironment, EightThreadLayoutWithoutDynamicAdjustment) {
  const vrx_child_result r =
      run({"team:103", "team:1000", "team:99", "sub:103", "sub:1000000"},
          {{"VRX_DYNAMIC", "false"}, {"VRX_NUM_THREADS", "8"}});
  ASSERT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output.find("WRONG"), std::string::npos) << r.output;
  const int domain = number_after(r.output, "domain=");
  ASSERT_GE(domain, 1);
  const std::string team103 = r.output.substr(0, r.output.find('\n'));
  if (domain == 8) {
    EXPECT_NE(team103.find("threads=8 parts=12,12,12,12,12,12,12,19 "), std::string::npos) << team103;
    EXPECT_NE(r.output.find("team 1000 threads=8 parts=125,125,125,125,125,125,125,125 "), std::string::npos);
  } else {
    EXPECT_EQ(number_after(team103, "threads="), domain) << team103;
  }
  EXPECT_NE(r.output.find("team 99 threads=1 parts=99 "), std::string::npos) << r.output;
  EXPECT_NE(r.output.find("sub 103 ok status=0\nsub 1000000 ok status=0\n"), std::string::npos) << r.output;
}

TEST(VmfEnvironment, DynamicAdjustmentCutsTheTeamByCost) {
  const vrx_child_result r = run({"team:1000", "team:1000000"}, {{"VRX_NUM_THREADS", "8"}});
  ASSERT_EQ(r.exit_status, 0) << r.output;
  std::size_t line_start = 0;
  for (int n : {1000, 1000000}) {
    const std::string line = r.output.substr(line_start, r.output.find('\n', line_start) - line_start);
    line_start += line.size() + 1;
    const int domain = number_after(line, "domain=");
    const int threads = number_after(line, "threads=");
    const float factor = static_cast<float>(real_after(line, "factor="));
    const float cost = static_cast<float>(real_after(line, "cost="));
    const int expected = domain <= 1 || number_after(line, "dynamic=") == 0
                             ? domain
                             : vrx_vmf_reduce_threads(domain, cost, n, factor);
    EXPECT_EQ(threads, expected < 1 ? 1 : expected) << line;
  }
}

TEST(VmfEnvironment, LostThreadStateEndsTheProcess) {
  const vrx_child_result r = run({"fatal"});
  EXPECT_EQ(r.exit_status, 3);
  EXPECT_EQ(r.output, "Ardix VRX FATAL ERROR: memory allocation error.\n");
}

TEST(VmfEnvironment, PresentedProcessorsChooseTheirColumn) {
  struct processor_case {
    const char* profile;
    const char* cbwr;
    const char* opt_in;
    int code;
  };
  const processor_case cases[] = {
      {"avx512", nullptr, "AVX512", 9},  {"avx512", nullptr, nullptr, 7},   {"avx512", "AVX2", "AVX512", 7},
      {"avx512", "SSE4_2", "AVX512", 5}, {"avx2", nullptr, nullptr, 7},     {"avx2", "AVX", nullptr, 6},
      {"avx2", "COMPATIBLE", nullptr, 1}, {"avx2_no_ymm_save", nullptr, nullptr, 5}, {"avx", nullptr, nullptr, 6},
      {"sse42", nullptr, nullptr, 5},    {"sse41", nullptr, nullptr, 4},    {"ssse3", nullptr, nullptr, 3},
      {"sse2", nullptr, nullptr, 0},     {"sse2", "COMPATIBLE", nullptr, 1}, {"ssse3", "SSE2", nullptr, 0},
      {"avx2_no_fma", nullptr, nullptr, 6}, {"other_avx2", nullptr, nullptr, 0},
      {"other_avx2", "COMPATIBLE", nullptr, 1}, {"other_avx2", "AVX2", nullptr, 0},
  };
  for (const processor_case& c : cases) {
    environment env;
    if (c.cbwr) env.push_back({"VRX_CBWR", c.cbwr});
    if (c.opt_in) env.push_back({"VRX_ENABLE_INSTRUCTIONS", c.opt_in});
    std::vector<std::string> args = {std::string("fake=") + c.profile, "code"};
    if (runs_here(c.code)) args.push_back("sub:1000");
    const vrx_child_result r = run(args, env);
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(number_after(r.output, "code="), c.code) << c.profile << " " << (c.cbwr ? c.cbwr : "") << "\n"
                                                        << r.output;
    if (runs_here(c.code)) EXPECT_NE(r.output.find("sub 1000 ok status=0"), std::string::npos) << r.output;
  }
}
