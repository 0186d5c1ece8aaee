// VRX_Domatcopy transposing 4000 by 4000 and VRX_Dimatcopy transposing 4096 square in
// place, against memcpy of the same bytes in the same run, on one and two threads, as
// GB/s (read plus write) and as the ratio ours/memcpy. The contenders take turns over
// several sweeps and each keeps its best time, so a burst of other load on the machine
// hits all of them alike.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>
#include "bench/support/bench_support.h"
#include "include/customvrx.h"
#include "vector/vrx_matcopy.h"

namespace {
constexpr int sweeps = 3, repeats = 5;

struct contender {
  const char* name;
  std::size_t order;
  int threads;  // 0: not ours
  std::function<void()> body;
  double best;
};
}  // namespace

int main() {
  const std::size_t n = 4000, sq = 4096;
  double* a = static_cast<double*>(std::aligned_alloc(64, sq * sq * 8));
  double* b = static_cast<double*>(std::aligned_alloc(64, sq * sq * 8));
  for (std::size_t i = 0; i < sq * sq; ++i) a[i] = static_cast<double>(i);
  std::memset(b, 0, sq * sq * 8);

  std::vector<contender> all = {{"memcpy", n, 0, [&] { std::memcpy(b, a, n * n * 8); }, 1e300}};
  for (int threads : {1, 2}) {
    all.push_back({"Domatcopy T", n, threads, [=] { VRX_Domatcopy('R', 'T', n, n, 1.0, a, n, b, n); }, 1e300});
    all.push_back({"Dimatcopy T in place", sq, threads, [=] { VRX_Dimatcopy('R', 'T', sq, sq, 1.0, a, sq, sq); },
                   1e300});
  }
  for (int sweep = 0; sweep < sweeps; ++sweep)
    for (contender& c : all) {
      bench_settle();
      vrx_matcopy_set_thread_override(c.threads);
      const double t = bench_best_seconds(repeats, c.body);
      if (t < c.best) c.best = t;
    }
  vrx_matcopy_set_thread_override(0);

  auto gbs = [](const contender& c) { return 2.0 * c.order * c.order * 8 / c.best / 1e9; };
  const double copy_gbs = gbs(all[0]);
  std::printf("best of %d sweeps of %d runs\n", sweeps, repeats);
  std::printf("memcpy %zu x %zu: %.2f GB/s (read + write)\n", n, n, copy_gbs);
  for (std::size_t k = 1; k < all.size(); ++k)
    std::printf("%s %zu, %d thread%s: %.2f GB/s, ours/memcpy %.0f%%\n", all[k].name, all[k].order, all[k].threads,
                all[k].threads > 1 ? "s" : " ", gbs(all[k]), 100.0 * gbs(all[k]) / copy_gbs);
  std::free(a);
  std::free(b);
  return 0;
}
