// The LU factorisation in the four precisions: the sequential recursion, the unblocked
// kernel alone and the look-ahead path on square, tall and wide matrices (residual ratio
// below 30, padding untouched), empty matrices, singular matrices (info the first zero
// pivot, the same pivots on every path), a pivot below the safe minimum, and the host
// routine's choice of path, proved by the trace record. Thread counts are forced on this
// thread; the tuning seam gives small panels on small matrices.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "blas/vrx_blas.h"
#include "lapack/getrf_support.h"
#include "lapack/lu/vrx_getf2_kernels.h"
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"
#include "support/lu_check.h"
#include "tests/support/lapack_seams.h"

namespace {
template <typename T>
class GetrfTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(GetrfTest, element_types);

struct shape {
  int64_t m, n;
};

// The thread count of the LAPACK domain on this thread, for the test's lifetime.

template <typename T>
using factor_fn = void (*)(int64_t m, int64_t n, T* a, int64_t lda, int64_t* ipiv, int64_t* info);

template <typename T>
void seq(int64_t m, int64_t n, T* a, int64_t lda, int64_t* ipiv, int64_t* info) {
  vrx_lapack_getrf_seq(m, n, a, lda, ipiv, info);
}
template <typename T>
void unblocked(int64_t m, int64_t n, T* a, int64_t lda, int64_t* ipiv, int64_t* info) {
  vrx_test_lu_names<T>::getf2(&m, &n, a, &lda, ipiv, info);
}
template <typename T>
void lookahead(int64_t m, int64_t n, T* a, int64_t lda, int64_t* ipiv, int64_t* info) {
  *vrx_lapack_getrf_trace() = vrx_getrf_trace{};
  EXPECT_EQ(vrx_lapack_getrf_lookahead(m, n, a, lda, ipiv, info, 0, 0), 0);
}
template <typename T>
void entry(int64_t m, int64_t n, T* a, int64_t lda, int64_t* ipiv, int64_t* info) {
  vrx_test_lu_names<T>::entry(&m, &n, a, &lda, ipiv, info);
}

struct outcome {
  int64_t info;
  std::vector<int64_t> ipiv;
};

// Factors `a` (m by n, leading dimension m + 3) with `factor` and checks the residual
// ratio and the padding; returns info and the pivots.
template <typename T>
outcome factor_and_check(factor_fn<T> factor, const std::vector<T>& a, int64_t m, int64_t n) {
  const int64_t lda = m + 3;
  std::vector<T> lu = a;
  outcome out = {-99, std::vector<int64_t>(static_cast<std::size_t>(std::min(m, n) + 1), -5)};
  factor(m, n, lu.data(), lda, out.ipiv.data(), &out.info);
  EXPECT_LT(vrx_test_lu_residual(m, n, a, lda, lu, lda, out.ipiv.data()), 30.0) << "m " << m << " n " << n;
  EXPECT_TRUE(vrx_test_lu_padding_intact(lu, m, n, lda)) << "m " << m << " n " << n;
  EXPECT_EQ(out.ipiv.back(), -5) << "a pivot past min(m, n) was written";
  out.ipiv.pop_back();
  return out;
}

template <typename T>
void factor_shapes(factor_fn<T> factor, const std::vector<shape>& shapes) {
  uint64_t seed = 11;
  for (const shape& s : shapes) {
    const std::vector<T> a = vrx_test_lu_matrix<T>(s.m, s.n, s.m + 3, ++seed);
    EXPECT_EQ(factor_and_check(factor, a, s.m, s.n).info, 0) << "m " << s.m << " n " << s.n;
  }
}

// Around the recursion's block sizes (8, 32, 64 and the powers of two for double) and
// the small-problem rule of the tuning query.
TYPED_TEST(GetrfTest, SequentialRecursionFactorsSquareTallAndWide) {
  factor_shapes<TypeParam>(seq<TypeParam>, {{1, 1},   {3, 7},    {7, 3},    {20, 20},  {33, 33}, {64, 64},
                                            {65, 65}, {129, 129}, {257, 257}, {300, 40}, {200, 100},
                                            {40, 300}, {70, 150}});
}

// Around the kernel's blocks of eight columns.
TYPED_TEST(GetrfTest, UnblockedKernelFactorsSquareTallAndWide) {
  factor_shapes<TypeParam>(unblocked<TypeParam>, {{1, 1},  {5, 3},    {3, 5},   {8, 8},    {9, 9},   {16, 17},
                                                  {17, 16}, {100, 20}, {20, 100}, {64, 64}, {200, 70}});
}

// Panels of 16 on four threads: many regions, thread 0 factoring inside while the
// columns allow it, the main thread after the join on the narrow last ones; a short last
// panel; the wide matrix's final solve.
TYPED_TEST(GetrfTest, LookaheadPathFactorsSquareTallAndWide) {
  vrx_test_forced_threads four(4);
  vrx_test_getrf_tuned tuned(16, 0);
  const shape shapes[] = {{200, 200}, {203, 203}, {300, 90}, {90, 300}};
  uint64_t seed = 5;
  for (const shape& s : shapes) {
    const std::vector<TypeParam> a = vrx_test_lu_matrix<TypeParam>(s.m, s.n, s.m + 3, ++seed);
    EXPECT_EQ(factor_and_check(lookahead<TypeParam>, a, s.m, s.n).info, 0);
    const vrx_getrf_trace trace = *vrx_lapack_getrf_trace();
    EXPECT_EQ(trace.path, VRX_GETRF_PATH_LOOKAHEAD);
    EXPECT_EQ(trace.lookahead_forks, (std::min(s.m, s.n) - 1) / 16) << "m " << s.m << " n " << s.n;
    EXPECT_GE(trace.lookahead_inside, 1);
    EXPECT_LE(trace.lookahead_inside, trace.lookahead_forks);
    EXPECT_EQ(trace.region_threads, 4);
  }
}

TYPED_TEST(GetrfTest, EmptyMatrixGivesInfoZeroAndTouchesNothing) {
  vrx_test_forced_threads four(4);
  const factor_fn<TypeParam> paths[] = {seq<TypeParam>, unblocked<TypeParam>, lookahead<TypeParam>,
                                        entry<TypeParam>};
  for (factor_fn<TypeParam> factor : paths)
    for (const shape s : {shape{0, 5}, shape{5, 0}, shape{0, 0}}) {
      const std::vector<TypeParam> a = vrx_test_lu_matrix<TypeParam>(5, 5, 5, 1);
      std::vector<TypeParam> copy = a;
      int64_t ipiv[2] = {-5, -5}, info = -99;
      factor(s.m, s.n, copy.data(), 5, ipiv, &info);
      EXPECT_EQ(info, 0);
      EXPECT_TRUE(copy == a);
      EXPECT_EQ(ipiv[0], -5);
    }
}

// Columns 37 and 90 are zero, so U(38, 38) and U(91, 91) are exactly zero whatever the
// rounding: info is 38 on every path, the factorisation goes on to the end, and every
// path finds the pivots of one thread.
TYPED_TEST(GetrfTest, SingularMatrixGivesTheSameInfoAndPivotsOnEveryPath) {
  const int64_t m = 150, n = 140, lda = m + 3;
  std::vector<TypeParam> a = vrx_test_lu_matrix<TypeParam>(m, n, lda, 77);
  for (int64_t col : {90, 37})
    for (int64_t i = 0; i < m; ++i) a[col * lda + i] = vrx_traits<TypeParam>::make(0, 0);
  const outcome one = factor_and_check(seq<TypeParam>, a, m, n);
  EXPECT_EQ(one.info, 38);
  vrx_test_forced_threads three(3);
  vrx_test_getrf_tuned tuned(16, 0);
  for (factor_fn<TypeParam> factor : {unblocked<TypeParam>, lookahead<TypeParam>, entry<TypeParam>}) {
    const outcome other = factor_and_check(factor, a, m, n);
    EXPECT_EQ(other.info, one.info);
    EXPECT_TRUE(other.ipiv == one.ipiv);
  }
}

// The pivot is the first entry of largest |re| + |im|: -0.5 and 0.5 in rows 3 and 4
// pick row 3; for the complex types (0.25, 0.25) in row 2 comes first, though its
// modulus is smaller.
TYPED_TEST(GetrfTest, FirstLargestMagnitudeIsThePivot) {
  typedef vrx_traits<TypeParam> tr;
  std::vector<TypeParam> a = {tr::make(0.25f, 0), tr::make(0.125f, 0), tr::make(-0.5f, 0), tr::make(0.5f, 0)};
  if (tr::is_complex) a[1] = tr::make(0.25f, 0.25f);
  int64_t ipiv[1], info = -99;
  unblocked<TypeParam>(4, 1, a.data(), 4, ipiv, &info);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(ipiv[0], tr::is_complex ? 2 : 3);
}

// A zero first column: the first pivot is zero, info 1, the rest is factored.
TYPED_TEST(GetrfTest, ZeroFirstColumnIsCarriedToTheEnd) {
  std::vector<TypeParam> a = vrx_test_lu_matrix<TypeParam>(30, 30, 33, 8);
  vrx_test_lu_zero_column(a, 30, 33, 0);
  for (factor_fn<TypeParam> factor : {seq<TypeParam>, unblocked<TypeParam>}) {
    const outcome out = factor_and_check(factor, a, 30, 30);
    EXPECT_EQ(out.info, 1);
    EXPECT_EQ(out.ipiv[0], 1);
  }
}

// A pivot of 2^-4 times the safe minimum: its reciprocal overflows, so the kernel must
// divide. The multipliers 1/2 and -1/4 come out exact; a dominant diagonal keeps the
// later pivots (and so these multipliers) in place.
TYPED_TEST(GetrfTest, PivotBelowTheSafeMinimumIsDividedBy) {
  typedef vrx_real_t<TypeParam> R;
  typedef vrx_traits<TypeParam> tr;
  const int64_t m = 12, n = 6, lda = 15;
  std::vector<TypeParam> a = vrx_test_lu_matrix<TypeParam>(m, n, lda, 4);
  const R pivot = vrx_machine<R>::sfmin / 16;
  for (int64_t i = 0; i < m; ++i) a[i] = tr::make(0, 0);
  a[0] = tr::make(pivot, 0);
  a[1] = tr::make(pivot / 2, 0);
  a[2] = tr::make(-pivot / 4, 0);
  for (int64_t j = 1; j < n; ++j) a[j * lda + j] = tr::make(8, 0);
  std::vector<TypeParam> lu = a;
  int64_t ipiv[n], info = -99;
  unblocked<TypeParam>(m, n, lu.data(), lda, ipiv, &info);
  EXPECT_EQ(info, 0);
  for (int64_t j = 0; j < n; ++j) EXPECT_EQ(ipiv[j], j + 1);
  EXPECT_TRUE(lu[1] == tr::make(R(0.5), 0));
  EXPECT_TRUE(lu[2] == tr::make(R(-0.25), 0));
  EXPECT_TRUE(lu[3] == tr::make(0, 0));
  EXPECT_LT(vrx_test_lu_residual(m, n, a, lda, lu, lda, ipiv), 30.0);
}

// ---- the class kernels of GETF2 against the portable one ----
template <typename T>
struct block_kernel {
  const char* name;
  vrx_getf2_block_fn<T> fn;
  bool runs;  // this processor has the instructions
};
bool has_avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }
bool has_avx512() {
  return has_avx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}
