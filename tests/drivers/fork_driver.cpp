// Child-process driver for fork safety: processes that fork while other threads
// are inside the library, and children that keep using it. Every forked child runs
// under a time limit; a child still running at the limit is killed and counted hung.
//   fork_driver exiting F      F forks, each while a thread that used a product ends
//   fork_driver first-call T   T fresh processes fork while another thread makes the
//                              process's first call, after delays of 0 to 1000 us
//   fork_driver busy F         F forks while two threads run products and start and end threads
//   fork_driver exports        a child forked after the parent used the library calls every export
// Prints one summary line; exit status 0 when no child hung or computed a wrong result.
#include <omp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "customvrx.h"

namespace {
constexpr int child_ok = 0;
constexpr int child_wrong = 3;
constexpr int child_hung = -2;
// A healthy child finishes in milliseconds; the limit only has to outlast a loaded machine.
constexpr double child_limit_seconds = 5.0;
// A run that has shown this many hangs has failed already: it stops instead of waiting on more.
constexpr int hangs_before_stop = 3;

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Waits for `pid` for at most `limit` seconds; its exit status, or child_hung after killing it.
int wait_limited(pid_t pid, double limit = child_limit_seconds) {
  const auto start = std::chrono::steady_clock::now();
  for (;;) {
    int status = 0;
    const pid_t got = waitpid(pid, &status, WNOHANG);
    if (got == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (got < 0) return -1;
    if (seconds_since(start) > limit) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      return child_hung;
    }
    usleep(200);
  }
}

void spin_microseconds(double us) {
  const auto start = std::chrono::steady_clock::now();
  while (seconds_since(start) * 1e6 < us) {
  }
}

std::vector<double> values(std::size_t count, unsigned seed) {
  std::vector<double> v(count);
  std::uint64_t s = 0x9E3779B97F4A7C15ull * (seed + 1);
  for (double& x : v) {
    s = s * 6364136223846793005ull + 1442695040888963407ull;
    x = static_cast<double>(s >> 11) * 0x1.0p-52 - 1.0;
  }
  return v;
}

// Column-major C := A B through cblas_dgemm; true when max|C - AB| / (k max|A| max|B| eps) < 30,
// with AB summed in long double.
bool product_ok(int m, int n, int k, unsigned seed) {
  const std::vector<double> a = values(static_cast<std::size_t>(m) * k, seed);
  const std::vector<double> b = values(static_cast<std::size_t>(k) * n, seed + 1);
  std::vector<double> c(static_cast<std::size_t>(m) * n, 7.0);
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a.data(), m, b.data(), k, 0.0, c.data(), m);
  double worst = 0.0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      long double sum = 0.0L;
      for (int l = 0; l < k; ++l) sum += static_cast<long double>(a[i + l * m]) * b[l + j * k];
      worst = std::fmax(worst, static_cast<double>(std::fabs(static_cast<long double>(c[i + j * m]) - sum)));
    }
  return worst / (k * 1.0 * 1.0 * 0x1.0p-52) < 30.0;
}

// In a forked child: dies with its parent, so that no hung child outlives the run.
void follow_parent(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(child_wrong);
}

// Forks; the child runs `work` and exits with its status.
template <typename Work>
pid_t fork_child(Work&& work) {
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid == 0) {
    follow_parent(parent);
    _exit(work());
  }
  return pid;
}

// What a forked child does first: a product that takes scratch memory from the pools.
int child_product() { return product_ok(96, 96, 96, 11) ? child_ok : child_wrong; }

struct tally {
  int forks = 0, hung = 0, wrong = 0;
  void add(int status) {
    ++forks;
    if (status == child_hung) ++hung;
    else if (status != child_ok) ++wrong;
  }
  bool stop() const { return hung >= hangs_before_stop; }
  int report(const char* name) const {
    std::printf("%s forks=%d hung=%d wrong=%d\n", name, forks, hung, wrong);
    return hung == 0 && wrong == 0 && forks > 0 ? 0 : 1;
  }
};

