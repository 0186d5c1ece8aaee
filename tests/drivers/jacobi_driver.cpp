// Child-process driver for the Jacobian routines under the thread settings of
// its environment. Prints "djacobi <status> calls=<c> threads=<t> max=<T> <ok|WRONG>".
#include <omp.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <vector>

#include "customvrx.h"
#include "service/vrx_serv.h"

namespace {
std::atomic<int> calls{0};
std::atomic<unsigned long long> thread_bits{0};

// f_i = sum_j (i + 1) x_j^2: column j of the Jacobian is 2 (i + 1) x_j.
void squares(int* m_, int* n_, double* x, double* f) {
  calls.fetch_add(1);
  const int t = omp_get_thread_num();
  thread_bits.fetch_or(1ull << (t & 63));
  const int m = *m_, n = *n_;
  double s = 0.0;
  for (int j = 0; j < n; ++j) s += x[j] * x[j];
  for (int i = 0; i < m; ++i) f[i] = (i + 1) * s;
}
}  // namespace

int main() {
  int n = 40, m = 3;
  std::vector<double> x(n), fjac(m * n, 0.0);
  for (int j = 0; j < n; ++j) x[j] = 0.5 + j;
  const double eps = 1e-4;
  const int status = djacobi(squares, &n, &m, fjac.data(), x.data(), &eps);
  bool ok = true;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      const double exact = 2.0 * (i + 1) * x[j];
      if (std::fabs(fjac[j * m + i] - exact) > 1e-6 * exact) ok = false;
    }
  std::printf("djacobi %d calls=%d threads=%d max=%d %s\n", status, calls.load(),
              __builtin_popcountll(thread_bits.load()), vrx_serv_get_max_threads(), ok ? "ok" : "WRONG");
  return 0;
}
