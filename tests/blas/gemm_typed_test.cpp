// SGEMM, DGEMM, CGEMM and ZGEMM in this process: the published entries (the vector-shaped
// reductions, the classic road of this machine's CPU type) and the sequential routes of
// CPU types 5 and 7 (the level-3 driver), against wider references.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "blas/gemm_typed_support.h"
#include "blas/vrx_l3.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
class GemmTyped : public ::testing::Test {};
using GemmTypes = ::testing::Types<float, double, vrx_complex_float, vrx_complex_double>;
TYPED_TEST_SUITE(GemmTyped, GemmTypes);

const char trans[] = "NTC";

struct shape {
  int64_t m, n, k;
};

// alpha and beta pairs: zero imaginary parts, zero real parts, both, and beta zero.
template <typename T>
std::vector<std::pair<T, T>> scalar_pairs() {
  return {{gemm_scalar<T>(1.5, 0.0), gemm_scalar<T>(0.0, 0.0)},
          {gemm_scalar<T>(0.0, -0.75), gemm_scalar<T>(1.0, 0.0)},
          {gemm_scalar<T>(0.5, 0.25), gemm_scalar<T>(0.0, 2.0)},
          {gemm_scalar<T>(-1.0, 0.0), gemm_scalar<T>(-0.5, 0.0)}};
}

template <typename T>
int64_t check_all_pairs(vrx_gemm_fn<T> fn, const std::vector<shape>& shapes, const std::string& where) {
  int64_t bad = 0;
  unsigned seed = 1;
  for (const shape& s : shapes)
    for (char ta : trans)
      for (char tb : trans)
        for (const auto& [alpha, beta] : scalar_pairs<T>()) {
          const vrx_test_product<T> p = vrx_test_make_product<T>(ta, tb, s.m, s.n, s.k, alpha, beta, seed++);
          const int64_t wrong = vrx_test_gemm_bad_elements(p, gemm_run<T>(fn, p));
          if (wrong)
            ADD_FAILURE() << where << " " << ta << tb << " " << s.m << " " << s.n << " " << s.k << ": " << wrong
                          << " wrong";
          bad += wrong;
        }
  return bad;
}

// The published entry: the m = 1, n = 1 and k = 1 reductions (with strides, gathers and
// conjugated rows and columns), k = 0, the small shapes and the classic road.
TYPED_TEST(GemmTyped, PublishedEntryOnEveryPairAgainstWiderReference) {
  typedef TypeParam T;
  const std::vector<shape> shapes = {{1, 1, 1},  {1, 13, 9},  {13, 1, 9},  {1, 70, 1},   {70, 1, 1},
                                     {65, 9, 1}, {64, 9, 1},  {9, 9, 9},   {12, 12, 12}, {10, 10, 10},
                                     {5, 7, 0},  {11, 3, 20}, {33, 17, 40}, {100, 101, 130}};
  EXPECT_EQ(check_all_pairs<T>(gemm_published<T>::fn, shapes, gemm_published<T>::name), 0);
}

// The sequential routes of types 5 and 7 on both sides of each register tail, of the
// minimum extents that send a product to the allocation-free road, and of the k blocks.
TYPED_TEST(GemmTyped, RoutesOfTypes5And7OnEveryRegisterTail) {
  typedef TypeParam T;
  for (int cpu : {VRX_CPU_AVX2, VRX_CPU_AVX512}) {
    const vrx_l3_kernels<T>* kernels = vrx_l3_kernels_for<T>(cpu);
    ASSERT_NE(kernels, nullptr);
    const int64_t mr = kernels->mr, nr = kernels->nr;
    const std::vector<shape> shapes = {{mr + 1, nr - 1, 17},       {mr - 1, 2 * nr + 1, 33}, {2 * mr + 3, 3 * nr + 1, 40},
                                       {50, nr - 1, 12},           {7, 3 * nr, 15},          {mr, nr, 300},
                                       {2 * mr + 7, 2 * nr + 3, 769}};
    const vrx_gemm_fn<T> route = cpu == VRX_CPU_AVX2 ? vrx_blas_gemm_route_avx2<T> : vrx_blas_gemm_route_avx512<T>;
    EXPECT_EQ(check_all_pairs<T>(route, shapes, "type " + std::to_string(cpu)), 0);
  }
}

void* refuse(std::size_t, int) { return nullptr; }

