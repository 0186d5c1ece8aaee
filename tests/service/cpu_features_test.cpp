// The feature word: every bit from its cpuid source, and the gates that hide bits.
#include <gtest/gtest.h>

#include "service/cpu_fake_processor.h"

namespace {
using namespace vrx_fake;

enum source { leaf1_ecx, leaf1_edx, leaf7_ebx, ext_ecx };
enum gate { none, fxsr, os, wide };

struct bit_case {
  std::uint64_t feature;
  source where;
  std::uint32_t bits;
  gate needs;
};

constexpr bit_case bit_cases[] = {
    {VRX_FEATURE_FPU, leaf1_edx, bit(0), none},           {VRX_FEATURE_CMOV, leaf1_edx, bit(15), none},
    {VRX_FEATURE_MMX, leaf1_edx, bit(23), none},          {VRX_FEATURE_SSE, leaf1_edx, bit(25), fxsr},
    {VRX_FEATURE_SSE2, leaf1_edx, bit(26), fxsr},         {VRX_FEATURE_SSE3, leaf1_ecx, bit(0), fxsr},
    {VRX_FEATURE_SSSE3, leaf1_ecx, bit(9), fxsr},         {VRX_FEATURE_SSE41, leaf1_ecx, bit(19), fxsr},
    {VRX_FEATURE_SSE42, leaf1_ecx, bit(20), fxsr},        {VRX_FEATURE_MOVBE, leaf1_ecx, bit(22), fxsr},
    {VRX_FEATURE_POPCNT, leaf1_ecx, bit(23), fxsr},       {VRX_FEATURE_PCLMULQDQ, leaf1_ecx, bit(1), fxsr},
    {VRX_FEATURE_AES, leaf1_ecx, bit(25), fxsr},          {VRX_FEATURE_F16C, leaf1_ecx, bit(29), os},
    {VRX_FEATURE_AVX, leaf1_ecx, bit(28), os},            {VRX_FEATURE_RDRAND, leaf1_ecx, bit(30), none},
    {VRX_FEATURE_FMA, leaf1_ecx, bit(12), os},            {VRX_FEATURE_BMI, leaf7_ebx, bit(3) | bit(8), none},
    {VRX_FEATURE_LZCNT, ext_ecx, bit(5), none},           {VRX_FEATURE_HLE, leaf7_ebx, bit(4), none},
    {VRX_FEATURE_RTM, leaf7_ebx, bit(11), none},          {VRX_FEATURE_AVX2, leaf7_ebx, bit(5), os},
    {VRX_FEATURE_AVX512DQ, leaf7_ebx, bit(17), wide},     {VRX_FEATURE_AVX512F, leaf7_ebx, bit(16), wide},
    {VRX_FEATURE_ADX, leaf7_ebx, bit(19), none},          {VRX_FEATURE_RDSEED, leaf7_ebx, bit(18), none},
    {VRX_FEATURE_AVX512ER, leaf7_ebx, bit(27), wide},     {VRX_FEATURE_AVX512PF, leaf7_ebx, bit(26), wide},
    {VRX_FEATURE_AVX512CD, leaf7_ebx, bit(28), wide},     {VRX_FEATURE_SHA, leaf7_ebx, bit(29), fxsr},
    {VRX_FEATURE_AVX512BW, leaf7_ebx, bit(30), wide},     {VRX_FEATURE_AVX512VL, leaf7_ebx, bit(31), wide},
};

// A processor with fxsave, an OS that saves every state, and nothing else.
vrx_fake_cpu bare() {
  vrx_fake_cpu cpu = {"bare", "GenuineArdix", 7, 0, osxsave, bit(24), 0, 0, 0xFF, {}};
  return cpu;
}

void add(vrx_fake_cpu& cpu, const bit_case& c) {
  switch (c.where) {
    case leaf1_ecx: cpu.leaf1_ecx |= c.bits; break;
    case leaf1_edx: cpu.leaf1_edx |= c.bits; break;
    case leaf7_ebx: cpu.leaf7_ebx |= c.bits; break;
    case ext_ecx: cpu.ext1_ecx |= c.bits; break;
  }
}

std::uint64_t word_of(const vrx_fake_cpu& cpu) {
  vrx_fake_install(cpu);
  vrx_serv_feature_init();
  return vrx_feature_word;
}

class CpuFeatures : public ::testing::Test {
 protected:
  void SetUp() override { vrx_fake_clear_environment(); }
  void TearDown() override { vrx_serv_cpu_test_install(nullptr); }
};

TEST_F(CpuFeatures, EachBitComesFromItsSourceAlone) {
  const std::uint64_t base = VRX_FEATURE_FILLED | VRX_FEATURE_FXSR;
  EXPECT_EQ(word_of(bare()), base);
  for (const bit_case& c : bit_cases) {
    vrx_fake_cpu cpu = bare();
    add(cpu, c);
    EXPECT_EQ(word_of(cpu), base | c.feature) << "feature " << std::hex << c.feature;
  }
}

TEST_F(CpuFeatures, GatesHideTheirBits) {
  for (const bit_case& c : bit_cases) {
    if (c.needs == none) continue;
    vrx_fake_cpu cpu = bare();
    add(cpu, c);
    if (c.needs == fxsr) {
      cpu.leaf1_edx &= ~bit(24);
      EXPECT_EQ(word_of(cpu) & c.feature, 0u) << "without fxsave: " << std::hex << c.feature;
      continue;
    }
    // OS test: OSXSAVE, and xgetbv bits 1 and 2.
    for (std::uint64_t xcr0 : {0x1ull, 0x3ull, 0x5ull}) {
      cpu.xcr0 = xcr0;
      EXPECT_EQ(word_of(cpu) & c.feature, 0u) << "xcr0 " << xcr0 << " feature " << std::hex << c.feature;
    }
    cpu.xcr0 = 0xFF;
    cpu.leaf1_ecx &= ~osxsave;
    EXPECT_EQ(word_of(cpu) & c.feature, 0u) << "without OSXSAVE: " << std::hex << c.feature;
    cpu.leaf1_ecx |= osxsave;
    // Wide test: also bits 5, 6 and 7.
    for (std::uint64_t xcr0 : {0x07ull, 0x67ull, 0xA7ull, 0xC7ull}) {
      cpu.xcr0 = xcr0;
      const std::uint64_t expected = c.needs == wide ? 0 : c.feature;
      EXPECT_EQ(word_of(cpu) & c.feature, expected) << "xcr0 " << xcr0 << " feature " << std::hex << c.feature;
    }
  }
}

TEST_F(CpuFeatures, MpxNeedsBoundStateSaved) {
  vrx_fake_cpu cpu = bare();
  cpu.leaf7_ebx = bit(14);
  EXPECT_TRUE(word_of(cpu) & VRX_FEATURE_MPX);
  for (std::uint64_t xcr0 : {0xE7ull, 0xEFull, 0xF7ull}) {
    cpu.xcr0 = xcr0;
    EXPECT_FALSE(word_of(cpu) & VRX_FEATURE_MPX) << xcr0;
  }
  cpu.xcr0 = 0x19;  // bound state saved, ymm not
  EXPECT_FALSE(word_of(cpu) & VRX_FEATURE_MPX);
}

TEST_F(CpuFeatures, XgetbvIsNotRunWithoutOsxsave) {
  static int calls;
  calls = 0;
  vrx_fake_install(bare());
  vrx_fake_current.leaf1_ecx = ecx_avx2 & ~osxsave;
  const vrx_cpuid_reader_table counting = {vrx_fake_cpuid, [](std::uint32_t) -> std::uint64_t {
                                             ++calls;
                                             return 0xFF;
                                           }};
  vrx_serv_cpu_test_install(&counting);
  vrx_serv_feature_init();
  EXPECT_EQ(calls, 0);
  EXPECT_FALSE(vrx_feature_word & VRX_FEATURE_AVX);
}

TEST_F(CpuFeatures, ManyCoreModels) {
  for (std::uint32_t eax : {0x106C0u, 0x20660u, 0x20670u, 0x106C1u}) {
    vrx_fake_cpu cpu = bare();
    cpu.leaf1_eax = eax;
    EXPECT_TRUE(word_of(cpu) & VRX_FEATURE_MANYCORE_MODEL) << std::hex << eax;
  }
  for (std::uint32_t eax : {0x000C0u, 0x106D0u, 0x00660u, 0x506E3u}) {
    vrx_fake_cpu cpu = bare();
    cpu.leaf1_eax = eax;
    EXPECT_FALSE(word_of(cpu) & VRX_FEATURE_MANYCORE_MODEL) << std::hex << eax;
  }
}

TEST_F(CpuFeatures, NoLeafOneLeavesTheWordEmpty) {
  vrx_fake_cpu cpu = *vrx_fake_profile("avx2");
  cpu.max_leaf = 0;
  vrx_fake_install(cpu);
  EXPECT_FALSE(vrx_serv_has_features(VRX_FEATURE_SSE2));
  EXPECT_EQ(vrx_feature_word, 0u);
  // The idiom fills an empty word on demand.
  vrx_fake_current.max_leaf = 0x16;
  EXPECT_TRUE(vrx_serv_has_features(VRX_FEATURE_SSE2 | VRX_FEATURE_AVX2));
  EXPECT_FALSE(vrx_serv_has_features(VRX_FEATURE_AVX512F));
}

TEST_F(CpuFeatures, FilledWordIsNotRefilled) {
  vrx_fake_install(*vrx_fake_profile("sse2"));
  EXPECT_TRUE(vrx_serv_has_features(VRX_FEATURE_SSE2));
  vrx_fake_current = *vrx_fake_profile("avx2");
  EXPECT_FALSE(vrx_serv_has_features(VRX_FEATURE_AVX));
}

TEST_F(CpuFeatures, ThisMachineAgreesWithTheCompiler) {
  vrx_serv_cpu_test_install(nullptr);
  __builtin_cpu_init();
  EXPECT_EQ(vrx_serv_has_features(VRX_FEATURE_SSE2), !!__builtin_cpu_supports("sse2"));
  EXPECT_EQ(vrx_serv_has_features(VRX_FEATURE_SSE42), !!__builtin_cpu_supports("sse4.2"));
  EXPECT_EQ(vrx_serv_has_features(VRX_FEATURE_AVX), !!__builtin_cpu_supports("avx"));
  EXPECT_EQ(vrx_serv_has_features(VRX_FEATURE_AVX2), !!__builtin_cpu_supports("avx2"));
  EXPECT_EQ(vrx_serv_has_features(VRX_FEATURE_FMA), !!__builtin_cpu_supports("fma"));
  EXPECT_EQ(vrx_serv_has_features(VRX_FEATURE_AVX512F), !!__builtin_cpu_supports("avx512f"));
  EXPECT_EQ(vrx_serv_has_features(VRX_FEATURE_AVX512BW), !!__builtin_cpu_supports("avx512bw"));
}
}  // namespace

