// Single-thread speed of the AVX-512 and AVX2 GEMM routes, called directly, beside
// OpenBLAS and BLIS at their best. Times are the thread's CPU time, best of several
// runs, so that other load on the machine counts as little as possible.
//   dgemm_l3_bench [--full] [--quick] [M N K TA TB]...
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_l3.h"
#include "include/customvrx.h"

namespace {
struct shape {
  int m, n, k;
  char ta, tb;
};

typedef void (*route_fn)(const char*, const char*, const vrx_int*, const vrx_int*, const vrx_int*, const double*,
                         const double*, const vrx_int*, const double*, const vrx_int*, const double*, double*,
                         const vrx_int*);

struct operands {
  std::vector<double> a, b, c;
  int lda, ldb;
};

operands make(const shape& s) {
  operands o;
  o.lda = s.ta == 'N' ? s.m : s.k;
  o.ldb = s.tb == 'N' ? s.k : s.n;
  o.a.resize(static_cast<size_t>(o.lda) * (s.ta == 'N' ? s.k : s.m));
  o.b.resize(static_cast<size_t>(o.ldb) * (s.tb == 'N' ? s.n : s.k));
  o.c.assign(static_cast<size_t>(s.m) * s.n, 0.0);
  for (size_t i = 0; i < o.a.size(); ++i) o.a[i] = static_cast<double>(i % 17) * 0.1 - 0.8;
  for (size_t i = 0; i < o.b.size(); ++i) o.b[i] = static_cast<double>(i % 13) * 0.05 - 0.3;
  return o;
}

template <typename Call>
double gflops(const shape& s, int repeats, Call&& call) {
  const double flops = 2.0 * s.m * s.n * s.k;
  const int batch = flops < 2e8 ? static_cast<int>(2e8 / flops) + 1 : 1;
  const double t = bench_best_seconds(flops < 1e10 ? repeats : 2, [&] {
    for (int i = 0; i < batch; ++i) call();
  }, bench_thread_cpu_now);
  return flops * batch / t * 1e-9;
}

double ours(route_fn route, const shape& s, operands& o, int repeats) {
  const vrx_int m = s.m, n = s.n, k = s.k, lda = o.lda, ldb = o.ldb, ldc = s.m;
  const double alpha = 1.0, beta = 1.0;
  const char ta[2] = {s.ta, 0}, tb[2] = {s.tb, 0};
  return gflops(s, repeats, [&] {
    route(ta, tb, &m, &n, &k, &alpha, o.a.data(), &lda, o.b.data(), &ldb, &beta, o.c.data(), &ldc);
  });
}

double peer(bench_cblas_dgemm_fn dgemm, const shape& s, operands& o, int repeats) {
  const int ta = s.ta == 'N' ? CblasNoTrans : CblasTrans, tb = s.tb == 'N' ? CblasNoTrans : CblasTrans;
  return gflops(s, repeats, [&] {
    dgemm(CblasColMajor, ta, tb, s.m, s.n, s.k, 1.0, o.a.data(), o.lda, o.b.data(), o.ldb, 1.0, o.c.data(), s.m);
  });
}
// The register-block kernel alone on packed panels already in cache: m by n by k, repeated.
void kernel_alone(int cpu, int m, int n, int k, int ldc) {
  const vrx_l3_kernels<double>* kernels = vrx_l3_kernels_for<double>(cpu);
  std::vector<double> a(static_cast<size_t>(m) * k, 0.001), b(static_cast<size_t>(k) * n, 0.002),
      c(static_cast<size_t>(ldc) * n, 0.0);
  const shape s{m, n, k, 'N', 'N'};
  const double rate =
      gflops(s, 15, [&] { kernels->kernel(m, n, k, a.data(), b.data(), c.data(), ldc, 1.0); });
  std::printf("kernel of type %d, %dx%dx%d ldc %d: %.1f GFLOPS\n", cpu, m, n, k, ldc, rate);
}
}  // namespace

int main(int argc, char** argv) {
  bool full = false, quick = false;
  int only = 0;  // --type 7 or --type 5 times one route alone
  std::vector<shape> list;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--full")) full = true;
    else if (!std::strcmp(argv[i], "--quick")) quick = true;
    else if (!std::strcmp(argv[i], "--type") && i + 1 < argc) only = std::atoi(argv[++i]);
    else if (!std::strcmp(argv[i], "--kernel") && i + 5 < argc) {
      kernel_alone(std::atoi(argv[i + 1]), std::atoi(argv[i + 2]), std::atoi(argv[i + 3]), std::atoi(argv[i + 4]),
                   std::atoi(argv[i + 5]));
      i += 5;
      list.push_back({0, 0, 0, 'N', 'N'});
    }
    else if (i + 4 < argc) {
      list.push_back({std::atoi(argv[i]), std::atoi(argv[i + 1]), std::atoi(argv[i + 2]), argv[i + 3][0],
                      argv[i + 4][0]});
      i += 4;
    }
  }
  if (list.empty()) {
    for (int s : {4, 8, 16, 32, 64, 100}) list.push_back({s, s, s, 'N', 'N'});
    for (int s : {1000, 2000}) list.push_back({s, s, s, 'N', 'N'});
    for (const char* t : {"TN", "NT", "TT"}) list.push_back({1000, 1000, 1000, t[0], t[1]});
    if (full) {
      list.push_back({4000, 4000, 4000, 'N', 'N'});
      list.push_back({4000, 4000, 64, 'N', 'N'});
      list.push_back({4000, 64, 4000, 'N', 'N'});
    }
  }
  const int repeats = quick ? 2 : 5;
  const std::vector<bench_peer> peers = quick ? std::vector<bench_peer>{} : bench_load_peers();
  if (list.size() == 1 && list[0].m == 0) return 0;  // kernels alone: no peaks, for perf stat
  const double p512 = bench_fma_peak_cpu_time(7, false), p256 = bench_fma_peak_cpu_time(5, false);
  std::printf("peaks by CPU time (GFLOPS): AVX-512 FMA %.1f, AVX2 FMA %.1f\n", p512, p256);
  std::printf("%-20s %8s %6s %8s %6s", "shape", "type 7", "%pk", "type 5", "%pk");
  for (const bench_peer& p : peers) std::printf(" %9s", p.name);
  std::printf("\n");
  for (const shape& s : list) {
    if (s.m == 0) continue;
    operands o = make(s);
    const double r7 = only == 5 ? 0.0 : ours(vrx_blas_dgemm_route_avx512, s, o, repeats);
    const double r5 = only == 7 ? 0.0 : ours(vrx_blas_dgemm_route_avx2, s, o, repeats);
    char name[64];
    std::snprintf(name, sizeof name, "%dx%dx%d %c%c", s.m, s.n, s.k, s.ta, s.tb);
    std::printf("%-20s %8.1f %5.1f%% %8.1f %5.1f%%", name, r7, 100 * r7 / p512, r5, 100 * r5 / p256);
    for (const bench_peer& p : peers) std::printf(" %9.1f", p.dgemm ? peer(p.dgemm, s, o, repeats) : 0.0);
    std::printf("\n");
    std::fflush(stdout);
  }
  return 0;
}
