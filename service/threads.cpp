// The number of threads a routine may use, from the settings, the topology and the moment.
#include <omp.h>

#include <algorithm>

#include "service/vrx_serv.h"

namespace {
thread_local std::int32_t thread_override = 0;
std::int32_t dynamic_override = -1;
std::int32_t ppn_cache = 0;  // 0 not searched, -1 none found

int thread_rule(int domain) {
  if (thread_override > 0) return thread_override;
  const vrx_thread_settings& s = *vrx_serv_thread_settings();
  // Inside a parallel region the library does not nest unless dynamic mode is off.
  if (s.dynamic != 0 && omp_in_parallel()) return 1;

  int count;
  bool explicit_count = true;
  if (domain >= 1 && domain <= 4 && s.domain_count[domain] > 0) count = s.domain_count[domain];
  else if (s.thread_count > 0) count = s.thread_count;
  else {
    count = omp_get_max_threads();  // asked each time: the caller's omp_set_num_threads holds
    explicit_count = false;
  }
  if (s.dynamic == 0) return count;

  // Dynamic: one thread per core, hyper-threads stay idle.
  if (vrx_serv_cpu_detect() != VRX_CPU_MIC) count = std::min(s.cores, count);
  else count = std::min(omp_get_max_threads(), count);

  const std::int32_t forced = __atomic_load_n(&dynamic_override, __ATOMIC_RELAXED);
  if (forced != -1) return forced == 0 ? 1 : count;
  if (s.ppn <= 0 || explicit_count || s.omp_count > 0) return count;
  // One of several MPI processes on the node, and nobody asked for a count.
  if (s.mpi_thread_level < 1) return 1;
  return std::max(1, std::min(s.cores / s.ppn, count));
}
}  // namespace

int vrx_serv_get_max_threads() { return thread_rule(VRX_DOMAIN_ALL); }

int vrx_serv_domain_get_max_threads(int domain) { return thread_rule(domain); }

int vrx_serv_get_dynamic() { return vrx_serv_thread_settings()->dynamic; }

int vrx_serv_get_ncpus() { return vrx_serv_thread_settings()->nodes; }

int vrx_serv_get_ncorespercpu() { return vrx_serv_thread_settings()->cores_per_node; }

int vrx_serv_get_ht() { return vrx_serv_thread_settings()->hyper_threading; }

int vrx_serv_in_parallel() { return omp_in_parallel(); }

int vrx_serv_get_ppn() {
  // Every racer finds the same value, so the cache needs no lock.
  std::int32_t ppn = __atomic_load_n(&ppn_cache, __ATOMIC_RELAXED);
  if (ppn == 0) {
    ppn = vrx_serv_ppn_search();
    __atomic_store_n(&ppn_cache, ppn, __ATOMIC_RELAXED);
  }
  return ppn;
}

std::int32_t* vrx_serv_thread_override() { return &thread_override; }

std::int32_t* vrx_serv_dynamic_override() { return &dynamic_override; }
