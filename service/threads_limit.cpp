// Thread count for short vector work: enough elements per thread to pay for the
// distance between the threads that share it.
#include <atomic>
#include <cmath>

#include "service/vrx_serv.h"

namespace {
// Every racer computes the same factor, so no lock is needed.
std::atomic<float> work_factor{0.0f};
std::atomic<int> factor_known{0};

float compute_factor() {
  const int nodes = vrx_serv_get_ncpus();
  const int cores = nodes * vrx_serv_get_ncorespercpu();
  const int logical = cores * (1 + vrx_serv_get_ht());
  if (logical <= 1 || cores < 1 || nodes < 1) return 0.0f;
  const int per_core = logical / cores, per_node = logical / nodes, cores_per_node = cores / nodes;
  const float partners = static_cast<float>(logical - 1);
  // Shares of a thread's partners on another node, on another core of the node, on the same core.
  const float other_node = static_cast<float>(per_node * (nodes - 1)) / partners;
  const float other_core = static_cast<float>((cores_per_node - 1) * per_core) / partners;
  const float same_core = static_cast<float>(per_core - 1) / partners;
  return 2.0f / (9000.0f * other_node + 60000.0f * other_core + 500000.0f * same_core);
}
}  // namespace

int vrx_serv_thread_limit(int* nthreads, int n, float cost) {
  if (!factor_known.load(std::memory_order_acquire)) {
    work_factor.store(compute_factor(), std::memory_order_relaxed);
    factor_known.store(1, std::memory_order_release);
  }
  const float share = std::trunc(cost * static_cast<float>(n) * work_factor.load(std::memory_order_relaxed));
  int answer = share >= static_cast<float>(*nthreads) ? *nthreads : static_cast<int>(share);
  if (answer < 1) answer = 1;
  *nthreads = answer;
  return answer;
}
