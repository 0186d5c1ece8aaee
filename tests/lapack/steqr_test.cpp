// The tridiagonal iterations: the root-free STERF (real types) and the implicit STEQR
// (real or complex Z) on random, clustered, repeated, graded (both ways), split, Toeplitz
// and over- and underflow-scaled matrices of orders 0 to 300. Eigenvalues against
// bisection with Sturm counts in long double (or the closed form of the (1,2,1)
// Toeplitz matrix) within 30 n ||T|| eps; for compz "I" and "V" (a random unitary Z
// first) ||T W - W L|| / (n ||T|| eps) and ||I - Z^H Z|| / (n eps) below 30, with W the
// eigenvectors of T itself. Orders above the rotation engine's crossovers run on one and
// three threads. A stopped iteration reports the published count and leaves a matrix
// similar to the input; bad arguments leave every output untouched.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "lapack/syev/vrx_syev.h"
#include "lapack/syev/vrx_tridiagonal.h"
#include "support/child_process.h"
#include "support/gemm_typed_reference.h"
#include "support/lapack_seams.h"

namespace {
typedef long double wide;

enum class shape { random, wilkinson, repeated, graded_down, graded_up, split, toeplitz, zero };
const shape every_shape[] = {shape::random,    shape::wilkinson, shape::repeated, shape::graded_down,
                             shape::graded_up, shape::split,     shape::toeplitz, shape::zero};

template <typename R>
struct tridiagonal {
  std::vector<R> d, e;  // e holds n - 1 elements (at least one, for n = 0 and 1)
};

// Matrices of each shape, scaled by `scale` (1, or near the ends of the range).
template <typename R>
tridiagonal<R> make(shape kind, int64_t n, uint64_t seed, R scale) {
  tridiagonal<R> t{std::vector<R>(n), std::vector<R>(n > 1 ? n - 1 : 1, R(0))};
  // Grading spans about a third of the precision's digits.
  const wide grade = std::pow(wide(10), wide(-(std::numeric_limits<R>::digits10 / 3.0)) / wide(n > 1 ? n - 1 : 1));
  for (int64_t i = 0; i < n; ++i) {
    const wide u = vrx_test_detail::next_unit(&seed), v = vrx_test_detail::next_unit(&seed);
    wide di = u, ei = v;
    switch (kind) {
      case shape::random: break;
      case shape::wilkinson:  // eigenvalues in close pairs at the top
        di = std::fabs(wide(i) - wide(n - 1) / 2), ei = 1;
        break;
      case shape::repeated:  // one 4 by 4 block, repeated
        di = wide((i % 4) + 1) / 3, ei = i % 4 == 3 ? 0 : wide((i % 4) + 2) / 5;
        break;
      case shape::graded_down:
        di = std::pow(grade, wide(i)) * (1 + u / 4), ei = std::pow(grade, wide(i) + wide(0.5)) * v;
        break;
      case shape::graded_up:
        di = std::pow(grade, wide(n - 1 - i)) * (1 + u / 4), ei = std::pow(grade, wide(n - 1 - i) - wide(0.5)) * v;
        break;
      case shape::split:  // exact zeros and one tiny off-diagonal, blocks of 1, 2 and more rows
        ei = i % 7 == 2 || i % 7 == 3 ? 0 : i % 7 == 5 ? v * wide(1e-30) : v;
        break;
      case shape::toeplitz: di = 2, ei = 1; break;
      case shape::zero: di = 0, ei = 0; break;
    }
    t.d[i] = static_cast<R>(di * scale);
    if (i + 1 < n) t.e[i] = static_cast<R>(ei * scale);
  }
  return t;
}

template <typename R>
wide norm1(const tridiagonal<R>& t) {
  const int64_t n = static_cast<int64_t>(t.d.size());
  wide worst = 0;
  for (int64_t j = 0; j < n; ++j) {
    wide column = std::fabs(wide(t.d[j]));
    if (j > 0) column += std::fabs(wide(t.e[j - 1]));
    if (j + 1 < n) column += std::fabs(wide(t.e[j]));
    worst = std::max(worst, column);
  }
  return worst;
}

// Eigenvalues ascending, in long double: by bisection on Sturm counts, or in closed form.
template <typename R>
std::vector<wide> reference_eigenvalues(shape kind, const tridiagonal<R>& t) {
  const int64_t n = static_cast<int64_t>(t.d.size());
  std::vector<wide> out(n);
  if (n == 0) return out;
  if (kind == shape::toeplitz) {
    const wide s = n < 2 ? 0 : wide(t.e[0]), pi = std::acos(wide(-1));
    for (int64_t k = 1; k <= n; ++k) out[k - 1] = wide(t.d[0]) - 2 * s * std::cos(wide(k) * pi / wide(n + 1));
    return out;
  }
  const wide norm = norm1(t), pivmin = LDBL_MIN * std::max(wide(1), norm * norm);
  std::vector<wide> e2(n, 0);
  for (int64_t i = 1; i < n; ++i) e2[i] = wide(t.e[i - 1]) * wide(t.e[i - 1]);
  const auto below = [&](wide x) {
    int64_t count = 0;
    wide q = 1;
    for (int64_t i = 0; i < n; ++i) {
      q = wide(t.d[i]) - x - e2[i] / q;
      if (std::fabs(q) < pivmin) q = -pivmin;
      count += q < 0;
    }
    return count;
  };
  const wide width = norm * LDBL_EPSILON;
  for (int64_t k = 0; k < n; ++k) {
    wide lo = -norm - width, hi = norm + width;
    for (int step = 0; step < 200 && hi - lo > width + LDBL_EPSILON * std::max(std::fabs(lo), std::fabs(hi)); ++step) {
      const wide mid = (lo + hi) / 2;
      (below(mid) > k ? hi : lo) = mid;
    }
    out[k] = (lo + hi) / 2;
  }
  return out;
}

template <typename R>
double eps_of() {
  return static_cast<double>(vrx_machine<R>::eps);
}

// max_k |w_k - ref_k| / (n ||T|| eps).
template <typename R>
double eigenvalue_ratio(shape kind, const tridiagonal<R>& t, const std::vector<R>& w) {
  const std::vector<wide> ref = reference_eigenvalues(kind, t);
  const int64_t n = static_cast<int64_t>(t.d.size());
  wide worst = 0;
  for (int64_t k = 0; k < n; ++k) {
    const wide diff = std::fabs(wide(w[k]) - ref[k]);
    if (!(diff == diff)) return 1e30;
    worst = std::max(worst, diff);
  }
  const wide scale = wide(n) * norm1(t) * wide(eps_of<R>());
  return scale == 0 ? static_cast<double>(worst == 0 ? 0 : 1e30) : static_cast<double>(worst / scale);
}

// Sums of products run in a wider precision: double for single, long double for double,
// complex only for complex data.
template <typename T>
using wide_t = typename vrx_test_detail::wide<T>::type;
template <typename T>
using sum_t = std::conditional_t<vrx_is_complex<T>, std::complex<wide_t<T>>, wide_t<T>>;
template <typename T>
sum_t<T> widen(T x) {
  if constexpr (vrx_is_complex<T>) return {x.re, x.im};
  else return x;
}
template <typename W>
W conj_of(W x) {
  return x;
}
template <typename W>
std::complex<W> conj_of(std::complex<W> x) {
  return std::conj(x);
}
template <typename W>
wide magnitude1(W x) {
  return std::fabs(wide(x));
}
template <typename W>
wide magnitude1(std::complex<W> x) {
  return std::fabs(wide(x.real())) + std::fabs(wide(x.imag()));
}

// ||T W - W diag(w)||_1 / (n ||T||_1 eps) for the n by n W (ldw).
template <typename R, typename T>
double eigenvector_ratio(const tridiagonal<R>& t, const std::vector<R>& w, const T* v, int64_t ldv) {
  const int64_t n = static_cast<int64_t>(t.d.size());
  wide worst = 0;
  for (int64_t j = 0; j < n; ++j) {
    wide column = 0;
    for (int64_t i = 0; i < n; ++i) {
      typedef wide_t<T> W;
      sum_t<T> r = (W(t.d[i]) - W(w[j])) * widen(v[j * ldv + i]);
      if (i > 0) r += W(t.e[i - 1]) * widen(v[j * ldv + i - 1]);
      if (i + 1 < n) r += W(t.e[i]) * widen(v[j * ldv + i + 1]);
      column += magnitude1(r);
    }
    if (!(column == column)) return 1e30;
    worst = std::max(worst, column);
  }
  const wide scale = wide(n) * norm1(t) * wide(eps_of<R>());
  return scale == 0 ? static_cast<double>(worst == 0 ? 0 : 1e30) : static_cast<double>(worst / scale);
}

// ||I - Z^H Z||_1 / (n eps).
template <typename T>
double orthogonality_ratio(int64_t n, const T* z, int64_t ldz) {
  wide worst = 0;
  for (int64_t j = 0; j < n; ++j) {
    wide column = 0;
    for (int64_t i = 0; i < n; ++i) {
      sum_t<T> sum = wide_t<T>(i == j ? 1 : 0);
      for (int64_t l = 0; l < n; ++l) sum -= conj_of(widen(z[i * ldz + l])) * widen(z[j * ldz + l]);
      column += magnitude1(sum);
    }
    if (!(column == column)) return 1e30;
    worst = std::max(worst, column);
  }
  return static_cast<double>(worst / (wide(std::max<int64_t>(n, 1)) * wide(eps_of<vrx_real_t<T>>())));
}

// A random unitary matrix: three Householder reflections applied to the identity.
template <typename T>
std::vector<T> random_unitary(int64_t n, int64_t ldq, uint64_t seed) {
  typedef vrx_real_t<T> R;
  std::vector<std::complex<wide>> q(n * n, 0);
  for (int64_t i = 0; i < n; ++i) q[i * n + i] = 1;
  std::vector<std::complex<wide>> v(n);
  for (int reflection = 0; reflection < 3; ++reflection) {
    wide size = 0;
    for (auto& x : v) {
      const wide re = vrx_test_detail::next_unit(&seed), im = vrx_is_complex<T> ? vrx_test_detail::next_unit(&seed) : 0;
      x = {re, im};
      size += std::norm(x);
    }
    if (size == 0) continue;
    for (int64_t j = 0; j < n; ++j) {  // Q := (I - 2 v v^H / v^H v) Q
      std::complex<wide> dot = 0;
      for (int64_t i = 0; i < n; ++i) dot += std::conj(v[i]) * q[j * n + i];
      for (int64_t i = 0; i < n; ++i) q[j * n + i] -= (2 / size) * dot * v[i];
    }
  }
  std::vector<T> out(ldq * n);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < n; ++i)
      out[j * ldq + i] = vrx_traits<T>::make(static_cast<R>(q[j * n + i].real()), static_cast<R>(q[j * n + i].imag()));
  return out;
}

