// How many threads a product gets on the team road, and the model that tells whether a
// small C is better served by splitting k among the threads.
#include "blas/level3/team/vrx_l3_team.h"

template <typename T>
int vrx_l3_team_thread_count(int cpu, vrx_int m, vrx_int n, vrx_int k, int max_threads) {
  int t = max_threads;
  if (t < 2) return 1;
  const double cost = vrx_l3_team_cost<T>(cpu, m, n, k);
  if (t <= 4) {
    if (cost < 3000.0) return 1;
    while (t > 1 && !((t - 1) * cost > t * 3000.0)) --t;
  } else {
    if (cost < 5000.0) return 1;
    while (t > 1) {
      if ((t - 1) * cost > (500.0 * t + 4000.0) * t) break;
      t -= t < 10 ? 2 : (t < 30 ? 4 : 8);
    }
  }
  return t < 2 ? 1 : t;
}

#define VRX_INSTANTIATE(T) template int vrx_l3_team_thread_count<T>(int, vrx_int, vrx_int, vrx_int, int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE

namespace {
// Many threads: a split of k pays only while C stays thin.
double leaf_many(double m, double n, double k) {
  if (-0.2 * m + 2.2 * n <= 199.0) {
    if (-11.1 * m - 13.4 * n <= -747.5) return -0.00095 * m + 1.04196 - 0.01598 * n + 0.00009 * k;
    return 0.00881 * m - 0.44729 + 0.01897 * n + 0.00107 * k;
  }
  if (0.1 * m + 2.9 * n - 0.8 * k <= -2301.0) {
    if (1.1 * m - 0.6 * n <= 153.5) return -0.00074 * m - 0.18162 + 0.00218 * n + 0.0001 * k;
    return 0.00025 * m - 0.22174 - 0.00101 * n + 0.00008 * k;
  }
  return 0.0;
}

double leaf_few(double m, double n, double k) {
  if (n <= 32.0) {
    if (m - 1.8 * n <= 166.0) return -0.00053 * m + 1.27696 - 0.0422 * n + 0.0002 * k;
    return -0.00167 * m + 1.41229 - 0.02621 * n + 0.00008 * k;
  }
  if (3.7 * m + 3.5 * n - 0.8 * k > -283.0) return 0.00053 * m - 0.0289 - 0.0006 * n + 0.0003 * k;
  if (n <= 48.0) return -0.00087 * m + 2.29689 - 0.03915 * n + 0.00009 * k;
  return 1.0;
}
}  // namespace

bool vrx_l3_team_k_split_model(int threads, vrx_int m, vrx_int n, vrx_int k) {
  const double dm = static_cast<double>(m), dn = static_cast<double>(n), dk = static_cast<double>(k);
  const double v = threads > 18 ? leaf_many(dm, dn, dk) : leaf_few(dm, dn, dk);
  const long rounded = v < 0.0 ? 0 : static_cast<long>(v + 0.5);
  return rounded >= 1;
}
