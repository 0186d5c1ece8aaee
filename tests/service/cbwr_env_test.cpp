// VRX_CBWR in child processes: names, reach, the CPU type it fixes and the queries it steers.
#include <gtest/gtest.h>

#include "service/vrx_serv.h"
#include "service/cpu_driver_run.h"

namespace {
struct branch_case {
  const char* value;  // null: not set
  int branch;
  int stored;
  int type;
};

void expect_branches(const char* profile, const branch_case* cases, std::size_t count, const vrx_env_list& extra = {}) {
  for (std::size_t i = 0; i < count; ++i) {
    const branch_case& c = cases[i];
    vrx_env_list env = extra;
    if (c.value) env.push_back({"VRX_CBWR", c.value});
    vrx_expect_cpu_driver({profile, "branch", "stored", "type"}, env, 0,
               "branch=" + std::to_string(c.branch) + "\nstored=" + std::to_string(c.stored) +
                   "\ntype=" + std::to_string(c.type) + "\n");
  }
}

TEST(CbwrNames, GenuineAvx512WithoutOptIn) {
  const branch_case cases[] = {
      {nullptr, 1, 0, 5},       {"AUTO", 2, 2, 5},          {"BRANCH=AUTO", 2, 2, 5},
      {"COMPATIBLE", 3, 3, 0},  {"SSE2", 4, 4, 0},          {"SSE3", 4, 4, 0},
      {"SSSE3", 6, 6, 2},       {"SSE4_1", 7, 7, 2},        {"SSE4_2", 8, 8, 3},
      {"AVX", 9, 9, 4},         {"AVX2", 10, 10, 5},        {"BRANCH=AVX2", 10, 10, 5},
      {"avx2", 2, 2, 5},        {"AVX2,STRICT", 2, 2, 5},   {"AVX2 ", 2, 2, 5},
      {"OFF", 2, 2, 5},         {"BRANCH=", 2, 2, 5},       {"branch=AVX2", 2, 2, 5},
      {"AVX512", 2, 2, 5},      {"AVX512_KPU", 2, 2, 5},    {"BRANCH=BRANCH=AVX", 2, 2, 5},
  };
  expect_branches("fake=avx512", cases, std::size(cases));
}

TEST(CbwrNames, GenuineAvx512WithOptIn) {
  const branch_case cases[] = {{nullptr, 1, 0, 7}, {"AVX512", 12, 12, 7}, {"AVX2", 10, 10, 5}, {"AUTO", 2, 2, 7}};
  expect_branches("fake=avx512", cases, std::size(cases), {{"VRX_ENABLE_INSTRUCTIONS", "AVX512"}});
}

TEST(CbwrNames, RequestsAboveTheReachGiveAuto) {
  const branch_case sse41[] = {{"SSE4_1", 7, 7, 2}, {"SSE4_2", 2, 2, 2}, {"AVX", 2, 2, 2}, {"SSSE3", 6, 6, 2}};
  expect_branches("fake=sse41", sse41, std::size(sse41));
  const branch_case ssse3[] = {{"SSE4_1", 2, 2, 2}, {"SSSE3", 6, 6, 2}, {"SSE2", 4, 4, 0}};
  expect_branches("fake=ssse3", ssse3, std::size(ssse3));
  const branch_case avx2[] = {{"AVX512", 2, 2, 5}, {"AVX2", 10, 10, 5}};
  expect_branches("fake=avx2", avx2, std::size(avx2), {{"VRX_ENABLE_INSTRUCTIONS", "AVX512"}});
}

TEST(CbwrNames, OtherVendorKeepsOnlyCompatible) {
  const branch_case cases[] = {{nullptr, 1, 0, 0}, {"AVX", 2, 2, 0},  {"AVX2", 2, 2, 0},
                               {"SSE2", 2, 2, 0},  {"COMPATIBLE", 3, 3, 0}, {"AUTO", 2, 2, 0}};
  expect_branches("fake=other_avx2", cases, std::size(cases));
}

TEST(CbwrNames, ThisMachine) {
  // The real processor here is of another vendor: only COMPATIBLE survives.
  vrx_expect_cpu_driver({"branch", "type"}, {{"VRX_CBWR", "AVX"}}, 0, "branch=2\ntype=0\n");
  vrx_expect_cpu_driver({"branch", "type"}, {{"VRX_CBWR", "COMPATIBLE"}}, 0, "branch=3\ntype=0\n");
  vrx_expect_cpu_driver({"branch", "type"}, {}, 0, "branch=1\ntype=0\n");
}

TEST(CbwrNames, ValueTooLongForTheBufferReadsAsUnset) {
  const std::string fits = "BRANCH=" + std::string(120, 'X');   // 127 characters: unknown, AUTO
  const std::string too_long = fits + "Y";                        // 128: not read at all
  vrx_expect_cpu_driver({"fake=avx2", "branch", "stored"}, {{"VRX_CBWR", fits}}, 0, "branch=2\nstored=2\n");
  vrx_expect_cpu_driver({"fake=avx2", "branch", "stored"}, {{"VRX_CBWR", too_long}}, 0, "branch=1\nstored=0\n");
}

TEST(CbwrNames, KpuBranchWarnsAndEndsTheProcess) {
  const std::string warning = std::string(vrx_serv_message_text(1209)) + "\n";
  EXPECT_EQ(warning, "Ardix VRX WARNING: incorrect conditional numerical reproducibility mode, VRX_CBWR_AUTO is set\n");
  vrx_expect_cpu_driver({"fake=avx512", "branch", "type"},
             {{"VRX_CBWR", "AVX512_KPU"}, {"VRX_ENABLE_INSTRUCTIONS", "AVX512"}}, 1, "branch=11\n" + warning);
}

TEST(CbwrQueries, GatesFollowTheBranch) {
  // gates = vendor gate, SSE4.1 gate, cpu code, FMA4, family 10h
  const struct {
    const char* profile;
    const char* value;
    const char* output;
  } cases[] = {
      {"fake=avx2", nullptr, "gates=1 1 0 0 0\n"},          {"fake=avx2", "COMPATIBLE", "gates=0 0 0 0 0\n"},
      {"fake=avx2", "AVX", "gates=1 1 128 0 0\n"},          {"fake=avx2", "SSE4_2", "gates=1 1 64 0 0\n"},
      {"fake=avx2", "SSE4_1", "gates=1 1 33 0 0\n"},        {"fake=avx2", "SSSE3", "gates=1 0 32 0 0\n"},
      {"fake=avx2", "SSE2", "gates=1 0 0 0 0\n"},           {"fake=sse42", nullptr, "gates=1 1 66 0 0\n"},
      {"fake=sse42", "AUTO", "gates=1 1 64 0 0\n"},         {"fake=other_avx2", nullptr, "gates=0 1 0 1 0\n"},
      {"fake=other_avx2", "AUTO", "gates=0 1 0 1 0\n"},     {"fake=other_avx2", "COMPATIBLE", "gates=0 0 0 0 0\n"},
      {"fake=other_family10", nullptr, "gates=0 1 0 0 1\n"},
  };
  for (const auto& c : cases) {
    vrx_env_list env;
    if (c.value) env.push_back({"VRX_CBWR", c.value});
    vrx_expect_cpu_driver({c.profile, "gates"}, env, 0, c.output);
  }
}

TEST(CbwrQueries, CacheRecordIsFixedUnderABranch) {
  const struct {
    const char* profile;
    const char* value;
    const char* output;
  } cases[] = {
      {"fake=avx2", nullptr, "cache=3 32768 1048576 16777216 0\n"},  // from the processor
      {"fake=avx2", "AUTO", "cache=3 32768 262144 4194304 0\n"},
      {"fake=avx2", "SSE4_2", "cache=3 32768 262144 4194304 0\n"},
      {"fake=avx2", "SSE4_1", "cache=2 32768 262144 0 0\n"},
      {"fake=avx2", "COMPATIBLE", "cache=2 32768 262144 0 0\n"},
      {"fake=ssse3", "AUTO", "cache=2 32768 262144 0 0\n"},
      {"fake=other_avx2", "AUTO", "cache=2 32768 262144 0 0\n"},
  };
  for (const auto& c : cases) {
    vrx_env_list env;
    if (c.value) env.push_back({"VRX_CBWR", c.value});
    vrx_expect_cpu_driver({c.profile, "cache"}, env, 0, c.output);
  }
}
}  // namespace
