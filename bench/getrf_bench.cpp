// Speed of the LU factorisation beside the peers: OpenBLAS's own getrf, the published LAPACK
// over BLIS, and libflame; and beside our GEMM of the same shape. Each configuration (CPU type, threads) runs in a child process, since both are
// read once per process. A is restored before every timed call.
//   getrf_bench [--full] [--order N]
//     quick: DGETRF, SGETRF and ZGETRF of order 4000 (or N) on types 7 and 0, one and two
//     threads; --full adds DGETRF of order 8000 and a tall 10000 by 1000.
// Prints "case ours best_peer ratio", then our rate over our GEMM's of the same shape and
// the fraction of the measured peak; speeds in GFLOPS by the wall clock.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_blas.h"
#include "lapack/vrx_lapack.h"

namespace {
template <typename T>
using fortran_getrf_fn = void (*)(const int* m, const int* n, T* a, const int* lda, int* ipiv, int* info);

struct peer {
  std::string name;
  fortran_getrf_fn<float> sgetrf;
  fortran_getrf_fn<double> dgetrf;
  fortran_getrf_fn<vrx_complex_double> zgetrf;
};

peer peer_from(const std::string& name, void* handle) {
  return {name, reinterpret_cast<fortran_getrf_fn<float>>(dlsym(handle, "sgetrf_")),
          reinterpret_cast<fortran_getrf_fn<double>>(dlsym(handle, "dgetrf_")),
          reinterpret_cast<fortran_getrf_fn<vrx_complex_double>>(dlsym(handle, "zgetrf_"))};
}

std::vector<peer> load_peers(int threads) {
  std::vector<peer> peers;
  for (const bench_peer_library& library : bench_open_lapack_peers(threads))
    peers.push_back(peer_from(library.name, library.handle));
  return peers;
}

struct lu_case {
  char letter;  // S, D, Z
  int m, n;
};

template <typename T>
void fill(std::vector<T>* a) {
  uint64_t state = 11;
  for (T& x : *a) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    const double re = static_cast<double>((state >> 40) % 2001) / 1000.0 - 1.0;
    const double im = static_cast<double>((state >> 20) % 2001) / 1000.0 - 1.0;
    x = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(re), static_cast<vrx_real_t<T>>(im));
  }
}

// Floating-point operations of an m by n LU (a complex multiply-add counts as four).
double lu_flops(bool complex, double m, double n) {
  const double k = m < n ? m : n, l = m < n ? n : m;
  return (complex ? 4.0 : 1.0) * (l * k * k - k * k * k / 3.0);
}

// Our GEMM of the LU's shape: m by n by min(m, n).
template <typename T>
double gemm_rate(int m, int n) {
  const int k = m < n ? m : n;
  std::vector<T> a(static_cast<std::size_t>(m) * k), b(static_cast<std::size_t>(k) * n), c0(static_cast<std::size_t>(m) * n), c;
  fill(&a);
  fill(&b);
  fill(&c0);
  const vrx_int vm = m, vn = n, vk = k;
  const T one = vrx_traits<T>::make(1, 0);
  const double flops = (vrx_is_complex<T> ? 8.0 : 2.0) * m * static_cast<double>(n) * k;
  return flops * 1e-9 / bench_best_restored(flops > 6e10 ? 1 : 2, [&] { c = c0; }, [&] {
    if constexpr (std::is_same_v<T, float>) vrx_blas_sgemm("N", "N", &vm, &vn, &vk, &one, a.data(), &vm, b.data(), &vk, &one, c.data(), &vm);
    else if constexpr (std::is_same_v<T, double>) vrx_blas_dgemm("N", "N", &vm, &vn, &vk, &one, a.data(), &vm, b.data(), &vk, &one, c.data(), &vm);
    else vrx_blas_zgemm("N", "N", &vm, &vn, &vk, &one, a.data(), &vm, b.data(), &vk, &one, c.data(), &vm);
  });
}