// W = Q^H Z: the eigenvectors of T when Z came from compz "V" on Q.
template <typename T>
std::vector<T> adjoint_times(int64_t n, const std::vector<T>& q, const std::vector<T>& z, int64_t ld) {
  typedef vrx_real_t<T> R;
  std::vector<T> w(ld * n);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < n; ++i) {
      sum_t<T> sum = wide_t<T>(0);
      for (int64_t l = 0; l < n; ++l) sum += conj_of(widen(q[i * ld + l])) * widen(z[j * ld + l]);
      w[j * ld + i] = vrx_traits<T>::make(static_cast<R>(std::real(sum)), static_cast<R>(std::imag(sum)));
    }
  return w;
}

template <typename R>
std::vector<R> scales() {
  // Above the iteration's ssfmax and below its ssfmin, for each precision.
  if (sizeof(R) == 4) return {R(1), R(1e25f), R(1e-8f)};
  return {R(1), R(1e200), R(1e-140)};
}

// The stopping seam, put back when the scope ends.
struct sweeps_per_order {
  explicit sweeps_per_order(vrx_int value) { vrx_lapack_tridiagonal_sweeps_per_order = value; }
  ~sweeps_per_order() { vrx_lapack_tridiagonal_sweeps_per_order = 30; }
};

const int64_t small_orders[] = {0, 1, 2, 3, 4, 7, 25};
bool large_order_shape(shape kind) { return kind == shape::random || kind == shape::graded_up || kind == shape::split; }

