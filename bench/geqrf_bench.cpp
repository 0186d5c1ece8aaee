// Speed of the QR factorisation (our DGEQRF through its engine entry) beside the peers'
// dgeqrf (OpenBLAS's own, the published LAPACK over BLIS, libflame) and beside our DGEMM
// of the same shape (m by n by n). Each configuration (CPU type 7 or 0, one or two
// threads) runs in a child process; A is restored before every timed call.
//   geqrf_bench [--full]     4000 by 4000 and 10000 by 1000; --full adds 8000 by 8000
// Prints "case ours best_peer ratio", then our rate over our DGEMM's; GFLOPS by the wall
// clock, 2 m n^2 - 2 n^3 / 3 floating-point operations.
#include <dlfcn.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_blas.h"
#include "lapack/vrx_lapack.h"

namespace {
typedef void (*fortran_geqrf_fn)(const int* m, const int* n, double* a, const int* lda, double* tau, double* work,
                                 const int* lwork, int* info);

std::vector<double> random_matrix(int m, int n) {
  std::vector<double> a(static_cast<std::size_t>(m) * n);
  uint64_t state = 5;
  for (double& x : a) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    x = static_cast<double>((state >> 40) % 2001) / 1000.0 - 1.0;
  }
  return a;
}

double dgemm_rate(int m, int n) {
  const std::vector<double> a = random_matrix(m, n), b = random_matrix(n, n), c0 = random_matrix(m, n);
  std::vector<double> c;
  const vrx_int vm = m, vn = n;
  const double one = 1.0;
  const double flops = 2.0 * m * static_cast<double>(n) * n;
  return flops * 1e-9 / bench_best_restored(flops > 6e10 ? 1 : 3, [&] { c = c0; }, [&] {
    vrx_blas_dgemm("N", "N", &vm, &vn, &vn, &one, a.data(), &vm, b.data(), &vn, &one, c.data(), &vm);
  });
}

void run(bool full, int type, int threads) {
  std::vector<std::pair<std::string, fortran_geqrf_fn>> peers;
  for (const bench_peer_library& library : bench_open_lapack_peers(threads))
    if (auto fn = reinterpret_cast<fortran_geqrf_fn>(dlsym(library.handle, "dgeqrf_")))
      peers.push_back({library.name, fn});
  std::vector<std::pair<int, int>> shapes = {{4000, 4000}, {10000, 1000}};
  if (full) shapes.push_back({8000, 8000});
  for (const auto& [m, n] : shapes) {
    const double reference = dgemm_rate(m, n);
    const std::vector<double> a0 = random_matrix(m, n);
    std::vector<double> a, tau(static_cast<std::size_t>(n));
    const double flops = 2.0 * m * static_cast<double>(n) * n - 2.0 * n * static_cast<double>(n) * n / 3.0;
    const int repeats = flops > 1e11 ? 1 : 2;
    const vrx_int vm = m, vn = n, query = -1;
    vrx_int info = 0;
    double asked = 0;
    vrx_lapack_DGEQRF(&vm, &vn, a.data(), &vm, tau.data(), &asked, &query, &info);
    std::vector<double> work(static_cast<std::size_t>(asked));
    const vrx_int lwork = static_cast<vrx_int>(work.size());
    const double ours = flops * 1e-9 / bench_best_restored(repeats, [&] { a = a0; }, [&] {
      vrx_lapack_DGEQRF(&vm, &vn, a.data(), &vm, tau.data(), work.data(), &lwork, &info);
    });
    double best_peer = 0;
    std::string best_name = "-";
    for (const auto& p : peers) {
      bench_settle();
      int im = m, in = n, peer_info = 0, peer_query = -1;
      double peer_asked = 0;
      p.second(&im, &in, a.data(), &im, tau.data(), &peer_asked, &peer_query, &peer_info);
      std::vector<double> peer_work(static_cast<std::size_t>(peer_asked) + 1);
      const int peer_lwork = static_cast<int>(peer_work.size());
      const double rate = flops * 1e-9 / bench_best_restored(repeats, [&] { a = a0; }, [&] {
        p.second(&im, &in, a.data(), &im, tau.data(), peer_work.data(), &peer_lwork, &peer_info);
      });
      std::printf("#   %s %.2f\n", p.first.c_str(), rate);
      if (rate > best_peer) {
        best_peer = rate;
        best_name = p.first;
      }
    }
    std::printf("DGEQRF-%dx%d-type%d-t%d %.2f %.2f %.3f (%s) of_dgemm %.3f\n", m, n, type, threads, ours, best_peer,
                best_peer > 0 ? ours / best_peer : 0.0, best_name.c_str(), reference > 0 ? ours / reference : 0.0);
    std::fflush(stdout);
  }
}
}  // namespace

int main(int argc, char** argv) { return bench_main_per_type_and_threads(argc, argv, run); }
