#include "bench_support.h"

#include <dlfcn.h>
#include <immintrin.h>

#include <chrono>
#include <thread>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {
double seconds_of(clockid_t clock) {
  timespec t;
  clock_gettime(clock, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}
}  // namespace

double bench_now() { return seconds_of(CLOCK_MONOTONIC); }

double bench_thread_cpu_now() { return seconds_of(CLOCK_THREAD_CPUTIME_ID); }

void bench_settle() { std::this_thread::sleep_for(std::chrono::milliseconds(300)); }

std::vector<bench_peer_library> bench_open_peers(int threads) {
  std::vector<bench_peer_library> libraries;
  // Peers read their settings when loaded: give each its best configuration here.
  const std::string count = std::to_string(threads);
  unsetenv("OPENBLAS_CORETYPE");
  unsetenv("OPENBLAS_L2_SIZE");
  setenv("OPENBLAS_NUM_THREADS", count.c_str(), 1);
  setenv("BLIS_ARCH_TYPE", "0", 1);
  setenv("BLIS_NUM_THREADS", count.c_str(), 1);
  struct candidate {
    const char* name;
    const char* path;
  };
  const candidate candidates[] = {{"OpenBLAS", VRX_PEER_OPENBLAS}, {"BLIS", VRX_PEER_BLIS}};
  for (const candidate& c : candidates) {
    void* handle = c.path[0] != '\0' ? dlopen(c.path, RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (handle) {
      // The thread count asked for, whatever the OpenMP runtime would otherwise give them.
      typedef void (*set_threads_fn)(int);
      for (const char* setter : {"openblas_set_num_threads", "bli_thread_set_num_threads"})
        if (auto set = reinterpret_cast<set_threads_fn>(dlsym(handle, setter))) set(threads);
    }
    libraries.push_back({c.name, handle});
  }
  return libraries;
}

std::vector<bench_peer> bench_load_peers() {
  std::vector<bench_peer> peers;
  for (const bench_peer_library& library : bench_open_peers(1))
    peers.push_back({library.name, library.handle ? reinterpret_cast<bench_cblas_dgemm_fn>(
                                                        dlsym(library.handle, "cblas_dgemm"))
                                                  : nullptr});
  return peers;
}

namespace {
constexpr long peak_iterations = 20000000;

// Twelve independent accumulators hide the latency of each operation. `x * m + a` is one
// FMA where the target has it (contracted by the compiler), else a multiply and an add.
#define BENCH_PEAK_LOOP(name, target_spec, lanes)                                    \
  __attribute__((target(target_spec))) double name() {                               \
    typedef double vec __attribute__((vector_size(8 * (lanes))));                    \
    vec acc[12], m, a;                                                               \
    for (int l = 0; l < (lanes); ++l) m[l] = 0.999999, a[l] = 1e-9;                  \
    for (auto& x : acc) x = m / m;                                                   \
    const double start = bench_now();                                                \
    for (long i = 0; i < peak_iterations; ++i)                                       \
      for (auto& x : acc) x = x * m + a;                                             \
    const double t = bench_now() - start;                                            \
    double sum = 0;                                                                  \
    for (const auto& x : acc)                                                        \
      for (int l = 0; l < (lanes); ++l) sum += x[l];                                 \
    volatile double sink = sum;                                                      \
    (void)sink;                                                                      \
    return 12.0 * (lanes) * 2 * peak_iterations / t * 1e-9;                          \
  }

BENCH_PEAK_LOOP(peak_sse2, "sse2", 2)
BENCH_PEAK_LOOP(peak_avx, "avx", 4)
BENCH_PEAK_LOOP(peak_fma256, "avx2,fma", 4)
BENCH_PEAK_LOOP(peak_fma512, "avx512f", 8)
#undef BENCH_PEAK_LOOP
}  // namespace

bool bench_cpu_can_run_type(int cpu_type) {
  switch (cpu_type) {
    case 0: return true;
    case 2: return __builtin_cpu_supports("ssse3");
    case 3: return __builtin_cpu_supports("sse4.2");
    case 4: return __builtin_cpu_supports("avx");
    case 5: return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    case 7: return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                   __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
    default: return false;
  }
}

namespace {
#define BENCH_FMA_PEAK(name, target_spec, V, SET, FMA, lanes)            \
  __attribute__((target(target_spec))) double name() {                   \
    constexpr long iterations = 5000000;                                 \
    const V add = SET(1e-9), factor = SET(0.999999);                     \
    double best = 1e300;                                                 \
    for (int r = 0; r < 5; ++r) {                                        \
      V acc[12];                                                         \
      for (auto& x : acc) x = SET(1.0);                                  \
      const double start = bench_thread_cpu_now();                       \
      for (long i = 0; i < iterations; ++i)                              \
        for (auto& x : acc) x = FMA(x, factor, add);                     \
      const double t = bench_thread_cpu_now() - start;                   \
      volatile float sink = reinterpret_cast<float*>(&acc[r % 12])[0];   \
      (void)sink;                                                        \
      if (t < best) best = t;                                            \
    }                                                                    \
    return 2.0 * (lanes) * 12 * iterations / best * 1e-9;               \
  }
BENCH_FMA_PEAK(fma_peak_s_avx2, "avx2,fma", __m256, _mm256_set1_ps, _mm256_fmadd_ps, 8)
BENCH_FMA_PEAK(fma_peak_d_avx2, "avx2,fma", __m256d, _mm256_set1_pd, _mm256_fmadd_pd, 4)
BENCH_FMA_PEAK(fma_peak_s_avx512, "avx512f", __m512, _mm512_set1_ps, _mm512_fmadd_ps, 16)
BENCH_FMA_PEAK(fma_peak_d_avx512, "avx512f", __m512d, _mm512_set1_pd, _mm512_fmadd_pd, 8)
#undef BENCH_FMA_PEAK
}  // namespace

double bench_fma_peak_cpu_time(int cpu_type, bool single) {
  if ((cpu_type != 5 && cpu_type != 7) || !bench_cpu_can_run_type(cpu_type)) return 0;
  if (cpu_type == 7) return single ? fma_peak_s_avx512() : fma_peak_d_avx512();
  return single ? fma_peak_s_avx2() : fma_peak_d_avx2();
}

double bench_measure_peak_for_type(int cpu_type) {
  switch (cpu_type) {
    case 4: return peak_avx();
    case 5: return peak_fma256();
    case 7: return peak_fma512();
    default: return peak_sse2();
  }
}

bench_peaks bench_measure_peaks() {
  bench_peaks p{};
  p.sse2_mul_add = bench_measure_peak_for_type(0);
  if (bench_cpu_can_run_type(4)) p.avx_mul_add = bench_measure_peak_for_type(4);
  if (bench_cpu_can_run_type(5)) p.avx2_fma = bench_measure_peak_for_type(5);
  if (bench_cpu_can_run_type(7)) p.avx512_fma = bench_measure_peak_for_type(7);
  return p;
}

double bench_peak_for_type(const bench_peaks& peaks, int cpu_type) {
  switch (cpu_type) {
    case 4: return peaks.avx_mul_add;
    case 5: return peaks.avx2_fma;
    case 7: return peaks.avx512_fma;
    default: return peaks.sse2_mul_add;
  }
}

std::string bench_rerun_self(const std::vector<std::string>& args, const std::vector<std::string>& extra_env) {
  std::string command;
  for (const std::string& e : extra_env) command += e + " ";
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return "";
  self[n] = '\0';
  command += std::string("'") + self + "'";
  for (const std::string& a : args) command += " '" + a + "'";
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return out;
  char buffer[4096];
  while (fgets(buffer, sizeof buffer, pipe)) out += buffer;
  pclose(pipe);
  return out;
}

void bench_rerun_per_type_and_threads(const std::vector<std::string>& args) {
  for (int type : {7, 0}) {
    if (!bench_cpu_can_run_type(type)) continue;
    for (int threads : {1, 2}) {
      const std::string out =
          bench_rerun_self(args, {"VRX_DEBUG_CPU_TYPE=" + std::to_string(type), "VRX_DYNAMIC=false",
                                  "VRX_NUM_THREADS=" + std::to_string(threads),
                                  std::string(type == 7 ? "VRX_ENABLE_INSTRUCTIONS=AVX512" : "VRX_ENABLE_INSTRUCTIONS=")});
      std::fputs(out.c_str(), stdout);
      std::fflush(stdout);
    }
  }
}

int bench_main_per_type_and_threads(int argc, char** argv, void (*run)(bool full, int type, int threads)) {
  bool full = false, worker = false;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--full")) full = true;
    if (!std::strcmp(argv[i], "--worker")) worker = true;
  }
  if (worker) {
    const char* forced = std::getenv("VRX_DEBUG_CPU_TYPE");
    const char* count = std::getenv("VRX_NUM_THREADS");
    run(full, forced ? std::atoi(forced) : 0, count ? std::atoi(count) : 1);
    return 0;
  }
  std::printf("case ours best_peer ratio\n");
  std::fflush(stdout);
  std::vector<std::string> args = {"--worker"};
  if (full) args.push_back("--full");
  bench_rerun_per_type_and_threads(args);
  return 0;
}

