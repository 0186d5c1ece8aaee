// The level-3 driver of CPU types 5 and 7: block rule, buffer layout, packed panel
// format, every row and column tail of the kernels, the cooperating driver, a failed
// scratch allocation, and no read outside the matrices (guard pages).
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "blas/vrx_l3.h"
#include "tests/blas/dgemm_l3_support.h"

namespace {
bool has_cpu(int cpu) { return cpu == VRX_CPU_AVX512 ? l3_has_avx512() : l3_has_avx2(); }
const int cpus[] = {VRX_CPU_AVX2, VRX_CPU_AVX512};

struct setup {
  vrx_l3_call<double> call;
  vrx_l3_view<double> a, b, c;
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<double> ops;
};

setup make_setup(int cpu, char ta, char tb, vrx_int m, vrx_int n, vrx_int k, const double* a, vrx_int lda,
                 const double* b, vrx_int ldb, double* c, vrx_int ldc, double alpha, double beta,
                 const vrx_l3_team<double>* team = nullptr) {
  setup s;
  s.call = vrx_l3_gemm_call(&ta, &tb, alpha, beta);
  s.call.transa = s.call.transb = nullptr;  // the characters are locals of this function
  s.a = vrx_l3_make_view(a, m, k, lda, vrx_l3_layout_flag(ta));
  s.b = vrx_l3_make_view(b, k, n, ldb, vrx_l3_layout_flag(tb));
  s.c = vrx_l3_make_c_view(c, m, n, ldc);
  EXPECT_EQ(vrx_l3_init_shape_for<double>(cpu, team, &s.shape), 1);
  EXPECT_EQ(vrx_l3_init_ops_with(vrx_l3_kernels_for<double>(cpu), &s.call, &s.a, &s.b, &s.c, &s.shape, &s.ops), 1);
  return s;
}

// Runs the plain driver of `cpu` directly (no route in front) as a GEMM routine.
template <int CPU>
void plain_driver(const char* ta, const char* tb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                  const double* alpha, const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb,
                  const double* beta, double* c, const vrx_int* ldc) {
  setup s = make_setup(CPU, *ta, *tb, *m, *n, *k, a, *lda, b, *ldb, c, *ldc, *alpha, *beta);
  s.ops.driver(&s.call, &s.a, &s.b, &s.c, nullptr, &s.ops);
}

vrx_dgemm_fn plain_for(int cpu) { return cpu == VRX_CPU_AVX512 ? plain_driver<7> : plain_driver<5>; }

void* failing_alloc(std::size_t, int) { return nullptr; }
int failed_allocations = 0;
void* counting_failing_alloc(std::size_t, int) {
  ++failed_allocations;
  return nullptr;
}
}  // namespace

TEST(DgemmL3Driver, BlockRule) {
  vrx_l3_kernel_shape s5, s7;
  vrx_l3_init_shape_for<double>(VRX_CPU_AVX2, nullptr, &s5);
  vrx_l3_init_shape_for<double>(VRX_CPU_AVX512, nullptr, &s7);
  EXPECT_EQ(s5.mr, 12);
  EXPECT_EQ(s5.nr, 4);
  EXPECT_EQ(s7.mr, 24);
  EXPECT_EQ(s7.nr, 8);
  EXPECT_EQ(s7.team_mode, 2u);
  EXPECT_EQ(s7.check(&s7), 1);
  s7.mr = 3;
  EXPECT_EQ(s7.check(&s7), 0);
  EXPECT_EQ(s7.mr, 24);
  vrx_l3_team<double> team{};
  team.team_mode = 1;
  vrx_l3_init_shape_for<double>(VRX_CPU_AVX512, &team, &s7);
  EXPECT_EQ(s7.team_mode, 4u);
  vrx_l3_init_shape_for<double>(VRX_CPU_AVX512, nullptr, &s7);

  struct row {
    const vrx_l3_kernel_shape* shape;
    vrx_int m, n, k, mc, nc, kc;
  } rows[] = {
      {&s5, 13, 7, 257, 24, 8, 128},    {&s5, 1, 1, 10, 12, 4, 128},     {&s5, 6000, 500, 256, 5004, 192, 256},
      {&s5, 100, 100, 383, 108, 100, 191}, {&s5, 100, 100, 384, 108, 100, 192}, {&s5, 100, 100, 47, 108, 24, 128},
      {&s7, 100, 100, 384, 120, 104, 384}, {&s7, 100, 100, 385, 120, 104, 192}, {&s7, 100, 100, 767, 120, 104, 383},
      {&s7, 100, 100, 768, 120, 104, 384}, {&s7, 9000, 9000, 5000, 4992, 192, 384}, {&s7, 5, 5, 48, 24, 8, 128},
  };
  for (const row& r : rows) {
    vrx_l3_blocking<double> bl{};
    vrx_l3_blocking_rule<double>(r.m, r.n, r.k, r.shape, &bl);
    EXPECT_EQ(bl.mc, r.mc) << r.m << " " << r.n << " " << r.k;
    EXPECT_EQ(bl.nc, r.nc) << r.m << " " << r.n << " " << r.k;
    EXPECT_EQ(bl.kc, r.kc) << r.m << " " << r.n << " " << r.k;
  }
}

