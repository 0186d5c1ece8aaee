// The version record shown in the verbose banner.
#include <cstring>

#include "service/vrx_serv.h"

namespace {
// The project's version; keep in step with project(... VERSION) in CMakeLists.txt.
constexpr int version_major = 0;
constexpr int version_minor = 1;
constexpr int version_update = 0;

// The compiler's "Mmm dd yyyy" as "yyyymmdd".
struct build_date {
  char text[9];
};

constexpr build_date date_of_build(const char* date) {
  constexpr const char* months = "JanFebMarAprMayJunJulAugSepOctNovDec";
  int month = 0;
  for (int m = 0; m < 12; ++m)
    if (months[3 * m] == date[0] && months[3 * m + 1] == date[1] && months[3 * m + 2] == date[2]) month = m + 1;
  build_date result{};
  for (int i = 0; i < 4; ++i) result.text[i] = date[7 + i];
  result.text[4] = static_cast<char>('0' + month / 10);
  result.text[5] = static_cast<char>('0' + month % 10);
  result.text[6] = date[4] == ' ' ? '0' : date[4];
  result.text[7] = date[5];
  result.text[8] = '\0';
  return result;
}

constexpr build_date build = date_of_build(__DATE__);

const char* instruction_class_words(int cpu_type) {
  switch (cpu_type) {
    case VRX_CPU_SSE2: return "Streaming SIMD Extensions 2 (SSE2) enabled processors";
    case VRX_CPU_SSSE3: return "Supplemental Streaming SIMD Extensions 3 (SSSE3) enabled processors";
    case VRX_CPU_SSE42: return "Streaming SIMD Extensions 4.2 (SSE4.2) enabled processors";
    case VRX_CPU_AVX: return "Advanced Vector Extensions (AVX) enabled processors";
    case VRX_CPU_AVX2: return "Advanced Vector Extensions 2 (AVX2) enabled processors";
    case VRX_CPU_AVX512: return "Advanced Vector Extensions 512 (AVX-512) enabled processors";
    default: return "processors";
  }
}

template <std::size_t N>
void copy_text(char (&field)[N], const char* text) {
  strncpy_s(field, N, text, N - 1);
}
}  // namespace

void vrx_serv_get_version(vrx_version_record* record) {
  record->major = version_major;
  record->minor = version_minor;
  record->update = version_update;
  copy_text(record->status, "Product");
  copy_text(record->build, build.text);
  copy_text(record->processor, vrx_serv_vendor_gate() ? instruction_class_words(vrx_serv_cpu_detect()) : "processors");
  copy_text(record->platform, "x86-64 architecture");
}
