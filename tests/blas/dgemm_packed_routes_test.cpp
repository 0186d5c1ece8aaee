// The AVX, SSE4.2 and SSSE3 routes and the packed driver beneath them: small-shape
// rules on both sides, register-block minimums, tails, k blocks, every mode, block
// rules and sizing, the fallback on a failed allocation, and no access outside.
#include "dgemm_packed_test_support.h"

namespace {
const vrx_dgemm_fn packed_routes[] = {vrx_blas_dgemm_route_avx, vrx_blas_dgemm_route_sse42,
                                      vrx_blas_dgemm_route_ssse3};
const char* const route_names[] = {"avx", "sse42", "ssse3"};

// Around the small-shape rules: m = k in {9, 12}, q at 9/10, m at 40/70, k at 3/6/128,
// tiny shapes with k = 1..10, and the register-block minimums of every row.
const std::vector<pk_shape> rule_shapes = {
    {9, 5, 9},    {12, 12, 12}, {10, 10, 10}, {11, 10, 10}, {10, 11, 1},  {3, 2, 5},   {1, 4, 7},
    {7, 3, 3},    {71, 3, 3},   {71, 3, 4},   {70, 9, 50},  {71, 9, 50},  {20, 20, 6}, {20, 20, 7},
    {41, 40, 6},  {20, 20, 128}, {20, 20, 129}, {7, 8, 2},   {8, 3, 5},   {8, 4, 1},   {2, 9, 3},
    {4, 4, 4},    {3, 3, 3},    {5, 2, 2},    {30, 7, 0}};
// Row and column tails of every width below the register block, and k blocks
// (kc 128 below 256, halves up to 512, then 256).
const std::vector<pk_shape> block_shapes = {{23, 21, 17}, {31, 13, 33}, {19, 30, 129}, {17, 9, 255},
                                            {13, 15, 256}, {11, 19, 257}, {9, 22, 511},  {12, 10, 600}};
}  // namespace

TEST(DgemmPackedRoutes, RulesAndMinimumsEveryRoute) {
  for (int r = 0; r < 3; ++r) pk_check_all(packed_routes[r], rule_shapes, route_names[r]);
}

TEST(DgemmPackedRoutes, TailsAndDepthBlocksEveryRoute) {
  for (int r = 0; r < 3; ++r) pk_check_all(packed_routes[r], block_shapes, route_names[r]);
}

TEST(DgemmPackedRoutes, DirectKernelsEveryClass) {
  const vrx_dgemm_fn small[] = {vrx_blas_dgemm_small_avx, vrx_blas_dgemm_small_sse42, vrx_blas_dgemm_small_ssse3};
  const vrx_dgemm_fn tiny[] = {vrx_blas_dgemm_tiny_k_avx, vrx_blas_dgemm_tiny_k_sse42, vrx_blas_dgemm_tiny_k_ssse3};
  const vrx_dgemm_fn unpacked[] = {vrx_blas_dgemm_unpacked_avx, vrx_blas_dgemm_unpacked_sse42,
                                   vrx_blas_dgemm_unpacked_ssse3};
  std::vector<pk_shape> tiny_shapes;
  for (vrx_int k = 1; k <= 10; ++k) tiny_shapes.push_back({11 - k, k % 4 + 7, k});
  const std::vector<pk_shape> shapes = {{15, 7, 3}, {9, 9, 9}, {1, 1, 5}, {17, 6, 0}, {13, 11, 40}};
  for (int r = 0; r < 3; ++r) {
    pk_check_all(small[r], shapes, route_names[r]);
    pk_check_all(unpacked[r], shapes, route_names[r]);
    for (const pk_shape& s : tiny_shapes)
      for (const char* tr : pk_trans_pairs)
        EXPECT_LT(pk_check(tiny[r], tr, s, 0.5, 1.0, 9), 1.0) << route_names[r] << " " << tr << " k=" << s.k;
  }
}

