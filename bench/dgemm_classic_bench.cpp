// The classic threaded road: two threads against one on square products, per forced
// CPU type 0, 2, 3 and 4, through the DGEMM entry; the small orders that must stay as
// fast on two threads; and eight application threads calling DGEMM of order 300 at
// once against one application thread doing the same products one after another.
// Usage: dgemm_classic_bench [type ...]   (default: 0 2 3 4)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "blas/vrx_blas.h"
#include "support/bench_support.h"

namespace {
const vrx_int large[] = {1000, 2000, 3000, 4000};
const vrx_int small[] = {16, 32, 48, 64};

struct operands {
  vrx_int n;
  std::vector<double> a, b, c;
  explicit operands(vrx_int order) : n(order), a(order * order), b(order * order), c(order * order, 0.0) {
    for (vrx_int i = 0; i < n * n; ++i) {
      a[i] = static_cast<double>((i * 7) % 13) / 13.0 - 0.5;
      b[i] = static_cast<double>((i * 5) % 11) / 11.0 - 0.5;
    }
  }
  void multiply() {
    const double one = 1.0, zero = 0.0;
    vrx_blas_dgemm("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
  }
};

// GFLOPS of the entry at order n; large orders are timed once, small ones many times.
double rate(vrx_int n) {
  operands o(n);
  const double flops = 2.0 * n * n * n;
  if (flops > 4e9) {
    o.multiply();  // pages and pools in place
    const double start = bench_now();
    o.multiply();
    return flops / (bench_now() - start) * 1e-9;
  }
  const int calls = static_cast<int>(1e9 / flops) + 1;
  const double t = bench_best_seconds(3, [&] {
    for (int q = 0; q < calls; ++q) o.multiply();
  });
  return flops * calls / t * 1e-9;
}

// Products of order 300 per second: `threads` application threads each run `each`.
double concurrent_rate(int threads, int each) {
  std::vector<operands> work;
  for (int t = 0; t < threads; ++t) work.emplace_back(300);
  const double seconds = bench_concurrent_seconds(threads, each, [&](int t) { work[t].multiply(); });
  return threads * each / seconds;
}

int child(const char* what) {
  if (std::strcmp(what, "large") == 0)
    for (vrx_int n : large) std::printf("%lld %.3f\n", static_cast<long long>(n), rate(n));
  if (std::strcmp(what, "small") == 0)
    for (vrx_int n : small) std::printf("%lld %.3f\n", static_cast<long long>(n), rate(n));
  if (std::strcmp(what, "concurrent") == 0)
    std::printf("%.1f %.1f\n", concurrent_rate(8, 40), concurrent_rate(1, 320));
  return 0;
}

std::vector<double> numbers(const std::string& text) {
  std::vector<double> out;
  const char* p = text.c_str();
  char* end = nullptr;
  for (double v = std::strtod(p, &end); end != p; v = std::strtod(p, &end)) {
    out.push_back(v);
    p = end;
  }
  return out;
}

std::vector<double> run(const char* what, int type, int threads) {
  return numbers(bench_rerun_self({"child", what}, {"VRX_DEBUG_CPU_TYPE=" + std::to_string(type),
                                                     "VRX_NUM_THREADS=" + std::to_string(threads),
                                                     "VRX_DYNAMIC=false"}));
}
}  // namespace

int main(int argc, char** argv) {
  if (argc >= 3 && std::strcmp(argv[1], "child") == 0) return child(argv[2]);
  std::vector<int> types;
  for (int i = 1; i < argc; ++i) types.push_back(std::atoi(argv[i]));
  if (types.empty()) types = {0, 2, 3, 4};

  std::printf("type  order  1 thread  2 threads  ratio   (GFLOPS, NN, through the DGEMM entry)\n");
  for (int type : types) {
    if (!bench_cpu_can_run_type(type)) continue;
    for (const char* what : {"small", "large"}) {
      const std::vector<double> one = run(what, type, 1), two = run(what, type, 2);
      for (std::size_t i = 0; i + 1 < one.size() && i + 1 < two.size(); i += 2)
        std::printf("%4d  %5.0f  %8.2f  %9.2f  %5.2f\n", type, one[i], one[i + 1], two[i + 1],
                    two[i + 1] / one[i + 1]);
    }
  }
  for (int type : types) {
    if (!bench_cpu_can_run_type(type)) continue;
    const std::vector<double> r = run("concurrent", type, 2);
    if (r.size() == 2)
      std::printf("type %d, order 300: 8 application threads %.1f products/s, one application thread %.1f\n", type,
                  r[0], r[1]);
  }
  return 0;
}
