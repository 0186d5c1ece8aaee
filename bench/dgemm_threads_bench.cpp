// DGEMM on two threads against one, per forced CPU type 5 and 7: small squares (the
// cost model must keep them from being slower), squares 1000 to 4000 (two threads
// should give at least 1.85 times one), the peers on two threads beside them, and
// eight application threads each calling DGEMM of order 300.
//   dgemm_threads_bench [--quick]      --quick stops the squares at 2000
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "include/customvrx.h"

namespace {
std::vector<int> orders(bool quick) {
  std::vector<int> list = {8, 16, 24, 32, 48, 64, 1000, 2000};
  if (!quick) {
    list.push_back(3000);
    list.push_back(4000);
  }
  return list;
}

// GFLOPS of C := A B + C at order s; small orders are timed in batches.
double measure(bench_cblas_dgemm_fn dgemm, int s) {
  std::vector<double> a(static_cast<size_t>(s) * s), b(a.size()), c(a.size(), 0.0);
  for (size_t i = 0; i < a.size(); ++i) {
    a[i] = static_cast<double>(i % 17) * 0.1 - 0.8;
    b[i] = static_cast<double>(i % 13) * 0.05 - 0.3;
  }
  const double flops = 2.0 * s * s * s;
  const int batch = flops < 1e8 ? static_cast<int>(1e8 / flops) + 1 : 1;
  const double seconds = bench_best_seconds(flops < 2e10 ? 4 : 2, [&] {
    for (int i = 0; i < batch; ++i)
      dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, s, s, s, 1.0, a.data(), s, b.data(), s, 1.0, c.data(), s);
  });
  return flops * batch / seconds * 1e-9;
}

void ours(int, int ta, int tb, int m, int n, int k, double alpha, const double* a, int lda, const double* b, int ldb,
          double beta, double* c, int ldc) {
  cblas_dgemm(CblasColMajor, static_cast<CBLAS_TRANSPOSE>(ta), static_cast<CBLAS_TRANSPOSE>(tb), m, n, k, alpha, a,
              lda, b, ldb, beta, c, ldc);
}

// What one fork and join of two OpenMP threads costs here, in microseconds: the floor
// under any two-thread product, which small orders cannot earn back.
double fork_join_microseconds() {
  constexpr int forks = 100000;
  volatile int sink = 0;
  const double seconds = bench_best_seconds(3, [&] {
    for (int f = 0; f < forks; ++f) {
#pragma omp parallel num_threads(2)
      sink = 1;
    }
  });
  return seconds / forks * 1e6;
}

// `users` application threads, each `rounds` products of order 300: total GFLOPS.
double concurrent_rate(int users, int rounds) {
  const int s = 300;
  std::vector<std::vector<double>> c(users, std::vector<double>(s * s, 0.0));
  const std::vector<double> a(s * s, 0.5), b(s * s, 0.25);
  const double seconds = bench_concurrent_seconds(users, rounds, [&](int u) {
    cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, s, s, s, 1.0, a.data(), s, b.data(), s, 1.0,
                c[u].data(), s);
  });
  return 2.0 * s * s * s * users * rounds / seconds * 1e-9;
}

std::vector<double> parse(const std::string& text) {
  std::vector<double> values;
  std::istringstream in(text);
  double v;
  while (in >> v) values.push_back(v);
  return values;
}

// The peers on two threads: the library already loaded by bench_load_peers, told again.
void peers_on_two_threads() {
  typedef void (*set_threads_fn)(int);
  for (const char* path : {VRX_PEER_OPENBLAS, VRX_PEER_BLIS}) {
    void* handle = *path ? dlopen(path, RTLD_NOW | RTLD_NOLOAD) : nullptr;
    if (!handle) continue;
    for (const char* setter : {"openblas_set_num_threads", "bli_thread_set_num_threads"})
      if (auto set = reinterpret_cast<set_threads_fn>(dlsym(handle, setter))) set(2);
  }
}
}  // namespace

int main(int argc, char** argv) {
  bool quick = false, worker = false, concurrent = false;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--quick")) quick = true;
    if (!std::strcmp(argv[i], "--worker")) worker = true;
    if (!std::strcmp(argv[i], "--concurrent")) concurrent = true;
  }
  const std::vector<int> list = orders(quick);
  if (worker) {  // under the forced type and thread count: one GFLOPS figure per line
    for (int s : list) std::printf("%.3f\n", measure(ours, s));
    return 0;
  }
  if (concurrent) {
    std::printf("%.3f\n%.3f\n", concurrent_rate(1, 400), concurrent_rate(8, 50));
    return 0;
  }

  std::printf("fork and join of an empty two-thread region: %.2f us\n", fork_join_microseconds());
  std::vector<bench_peer> peers = bench_load_peers();
  peers_on_two_threads();
  std::vector<std::vector<double>> peer_rates(peers.size());
  for (size_t p = 0; p < peers.size(); ++p)
    for (int s : list) peer_rates[p].push_back(peers[p].dgemm && s >= 1000 ? measure(peers[p].dgemm, s) : 0.0);

  const std::vector<std::string> quick_arg = quick ? std::vector<std::string>{"--quick"} : std::vector<std::string>{};
  for (int type : {5, 7}) {
    if (!bench_cpu_can_run_type(type)) continue;
    std::vector<std::string> env = {"VRX_DEBUG_CPU_TYPE=" + std::to_string(type)};
    if (type == 7) env.push_back("VRX_ENABLE_INSTRUCTIONS=AVX512");
    std::vector<std::string> args = quick_arg;
    args.push_back("--worker");
    std::vector<std::string> one_env = env, two_env = env;
    one_env.push_back("VRX_NUM_THREADS=1");
    two_env.push_back("VRX_NUM_THREADS=2");
    const std::vector<double> one = parse(bench_rerun_self(args, one_env));
    const std::vector<double> two = parse(bench_rerun_self(args, two_env));
    if (one.size() != list.size() || two.size() != list.size()) {
      std::printf("type %d: worker runs failed\n", type);
      continue;
    }
    std::printf("\ntype %d    %9s %9s %7s", type, "1 thread", "2 threads", "ratio");
    for (const bench_peer& p : peers) std::printf(" %9s", (std::string(p.name) + "x2").c_str());
    std::printf("\n");
    for (size_t i = 0; i < list.size(); ++i) {
      std::printf("order %-5d %9.2f %9.2f %7.2f", list[i], one[i], two[i], two[i] / one[i]);
      for (size_t p = 0; p < peers.size(); ++p)
        if (peer_rates[p][i] > 0.0) std::printf(" %9.2f", peer_rates[p][i]);
        else std::printf(" %9s", "-");
      std::printf("\n");
    }
    const std::vector<double> shared = parse(bench_rerun_self({"--concurrent"}, env));
    if (shared.size() == 2)
      std::printf("order 300, one application thread: %.2f GFLOPS; eight concurrently: %.2f GFLOPS in total\n",
                  shared[0], shared[1]);
  }
  return 0;
}
