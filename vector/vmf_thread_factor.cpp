// How many threads a vector call earns: the topology factor and the cost rule.
#include "service/vrx_serv.h"
#include "vector/vrx_vmf.h"

namespace {
// Written once without a lock; every racer stores the same value.
float cached_factor = -1.0f;
}  // namespace

float vrx_vmf_thread_factor_of(int nodes, int cores_per_node, int hyper_threading) {
  const int p = nodes > 0 ? nodes : 1;
  const int c = cores_per_node > 0 ? cores_per_node : 1;
  const int s = (hyper_threading ? 2 : 1) * p * c;
  if (s == 1) return 0.0f;
  const int t = s / (p * c), u = s / p, k = (p * c) / p;
  const double span = s - 1;
  const double f1 = static_cast<double>(u * (p - 1)) / span;
  const double f2 = static_cast<double>((k - 1) * t) / span;
  const double f3 = static_cast<double>(t - 1) / span;
  return 2.0f / static_cast<float>(9000.0 * f1 + 60000.0 * f2 + 500000.0 * f3);
}

float vrx_vmf_thread_factor() {
  float factor;
  __atomic_load(&cached_factor, &factor, __ATOMIC_RELAXED);
  if (factor >= 0.0f) return factor;
  factor = vrx_vmf_thread_factor_of(vrx_serv_get_ncpus(), vrx_serv_get_ncorespercpu(), vrx_serv_get_ht());
  __atomic_store(&cached_factor, &factor, __ATOMIC_RELAXED);
  return factor;
}

int vrx_vmf_reduce_threads(int threads, float cost, int n, float factor) {
  const float wanted = cost * static_cast<float>(n) * factor;
  int r = wanted >= 2147483647.0f ? 2147483647 : static_cast<int>(wanted);
  if (r < 1) r = 1;
  return threads < r ? threads : r;
}
