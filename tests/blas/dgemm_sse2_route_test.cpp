// The SSE2 route and its blocked loop: both kernel sets, every transposition pair,
// shapes on both sides of the block rule, the fallback on a failed allocation, and
// no access outside the matrices.
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
  const pk_shape shapes[] = {{13, 7, 5}, {2, 2, 2}, {7, 13, 131}, {1, 9, 4}};
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
