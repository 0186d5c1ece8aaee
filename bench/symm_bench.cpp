// DSYMM and ZHEMM beside OpenBLAS and BLIS (their Fortran dsymm_ and zhemm_, loaded as
// black boxes) and beside our own DGEMM of the same extents, in one run per setting:
// CPU type 7 forced at one and two threads, and the detected type at one thread. Each
// setting runs in a child process of this program with its environment.
//   symm_bench [--full]      order 2000 (4000 with --full); ZHEMM at half the order
// Prints "case ours best_peer ratio" lines, speeds in GFLOPS; the "-vs-gemm" lines put
// our GEMM (DGEMM, ZGEMM) of the same extents in the peer column.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_blas.h"
#include "service/vrx_traits.h"

namespace {
// The peers' Fortran names: 32-bit integers, hidden lengths of the two characters.
template <typename T>
using fortran_symm_fn = void (*)(const char*, const char*, const int*, const int*, const T*, const T*, const int*,
                                 const T*, const int*, const T*, T*, const int*, std::size_t, std::size_t);
struct peer {
  const char* name;
  fortran_symm_fn<double> dsymm;
  fortran_symm_fn<vrx_complex_double> zhemm;
};

std::vector<peer> load_peers(int threads) {
  std::vector<peer> peers;
  for (const bench_peer_library& library : bench_open_peers(threads))
    if (library.handle)
      peers.push_back({library.name, reinterpret_cast<fortran_symm_fn<double>>(dlsym(library.handle, "dsymm_")),
                       reinterpret_cast<fortran_symm_fn<vrx_complex_double>>(dlsym(library.handle, "zhemm_"))});
  return peers;
}

template <typename T>
std::vector<T> filled(std::size_t count, uint64_t state) {
  std::vector<T> v(count);
  for (T& x : v) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    x = vrx_traits<T>::make(static_cast<vrx_real_t<T>>((state >> 40) % 1000) / 1000, 0.25);
  }
  return v;
}

void print(const std::string& name, double ours, double other) {
  std::printf("%s %.2f %.2f %.3f\n", name.c_str(), ours, other, other > 0 ? ours / other : 0.0);
  std::fflush(stdout);
}

// One SYMM (or HEMM) case of order n on `side`, beside the peers and our GEMM.
template <typename T>
void run_case(const std::vector<peer>& peers, const std::string& setting, int threads, char side, char uplo, int n) {
  const bool hermitian = vrx_is_complex<T>;
  const std::size_t count = static_cast<std::size_t>(n) * n;
  const std::vector<T> a = filled<T>(count, 1), b = filled<T>(count, 2);
  std::vector<T> c = filled<T>(count, 3);
  const double flops = (hermitian ? 8.0 : 2.0) * n * static_cast<double>(n) * n;
  double (*clock)() = threads == 1 ? bench_thread_cpu_now : bench_now;
  const vrx_int vn = n;
  const int in = n;
  const T one = vrx_traits<T>::make(1, 0);
  vrx_symm_fn_type<T>* ours_fn;
  vrx_gemm_fn<T> gemm;
  if constexpr (std::is_same_v<T, double>) ours_fn = DSYMM, gemm = vrx_blas_dgemm;
  else ours_fn = ZHEMM, gemm = vrx_blas_zgemm;
  const double ours = flops * 1e-9 / bench_best_seconds(2, [&] {
    ours_fn(&side, &uplo, &vn, &vn, &one, a.data(), &vn, b.data(), &vn, &one, c.data(), &vn);
  }, clock);
  double best_peer = 0;
  for (const peer& p : peers) {
    bench_settle();
    double speed = 0;
    if constexpr (std::is_same_v<T, double>) {
      if (!p.dsymm) continue;
      speed = flops * 1e-9 / bench_best_seconds(2, [&] {
        p.dsymm(&side, &uplo, &in, &in, &one, a.data(), &in, b.data(), &in, &one, c.data(), &in, 1, 1);
      }, clock);
    } else {
      if (!p.zhemm) continue;
      speed = flops * 1e-9 / bench_best_seconds(2, [&] {
        p.zhemm(&side, &uplo, &in, &in, &one, a.data(), &in, b.data(), &in, &one, c.data(), &in, 1, 1);
      }, clock);
    }
    if (speed > best_peer) best_peer = speed;
  }
  bench_settle();
  const double gemm_speed = flops * 1e-9 / bench_best_seconds(2, [&] {
    gemm("N", "N", &vn, &vn, &vn, &one, a.data(), &vn, b.data(), &vn, &one, c.data(), &vn);
  }, clock);
  const std::string name = std::string(1, vrx_traits<T>::letter) + (hermitian ? "HEMM-" : "SYMM-") + side + uplo +
                           "-" + std::to_string(n) + "-" + setting;
  print(name, ours, best_peer);
  print(name + "-vs-gemm", ours, gemm_speed);
}

void run_setting(const std::string& setting, int threads, int n) {
  const std::vector<peer> peers = load_peers(threads);
  run_case<double>(peers, setting, threads, 'L', 'U', n);
  run_case<double>(peers, setting, threads, 'R', 'L', n);
  run_case<vrx_complex_double>(peers, setting, threads, 'L', 'L', n / 2);
}
}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--child") == 0) {
    const int n = std::atoi(argv[2]);
    const char* type = std::getenv("VRX_DEBUG_CPU_TYPE");
    const std::string threads = std::getenv("VRX_NUM_THREADS") ? std::getenv("VRX_NUM_THREADS") : "1";
    run_setting(std::string("type") + (type ? type : "0") + "-t" + threads, std::atoi(threads.c_str()), n);
    return 0;
  }
  const int n = argc > 1 && std::strcmp(argv[1], "--full") == 0 ? 4000 : 2000;
  std::printf("case ours best_peer ratio\n");
  std::fflush(stdout);
  struct setting {
    const char* type;  // null: the detected type
    const char* threads;
  };
  for (const setting& s : {setting{"7", "1"}, setting{"7", "2"}, setting{nullptr, "1"}}) {
    if (s.type && !bench_cpu_can_run_type(std::atoi(s.type))) continue;
    std::vector<std::string> env = {std::string("VRX_NUM_THREADS=") + s.threads};
    if (s.type) env.push_back(std::string("VRX_DEBUG_CPU_TYPE=") + s.type);
    std::printf("%s", bench_rerun_self({"--child", std::to_string(n)}, env).c_str());
    std::fflush(stdout);
  }
  return 0;
}
