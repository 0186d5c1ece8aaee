// Single-thread speed of SGEMM, CGEMM and ZGEMM on the AVX-512 and AVX2 routes (called
// directly, so no CPU type needs forcing), beside OpenBLAS and BLIS at their best through
// their CBLAS entries. Times are the thread's CPU time, best of three runs.
//   gemm_typed_bench [--full]      orders 1000 (and 2000, 4000 with --full), NN and TN
// Prints one line per case: "case ours best_peer ratio", speeds in GFLOPS.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench_support.h"
#include "blas/vrx_l3.h"

namespace {
// CBLAS products of the peers; scalars by value for float, by pointer for complex.
typedef void (*cblas_sgemm_fn)(int, int, int, int, int, int, float, const float*, int, const float*, int, float,
                               float*, int);
typedef void (*cblas_xgemm_fn)(int, int, int, int, int, int, const void*, const void*, int, const void*, int,
                               const void*, void*, int);
constexpr int col_major = 102, no_trans = 111, trans = 112;

struct peer {
  const char* name;
  cblas_sgemm_fn s;
  cblas_xgemm_fn c, z;
};

std::vector<peer> load_peers() {
  unsetenv("OPENBLAS_CORETYPE");
  unsetenv("OPENBLAS_L2_SIZE");
  setenv("OPENBLAS_NUM_THREADS", "1", 1);
  setenv("BLIS_ARCH_TYPE", "0", 1);
  setenv("BLIS_NUM_THREADS", "1", 1);
  std::vector<peer> peers;
  const std::pair<const char*, const char*> candidates[] = {{"OpenBLAS", VRX_PEER_OPENBLAS}, {"BLIS", VRX_PEER_BLIS}};
  for (const auto& [name, path] : candidates) {
    if (path[0] == '\0') continue;
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!handle) continue;
    typedef void (*set_threads_fn)(int);
    for (const char* setter : {"openblas_set_num_threads", "bli_thread_set_num_threads"})
      if (auto set = reinterpret_cast<set_threads_fn>(dlsym(handle, setter))) set(1);
    peers.push_back({name, reinterpret_cast<cblas_sgemm_fn>(dlsym(handle, "cblas_sgemm")),
                     reinterpret_cast<cblas_xgemm_fn>(dlsym(handle, "cblas_cgemm")),
                     reinterpret_cast<cblas_xgemm_fn>(dlsym(handle, "cblas_zgemm"))});
  }
  return peers;
}

template <typename T>
void call_peer(const peer& p, char ta, char tb, int n, const T* a, const T* b, T* c) {
  const int oa = ta == 'N' ? no_trans : trans, ob = tb == 'N' ? no_trans : trans;
  const T one = vrx_traits<T>::make(1, 0);
  if constexpr (std::is_same_v<T, float>) p.s(col_major, oa, ob, n, n, n, one, a, n, b, n, one, c, n);
  else if constexpr (std::is_same_v<T, vrx_complex_float>) p.c(col_major, oa, ob, n, n, n, &one, a, n, b, n, &one, c, n);
  else p.z(col_major, oa, ob, n, n, n, &one, a, n, b, n, &one, c, n);
}

template <typename T>
bool peer_has(const peer& p) {
  if constexpr (std::is_same_v<T, float>) return p.s != nullptr;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return p.c != nullptr;
  else return p.z != nullptr;
}

template <typename T>
void run_case(const std::vector<peer>& peers, int cpu, int n, char ta, char tb) {
  const std::size_t count = static_cast<std::size_t>(n) * n;
  std::vector<T> a(count), b(count), c(count);
  uint64_t state = 1;
  for (auto* v : {&a, &b, &c})
    for (T& x : *v) {
      state = state * 6364136223846793005ull + 1442695040888963407ull;
      x = vrx_traits<T>::make(static_cast<vrx_real_t<T>>((state >> 40) % 1000) / 1000, 0.25);
    }
  const double flops = (vrx_is_complex<T> ? 8.0 : 2.0) * n * static_cast<double>(n) * n;
  const vrx_gemm_fn<T> route = cpu == VRX_CPU_AVX512 ? vrx_blas_gemm_route_avx512<T> : vrx_blas_gemm_route_avx2<T>;
  const vrx_int vn = n;
  const T one = vrx_traits<T>::make(1, 0);
  const double ours = flops * 1e-9 / bench_best_seconds(3, [&] {
    route(&ta, &tb, &vn, &vn, &vn, &one, a.data(), &vn, b.data(), &vn, &one, c.data(), &vn);
  }, bench_thread_cpu_now);
  double best_peer = 0;
  for (const peer& p : peers) {
    if (!peer_has<T>(p)) continue;
    bench_settle();
    const double speed =
        flops * 1e-9 / bench_best_seconds(3, [&] { call_peer<T>(p, ta, tb, n, a.data(), b.data(), c.data()); },
                                          bench_thread_cpu_now);
    if (speed > best_peer) best_peer = speed;
  }
  std::printf("%c-%c%c-%d-type%d %.2f %.2f %.3f\n", vrx_traits<T>::letter, ta, tb, n, cpu, ours, best_peer,
              best_peer > 0 ? ours / best_peer : 0.0);
  std::fflush(stdout);
}
}  // namespace

int main(int argc, char** argv) {
  const bool full = argc > 1 && std::strcmp(argv[1], "--full") == 0;
  const std::vector<peer> peers = load_peers();
  std::vector<int> orders = {1000};
  if (full) orders = {1000, 2000, 4000};
  std::printf("case ours best_peer ratio\n");
  for (int cpu : {VRX_CPU_AVX512, VRX_CPU_AVX2}) {
    if (!bench_cpu_can_run_type(cpu)) continue;
    for (int n : orders)
      for (const char* t : {"NN", "TN"}) {
        run_case<float>(peers, cpu, n, t[0], t[1]);
        run_case<vrx_complex_float>(peers, cpu, n, t[0], t[1]);
        run_case<vrx_complex_double>(peers, cpu, n, t[0], t[1]);
      }
  }
  return 0;
}
