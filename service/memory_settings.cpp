// Settings of the memory manager, read once from the environment.
#include "service/vrx_locks.h"
#include "service/vrx_once.h"

namespace {
vrx_memory_settings settings = {0, vrx_no_hbw_limit};
volatile std::int32_t settings_read = 0;

// atoi: leading blanks, a sign, then digits; saturates at the int range.
std::int64_t parse_like_atoi(const char* text) {
  while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
  bool negative = false;
  if (*text == '+' || *text == '-') negative = *text++ == '-';
  std::int64_t value = 0;
  for (; *text >= '0' && *text <= '9'; ++text) {
    value = value * 10 + (*text - '0');
    if (value > 2147483648LL) value = 2147483648LL;
  }
  if (negative) return -value;
  return value > 2147483647LL ? 2147483647LL : value;
}

void read_settings() {
  char buffer[32];
  // Any value that fits disables the pools, "0" included; a value too long counts as unset.
  settings.pools_disabled = vrx_serv_getenv("VRX_DISABLE_FAST_MM", buffer, sizeof buffer) > 0 ? 1 : 0;
  const bool limit_given = vrx_serv_getenv("VRX_FAST_MEMORY_LIMIT", buffer, sizeof buffer) > 0;
  settings.hbw_limit = vrx_serv_hbw_limit_from(limit_given ? buffer : nullptr);
}
}  // namespace

volatile std::int32_t vrx_serv_memory_settings_lock = 0;

std::uint64_t vrx_serv_hbw_limit_from(const char* text) {
  if (!text) return vrx_no_hbw_limit;
  const std::int64_t mebibytes = parse_like_atoi(text);
  if (mebibytes < 0) return vrx_no_hbw_limit;
  return static_cast<std::uint64_t>(mebibytes) << 20;
}

const vrx_memory_settings* vrx_serv_memory_settings() {
  vrx_serv_once(&settings_read, &vrx_serv_memory_settings_lock, read_settings);
  return &settings;
}

int vrx_serv_fast_mm_disabled() { return vrx_serv_memory_settings()->pools_disabled; }
