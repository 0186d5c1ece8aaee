// Speed of the least-squares solver through LAPACKE_dgels beside the peers' dgels
// (OpenBLAS's own LAPACK, the published LAPACK over BLIS, libflame where it has one), each
// peer asked for its workspace and given it inside the timed call as LAPACKE does. Each
// configuration (CPU type 7 or 0, one or two threads) runs in a child process.
//   gels_bench [--full]     4000 by 1000 with 100 right-hand sides, column-major;
//                           --full adds the row-major layout and a single right-hand side
// The peers take column-major data, so beside a row-major call they time their own
// column-major solve. Prints "case ours best_peer ratio" with times in seconds: the ratio
// is our time over the best peer's, below 1 when we are faster. Then our rate in GFLOPS
// by the wall clock, counting 2 m n^2 - 2 n^3 / 3 for the factorisation, 4 m n k - 2 n^2 k for the product
// with Q and n^2 k for the triangular solve.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "customvrx.h"

namespace {
typedef void (*fortran_gels_fn)(const char* trans, const int* m, const int* n, const int* nrhs, double* a,
                                const int* lda, double* b, const int* ldb, double* work, const int* lwork, int* info,
                                long trans_len);

std::vector<double> random_matrix(int rows, int cols, uint64_t state) {
  std::vector<double> a(static_cast<std::size_t>(rows) * cols);
  for (double& x : a) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    x = static_cast<double>((state >> 40) % 2001) / 1000.0 - 1.0;
  }
  return a;
}

// A peer's solve with its workspace asked for and allocated, as the LAPACKE layer would.
void peer_solve(fortran_gels_fn gels, int m, int n, int nrhs, double* a, double* b) {
  int info = 0, query = -1;
  double size = 0;
  gels("N", &m, &n, &nrhs, a, &m, b, &m, &size, &query, &info, 1);
  int lwork = static_cast<int>(size);
  std::vector<double> work(static_cast<std::size_t>(lwork));
  gels("N", &m, &n, &nrhs, a, &m, b, &m, work.data(), &lwork, &info, 1);
}

// One solve of m by n with nrhs right-hand sides in `layout`, ours beside each peer.
void run_case(int layout, int m, int n, int nrhs, const std::vector<std::pair<std::string, fortran_gels_fn>>& peers,
              int type, int threads) {
  const std::vector<double> a0 = random_matrix(m, n, 5), b0 = random_matrix(m, nrhs, 9);
  std::vector<double> a, b;
  const auto restore = [&] {
    a = a0;
    b = b0;
  };
  const int repeats = 3;
  const bool columns = layout == LAPACK_COL_MAJOR;
  bench_settle();
  const double ours = bench_best_restored(repeats, restore, [&] {
    LAPACKE_dgels(layout, 'N', m, n, nrhs, a.data(), columns ? m : n, b.data(), columns ? m : nrhs);
  });
  double best_peer = 0;
  std::string best_name = "-";
  for (const auto& p : peers) {
    bench_settle();
    const double t =
        bench_best_restored(repeats, restore, [&] { peer_solve(p.second, m, n, nrhs, a.data(), b.data()); });
    std::printf("#   %s %.4f\n", p.first.c_str(), t);
    if (best_peer == 0 || t < best_peer) {
      best_peer = t;
      best_name = p.first;
    }
  }
  const double dm = m, dn = n, dk = nrhs;
  const double flops = 2 * dm * dn * dn - 2 * dn * dn * dn / 3 + 4 * dm * dn * dk - 2 * dn * dn * dk + dn * dn * dk;
  std::printf("DGELS-%s-%dx%d-nrhs%d-type%d-t%d %.4f %.4f %.3f (%s) gflops %.2f\n", columns ? "col" : "row", m, n,
              nrhs, type, threads, ours, best_peer, best_peer > 0 ? ours / best_peer : 0.0, best_name.c_str(),
              flops * 1e-9 / ours);
  std::fflush(stdout);
}

void run(bool full, int type, int threads) {
  std::vector<std::pair<std::string, fortran_gels_fn>> peers;
  for (const bench_peer_library& library : bench_open_lapack_peers(threads))
    if (auto fn = reinterpret_cast<fortran_gels_fn>(dlsym(library.handle, "dgels_")))
      peers.push_back({library.name, fn});
  run_case(LAPACK_COL_MAJOR, 4000, 1000, 100, peers, type, threads);
  if (!full) return;
  run_case(LAPACK_ROW_MAJOR, 4000, 1000, 100, peers, type, threads);
  run_case(LAPACK_COL_MAJOR, 4000, 1000, 1, peers, type, threads);
}
}  // namespace

int main(int argc, char** argv) { return bench_main_per_type_and_threads(argc, argv, run); }
