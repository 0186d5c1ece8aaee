// Every subtraction kernel, called directly: exact results, aliasing, bounds,
// and the floating-point control of the guarded ones.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/gemm_reference.h"
#include "vector/vrx_vmf.h"

namespace {
struct kernel_case {
  const char* name;
  vrx_vmf_dkernel kernel;
  bool supported;
  bool guarded;
};

std::vector<kernel_case> kernels() {
  return {
      {"plain_sse2", vrx_vmf_dsub_plain_sse2, true, false},
      {"guarded_sse2", vrx_vmf_dsub_guarded_sse2, true, true},
      {"guarded_sse42", vrx_vmf_dsub_guarded_sse42, __builtin_cpu_supports("sse4.2") != 0, true},
      {"guarded_avx", vrx_vmf_dsub_guarded_avx, __builtin_cpu_supports("avx") != 0, true},
      {"guarded_avx2", vrx_vmf_dsub_guarded_avx2, __builtin_cpu_supports("avx2") != 0, true},
      {"guarded_avx512", vrx_vmf_dsub_guarded_avx512, __builtin_cpu_supports("avx512f") != 0, true},
  };
}

constexpr double sentinel = -12345.678;
const int sizes[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 99, 100, 103, 1000};

// Random values with zeros of both signs, infinities, a NaN, tiny and huge numbers mixed in.
std::vector<double> operand(std::size_t count, unsigned seed) {
  std::vector<double> v = vrx_test_random(count, seed);
  const double specials[] = {0.0, -0.0, std::numeric_limits<double>::infinity(), 1e308, -1e308,
                             std::numeric_limits<double>::denorm_min(), 1e-300, 3.0,
                             std::numeric_limits<double>::quiet_NaN()};
  for (std::size_t i = 0; i < count; i += 5) v[i] = specials[(i / 5 + seed) % 9];
  return v;
}

bool same(double x, double r) {
  if (std::isnan(r)) return std::isnan(x);
  return std::memcmp(&x, &r, sizeof x) == 0;
}

void expect_subtraction(const double* y, const std::vector<double>& a, const std::vector<double>& b, int n,
                        const char* what) {
  for (int i = 0; i < n; ++i) {
    const double r = a[i] - b[i];
    ASSERT_TRUE(same(y[i], r)) << what << " n=" << n << " i=" << i << " got " << y[i] << " want " << r;
  }
}

// Runs with the rounding and flush bits of the control register set to `bits`,
// and answers the register as the kernel left it.
std::uint32_t run_under(std::uint32_t bits, vrx_vmf_dkernel kernel, int n, const double* a, const double* b,
                        double* y) {
  const std::uint32_t outer = _mm_getcsr();
  _mm_setcsr((outer & ~0xE040u) | bits);
  kernel(n, a, b, y);
  const std::uint32_t after = _mm_getcsr();
  _mm_setcsr(outer);
  return after;
}

void set_mode_word(std::uint32_t mode) { vrx_vmf_context_get()->mode = mode; }
}  // namespace

TEST(VdsubKernels, ExactForEverySizeWithOutputBoundsKept) {
  for (const kernel_case& k : kernels()) {
    if (!k.supported) continue;
    for (int n : sizes) {
      for (int shift = 0; shift < 2; ++shift) {  // aligned and one element off
        const std::vector<double> a = operand(n + 1, 3 + n), b = operand(n + 1, 11 + n);
        std::vector<double> out(n + 3, sentinel);
        double* y = out.data() + 1 + shift;
        k.kernel(n, a.data(), b.data(), y);
        expect_subtraction(y, a, b, n, k.name);
        for (int i = 0; i < 1 + shift; ++i) EXPECT_EQ(out[i], sentinel) << k.name;
        for (std::size_t i = 1 + shift + n; i < out.size(); ++i) EXPECT_EQ(out[i], sentinel) << k.name << " n=" << n;
      }
    }
  }
}

TEST(VdsubKernels, OutputMayBeEitherInput) {
  for (const kernel_case& k : kernels()) {
    if (!k.supported) continue;
    for (int n : {1, 3, 8, 17, 65, 1000}) {
      const std::vector<double> a = operand(n, 5), b = operand(n, 6);
      std::vector<double> y_is_a = a, y_is_b = b;
      k.kernel(n, y_is_a.data(), b.data(), y_is_a.data());
      expect_subtraction(y_is_a.data(), a, b, n, k.name);
      k.kernel(n, a.data(), y_is_b.data(), y_is_b.data());
      expect_subtraction(y_is_b.data(), a, b, n, k.name);
      std::vector<double> both = a;  // y = a = b: a - a
      k.kernel(n, both.data(), both.data(), both.data());
      expect_subtraction(both.data(), a, a, n, k.name);
    }
  }
}

TEST(VdsubKernels, GuardedKernelsRoundToNearestAndRestoreTheCallersRegister) {
  const std::uint32_t saved_mode = vrx_vmf_get_mode();
  set_mode_word(0x1A02);
  const int n = 37;
  const std::vector<double> a(n, 1.0), b(n, std::ldexp(1.0, -60));
  const double nearest = 1.0, toward_zero = std::nextafter(1.0, 0.0);
  for (const kernel_case& k : kernels()) {
    if (!k.supported) continue;
    std::vector<double> y(n);
    const std::uint32_t round_toward_zero = 0x6000;
    const std::uint32_t after = run_under(round_toward_zero, k.kernel, n, a.data(), b.data(), y.data());
    EXPECT_EQ(after & 0xE040u, round_toward_zero) << k.name;
    for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], k.guarded ? nearest : toward_zero) << k.name << " i=" << i;
  }
  set_mode_word(saved_mode);
}

TEST(VdsubKernels, FlushModeFlushesDenormalsOnlyInGuardedKernels) {
  const std::uint32_t saved_mode = vrx_vmf_get_mode();
  const double min_normal = std::numeric_limits<double>::min();
  const int n = 19;
  const std::vector<double> a(n, 1.5 * min_normal), b(n, min_normal);  // difference is denormal
  const double denormal = 0.5 * min_normal;
  for (const kernel_case& k : kernels()) {
    if (!k.supported) continue;
    std::vector<double> y(n);
    set_mode_word(0x1A02 | VRX_VMF_FLUSH_DENORMALS);
    EXPECT_EQ(run_under(0, k.kernel, n, a.data(), b.data(), y.data()) & 0xE040u, 0u) << k.name;
    for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], k.guarded ? 0.0 : denormal) << k.name;
    // Without the flush mode a guarded kernel clears a caller's flush bits for its run.
    set_mode_word(0x1A02);
    EXPECT_EQ(run_under(0x8040, k.kernel, n, a.data(), b.data(), y.data()) & 0xE040u, 0x8040u) << k.name;
    for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], k.guarded ? denormal : 0.0) << k.name;
  }
  set_mode_word(saved_mode);
}
