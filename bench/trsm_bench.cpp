// Speed of DTRSM, DTRMM and ZTRSM beside OpenBLAS and BLIS (their Fortran entries, at the
// same thread count) and beside our DGEMM of the same order, under CPU types 7 and 0 on
// one and two threads. Each configuration runs in a child process (the CPU type and the
// thread count are read once per process); B is restored before every timed call.
//   trsm_bench [--order N] [--full|--panels]
//                         order 2000 (or N), a few cases (--full: orders 2000 and 4000, every
//                         side, uplo and transa with a non-unit diagonal, and order 4000
//                         with 64, 128 and 256 right-hand sides; --panels: only those)
// Prints "case ours best_peer ratio", then our rate over our DGEMM's and the fraction of
// the measured peak (single-core peak times the threads); speeds in GFLOPS, wall clock.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_blas.h"

namespace {
// The peers' Fortran entries: arguments by pointer, then the four hidden lengths.
template <typename T>
using fortran_tri_fn = void (*)(const char*, const char*, const char*, const char*, const int*, const int*, const T*,
                                const T*, const int*, T*, const int*, long, long, long, long);
struct peer {
  const char* name;
  fortran_tri_fn<double> dtrsm, dtrmm;
  fortran_tri_fn<vrx_complex_double> ztrsm;
};

std::vector<peer> load_peers(int threads) {
  std::vector<peer> peers;
  for (const bench_peer_library& library : bench_open_peers(threads))
    if (library.handle)
      peers.push_back({library.name, reinterpret_cast<fortran_tri_fn<double>>(dlsym(library.handle, "dtrsm_")),
                       reinterpret_cast<fortran_tri_fn<double>>(dlsym(library.handle, "dtrmm_")),
                       reinterpret_cast<fortran_tri_fn<vrx_complex_double>>(dlsym(library.handle, "ztrsm_"))});
  return peers;
}

struct tri_case {
  char routine;  // 'S' DTRSM, 'M' DTRMM, 'Z' ZTRSM
  const char* codes;  // side, uplo, transa, diag
  int m, n;
};

// A well-conditioned triangle (unit-sized diagonal, small entries elsewhere) and a B.
template <typename T>
void fill(std::vector<T>* a, std::vector<T>* b, int order) {
  uint64_t state = 7;
  auto next = [&] {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<double>((state >> 40) % 2001) / 1000.0 - 1.0;
  };
  for (std::size_t i = 0; i < a->size(); ++i) {
    const std::size_t r = i % order, c = i / order;
    const double scale = r == c ? 0.0 : 1.0 / order;
    (*a)[i] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>((r == c ? 2.0 : 0.0) + scale * next()),
                                  static_cast<vrx_real_t<T>>(scale * next()));
  }
  for (T& x : *b) x = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(next()), static_cast<vrx_real_t<T>>(next()));
}

template <typename T>
void run_case(const tri_case& c, const std::vector<peer>& peers, int type, int threads, double dgemm_rate,
              double peak) {
  const bool left = c.codes[0] == 'L';
  const int order = left ? c.m : c.n;
  std::vector<T> a(static_cast<std::size_t>(order) * order), b0(static_cast<std::size_t>(c.m) * c.n), b;
  fill(&a, &b0, order);
  const double flops = (vrx_is_complex<T> ? 4.0 : 1.0) * order * static_cast<double>(order) * (left ? c.n : c.m);
  const int repeats = flops > 3e10 ? 1 : 2;
  const vrx_int m = c.m, n = c.n, ld_a = order, ld_b = c.m;
  const int im = c.m, in = c.n, ia = order, ib = c.m;
  const T one = vrx_traits<T>::make(1, 0);
  const char *side = c.codes, *uplo = c.codes + 1, *transa = c.codes + 2, *diag = c.codes + 3;
  auto ours_call = [&] {
    if constexpr (std::is_same_v<T, double>) {
      if (c.routine == 'S') DTRSM(side, uplo, transa, diag, &m, &n, &one, a.data(), &ld_a, b.data(), &ld_b);
      else DTRMM(side, uplo, transa, diag, &m, &n, &one, a.data(), &ld_a, b.data(), &ld_b);
    } else {
      ZTRSM(side, uplo, transa, diag, &m, &n, &one, a.data(), &ld_a, b.data(), &ld_b);
    }
  };
  const double ours = flops * 1e-9 / bench_best_restored(repeats, [&] { b = b0; }, ours_call);
  double best_peer = 0;
  for (const peer& p : peers) {
    fortran_tri_fn<T> fn;
    if constexpr (std::is_same_v<T, double>) fn = c.routine == 'S' ? p.dtrsm : p.dtrmm;
    else fn = p.ztrsm;
    if (!fn) continue;
    bench_settle();
    const double rate = flops * 1e-9 / bench_best_restored(repeats, [&] { b = b0; }, [&] {
      fn(side, uplo, transa, diag, &im, &in, &one, a.data(), &ia, b.data(), &ib, 1, 1, 1, 1);
    });
    if (rate > best_peer) best_peer = rate;
  }
  // ZTRSM is set against the complex product's rate: four times the real flops.
  std::printf("%s-%s-%dx%d-type%d-t%d %.2f %.2f %.3f of_dgemm %.3f of_peak %.3f\n",
              c.routine == 'S' ? "DTRSM" : c.routine == 'M' ? "DTRMM" : "ZTRSM", c.codes, c.m, c.n, type, threads,
              ours, best_peer, best_peer > 0 ? ours / best_peer : 0.0, dgemm_rate > 0 ? ours / dgemm_rate : 0.0,
              peak > 0 ? ours / peak : 0.0);
  std::fflush(stdout);
}