TEST(DgemmL3Driver, BufferLayout) {
  vrx_l3_kernel_shape shape;
  vrx_l3_init_shape_for<double>(VRX_CPU_AVX512, nullptr, &shape);
  std::vector<double> a(1), b(1);
  const vrx_l3_view<double> va = vrx_l3_make_view(a.data(), 500, 600, 500, VRX_L3_PLAIN);
  const vrx_l3_view<double> vb = vrx_l3_make_view(b.data(), 600, 300, 600, VRX_L3_PLAIN);
  vrx_l3_blocking<double> bl;
  vrx_l3_blocking_init(&va, &vb, &shape, &bl);
  EXPECT_EQ(bl.kind, VRX_L3_BUFFER_BOTH);
  ASSERT_EQ(bl.allocate(&bl), 1);
  const auto at = [](const void* p) { return reinterpret_cast<std::uintptr_t>(p); };
  EXPECT_EQ(at(bl.b_packed.data) % 4096, 768u);
  EXPECT_EQ(at(bl.a_packed.data) % 2097152, 1664u);
  EXPECT_GE(at(bl.a_packed.data), at(bl.b_packed.data + bl.nc * bl.kc));
  const std::size_t bytes = vrx_l3_blocking_bytes<double>(bl.kind, bl.mc, bl.nc, bl.kc);
  EXPECT_EQ(bytes, static_cast<std::size_t>((bl.mc + bl.nc) * bl.kc * 8 + 4204928));
  EXPECT_LE(at(bl.a_packed.data + bl.mc * bl.kc), at(bl.raw) + bytes);
  std::memset(bl.a_packed.data, 0, static_cast<size_t>(bl.mc * bl.kc) * 8);  // the whole block is ours
  std::memset(bl.b_packed.data, 0, static_cast<size_t>(bl.nc * bl.kc) * 8);
  bl.release(&bl);
  EXPECT_EQ(bl.raw, nullptr);
  EXPECT_EQ(vrx_l3_blocking_bytes<double>(VRX_L3_BUFFER_B, 10, 20, 30), 20u * 30 * 8 + 8960);
  EXPECT_EQ(vrx_l3_blocking_bytes<double>(VRX_L3_BUFFER_A, 10, 20, 30), 10u * 30 * 8 + 4196992);
}

