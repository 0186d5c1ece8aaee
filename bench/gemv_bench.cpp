// DGEMV of 4000 by 4000, both transpositions, one and two threads: ours beside OpenBLAS,
// in GB/s of matrix traffic and as the ratio ours/OpenBLAS (above 1: ours is faster).
// The contenders take turns over several sweeps and each keeps its best time, so a burst
// of other load on the machine hits all of them alike.
// One thread: the sequential routine (the dispatched kernel of this CPU type behind the
// beta and stride handling) and each class's kernel alone, to show what the path costs.
// Two threads: the threaded form (the split of the output among the threads).
#include <dlfcn.h>
#include <cstdio>
#include <functional>
#include <vector>
#include "bench/support/bench_support.h"
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "service/vrx_cpu.h"

namespace {
typedef void (*peer_dgemv_fn)(int, int, int, int, double, const double*, int, const double*, int, double, double*,
                              int);
typedef void (*peer_threads_fn)(int);
constexpr vrx_int n = 4000;
constexpr int sweeps = 3, repeats = 6;

double gbs(double seconds) { return 8.0 * n * n / seconds / 1e9; }

// Best time of each body over several sweeps: in each sweep every body runs `repeats`
// times in a row once the previous body's idle threads have gone quiet.
std::vector<double> best_of_sweeps(const std::vector<std::function<void()>>& bodies) {
  std::vector<double> best(bodies.size(), 1e300);
  for (int sweep = 0; sweep < sweeps; ++sweep)
    for (std::size_t k = 0; k < bodies.size(); ++k) {
      bench_settle();
      const double t = bench_best_seconds(repeats, bodies[k]);
      if (t < best[k]) best[k] = t;
    }
  return best;
}
}  // namespace

int main() {
  std::vector<double> a(n * n), x(n, 1.0), y(n, 0.0);
  for (std::size_t i = 0; i < a.size(); ++i) a[i] = static_cast<double>(i % 17) * 0.125;
  void* peer = dlopen(VRX_PEER_OPENBLAS, RTLD_NOW | RTLD_LOCAL);
  peer_dgemv_fn peer_gemv = peer ? reinterpret_cast<peer_dgemv_fn>(dlsym(peer, "cblas_dgemv")) : nullptr;
  peer_threads_fn peer_threads = peer ? reinterpret_cast<peer_threads_fn>(dlsym(peer, "openblas_set_num_threads")) : nullptr;
  const bool have_peer = peer_gemv && peer_threads;
  std::printf("CPU type %d; best of %d sweeps of %d runs\n", vrx_serv_cpu_detect(), sweeps, repeats);

  const double alpha = 1.0, beta = 0.0;
  const vrx_int one = 1, ld = n, size = n;
  struct {
    const char* name;
    const vrx_level2_kernels<double>* k;
    bool runs;
  } classes[] = {{"sse2", &vrx_blas_level2_d_sse2, true},
                 {"avx2", &vrx_blas_level2_d_avx2, __builtin_cpu_supports("avx2") != 0},
                 {"avx512", &vrx_blas_level2_d_avx512, __builtin_cpu_supports("avx512f") != 0}};
  for (char trans : {'N', 'T'}) {
    const char letter[2] = {trans, 0};
    auto peer_run = [&](int threads) {
      return [&, threads] {
        peer_threads(threads);
        peer_gemv(102, trans == 'N' ? 111 : 112, n, n, 1.0, a.data(), n, x.data(), 1, 0.0, y.data(), 1);
      };
    };
    std::vector<std::function<void()>> bodies = {
        [&] {
          vrx_blas_dgemv_sequential(letter, &size, &size, &alpha, a.data(), &ld, x.data(), &one, &beta, y.data(),
                                    &one, &one);
        },
        [&] {
          vrx_blas_dgemv_threaded(2, letter, &size, &size, &alpha, a.data(), &ld, x.data(), &one, &beta, y.data(),
                                  &one);
        }};
    if (have_peer) {
      bodies.push_back(peer_run(1));
      bodies.push_back(peer_run(2));
    }
    for (const auto& c : classes)
      if (c.runs)
        bodies.push_back([&] {
          if (trans == 'N') c.k->gemv_n(n, n, 1.0, a.data(), n, x.data(), 1, y.data());
          else c.k->gemv_t(n, n, 1.0, a.data(), n, x.data(), y.data(), 1);
        });
    const std::vector<double> t = best_of_sweeps(bodies);
    for (int threads : {1, 2}) {
      const double ours = t[threads - 1], theirs = have_peer ? t[threads + 1] : 0.0;
      std::printf("dgemv %c %d thread%s: ours %.2f GB/s, OpenBLAS %.2f GB/s, ours/OpenBLAS %.2f\n", trans, threads,
                  threads > 1 ? "s" : " ", gbs(ours), theirs ? gbs(theirs) : 0.0, theirs ? theirs / ours : 0.0);
    }
    std::size_t next = have_peer ? 4 : 2;
    for (const auto& c : classes)
      if (c.runs) std::printf("  kernel %-6s %c: %.2f GB/s\n", c.name, trans, gbs(t[next++]));
  }
  return 0;
}
