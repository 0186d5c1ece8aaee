// Shared pieces of the benchmarks: a clock, peers loaded as black boxes, the
// machine's measured peak per instruction class, and re-running under a forced CPU type.
#pragma once
#include <atomic>
#include <string>
#include <thread>
#include <vector>

double bench_now();
// The calling thread's CPU time in seconds: other load on the machine counts for little.
double bench_thread_cpu_now();

// Waits until the idle threads of whatever ran before (OpenMP's and OpenBLAS's spin for a
// while before they sleep) have gone quiet, so that they do not slow the next contender.
void bench_settle();

// Best time of `repeats` runs of body(), after one warm-up run, by `clock`.
template <typename Body>
double bench_best_seconds(int repeats, Body&& body, double (*clock)() = bench_now) {
  body();
  double best = 1e300;
  for (int r = 0; r < repeats; ++r) {
    const double start = clock();
    body();
    const double t = clock() - start;
    if (t < best) best = t;
  }
  return best;
}

// Best wall time of `repeats` calls of call() after a warm-up call, restore() run untimed
// before each (for routines that overwrite their input).
template <typename Restore, typename Call>
double bench_best_restored(int repeats, Restore&& restore, Call&& call) {
  double best = 1e300;
  for (int r = 0; r <= repeats; ++r) {
    restore();
    const double start = bench_now();
    call();
    const double t = bench_now() - start;
    if (r > 0 && t < best) best = t;
  }
  return best;
}

// `users` application threads, each running body(user) `rounds` times: the wall time of
// the rounds, once every thread has made one warm-up call (its scratch pool, its OpenMP
// team and its pages are in place) and all start together.
template <typename Body>
double bench_concurrent_seconds(int users, int rounds, Body&& body) {
  std::atomic<int> ready{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int u = 0; u < users; ++u)
    threads.emplace_back([&, u] {
      body(u);
      ready.fetch_add(1);
      while (!go.load()) std::this_thread::yield();
      for (int r = 0; r < rounds; ++r) body(u);
    });
  while (ready.load() < users) std::this_thread::yield();
  const double start = bench_now();
  go.store(true);
  for (std::thread& t : threads) t.join();
  return bench_now() - start;
}

typedef void (*bench_cblas_dgemm_fn)(int, int, int, int, int, int, double, const double*, int, const double*, int,
                                     double, double*, int);
struct bench_peer {
  const char* name;
  bench_cblas_dgemm_fn dgemm;  // null when the library is not installed
};
// OpenBLAS and BLIS from Debian's packages, each set to one thread and to its best
// kernels on this machine (OpenBLAS without its core-type override, BLIS with arch 0).
std::vector<bench_peer> bench_load_peers();
// The same libraries set to `threads` threads, for any entry through dlsym; a library
// that is not installed has a null handle.
struct bench_peer_library {
  const char* name;
  void* handle;
};
std::vector<bench_peer_library> bench_open_peers(int threads);

// The LAPACK peers at `threads` threads: OpenBLAS (its own LAPACK), the published LAPACK
// over BLIS, and libflame; one who is not installed is left out. Call once per process:
// BLIS becomes the process's libblas.so.3.
std::vector<bench_peer_library> bench_open_lapack_peers(int threads);

// MINPACK's lmder from Debian's minpack-dev (Fortran calling style, everything by
// pointer); null when the library is not installed.
typedef void (*bench_lmder_fcn)(const int* m, const int* n, const double* x, double* fvec, double* fjac,
                                const int* ldfjac, int* iflag);
typedef void (*bench_lmder_fn)(bench_lmder_fcn fcn, const int* m, const int* n, double* x, double* fvec,
                               double* fjac, const int* ldfjac, const double* ftol, const double* xtol,
                               const double* gtol, const int* maxfev, double* diag, const int* mode,
                               const double* factor, const int* nprint, int* info, int* nfev, int* njev, int* ipvt,
                               double* qtf, double* wa1, double* wa2, double* wa3, double* wa4);
bench_lmder_fn bench_open_lmder();

// Single-core peak in GFLOPS of a loop of independent vector operations.
struct bench_peaks {
  double sse2_mul_add;   // 128-bit multiply plus add
  double avx_mul_add;    // 256-bit multiply plus add
  double avx2_fma;       // 256-bit FMA
  double avx512_fma;     // 512-bit FMA (0 where not supported)
};
bench_peaks bench_measure_peaks();
// Measures the peak of the one class that CPU type `cpu_type` runs on.
double bench_measure_peak_for_type(int cpu_type);
// The peak that bounds a CPU type's kernels.
double bench_peak_for_type(const bench_peaks& peaks, int cpu_type);
bool bench_cpu_can_run_type(int cpu_type);
// FMA peak in GFLOPS of AVX2 (CPU type 5) or AVX-512 (type 7) in single or double
// precision by the thread's CPU time, so that other load counts for little: best of
// five runs of twelve independent FMA chains. 0 where this CPU cannot run that type.
double bench_fma_peak_cpu_time(int cpu_type, bool single);

// Runs this program again with `extra_env` added and returns its stdout.
std::string bench_rerun_self(const std::vector<std::string>& args, const std::vector<std::string>& extra_env);
// Runs this program again with `args` under CPU types 7 and 0 (those this processor can
// run), each on one and two threads with VRX_DYNAMIC off, printing each child's output.
void bench_rerun_per_type_and_threads(const std::vector<std::string>& args);
// The main of such a bench: with --worker, run(full, type, threads) under the child's
// CPU type and thread count; otherwise the "case ours best_peer ratio" header and the
// reruns, --full handed on.
int bench_main_per_type_and_threads(int argc, char** argv, void (*run)(bool full, int type, int threads));
