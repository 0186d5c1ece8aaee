// The SSE2 route and its blocked loop: both kernel sets, every transposition pair,
// shapes on both sides of the block rule, the fallback on a failed allocation, and
// no access outside the matrices.
#include <cstdint>
#include <cstring>

#include "dgemm_packed_test_support.h"

namespace {
// Degenerate extents, odd rows, column fringes 1 to 3, and k around the padding to 4.
const std::vector<pk_shape> small_shapes = {{1, 1, 1}, {1, 5, 3}, {5, 1, 3},  {4, 4, 1}, {2, 2, 2},
                                            {3, 5, 7}, {7, 6, 5}, {9, 9, 9},  {12, 12, 12}, {13, 11, 10},
                                            {5, 7, 0}, {17, 19, 4}, {6, 3, 2}, {33, 18, 31}};
// k blocks: 128 exactly, 129..256 split in halves rounded to 4, above 256 blocks of 128.
const std::vector<pk_shape> depth_shapes = {{10, 9, 127}, {10, 9, 128}, {11, 7, 129}, {9, 6, 130},
                                            {7, 5, 201},  {6, 9, 256},  {5, 10, 257}, {3, 6, 385}};
}  // namespace

TEST(DgemmSse2Route, FirstKernelSetEveryShape) {
  pk_check_all(vrx_blas_dgemm_route_sse2, small_shapes, "sse2");
  pk_check_all(vrx_blas_dgemm_route_sse2, depth_shapes, "sse2");
}

TEST(DgemmSse2Route, SecondKernelSetEveryShape) {
  pk_check_all(vrx_blas_dgemm_route_sse2_compatible, small_shapes, "sse2 second set");
  pk_check_all(vrx_blas_dgemm_route_sse2_compatible, depth_shapes, "sse2 second set");
}

TEST(DgemmSse2Route, RowBlocksAndColumnStrips) {
  // 513 rows crosses mc = 512; 4995 columns crosses the strip of 4992.
  for (const char* tr : pk_trans_pairs) {
    EXPECT_LT(pk_check(vrx_blas_dgemm_route_sse2, tr, {515, 6, 9}, 1.0, 0.0, 5), 1.0) << tr;
    EXPECT_LT(pk_check(vrx_blas_dgemm_route_sse2, tr, {3, 4995, 5}, -1.0, 1.0, 6), 1.0) << tr;
    EXPECT_LT(pk_check(vrx_blas_dgemm_route_sse2_compatible, tr, {514, 5, 130}, 2.0, 0.5, 7), 1.0) << tr;
  }
  // m + n >= 10000 with short k takes taller row blocks (1536 for k <= 16).
  EXPECT_LT(pk_check(vrx_blas_dgemm_route_sse2, "NT", {9990, 10, 12}, 1.0, 1.0, 8), 1.0);
}

TEST(DgemmSse2Route, BlockRule) {
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(100, 100, 128).kc, 128);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(100, 100, 129).kc, 64);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(100, 100, 255).kc, 124);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(100, 100, 256).kc, 128);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(100, 100, 5000).kc, 128);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(100, 100, 8).mc, 512);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(5000, 5000, 16).mc, 1536);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(5000, 5000, 32).mc, 1024);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(5000, 5000, 64).mc, 768);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(5000, 5000, 65).mc, 512);
  EXPECT_EQ(vrx_blas_dgemm_sse2_block_rule(5000, 5000, 257).mc, 512);
  const vrx_sse2_blocks b = vrx_blas_dgemm_sse2_block_rule(300, 6000, 1000);
  EXPECT_EQ(b.nb, 4992);
  EXPECT_EQ(b.bytes, static_cast<size_t>(128 * 192 + 512 * 128 * 8 + 128 * 8 * 4992 + 18176));
}

TEST(DgemmSse2Route, FailedAllocationFallsBackToUnpacked) {
  pk_failing_scratch failing;
  const std::vector<pk_shape> shapes = {{9, 9, 9}, {13, 6, 130}, {40, 33, 257}};
  pk_check_all(vrx_blas_dgemm_route_sse2, shapes, "sse2 without scratch");
  pk_check_all(vrx_blas_dgemm_route_sse2_compatible, shapes, "sse2 second set without scratch");
}

