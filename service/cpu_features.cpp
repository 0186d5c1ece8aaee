// The feature word, the vendor test and the AVX-512 opt-in.
#include <cstring>
#include "service/vrx_serv.h"

std::uint64_t vrx_feature_word = 0;

namespace {
constexpr bool bit(std::uint32_t reg, int n) { return (reg >> n) & 1u; }

void vendor_of(char out[13]) {
  const vrx_cpuid_result leaf0 = vrx_serv_cpuid_reader.cpuid(0, 0);
  std::memcpy(out, &leaf0.ebx, 4);
  std::memcpy(out + 4, &leaf0.edx, 4);
  std::memcpy(out + 8, &leaf0.ecx, 4);
  out[12] = '\0';
}
}  // namespace

int vrx_serv_vendor_is(const char* name) {
  char vendor[13];
  vendor_of(vendor);
  return std::memcmp(vendor, name, 13) == 0;
}

int vrx_serv_is_genuine() { return vrx_serv_vendor_is("GenuineArdix"); }

void vrx_serv_feature_init() {
  const vrx_cpuid_reader_table& read = vrx_serv_cpuid_reader;
  if (read.cpuid(0, 0).eax == 0) return;  // no leaf 1: the word stays unfilled
  const vrx_cpuid_result leaf1 = read.cpuid(1, 0);
  const std::uint32_t ecx = leaf1.ecx, edx = leaf1.edx;
  const std::uint32_t ebx7 = read.cpuid(7, 0).ebx;
  const std::uint32_t ecx_ext = read.cpuid(0x80000001u, 0).ecx;

  std::uint64_t word = VRX_FEATURE_FILLED;
  auto set = [&word](std::uint64_t feature, bool present) {
    if (present) word |= feature;
  };
  set(VRX_FEATURE_FPU, bit(edx, 0));
  set(VRX_FEATURE_CMOV, bit(edx, 15));
  set(VRX_FEATURE_MMX, bit(edx, 23));
  set(VRX_FEATURE_FXSR, bit(edx, 24));
  if (bit(edx, 24)) {  // the SSE family needs fxsave
    set(VRX_FEATURE_SSE, bit(edx, 25));
    set(VRX_FEATURE_SSE2, bit(edx, 26));
    set(VRX_FEATURE_SSE3, bit(ecx, 0));
    set(VRX_FEATURE_SSSE3, bit(ecx, 9));
    set(VRX_FEATURE_SSE41, bit(ecx, 19));
    set(VRX_FEATURE_SSE42, bit(ecx, 20));
    set(VRX_FEATURE_MOVBE, bit(ecx, 22));
    set(VRX_FEATURE_POPCNT, bit(ecx, 23));
    set(VRX_FEATURE_PCLMULQDQ, bit(ecx, 1));
    set(VRX_FEATURE_AES, bit(ecx, 25));
    set(VRX_FEATURE_SHA, bit(ebx7, 29));
  }

  // The operating system must save xmm and ymm state (and zmm plus mask state for AVX-512).
  std::uint64_t xcr0 = 0;
  if (bit(ecx, 27)) xcr0 = read.xgetbv(0);
  const bool os_saves_ymm = bit(ecx, 27) && (xcr0 & 0x6) == 0x6;
  const bool os_saves_zmm = os_saves_ymm && (xcr0 & 0xE0) == 0xE0;
  if (os_saves_ymm) {
    set(VRX_FEATURE_F16C, bit(ecx, 29));
    set(VRX_FEATURE_AVX, bit(ecx, 28));
    set(VRX_FEATURE_FMA, bit(ecx, 12));
    set(VRX_FEATURE_AVX2, bit(ebx7, 5));
    set(VRX_FEATURE_MPX, bit(ebx7, 14) && (xcr0 & 0x18) == 0x18);
  }
  if (os_saves_zmm) {
    set(VRX_FEATURE_AVX512DQ, bit(ebx7, 17));
    set(VRX_FEATURE_AVX512F, bit(ebx7, 16));
    set(VRX_FEATURE_AVX512ER, bit(ebx7, 27));
    set(VRX_FEATURE_AVX512PF, bit(ebx7, 26));
    set(VRX_FEATURE_AVX512CD, bit(ebx7, 28));
    set(VRX_FEATURE_AVX512BW, bit(ebx7, 30));
    set(VRX_FEATURE_AVX512VL, bit(ebx7, 31));
  }
  set(VRX_FEATURE_RDRAND, bit(ecx, 30));
  set(VRX_FEATURE_BMI, bit(ebx7, 3) && bit(ebx7, 8));
  set(VRX_FEATURE_LZCNT, bit(ecx_ext, 5));
  set(VRX_FEATURE_HLE, bit(ebx7, 4));
  set(VRX_FEATURE_RTM, bit(ebx7, 11));
  set(VRX_FEATURE_ADX, bit(ebx7, 19));
  set(VRX_FEATURE_RDSEED, bit(ebx7, 18));
  const std::uint32_t model = ((leaf1.eax >> 12) & 0xF0) + ((leaf1.eax >> 4) & 0xF);
  set(VRX_FEATURE_MANYCORE_MODEL, model == 0x1C || model == 0x26 || model == 0x27);

  // Racing threads all store the same value.
  __atomic_store_n(&vrx_feature_word, word, __ATOMIC_RELAXED);
}

int vrx_serv_has_sse41() { return vrx_serv_has_features(VRX_FEATURE_SSE41); }

void vrx_serv_read_avx512_opt_in() {
  vrx_cpu_state& s = vrx_serv_cpu_state;
  if (__atomic_load_n(&s.opt_in_read, __ATOMIC_ACQUIRE)) return;
  // Exactly "AVX512": seven bytes with the closing zero. A value too long for the buffer reads as empty.
  char value[32] = {};
  if (vrx_serv_getenv("VRX_ENABLE_INSTRUCTIONS", value, sizeof value) > 0 && std::memcmp(value, "AVX512", 7) == 0)
    __atomic_store_n(&s.avx512_opt_in, 1, __ATOMIC_RELAXED);
  __atomic_store_n(&s.opt_in_read, 1, __ATOMIC_RELEASE);
}

int vrx_serv_avx512_enabled() {
  vrx_serv_read_avx512_opt_in();
  return __atomic_load_n(&vrx_serv_cpu_state.avx512_opt_in, __ATOMIC_RELAXED);
}