// Without scratch the driver hands the call to the allocation-free road: same result.
TYPED_TEST(GemmTyped, DriverWithoutScratchGivesTheProduct) {
  typedef TypeParam T;
  const vrx_l3_alloc_fn saved = vrx_l3_scratch_alloc;
  vrx_l3_scratch_alloc = refuse;
  for (int cpu : {VRX_CPU_AVX2, VRX_CPU_AVX512}) {
    const vrx_gemm_fn<T> route = cpu == VRX_CPU_AVX2 ? vrx_blas_gemm_route_avx2<T> : vrx_blas_gemm_route_avx512<T>;
    for (char ta : trans) {
      const vrx_test_product<T> p =
          vrx_test_make_product<T>(ta, 'C', 70, 45, 90, gemm_scalar<T>(0.5, -1.0), gemm_scalar<T>(2.0, 0.0), 5);
      EXPECT_EQ(vrx_test_gemm_bad_elements(p, gemm_run<T>(route, p)), 0) << cpu << " " << ta;
    }
  }
  vrx_l3_scratch_alloc = saved;
}

template <typename T>
T not_a_number() {
  const vrx_real_t<T> nan = std::nan("");
  return vrx_traits<T>::make(nan, nan);
}

template <typename T>
bool any_nan(const std::vector<T>& c) {
  for (const T& x : c)
    if (std::isnan(vrx_traits<T>::real_part(x)) || std::isnan(vrx_traits<T>::imag_part(x))) return true;
  return false;
}

// beta = 0 stores zeros (NaN in C does not survive); alpha = 0 leaves A and B unread
// (NaN in them does not reach C); m or n of 0 writes nothing.
TYPED_TEST(GemmTyped, BetaZeroAndAlphaZeroRules) {
  typedef TypeParam T;
  const vrx_gemm_fn<T> fns[] = {gemm_published<T>::fn, vrx_blas_gemm_route_avx2<T>, vrx_blas_gemm_route_avx512<T>};
  for (vrx_gemm_fn<T> fn : fns)
    for (shape s : {shape{1, 9, 5}, shape{9, 1, 5}, shape{8, 9, 1}, shape{6, 5, 0}, shape{40, 30, 50}}) {
      SCOPED_TRACE(std::to_string(s.m) + " " + std::to_string(s.n) + " " + std::to_string(s.k));
      vrx_test_product<T> p =
          vrx_test_make_product<T>('N', 'C', s.m, s.n, s.k, gemm_scalar<T>(1.0, 1.0), T{}, 3);
      for (int64_t j = 0; j < p.n; ++j)
        for (int64_t i = 0; i < p.m; ++i) p.c[i + j * p.ldc] = not_a_number<T>();
      const std::vector<T> c = gemm_run<T>(fn, p);
      EXPECT_FALSE(any_nan(c));
      EXPECT_EQ(vrx_test_gemm_bad_elements(p, c), 0);

      vrx_test_product<T> q =
          vrx_test_make_product<T>('T', 'N', s.m, s.n, s.k, T{}, gemm_scalar<T>(0.0, -2.0), 4);
      for (T& x : q.a) x = not_a_number<T>();
      for (T& x : q.b) x = not_a_number<T>();
      const std::vector<T> d = gemm_run<T>(fn, q);
      EXPECT_FALSE(any_nan(d));
      EXPECT_EQ(vrx_test_gemm_bad_elements(q, d), 0);
    }
  for (vrx_gemm_fn<T> fn : fns) {
    vrx_test_product<T> p = vrx_test_make_product<T>('N', 'N', 0, 5, 3, gemm_scalar<T>(1.0, 0.0), T{}, 9);
    p.ldc = 4;
    p.c.assign(20, not_a_number<T>());
    const std::vector<T> c = gemm_run<T>(fn, p);
    EXPECT_EQ(std::memcmp(c.data(), p.c.data(), c.size() * sizeof(T)), 0);
  }
}

// Real data reads C as T: the same bits.
TYPED_TEST(GemmTyped, RealDataReadsConjugateTransposeAsTranspose) {
  typedef TypeParam T;
  if constexpr (!vrx_is_complex<T>) {
    for (shape s : {shape{1, 20, 7}, shape{20, 1, 7}, shape{30, 20, 1}, shape{60, 50, 70}}) {
      vrx_test_product<T> p = vrx_test_make_product<T>('T', 'T', s.m, s.n, s.k, T(0.5), T(1.5), 8);
      vrx_test_product<T> q = p;
      q.ta = q.tb = 'C';
      EXPECT_EQ(gemm_run<T>(gemm_published<T>::fn, p), gemm_run<T>(gemm_published<T>::fn, q));
      EXPECT_EQ(gemm_run<T>(vrx_blas_gemm_route_avx512<T>, p), gemm_run<T>(vrx_blas_gemm_route_avx512<T>, q));
    }
  }
}
}  // namespace
