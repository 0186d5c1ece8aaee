// The machine facts that some ladder rows depend on. Each is found once per process (the
// service keeps the AMD answer and the cache record; cores are kept here) and read without
// a lock afterwards, so any thread may ask, also inside a parallel region.
#include "lapack/tuning/tuning_query.h"
#include "service/vrx_cpu.h"
#include "service/vrx_threads.h"

namespace {
std::int32_t cores_slot = -1;

constexpr std::int64_t large_l2_bytes = 0x300000;

// Cores per package, asked once per process.
int cores() { return vrx_serv_remember(&cores_slot, vrx_serv_get_ncorespercpu); }

// The cache test: true when no second-level size is known or it exceeds 0x300000 bytes.
// Branch 1 walks cpuid leaf 4; the service keeps the record.
bool large_l2() {
  std::int32_t record[5];
  vrx_serv_cache_record(record);
  if (record[0] < 2) return true;
  return record[2] > large_l2_bytes;
}
}  // namespace

bool vrx_tuning_holds(vrx_tuning_need need, const vrx_tuning_query& q) {
  if (need == vrx_need_nothing) return true;
  if (q.branch != 1) return false;  // the row beside is taken
  switch (need) {
    case vrx_need_cores_8: return cores() == 8;
    case vrx_need_cores_9: return cores() >= 9;
    // The service's AMD test also answers under branch 2; the rows want branch 1 alone.
    case vrx_need_amd_family10: return vrx_serv_amd_family10() != 0;
    // Under branch 1 the SSE4.1 test is the processor's own bit.
    case vrx_need_sse41_small_l2: return vrx_serv_has_sse41() && !large_l2();
    default: return false;
  }
}
