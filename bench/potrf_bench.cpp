// Speed of the Cholesky factorisation through LAPACKE_dpotrf (column-major, lower)
// beside the peers' dpotrf (OpenBLAS's own, the published LAPACK over BLIS, libflame)
// and beside our DGEMM of the same order. Each configuration (CPU type 7 or 0, one or
// two threads) runs in a child process.
//   potrf_bench [--full]     orders 500, 1000 and 4000; --full adds 8000
// Prints "case ours best_peer ratio", then our rate over our DGEMM's; GFLOPS by the wall
// clock, n^3 / 3 floating-point operations.
#include <dlfcn.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_blas.h"
#include "customvrx.h"

namespace {
typedef void (*fortran_potrf_fn)(const char* uplo, const int* n, double* a, const int* lda, int* info, long uplo_len);

// Symmetric with a dominant diagonal, so positive definite.
std::vector<double> spd_matrix(int n) {
  std::vector<double> a(static_cast<std::size_t>(n) * n);
  uint64_t state = 3;
  for (int j = 0; j < n; ++j)
    for (int i = j; i < n; ++i) {
      state = state * 6364136223846793005ull + 1442695040888963407ull;
      const double v = i == j ? n + 1.0 : static_cast<double>((state >> 40) % 2001) / 1000.0 - 1.0;
      a[static_cast<std::size_t>(j) * n + i] = v;
      a[static_cast<std::size_t>(i) * n + j] = v;
    }
  return a;
}

double dgemm_rate(int n) {
  std::vector<double> a = spd_matrix(n), c0(a.size()), c;
  const vrx_int order = n;
  const double one = 1.0;
  const double flops = 2.0 * n * static_cast<double>(n) * n;
  return flops * 1e-9 / bench_best_restored(flops > 6e10 ? 1 : 3, [&] { c = c0; }, [&] {
    vrx_blas_dgemm("N", "N", &order, &order, &order, &one, a.data(), &order, a.data(), &order, &one, c.data(), &order);
  });
}

void run(bool full, int type, int threads) {
  std::vector<std::pair<std::string, fortran_potrf_fn>> peers;
  for (const bench_peer_library& library : bench_open_lapack_peers(threads))
    if (auto fn = reinterpret_cast<fortran_potrf_fn>(dlsym(library.handle, "dpotrf_")))
      peers.push_back({library.name, fn});
  std::vector<int> orders = {500, 1000, 4000};
  if (full) orders.push_back(8000);
  for (int n : orders) {
    const double reference = dgemm_rate(n);
    const std::vector<double> a0 = spd_matrix(n);
    std::vector<double> a;
    const double flops = n * static_cast<double>(n) * n / 3.0;
    const int repeats = flops > 1e11 ? 1 : flops > 1e9 ? 3 : 10;
    const double ours = flops * 1e-9 / bench_best_restored(repeats, [&] { a = a0; }, [&] {
      LAPACKE_dpotrf(LAPACK_COL_MAJOR, 'L', n, a.data(), n);
    });
    double best_peer = 0;
    std::string best_name = "-";
    for (const auto& p : peers) {
      bench_settle();
      int info = 0;
      const double rate = flops * 1e-9 / bench_best_restored(repeats, [&] { a = a0; }, [&] { p.second("L", &n, a.data(), &n, &info, 1); });
      std::printf("#   %s %.2f\n", p.first.c_str(), rate);
      if (rate > best_peer) {
        best_peer = rate;
        best_name = p.first;
      }
    }
    std::printf("DPOTRF-%d-type%d-t%d %.2f %.2f %.3f (%s) of_dgemm %.3f\n", n, type, threads, ours, best_peer,
                best_peer > 0 ? ours / best_peer : 0.0, best_name.c_str(), reference > 0 ? ours / reference : 0.0);
    std::fflush(stdout);
  }
}
}  // namespace

int main(int argc, char** argv) { return bench_main_per_type_and_threads(argc, argv, run); }
