// The kernel column of this process: an override variable, the reproducibility
// branch, and the processor's features.
#include "service/vrx_serv.h"
#include "vector/vrx_vmf.h"

namespace {
// -1 until the first answer.
std::int32_t cached_code = -1;

constexpr int refused = -1;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool all_bits(std::uint64_t word, std::uint64_t bits) { return (word & bits) == bits; }
constexpr std::uint64_t bit(int i) { return std::uint64_t{1} << i; }

// The column a branch w makes of a detected column that applies unless w is below `floor`.
int unless_below(int detected, int w, int floor) { return (w != vrx_vmf_no_branch && w < floor) ? w : detected; }
}  // namespace

int vrx_vmf_override_code(const char* value) {
  if (!value || !is_digit(value[0])) return refused;
  int code = value[0] - '0';
  if (value[1] != '\0' && value[2] == '\0') {
    if (!is_digit(value[1])) return refused;
    code = code * 10 + (value[1] - '0');
  }
  if (code > 9 || code == 8) return refused;
  return code;
}

int vrx_vmf_branch_code(int branch) {
  switch (branch) {
    case 3: return 1;   // COMPATIBLE
    case 4: return 0;   // SSE2, SSE3
    case 6: return 3;   // SSSE3
    case 7: return 4;   // SSE4_1
    case 8: return 5;   // SSE4_2
    case 9: return 6;   // AVX
    case 10: return 7;  // AVX2
    case 12: return 9;  // AVX512
    default: return vrx_vmf_no_branch;
  }
}

int vrx_vmf_code_from_features(const vrx_vmf_features& f, int w) {
  const bool branch = w != vrx_vmf_no_branch;
  if (!f.genuine) return branch ? 1 : 0;
  const bool os_avx = all_bits(f.xcr0, bit(1) | bit(2));
  const bool avx = all_bits(f.leaf1_ecx, bit(27) | bit(28)) && os_avx;
  if (avx && all_bits(f.xcr0, bit(5) | bit(6) | bit(7)) &&
      all_bits(f.leaf7_ebx, bit(16) | bit(17) | bit(30) | bit(31)) && f.avx512_opt_in)
    return branch ? w : 9;
  if (all_bits(f.leaf1_ecx, bit(12) | bit(25) | bit(27) | bit(28)) && all_bits(f.leaf7_ebx, bit(3) | bit(5) | bit(8)) &&
      (f.ext1_ecx & bit(5)) && os_avx)
    return (!branch || w > 7) ? 7 : w;
  if (avx) return unless_below(6, w, 7);
  if (f.leaf1_ecx & bit(20)) return unless_below(5, w, 6);
  if (f.leaf1_ecx & bit(19)) return unless_below(4, w, 5);
  if (f.leaf1_ecx & bit(9)) return unless_below(3, w, 4);
  return (!branch || w >= 2) ? 0 : w;
}

vrx_vmf_features vrx_vmf_read_features() {
  // Through the service's processor reader, so that a presented processor counts too.
  const vrx_cpuid_reader_table& read = vrx_serv_cpuid_reader;
  vrx_vmf_features f{};
  const std::uint32_t max_leaf = read.cpuid(0, 0).eax;
  if (max_leaf == 0) return f;
  f.genuine = vrx_serv_is_genuine();
  f.leaf1_ecx = read.cpuid(1, 0).ecx;
  if (max_leaf >= 7) f.leaf7_ebx = read.cpuid(7, 0).ebx;
  f.ext1_ecx = read.cpuid(0x80000001u, 0).ecx;
  if (f.leaf1_ecx & bit(27)) f.xcr0 = read.xgetbv(0);  // the system exposes XCR0
  f.avx512_opt_in = vrx_serv_avx512_enabled();
  return f;
}

int vrx_vmf_cpu_code() {
  return vrx_serv_remember(&cached_code, [] {
    char name[32];
    vrx_vmf_cpu_code_variable(name);
    char value[16];
    const int code = vrx_serv_getenv(name, value, sizeof value) > 0 ? vrx_vmf_override_code(value) : refused;
    if (code != refused) return code;
    const int w = vrx_vmf_branch_code(vrx_serv_cbwr_get(1));
    return vrx_vmf_code_from_features(vrx_vmf_read_features(), w);
  });
}

int vrx_vmf_row(int code) {
  int accuracy = static_cast<int>(vrx_vmf_get_mode() & VRX_VMF_ACCURACY_MASK);
  // A mode without an accuracy (or with one outside the table) runs as high accuracy.
  if (accuracy < 1 || accuracy > vrx_vmf_rows) accuracy = VRX_VMF_HA;
  return code + 10 * accuracy - 10;
}