template <typename T>
std::vector<block_kernel<T>> class_kernels();
#define VRX_TEST_CLASS_KERNELS(T, x)                                                                 \
  template <>                                                                                       \
  std::vector<block_kernel<T>> class_kernels<T>() {                                                 \
    return {{"avx2", vrx_lapack_##x##getf2_block_avx2, has_avx2()},                                 \
            {"avx512", vrx_lapack_##x##getf2_block_avx512, has_avx512()}};                          \
  }
VRX_TEST_CLASS_KERNELS(float, s)
VRX_TEST_CLASS_KERNELS(double, d)
VRX_TEST_CLASS_KERNELS(vrx_complex_float, c)
VRX_TEST_CLASS_KERNELS(vrx_complex_double, z)
#undef VRX_TEST_CLASS_KERNELS

template <typename T>
class GetrfKernelTest : public testing::Test {};
TYPED_TEST_SUITE(GetrfKernelTest, element_types);

// Blocks of one to eight columns at the top and further down, row counts around the
// vector lengths, a zero column (info, and no scaling), ties of the first column and a
// pivot below the safe minimum (divided by, exact multipliers):
// the same pivots and info as the portable kernel, the values to rounding (the class
// kernels fuse multiply and add).
TYPED_TEST(GetrfKernelTest, ClassKernelsMatchThePortableOne) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  typedef vrx_traits<T> tr;
  struct block_case {
    int64_t m, j, jb, zero_column;  // zero_column: -1 for none
  };
  const block_case cases[] = {{1, 0, 1, -1},  {7, 0, 7, -1},   {13, 0, 8, 2},  {16, 0, 8, -1}, {17, 0, 8, -1},
                              {100, 0, 8, 5}, {100, 3, 5, -1}, {37, 30, 7, 31}, {203, 40, 8, -1}};
  const R eps = vrx_machine<R>::eps;
  for (const block_kernel<T>& kernel : class_kernels<T>()) {
    if (!kernel.runs) continue;
    uint64_t seed = 40;
    for (const block_case& c : cases) {
      const int64_t n = c.j + c.jb, lda = c.m + 1;
      std::vector<T> a = vrx_test_lu_matrix<T>(c.m, n, lda, ++seed);
      if (c.zero_column >= 0)
        for (int64_t i = 0; i < c.m; ++i) a[c.zero_column * lda + i] = tr::make(0, 0);
      std::vector<T> expected = a, got = a;
      std::vector<int64_t> ipiv_expected(n, -5), ipiv_got(n, -5);
      const int64_t info_expected =
          vrx_lapack_getf2_block_portable(c.m, expected.data(), lda, ipiv_expected.data(), c.j, c.jb, 0);
      const int64_t info_got = kernel.fn(c.m, got.data(), lda, ipiv_got.data(), c.j, c.jb, 0);
      SCOPED_TRACE(std::string(kernel.name) + " m " + std::to_string(c.m) + " j " + std::to_string(c.j));
      EXPECT_EQ(info_got, info_expected);
      EXPECT_EQ(info_got, c.zero_column >= c.j ? c.zero_column + 1 : 0);
      EXPECT_TRUE(ipiv_got == ipiv_expected);
      int bad = 0;
      for (std::size_t i = 0; i < got.size(); ++i)
        bad += !(tr::abs1(got[i] - expected[i]) <= 64 * eps * std::max(R(1), tr::abs1(expected[i])));
      EXPECT_EQ(bad, 0);
    }
    // A pivot below the safe minimum is divided by: exact multipliers.
    const R pivot = vrx_machine<R>::sfmin / 16;
    std::vector<T> tiny = {tr::make(pivot, 0), tr::make(pivot / 2, 0), tr::make(-pivot / 4, 0), tr::make(0, 0),
                           tr::make(0, 0)};
    int64_t ipiv[1];
    EXPECT_EQ(kernel.fn(5, tiny.data(), 5, ipiv, 0, 1, 0), 0);
    EXPECT_EQ(ipiv[0], 1);
    EXPECT_TRUE(tiny[1] == tr::make(R(0.5), 0));
    EXPECT_TRUE(tiny[2] == tr::make(R(-0.25), 0));
  }
}

// The host routine's steps, each reached on purpose: the crossover with no thread count,
// one thread, the crossover with threads, a block size at least min(m, n), and the queue
// (or the look-ahead path when the queue's state is not to be had).
TEST(GetrfHost, ChoosesThePathInItsOrder) {
  const int64_t m = 200, n = 180;
  struct step {
    int threads;
    int64_t rows, cols, nb, nx;
    int path;
  };
  const step steps[] = {
      {4, 64, 64, 0, 0, VRX_GETRF_PATH_SEQ},
      {1, m, n, 16, vrx_test_getrf_lookahead_nx, VRX_GETRF_PATH_SEQ},
      {4, m, n, 16, vrx_test_getrf_lookahead_nx, VRX_GETRF_PATH_LOOKAHEAD},
      {4, m, n, 180, 0, VRX_GETRF_PATH_GETF2},
      {4, m, n, 1, 0, VRX_GETRF_PATH_GETF2},
      {2, m, n, 16, 0, VRX_GETRF_PATH_QUEUE},
  };
  for (const step& s : steps) {
    vrx_test_forced_threads threads(s.threads);
    vrx_test_getrf_tuned tuned(s.nb, s.nx);
    const std::vector<double> part = vrx_test_lu_matrix<double>(s.rows, s.cols, s.rows + 3, 21);
    EXPECT_EQ(factor_and_check(entry<double>, part, s.rows, s.cols).info, 0);
    const vrx_getrf_trace trace = *vrx_lapack_getrf_trace();
    if (s.path == VRX_GETRF_PATH_QUEUE) {
      if (vrx_blas_gemm_pack_query() == 2) continue;  // a team road CPU: the team path's test
      // The queue, or the look-ahead path when its state could not be had.
      EXPECT_TRUE(trace.path == VRX_GETRF_PATH_QUEUE ||
                  (trace.path == VRX_GETRF_PATH_LOOKAHEAD && trace.fallback == 1));
    } else {
      EXPECT_EQ(trace.path, s.path) << "threads " << s.threads << " nb " << s.nb;
    }
    if (s.rows > 64) {
      EXPECT_EQ(trace.threads, s.threads);
    }
    if (s.path == VRX_GETRF_PATH_GETF2) {
      EXPECT_EQ(trace.nb, s.nb);
    }
  }
}
}  // namespace
