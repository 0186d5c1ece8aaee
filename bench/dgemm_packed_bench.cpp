// The 128-bit and AVX GEMM routes called directly, one thread: GFLOPS and the
// fraction of the matching class peak for square products, every transposition
// pair, and the small orders. Usage: dgemm_packed_bench [route ...] with routes from
// sse2, second, ssse3, sse42, avx (default: all).
#include <cstdio>
#include <cstring>
#include <vector>

#include "blas/level3/packed/vrx_gemm_packed.h"
#include "support/bench_support.h"

namespace {
struct route {
  const char* name;
  vrx_dgemm_fn fn;
  bool wide;  // bounded by the 256-bit peak
};
const route routes[] = {{"sse2", vrx_blas_dgemm_route_sse2, false},
                        {"second", vrx_blas_dgemm_route_sse2_compatible, false},
                        {"ssse3", vrx_blas_dgemm_route_ssse3, false},
                        {"sse42", vrx_blas_dgemm_route_sse42, false},
                        {"avx", vrx_blas_dgemm_route_avx, true}};

double rate(vrx_dgemm_fn fn, const char* tr, vrx_int n) {
  std::vector<double> a(n * n), b(n * n), c(n * n, 0.0);
  for (vrx_int i = 0; i < n * n; ++i) {
    a[i] = static_cast<double>((i * 7) % 13) / 13.0 - 0.5;
    b[i] = static_cast<double>((i * 5) % 11) / 11.0 - 0.5;
  }
  const double one = 1.0, zero = 0.0, flops = 2.0 * n * n * n;
  const int calls = flops > 2e9 ? 1 : static_cast<int>(2e9 / flops);
  const double t = bench_best_seconds(3, [&] {
    for (int q = 0; q < calls; ++q)
      fn(&tr[0], &tr[1], &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
  });
  return flops * calls / t * 1e-9;
}
}  // namespace

int main(int argc, char** argv) {
  const bench_peaks peaks = bench_measure_peaks();
  std::printf("single-core peaks (GFLOPS): 128-bit mul+add %.1f, 256-bit mul+add %.1f\n", peaks.sse2_mul_add,
              peaks.avx_mul_add);
  const char* pairs[] = {"NN", "TN", "NT", "TT"};
  const vrx_int large[] = {1000, 2000, 4000};
  const vrx_int small[] = {4, 8, 16, 32, 64, 100};
  for (const route& r : routes) {
    bool wanted = argc < 2;
    for (int i = 1; i < argc; ++i) wanted |= std::strcmp(argv[i], r.name) == 0;
    if (!wanted) continue;
    const double peak = r.wide ? peaks.avx_mul_add : peaks.sse2_mul_add;
    for (vrx_int n : small) {
      const double g = rate(r.fn, "NN", n);
      std::printf("%-7s NN %5lld  %7.2f GFLOPS  %5.1f%%\n", r.name, static_cast<long long>(n), g, 100.0 * g / peak);
    }
    for (const char* tr : pairs)
      for (vrx_int n : large) {
        const double g = rate(r.fn, tr, n);
        std::printf("%-7s %s %5lld  %7.2f GFLOPS  %5.1f%%\n", r.name, tr, static_cast<long long>(n), g,
                    100.0 * g / peak);
      }
  }
  return 0;
}