TEST(DgemmSse2Route, BlockedRoadOnlyFromTwoByTwoByTwo) {
  pk_counting_scratch counting;
  const double one = 1.0;
  std::vector<double> a(64, 1.0), b(64, 1.0), c(64, 0.0);
  const vrx_int one_i = 1, two = 2, eight = 8;
  vrx_blas_dgemm_route_sse2("N", "N", &one_i, &two, &two, &one, a.data(), &eight, b.data(), &eight, &one, c.data(),
                            &eight);
  vrx_blas_dgemm_route_sse2("N", "N", &two, &two, &one_i, &one, a.data(), &eight, b.data(), &eight, &one, c.data(),
                            &eight);
  EXPECT_EQ(pk_counting_scratch::count, 0);
  vrx_blas_dgemm_route_sse2("N", "N", &two, &two, &two, &one, a.data(), &eight, b.data(), &eight, &one, c.data(),
                            &eight);
  EXPECT_EQ(pk_counting_scratch::count, 1);
}

TEST(DgemmSse2Route, NoAccessOutsideTheMatrices) {
  const pk_shape shapes[] = {{13, 7, 5}, {2, 2, 2}, {7, 13, 131}, {1, 9, 4}, {131, 11, 6}};
  for (const char* tr : pk_trans_pairs)
    for (const pk_shape& s : shapes)
      for (bool at_end : {true, false}) {
        pk_check_guarded(vrx_blas_dgemm_route_sse2, tr, s, at_end);
        pk_check_guarded(vrx_blas_dgemm_route_sse2_compatible, tr, s, at_end);
      }
}

TEST(DgemmSse2Route, DirectKernelsEveryShape) {
  // The in-place kernels on their own, including the ten bodies of k = 1 to 10.
  std::vector<pk_shape> shapes;
  for (vrx_int k = 1; k <= 10; ++k) shapes.push_back({10 - (k % 4), 3 + k % 8, k});
  pk_check_all(vrx_blas_dgemm_small_sse2, shapes, "small sse2");
  pk_check_all(vrx_blas_dgemm_unpacked_sse2, small_shapes, "unpacked sse2");
  // tiny_k needs beta = 1.
  for (const pk_shape& s : shapes)
    for (const char* tr : pk_trans_pairs)
      EXPECT_LT(pk_check(vrx_blas_dgemm_tiny_k_sse2, tr, s, -1.25, 1.0, 3), 1.0) << tr << " k=" << s.k;
}

namespace {
// Packs op(A) (m x kb) and op(B) (kb x n) for one kernel and runs it on a copy of c.
std::vector<double> run_kernel(int kernel, int height, int a_trans, int b_trans, vrx_int m, vrx_int n, vrx_int kb,
                               double alpha, const std::vector<double>& a, vrx_int lda, const std::vector<double>& b,
                               vrx_int ldb, const std::vector<double>& c, vrx_int ldc) {
  const vrx_int kp = (kb + 3) & ~vrx_int{3};
  // 64-byte aligned views into oversized vectors, as the blocked loop provides.
  std::vector<double> apack(2 * m * kp + 8), bpack(n * kp + 8), dup(8 * kp + 8);
  auto aligned = [](std::vector<double>& v) {
    return reinterpret_cast<double*>((reinterpret_cast<std::uintptr_t>(v.data()) + 63) & ~std::uintptr_t{63});
  };
  if (kernel == VRX_SSE2_KERNEL_SWAP)
    vrx_sse2_gemm_pack_a_pairs(a_trans, m, kb, kp, alpha, a.data(), lda, aligned(apack));
  else
    vrx_sse2_gemm_pack_a(a_trans, m, kb, kp, height, alpha, a.data(), lda, aligned(apack));
  vrx_sse2_gemm_pack_b(b_trans, kb, n, kp, b.data(), ldb, aligned(bpack));
  std::vector<double> out = c;
  vrx_sse2_gemm_block(kernel, height, m, n, kp, aligned(apack), aligned(bpack), aligned(dup), out.data(), ldc);
  return out;
}
}  // namespace

