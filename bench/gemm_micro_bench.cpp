// Speed of the single and complex register-block kernels alone: one packed m by k block
// of A and k by n block of B, the kernel called on them again and again (beta 1), as a
// fraction of the measured FMA peak of its class in its precision (the single peak
// is twice the double one). Times are the thread's CPU time, best of several runs.
//   gemm_micro_bench [M N K]
// Prints one line per table: `table mr nr m n k gflops peak ratio`.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_support.h"
#include "blas/kernels/gemm_micro_tables.h"

namespace {
template <typename T>
T one_of(double x) {
  if constexpr (sizeof(T) == sizeof(float)) return T(x);
  else return T{decltype(T::re)(x), decltype(T::re)(0.5 * x)};
}

template <typename T>
void run(const char* name, const vrx_gemm_micro_kernels<T>& t, double peak, vrx_int m, vrx_int n, vrx_int k) {
  const bool cplx = !std::is_same_v<T, float>;
  std::vector<T> a(static_cast<size_t>(m) * k), b(static_cast<size_t>(k) * n), c(static_cast<size_t>(m) * n);
  for (size_t i = 0; i < a.size(); ++i) a[i] = one_of<T>(static_cast<double>(i % 17) * 0.01 - 0.08);
  for (size_t i = 0; i < b.size(); ++i) b[i] = one_of<T>(static_cast<double>(i % 13) * 0.01 - 0.06);
  for (T& x : c) x = one_of<T>(0.0);
  std::vector<T> pa(a.size()), pb(b.size());
  t.pack_a[VRX_MICRO_PLAIN](a.data(), m, m, k, one_of<T>(1.0), pa.data());
  t.pack_b[VRX_MICRO_PLAIN](b.data(), k, k, n, one_of<T>(1.0), pb.data());
  const double flops = (cplx ? 8.0 : 2.0) * m * n * k;
  const int batch = static_cast<int>(4e8 / flops) + 1;
  const T beta = one_of<T>(1.0);
  double best = 0;
  for (int round = 0; round < 3; ++round) {
    const double seconds = bench_best_seconds(5, [&] {
      for (int i = 0; i < batch; ++i) t.kernel(m, n, k, pa.data(), pb.data(), c.data(), m, beta);
    }, bench_thread_cpu_now);
    const double g = flops * batch / seconds * 1e-9;
    if (g > best) best = g;
  }
  // The packs of the same blocks, with a factor that is neither one nor real, from the
  // source as stored and transposed: time of each as a fraction of one kernel call.
  const double kernel_seconds = flops / (best * 1e9);
  const T factor = one_of<T>(1.5);
  double pack_share[4];
  for (int p = 0; p < 4; ++p) {
    const bool is_a = p < 2, transposed = p % 2 == 1;
    const vrx_int rows = is_a ? m : k, cols = is_a ? k : n;
    const std::vector<T>& src = is_a ? a : b;
    const vrx_int ld = transposed ? cols : rows;
    T* out = is_a ? pa.data() : pb.data();
    const auto& pack = (is_a ? t.pack_a : t.pack_b)[transposed ? VRX_MICRO_TRANSPOSED : VRX_MICRO_PLAIN];
    const auto body = [&] { pack(src.data(), ld, rows, cols, factor, out); };
    pack_share[p] = bench_best_seconds(10, body, bench_thread_cpu_now) / kernel_seconds;
  }
  std::printf("%s_packs_vs_kernel a_n %.3f a_t %.3f b_n %.3f b_t %.3f\n", name, pack_share[0], pack_share[1],
              pack_share[2], pack_share[3]);
  std::printf("%s %ld %ld %ld %ld %ld %.1f %.1f %.3f\n", name, static_cast<long>(t.mr), static_cast<long>(t.nr),
              static_cast<long>(m), static_cast<long>(n), static_cast<long>(k), best, peak, best / peak);
  std::fflush(stdout);
}

// The three tables of one class, against its FMA peak in single precision (or twice the
// double one, if higher); double complex against half of it.
void run_class(int cpu_type, const char* cls, const vrx_gemm_micro_kernels<float>& s,
               const vrx_gemm_micro_kernels<vrx_complex_float>& c, const vrx_gemm_micro_kernels<vrx_complex_double>& z,
               vrx_int m, vrx_int n, vrx_int k) {
  if (!bench_cpu_can_run_type(cpu_type)) return;
  const double single = bench_fma_peak_cpu_time(cpu_type, true);
  const double twice = 2 * bench_fma_peak_cpu_time(cpu_type, false);
  const double peak = single > twice ? single : twice;
  const std::string name = cls;
  run(("s_" + name).c_str(), s, peak, m, n, k);
  run(("c_" + name).c_str(), c, peak, m, n, k);
  run(("z_" + name).c_str(), z, peak / 2, m, n, k);
}
}  // namespace

int main(int argc, char** argv) {
  // A block as the level-3 driver hands it: many row panels against one B block.
  vrx_int m = 960, n = 192, k = 384;
  if (argc == 4) {
    m = std::atol(argv[1]);
    n = std::atol(argv[2]);
    k = std::atol(argv[3]);
  }
  std::printf("table mr nr m n k gflops peak ratio\n");
  run_class(7, "avx512", vrx_gemm_micro_s_avx512, vrx_gemm_micro_c_avx512, vrx_gemm_micro_z_avx512, m, n, k);
  run_class(5, "avx2", vrx_gemm_micro_s_avx2, vrx_gemm_micro_c_avx2, vrx_gemm_micro_z_avx2, m, n, k);
  return 0;
}
