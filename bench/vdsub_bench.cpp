// vdsub against a plain loop y[i] = a[i] - b[i] in the same run: bandwidth of
// 10^7 elements on one and two threads, each kernel class, and the per-call cost
// of short vectors (which never fork).
#include <omp.h>

#include <cstdio>
#include <vector>

#include "bench_support.h"
#include "include/customvrx.h"
#include "vector/vrx_vmf.h"

namespace {
[[gnu::noinline]] void plain_loop(int n, const double* a, const double* b, double* y) {
  for (int i = 0; i < n; ++i) y[i] = a[i] - b[i];
}

[[gnu::noinline]] void plain_loop_threads(int n, const double* a, const double* b, double* y, int threads) {
#pragma omp parallel for schedule(static) num_threads(threads)
  for (int i = 0; i < n; ++i) y[i] = a[i] - b[i];
}

// Bytes moved per element: two loads and one store.
double gigabytes_per_second(int n, double seconds) { return 24.0 * n / seconds / 1e9; }

// Best times of two bodies measured in alternation, so that both see the same machine.
template <typename First, typename Second>
void best_of_alternating(int rounds, First&& first, Second&& second, double* first_best, double* second_best) {
  *first_best = *second_best = 1e300;
  first();
  second();
  for (int r = 0; r < rounds; ++r) {
    double start = bench_now();
    first();
    double t = bench_now() - start;
    if (t < *first_best) *first_best = t;
    start = bench_now();
    second();
    t = bench_now() - start;
    if (t < *second_best) *second_best = t;
  }
}

struct named_kernel {
  const char* name;
  vrx_vmf_dkernel kernel;
  bool runs;
};
}  // namespace

int main() {
  const int n = 10000000;
  std::vector<double> a(n), b(n), y(n);
  for (int i = 0; i < n; ++i) {
    a[i] = 0.25 * i;
    b[i] = 1.0 / (i + 1);
  }
  const int index = vrx_vmf_row(vrx_vmf_cpu_code());
  const vrx_vmf_dkernel chosen = vrx_vmf_dsub_table.kernels[index];
  std::printf("vdsub bench: n = %d, column %d, %d processors\n", n, vrx_vmf_cpu_code(), omp_get_num_procs());

  std::printf("\n%-8s %12s %12s %8s\n", "threads", "plain GB/s", "vdsub GB/s", "ratio");
  for (int threads : {1, 2}) {
    double plain, ours;
    best_of_alternating(
        15,
        [&] {
          if (threads == 1) plain_loop(n, a.data(), b.data(), y.data());
          else plain_loop_threads(n, a.data(), b.data(), y.data(), threads);
        },
        [&] {
          if (threads == 1) chosen(n, a.data(), b.data(), y.data());
          else vrx_vmf_drive_team(chosen, n, a.data(), b.data(), y.data(), threads);
        },
        &plain, &ours);
    std::printf("%-8d %12.2f %12.2f %7.0f%%\n", threads, gigabytes_per_second(n, plain),
                gigabytes_per_second(n, ours), 100.0 * plain / ours);
  }
  {
    double plain, ours;
    best_of_alternating(
        15, [&] { plain_loop_threads(n, a.data(), b.data(), y.data(), omp_get_max_threads()); },
        [&] { vdsub(&n, a.data(), b.data(), y.data()); }, &plain, &ours);
    std::printf("%-8s %12.2f %12.2f %7.0f%%   (exported entry, its own team)\n", "vdsub",
                gigabytes_per_second(n, plain), gigabytes_per_second(n, ours), 100.0 * plain / ours);
  }

  const named_kernel kernels[] = {
      {"plain_sse2", vrx_vmf_dsub_plain_sse2, true},
      {"guarded_sse2", vrx_vmf_dsub_guarded_sse2, true},
      {"guarded_sse42", vrx_vmf_dsub_guarded_sse42, __builtin_cpu_supports("sse4.2") != 0},
      {"guarded_avx", vrx_vmf_dsub_guarded_avx, __builtin_cpu_supports("avx") != 0},
      {"guarded_avx2", vrx_vmf_dsub_guarded_avx2, __builtin_cpu_supports("avx2") != 0},
      {"guarded_avx512", vrx_vmf_dsub_guarded_avx512, __builtin_cpu_supports("avx512f") != 0},
  };
  std::printf("\none thread, each kernel beside the plain loop\n");
  for (const named_kernel& k : kernels) {
    if (!k.runs) continue;
    double plain, ours;
    best_of_alternating(
        9, [&] { plain_loop(n, a.data(), b.data(), y.data()); },
        [&] { k.kernel(n, a.data(), b.data(), y.data()); }, &plain, &ours);
    std::printf("  %-16s %8.2f GB/s (plain %6.2f) %7.0f%%\n", k.name, gigabytes_per_second(n, ours),
                gigabytes_per_second(n, plain), 100.0 * plain / ours);
  }

  std::printf("\nshort vectors, nanoseconds per call\n");
  for (int small : {8, 64, 99}) {
    const int calls = 2000000;
    double plain, exported;
    best_of_alternating(
        5, [&] { for (int c = 0; c < calls; ++c) plain_loop(small, a.data() + (c & 7), b.data(), y.data()); },
        [&] { for (int c = 0; c < calls; ++c) vdsub(&small, a.data() + (c & 7), b.data(), y.data()); }, &plain,
        &exported);
    std::printf("  n = %-3d plain %6.1f ns   vdsub %6.1f ns\n", small, 1e9 * plain / calls, 1e9 * exported / calls);
  }
  return 0;
}