// ---- STERF, real types ----
template <typename R>
class SterfTest : public testing::Test {};
typedef testing::Types<float, double> real_types;
TYPED_TEST_SUITE(SterfTest, real_types);

TYPED_TEST(SterfTest, EigenvaluesOfEveryShapeAndScaleMatchTheReference) {
  typedef TypeParam R;
  uint64_t seed = 11;
  for (const int64_t n : {0, 1, 2, 3, 4, 7, 25, 300})
    for (const shape kind : every_shape)
      for (const R scale : scales<R>()) {
        if (n == 300 && (scale != R(1) || !large_order_shape(kind))) continue;
        tridiagonal<R> t = make<R>(kind, n, ++seed, scale);
        std::vector<R> d = t.d, e = t.e;
        vrx_int info = -99;
        vrx_lapack_sterf<R>(n, d.data(), e.data(), &info);
        ASSERT_EQ(info, 0) << "n " << n << " shape " << int(kind);
        EXPECT_LT(eigenvalue_ratio(kind, t, d), 30.0) << "n " << n << " shape " << int(kind) << " scale " << scale;
        for (int64_t k = 1; k < n; ++k) ASSERT_LE(d[k - 1], d[k]) << "n " << n << " shape " << int(kind);
      }
}

TYPED_TEST(SterfTest, StoppedIterationCountsTheOffDiagonalsLeft) {
  typedef TypeParam R;
  const int64_t n = 40;
  for (const vrx_int limit : {0, 1}) {
    sweeps_per_order seam(limit);
    tridiagonal<R> t = make<R>(shape::random, n, 5, R(1));
    vrx_int info = -99;
    vrx_lapack_sterf<R>(n, t.d.data(), t.e.data(), &info);
    EXPECT_GT(info, 0) << "limit " << limit;
    EXPECT_EQ(info, vrx_tridiagonal_unconverged<R>(n, t.e.data())) << "limit " << limit;
  }
  // NaN never converges: the iteration stops at its limit instead of running on.
  tridiagonal<R> t = make<R>(shape::random, 12, 6, R(1));
  t.e[4] = std::numeric_limits<R>::quiet_NaN();
  vrx_int info = -99;
  vrx_lapack_sterf<R>(12, t.d.data(), t.e.data(), &info);
  EXPECT_GT(info, 0);
}