// Packs op(A) (m by k, factor fa) and op(B) (k by n, factor fb) with one class's routines
// for layout t, compares every packed value exactly, and checks that the last values sit
// right at the end of each buffer (no padding).
void check_packed_panels(const vrx_l3_kernels<double>* kern, vrx_int m, vrx_int n, vrx_int k, char t, double fa,
                         double fb, vrx_int pad_a, vrx_int pad_b, unsigned seed) {
  const vrx_int lda = t == 'N' ? m + pad_a : k + pad_a, ldb = t == 'N' ? k + pad_b : n + pad_b;
  std::vector<double> a = vrx_test_random(static_cast<size_t>(lda * (t == 'N' ? k : m)), seed);
  std::vector<double> b = vrx_test_random(static_cast<size_t>(ldb * (t == 'N' ? n : k)), seed + 1);
  const vrx_l3_view<double> va = vrx_l3_make_view(a.data(), m, k, lda, vrx_l3_layout_flag(t));
  const vrx_l3_view<double> vb = vrx_l3_make_view(b.data(), k, n, ldb, vrx_l3_layout_flag(t));
  std::vector<double> pa(static_cast<size_t>(m * k), -99.0), pb(static_cast<size_t>(k * n), -99.0);
  vrx_l3_view<double> ta{}, tb{};
  ta.data = pa.data(), ta.rows = m, ta.cols = k, ta.ld = kern->mr, ta.address = vrx_l3_packed_a_address;
  tb.data = pb.data(), tb.rows = k, tb.cols = n, tb.ld = kern->nr, tb.address = vrx_l3_packed_b_address;
  (t == 'N' ? kern->pack_a_plain : kern->pack_a_transposed)(&va, &ta, fa, 0);
  (t == 'N' ? kern->pack_b_plain : kern->pack_b_transposed)(&vb, &tb, fb, 0);
  for (vrx_int i = 0; i < m; ++i)
    for (vrx_int l = 0; l < k; ++l)
      ASSERT_EQ(*ta.address(i, l, &ta), fa * *va.address(i, l, &va)) << t << k << " A " << i << "," << l;
  for (vrx_int l = 0; l < k; ++l)
    for (vrx_int j = 0; j < n; ++j)
      ASSERT_EQ(*tb.address(l, j, &tb), fb * *vb.address(l, j, &vb)) << t << k << " B " << l << "," << j;
  // Last panel of height 1 is the last k values, right at the end: no padding.
  EXPECT_EQ(pa[static_cast<size_t>(m * k - 1)], fa * *va.address(m - 1, k - 1, &va));
  EXPECT_EQ(pb[static_cast<size_t>(k * n - 1)], fb * *vb.address(k - 1, n - 1, &vb));
}

TEST(DgemmL3Driver, PackedPanelFormatWithPowerOfTwoTails) {
  // 23 rows on CPU type 5: panels 12, 8, 2, 1; 7 columns: 4, 2, 1. Alpha is folded into A.
  for (int cpu : cpus) {
    if (!has_cpu(cpu)) continue;
    const vrx_int m = 23 + (cpu == VRX_CPU_AVX512 ? 24 : 0), n = 7 + (cpu == VRX_CPU_AVX512 ? 8 : 0), k = 5;
    for (char t : {'N', 'T'}) check_packed_panels(vrx_l3_kernels_for<double>(cpu), m, n, k, t, -2.0, 1.0, t == 'N' ? 1 : 2,
                                                  t == 'N' ? 3 : 1, 4);
  }
}

TEST(DgemmL3Driver, PackedPanelsAcrossSquareBlocksAndRemainders) {
  // Long k: the transposing copies go by square blocks of steps with a remainder after
  // them, and the factor is applied once per value.
  for (int cpu : cpus) {
    if (!has_cpu(cpu)) continue;
    const vrx_l3_kernels<double>* kern = vrx_l3_kernels_for<double>(cpu);
    for (vrx_int k : {4, 8, 13, 19, 35})
      for (char t : {'N', 'T'}) check_packed_panels(kern, 2 * kern->mr + 7, 2 * kern->nr + 3, k, t, 0.3, -1.7, 3, 5, 6);
  }
}

TEST(DgemmL3Driver, EveryRowAndColumnTail) {
  // The plain driver without any route in front: every m from 1 to mr + 23, every n
  // across two register widths, store (beta 0) and accumulate kernels.
  unsigned seed = 11;
  for (int cpu : cpus) {
    if (!has_cpu(cpu)) continue;
    const vrx_int mr = cpu == VRX_CPU_AVX512 ? 24 : 12, nr = cpu == VRX_CPU_AVX512 ? 8 : 4;
    for (vrx_int m = 1; m <= mr + 23; ++m) {
      const vrx_int n = 1 + (m * 5) % (2 * nr + 1), k = 1 + m % 9;
      l3_check(plain_for(cpu), {'N', 'T', m, n, k, -1.25, m % 2 ? 0.0 : 1.0}, seed++);
    }
    for (vrx_int n = 1; n <= 2 * nr + 7; ++n)
      l3_check(plain_for(cpu), {'T', 'N', mr + 5, n, 9, 0.5, n % 2 ? 1.0 : 0.0}, seed++);
    // Row tails below 8 rows over longer k: several rounds of the split accumulators,
    // a remainder, and the next panel fetched while the tail runs.
    for (vrx_int tail = 1; tail < 8; ++tail)
      for (vrx_int k : {37, 131})
        l3_check(plain_for(cpu), {'N', 'N', mr + tail, 2 * nr + 1, k, 0.75, tail % 2 ? 0.0 : 2.0}, seed++);
    if (HasFailure()) return;
  }
}

