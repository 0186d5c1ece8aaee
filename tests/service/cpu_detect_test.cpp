// CPU type decisions and processor queries on made-up processors, with no steering variables.
#include <gtest/gtest.h>

#include "service/cpu_fake_processor.h"

namespace {
class CpuDetect : public ::testing::Test {
 protected:
  void SetUp() override { vrx_fake_clear_environment(); }
  void TearDown() override { vrx_serv_cpu_test_install(nullptr); }
  static void present(const char* profile) { vrx_fake_install(*vrx_fake_profile(profile)); }
};

TEST_F(CpuDetect, DecisionTableByProcessor) {
  const struct {
    const char* profile;
    int type;
    int max_branch;
  } cases[] = {
      {"avx512", 5, 10},  // AVX-512 needs the opt-in
      {"avx2", 5, 10},         {"avx2_no_fma", 4, 9}, {"avx2_no_ymm_save", 3, 8}, {"avx", 4, 9},
      {"sse42", 3, 8},         {"sse41", 2, 7},       {"ssse3", 2, 6},            {"sse2", 0, 4},
      {"other_avx2", 0, 2},    {"other_family10", 0, 2},
  };
  for (const auto& c : cases) {
    present(c.profile);
    EXPECT_EQ(vrx_serv_cpu_class(0), -1) << c.profile;
    EXPECT_EQ(vrx_serv_cpu_class(1), c.type) << c.profile;
    EXPECT_EQ(vrx_serv_cpu_class(0), -1) << "the table alone stores nothing: " << c.profile;
    EXPECT_EQ(vrx_serv_cpu_detect(), c.type) << c.profile;
    EXPECT_EQ(vrx_serv_cpu_class(0), c.type) << c.profile;
    EXPECT_EQ(vrx_serv_cbwr_max_branch(), c.max_branch) << c.profile;
    EXPECT_EQ(vrx_serv_avx512_enabled(), 0) << c.profile;
  }
}

TEST_F(CpuDetect, OtherVendorIsDecidedWithoutFeatureTests) {
  present("other_avx2");
  EXPECT_EQ(vrx_serv_cpu_detect(), 0);
  EXPECT_EQ(vrx_feature_word, 0u);
}

TEST_F(CpuDetect, TypeIsDecidedOnceAndKept) {
  present("avx2");
  EXPECT_EQ(vrx_serv_cpu_detect(), 5);
  vrx_fake_current = *vrx_fake_profile("sse2");  // the processor "changes" under a decided type
  EXPECT_EQ(vrx_serv_cpu_detect(), 5);
  EXPECT_EQ(vrx_serv_cpu_state.decisions, 1);
}

TEST_F(CpuDetect, BranchQueryWithoutVariable) {
  present("avx2");
  EXPECT_EQ(vrx_serv_cbwr_get(-1), 0);
  EXPECT_EQ(vrx_serv_cbwr_get(1), 1);
  EXPECT_EQ(vrx_serv_cbwr_get_unlocked(1), 1);
  EXPECT_EQ(vrx_serv_cbwr_get(-1), 0);
  for (int option : {0, 2, -2, 100}) {
    EXPECT_EQ(vrx_serv_cbwr_get(option), -2) << option;
    EXPECT_EQ(vrx_serv_cbwr_get_unlocked(option), -2) << option;
  }
  EXPECT_EQ(vrx_serv_cbwr_auto_branch(), 10);
}

TEST_F(CpuDetect, VendorQueries) {
  present("avx2");
  EXPECT_EQ(vrx_serv_is_genuine(), 1);
  EXPECT_EQ(vrx_serv_vendor_gate(), 1);
  EXPECT_EQ(vrx_serv_amd_fma4(), 0);
  EXPECT_EQ(vrx_serv_amd_family10(), 0);
  present("other_avx2");
  EXPECT_EQ(vrx_serv_is_genuine(), 0);
  EXPECT_EQ(vrx_serv_vendor_gate(), 0);
  EXPECT_EQ(vrx_serv_amd_fma4(), 1);
  EXPECT_EQ(vrx_serv_amd_family10(), 0);
  present("other_family10");
  EXPECT_EQ(vrx_serv_amd_fma4(), 0);
  EXPECT_EQ(vrx_serv_amd_family10(), 1);
  // FMA4 needs AVX enabled by the operating system as well.
  vrx_fake_cpu cpu = *vrx_fake_profile("other_avx2");
  cpu.xcr0 = 0x3;
  vrx_fake_install(cpu);
  EXPECT_EQ(vrx_serv_amd_fma4(), 0);
}

TEST_F(CpuDetect, Sse41Queries) {
  present("sse41");
  EXPECT_EQ(vrx_serv_has_sse41(), 1);
  EXPECT_EQ(vrx_serv_has_sse41_gate(), 1);
  present("ssse3");
  EXPECT_EQ(vrx_serv_has_sse41(), 0);
  EXPECT_EQ(vrx_serv_has_sse41_gate(), 0);
}

TEST_F(CpuDetect, CpuCodeByType) {
  const struct {
    const char* profile;
    int code;
  } cases[] = {{"avx", 128}, {"sse42", 66}, {"sse41", 33}, {"ssse3", 32}, {"avx2", 0}, {"sse2", 0}, {"other_avx2", 0}};
  for (const auto& c : cases) {
    present(c.profile);
    EXPECT_EQ(vrx_serv_cpu_code(), c.code) << c.profile;
  }
  vrx_fake_cpu no_aes = *vrx_fake_profile("sse42");
  no_aes.leaf1_ecx &= ~vrx_fake::aes;
  vrx_fake_install(no_aes);
  EXPECT_EQ(vrx_serv_cpu_code(), 64);
}

TEST_F(CpuDetect, CacheRecordFromLeafFour) {
  present("avx2");
  std::int32_t record[5] = {-7, -7, -7, -7, -7};
  vrx_serv_cache_record(record);
  EXPECT_EQ(record[0], 3);
  for (int level = 1; level <= 3; ++level) EXPECT_EQ(record[level], vrx_fake::cache_sizes[level - 1]) << level;
  EXPECT_EQ(record[4], 0);
  EXPECT_EQ(vrx_serv_cache_size(0), 16777216);
  EXPECT_EQ(vrx_serv_cache_size(1), 32768);
  EXPECT_EQ(vrx_serv_cache_size(2), 1048576);
  EXPECT_EQ(vrx_serv_cache_size(3), 16777216);
  EXPECT_EQ(vrx_serv_cache_size(4), -1);
  EXPECT_EQ(vrx_serv_cache_size(-1), -1);
}

TEST_F(CpuDetect, CacheWalkStopsAtFourLevels) {
  vrx_fake_cpu cpu = *vrx_fake_profile("avx2");
  for (std::uint32_t i = 0; i < 6; ++i) cpu.leaf4[i] = {0x121 + 0x20 * i, (1u << 22) | 63, i, 0};  // 2*64*(i+1)
  vrx_fake_install(cpu);
  std::int32_t record[5];
  vrx_serv_cache_record(record);
  EXPECT_EQ(record[0], 4);
  for (int level = 1; level <= 4; ++level) EXPECT_EQ(record[level], 128 * level) << level;
}

TEST_F(CpuDetect, NoCacheLeafGivesNoLevels) {
  present("other_avx2");
  std::int32_t record[5];
  vrx_serv_cache_record(record);
  EXPECT_EQ(record[0], 0);
  EXPECT_EQ(vrx_serv_cache_size(0), 0);
  EXPECT_EQ(vrx_serv_cache_size(1), -1);
}

TEST_F(CpuDetect, ThisMachineRunsTheSse2Family) {
  vrx_serv_cpu_test_install(nullptr);
  if (vrx_serv_is_genuine()) GTEST_SKIP() << "written for a processor of another vendor";
  EXPECT_EQ(vrx_serv_cpu_detect(), 0);
  EXPECT_EQ(vrx_serv_cbwr_max_branch(), 2);
  EXPECT_EQ(vrx_serv_vendor_gate(), 0);
}
}  // namespace
