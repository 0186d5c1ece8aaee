// The CPU type: decided once per process from the branch, VRX_DEBUG_CPU_TYPE or the processor.
#include "service/vrx_locks.h"

namespace {
// Types that can be selected; 6 has no kernels of its own.
constexpr bool type_available[8] = {true, true, true, true, true, true, false, true};

// CPU type fixed by each reproducibility code; -1 where the code leaves the choice to detection.
constexpr int type_of_branch[13] = {-1, -1, -1, 0, 0, 0, 2, 2, 3, 4, 5, 6, 7};

// First match wins. Sets *fatal (after printing why) when the processor lacks SSE2.
int decision_table(bool* fatal) {
  vrx_serv_read_avx512_opt_in();
  if (!vrx_serv_is_genuine()) return VRX_CPU_SSE2;
  if (vrx_serv_has_features(VRX_FEATURE_AVX)) {
    if (vrx_serv_has_features(vrx_feature_avx2_set)) {
      if (__atomic_load_n(&vrx_serv_cpu_state.avx512_opt_in, __ATOMIC_RELAXED) &&
          vrx_serv_has_features(vrx_feature_avx512_set))
        return VRX_CPU_AVX512;
      return VRX_CPU_AVX2;
    }
    return VRX_CPU_AVX;
  }
  if (vrx_serv_has_features(VRX_FEATURE_SSE42)) return VRX_CPU_SSE42;
  if (vrx_serv_has_features(VRX_FEATURE_SSSE3)) return VRX_CPU_SSSE3;
  if (vrx_serv_has_features(VRX_FEATURE_SSE2)) return VRX_CPU_SSE2;
  vrx_serv_print(0, 1210, 0);
  vrx_serv_print(0, 1211, 0);
  *fatal = true;
  return -1;
}

// Runs with the service lock held; returns the type, or -1 with *fatal set.
int decide(bool* fatal) {
  // The branch comes first, so that VRX_CBWR is read even when the type is forced.
  const int branch = vrx_serv_cbwr_get_unlocked(1);

  char forced_text[30];
  int forced = 0;
  if (vrx_serv_getenv("VRX_DEBUG_CPU_TYPE", forced_text, sizeof forced_text) > 0 && forced_text[0] != '\0' &&
      vrx_serv_sscanf(forced_text, "%i", &forced) == 1) {
    if (forced >= 0 && forced <= 7 && type_available[forced]) {
      if (forced == VRX_CPU_AVX512) __atomic_store_n(&vrx_serv_cpu_state.avx512_opt_in, 1, __ATOMIC_RELAXED);
      return forced;
    }
    vrx_serv_print(0, 1213, 1, forced);
    *fatal = true;
    return -1;
  }

  const int mapped = branch >= 0 && branch <= 12 ? type_of_branch[branch] : -1;
  if (mapped < 0) return decision_table(fatal);
  if (type_available[mapped]) return mapped;
  // A branch whose type has no kernels: the warning announces AUTO, but the process ends.
  vrx_serv_print(0, 1209, 0);
  decision_table(fatal);
  *fatal = true;
  return -1;
}

[[gnu::noinline]] int decide_once() {
  vrx_cpu_state& s = vrx_serv_cpu_state;
  vrx_serv_fork_guard();
  vrx_serv_spin_lock(&s.service_lock);
  int type = __atomic_load_n(&s.type, __ATOMIC_ACQUIRE);
  if (type >= 0) {
    vrx_serv_spin_unlock(&s.service_lock);
    return type;
  }
  __atomic_add_fetch(&s.decisions, 1, __ATOMIC_RELAXED);
  bool fatal = false;
  type = decide(&fatal);
  if (!fatal) __atomic_store_n(&s.type, type, __ATOMIC_RELEASE);
  vrx_serv_spin_unlock(&s.service_lock);
  if (fatal) vrx_serv_exit(1);
  return type;
}
}  // namespace

int vrx_serv_cpu_detect() {
  const int type = __atomic_load_n(&vrx_serv_cpu_state.type, __ATOMIC_ACQUIRE);
  if (type >= 0) [[likely]] return type;
  return decide_once();
}

int vrx_serv_cpu_class(int force) {
  if (force == 0) return __atomic_load_n(&vrx_serv_cpu_state.type, __ATOMIC_ACQUIRE);
  bool fatal = false;
  const int type = decision_table(&fatal);
  if (fatal) vrx_serv_exit(1);
  return type;
}
