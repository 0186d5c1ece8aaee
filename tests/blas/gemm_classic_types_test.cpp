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
#include "support/gemm_typed_reference.h"

namespace {
template <typename T>
using real_t = vrx_real_t<T>;

template <typename T>
void put(T* p, real_t<T> re, real_t<T> im) {
  *p = vrx_traits<T>::make(re, im);
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

// One product through fn; answers the error against the wide reference relative to
// eps * (|alpha| 2 (k + 1) + |beta| + 1) (below 1 passes); 1e9 when padding of C was written.
template <typename T>
double check(vrx_gemm_fn<T> fn, const char* tr, shape s, T alpha, T beta, unsigned seed) {
  typedef vrx_test_wide_t<T> W;
  typedef vrx_traits<T> traits;
  const bool an = (tr[0] & ~0x20) == 'N', bn = (tr[1] & ~0x20) == 'N';
  const vrx_int lda = (an ? s.m : s.k) + 3, ldb = (bn ? s.k : s.n) + 1, ldc = s.m + 2;
  vrx_test_product<T> p;
  p.ta = tr[0];
  p.tb = tr[1];
  p.m = s.m;
  p.n = s.n;
  p.k = s.k;
  p.lda = lda;
  p.ldb = ldb;
  p.ldc = ldc;
  p.alpha = alpha;
  p.beta = beta;
  p.a = random_values<T>(lda * std::max<vrx_int>(an ? s.k : s.m, 1), seed);
  p.b = random_values<T>(ldb * std::max<vrx_int>(bn ? s.n : s.k, 1), seed + 1);
  p.c = random_values<T>(ldc * std::max<vrx_int>(s.n, 1), seed + 2);
  if (traits::is_zero(beta))
    for (vrx_int j = 0; j < s.n; ++j)
      for (vrx_int i = 0; i < s.m; i += 3) put(&p.c[i + j * ldc], NAN, NAN);
  std::vector<T> c = p.c;
  fn(&tr[0], &tr[1], &s.m, &s.n, &s.k, &alpha, p.a.data(), &lda, p.b.data(), &ldb, &beta, c.data(), &ldc);
  double worst = 0;
  const W ar = traits::real_part(alpha), ai = traits::imag_part(alpha);
  const W br = traits::real_part(beta), bi = traits::imag_part(beta);
  for (vrx_int j = 0; j < s.n; ++j) {
    for (vrx_int i = s.m; i < ldc; ++i)
      if (std::memcmp(&c[i + j * ldc], &p.c[i + j * ldc], sizeof(T)) != 0) return 1e9;
    for (vrx_int i = 0; i < s.m; ++i) {
      const vrx_test_wide_element<T> want = vrx_test_gemm_reference(p, i, j);
      const W gr = traits::real_part(c[i + j * ldc]), gi = traits::imag_part(c[i + j * ldc]);
      const W err = std::fabs(gr - want.re) + std::fabs(gi - want.im);
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
