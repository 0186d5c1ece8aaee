// The LU factorisation through its entries (vrx_lapack_SGETRF ... ZGETRF) under this
// process's settings (CPU type, thread count, dynamic mode, reproducibility branch),
// printing the path each case took from the trace record and checking the factors.
//   getrf_driver paths LETTERS   the sequential recursion (order 64), the look-ahead path
//                                (square, tall, wide; block size 16 and a crossover above
//                                the order from the tuning seam) and the unblocked kernel
//                                alone (a block size equal to min(m, n))
//   getrf_driver queue LETTERS   order 200 with block size 16, the service's base
//                                allocator refusing: the queue's state can't be had
//   getrf_driver team LETTERS    order 200 with block size 16: prints the path chosen
//   getrf_driver stop LETTERS    a progress hook that asks to stop at column 24 of the
//                                order 64 (sequential) and at column 100 of the order 200
//                                (look-ahead): prints info, the hook's calls and stage
//   getrf_driver checks LETTERS  the look-ahead path's checks of m, n and lda (and lda 0
//                                for an empty matrix, which is wrong too), and GETF2's
//                                of lda
//   getrf_driver nested LETTERS  the look-ahead case called from inside a parallel region
//                                of two threads: the regions get one thread
//   getrf_driver large           DGETRF of order 3000 with ILAENV's own answers
// Each case prints "LETTER NAME path P fallback F forks K inside I threads R info N";
// the factors are checked by the residual ratio (below 30; for order 3000 on a random
// vector), the padding and ipiv's range. Prints "ok" and exits 0, or what went wrong
// and exits 1.
#include <omp.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "lapack/getrf_support.h"
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"
#include "support/lu_check.h"
#include "support/refused_memory.h"
#include "support/precision_letters.h"

namespace {
bool failed = false;

template <typename T>
void entry(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info) {
  vrx_test_lu_names<T>::entry(&m, &n, a, &lda, ipiv, info);
}

struct lu_case {
  const char* name;
  vrx_int m, n;
  vrx_int nb, nx;  // tuning answers, 0 for ILAENV's
};

void print_trace(char letter, const char* name, vrx_int info) {
  const vrx_getrf_trace t = *vrx_lapack_getrf_trace();
  std::printf("%c %s path %d fallback %d forks %d inside %d threads %d info %lld\n", letter, name, t.path,
              t.fallback, t.lookahead_forks, t.lookahead_inside, t.region_threads, (long long)info);
}

// Factors one case; check: the residual, the padding and the pivots are judged.
template <typename T>
void run_case(const lu_case& c, bool check) {
  const char letter = vrx_traits<T>::letter;
  const vrx_int lda = c.m + 2;
  const std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, static_cast<uint64_t>(c.m * 31 + c.n));
  std::vector<T> lu = a;
  std::vector<vrx_int> ipiv(static_cast<std::size_t>(std::min(c.m, c.n)));
  vrx_int info = -99;
  {
    vrx_test_getrf_tuned tuned(c.nb, c.nx);
    entry(c.m, c.n, lu.data(), lda, ipiv.data(), &info);
  }
  print_trace(letter, c.name, info);
  if (!check) return;
  const double ratio = vrx_test_lu_residual(c.m, c.n, a, lda, lu, lda, ipiv.data());
  if (!(ratio < 30) || !vrx_test_lu_padding_intact(lu, c.m, c.n, lda)) {
    std::printf("%c %s: residual ratio %g or the padding is wrong\n", letter, c.name, ratio);
    failed = true;
  }
}

// The wide matrix's last panel is narrow and leaves columns to the final solve.
const lu_case path_cases[] = {
    {"seq", 64, 64, 0, 0},
    {"square", 200, 200, 16, vrx_test_getrf_lookahead_nx},
    {"tall", 300, 90, 16, vrx_test_getrf_lookahead_nx},
    {"wide", 90, 300, 16, vrx_test_getrf_lookahead_nx},
    {"getf2", 150, 100, 100, 0},
};

// ---- the progress hook ----
int stop_at = 0, hook_calls = 0, hook_thread = -1;
char hook_stage[8];
int stopping_hook(const int* thread, const int* step, const char* stage, int length) {
  ++hook_calls;
  hook_thread = *thread;
  std::snprintf(hook_stage, sizeof hook_stage, "%.*s", length < 7 ? length : 7, stage);
  return *step >= stop_at;
}

template <typename T>
void run_stop(const lu_case& c, int at) {
  stop_at = at;
  hook_calls = 0;
  run_case<T>(c, false);
  std::printf("%c %s hook calls %d thread %d stage %s\n", vrx_traits<T>::letter, c.name, hook_calls, hook_thread,
              hook_stage);
}