namespace {
// The driver with a chosen row and mode, and beta as given (0 takes the store kernels).
struct driver_case {
  const vrx_gemm_row* row;
  int variant;
  int mode;
  vrx_int mc, nc, kc;  // 0: the block rule decides
};
driver_case current;
void run_driver(const char* ta, const char* tb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                const double* alpha, const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb,
                const double* beta, double* c, const vrx_int* ldc) {
  vrx_gemm_context ctx;
  vrx_gemm_context_init(&ctx, current.row, current.variant);
  ctx.mc = current.mc;
  ctx.nc = current.nc;
  ctx.kc = current.kc;
  vrx_blas_dgemm_packed(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, current.mode, &ctx);
}
}  // namespace

TEST(DgemmPackedDriver, EveryModeAndRowAcrossBlocks) {
  // Small blocks force several row, column and depth blocks on small shapes.
  const driver_case cases[] = {
      {vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 128, 16, 8, 16},
      {vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 2, 24, 12, 20},
      {vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 4, 16, 12, 16},
      {vrx_gemm_row_sse42(0), VRX_GEMM_VARIANT_SSE42, 2, 12, 16, 16},
      {vrx_gemm_row_sse42(1), VRX_GEMM_VARIANT_SSE42, 128, 12, 16, 16},
      {vrx_gemm_row_sse42(0), VRX_GEMM_VARIANT_SSE42, 4, 12, 16, 16},
      {vrx_gemm_row_ssse3(0), VRX_GEMM_VARIANT_SSSE3_PLAIN, 4, 12, 12, 16},
      {vrx_gemm_row_ssse3(1), VRX_GEMM_VARIANT_SSSE3_SSE41, 2, 12, 12, 16},
      {vrx_gemm_row_ssse3(1), VRX_GEMM_VARIANT_SSSE3_SSE41, 128, 12, 12, 16},
      {vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 0, 0, 0, 0},
  };
  const std::vector<pk_shape> shapes = {{37, 29, 41}, {8, 4, 1}, {3, 3, 3}, {50, 35, 17}, {4, 33, 64}};
  for (const driver_case& dc : cases) {
    current = dc;
    pk_check_all(run_driver, shapes, "driver");
  }
}

TEST(DgemmPackedDriver, BlockRules) {
  vrx_gemm_context ctx;
  auto blocks = [&](const vrx_gemm_row* row, int variant, vrx_int m, vrx_int n, vrx_int k) {
    vrx_gemm_context_init(&ctx, row, variant);
    row->block(&ctx, m, n, k);
  };
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 1001, 1001, 100);
  EXPECT_EQ(ctx.kc, 128);
  EXPECT_EQ(ctx.mc, 1008);
  EXPECT_EQ(ctx.nc, 256);
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 9000, 7, 31);
  EXPECT_EQ(ctx.mc, 5000);
  EXPECT_EQ(ctx.nc, 8);
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 100, 100, 20);
  EXPECT_EQ(ctx.nc, 16);
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 100, 100, 200);
  EXPECT_EQ(ctx.kc, 200);
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 100, 100, 256);
  EXPECT_EQ(ctx.kc, 256);
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 100, 100, 301);
  EXPECT_EQ(ctx.kc, 150);
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 100, 100, 512);
  EXPECT_EQ(ctx.kc, 256);
  blocks(vrx_gemm_row_sse42(0), VRX_GEMM_VARIANT_SSE42, 100, 6001, 301);
  EXPECT_EQ(ctx.kc, 152);  // 150 rounded up to 4
  EXPECT_EQ(ctx.mc, 640);
  EXPECT_EQ(ctx.nc, 5000);
  blocks(vrx_gemm_row_sse42(0), VRX_GEMM_VARIANT_SSE42, 100, 13, 5);
  EXPECT_EQ(ctx.kc, 128);
  EXPECT_EQ(ctx.nc, 16);
  blocks(vrx_gemm_row_ssse3(0), VRX_GEMM_VARIANT_SSSE3_PLAIN, 100, 12001, 10);
  EXPECT_EQ(ctx.mc, 512);
  EXPECT_EQ(ctx.nc, 10000);

  // Mode choice of SSSE3: strips while kc * 8 * nc stays below 4194305.
  blocks(vrx_gemm_row_ssse3(0), VRX_GEMM_VARIANT_SSSE3_PLAIN, 100, 2049, 600);
  EXPECT_EQ(vrx_gemm_mode_query(&ctx, 100, 2049, 600), 2);  // 256 * 8 * 2049 > 4194304
  EXPECT_EQ(vrx_gemm_mode_query(&ctx, 100, 2048, 600), 4);  // exactly 4194304
  EXPECT_EQ(vrx_gemm_mode_query(&ctx, 100, 2049, 100), 4);  // min(kc, k) = 100
  blocks(vrx_gemm_row_ssse3(0), VRX_GEMM_VARIANT_SSSE3_PLAIN, 100, 2049, 256);
  EXPECT_EQ(ctx.kc, 256);
  EXPECT_EQ(vrx_gemm_mode_query(&ctx, 100, 2049, 256), 2);
  blocks(vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX, 100, 100, 100);
  EXPECT_EQ(vrx_gemm_mode_query(&ctx, 100, 100, 100), 128);
  blocks(vrx_gemm_row_sse42(0), VRX_GEMM_VARIANT_SSE42, 100, 100, 100);
  EXPECT_EQ(vrx_gemm_mode_query(&ctx, 100, 100, 100), 2);
}

