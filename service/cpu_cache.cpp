// The cache record: level count and sizes, from cpuid leaf 4 with reproducibility off,
// fixed otherwise so that block sizes do not depend on the machine.
#include <cstring>
#include "service/vrx_once.h"

namespace {
void walk_leaf4(std::int32_t record[5]) {
  int levels = 0;
  // Subleaves end at cache type 0; the bound only guards against a reader that never does.
  for (std::uint32_t subleaf = 0; levels < 4 && subleaf < 64; ++subleaf) {
    const vrx_cpuid_result r = vrx_serv_cpuid_reader.cpuid(4, subleaf);
    const std::uint32_t cache_type = r.eax & 0x1F;
    if (cache_type == 0) break;
    if (cache_type == 2) continue;  // instruction cache
    // Fields of ebx split as ways 31..22, partitions 21..11, line 10..0.
    const std::uint64_t ways = (r.ebx >> 22) + 1;
    const std::uint64_t partitions = ((r.ebx >> 11) & 0x7FF) + 1;
    const std::uint64_t line = (r.ebx & 0x7FF) + 1;
    const std::uint64_t sets = static_cast<std::uint64_t>(r.ecx) + 1;
    record[++levels] = static_cast<std::int32_t>(ways * partitions * line * sets);
  }
  record[0] = levels;
}

void fixed_record(int branch, std::int32_t record[5]) {
  const bool three_levels = branch >= 8 || (branch == 2 && vrx_serv_cpu_detect() >= VRX_CPU_SSE42);
  record[0] = three_levels ? 3 : 2;
  record[1] = 32768;
  record[2] = 262144;
  record[3] = three_levels ? 4194304 : 0;
  record[4] = 0;
}

const std::int32_t* cache_record() {
  vrx_cpu_state& s = vrx_serv_cpu_state;
  vrx_serv_once(&s.cache_done, &s.cache_lock, [] {
    std::int32_t record[5] = {};
    const int branch = vrx_serv_cbwr_get(1);
    if (branch == 1)
      walk_leaf4(record);
    else
      fixed_record(branch, record);
    std::memcpy(vrx_serv_cpu_state.cache_record, record, sizeof record);
  });
  return s.cache_record;
}
}  // namespace

void vrx_serv_cache_record(std::int32_t out[5]) { std::memcpy(out, cache_record(), 5 * sizeof(std::int32_t)); }

std::int64_t vrx_serv_cache_size(int level) {
  const std::int32_t* record = cache_record();
  if (level < 0 || level > record[0]) return -1;
  if (level == 0) return record[0] == 0 ? 0 : record[record[0]];
  return record[level];
}