// Forks while a thread that used a product is ending: the thread's end hands its
// buffers back under the memory manager's table lock.
int run_exiting(int forks) {
  if (!product_ok(64, 64, 64, 1)) return 2;
  tally t;
  for (int i = 0; i < forks && !t.stop(); ++i) {
    std::atomic<int> used{0};
    std::thread worker([&used] {
      product_ok(64, 64, 64, 2);
      used.store(1);
    });
    while (!used.load()) {
    }
    spin_microseconds(i % 8 * 3.0);
    const pid_t pid = fork_child(child_product);
    worker.join();
    t.add(pid > 0 ? wait_limited(pid) : -1);
  }
  return t.report("exiting");
}

constexpr int try_found_hang = 100;

// One fresh process: a thread makes the first call while the main thread forks after `delay_us`.
int first_call_try(double delay_us) {
  std::thread first([] { product_ok(64, 64, 64, 3); });
  spin_microseconds(delay_us);
  const pid_t pid = fork_child(child_product);
  const int status = pid > 0 ? wait_limited(pid) : -1;
  first.join();
  return status == child_hung ? try_found_hang : status;
}

// This process never calls the library, so each forked try starts where nothing is initialised.
int run_first_call(int tries) {
  tally t;
  for (int i = 0; i < tries && !t.stop(); ++i) {
    const double delay_us = tries > 1 ? 1000.0 * i / (tries - 1) : 0.0;
    const pid_t pid = fork_child([delay_us] { return first_call_try(delay_us); });
    // The try waits for its own child first, up to the child limit.
    const int status = pid > 0 ? wait_limited(pid, 2 * child_limit_seconds + 1.0) : -1;
    t.add(status == try_found_hang ? child_hung : status);
  }
  return t.report("first-call");
}

// Forks while two threads run products of changing sizes and short-lived threads
// come and go, so every fork finds locks of some kind taken.
int run_busy(int forks) {
  std::atomic<int> stop{0}, wrong{0};
  auto busy = [&](unsigned seed) {
    for (unsigned round = 0; !stop.load(); ++round) {
      const int size = 8 + static_cast<int>((round * 37 + seed) % 120);
      if (!product_ok(size, size, size, seed + round)) wrong.fetch_add(1);
      std::thread brief([&] {
        if (!product_ok(40, 40, 40, seed)) wrong.fetch_add(1);
      });
      brief.join();
    }
  };
  std::thread one(busy, 5u), two(busy, 6u);
  tally t;
  for (int i = 0; i < forks && !t.stop(); ++i) {
    spin_microseconds(i % 5 * 40.0);
    const pid_t pid = fork_child(child_product);
    t.add(pid > 0 ? wait_limited(pid) : -1);
  }
  stop.store(1);
  one.join();
  two.join();
  t.wrong += wrong.load();
  return t.report("busy");
}

// ---- every export in a forked child ----

std::atomic<unsigned long long> jacobi_threads{0};

// f_i = (i + 1) * sum_j x_j^2: column j of the Jacobian is 2 (i + 1) x_j.
void squares(int* m_, int* n_, double* x, double* f) {
  jacobi_threads.fetch_or(1ull << (omp_get_thread_num() & 63));
  double s = 0.0;
  for (int j = 0; j < *n_; ++j) s += x[j] * x[j];
  for (int i = 0; i < *m_; ++i) f[i] = (i + 1) * s;
}

void scaled_squares(int* m_, int* n_, double* x, double* f, void* user_data) {
  squares(m_, n_, x, f);
  const double scale = *static_cast<const double*>(user_data);
  for (int i = 0; i < *m_; ++i) f[i] *= scale;
}

bool jacobian_ok(const std::vector<double>& fjac, const std::vector<double>& x, int m, double scale) {
  for (std::size_t j = 0; j < x.size(); ++j)
    for (int i = 0; i < m; ++i) {
      const double want = scale * 2.0 * (i + 1) * x[j];
      if (std::fabs(fjac[j * m + i] - want) > 1e-6 * (1.0 + std::fabs(want))) return false;
    }
  return true;
}

