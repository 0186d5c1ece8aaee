// The grammar of the mode variable: "VMF_" tokens separated by commas, OR-ed.
#include <cstring>
#include "vector/vrx_vmf.h"

namespace {
struct mode_token {
  const char* name;
  std::uint32_t value;
};

// Searched in this order; the first name that matches at the position wins.
constexpr mode_token mode_tokens[] = {
    {"LA", 0x1},
    {"HA", 0x2},
    {"EP", 0x3},
    {"DEFAULT_PRECISION", 0x0},
    {"FLOAT_CONSISTENT", 0x10},
    {"DOUBLE_CONSISTEN", 0x20},
    {"RESTORE", 0x30},
    {"ERRMODE_IGNORE", 0x100},
    {"ERRMODE_ERRNO", 0x200},
    {"ERRMODE_STDERR", 0x400},
    {"ERRMODE_EXCEPT", 0x800},
    {"ERRMODE_CALLBACK", 0x1000},
    {"ERRMODE_DEFAULT", 0x1A00},
};

constexpr char token_prefix[] = "VMF_";

// Whether `word` stands at `pos` of the significant part of the value.
bool matches_at(const char* value, int length, int pos, const char* word) {
  const int word_length = static_cast<int>(std::strlen(word));
  return pos + word_length <= length && std::memcmp(value + pos, word, word_length) == 0;
}
}  // namespace

std::uint32_t vrx_vmf_parse_mode(const char* value) {
  if (!value) return VRX_VMF_MODE_DEFAULT;
  const int length = static_cast<int>(strnlen(value, vrx_vmf_mode_value_limit));
  if (length == 0 || value[0] != 'V') return VRX_VMF_MODE_DEFAULT;
  std::uint32_t mode = 0;
  int pos = 0;
  for (;;) {
    if (!matches_at(value, length, pos, token_prefix)) return VRX_VMF_MODE_DEFAULT;
    pos += static_cast<int>(sizeof token_prefix) - 1;
    const mode_token* found = nullptr;
    for (const mode_token& token : mode_tokens)
      if (matches_at(value, length, pos, token.name)) {
        found = &token;
        break;
      }
    if (!found) return VRX_VMF_MODE_DEFAULT;
    mode |= found->value;
    pos += static_cast<int>(std::strlen(found->name));
    if (pos == length) return mode;
    if (value[pos] != ',') return VRX_VMF_MODE_DEFAULT;
    ++pos;
    if (pos == length || value[pos] != 'V') return VRX_VMF_MODE_DEFAULT;
  }
}
