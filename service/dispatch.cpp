#include "service/vrx_dispatch.h"

void* vrx_serv_dispatch_choose(void* const entries[8]) {
  void* const portable = entries[0];
  void* const compatible = entries[1] ? entries[1] : portable;
  auto pick = [&](int slot) { return entries[slot] ? entries[slot] : portable; };
  const int type = vrx_serv_cpu_detect();
  switch (type) {
    case VRX_CPU_SSE2: return vrx_serv_cbwr_get(1) == 1 ? pick(2) : compatible;
    case VRX_CPU_SSSE3: return vrx_serv_cbwr_get(1) == 1 ? pick(3) : compatible;
    case VRX_CPU_SSE42: return pick(4);
    case VRX_CPU_AVX: return pick(5);
    case VRX_CPU_AVX2: return pick(6);
    case VRX_CPU_AVX512: return pick(7);
    default:
      vrx_serv_print(0, 1213, 1, type);
      vrx_serv_exit(1);
  }
}
