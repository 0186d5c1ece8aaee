// The AVX2 and AVX-512 sequential GEMM routes, called directly: every transposition
// pair, alpha and beta in {0, 1, other}, NaN in C under beta = 0, and shapes on both
// sides of each rule of the routes (small shapes, k = 1 to 10, minimum extents, kc).
#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/vrx_l3.h"
#include "tests/blas/dgemm_l3_support.h"

namespace {
const char pairs[4][2] = {{'N', 'N'}, {'T', 'N'}, {'N', 'T'}, {'T', 'T'}};

struct extents {
  vrx_int m, n, k;
};

void sweep(vrx_dgemm_fn fn, const extents* shapes, size_t count, unsigned seed) {
  const double alphas[] = {1.0, -0.75, 0.0};
  const double betas[] = {0.0, 1.0, 2.5};
  for (const auto& p : pairs)
    for (size_t s = 0; s < count; ++s)
      for (double alpha : alphas)
        for (double beta : betas) {
          l3_check(fn, {p[0], p[1], shapes[s].m, shapes[s].n, shapes[s].k, alpha, beta}, seed++);
          if (::testing::Test::HasFailure()) return;
        }
}

// Shapes around every rule of both routes.
const extents route_shapes[] = {
    {9, 9, 9},    {12, 12, 12}, {12, 7, 12},  {10, 10, 10}, {10, 11, 10}, {11, 10, 3},  {4, 4, 1},
    {7, 3, 10},   {3, 9, 11},   {100, 5, 20}, {101, 5, 20}, {30, 2, 3},   {30, 2, 4},   {40, 40, 6},
    {41, 40, 6},  {40, 40, 7},  {22, 23, 128}, {22, 23, 129}, {7, 30, 40}, {30, 7, 40}, {8, 3, 40},
    {3, 8, 40},   {30, 4, 17},  {8, 30, 17},  {25, 9, 0},
};
}  // namespace

TEST(DgemmL3Routes, Avx512AgainstReference) {
  if (!l3_has_avx512()) GTEST_SKIP() << "no AVX-512";
  sweep(vrx_blas_dgemm_route_avx512, route_shapes, sizeof route_shapes / sizeof route_shapes[0], 1);
}

TEST(DgemmL3Routes, Avx2AgainstReference) {
  if (!l3_has_avx2()) GTEST_SKIP() << "no AVX2 with FMA";
  sweep(vrx_blas_dgemm_route_avx2, route_shapes, sizeof route_shapes / sizeof route_shapes[0], 2);
}

TEST(DgemmL3Routes, KBlockCrossings) {
  // kc boundaries of both block rules, with row and column tails of both shapes.
  const vrx_int ks[] = {127, 128, 255, 256, 257, 383, 384, 385, 767, 768, 769};
  unsigned seed = 3;
  for (vrx_int k : ks)
    for (const auto& p : pairs) {
      if (l3_has_avx512()) l3_check(vrx_blas_dgemm_route_avx512, {p[0], p[1], 29, 11, k, 0.5, 0.0}, seed++);
      if (l3_has_avx2()) l3_check(vrx_blas_dgemm_route_avx2, {p[0], p[1], 15, 7, k, -1.5, 1.0}, seed++);
      if (HasFailure()) return;
    }
}

TEST(DgemmL3Routes, ManyColumnBlocksAndConjugateCharacter) {
  // n above nc (several B blocks, A packed once and reused), lower-case and 'C' characters.
  const l3_case cases[] = {{'n', 'c', 53, 410, 70, 1.25, 0.5}, {'C', 't', 61, 397, 33, -1.0, 0.0},
                           {'N', 'N', 100, 200, 40, 1.0, 1.0}, {'T', 'N', 47, 385, 20, 2.0, 0.0}};
  unsigned seed = 90;
  for (const l3_case& t : cases) {
    if (l3_has_avx512()) l3_check(vrx_blas_dgemm_route_avx512, t, seed++);
    if (l3_has_avx2()) l3_check(vrx_blas_dgemm_route_avx2, t, seed++);
  }
}

TEST(DgemmL3Routes, EmptyExtentsLeaveCUntouched) {
  if (!l3_has_avx2()) GTEST_SKIP() << "no AVX2 with FMA";
  double c[4] = {std::nan(""), 1.0, 2.0, 3.0};
  const double a[4] = {1, 2, 3, 4};
  const vrx_int zero = 0, two = 2, ld = 2;
  const double alpha = 1.0, beta = 0.0;
  for (vrx_dgemm_fn fn : {vrx_blas_dgemm_route_avx2, vrx_blas_dgemm_route_avx512}) {
    if (fn == vrx_blas_dgemm_route_avx512 && !l3_has_avx512()) continue;
    fn("N", "N", &zero, &two, &two, &alpha, a, &ld, a, &ld, &beta, c, &ld);
    fn("N", "N", &two, &zero, &two, &alpha, a, &ld, a, &ld, &beta, c, &ld);
    EXPECT_TRUE(std::isnan(c[0]));
    EXPECT_EQ(c[3], 3.0);
  }
}

TEST(DgemmL3Routes, NegativeKOnlyScalesC) {
  const double nan_value = std::nan("");
  const double a[64] = {nan_value};
  const vrx_int k = -2, ld = 20;
  const double alpha = 1.0, beta = 0.5;
  for (vrx_dgemm_fn fn : {vrx_blas_dgemm_route_avx2, vrx_blas_dgemm_route_avx512}) {
    if (fn == vrx_blas_dgemm_route_avx512 ? !l3_has_avx512() : !l3_has_avx2()) continue;
    for (vrx_int m : {4, 20})
      for (vrx_int n : {5, 30}) {
        std::vector<double> c(static_cast<size_t>(ld * n), 3.0);
        fn("N", "T", &m, &n, &k, &alpha, a, &ld, a, &ld, &beta, c.data(), &ld);
        for (vrx_int j = 0; j < n; ++j)
          for (vrx_int i = 0; i < ld; ++i) ASSERT_EQ(c[static_cast<size_t>(i + j * ld)], i < m ? 1.5 : 3.0);
      }
  }
}

TEST(DgemmL3Routes, InPlaceKernelsAgainstReference) {
  // The small, unpacked and k = 1..10 kernels on their own, beyond the shapes the routes give them.
  const vrx_dgemm_fn small[] = {vrx_blas_dgemm_small_avx2, vrx_blas_dgemm_small_avx512};
  const vrx_dgemm_fn tiny[] = {vrx_blas_dgemm_tiny_k_avx2, vrx_blas_dgemm_tiny_k_avx512};
  unsigned seed = 500;
  for (int cls = 0; cls < 2; ++cls) {
    if (cls == 0 ? !l3_has_avx2() : !l3_has_avx512()) continue;
    for (const auto& p : pairs) {
      for (vrx_int k = 1; k <= 10; ++k)
        // 4 and 8: whole vectors only; 7: every narrower vector once; 13: beyond the tiny
        // road's rows, so a transposed A is copied in two pieces.
        for (vrx_int m : {1, 3, 4, 7, 8, 10, 13})
          l3_check(tiny[cls], {p[0], p[1], m, 10 - (k % 4), k, k % 2 ? -0.5 : 1.0, 1.0}, seed++);
      for (extents e : {extents{37, 19, 23}, extents{1, 2, 1}, extents{17, 33, 9}, extents{64, 5, 130}})
        l3_check(small[cls], {p[0], p[1], e.m, e.n, e.k, 1.5, 0.0}, seed++);
      if (HasFailure()) return;
    }
  }
}
