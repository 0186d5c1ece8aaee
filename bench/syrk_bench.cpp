// Speed of DSYRK, DSYR2K and ZHERK beside OpenBLAS and BLIS in one run, and of our
// DSYRK against our own DGEMM for the same flop count. The CPU type and the thread
// count come from the environment (VRX_DEBUG_CPU_TYPE, VRX_NUM_THREADS, default 1);
// the peers get the same thread count. Best of three runs, by the thread CPU time on
// one thread and by wall time on more.
//   syrk_bench [--quick|--full] [CASE]   --quick: order 2000 instead of 4000; CASE 1 to 4
//   runs that case alone (DSYRK k = n, DSYRK k = 256, DSYR2K, ZHERK)
// Prints one line per case: "case ours best_peer ratio", speeds in GFLOPS (the lines
// "...-vs-dgemm" put our DGEMM rate in the peer's column), each followed by a comment
// line with our fraction of the measured peak.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_blas.h"
#include "service/vrx_serv.h"

namespace {
constexpr int col_major = 102, no_trans = 111, trans = 112, conj_trans = 113, lower = 122;
typedef void (*cblas_dsyrk_fn)(int, int, int, int, int, double, const double*, int, double, double*, int);
typedef void (*cblas_dsyr2k_fn)(int, int, int, int, int, double, const double*, int, const double*, int, double,
                                double*, int);
typedef void (*cblas_zherk_fn)(int, int, int, int, int, double, const void*, int, double, void*, int);

struct peer {
  const char* name;
  cblas_dsyrk_fn dsyrk;
  cblas_dsyr2k_fn dsyr2k;
  cblas_zherk_fn zherk;
};

std::vector<peer> load_peers(int threads) {
  std::vector<peer> peers;
  for (const bench_peer_library& library : bench_open_peers(threads))
    if (library.handle)
      peers.push_back({library.name, reinterpret_cast<cblas_dsyrk_fn>(dlsym(library.handle, "cblas_dsyrk")),
                       reinterpret_cast<cblas_dsyr2k_fn>(dlsym(library.handle, "cblas_dsyr2k")),
                       reinterpret_cast<cblas_zherk_fn>(dlsym(library.handle, "cblas_zherk"))});
  return peers;
}

template <typename T>
std::vector<T> filled(std::size_t count, uint64_t seed) {
  std::vector<T> v(count);
  for (T& x : v) {
    seed = seed * 6364136223846793005ull + 1442695040888963407ull;
    x = vrx_traits<T>::make(static_cast<vrx_real_t<T>>((seed >> 40) % 1000) / 1000 - 0.5, 0.25);
  }
  return v;
}

// One thread: the thread's CPU time, so that other load counts for little; more: wall time.
double (*bench_clock)() = bench_now;

template <typename Body>
double gflops(double flops, Body&& body) {
  bench_settle();
  return flops * 1e-9 / bench_best_seconds(3, body, bench_clock);
}

// The machine's double-precision peak for the CPU type and thread count (0 if unknown).
double peak = 0;

void line(const char* name, int n, int k, double ours, double peer) {
  std::printf("%s-n%d-k%d %.2f %.2f %.3f\n", name, n, k, ours, peer, peer > 0 ? ours / peer : 0.0);
  if (peak > 0) std::printf("# %s-n%d-k%d ours at %.2f of the peak\n", name, n, k, ours / peak);
  std::fflush(stdout);
}

// op(A) is n by k; A stored n by k (trans N).
void dsyrk_case(const std::vector<peer>& peers, int n, int k) {
  const std::vector<double> a = filled<double>(static_cast<std::size_t>(n) * k, 1);
  std::vector<double> c = filled<double>(static_cast<std::size_t>(n) * n, 2);
  const vrx_int vn = n, vk = k;
  const double one = 1.0, beta = 0.5;
  const double flops = static_cast<double>(n) * (n + 1) * k;
  const double ours = gflops(flops, [&] { DSYRK("L", "N", &vn, &vk, &one, a.data(), &vn, &beta, c.data(), &vn); });
  double best = 0;
  for (const peer& p : peers)
    if (p.dsyrk) {
      const double s = gflops(flops, [&] { p.dsyrk(col_major, lower, no_trans, n, k, 1.0, a.data(), n, 0.5, c.data(), n); });
      if (s > best) best = s;
    }
  line("DSYRK-LN", n, k, ours, best);
  // Our DGEMM on the same operands, C := A A^T + beta C over all of C.
  const double dgemm = gflops(2.0 * n * static_cast<double>(n) * k, [&] {
    vrx_blas_dgemm("N", "T", &vn, &vn, &vk, &one, a.data(), &vn, a.data(), &vn, &beta, c.data(), &vn);
  });
  line("DSYRK-LN-vs-dgemm", n, k, ours, dgemm);
}

void dsyr2k_case(const std::vector<peer>& peers, int n, int k) {
  const std::vector<double> a = filled<double>(static_cast<std::size_t>(n) * k, 3), b = filled<double>(a.size(), 4);
  std::vector<double> c = filled<double>(static_cast<std::size_t>(n) * n, 5);
  const vrx_int vn = n, vk = k;
  const double one = 1.0, beta = 0.5;
  const double flops = 2.0 * n * (n + 1) * static_cast<double>(k);
  const double ours = gflops(flops, [&] {
    DSYR2K("L", "N", &vn, &vk, &one, a.data(), &vn, b.data(), &vn, &beta, c.data(), &vn);
  });
  double best = 0;
  for (const peer& p : peers)
    if (p.dsyr2k) {
      const double s = gflops(flops, [&] {
        p.dsyr2k(col_major, lower, no_trans, n, k, 1.0, a.data(), n, b.data(), n, 0.5, c.data(), n);
      });
      if (s > best) best = s;
    }
  line("DSYR2K-LN", n, k, ours, best);
}

void zherk_case(const std::vector<peer>& peers, int n, int k) {
  const std::vector<vrx_complex_double> a = filled<vrx_complex_double>(static_cast<std::size_t>(n) * k, 6);
  std::vector<vrx_complex_double> c = filled<vrx_complex_double>(static_cast<std::size_t>(n) * n, 7);
  const vrx_int vn = n, vk = k;
  const double one = 1.0, beta = 0.5;
  const double flops = 4.0 * n * (n + 1) * static_cast<double>(k);
  const double ours = gflops(flops, [&] { ZHERK("L", "N", &vn, &vk, &one, a.data(), &vn, &beta, c.data(), &vn); });
  double best = 0;
  for (const peer& p : peers)
    if (p.zherk) {
      const double s =
          gflops(flops, [&] { p.zherk(col_major, lower, no_trans, n, k, 1.0, a.data(), n, 0.5, c.data(), n); });
      if (s > best) best = s;
    }
  line("ZHERK-LN", n, k, ours, best);
}
}  // namespace

int main(int argc, char** argv) {
  const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  const char* only = argc > 2 ? argv[2] : nullptr;  // run only the case of this number
  const int threads = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  const std::vector<peer> peers = load_peers(threads);
  if (threads == 1) bench_clock = bench_thread_cpu_now;
  const int n = quick ? 2000 : 4000, cpu = vrx_serv_cpu_detect();
  peak = threads * (cpu >= VRX_CPU_AVX2 ? bench_fma_peak_cpu_time(cpu, false) : bench_measure_peak_for_type(cpu));
  std::printf("# CPU type %d, %d threads, peak %.1f GFLOPS\ncase ours best_peer ratio\n", cpu, threads, peak);
  const auto wanted = [&](int number) { return !only || std::atoi(only) == number; };
  if (wanted(1)) dsyrk_case(peers, n, n);
  if (wanted(2)) dsyrk_case(peers, n, 256);
  if (wanted(3)) dsyr2k_case(peers, n, quick ? n : 1000);
  if (wanted(4)) zherk_case(peers, quick ? 1000 : 2000, quick ? 1000 : 2000);
  return 0;
}
