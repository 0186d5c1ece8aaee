// DGEMV of 4000 by 4000, both transpositions, one and two threads: ours (the dispatched
// sequential routine, each class's kernel, and the threaded form) beside OpenBLAS,
// in GB/s of matrix traffic and as a ratio.
#include <dlfcn.h>
#include <cstdio>
#include <vector>
#include "bench/support/bench_support.h"
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"

namespace {
typedef void (*peer_dgemv_fn)(int, int, int, int, double, const double*, int, const double*, int, double, double*,
                              int);
typedef void (*peer_threads_fn)(int);
constexpr vrx_int n = 4000;
constexpr int repeats = 10;

double gbs(double seconds) { return 8.0 * n * n / seconds / 1e9; }
}  // namespace

int main() {
  std::vector<double> a(n * n), x(n, 1.0), y(n, 0.0);
  for (std::size_t i = 0; i < a.size(); ++i) a[i] = static_cast<double>(i % 17) * 0.125;
  void* peer = dlopen(VRX_PEER_OPENBLAS, RTLD_NOW | RTLD_LOCAL);
  peer_dgemv_fn peer_gemv = peer ? reinterpret_cast<peer_dgemv_fn>(dlsym(peer, "cblas_dgemv")) : nullptr;
  peer_threads_fn peer_threads = peer ? reinterpret_cast<peer_threads_fn>(dlsym(peer, "openblas_set_num_threads")) : nullptr;

  const double alpha = 1.0, beta = 0.0;
  const vrx_int one = 1, ld = n, size = n;
  for (char trans : {'N', 'T'}) {
    const char letter[2] = {trans, 0};
    for (int threads : {1, 2}) {
      double ours = 0;
      if (threads == 1) {
        ours = bench_best_seconds(repeats, [&] {
          vrx_blas_dgemv_sequential(letter, &size, &size, &alpha, a.data(), &ld, x.data(), &one, &beta, y.data(), &one,
                                    &one);
        });
      } else {
        ours = bench_best_seconds(repeats, [&] {
          vrx_blas_dgemv_threaded(threads, letter, &size, &size, &alpha, a.data(), &ld, x.data(), &one, &beta,
                                  y.data(), &one);
        });
      }
      double theirs = 0;
      if (peer_gemv && peer_threads) {
        peer_threads(threads);
        theirs = bench_best_seconds(repeats, [&] {
          peer_gemv(102, trans == 'N' ? 111 : 112, n, n, 1.0, a.data(), n, x.data(), 1, 0.0, y.data(), 1);
        });
      }
      std::printf("dgemv %c %d thread%s: ours %.2f GB/s, OpenBLAS %.2f GB/s, ratio %.2f\n", trans, threads,
                  threads > 1 ? "s" : " ", gbs(ours), theirs ? gbs(theirs) : 0.0, theirs ? theirs / ours : 0.0);
    }
    // Each class's kernel alone, one thread.
    struct {
      const char* name;
      const vrx_level2_kernels<double>* k;
      bool runs;
    } classes[] = {{"sse2", &vrx_blas_level2_d_sse2, true},
                   {"avx2", &vrx_blas_level2_d_avx2, __builtin_cpu_supports("avx2") != 0},
                   {"avx512", &vrx_blas_level2_d_avx512, __builtin_cpu_supports("avx512f") != 0}};
    for (const auto& c : classes) {
      if (!c.runs) continue;
      const double t = bench_best_seconds(repeats, [&] {
        if (trans == 'N') c.k->gemv_n(n, n, 1.0, a.data(), n, x.data(), 1, y.data());
        else c.k->gemv_t(n, n, 1.0, a.data(), n, x.data(), y.data(), 1);
      });
      std::printf("  kernel %-6s %c: %.2f GB/s\n", c.name, trans, gbs(t));
    }
  }
  return 0;
}
