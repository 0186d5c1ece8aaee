// The classic routes (CPU types 0, 2, 3, 4 and the reproducible set) and the classic
// road in S, D, C and Z against a reference in a wider type: every transposition pair
// including C, shapes on both sides of the small-shape rules, register tails and depth
// blocks, complex alpha and beta with a zero part, NaN in C with beta = 0, untouched
// padding, a failed scratch allocation, and the same bits on a second run.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "blas/level3/packed/vrx_gemm_packed.h"
#include "blas/vrx_blas.h"

namespace {
template <typename T>
struct wide;
template <>
struct wide<float> {
  typedef double type;
};
template <>
struct wide<double> {
  typedef long double type;
};
template <>
struct wide<vrx_complex_float> {
  typedef double type;
};
template <>
struct wide<vrx_complex_double> {
  typedef long double type;
};

template <typename T>
using real_t = vrx_real_t<T>;
template <typename T>
using wide_t = typename wide<T>::type;

// Values of T as pairs (re, im) of the wide type; im stays 0 for real types.
template <typename T>
void put(T* p, real_t<T> re, real_t<T> im) {
  if constexpr (vrx_is_complex<T>)
    *p = {re, im};
  else
    *p = re;
}
template <typename T>
wide_t<T> re_of(const T& x) {
  if constexpr (vrx_is_complex<T>) return x.re; else return x;
}
template <typename T>
wide_t<T> im_of(const T& x) {
  if constexpr (vrx_is_complex<T>) return x.im; else return 0;
}

template <typename T>
std::vector<T> random_values(size_t count, unsigned seed) {
  std::vector<T> v(count);
  for (T& x : v) {
    seed = seed * 1103515245u + 12345u;
    const real_t<T> re = ((seed >> 8) & 0xffff) / real_t<T>(65536) - real_t<T>(0.5);
    seed = seed * 1103515245u + 12345u;
    const real_t<T> im = ((seed >> 8) & 0xffff) / real_t<T>(65536) - real_t<T>(0.5);
    put(&x, re, im);
  }
  return v;
}

struct shape {
  vrx_int m, n, k;
};

// One product through fn; answers the error relative to eps * (|alpha| k + |beta|)
// (below 1 passes); 1e9 when padding of C was written.
template <typename T>
double check(vrx_gemm_fn<T> fn, const char* tr, shape s, T alpha, T beta, unsigned seed) {
  typedef wide_t<T> W;
  const bool an = (tr[0] & ~0x20) == 'N', bn = (tr[1] & ~0x20) == 'N';
  const bool ac = (tr[0] & ~0x20) == 'C' && vrx_is_complex<T>, bc = (tr[1] & ~0x20) == 'C' && vrx_is_complex<T>;
  const vrx_int lda = (an ? s.m : s.k) + 3, ldb = (bn ? s.k : s.n) + 1, ldc = s.m + 2;
  const std::vector<T> a = random_values<T>(lda * std::max<vrx_int>(an ? s.k : s.m, 1), seed);
  const std::vector<T> b = random_values<T>(ldb * std::max<vrx_int>(bn ? s.n : s.k, 1), seed + 1);
  std::vector<T> c = random_values<T>(ldc * std::max<vrx_int>(s.n, 1), seed + 2);
  const bool beta_zero = re_of(beta) == 0 && im_of(beta) == 0;
  if (beta_zero)
    for (vrx_int j = 0; j < s.n; ++j)
      for (vrx_int i = 0; i < s.m; i += 3) put(&c[i + j * ldc], NAN, NAN);
  const std::vector<T> c0 = c;
  fn(&tr[0], &tr[1], &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  double worst = 0;
  const W ar = re_of(alpha), ai = im_of(alpha), br = re_of(beta), bi = im_of(beta);
  for (vrx_int j = 0; j < s.n; ++j) {
    for (vrx_int i = s.m; i < ldc; ++i)
      if (std::memcmp(&c[i + j * ldc], &c0[i + j * ldc], sizeof(T)) != 0) return 1e9;
    for (vrx_int i = 0; i < s.m; ++i) {
      W sr = 0, si = 0;
      for (vrx_int l = 0; l < s.k; ++l) {
        const T& x = an ? a[i + l * lda] : a[l + i * lda];
        const T& y = bn ? b[l + j * ldb] : b[j + l * ldb];
        const W xr = re_of(x), xi = ac ? -im_of(x) : im_of(x), yr = re_of(y), yi = bc ? -im_of(y) : im_of(y);
        sr += xr * yr - xi * yi;
        si += xr * yi + xi * yr;
      }
      W rr = ar * sr - ai * si, ri = ar * si + ai * sr;
      if (!beta_zero) {
        const W cr = re_of(c0[i + j * ldc]), ci = im_of(c0[i + j * ldc]);
        rr += br * cr - bi * ci;
        ri += br * ci + bi * cr;
      }
      const W err = std::fabs(re_of(c[i + j * ldc]) - rr) + std::fabs(im_of(c[i + j * ldc]) - ri);
      const W scale = (std::fabs(ar) + std::fabs(ai)) * (s.k + 1) * 2 + std::fabs(br) + std::fabs(bi) + 1;
      const double e = static_cast<double>(err / (scale * vrx_machine<real_t<T>>::prec));
      if (!(e == e)) return 1e9;  // NaN survived
      worst = std::max(worst, e);
    }
  }
  return worst;
}

template <typename T>
T scalar(double re, double im) {
  T x;
  put(&x, static_cast<real_t<T>>(re), static_cast<real_t<T>>(im));
  return x;
}

template <typename T>
class GemmClassicTypes : public ::testing::Test {};
typedef ::testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(GemmClassicTypes, element_types);

const char* const pairs[] = {"NN", "NT", "NC", "TN", "TT", "TC", "CN", "CT", "CC"};
// Around the AVX small-shape rules (q at 9/10, m at 70, k at 6/128), tiny k, register
// tails of every class, k blocks (real depth 128, 256, 512) and the SSE2 two-row minimum.
const shape shapes[] = {{1, 5, 7},   {3, 2, 2},   {9, 9, 9},    {12, 12, 12}, {10, 10, 3},  {71, 9, 50},
                        {41, 40, 6}, {23, 21, 17}, {31, 13, 65}, {19, 30, 129}, {17, 9, 257}, {13, 33, 300},
                        {37, 7, 0}};
struct route_case {
  int type, branch;
};
const route_case routes[] = {{0, 1}, {0, 3}, {2, 1}, {2, 3}, {3, 1}, {4, 1}};

TYPED_TEST(GemmClassicTypes, EveryRouteEveryPairAgainstWideReference) {
  typedef TypeParam T;
  const bool complex = vrx_is_complex<T>;
  const T alphas[] = {scalar<T>(1, 0), scalar<T>(-0.75, complex ? 0.5 : 0), scalar<T>(0, complex ? 1.25 : 0)};
  const T betas[] = {scalar<T>(0, 0), scalar<T>(1, 0), scalar<T>(complex ? 0 : 2.5, complex ? -0.5 : 0)};
  unsigned seed = 5;
  for (const route_case& r : routes) {
    const vrx_gemm_fn<T> fn = vrx_blas_gemm_classic_route<T>(r.type, r.branch);
    ASSERT_NE(fn, nullptr);
    for (const shape& s : shapes)
      for (const char* tr : pairs)
        for (int x = 0; x < 3; ++x) {
          const T alpha = alphas[(x + seed) % 3], beta = betas[x];
          EXPECT_LT(check<T>(fn, tr, s, alpha, beta, seed++), 1.0)
              << "type " << r.type << " branch " << r.branch << " " << tr << " m=" << s.m << " n=" << s.n
              << " k=" << s.k << " beta#" << x;
        }
  }
  EXPECT_EQ(vrx_blas_gemm_classic_route<T>(5, 1), nullptr);
  EXPECT_EQ(vrx_blas_gemm_classic_route<T>(7, 1), nullptr);
}

vrx_gemm_fn<float> classic_of(float*) { return vrx_blas_sgemm_classic; }
vrx_gemm_fn<double> classic_of(double*) { return vrx_blas_dgemm_classic; }
vrx_gemm_fn<vrx_complex_float> classic_of(vrx_complex_float*) { return vrx_blas_cgemm_classic; }
vrx_gemm_fn<vrx_complex_double> classic_of(vrx_complex_double*) { return vrx_blas_zgemm_classic; }

TYPED_TEST(GemmClassicTypes, ClassicRoadLargeShapesAndSameBits) {
  typedef TypeParam T;
  const vrx_gemm_fn<T> fn = classic_of(static_cast<T*>(nullptr));
  const shape big[] = {{300, 200, 130}, {129, 260, 513}};
  for (const shape& s : big)
    for (const char* tr : {"NN", "CT"}) {
      EXPECT_LT(check<T>(fn, tr, s, scalar<T>(0.5, 0.25), scalar<T>(0, 0), 3), 1.0) << tr;
      EXPECT_LT(check<T>(fn, tr, s, scalar<T>(1, 0), scalar<T>(0.5, 0.5), 4), 1.0) << tr;
    }
  // Two runs give the same bits.
  const shape s = {211, 97, 300};
  const vrx_int lda = s.m, ldb = s.k, ldc = s.m;
  const std::vector<T> a = random_values<T>(lda * s.k, 1), b = random_values<T>(ldb * s.n, 2);
  std::vector<T> c1 = random_values<T>(ldc * s.n, 3), c2 = c1;
  const T alpha = scalar<T>(0.3, -0.2), beta = scalar<T>(1.5, 0);
  fn("N", "N", &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c1.data(), &ldc);
  fn("N", "N", &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c2.data(), &ldc);
  EXPECT_EQ(std::memcmp(c1.data(), c2.data(), c1.size() * sizeof(T)), 0);
}

void* failing_alloc(std::size_t, int) { return nullptr; }

TYPED_TEST(GemmClassicTypes, FailedScratchFallsBackOnEveryRoute) {
  typedef TypeParam T;
  const vrx_gemm_scratch_alloc_fn saved = vrx_gemm_scratch_alloc;
  vrx_gemm_scratch_alloc = failing_alloc;
  for (const route_case& r : routes)
    for (const char* tr : {"NN", "TC"})
      EXPECT_LT(check<T>(vrx_blas_gemm_classic_route<T>(r.type, r.branch), tr, {45, 38, 140}, scalar<T>(1, -1),
                         scalar<T>(0, 0), 8),
                1.0)
          << "type " << r.type << " " << tr;
  vrx_gemm_scratch_alloc = saved;
}
}  // namespace
