// The reproducibility branch: VRX_CBWR read once into a code, checked against the machine.
#include <cstring>
#include "service/vrx_locks.h"

namespace {
struct branch_name {
  const char* name;
  int code;
};
constexpr branch_name branch_names[] = {
    {"AUTO", 2},   {"COMPATIBLE", 3}, {"SSE2", 4}, {"SSE3", 4},        {"SSSE3", 6},  {"SSE4_1", 7},
    {"SSE4_2", 8}, {"AVX", 9},        {"AVX2", 10}, {"AVX512_KPU", 11}, {"AVX512", 12},
};
constexpr int branch_auto = 2;
constexpr int branch_compatible = 3;

int code_of_setting() {
  char value[128];
  if (vrx_serv_getenv("VRX_CBWR", value, sizeof value) <= 0) return 0;
  const char* name = std::strncmp(value, "BRANCH=", 7) == 0 ? value + 7 : value;
  int code = -1;
  for (const branch_name& entry : branch_names)
    if (std::strcmp(name, entry.name) == 0) {
      code = entry.code;
      break;
    }
  if (code < 0 || code == branch_auto) return branch_auto;  // an unknown name silently means AUTO
  const int reach = vrx_serv_cbwr_max_branch();
  if (vrx_serv_is_genuine()) return code > reach ? branch_auto : code;
  return code == branch_compatible ? branch_compatible : branch_auto;
}

int answer(int stored) { return stored == 0 ? 1 : (stored & 63); }

// Option 1 with the service lock already held (or taken here when `lock` is set).
int branch_query(bool lock) {
  vrx_cpu_state& s = vrx_serv_cpu_state;
  if (__atomic_load_n(&s.branch_read, __ATOMIC_ACQUIRE) != -1)
    return answer(__atomic_load_n(&s.branch, __ATOMIC_RELAXED));
  if (lock) {
    vrx_serv_fork_guard();
    vrx_serv_spin_lock(&s.service_lock);
  }
  if (__atomic_load_n(&s.branch_read, __ATOMIC_ACQUIRE) == -1) {
    __atomic_store_n(&s.branch, code_of_setting(), __ATOMIC_RELAXED);
    __atomic_store_n(&s.branch_read, 1, __ATOMIC_RELEASE);
  }
  if (lock) vrx_serv_spin_unlock(&s.service_lock);
  return answer(__atomic_load_n(&s.branch, __ATOMIC_RELAXED));
}

int query(int option, bool lock) {
  if (option == 1) return branch_query(lock);
  if (option == -1) return __atomic_load_n(&vrx_serv_cpu_state.branch, __ATOMIC_RELAXED);
  return -2;
}
}  // namespace

int vrx_serv_cbwr_get(int option) { return query(option, true); }
int vrx_serv_cbwr_get_unlocked(int option) { return query(option, false); }

int vrx_serv_cbwr_max_branch() {
  if (!vrx_serv_is_genuine()) return 2;
  switch (vrx_serv_cpu_class(1)) {
    case VRX_CPU_SSSE3: return vrx_serv_has_sse41() ? 7 : 6;
    case VRX_CPU_SSE42: return 8;
    case VRX_CPU_AVX: return 9;
    case VRX_CPU_AVX2: return 10;
    case VRX_CPU_MIC: return 11;
    case VRX_CPU_AVX512: return 12;
    default: return 4;
  }
}

int vrx_serv_cbwr_auto_branch() {
  return vrx_serv_remember(&vrx_serv_cpu_state.auto_branch, vrx_serv_cbwr_max_branch);
}
