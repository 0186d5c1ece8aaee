// SSYRK ... ZHER2K in this process (the sequential entry and this machine's classic
// road), the GEMM into a triangle (kind 9) on the team road of CPU type 7, and the quick
// returns, against the wider reference of tests/support/symmetric_reference.h.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "blas/level3/team/vrx_l3_team.h"
#include "support/symmetric_reference.h"

namespace {
template <typename T>
class SyrkTyped : public ::testing::Test {};
using SyrkTypes = ::testing::Types<float, double, vrx_complex_float, vrx_complex_double>;
TYPED_TEST_SUITE(SyrkTyped, SyrkTypes);

template <typename T>
T scalar(double re, double im) {
  return vrx_traits<T>::make(static_cast<vrx_real_t<T>>(re), static_cast<vrx_real_t<T>>(im));
}

// Every form, uplo and trans the routine allows, alpha and beta in {0, 1, other}, k = 0
// with beta = 2, on both sides of the sequential threshold.
TYPED_TEST(SyrkTyped, EveryFormAgainstWiderReference) {
  typedef TypeParam T;
  const T scalars[][2] = {{scalar<T>(0.5, -0.25), scalar<T>(-1.5, 0.5)}, {scalar<T>(1, 0), scalar<T>(0, 0)},
                          {scalar<T>(0, 0), scalar<T>(2, 0)},           {scalar<T>(-2, 0.5), scalar<T>(1, 0)},
                          {scalar<T>(1, 0), scalar<T>(0, 1)}};
  const int64_t shapes[][2] = {{1, 1}, {3, 0}, {16, 16}, {17, 16}, {16, 17}, {40, 9}};
  unsigned seed = 7;
  for (int form = 0; form < 4; ++form) {
    const bool hermitian = form >= 2, two = form % 2 == 1;
    if (hermitian && !vrx_is_complex<T>) continue;
    const char other = hermitian ? 'C' : (vrx_is_complex<T> ? 'T' : 'C');
    for (const auto& s : shapes)
      for (char uplo : {'U', 'l'})
        for (char trans : {'n', other})
          for (const auto& ab : scalars) {
            const vrx_test_rank_update<T> u =
                vrx_test_make_rank_update<T>(hermitian, two, uplo, trans, s[0], s[1], ab[0], ab[1], seed++);
            EXPECT_EQ(vrx_test_rank_update_bad_elements(u, vrx_test_rank_update_run(u)), 0)
                << form << " " << uplo << trans << " n " << s[0] << " k " << s[1];
          }
  }
}

// The sequential members (vrx_blas_?syrk_sequential ...): never fork, same results.
TYPED_TEST(SyrkTyped, SequentialMembersAgainstWiderReference) {
  typedef TypeParam T;
  unsigned seed = 21;
  for (int form = 0; form < 4; ++form) {
    const bool hermitian = form >= 2, two = form % 2 == 1;
    if (hermitian && !vrx_is_complex<T>) continue;
    for (char uplo : {'U', 'L'}) {
      const vrx_test_rank_update<T> u = vrx_test_make_rank_update<T>(hermitian, two, uplo, hermitian ? 'C' : 'T',
                                                                     150, 33, scalar<T>(0.5, 0.5), scalar<T>(2, 0),
                                                                     seed++);
      EXPECT_EQ(vrx_test_rank_update_bad_elements(u, vrx_test_rank_update_run(u, true)), 0) << form << " " << uplo;
    }
  }
}

// alpha = 0 or k = 0 with beta = 1, and n = 0: C stays as it is, bit for bit, even the
// imaginary parts of a Hermitian diagonal and the NaN of the opposite triangle.
TYPED_TEST(SyrkTyped, QuickReturnsLeaveCBitwise) {
  typedef TypeParam T;
  for (int form = 0; form < 4; ++form) {
    const bool hermitian = form >= 2, two = form % 2 == 1;
    if (hermitian && !vrx_is_complex<T>) continue;
    for (const int64_t k : {0, 20}) {
      vrx_test_rank_update<T> u = vrx_test_make_rank_update<T>(hermitian, two, 'L', 'N', 30, k,
                                                               scalar<T>(k ? 0 : 1, 0), scalar<T>(1, 0), 3);
      std::vector<T> c = vrx_test_rank_update_run(u);
      EXPECT_EQ(std::memcmp(c.data(), u.c.data(), c.size() * sizeof(T)), 0) << form << " k " << k;
      u.n = 0;
      c = vrx_test_rank_update_run(u);
      EXPECT_EQ(std::memcmp(c.data(), u.c.data(), c.size() * sizeof(T)), 0) << form << " n 0";
    }
  }
}

// Kind 9: one triangle of alpha op(A) op(B) + beta C through the team machinery with the
// triangle routines of the operations, on CPU type 7's kernels, 1 to 3 threads.
TYPED_TEST(SyrkTyped, GemmIntoTriangleOnTheTeamRoad) {
  typedef TypeParam T;
  if (!__builtin_cpu_supports("avx512f")) GTEST_SKIP() << "no AVX-512";
  unsigned seed = 11;
  for (const int threads : {1, 3})
    for (const char uplo : {'L', 'U'})
      for (const int64_t n : {1, 50, 230}) {
        // The reference of alpha A B^T + beta C is a rank-k update whose second factor is B.
        const vrx_test_rank_update<T> u = vrx_test_make_rank_update<T>(false, true, uplo, 'N', n, 37,
                                                                       scalar<T>(0.5, 1), scalar<T>(-1, 0), seed++);
        vrx_test_rank_update<T> want = u;
        want.two = false;
        std::vector<T> c = u.c;
        const char uplo_text[2] = {uplo, 0};
        vrx_l3_call<T> call = vrx_l3_gemm_call<T>("N", "T", u.alpha, u.beta);
        call.uplo = uplo_text;
        call.kind = VRX_L3_GEMM_TRIANGLE;
        const vrx_l3_view<T> a = vrx_l3_make_view<T>(u.a.data(), n, u.k, u.lda, VRX_L3_PLAIN);
        const vrx_l3_view<T> b = vrx_l3_make_view<T>(u.b.data(), u.k, n, u.ldb, VRX_L3_TRANSPOSED);
        const vrx_l3_view<T> cv = vrx_l3_make_c_view<T>(c.data(), n, n, u.ldc);
        vrx_l3_team<T> team;
        vrx_l3_team_plan(n, n, u.k, &team);
        team.cpu = VRX_CPU_AVX512;
        team.threads = threads;
        vrx_blas_gemm_team(&call, &a, &b, &cv, &team);
        EXPECT_EQ(vrx_test_rank_update_bad_elements(want, c), 0) << uplo << " n " << n << " threads " << threads;
      }
}
}  // namespace
