// Speed of the exported LU functions beside the published LAPACKE over OpenBLAS's LAPACK
// (the strongest peer's getrf here), and beside our engine's own DGETRF. Each
// configuration (CPU type 7 or 0, one or two threads) runs in a child process.
//   lapacke_bench [--order N]
//     LAPACKE_dgetrf of order 4000 (or N) column- and row-major, LAPACKE_dgetrs with
//     nrhs 1 and 100 on those factors, LAPACKE_dgetri of half the order.
// Prints "case ours best_peer ratio", then for getrf our rate over the engine's own.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "customvrx.h"
#include "lapack/vrx_lapack.h"

namespace {
typedef int (*getrf_fn)(int, int, int, double*, int, int*);
typedef int (*getrs_fn)(int, char, int, int, const double*, int, const int*, double*, int);
typedef int (*getri_fn)(int, int, double*, int, const int*);

struct lapacke {
  getrf_fn getrf;
  getrs_fn getrs;
  getri_fn getri;
};

// The published LAPACKE, its LAPACK and BLAS being OpenBLAS's (loaded first under the
// names LAPACKE asks for, after the thread settings).
lapacke load_peer(int threads) {
  bench_open_peers(threads);
  lapacke none = {nullptr, nullptr, nullptr};
  if (!dlopen("/usr/lib/x86_64-linux-gnu/openblas-openmp/libblas.so.3", RTLD_NOW | RTLD_GLOBAL)) return none;
  if (!dlopen("/usr/lib/x86_64-linux-gnu/openblas-openmp/liblapack.so.3", RTLD_NOW | RTLD_GLOBAL)) return none;
  void* handle = dlopen("liblapacke.so.3", RTLD_NOW | RTLD_LOCAL);
  if (!handle) return none;
  typedef void (*set_threads_fn)(int);
  if (auto set = reinterpret_cast<set_threads_fn>(dlsym(RTLD_DEFAULT, "openblas_set_num_threads"))) set(threads);
  return {reinterpret_cast<getrf_fn>(dlsym(handle, "LAPACKE_dgetrf")),
          reinterpret_cast<getrs_fn>(dlsym(handle, "LAPACKE_dgetrs")),
          reinterpret_cast<getri_fn>(dlsym(handle, "LAPACKE_dgetri"))};
}

std::vector<double> random_matrix(int n, int seed) {
  std::vector<double> a(static_cast<std::size_t>(n) * n);
  uint64_t state = seed;
  for (double& x : a) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    x = static_cast<double>((state >> 40) % 2001) / 1000.0 - 1.0;
  }
  return a;
}

void print(const std::string& name, double ours, double peer, const char* extra = "") {
  std::printf("%s %.2f %.2f %.3f%s\n", name.c_str(), ours, peer, peer > 0 ? ours / peer : 0.0, extra);
  std::fflush(stdout);
}

void run(int order, int type, int threads) {
  const lapacke peer = load_peer(threads);
  const std::string tag = "-type" + std::to_string(type) + "-t" + std::to_string(threads);
  const std::vector<double> a0 = random_matrix(order, 5);
  std::vector<double> a;
  std::vector<int> ipiv(order);
  const double lu_flops = 2.0 / 3.0 * order * static_cast<double>(order) * order;
  auto restore = [&] { a = a0; };
  for (int layout : {LAPACK_COL_MAJOR, LAPACK_ROW_MAJOR}) {
    const double ours = lu_flops * 1e-9 / bench_best_restored(1, restore, [&] {
      LAPACKE_dgetrf(layout, order, order, a.data(), order, ipiv.data());
    });
    double theirs = 0;
    if (peer.getrf) {
      bench_settle();
      theirs = lu_flops * 1e-9 / bench_best_restored(1, restore, [&] { peer.getrf(layout, order, order, a.data(), order, ipiv.data()); });
    }
    // The engine's own factorisation of the same matrix, column-major.
    std::vector<vrx_int> ipiv64(order);
    const vrx_int n = order;
    vrx_int info = 0;
    const double engine = lu_flops * 1e-9 / bench_best_restored(1, restore, [&] {
      vrx_lapack_DGETRF(&n, &n, a.data(), &n, ipiv64.data(), &info);
    });
    char extra[64];
    std::snprintf(extra, sizeof extra, " of_engine %.3f", engine > 0 ? ours / engine : 0.0);
    print(std::string("LAPACKE_dgetrf-") + (layout == LAPACK_COL_MAJOR ? "col" : "row") + "-" +
              std::to_string(order) + tag,
          ours, theirs, extra);
  }
  // Solves on the factors of a column-major factorisation.
  std::vector<double> lu = a0;
  LAPACKE_dgetrf(LAPACK_COL_MAJOR, order, order, lu.data(), order, ipiv.data());
  for (int nrhs : {1, 100}) {
    const std::vector<double> b0 = random_matrix(order, 9);
    std::vector<double> b(static_cast<std::size_t>(order) * nrhs);
    auto restore_b = [&] { std::copy(b0.begin(), b0.begin() + b.size(), b.begin()); };
    const double flops = 2.0 * order * static_cast<double>(order) * nrhs;
    const int repeats = nrhs == 1 ? 20 : 3;
    const double ours = flops * 1e-9 / bench_best_restored(repeats, restore_b, [&] {
      LAPACKE_dgetrs(LAPACK_COL_MAJOR, 'N', order, nrhs, lu.data(), order, ipiv.data(), b.data(), order);
    });
    double theirs = 0;
    if (peer.getrs) {
      bench_settle();
      theirs = flops * 1e-9 / bench_best_restored(repeats, restore_b, [&] {
        peer.getrs(LAPACK_COL_MAJOR, 'N', order, nrhs, lu.data(), order, ipiv.data(), b.data(), order);
      });
    }
    print("LAPACKE_dgetrs-" + std::to_string(order) + "-nrhs" + std::to_string(nrhs) + tag, ours, theirs);
  }
  // The inverse of half the order, from its own factors.
  const int half = order / 2;
  std::vector<double> f0 = random_matrix(half, 13), f;
  std::vector<int> ipiv_half(half);
  LAPACKE_dgetrf(LAPACK_COL_MAJOR, half, half, f0.data(), half, ipiv_half.data());
  auto restore_f = [&] { f = f0; };
  const double flops = 4.0 / 3.0 * half * static_cast<double>(half) * half;
  const double ours = flops * 1e-9 / bench_best_restored(2, restore_f, [&] {
    LAPACKE_dgetri(LAPACK_COL_MAJOR, half, f.data(), half, ipiv_half.data());
  });
  double theirs = 0;
  if (peer.getri) {
    bench_settle();
    theirs = flops * 1e-9 / bench_best_restored(2, restore_f, [&] { peer.getri(LAPACK_COL_MAJOR, half, f.data(), half, ipiv_half.data()); });
  }
  print("LAPACKE_dgetri-" + std::to_string(half) + tag, ours, theirs);
}
}  // namespace

int main(int argc, char** argv) {
  bool worker = false;
  int order = 4000;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--order") && i + 1 < argc) order = std::atoi(argv[i + 1]);
    if (!std::strcmp(argv[i], "--worker")) worker = true;
  }
  if (worker) {
    const char* forced = std::getenv("VRX_DEBUG_CPU_TYPE");
    const char* count = std::getenv("VRX_NUM_THREADS");
    run(order, forced ? std::atoi(forced) : 0, count ? std::atoi(count) : 1);
    return 0;
  }
  std::printf("case ours best_peer ratio\n");
  std::fflush(stdout);
  bench_rerun_per_type_and_threads({"--worker", "--order", std::to_string(order)});
  return 0;
}