double dgemm_rate(int order) {
  std::vector<double> a(static_cast<std::size_t>(order) * order), c0(a.size()), c;
  fill(&a, &c0, order);
  const vrx_int n = order;
  const double one = 1.0;
  const double flops = 2.0 * order * static_cast<double>(order) * order;
  return flops * 1e-9 / bench_best_restored(flops > 6e10 ? 1 : 2, [&] { c = c0; }, [&] {
    vrx_blas_dgemm("N", "N", &n, &n, &n, &one, a.data(), &n, a.data(), &n, &one, c.data(), &n);
  });
}

// LU's panel solves: order 4000 with 64 to 256 right-hand sides.
void add_panels(std::vector<tri_case>* list) {
  for (char r : {'S', 'M', 'Z'})
    for (int rhs : {64, 128, 256})
      for (const char* codes : {"LLNN", "LUTN"}) list->push_back({r, codes, 4000, rhs});
}

std::vector<tri_case> cases(bool full, bool panels, int order) {
  std::vector<tri_case> list;
  if (panels) {
    add_panels(&list);
    return list;
  }
  if (!full) {
    for (char r : {'S', 'M', 'Z'})
      for (const char* codes : {"LLNN", "RUTN"}) list.push_back({r, codes, order, order});
    return list;
  }
  static const char* const all[] = {"LUNN", "LUTN", "LLNN", "LLTN", "RUNN", "RUTN", "RLNN", "RLTN"};
  for (int order : {2000, 4000})
    for (char r : {'S', 'M', 'Z'})
      for (const char* codes : all) list.push_back({r, codes, order, order});
  add_panels(&list);
  return list;
}
}  // namespace

int main(int argc, char** argv) {
  bool full = false, panels = false, worker = false;
  int order = 2000;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--order") && i + 1 < argc) order = std::atoi(argv[i + 1]);
    if (!std::strcmp(argv[i], "--full")) full = true;
    if (!std::strcmp(argv[i], "--panels")) panels = true;
    if (!std::strcmp(argv[i], "--worker")) worker = true;
  }
  if (worker) {
    const char* forced = std::getenv("VRX_DEBUG_CPU_TYPE");
    const char* count = std::getenv("VRX_NUM_THREADS");
    const int type = forced ? std::atoi(forced) : 0, threads = count ? std::atoi(count) : 1;
    const std::vector<peer> peers = load_peers(threads);
    const double peak = threads * bench_measure_peak_for_type(type);
    for (const tri_case& c : cases(full, panels, order)) {
      // Our DGEMM just before each case, so that both meet the same load.
      const double rate = dgemm_rate(c.m > c.n ? c.m : c.n);
      if (c.routine == 'Z') run_case<vrx_complex_double>(c, peers, type, threads, rate, peak);
      else run_case<double>(c, peers, type, threads, rate, peak);
    }
    return 0;
  }
  std::printf("case ours best_peer ratio\n");
  std::fflush(stdout);
  std::vector<std::string> args = {"--worker"};
  if (full) args.push_back("--full");
  if (panels) args.push_back("--panels");
  args.push_back("--order");
  args.push_back(std::to_string(order));
  bench_rerun_per_type_and_threads(args);
  return 0;
}
