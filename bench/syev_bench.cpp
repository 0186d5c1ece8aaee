// Speed of the symmetric eigenproblem through LAPACKE_dsyev (column-major, lower) beside
// the peers' dsyev (OpenBLAS's own LAPACK, the published LAPACK over BLIS, libflame) and,
// for eigenvalues alone, beside the published two-stage dsyev_2stage of the same
// libraries. Each configuration (CPU type 7 or 0, one or two threads) runs in a child
// process.
//   syev_bench [--full]     jobz N and V at order 2000; --full adds jobz N at 4000
// Prints "case ours best_peer ratio" with times in seconds (eigenvalues: best of two runs
// after a warm-up; vectors: one run, the peers' take most of a minute); the ratio is the
// best peer's time over ours, so above 1 means we are faster.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "customvrx.h"

namespace {
typedef void (*fortran_syev_fn)(const char* jobz, const char* uplo, const int* n, double* a, const int* lda,
                                double* w, double* work, const int* lwork, int* info, long jobz_len, long uplo_len);

std::vector<double> symmetric_matrix(int n) {
  std::vector<double> a(static_cast<std::size_t>(n) * n);
  uint64_t state = 5;
  for (int j = 0; j < n; ++j)
    for (int i = j; i < n; ++i) {
      state = state * 6364136223846793005ull + 1442695040888963407ull;
      const double v = static_cast<double>((state >> 40) % 2001) / 1000.0 - 1.0;
      a[static_cast<std::size_t>(j) * n + i] = v;
      a[static_cast<std::size_t>(i) * n + j] = v;
    }
  return a;
}

struct contender {
  std::string name;
  fortran_syev_fn syev;
};

// Best of two timed runs after a warm-up for eigenvalues, a single run for vectors.
template <typename Restore, typename Call>
double seconds_of(char jobz, Restore&& restore, Call&& call) {
  if (jobz == 'N') return bench_best_restored(2, restore, call);
  restore();
  const double start = bench_now();
  call();
  return bench_now() - start;
}

double peer_seconds(const contender& c, char jobz, int n, const std::vector<double>& a0) {
  std::vector<double> a, w(n);
  const int lda = n, query = -1;
  int info = 0;
  double size = 0;
  c.syev(&jobz, "L", &n, a.data(), &lda, w.data(), &size, &query, &info, 1, 1);
  const int lwork = static_cast<int>(size);
  std::vector<double> work(static_cast<std::size_t>(lwork > 1 ? lwork : 1));
  bench_settle();
  return seconds_of(jobz, [&] { a = a0; }, [&] {
    c.syev(&jobz, "L", &n, a.data(), &lda, w.data(), work.data(), &lwork, &info, 1, 1);
  });
}

void run(bool full, int type, int threads) {
  std::vector<contender> plain, two_stage;
  for (const bench_peer_library& library : bench_open_lapack_peers(threads)) {
    if (auto fn = reinterpret_cast<fortran_syev_fn>(dlsym(library.handle, "dsyev_")))
      plain.push_back({library.name, fn});
    if (auto fn = reinterpret_cast<fortran_syev_fn>(dlsym(library.handle, "dsyev_2stage_")))
      two_stage.push_back({std::string(library.name) + " 2stage", fn});
  }
  struct job {
    char jobz;
    int n;
  };
  std::vector<job> jobs = {{'N', 2000}, {'V', 2000}};
  if (full) jobs.push_back({'N', 4000});
  for (const job& j : jobs) {
    const std::vector<double> a0 = symmetric_matrix(j.n);
    std::vector<double> a, w(j.n);
    const double ours = seconds_of(j.jobz, [&] { a = a0; }, [&] {
      LAPACKE_dsyev(LAPACK_COL_MAJOR, j.jobz, 'L', j.n, a.data(), j.n, w.data());
    });
    double best_peer = 0;
    std::string best_name = "-";
    std::vector<contender> peers = plain;
    if (j.jobz == 'N') peers.insert(peers.end(), two_stage.begin(), two_stage.end());
    for (const contender& c : peers) {
      const double seconds = peer_seconds(c, j.jobz, j.n, a0);
      std::printf("#   %s %.3f\n", c.name.c_str(), seconds);
      if (best_peer == 0 || seconds < best_peer) {
        best_peer = seconds;
        best_name = c.name;
      }
    }
    std::printf("DSYEV-%c-%d-type%d-t%d %.3f %.3f %.3f (%s)\n", j.jobz, j.n, type, threads, ours, best_peer,
                best_peer > 0 ? best_peer / ours : 0.0, best_name.c_str());
    std::fflush(stdout);
  }
}
}  // namespace

int main(int argc, char** argv) { return bench_main_per_type_and_threads(argc, argv, run); }
