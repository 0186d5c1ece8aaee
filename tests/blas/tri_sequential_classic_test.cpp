// The sequential triangular kernels of the classic CPU types in S, D, C and Z: each
// GEMM route (types 0, 2, 3, 4, and the second SSE2 set of the reproducibility branches)
// against the wide reference, orders on both sides of the 128 leaf and of 513,
// right-hand sides on both sides of 8; below those extents, and for a type without a
// classic route, exactly the allocation-free kernel.
#include <gtest/gtest.h>

#include <cstring>

#include "tri_test_support.h"

namespace {
struct route_case {
  int cpu, branch;
};
const route_case routes[] = {{0, 1}, {0, 3}, {2, 1}, {2, 3}, {3, 1}, {4, 1}};

template <typename T, int Cpu, int Branch>
void solve_classic(const vrx_test_triangular<T>& p, std::vector<T>* b) {
  vrx_l3_trsm_sequential_classic<T>(Cpu, Branch, vrx_test_tri_codes(p), p.m, p.n, p.alpha, p.a.data(), p.lda,
                                    b->data(), p.ldb);
}
template <typename T, int Cpu, int Branch>
void product_classic(const vrx_test_triangular<T>& p, std::vector<T>* b) {
  vrx_l3_trmm_sequential_classic<T>(Cpu, Branch, vrx_test_tri_codes(p), p.m, p.n, p.alpha, p.a.data(), p.lda,
                                    b->data(), p.ldb);
}
// The kernels of a route by its place in `routes`.
template <typename T>
vrx_test_tri_kernel<T> route_kernel(int index, bool solve) {
  switch (index) {
    case 0: return solve ? solve_classic<T, 0, 1> : product_classic<T, 0, 1>;
    case 1: return solve ? solve_classic<T, 0, 3> : product_classic<T, 0, 3>;
    case 2: return solve ? solve_classic<T, 2, 1> : product_classic<T, 2, 1>;
    case 3: return solve ? solve_classic<T, 2, 3> : product_classic<T, 2, 3>;
    case 4: return solve ? solve_classic<T, 3, 1> : product_classic<T, 3, 1>;
    default: return solve ? solve_classic<T, 4, 1> : product_classic<T, 4, 1>;
  }
}

template <typename T>
class TriSequentialClassic : public ::testing::Test {};
typedef ::testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(TriSequentialClassic, element_types);

struct extent {
  int64_t m, n;
};
// Order (m for side L, n for side R) and right-hand sides around the leaf of 128 and the
// fewest right-hand sides of the GEMM route (8); tails of every register block.
const extent extents[] = {{129, 8}, {8, 129}, {200, 7}, {7, 200}, {260, 17}, {17, 260}, {17, 16}};

TYPED_TEST(TriSequentialClassic, EveryRouteAgainstWideReference) {
  typedef TypeParam T;
  const std::vector<std::string> cases = vrx_test_tri_cases();
  unsigned seed = 11;
  for (int r = 0; r < 6; ++r)
    for (const extent& e : extents)
      for (int pick = 0; pick < 3; ++pick) {
        const std::string& c = cases[(seed * 7) % cases.size()];
        const T alpha = vrx_test_tri_alpha<T>(seed);
        for (bool solve : {true, false})
          EXPECT_EQ(vrx_test_tri_run<T>(route_kernel<T>(r, solve), solve, c, e.m, e.n, alpha, seed), 0)
              << (solve ? "trsm " : "trmm ") << c << " cpu " << routes[r].cpu << " branch " << routes[r].branch
              << " m=" << e.m << " n=" << e.n;
        ++seed;
      }
}

TYPED_TEST(TriSequentialClassic, OrderAbove513AndAlphaZero) {
  typedef TypeParam T;
  for (const char* c : {"LLNN", "LUCU", "RUTN"})
    for (bool solve : {true, false}) {
      const int64_t m = c[0] == 'L' ? 520 : 12, n = c[0] == 'L' ? 12 : 520;
      EXPECT_EQ(vrx_test_tri_run<T>(route_kernel<T>(0, solve), solve, c, m, n, vrx_test_tri_alpha<T>(2), 3), 0)
          << c << (solve ? " trsm" : " trmm");
      EXPECT_EQ(vrx_test_tri_run<T>(route_kernel<T>(5, solve), solve, c, m, n, T{}, 4), 0)
          << c << (solve ? " trsm" : " trmm") << " alpha 0";
    }
}

// Small orders, few right-hand sides, and CPU types without a classic GEMM route run
// the allocation-free kernel: the same bits.
TYPED_TEST(TriSequentialClassic, SmallCallsAndOtherTypesAreTheAllocationFreeKernel) {
  typedef TypeParam T;
  struct call {
    const char* codes;
    int64_t m, n;
    int cpu;
  };
  const call calls[] = {{"LUNN", 128, 40, 0}, {"RLTU", 40, 128, 3}, {"LLCN", 300, 7, 4}, {"RUNN", 7, 300, 2},
                        {"LLNN", 300, 40, 5}, {"RUCN", 40, 300, 7}};
  for (const call& c : calls)
    for (bool solve : {true, false}) {
      const vrx_test_triangular<T> p = vrx_test_make_triangular<T>(c.codes, c.m, c.n, vrx_test_tri_alpha<T>(2), 9);
      std::vector<T> ours = p.b, plain = p.b;
      const vrx_tri_codes codes = vrx_test_tri_codes(p);
      if (solve) {
        vrx_l3_trsm_sequential_classic<T>(c.cpu, 1, codes, p.m, p.n, p.alpha, p.a.data(), p.lda, ours.data(), p.ldb);
        vrx_l3_trsm_unpacked<T>(codes, p.m, p.n, p.alpha, p.a.data(), p.lda, plain.data(), p.ldb);
      } else {
        vrx_l3_trmm_sequential_classic<T>(c.cpu, 1, codes, p.m, p.n, p.alpha, p.a.data(), p.lda, ours.data(), p.ldb);
        vrx_l3_trmm_unpacked<T>(codes, p.m, p.n, p.alpha, p.a.data(), p.lda, plain.data(), p.ldb);
      }
      EXPECT_EQ(std::memcmp(ours.data(), plain.data(), ours.size() * sizeof(T)), 0)
          << c.codes << " cpu " << c.cpu << (solve ? " trsm" : " trmm");
      EXPECT_EQ(vrx_test_triangular_bad_elements(p, solve, ours), 0) << c.codes;
    }
}
}  // namespace
