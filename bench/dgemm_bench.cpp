// DGEMM speed: ours under every CPU type this processor can run, beside OpenBLAS
// and BLIS at their best, one thread, as GFLOPS, fraction of the class peak and ratio.
//   bench_dgemm [--full]      --full adds order 4000 and the skinny shapes
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "include/customvrx.h"

namespace {
struct shape {
  int m, n, k;
  CBLAS_TRANSPOSE ta, tb;
};

std::vector<shape> shapes(bool full) {
  std::vector<shape> list;
  for (int s : {4, 8, 16, 32, 64, 100}) list.push_back({s, s, s, CblasNoTrans, CblasNoTrans});
  std::vector<int> squares = {500, 1000, 2000};
  if (full) squares.push_back(4000);
  for (int s : squares) list.push_back({s, s, s, CblasNoTrans, CblasNoTrans});
  for (auto [ta, tb] : {std::pair{CblasTrans, CblasNoTrans}, {CblasNoTrans, CblasTrans}, {CblasTrans, CblasTrans}})
    list.push_back({1000, 1000, 1000, ta, tb});
  if (full) {
    list.push_back({4000, 4000, 64, CblasNoTrans, CblasNoTrans});
    list.push_back({4000, 64, 4000, CblasNoTrans, CblasNoTrans});
  }
  return list;
}

const char* letter(CBLAS_TRANSPOSE t) { return t == CblasNoTrans ? "N" : "T"; }

// GFLOPS of one shape; small products are timed in batches.
double measure(bench_cblas_dgemm_fn dgemm, const shape& s) {
  const int lda = s.ta == CblasNoTrans ? s.m : s.k, ldb = s.tb == CblasNoTrans ? s.k : s.n;
  std::vector<double> a(static_cast<size_t>(lda) * (s.ta == CblasNoTrans ? s.k : s.m), 0.5);
  std::vector<double> b(static_cast<size_t>(ldb) * (s.tb == CblasNoTrans ? s.n : s.k), 0.25);
  std::vector<double> c(static_cast<size_t>(s.m) * s.n, 0.0);
  for (size_t i = 0; i < a.size(); ++i) a[i] = static_cast<double>(i % 17) * 0.1 - 0.8;
  const double flops = 2.0 * s.m * s.n * s.k;
  const int batch = flops < 1e8 ? static_cast<int>(1e8 / flops) + 1 : 1;
  const double seconds = bench_best_seconds(flops < 1e10 ? 5 : 2, [&] {
    for (int i = 0; i < batch; ++i)
      dgemm(CblasColMajor, s.ta, s.tb, s.m, s.n, s.k, 1.0, a.data(), lda, b.data(), ldb, 1.0, c.data(), s.m);
  });
  return flops * batch / seconds * 1e-9;
}

void ours(int, int ta, int tb, int m, int n, int k, double alpha, const double* a, int lda, const double* b, int ldb,
          double beta, double* c, int ldc) {
  cblas_dgemm(CblasColMajor, static_cast<CBLAS_TRANSPOSE>(ta), static_cast<CBLAS_TRANSPOSE>(tb), m, n, k, alpha, a,
              lda, b, ldb, beta, c, ldc);
}
}  // namespace

int main(int argc, char** argv) {
  bool full = false, worker = false;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--full")) full = true;
    if (!std::strcmp(argv[i], "--worker")) worker = true;
  }
  const std::vector<shape> list = shapes(full);
  if (worker) {
    // Runs under a forced CPU type: one GFLOPS figure per line, then the class peak
    // measured in this process before and after them (the larger), so that the
    // fraction of peak is taken at the clock these products ran at.
    const char* forced = std::getenv("VRX_DEBUG_CPU_TYPE");
    const int type = forced ? std::atoi(forced) : 0;
    const double peak_before = bench_measure_peak_for_type(type);
    for (const shape& s : list) std::printf("%.3f\n", measure(ours, s));
    const double peak_after = bench_measure_peak_for_type(type);
    std::printf("%.3f\n", peak_before > peak_after ? peak_before : peak_after);
    return 0;
  }

  const bench_peaks peaks = bench_measure_peaks();
  std::printf("single-core peaks at start (GFLOPS): 128-bit mul+add %.1f, 256-bit mul+add %.1f, AVX2 FMA %.1f, AVX-512 FMA %.1f\n",
              peaks.sse2_mul_add, peaks.avx_mul_add, peaks.avx2_fma, peaks.avx512_fma);
  const std::vector<bench_peer> peers = bench_load_peers();
  std::vector<std::vector<double>> peer_rates(peers.size());
  for (size_t p = 0; p < peers.size(); ++p)
    for (const shape& s : list) peer_rates[p].push_back(peers[p].dgemm ? measure(peers[p].dgemm, s) : 0.0);

  std::printf("\n%-6s %-18s %9s %7s", "type", "shape", "ours", "%peak");
  for (const bench_peer& p : peers) std::printf(" %9s", p.name);
  std::printf(" %11s\n", "ours/best");
  std::vector<std::string> worker_args = {"--worker"};
  if (full) worker_args.push_back("--full");
  for (int type : {0, 2, 3, 4, 5, 7}) {
    if (!bench_cpu_can_run_type(type)) continue;
    const std::string out = bench_rerun_self(
        worker_args, {"VRX_DEBUG_CPU_TYPE=" + std::to_string(type), "VRX_NUM_THREADS=1",
                      std::string(type == 7 ? "VRX_ENABLE_INSTRUCTIONS=AVX512" : "VRX_ENABLE_INSTRUCTIONS=")});
    std::vector<double> rates;
    for (const char* cursor = out.c_str();;) {
      char* end = nullptr;
      const double value = std::strtod(cursor, &end);
      if (end == cursor) break;
      rates.push_back(value);
      cursor = end;
    }
    if (rates.size() != list.size() + 1) continue;
    const double peak = rates.back();
    std::printf("%-6d (class peak in this run: %.1f GFLOPS)\n", type, peak);
    for (size_t i = 0; i < list.size(); ++i) {
      const double rate = rates[i];
      const shape& s = list[i];
      char name[64];
      std::snprintf(name, sizeof name, "%s%s %dx%dx%d", letter(s.ta), letter(s.tb), s.m, s.n, s.k);
      double best_peer = 0.0;
      std::printf("%-6d %-18s %9.2f %6.1f%%", type, name, rate, 100.0 * rate / peak);
      for (size_t p = 0; p < peers.size(); ++p) {
        std::printf(" %9.2f", peer_rates[p][i]);
        if (peer_rates[p][i] > best_peer) best_peer = peer_rates[p][i];
      }
      std::printf(" %11.2f\n", best_peer > 0 ? rate / best_peer : 0.0);
    }
  }
  return 0;
}
