// Made-up processors presented to the library through its cpuid reader, for tests.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include "service/vrx_serv.h"

struct vrx_fake_cpu {
  const char* name;
  const char* vendor;  // 12 characters
  std::uint32_t max_leaf;
  std::uint32_t leaf1_eax, leaf1_ecx, leaf1_edx;
  std::uint32_t leaf7_ebx;
  std::uint32_t ext1_ecx;
  std::uint64_t xcr0;
  vrx_cpuid_result leaf4[6];  // subleaves, ended by cache type 0
};

namespace vrx_fake {
constexpr std::uint32_t bit(int n) { return 1u << n; }
// leaf 1 edx
constexpr std::uint32_t base_edx = bit(0) | bit(15) | bit(23) | bit(24) | bit(25) | bit(26);  // FPU..SSE2
// leaf 1 ecx
constexpr std::uint32_t sse3 = bit(0), pclmul = bit(1), ssse3 = bit(9), fma = bit(12), sse41 = bit(19),
                        sse42 = bit(20), popcnt = bit(23), aes = bit(25), osxsave = bit(27), avx = bit(28);
// leaf 7 ebx
constexpr std::uint32_t bmi1 = bit(3), avx2 = bit(5), bmi2 = bit(8), avx512f = bit(16), avx512dq = bit(17),
                        avx512cd = bit(28), avx512bw = bit(30), avx512vl = bit(31);
// leaf 0x80000001 ecx
constexpr std::uint32_t lzcnt = bit(5), fma4 = bit(16);

constexpr std::uint32_t ecx_sse42 = sse3 | ssse3 | sse41 | sse42 | popcnt | aes;
constexpr std::uint32_t ecx_avx = ecx_sse42 | osxsave | avx;
constexpr std::uint32_t ecx_avx2 = ecx_avx | fma | pclmul;
constexpr std::uint32_t ebx7_avx2 = bmi1 | avx2 | bmi2;
constexpr std::uint32_t ebx7_avx512 = ebx7_avx2 | avx512f | avx512dq | avx512cd | avx512bw | avx512vl;
constexpr std::uint64_t xcr0_ymm = 0x7, xcr0_zmm = 0xE7;
constexpr std::uint32_t family6 = 0x000506E3;  // family 6, model 0x5E
constexpr std::uint32_t family10h = 0x00100F42;
constexpr std::uint32_t family17h = 0x00800F12;

// Data 32 KiB, instruction 32 KiB, unified 1 MiB, unified 16 MiB (ebx bit 11 set: two partitions
// in the library's field split).
constexpr vrx_cpuid_result caches[6] = {
    {0x121, (7u << 22) | 63, 63, 0},          {0x122, (7u << 22) | 63, 63, 0},
    {0x143, (15u << 22) | 63, 1023, 0},       {0x163, (15u << 22) | (1u << 11) | 63, 8191, 0},
    {0, 0, 0, 0},                              {0, 0, 0, 0},
};
constexpr std::int32_t cache_sizes[4] = {32768, 1048576, 16777216, 0};

constexpr vrx_fake_cpu profiles[] = {
    {"avx512", "GenuineArdix", 0x16, family6, ecx_avx2, base_edx, ebx7_avx512, lzcnt, xcr0_zmm, {}},
    {"avx2", "GenuineArdix", 0x16, family6, ecx_avx2, base_edx, ebx7_avx2, lzcnt, xcr0_ymm, {}},
    {"avx2_no_fma", "GenuineArdix", 0x16, family6, ecx_avx2 & ~fma, base_edx, ebx7_avx2, lzcnt, xcr0_ymm, {}},
    {"avx2_no_ymm_save", "GenuineArdix", 0x16, family6, ecx_avx2, base_edx, ebx7_avx2, lzcnt, 0x3, {}},
    {"avx", "GenuineArdix", 0x0D, family6, ecx_avx, base_edx, 0, 0, xcr0_ymm, {}},
    {"sse42", "GenuineArdix", 0x0B, family6, ecx_sse42, base_edx, 0, 0, 0, {}},
    {"sse41", "GenuineArdix", 0x0B, family6, sse3 | ssse3 | sse41, base_edx, 0, 0, 0, {}},
    {"ssse3", "GenuineArdix", 0x0A, family6, sse3 | ssse3, base_edx, 0, 0, 0, {}},
    {"sse2", "GenuineArdix", 0x05, family6, sse3, base_edx, 0, 0, 0, {}},
    {"no_sse2", "GenuineArdix", 0x02, 0x00000633, 0, base_edx & ~bit(26), 0, 0, 0, {}},
    {"other_avx2", "AuthenticAMD", 0x10, family17h, ecx_avx2, base_edx, ebx7_avx2, lzcnt | fma4, xcr0_ymm, {}},
    {"other_family10", "AuthenticAMD", 0x05, family10h, sse3 | ssse3 | sse41 | sse42, base_edx, 0, lzcnt, 0, {}},
};
}  // namespace vrx_fake

inline vrx_fake_cpu vrx_fake_current;

inline vrx_cpuid_result vrx_fake_cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
  const vrx_fake_cpu& cpu = vrx_fake_current;
  vrx_cpuid_result r = {0, 0, 0, 0};
  switch (leaf) {
    case 0:
      r.eax = cpu.max_leaf;
      std::memcpy(&r.ebx, cpu.vendor, 4);
      std::memcpy(&r.edx, cpu.vendor + 4, 4);
      std::memcpy(&r.ecx, cpu.vendor + 8, 4);
      break;
    case 1: r = {cpu.leaf1_eax, 0, cpu.leaf1_ecx, cpu.leaf1_edx}; break;
    case 4:
      if (subleaf < 6) r = cpu.leaf4[subleaf];
      break;
    case 7:
      if (subleaf == 0) r.ebx = cpu.leaf7_ebx;
      break;
    case 0x80000001u: r.ecx = cpu.ext1_ecx; break;
    default: break;
  }
  return r;
}

inline std::uint64_t vrx_fake_xgetbv(std::uint32_t) { return vrx_fake_current.xcr0; }

// Presents `cpu` to the library and forgets everything decided so far.
inline void vrx_fake_install(const vrx_fake_cpu& cpu) {
  static constexpr vrx_cpuid_reader_table fake_reader = {vrx_fake_cpuid, vrx_fake_xgetbv};
  vrx_fake_current = cpu;
  bool has_caches = false;
  for (const vrx_cpuid_result& r : cpu.leaf4) has_caches |= r.eax != 0;
  if (!has_caches && std::strcmp(cpu.vendor, "GenuineArdix") == 0)
    std::memcpy(vrx_fake_current.leaf4, vrx_fake::caches, sizeof vrx_fake::caches);
  vrx_serv_cpu_test_install(&fake_reader);
}

inline const vrx_fake_cpu* vrx_fake_profile(const char* name) {
  for (const vrx_fake_cpu& cpu : vrx_fake::profiles)
    if (std::strcmp(cpu.name, name) == 0) return &cpu;
  return nullptr;
}

// In-process tests decide without any steering variable of their own process.
inline void vrx_fake_clear_environment() {
  for (const char* name : {"VRX_CBWR", "VRX_DEBUG_CPU_TYPE", "VRX_ENABLE_INSTRUCTIONS"}) unsetenv(name);
}