TEST(DgemmPackedDriver, SizingCodes) {
  vrx_gemm_context ctx;
  vrx_gemm_context_init(&ctx, vrx_gemm_row_ssse3(0), VRX_GEMM_VARIANT_SSSE3_PLAIN);
  ctx.mc = 10;
  ctx.nc = 6;
  ctx.kc = 7;
  ASSERT_EQ(vrx_gemm_sizing(&ctx, VRX_GEMM_SIZE_ROUND, 0, 0, 0), 0);
  EXPECT_EQ(ctx.mc, 12);
  EXPECT_EQ(ctx.nc, 8);
  EXPECT_EQ(ctx.kc, 8);
  EXPECT_EQ(ctx.a.bytes, 12u * 8 * 8 + 4096);
  EXPECT_EQ(ctx.b.bytes, 8u * 8 * 8 + 4096);
  EXPECT_EQ(ctx.strips.bytes, 8u * 4 * 8 * 2 + 512);
  const struct {
    int code;
    bool a, b, strips;
  } codes[] = {{100, true, true, true},  {101, true, false, false}, {102, false, true, false},
               {103, true, true, false}, {104, false, true, true},  {105, true, false, true},
               {106, false, false, true}};
  for (const auto& c : codes) {
    vrx_gemm_context_init(&ctx, vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX);
    ASSERT_EQ(vrx_gemm_sizing(&ctx, VRX_GEMM_SIZE_EXTENTS, 9, 5, 3), 0);
    ASSERT_EQ(vrx_gemm_sizing(&ctx, c.code, 0, 0, 0), 0);
    EXPECT_EQ(ctx.mc, 16);
    EXPECT_EQ(ctx.nc, 8);
    EXPECT_EQ(ctx.kc, 3);
    EXPECT_EQ(ctx.a.bytes, c.a ? 16u * 3 * 8 + 512 : 0u) << c.code;
    EXPECT_EQ(ctx.b.bytes, c.b ? 8u * 3 * 8 + 512 : 0u) << c.code;
    EXPECT_EQ(ctx.strips.bytes, c.strips ? 3u * 4 * 8 * 4 + 512 : 0u) << c.code;
    ASSERT_EQ(vrx_gemm_allocate(&ctx), 0);
    if (c.a) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ctx.a.data) % 4096, 1664u);
    }
    if (c.b) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ctx.b.data) % 4096, 768u);
    }
    if (c.strips) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ctx.strips.data) % 128, 0u);
    }
    vrx_gemm_release(&ctx);
  }
}

TEST(DgemmPackedRoutes, FailedAllocationFallsBackToUnpacked) {
  pk_failing_scratch failing;
  const std::vector<pk_shape> shapes = {{23, 21, 17}, {12, 10, 300}};
  for (int r = 0; r < 3; ++r) pk_check_all(packed_routes[r], shapes, route_names[r]);
}

TEST(DgemmPackedRoutes, NoAccessOutsideTheMatrices) {
  const pk_shape shapes[] = {{23, 21, 17}, {8, 4, 4}, {9, 17, 130}, {4, 9, 2}};
  for (vrx_dgemm_fn route : packed_routes)
    for (const char* tr : pk_trans_pairs)
      for (const pk_shape& s : shapes)
        for (bool at_end : {true, false}) pk_check_guarded(route, tr, s, at_end);
}