// Every export once; a bit per export that went wrong.
int use_every_export() {
  int failed = 0;
  const int sizes[][3] = {{7, 5, 3}, {64, 64, 64}, {257, 130, 190}, {300, 200, 400}};
  for (const auto& s : sizes)
    if (!product_ok(s[0], s[1], s[2], static_cast<unsigned>(s[0]))) failed |= 1;

  const std::size_t rows = 67, cols = 45;
  const std::vector<double> a = values(rows * cols, 21);
  std::vector<double> b(rows * cols, 0.0);
  VRX_Domatcopy('R', 'T', rows, cols, 2.0, a.data(), cols, b.data(), rows);
  std::vector<double> ab = a;
  VRX_Dimatcopy('R', 'T', rows, cols, 2.0, ab.data(), cols, rows);
  for (std::size_t i = 0; i < rows; ++i)
    for (std::size_t j = 0; j < cols; ++j) {
      if (b[j * rows + i] != 2.0 * a[i * cols + j]) failed |= 2;
      if (ab[j * rows + i] != 2.0 * a[i * cols + j]) failed |= 4;
    }

  const int n = 1001;
  const std::vector<double> u = values(n, 31), v = values(n, 32);
  std::vector<double> y(n, 0.0);
  vdsub(&n, u.data(), v.data(), y.data());
  for (int i = 0; i < n; ++i)
    if (y[i] != u[i] - v[i]) failed |= 8;

  int jn = 40, jm = 3;
  const double eps = 1e-6;
  std::vector<double> x = values(static_cast<std::size_t>(jn), 41);
  std::vector<double> fjac(static_cast<std::size_t>(jn) * jm, 0.0);
  jacobi_threads.store(0);
  if (djacobi(squares, &jn, &jm, fjac.data(), x.data(), &eps) != 1501 || !jacobian_ok(fjac, x, jm, 1.0))
    failed |= 16;
  double scale = 3.0;
  if (djacobix(scaled_squares, &jn, &jm, fjac.data(), x.data(), &eps, &scale) != 1501 ||
      !jacobian_ok(fjac, x, jm, scale))
    failed |= 32;
  // With a fixed count of several threads, the columns must have been spread over a team.
  const char* count = std::getenv("VRX_NUM_THREADS");
  if (count && std::atoi(count) > 1 && __builtin_popcountll(jacobi_threads.load()) < 2) failed |= 64;
  return failed;
}

// The parent uses every export (pools, teams and one-time records exist), forks, and
// the child uses them all again. Output: the parent's line, "forked", the child's line.
int run_exports() {
  const int parent = use_every_export();
  std::printf("parent %s\n", parent == 0 ? "ok" : "WRONG");
  std::printf("forked\n");
  std::fflush(stdout);
  const pid_t pid = fork_child([] {
    const int failed = use_every_export();
    if (failed == 0) std::printf("child ok\n");
    else std::printf("child WRONG %d\n", failed);
    std::fflush(stdout);
    return failed == 0 ? child_ok : child_wrong;
  });
  const int status = pid > 0 ? wait_limited(pid) : -1;
  if (status == child_hung) std::printf("child hung\n");
  return parent == 0 && status == child_ok ? 0 : 1;
}
}  // namespace

int main(int argc, char** argv) {
  const char* mode = argc > 1 ? argv[1] : "";
  const int count = argc > 2 ? std::atoi(argv[2]) : 0;
  if (std::strcmp(mode, "exiting") == 0) return run_exiting(count);
  if (std::strcmp(mode, "first-call") == 0) return run_first_call(count);
  if (std::strcmp(mode, "busy") == 0) return run_busy(count);
  if (std::strcmp(mode, "exports") == 0) return run_exports();
  std::fprintf(stderr, "usage: fork_driver exiting|first-call|busy COUNT, or fork_driver exports\n");
  return 2;
}
