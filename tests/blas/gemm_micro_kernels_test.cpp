// The single and complex register-block kernels and packs of the AVX-512 and AVX2
// classes, called directly: packed layout, every row and column tail, beta 0 over NaN
// and beta 1, against a reference in a wider type, with guards around every output and
// the packed panels ending at an unreadable page.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "blas/kernels/gemm_micro_tables.h"

namespace {
template <typename T>
struct facts;
template <>
struct facts<float> {
  typedef float real;
  typedef double wide;
  static constexpr bool cplx = false;
};
template <>
struct facts<vrx_complex_float> {
  typedef float real;
  typedef double wide;
  static constexpr bool cplx = true;
};
template <>
struct facts<vrx_complex_double> {
  typedef double real;
  typedef long double wide;
  static constexpr bool cplx = true;
};

template <typename T>
using wide_complex = std::complex<typename facts<T>::wide>;

template <typename T>
T make(double re, double im) {
  if constexpr (facts<T>::cplx) return T{typename facts<T>::real(re), typename facts<T>::real(im)};
  else return T(re);
}
template <typename T>
wide_complex<T> widen(T x) {
  if constexpr (facts<T>::cplx) return {x.re, x.im};
  else return {x, 0};
}
template <typename T>
T conjugate(T x) {
  if constexpr (facts<T>::cplx) return T{x.re, -x.im};
  else return x;
}
template <typename T>
bool same_bits(T x, T y) {
  return std::memcmp(&x, &y, sizeof(T)) == 0;
}
template <typename T>
bool finite(T x) {
  if constexpr (facts<T>::cplx) return std::isfinite(x.re) && std::isfinite(x.im);
  else return std::isfinite(x);
}

// Relative rounding error of T's real type.
template <typename T>
double eps() {
  return std::numeric_limits<typename facts<T>::real>::epsilon();
}

template <typename T>
std::vector<T> random_values(std::size_t count, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> dist(-1.0, 1.0);
  std::vector<T> v(count);
  for (T& x : v) {
    const double re = dist(gen);
    x = make<T>(re, dist(gen));
  }
  return v;
}

// A logical rows by cols matrix X (column-major, leading dimension rows) stored as the
// pack variant reads it: as stored, transposed, or conjugate-transposed, so that op(source)
// is X in every case. ld exceeds the stored extent by 3.
template <typename T>
struct source {
  std::vector<T> data;
  vrx_int ld;
};
template <typename T>
source<T> store_as(const std::vector<T>& x, vrx_int rows, vrx_int cols, int variant) {
  source<T> s;
  const T junk = make<T>(777.0, -777.0);
  if (variant == VRX_MICRO_PLAIN) {
    s.ld = rows + 3;
    s.data.assign(static_cast<std::size_t>(s.ld) * cols, junk);
    for (vrx_int j = 0; j < cols; ++j)
      for (vrx_int i = 0; i < rows; ++i) s.data[i + j * s.ld] = x[i + j * rows];
  } else {
    s.ld = cols + 3;
    s.data.assign(static_cast<std::size_t>(s.ld) * rows, junk);
    for (vrx_int j = 0; j < cols; ++j)
      for (vrx_int i = 0; i < rows; ++i) {
        const T v = x[i + j * rows];
        s.data[j + i * s.ld] = variant == VRX_MICRO_CONJUGATED ? conjugate(v) : v;
      }
  }
  return s;
}

// Position in the packed block of the value at line i, step l: panels of `extent` lines
// while they fit, then the remainder's powers of two from the largest down.
std::size_t packed_index(vrx_int lines, vrx_int steps, vrx_int extent, vrx_int i, vrx_int l) {
  vrx_int start = 0;
  for (;;) {
    const vrx_int rest = lines - start;
    vrx_int h = extent;
    if (rest < extent) {
      h = 1;
      while (h * 2 <= rest) h *= 2;
    }
    if (i < start + h) return static_cast<std::size_t>(start) * steps + static_cast<std::size_t>(l) * h + (i - start);
    start += h;
  }
}

// A buffer whose last element ends where an unreadable page begins: any read past the
// end stops the test.
template <typename T>
class fenced {
 public:
  explicit fenced(std::size_t count) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t bytes = count * sizeof(T), pages = (bytes + page - 1) / page + 1;
    length_ = (pages + 1) * page;
    void* p = mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    base_ = p == MAP_FAILED ? nullptr : static_cast<char*>(p);
    if (base_) mprotect(base_ + pages * page, page, PROT_NONE);
    data_ = base_ ? reinterpret_cast<T*>(base_ + pages * page - bytes) : nullptr;
  }
  ~fenced() {
    if (base_) munmap(base_, length_);
  }
  fenced(const fenced&) = delete;
  fenced& operator=(const fenced&) = delete;
  T* data() const { return data_; }