std::vector<bench_peer_library> bench_open_lapack_peers(int threads) {
  std::vector<bench_peer_library> peers;
  for (const bench_peer_library& library : bench_open_peers(threads))
    if (library.handle && std::string(library.name) == "OpenBLAS") peers.push_back(library);
  // BLIS as the process's libblas.so.3 (after the thread settings above), so that the
  // published LAPACK binds to it by its name, and libflame finds the BLAS and libm it
  // leaves undefined.
  setenv("OMP_NUM_THREADS", std::to_string(threads).c_str(), 1);
  dlopen("libm.so.6", RTLD_NOW | RTLD_GLOBAL);
  if (!dlopen("/usr/lib/x86_64-linux-gnu/blis-openmp/libblas.so.3", RTLD_NOW | RTLD_GLOBAL)) return peers;
  if (void* reference = dlopen("/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3", RTLD_NOW | RTLD_LOCAL))
    peers.push_back({"LAPACK+BLIS", reference});
  if (void* flame = dlopen("libflame.so.1", RTLD_NOW | RTLD_LOCAL)) {
    typedef void (*init_fn)();
    if (auto init = reinterpret_cast<init_fn>(dlsym(flame, "FLA_Init"))) init();
    peers.push_back({"libflame", flame});
  }
  return peers;
}

bench_lmder_fn bench_open_lmder() {
  void* minpack = dlopen("libminpack.so.1", RTLD_NOW | RTLD_LOCAL);
  return minpack ? reinterpret_cast<bench_lmder_fn>(dlsym(minpack, "lmder_")) : nullptr;
}