TEST(DgemmSse2Route, SwapKernelMatchesDoubledCopyBitwise) {
  // Row tails 0 and 1 after pairs and quads, column tails 0..7 after groups of 8,
  // the fixed depth 128 and depths padded by 1 to 3; signed zeros included.
  const vrx_int rows[] = {1, 2, 3, 4, 5, 7, 16, 17, 33};
  const vrx_int cols[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 15, 16, 23};
  const vrx_int depths[] = {1, 2, 5, 16, 61, 127, 128};
  unsigned seed = 40;
  for (vrx_int m : rows)
    for (vrx_int n : cols)
      for (vrx_int kb : depths) {
        const int a_trans = seed % 2, b_trans = (seed / 2) % 2;
        const double alpha = seed % 3 == 0 ? 1.0 : -0.625;
        const vrx_int lda = (a_trans ? kb : m) + 1, ldb = (b_trans ? n : kb) + 2, ldc = m + 3;
        std::vector<double> a = vrx_test_random(static_cast<size_t>(lda * (a_trans ? m : kb)), seed);
        std::vector<double> b = vrx_test_random(static_cast<size_t>(ldb * (b_trans ? kb : n)), seed + 1);
        std::vector<double> c = vrx_test_random(static_cast<size_t>(ldc * n), seed + 2);
        for (size_t i = 0; i < a.size(); i += 7) a[i] = -0.0;
        for (size_t i = 0; i < c.size(); i += 5) c[i] = -0.0;
        ++seed;
        const std::vector<double> want =
            run_kernel(VRX_SSE2_KERNEL_DUP, 4, a_trans, b_trans, m, n, kb, alpha, a, lda, b, ldb, c, ldc);
        const std::vector<double> pairs =
            run_kernel(VRX_SSE2_KERNEL_DUP, 2, a_trans, b_trans, m, n, kb, alpha, a, lda, b, ldb, c, ldc);
        const std::vector<double> swap =
            run_kernel(VRX_SSE2_KERNEL_SWAP, 2, a_trans, b_trans, m, n, kb, alpha, a, lda, b, ldb, c, ldc);
        ASSERT_EQ(0, std::memcmp(want.data(), pairs.data(), want.size() * sizeof(double)))
            << "pairs m=" << m << " n=" << n << " kb=" << kb;
        ASSERT_EQ(0, std::memcmp(want.data(), swap.data(), want.size() * sizeof(double)))
            << "swap m=" << m << " n=" << n << " kb=" << kb << " trans " << a_trans << b_trans;
      }
}

TEST(DgemmSse2Route, KernelChoiceByBlockHeight) {
  EXPECT_EQ(vrx_sse2_gemm_kernel_for(1), VRX_SSE2_KERNEL_SWAP);
  EXPECT_EQ(vrx_sse2_gemm_kernel_for(127), VRX_SSE2_KERNEL_SWAP);
  EXPECT_EQ(vrx_sse2_gemm_kernel_for(128), VRX_SSE2_KERNEL_DUP);
  EXPECT_EQ(vrx_sse2_gemm_kernel_for(512), VRX_SSE2_KERNEL_DUP);
  // Both kernels across one call: a block of 512 rows, then 3 and 127 rows; both
  // kernel sets give the same bits.
  for (const char* tr : pk_trans_pairs)
    for (pk_shape s : {pk_shape{515, 6, 9}, pk_shape{639, 13, 130}, pk_shape{100, 37, 128}, pk_shape{130, 9, 300}}) {
      const vrx_int lda = tr[0] == 'N' ? s.m : s.k, ldb = tr[1] == 'N' ? s.k : s.n;
      const std::vector<double> a = vrx_test_random(static_cast<size_t>(s.m * s.k), 7);
      const std::vector<double> b = vrx_test_random(static_cast<size_t>(s.k * s.n), 8);
      std::vector<double> c1 = vrx_test_random(static_cast<size_t>(s.m * s.n), 9), c2 = c1;
      const double alpha = 0.75, beta = 1.0;
      vrx_blas_dgemm_route_sse2(&tr[0], &tr[1], &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta,
                                c1.data(), &s.m);
      vrx_blas_dgemm_route_sse2_compatible(&tr[0], &tr[1], &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(),
                                           &ldb, &beta, c2.data(), &s.m);
      EXPECT_EQ(0, std::memcmp(c1.data(), c2.data(), c1.size() * sizeof(double))) << tr << " m=" << s.m;
      EXPECT_LT(pk_check(vrx_blas_dgemm_route_sse2, tr, s, -1.5, 0.5, 12), 1.0) << tr << " m=" << s.m;
    }
}