TEST(DgemmL3Driver, DriverBetaAndAlphaRules) {
  // beta = 2 is applied once before any product; k = 0 only scales; alpha = 0 skips A and B.
  unsigned seed = 40;
  for (int cpu : cpus) {
    if (!has_cpu(cpu)) continue;
    for (double beta : {2.0, 0.0, 1.0})
      for (double alpha : {0.0, 3.0}) {
        l3_check(plain_for(cpu), {'N', 'N', 30, 20, 300, alpha, beta}, seed++);
        l3_check(plain_for(cpu), {'T', 'T', 30, 20, 0, alpha, beta}, seed++);
      }
  }
}

TEST(DgemmL3Driver, FailedAllocationFallsBackToUnpacked) {
  const vrx_l3_alloc_fn saved = vrx_l3_scratch_alloc;
  vrx_l3_scratch_alloc = counting_failing_alloc;
  failed_allocations = 0;
  unsigned seed = 60;
  for (int cpu : cpus) {
    if (!has_cpu(cpu)) continue;
    for (const char* p : {"NN", "TN", "NT", "TT"}) {
      l3_check(plain_for(cpu), {p[0], p[1], 57, 33, 270, 1.5, 0.0}, seed++);
      l3_check(cpu == VRX_CPU_AVX512 ? vrx_blas_dgemm_route_avx512 : vrx_blas_dgemm_route_avx2,
               {p[0], p[1], 70, 45, 129, -0.5, 2.0}, seed++);
    }
  }
  vrx_l3_scratch_alloc = saved;
  if (l3_has_avx2()) EXPECT_GT(failed_allocations, 0);
}

TEST(DgemmL3Driver, CooperatingDriverOnASharedPackedBlock) {
  // A packed once by the caller (as a team would), B packed by the driver in steps of nc.
  for (int cpu : cpus) {
    if (!has_cpu(cpu)) continue;
    const vrx_int m = 50, n = 430, k = 77, lda = k + 1, ldb = k, ldc = m + 3;
    std::vector<double> a = vrx_test_random(static_cast<size_t>(lda * m), 70);
    std::vector<double> b = vrx_test_random(static_cast<size_t>(ldb * n), 71);
    std::vector<double> c = vrx_test_random(static_cast<size_t>(ldc * n), 72);
    const std::vector<double> c0 = c;
    vrx_l3_team<double> team{};
    team.team_mode = 1;
    setup s = make_setup(cpu, 'T', 'N', m, n, k, a.data(), lda, b.data(), ldb, c.data(), ldc, -0.5, 3.0, &team);
    ASSERT_EQ(s.ops.driver, vrx_l3_driver_cooperating<double>);
    vrx_l3_blocking<double> bl;
    vrx_l3_blocking_init(&s.a, &s.b, &s.shape, &bl);
    ASSERT_EQ(bl.allocate(&bl), 1);
    bl.a_packed.rows = m;
    bl.a_packed.cols = k;
    s.ops.pack_a(&s.a, &bl.a_packed, s.call.alpha, 0);
    s.ops.driver(&s.call, &s.a, &s.b, &s.c, &bl, &s.ops);
    bl.release(&bl);
    EXPECT_EQ(s.call.beta, 1.0);
    std::vector<long double> ref;
    vrx_test_gemm_long_double('T', 'N', m, n, k, -0.5, a.data(), lda, b.data(), ldb, 3.0, c0.data(), ldc, ref);
    EXPECT_LT(vrx_test_gemm_error(c.data(), ldc, m, n, ref, k, 0.5 * k + 3.0), 1.0);
  }
}