namespace {
int vendor_reads = 0;
vrx_cpuid_result counting_cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
  if (leaf == 0) ++vendor_reads;
  return vrx_fake_cpuid(leaf, subleaf);
}

// The GEMM/GEMV front ends ask the vendor gate on every call; cpuid is far too slow
// for that on a virtual machine, so the gate reads the vendor once per process.
TEST_F(CpuFeatures, VendorGateReadsTheProcessorOnceButTheVendorTestEveryTime) {
  static constexpr vrx_cpuid_reader_table counting = {counting_cpuid, vrx_fake_xgetbv};
  for (const char* name : {"avx2", "other_avx2"}) {
    SCOPED_TRACE(name);
    vrx_fake_current = *vrx_fake_profile(name);
    vrx_serv_cpu_test_install(&counting);
    const int genuine = std::strcmp(vrx_fake_current.vendor, "GenuineArdix") == 0;
    vrx_serv_vendor_gate();  // the first calls decide what the process keeps
    vrx_serv_cpu_code();
    vendor_reads = 0;
    for (int i = 0; i < 100; ++i) {
      EXPECT_EQ(vrx_serv_vendor_gate(), genuine);
      vrx_serv_cpu_code();
    }
    EXPECT_EQ(vendor_reads, 0);
    vendor_reads = 0;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(vrx_serv_is_genuine(), genuine);
    EXPECT_EQ(vendor_reads, 3);
  }
}
}  // namespace