TYPED_TEST(SterfTest, NegativeOrderIsRejected) {
  typedef TypeParam R;
  R d[2] = {1, 2}, e[1] = {3};
  vrx_int info = 0;
  vrx_lapack_sterf<R>(-1, d, e, &info);
  EXPECT_EQ(info, -1);
  EXPECT_EQ(d[0], R(1));
  EXPECT_EQ(e[0], R(3));
}

// ---- STEQR, all four types ----
template <typename T>
class SteqrTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(SteqrTest, element_types);

// compz "I" on the matrix; the eigenvalues, the residual, the orthogonality and, on
// the real part of Z's padding rows, that nothing was written there.
template <typename T>
void check_identity_start(shape kind, int64_t n, vrx_real_t<T> scale, uint64_t seed) {
  typedef vrx_real_t<T> R;
  const tridiagonal<R> t = make<R>(kind, n, seed, scale);
  const int64_t ldz = n + 2;
  std::vector<R> d = t.d, e = t.e, work(std::max<int64_t>(1, 2 * n - 2));
  const T pad = vrx_traits<T>::make(R(7), R(-7));
  std::vector<T> z(std::max<int64_t>(ldz * n, 1), pad);
  vrx_int info = -99;
  vrx_lapack_steqr<T>("I", n, d.data(), e.data(), z.data(), ldz, work.data(), &info);
  ASSERT_EQ(info, 0) << "n " << n << " shape " << int(kind);
  EXPECT_LT(eigenvalue_ratio(kind, t, d), 30.0) << "n " << n << " shape " << int(kind) << " scale " << scale;
  EXPECT_LT(eigenvector_ratio(t, d, z.data(), ldz), 30.0) << "n " << n << " shape " << int(kind) << " scale " << scale;
  EXPECT_LT(orthogonality_ratio(n, z.data(), ldz), 30.0) << "n " << n << " shape " << int(kind);
  for (int64_t k = 1; k < n; ++k) ASSERT_LE(d[k - 1], d[k]);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = n; i < ldz; ++i) ASSERT_TRUE(z[j * ldz + i] == pad) << "padding row " << i << " column " << j;
}

TYPED_TEST(SteqrTest, IdentityStartOnEveryShapeAndScale) {
  uint64_t seed = 21;
  for (const int64_t n : small_orders)
    for (const shape kind : every_shape)
      for (const vrx_real_t<TypeParam> scale : scales<vrx_real_t<TypeParam>>())
        check_identity_start<TypeParam>(kind, n, scale, ++seed);
}

TYPED_TEST(SteqrTest, LargeOrdersOnOneAndThreeThreads) {
  {
    vrx_test_forced_threads forced(1);
    check_identity_start<TypeParam>(shape::split, 220, 1, 31);
  }
  vrx_test_forced_threads forced(3);
  check_identity_start<TypeParam>(shape::random, 240, 1, 32);
}

