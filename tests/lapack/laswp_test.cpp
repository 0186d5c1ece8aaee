// Row interchanges (xLASWP and the never-forking form) against a plain swap loop: unit
// and wider, positive and negative increments, zero increment, a range that does not
// start at row 1, column counts around the block of the kernel and above the threaded
// threshold (n > 128) with a thread count forced on this thread.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "lapack/getrf_support.h"
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"
#include "support/lu_check.h"

namespace {
// Row i is exchanged with row ipiv[(k1 - 1) + (i - k1) |incx|], i from k1 up to k2, or
// from k2 down to k1 for a negative incx.
template <typename T>
void reference_swaps(int64_t n, std::vector<T>& a, int64_t lda, int64_t k1, int64_t k2, const std::vector<int64_t>& ipiv,
                     int64_t incx) {
  if (incx == 0) return;
  const int64_t stride = incx > 0 ? incx : -incx;
  for (int64_t s = 0; s <= k2 - k1; ++s) {
    const int64_t i = incx > 0 ? k1 + s : k2 - s;
    const int64_t p = ipiv[(k1 - 1) + (i - k1) * stride];
    for (int64_t j = 0; j < n; ++j) std::swap(a[j * lda + i - 1], a[j * lda + p - 1]);
  }
}

struct swap_case {
  int64_t m, n, k1, k2, incx;
};
const swap_case cases[] = {
    {10, 1, 1, 10, 1},    {10, 33, 1, 10, -1}, {40, 70, 3, 29, 1},  {40, 70, 3, 29, -1}, {40, 31, 1, 13, 2},
    {40, 31, 1, 13, -3},  {12, 9, 2, 5, 0},    {50, 300, 1, 50, 1}, {50, 300, 1, 50, -1}, {7, 129, 1, 7, 1},
    {60, 200, 5, 37, 1},  {9, 5, 4, 3, 1},
};

template <typename T>
class LaswpTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(LaswpTest, element_types);

template <typename T>
void check_all(void (*swap)(vrx_int, T*, vrx_int, vrx_int, vrx_int, const vrx_int*, vrx_int)) {
  uint64_t seed = 3;
  for (const swap_case& c : cases) {
    const int64_t lda = c.m + 3;
    const std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, ++seed);
    // Pivots at or below their own row, as a factorisation gives, some rows kept.
    const int64_t stride = c.incx > 0 ? c.incx : (c.incx < 0 ? -c.incx : 1);
    std::vector<int64_t> ipiv(static_cast<std::size_t>((c.k1 - 1) + c.m * stride + 1), 1);
    for (int64_t i = c.k1; i <= c.k2; ++i) {
      const int64_t span = c.m - i + 1;
      ipiv[(c.k1 - 1) + (i - c.k1) * stride] = i % 3 == 0 ? i : i + static_cast<int64_t>((seed * 7 + i * 13) % span);
    }
    std::vector<T> expected = a, got = a;
    reference_swaps(c.n, expected, lda, c.k1, c.k2, ipiv, c.incx);
    swap(c.n, got.data(), lda, c.k1, c.k2, ipiv.data(), c.incx);
    EXPECT_TRUE(got == expected) << "m " << c.m << " n " << c.n << " k1 " << c.k1 << " k2 " << c.k2 << " incx "
                                 << c.incx;
  }
}

template <typename T>
void published(vrx_int n, T* a, vrx_int lda, vrx_int k1, vrx_int k2, const vrx_int* ipiv, vrx_int incx) {
  vrx_test_lu_names<T>::laswp(&n, a, &lda, &k1, &k2, ipiv, &incx);
}

TYPED_TEST(LaswpTest, NeverForkingFormMatchesPlainSwaps) { check_all<TypeParam>(vrx_lapack_laswp_sequential<TypeParam>); }

TYPED_TEST(LaswpTest, PublishedNameMatchesPlainSwapsOnOneAndFourThreads) {
  std::int32_t* forced = vrx_serv_thread_override();
  for (int threads : {1, 4}) {
    *forced = threads;
    check_all<TypeParam>(published<TypeParam>);
  }
  *forced = 0;
}
}  // namespace
