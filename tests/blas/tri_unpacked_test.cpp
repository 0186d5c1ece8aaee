// The allocation-free triangular kernels in S, D, C and Z against the wide reference:
// every side, uplo, transa and diag, orders on both sides of the 64 leaf and of the row
// chunk, alpha 0 over NaN, diag U with NaN on A's diagonal, the other triangle never
// read (NaN sentinels), singular triangles, a NaN alpha.
#include <gtest/gtest.h>

#include <cmath>

#include "tri_test_support.h"

namespace {
template <typename T>
void solve_unpacked(const vrx_test_triangular<T>& p, std::vector<T>* b) {
  vrx_l3_trsm_unpacked<T>(vrx_test_tri_codes(p), p.m, p.n, p.alpha, p.a.data(), p.lda, b->data(), p.ldb);
}
template <typename T>
void product_unpacked(const vrx_test_triangular<T>& p, std::vector<T>* b) {
  vrx_l3_trmm_unpacked<T>(vrx_test_tri_codes(p), p.m, p.n, p.alpha, p.a.data(), p.lda, b->data(), p.ldb);
}

template <typename T>
class TriUnpacked : public ::testing::Test {};
typedef ::testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(TriUnpacked, element_types);

struct extent {
  int64_t m, n;
};
// Orders 1 to 520 on both sides: the 64 leaf, two leaves and a tail, short and tall B, 513.
const extent extents[] = {{1, 1}, {3, 5}, {16, 16}, {17, 9}, {64, 3}, {65, 66}, {130, 7}, {6, 129}, {260, 2}, {513, 2}, {3, 520}};

TYPED_TEST(TriUnpacked, EveryCaseAgainstWideReference) {
  typedef TypeParam T;
  unsigned seed = 1;
  for (const std::string& c : vrx_test_tri_cases())
    for (const extent& e : extents) {
      const T alpha = vrx_test_tri_alpha<T>(seed);
      EXPECT_EQ(vrx_test_tri_run<T>(solve_unpacked<T>, true, c, e.m, e.n, alpha, seed), 0)
          << "trsm " << c << " m=" << e.m << " n=" << e.n;
      EXPECT_EQ(vrx_test_tri_run<T>(product_unpacked<T>, false, c, e.m, e.n, alpha, seed + 1), 0)
          << "trmm " << c << " m=" << e.m << " n=" << e.n;
      seed += 2;
    }
}

TYPED_TEST(TriUnpacked, AlphaZeroStoresZerosWithoutReading) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const R nan = std::numeric_limits<R>::quiet_NaN();
  for (const std::string& c : {std::string("LUNN"), std::string("RLCN")}) {
    vrx_test_triangular<T> p = vrx_test_make_triangular<T>(c.c_str(), 20, 30, vrx_test_scalar<T>(0, 0), 3);
    const int64_t k = vrx_test_triangle_order(p);
    for (int64_t i = 0; i < k; ++i) p.a[i + i * p.lda] = i % 2 ? vrx_traits<T>::make(nan, 0) : T{};
    for (int64_t j = 0; j < p.n; ++j)
      for (int64_t i = 0; i < p.m; i += 2) p.b[i + j * p.ldb] = vrx_traits<T>::make(nan, nan);
    for (bool solve : {true, false}) {
      std::vector<T> b = p.b;
      (solve ? solve_unpacked<T> : product_unpacked<T>)(p, &b);
      EXPECT_EQ(vrx_test_triangular_bad_elements(p, solve, b), 0) << c << (solve ? " trsm" : " trmm");
    }
  }
}

TYPED_TEST(TriUnpacked, NanAlphaIsNotZero) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const T alpha = vrx_traits<T>::make(std::numeric_limits<R>::quiet_NaN(), 0);
  const vrx_test_triangular<T> p = vrx_test_make_triangular<T>("LLNN", 9, 4, alpha, 5);
  for (bool solve : {true, false}) {
    std::vector<T> b = p.b;
    (solve ? solve_unpacked<T> : product_unpacked<T>)(p, &b);
    for (int64_t j = 0; j < p.n; ++j)
      for (int64_t i = 0; i < p.m; ++i) EXPECT_TRUE(std::isnan(vrx_traits<T>::real_part(b[i + j * p.ldb])));
  }
}

// A zero at the diagonal entry solved last leaves every other entry finite and makes
// that one non-finite (infinite for real data); the solve goes on.
TYPED_TEST(TriUnpacked, SingularTriangleGivesInfinities) {
  typedef TypeParam T;
  // Upper, no transposition, side L: row 0 is solved last.
  for (int64_t m : {5, 70}) {
    vrx_test_triangular<T> p = vrx_test_make_triangular<T>("LUNN", m, 3, vrx_test_scalar<T>(1, 0), 7);
    p.a[0] = T{};
    std::vector<T> b = p.b;
    solve_unpacked<T>(p, &b);
    for (int64_t j = 0; j < p.n; ++j) {
      const T x = b[j * p.ldb];
      EXPECT_FALSE(std::isfinite(vrx_traits<T>::real_part(x)) && std::isfinite(vrx_traits<T>::imag_part(x)));
      if (!vrx_is_complex<T>) EXPECT_TRUE(std::isinf(vrx_traits<T>::real_part(x)));
      for (int64_t i = 1; i < p.m; ++i) EXPECT_TRUE(std::isfinite(vrx_traits<T>::real_part(b[i + j * p.ldb])));
    }
  }
}
}  // namespace