// y = P A x - L (U x) for a random x: ||y||_1 / (n ||A||_1 ||x||_1 eps), with ||A||_1 the
// largest column sum.
double vector_residual(vrx_int n, const std::vector<double>& a, const std::vector<double>& lu,
                       const std::vector<vrx_int>& ipiv) {
  std::vector<double> x(n), ux(n, 0.0), y(n, 0.0);
  uint64_t state = 99;
  double norm_x = 0, norm_a = 0;
  for (vrx_int i = 0; i < n; ++i) norm_x += std::fabs(x[i] = vrx_test_value<double>(&state));
  for (vrx_int j = 0; j < n; ++j) {
    double column = 0;
    for (vrx_int i = 0; i < n; ++i) column += std::fabs(a[j * n + i]);
    norm_a = std::max(norm_a, column);
    for (vrx_int i = 0; i <= j; ++i) ux[i] += lu[j * n + i] * x[j];
    for (vrx_int i = 0; i < n; ++i) y[i] += a[j * n + i] * x[j];
  }
  for (vrx_int i = 0; i < n; ++i) std::swap(y[i], y[ipiv[i] - 1]);
  for (vrx_int j = 0; j < n; ++j) {
    y[j] -= ux[j];
    for (vrx_int i = j + 1; i < n; ++i) y[i] -= lu[j * n + i] * ux[j];
  }
  double norm_y = 0;
  for (double v : y) norm_y += std::fabs(v);
  return norm_y / (n * norm_a * norm_x * vrx_machine<double>::eps);
}

void run_large() {
  const vrx_int n = 3000;
  const std::vector<double> a = vrx_test_lu_matrix<double>(n, n, n, 3000);
  std::vector<double> lu = a;
  std::vector<vrx_int> ipiv(n);
  vrx_int info = -99;
  entry(n, n, lu.data(), n, ipiv.data(), &info);
  print_trace('D', "large", info);
  std::printf("D large nb %lld\n", (long long)vrx_lapack_getrf_trace()->nb);
  for (vrx_int i = 0; i < n; ++i) failed |= ipiv[i] < i + 1 || ipiv[i] > n;
  const double ratio = failed ? 1e30 : vector_residual(n, a, lu, ipiv);
  if (!(ratio < 30)) {
    std::printf("D large: residual ratio %g\n", ratio);
    failed = true;
  }
}

template <typename T>
void run_mode(const std::string& mode) {
  if (mode == "paths") {
    for (const lu_case& c : path_cases) run_case<T>(c, true);
  } else if (mode == "queue") {
    run_case<T>({"queue", 200, 200, 16, 0}, true);
  } else if (mode == "team") {
    // The team path's own work is its test's; here only the choice.
    const vrx_int n = 200, nb = 16;
    std::vector<T> a = vrx_test_lu_matrix<T>(n, n, n, 5);
    std::vector<vrx_int> ipiv(n);
    vrx_int info;
    vrx_test_getrf_tuned tuned(nb, 0);
    entry(n, n, a.data(), n, ipiv.data(), &info);
    std::printf("%c team path %d\n", vrx_traits<T>::letter, vrx_lapack_getrf_trace()->path);
  } else if (mode == "stop") {
    run_stop<T>(path_cases[0], 24);
    run_stop<T>(path_cases[1], 100);
  } else if (mode == "checks") {
    T a[4] = {};
    vrx_int ipiv[2];
    const vrx_int bad[][3] = {{-1, 2, 2}, {2, -1, 2}, {2, 2, 1}, {0, 0, 0}};
    for (const vrx_int* b : bad) {
      vrx_int info = -99;
      const int stop = vrx_lapack_getrf_lookahead(b[0], b[1], a, b[2], ipiv, &info, 0, 0);
      std::printf("%c checks %lld %lld %lld info %lld returns %d\n", vrx_traits<T>::letter, (long long)b[0],
                  (long long)b[1], (long long)b[2], (long long)info, stop);
    }
    // The published unblocked routine checks the same arguments under its own name.
    const vrx_int m = 3, n = 2, lda = 2;
    vrx_int info = -99;
    vrx_test_lu_names<T>::getf2(&m, &n, a, &lda, ipiv, &info);
    std::printf("%c getf2 checks info %lld\n", vrx_traits<T>::letter, (long long)info);
  } else if (mode == "nested") {
#pragma omp parallel num_threads(2)
    {
#pragma omp master
      run_case<T>(path_cases[1], true);
    }
  }
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::string mode = argv[1];
  if (mode == "large") {
    run_large();
  } else {
    if (argc < 3) return 2;
    if (mode == "queue" && !vrx_test_refuse_memory("nomemory")) return 2;
    if (mode == "stop") vrx_serv_set_progress(stopping_hook);
    if (!vrx_test_for_each_letter(argv[2], [&](auto zero) { run_mode<decltype(zero)>(mode); })) return 2;
  }
  std::printf(failed ? "failed\n" : "ok\n");
  return failed ? 1 : 0;
}
