// Speed of the implicit tridiagonal iteration with eigenvectors (DSTEQR, compz "I") beside
// the peers' dsteqr (OpenBLAS's own LAPACK, the published LAPACK over BLIS, libflame), and
// of the rotation engine applying 32 sweeps of rotations to a square Z as one batch
// against one sweep at a time. Each configuration (CPU type 7 or 0, one or two threads)
// runs in a child process.
//   steqr_bench [--full]    order 1000; --full adds 2000
// Prints "case ours best_peer ratio" with times in seconds (best of two runs after a
// warm-up), the one-sweep-at-a-time engine standing as the peer of the batch; the ratio
// is the peer's time over ours, so above 1 means we are faster.
#include <dlfcn.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_support.h"
#include "lapack/syev/vrx_rotations.h"
#include "lapack/syev/vrx_syev.h"

namespace {
typedef void (*fortran_steqr_fn)(const char* compz, const int* n, double* d, double* e, double* z, const int* ldz,
                                 double* work, int* info, long compz_len);

std::vector<double> wave(std::size_t count, double step) {
  std::vector<double> v(count);
  for (std::size_t i = 0; i < count; ++i) v[i] = std::sin(step * static_cast<double>(i) + 0.3);
  return v;
}

void report(const std::string& name, double ours, double other, const std::string& who) {
  std::printf("%s %.3f %.3f %.3f (%s)\n", name.c_str(), ours, other, other > 0 ? other / ours : 0.0, who.c_str());
  std::fflush(stdout);
}

void run(bool full, int type, int threads) {
  std::vector<int> orders = {1000};
  if (full) orders.push_back(2000);
  const std::string tag = "-type" + std::to_string(type) + "-t" + std::to_string(threads);
  for (const int n : orders) {
    const std::vector<double> d0 = wave(n, 1.3), e0 = wave(n, 0.7);
    std::vector<double> d, e, z(static_cast<std::size_t>(n) * n), work(2 * n);
    vrx_int info = 0;
    const double ours = bench_best_restored(2, [&] { d = d0, e = e0; }, [&] {
      vrx_lapack_steqr<double>("I", n, d.data(), e.data(), z.data(), n, work.data(), &info);
    });
    double best = 0;
    std::string best_name = "-";
    for (const bench_peer_library& library : bench_open_lapack_peers(threads)) {
      const auto steqr = reinterpret_cast<fortran_steqr_fn>(dlsym(library.handle, "dsteqr_"));
      if (!steqr) continue;
      int peer_info = 0;
      bench_settle();
      const double seconds = bench_best_restored(2, [&] { d = d0, e = e0; }, [&] {
        steqr("I", &n, d.data(), e.data(), z.data(), &n, work.data(), &peer_info, 1);
      });
      std::printf("#   %s %.3f\n", library.name, seconds);
      if (best == 0 || seconds < best) best = seconds, best_name = library.name;
    }
    report("DSTEQR-I-" + std::to_string(n) + tag, ours, best, best_name);

    const int sweeps = 32;
    const std::vector<double> c = wave(static_cast<std::size_t>(sweeps) * (n - 1), 0.9),
                              s = wave(static_cast<std::size_t>(sweeps) * (n - 1), 0.9 + 1.5707963);
    const std::vector<double> a0 = wave(static_cast<std::size_t>(n) * n, 0.1);
    std::vector<double> a;
    const double batch = bench_best_restored(2, [&] { a = a0; }, [&] {
      vrx_lapack_rotations_apply<double>("R", "V", "B", n, n, c.data(), s.data(), a.data(), n, sweeps, n - 1);
    });
    const double one_by_one = bench_best_restored(2, [&] { a = a0; }, [&] {
      for (int k = 0; k < sweeps; ++k)
        vrx_lapack_rotations_apply<double>("R", "V", "B", n, n, c.data() + k * (n - 1), s.data() + k * (n - 1),
                                           a.data(), n);
    });
    report("ROTATIONS-32-" + std::to_string(n) + tag, batch, one_by_one, "one sweep at a time");
  }
}
}  // namespace

int main(int argc, char** argv) { return bench_main_per_type_and_threads(argc, argv, run); }
