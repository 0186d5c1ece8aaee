// VRX_Domatcopy transposing 4000 by 4000 and VRX_Dimatcopy transposing 4096 square in
// place, against memcpy of the same bytes in the same run, on one and two threads.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include "bench/support/bench_support.h"
#include "include/customvrx.h"
#include "vector/vrx_matcopy.h"

int main() {
  const std::size_t n = 4000, sq = 4096;
  double* a = static_cast<double*>(std::aligned_alloc(64, sq * sq * 8));
  double* b = static_cast<double*>(std::aligned_alloc(64, sq * sq * 8));
  for (std::size_t i = 0; i < sq * sq; ++i) a[i] = static_cast<double>(i);
  std::memset(b, 0, sq * sq * 8);
  const int repeats = 5;

  const double copy = bench_best_seconds(repeats, [&] { std::memcpy(b, a, n * n * 8); });
  const double copy_gbs = 2.0 * n * n * 8 / copy / 1e9;  // read plus write
  std::printf("memcpy %zu x %zu: %.2f GB/s (read + write)\n", n, n, copy_gbs);
  for (int threads : {1, 2}) {
    vrx_matcopy_set_thread_override(threads);
    const double out = bench_best_seconds(repeats, [&] { VRX_Domatcopy('R', 'T', n, n, 1.0, a, n, b, n); });
    const double out_gbs = 2.0 * n * n * 8 / out / 1e9;
    std::printf("Domatcopy T %zu, %d thread%s: %.2f GB/s, %.0f%% of memcpy\n", n, threads, threads > 1 ? "s" : " ",
                out_gbs, 100.0 * out_gbs / copy_gbs);
    const double in = bench_best_seconds(repeats, [&] { VRX_Dimatcopy('R', 'T', sq, sq, 1.0, a, sq, sq); });
    const double in_gbs = 2.0 * sq * sq * 8 / in / 1e9;
    std::printf("Dimatcopy T %zu in place, %d thread%s: %.2f GB/s, %.0f%% of memcpy\n", sq, threads,
                threads > 1 ? "s" : " ", in_gbs, 100.0 * in_gbs / copy_gbs);
  }
  vrx_matcopy_set_thread_override(0);
  std::free(a);
  std::free(b);
  return 0;
}