 private:
  char* base_;
  std::size_t length_;
  T* data_;
};

template <typename T>
T factor_of(int which) {
  switch (which) {
    case 0: return make<T>(1.0, 0.0);
    case 1: return make<T>(-1.5, 0.0);
    default: return make<T>(0.75, -1.25);
  }
}

// Every pack routine lays out the panels exactly, multiplies by the factor, conjugates
// where asked, and writes nothing past rows * k values.
template <typename T>
void check_packs(const vrx_gemm_micro_kernels<T>& t) {
  const T guard = make<T>(-4321.0, 1234.0);
  for (bool is_a : {true, false}) {
    const vrx_int extent = is_a ? t.mr : t.nr;
    for (int variant = 0; variant < 3; ++variant)
      for (int which = 0; which < (facts<T>::cplx ? 3 : 2); ++which)
        for (vrx_int lines : {vrx_int(1), extent - 1, extent, 2 * extent + 7})
          for (vrx_int steps : {1, 3, 4, 9, 37}) {
            if (lines < 1) continue;
            SCOPED_TRACE(std::string(is_a ? "A" : "B") + " variant " + std::to_string(variant) + " factor " +
                         std::to_string(which) + " lines " + std::to_string(lines) + " steps " +
                         std::to_string(steps));
            const vrx_int rows = is_a ? lines : steps, cols = is_a ? steps : lines;
            const std::vector<T> x = random_values<T>(static_cast<std::size_t>(rows) * cols, 7 * lines + steps);
            const source<T> s = store_as(x, rows, cols, variant);
            const std::size_t count = static_cast<std::size_t>(rows) * cols;
            std::vector<T> out(count + 16, guard);
            const T f = factor_of<T>(which);
            (is_a ? t.pack_a : t.pack_b)[variant](s.data.data(), s.ld, rows, cols, f, out.data());
            for (vrx_int i = 0; i < lines; ++i)
              for (vrx_int l = 0; l < steps; ++l) {
                const T v = is_a ? x[i + l * rows] : x[l + i * rows];
                const wide_complex<T> want = widen(f) * widen(v);
                const wide_complex<T> got = widen(out[packed_index(lines, steps, extent, i, l)]);
                const double scale = static_cast<double>(std::abs(widen(f)) * std::abs(widen(v)));
                ASSERT_LE(static_cast<double>(std::abs(got - want)), 4 * eps<T>() * scale)
                    << "line " << i << " step " << l;
              }
            for (std::size_t g = count; g < out.size(); ++g) ASSERT_TRUE(same_bits(out[g], guard)) << "past " << g;
          }
  }
}