template <typename T>
void run_case(const lu_case& c, const std::vector<peer>& peers, int type, int threads, double peak) {
  const double reference_rate = gemm_rate<T>(c.m, c.n);
  std::vector<T> a0(static_cast<std::size_t>(c.m) * c.n), a;
  fill(&a0);
  const double flops = lu_flops(vrx_is_complex<T>, c.m, c.n);
  const int repeats = flops > 1e11 ? 1 : 2;
  const vrx_int m = c.m, n = c.n, lda = c.m;
  const int im = c.m, in = c.n, ia = c.m;
  std::vector<vrx_int> ipiv(static_cast<std::size_t>(c.m < c.n ? c.m : c.n));
  std::vector<int> ipiv32(ipiv.size());
  vrx_int info = 0;
  const double ours = flops * 1e-9 / bench_best_restored(repeats, [&] { a = a0; }, [&] {
    if constexpr (std::is_same_v<T, float>) vrx_lapack_SGETRF(&m, &n, a.data(), &lda, ipiv.data(), &info);
    else if constexpr (std::is_same_v<T, double>) vrx_lapack_DGETRF(&m, &n, a.data(), &lda, ipiv.data(), &info);
    else vrx_lapack_ZGETRF(&m, &n, a.data(), &lda, ipiv.data(), &info);
  });
  double best_peer = 0;
  std::string best_name = "-";
  for (const peer& p : peers) {
    fortran_getrf_fn<T> fn;
    if constexpr (std::is_same_v<T, float>) fn = p.sgetrf;
    else if constexpr (std::is_same_v<T, double>) fn = p.dgetrf;
    else fn = p.zgetrf;
    if (!fn) continue;
    bench_settle();
    int peer_info = 0;
    const double rate = flops * 1e-9 / bench_best_restored(repeats, [&] { a = a0; }, [&] {
      fn(&im, &in, a.data(), &ia, ipiv32.data(), &peer_info);
    });
    std::printf("#   %s %.2f\n", p.name.c_str(), rate);
    if (rate > best_peer) {
      best_peer = rate;
      best_name = p.name;
    }
  }
  std::printf("%cGETRF-%dx%d-type%d-t%d %.2f %.2f %.3f (%s) of_gemm %.3f of_peak %.3f\n", c.letter, c.m, c.n, type,
              threads, ours, best_peer, best_peer > 0 ? ours / best_peer : 0.0, best_name.c_str(),
              reference_rate > 0 ? ours / reference_rate : 0.0, peak > 0 ? ours / peak : 0.0);
  std::fflush(stdout);
}

std::vector<lu_case> cases(bool full, int order) {
  std::vector<lu_case> list = {{'D', order, order}, {'S', order, order}, {'Z', order, order}};
  if (full) {
    list.push_back({'D', 8000, 8000});
    list.push_back({'D', 10000, 1000});
  }
  return list;
}
}  // namespace

int main(int argc, char** argv) {
  bool full = false, worker = false;
  int order = 4000;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--order") && i + 1 < argc) order = std::atoi(argv[i + 1]);
    if (!std::strcmp(argv[i], "--full")) full = true;
    if (!std::strcmp(argv[i], "--worker")) worker = true;
  }
  if (worker) {
    const char* forced = std::getenv("VRX_DEBUG_CPU_TYPE");
    const char* count = std::getenv("VRX_NUM_THREADS");
    const int type = forced ? std::atoi(forced) : 0, threads = count ? std::atoi(count) : 1;
    const std::vector<peer> peers = load_peers(threads);
    const double peak = threads * bench_measure_peak_for_type(type);
    for (const lu_case& c : cases(full, order)) {
      if (c.letter == 'S') run_case<float>(c, peers, type, threads, 2 * peak);
      else if (c.letter == 'D') run_case<double>(c, peers, type, threads, peak);
      else run_case<vrx_complex_double>(c, peers, type, threads, peak);
    }
    return 0;
  }
  std::printf("case ours best_peer ratio\n");
  std::fflush(stdout);
  std::vector<std::string> args = {"--worker", "--order", std::to_string(order)};
  if (full) args.push_back("--full");
  bench_rerun_per_type_and_threads(args);
  return 0;
}