TYPED_TEST(SteqrTest, EigenvaluesOnlyTouchNeitherZNorWork) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  uint64_t seed = 61;
  for (const int64_t n : {2, 3, 25, 300})
    for (const shape kind : every_shape) {
      if (n == 300 && kind != shape::random) continue;
      const tridiagonal<R> t = make<R>(kind, n, ++seed, R(1));
      std::vector<R> d = t.d, e = t.e;
      T z = vrx_traits<T>::make(R(5), R(5));
      R work = R(9);
      vrx_int info = -99;
      vrx_lapack_steqr<T>("N", n, d.data(), e.data(), &z, 1, &work, &info);
      ASSERT_EQ(info, 0);
      EXPECT_LT(eigenvalue_ratio(kind, t, d), 30.0) << "n " << n << " shape " << int(kind);
      EXPECT_TRUE(z == vrx_traits<T>::make(R(5), R(5)));  // neither Z nor work is touched
      EXPECT_EQ(work, R(9));
    }
}

// Stopped early, the published routine leaves Z^H T Z' = T for the tridiagonal T' of
// d and e as they are, and counts the off-diagonals of T' not yet zero.
TYPED_TEST(SteqrTest, StoppedIterationLeavesASimilarMatrixAndCountsItsOffDiagonals) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const int64_t n = 30;
  for (const vrx_int limit : {0, 1}) {
    sweeps_per_order seam(limit);
    const tridiagonal<R> t = make<R>(shape::random, n, 71, R(1));
    std::vector<R> d = t.d, e = t.e, work(2 * n - 2);
    std::vector<T> z(n * n);
    vrx_int info = -99;
    vrx_lapack_steqr<T>("I", n, d.data(), e.data(), z.data(), n, work.data(), &info);
    EXPECT_GT(info, 0);
    EXPECT_EQ(info, vrx_tridiagonal_unconverged<R>(n, e.data()));
    EXPECT_LT(orthogonality_ratio(n, z.data(), n), 30.0);
    // T Z = Z T' column by column.
    wide worst = 0;
    for (int64_t j = 0; j < n; ++j) {
      wide column = 0;
      for (int64_t i = 0; i < n; ++i) {
        typedef wide_t<T> W;
        sum_t<T> r = W(t.d[i]) * widen(z[j * n + i]) - W(d[j]) * widen(z[j * n + i]);
        if (i > 0) r += W(t.e[i - 1]) * widen(z[j * n + i - 1]);
        if (i + 1 < n) r += W(t.e[i]) * widen(z[j * n + i + 1]);
        if (j > 0) r -= W(e[j - 1]) * widen(z[(j - 1) * n + i]);
        if (j + 1 < n) r -= W(e[j]) * widen(z[(j + 1) * n + i]);
        column += magnitude1(r);
      }
      worst = std::max(worst, column);
    }
    EXPECT_LT(static_cast<double>(worst / (wide(n) * norm1(t) * wide(eps_of<R>()))), 30.0) << "limit " << limit;
  }
}

TYPED_TEST(SteqrTest, BadArgumentsLeaveEverythingUntouched) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  struct bad_case {
    const char* compz;
    vrx_int n, ldz, info;
  };
  const bad_case cases[] = {{"X", 3, 3, -1}, {"I", -1, 3, -2}, {"V", 3, 2, -6}, {"N", 3, 0, -6}};
  for (const bad_case& c : cases) {
    R d[3] = {1, 2, 3}, e[2] = {4, 5}, work[4] = {6, 6, 6, 6};
    std::vector<T> z(9, vrx_traits<T>::make(R(8), R(8)));
    vrx_int info = 0;
    vrx_lapack_steqr<T>(c.compz, c.n, d, e, z.data(), c.ldz, work, &info);
    EXPECT_EQ(info, c.info) << c.compz << " n " << c.n << " ldz " << c.ldz;
    EXPECT_TRUE(d[0] == 1 && d[2] == 3 && e[0] == 4 && e[1] == 5 && work[0] == 6);
    for (const T& x : z) EXPECT_TRUE(x == vrx_traits<T>::make(R(8), R(8)));
  }
}
// Gathered in batches, the rotations give Z bit for bit as one application per sweep
// does (the form taken when the batch table cannot be allocated).
TEST(SteqrBatchTest, BatchedRotationsEqualOneApplicationPerSweep) {
  const vrx_child_result r =
      vrx_test_run(vrx_test_driver("steqr_driver"), {"single", "SDCZ"}, {{"VRX_DISABLE_FAST_MM", "1"}});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, "S same\nD same\nC same\nZ same\nok\n");
}
}  // namespace