// One kernel call on an m by n block of C with k steps, against a wide reference.
template <typename T>
void check_kernel_case(const vrx_gemm_micro_kernels<T>& t, vrx_int m, vrx_int n, vrx_int k, bool beta_one) {
  const int va = static_cast<int>((m + n + k) % 3), vb = static_cast<int>((m + 2 * n + k) % 3);
  const std::vector<T> x = random_values<T>(static_cast<std::size_t>(m) * k, 11 * m + 13 * n + k);
  const std::vector<T> y = random_values<T>(static_cast<std::size_t>(k) * n, 17 * m + 19 * n + k);
  const T alpha = factor_of<T>(facts<T>::cplx ? 2 : 1), one = make<T>(1.0, 0.0);
  const source<T> sa = store_as(x, m, k, va), sb = store_as(y, k, n, vb);
  fenced<T> pa(static_cast<std::size_t>(m) * k), pb(static_cast<std::size_t>(k) * n);
  ASSERT_TRUE(pa.data() && pb.data());
  t.pack_a[va](sa.data.data(), sa.ld, m, k, alpha, pa.data());
  t.pack_b[vb](sb.data.data(), sb.ld, k, n, one, pb.data());

  // C inside guards: 40 values before and after, and 3 rows below each column.
  const vrx_int ldc = m + 3, pad = 40;
  const T guard = make<T>(-4321.0, 1234.0);
  const std::vector<T> c0 = random_values<T>(static_cast<std::size_t>(m) * n, 23 * m + n);
  std::vector<T> c(static_cast<std::size_t>(ldc) * n + 2 * pad, guard);
  T* cc = c.data() + pad;
  const T nan = make<T>(std::nan(""), std::nan(""));
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < m; ++i) cc[i + j * ldc] = beta_one ? c0[i + j * m] : nan;

  t.kernel(m, n, k, pa.data(), pb.data(), cc, ldc, beta_one ? one : make<T>(0.0, 0.0));

  const wide_complex<T> wa = widen(alpha);
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < m; ++i) {
      wide_complex<T> sum = 0;
      typename facts<T>::wide bound = 0;
      for (vrx_int l = 0; l < k; ++l) {
        const wide_complex<T> term = wa * widen(x[i + l * m]) * widen(y[l + j * k]);
        sum += term;
        bound += std::abs(term);
      }
      if (beta_one) {
        sum += widen(c0[i + j * m]);
        bound += std::abs(widen(c0[i + j * m]));
      }
      const T got = cc[i + j * ldc];
      ASSERT_TRUE(finite(got)) << "C(" << i << ", " << j << ")";
      ASSERT_LE(std::abs(widen(got) - sum), 4 * (k + 4) * eps<T>() * bound) << "C(" << i << ", " << j << ")";
    }
  for (std::size_t p = 0; p < c.size(); ++p) {
    const std::ptrdiff_t q = static_cast<std::ptrdiff_t>(p) - pad;
    const bool inside = q >= 0 && q < static_cast<std::ptrdiff_t>(ldc) * n && q % ldc < m;
    if (!inside) ASSERT_TRUE(same_bits(c[p], guard)) << "guard at offset " << q;
  }
}

// Every row tail and column tail, short k of every remainder by four, and a long k that
// walks long A panels in slices.
template <typename T>
void check_kernel(const vrx_gemm_micro_kernels<T>& t) {
  const vrx_int m_last = 2 * t.mr + 7, n_last = 2 * t.nr + 3;
  for (bool beta_one : {false, true})
    for (vrx_int k : {1, 3, 4, 5, 8})
      for (vrx_int m = 1; m <= m_last; ++m)
        for (vrx_int n = 1; n <= n_last; ++n) {
          SCOPED_TRACE(std::to_string(m) + " by " + std::to_string(n) + " by " + std::to_string(k) +
                       (beta_one ? " beta 1" : " beta 0"));
          check_kernel_case(t, m, n, k, beta_one);
          if (::testing::Test::HasFatalFailure()) return;
        }
  for (bool beta_one : {false, true})
    for (vrx_int k : {61, 263, 517})
      for (vrx_int m : {vrx_int(1), vrx_int(3), t.mr - 1, t.mr, t.mr + 1, m_last})
        for (vrx_int n : {vrx_int(1), t.nr - 1, t.nr, t.nr + 1, n_last}) {
          if (m < 1 || n < 1) continue;
          SCOPED_TRACE(std::to_string(m) + " by " + std::to_string(n) + " by " + std::to_string(k) +
                       (beta_one ? " beta 1" : " beta 0"));
          check_kernel_case(t, m, n, k, beta_one);
          if (::testing::Test::HasFatalFailure()) return;
        }
}

bool has_avx512() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}
bool has_avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }

#define VRX_MICRO_TESTS(NAME, TABLE, HAS)                 \
  TEST(GemmMicroKernels, NAME##Packs) {                   \
    if (!HAS()) GTEST_SKIP() << "not on this processor";  \
    check_packs(TABLE);                                   \
  }                                                       \
  TEST(GemmMicroKernels, NAME##Kernel) {                  \
    if (!HAS()) GTEST_SKIP() << "not on this processor";  \
    check_kernel(TABLE);                                  \
  }
VRX_MICRO_TESTS(SingleAvx512, vrx_gemm_micro_s_avx512, has_avx512)
VRX_MICRO_TESTS(ComplexAvx512, vrx_gemm_micro_c_avx512, has_avx512)
VRX_MICRO_TESTS(DoubleComplexAvx512, vrx_gemm_micro_z_avx512, has_avx512)
VRX_MICRO_TESTS(SingleAvx2, vrx_gemm_micro_s_avx2, has_avx2)
VRX_MICRO_TESTS(ComplexAvx2, vrx_gemm_micro_c_avx2, has_avx2)
VRX_MICRO_TESTS(DoubleComplexAvx2, vrx_gemm_micro_z_avx2, has_avx2)
#undef VRX_MICRO_TESTS

}  // namespace