TEST(DgemmL3Driver, KindsWithoutOperationsAreRefused) {
  if (!l3_has_avx2()) GTEST_SKIP() << "no AVX2 with FMA";
  setup s = make_setup(VRX_CPU_AVX2, 'N', 'N', 4, 4, 4, nullptr, 4, nullptr, 4, nullptr, 4, 1.0, 1.0);
  EXPECT_EQ(s.ops.pack_diag, nullptr);
  EXPECT_EQ(s.ops.pack_tri, nullptr);
  EXPECT_EQ(s.ops.min_m, 8);
  EXPECT_EQ(s.ops.min_n, 4);
  s.call.kind = VRX_L3_TRSM;
  EXPECT_EQ(vrx_l3_init_ops_with(vrx_l3_kernels_for<double>(VRX_CPU_AVX2), &s.call, &s.a, &s.b, &s.c, &s.shape, &s.ops), 0);
  EXPECT_EQ(vrx_l3_init_ops_with<double>(nullptr, &s.call, &s.a, &s.b, &s.c, &s.shape, &s.ops), 0);
}

namespace {
// Matrices whose last element sits just before a page that faults on any access.
struct guarded {
  char* region = nullptr;
  size_t bytes = 0;
  double* place(size_t count) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t body = (count * 8 + page - 1) / page * page;
    bytes = body + page;
    region = static_cast<char*>(mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (region == MAP_FAILED) return nullptr;
    mprotect(region + body, page, PROT_NONE);
    return reinterpret_cast<double*>(region + body) - count;
  }
  ~guarded() {
    if (region && region != MAP_FAILED) munmap(region, bytes);
  }
};
}  // namespace

TEST(DgemmL3Driver, NoReadBeyondTheMatrices) {
  // Tight leading dimensions and every matrix against a guard page, through both routes.
  struct shape {
    char ta, tb;
    vrx_int m, n, k;
  } shapes[] = {{'N', 'N', 13, 7, 257}, {'T', 'T', 47, 15, 33}, {'N', 'T', 23, 9, 5},
                {'T', 'N', 25, 31, 130}, {'N', 'N', 9, 9, 9},   {'T', 'T', 5, 6, 7}};
  for (int cpu : cpus) {
    if (!has_cpu(cpu)) continue;
    const vrx_dgemm_fn route = cpu == VRX_CPU_AVX512 ? vrx_blas_dgemm_route_avx512 : vrx_blas_dgemm_route_avx2;
    for (const shape& s : shapes) {
      const bool ap = s.ta == 'N', bp = s.tb == 'N';
      const vrx_int lda = ap ? s.m : s.k, ldb = bp ? s.k : s.n, ldc = s.m;
      const size_t na = static_cast<size_t>(s.m * s.k), nb = static_cast<size_t>(s.k * s.n),
                   nc = static_cast<size_t>(s.m * s.n);
      guarded ga, gb, gc;
      double* a = ga.place(na);
      double* b = gb.place(nb);
      double* c = gc.place(nc);
      ASSERT_TRUE(a && b && c);
      const std::vector<double> ra = vrx_test_random(na, 1), rb = vrx_test_random(nb, 2), rc = vrx_test_random(nc, 3);
      std::copy(ra.begin(), ra.end(), a);
      std::copy(rb.begin(), rb.end(), b);
      std::copy(rc.begin(), rc.end(), c);
      const double alpha = 1.5;
      for (double beta : {0.0, 1.0}) {
        route(&s.ta, &s.tb, &s.m, &s.n, &s.k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
        std::vector<long double> ref;
        vrx_test_gemm_long_double(s.ta, s.tb, s.m, s.n, s.k, alpha, a, lda, b, ldb, beta, rc.data(), ldc, ref);
        EXPECT_LT(vrx_test_gemm_error(c, ldc, s.m, s.n, ref, s.k, 1.5 * s.k + 1.0), 1.0);
        std::copy(rc.begin(), rc.end(), c);
      }
    }
  }
}
