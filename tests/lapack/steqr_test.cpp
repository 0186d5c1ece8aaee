// The tridiagonal iterations: the root-free STERF (real types) and the implicit STEQR
// (real or complex Z) on random, clustered, repeated, graded (both ways), split, Toeplitz
// and zero matrices, unscaled and scaled past both scaling thresholds. Eigenvalues
// against bisection on Sturm counts in long double (the (1,2,1) Toeplitz matrix against
// its closed form) within 30 n ||T|| eps; for compz "I" and "V" ||T W - W L|| / (n ||T||
// eps) and ||I - Z^H Z|| / (n eps) below 30, W the eigenvectors of T itself; an order
// above the rotation engine's crossovers on three threads. A stopped iteration reports
// the published count and leaves a matrix similar to the input; bad arguments touch no
// output; batched rotations equal one application per sweep bit for bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "lapack/syev/vrx_syev.h"
#include "lapack/syev/vrx_tridiagonal.h"
#include "support/child_process.h"
#include "support/householder_check.h"
#include "support/lapack_seams.h"

namespace {
typedef long double wide;
enum class shape { random, wilkinson, repeated, graded_down, graded_up, split, toeplitz, zero };
const shape every_shape[] = {shape::random,    shape::wilkinson, shape::repeated, shape::graded_down,
                             shape::graded_up, shape::split,     shape::toeplitz, shape::zero};

template <typename R>
struct tridiagonal {
  std::vector<R> d, e;  // e of n - 1 elements, at least one
};

template <typename R>
tridiagonal<R> make(shape kind, int64_t n, uint64_t seed, R scale = 1) {
  tridiagonal<R> t{std::vector<R>(n), std::vector<R>(n > 1 ? n - 1 : 1, R(0))};
  const wide grade = std::pow(wide(10), -wide(std::numeric_limits<R>::digits10) / 3 / wide(n > 1 ? n - 1 : 1));
  for (int64_t i = 0; i < n; ++i) {
    const wide u = vrx_test_detail::next_unit(&seed), v = vrx_test_detail::next_unit(&seed);
    const wide up = std::pow(grade, wide(i)), down = std::pow(grade, wide(n - 1 - i));
    const wide de[][2] = {{u, v},
                          {std::fabs(wide(i) - wide(n - 1) / 2), 1},            // eigenvalues in close pairs
                          {wide(i % 4 + 1) / 3, i % 4 == 3 ? 0 : wide(i % 4 + 2) / 5},  // one block, repeated
                          {up * (1 + u / 4), up * std::sqrt(grade) * v},
                          {down * (1 + u / 4), down / std::sqrt(grade) * v},
                          {u, i % 7 == 2 || i % 7 == 3 ? 0 : i % 7 == 5 ? v * wide(1e-30) : v},
                          {2, 1},
                          {0, 0}};
    t.d[i] = static_cast<R>(de[int(kind)][0] * scale);
    if (i + 1 < n) t.e[i] = static_cast<R>(de[int(kind)][1] * scale);
  }
  return t;
}

template <typename R>
wide norm1(const tridiagonal<R>& t) {
  const int64_t n = static_cast<int64_t>(t.d.size());
  wide worst = 0;
  for (int64_t j = 0; j < n; ++j)
    worst = std::max(worst, std::fabs(wide(t.d[j])) + (j > 0 ? std::fabs(wide(t.e[j - 1])) : 0) +
                                (j + 1 < n ? std::fabs(wide(t.e[j])) : 0));
  return worst;
}

template <typename R>
double ratio(wide value, wide scale) {
  if (!(value == value)) return 1e30;
  return scale == 0 ? (value == 0 ? 0 : 1e30) : static_cast<double>(value / scale);
}

// max_k |w_k - ref_k| / (n ||T|| eps), ref by bisection or in closed form.
template <typename R>
double eigenvalue_ratio(shape kind, const tridiagonal<R>& t, const std::vector<R>& w) {
  const int64_t n = static_cast<int64_t>(t.d.size());
  const wide norm = norm1(t), pivmin = LDBL_MIN * std::max(wide(1), norm * norm), pi = std::acos(wide(-1));
  std::vector<wide> e2(n, 0);
  for (int64_t i = 1; i < n; ++i) e2[i] = wide(t.e[i - 1]) * t.e[i - 1];
  const auto below = [&](wide x) {  // eigenvalues below x
    int64_t count = 0;
    wide q = 1;
    for (int64_t i = 0; i < n; ++i) {
      q = wide(t.d[i]) - x - e2[i] / q;
      if (std::fabs(q) < pivmin) q = -pivmin;
      count += q < 0;
    }
    return count;
  };
  wide worst = 0;
  for (int64_t k = 0; k < n; ++k) {
    wide lo = -norm * (1 + LDBL_EPSILON), hi = norm * (1 + LDBL_EPSILON);
    if (kind == shape::toeplitz) lo = hi = t.d[0] - 2 * wide(n > 1 ? t.e[0] : 0) * std::cos((k + 1) * pi / (n + 1));
    while (hi - lo > norm * LDBL_EPSILON + LDBL_EPSILON * std::max(std::fabs(lo), std::fabs(hi)))
      (below((lo + hi) / 2) > k ? hi : lo) = (lo + hi) / 2;
    worst = std::max(worst, std::fabs(wide(w[k]) - (lo + hi) / 2));
  }
  return ratio<R>(worst, n * norm * vrx_machine<R>::eps);
}

// ||T W - W diag(w)||_1 / (n ||T||_1 eps); with e2 also the right-hand tridiagonal of
// (w, e2) in place of diag(w): T W = W T2.
template <typename R, typename T>
double residual_ratio(const tridiagonal<R>& t, const std::vector<R>& w, const T* v, int64_t ldv,
                      const std::vector<R>* e2 = nullptr) {
  const int64_t n = static_cast<int64_t>(t.d.size());
  typedef vrx_test_wide_t<T> W;
  const auto at = [&](int64_t i, int64_t j) { return vrx_test_widen(v[j * ldv + i]); };
  wide worst = 0;
  for (int64_t j = 0; j < n; ++j) {
    double column = 0;
    for (int64_t i = 0; i < n; ++i) {
      vrx_test_wide_complex<T> r = (W(t.d[i]) - W(w[j])) * at(i, j);
      if (i > 0) r += W(t.e[i - 1]) * at(i - 1, j);
      if (i + 1 < n) r += W(t.e[i]) * at(i + 1, j);
      if (e2 && j > 0) r -= W((*e2)[j - 1]) * at(i, j - 1);
      if (e2 && j + 1 < n) r -= W((*e2)[j]) * at(i, j + 1);
      column += vrx_test_detail::magnitude1(r);
    }
    worst = std::max(worst, wide(column));
  }
  return ratio<R>(worst, n * norm1(t) * vrx_machine<R>::eps);
}

template <typename R>
std::vector<R> scales() {  // one, above ssfmax and below ssfmin
  if (sizeof(R) == 4) return {R(1), R(1e25f), R(1e-8f)};
  return {R(1), R(1e200), R(1e-140)};
}

struct sweeps_per_order {  // the stopping seam, for one scope
  explicit sweeps_per_order(vrx_int value) { vrx_lapack_tridiagonal_sweeps_per_order = value; }
  ~sweeps_per_order() { vrx_lapack_tridiagonal_sweeps_per_order = 30; }
};

// ---- STERF ----
template <typename R>
class SterfTest : public testing::Test {};
typedef testing::Types<float, double> real_types;
TYPED_TEST_SUITE(SterfTest, real_types);

TYPED_TEST(SterfTest, EigenvaluesOfEveryShapeAndScale) {
  typedef TypeParam R;
  uint64_t seed = 11;
  for (const int64_t n : {0, 1, 2, 3, 4, 7, 25, 300})
    for (const shape kind : every_shape)
      for (const R scale : scales<R>()) {
        if (n == 300 && (scale != 1 || (kind != shape::random && kind != shape::split))) continue;
        tridiagonal<R> t = make<R>(kind, n, ++seed, scale), out = t;
        vrx_int info = -99;
        vrx_lapack_sterf<R>(n, out.d.data(), out.e.data(), &info);
        ASSERT_EQ(info, 0) << "n " << n << " shape " << int(kind);
        EXPECT_LT(eigenvalue_ratio(kind, t, out.d), 30.0) << "n " << n << " shape " << int(kind) << " scale " << scale;
        EXPECT_TRUE(std::is_sorted(out.d.begin(), out.d.end()));
      }
}

TYPED_TEST(SterfTest, StoppedIterationCountsTheOffDiagonalsLeft) {
  typedef TypeParam R;
  for (const vrx_int limit : {0, 1}) {
    sweeps_per_order seam(limit);
    tridiagonal<R> t = make<R>(shape::random, 40, 5);
    vrx_int info = -99;
    vrx_lapack_sterf<R>(40, t.d.data(), t.e.data(), &info);
    EXPECT_GT(info, 0);
    EXPECT_EQ(info, vrx_tridiagonal_unconverged<R>(40, t.e.data())) << "limit " << limit;
  }
  tridiagonal<R> t = make<R>(shape::random, 12, 6);  // NaN never converges: no endless loop
  t.e[4] = std::numeric_limits<R>::quiet_NaN();
  vrx_int info = -99;
  vrx_lapack_sterf<R>(12, t.d.data(), t.e.data(), &info);
  EXPECT_GT(info, 0);
  vrx_lapack_sterf<R>(-1, t.d.data(), t.e.data(), &info);
  EXPECT_EQ(info, -1);
}

// ---- STEQR ----
template <typename T>
class SteqrTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(SteqrTest, element_types);

// compz "I"; Z's padding rows must keep their value.
template <typename T>
void check_identity_start(shape kind, int64_t n, vrx_real_t<T> scale, uint64_t seed) {
  typedef vrx_real_t<T> R;
  const tridiagonal<R> t = make<R>(kind, n, seed, scale);
  tridiagonal<R> out = t;
  const int64_t ldz = n + 2;
  const T pad = vrx_traits<T>::make(7, -7);
  std::vector<T> z(ldz * n + 1, pad);
  std::vector<R> work(2 * n + 1);
  vrx_int info = -99;
  vrx_lapack_steqr<T>("I", n, out.d.data(), out.e.data(), z.data(), ldz, work.data(), &info);
  const std::string where = "n " + std::to_string(n) + " shape " + std::to_string(int(kind));
  ASSERT_EQ(info, 0) << where;
  EXPECT_LT(eigenvalue_ratio(kind, t, out.d), 30.0) << where << " scale " << scale;
  EXPECT_LT(residual_ratio(t, out.d, z.data(), ldz), 30.0) << where << " scale " << scale;
  EXPECT_LT(vrx_test_orthogonality(false, n, n, z.data(), ldz, n), 30.0) << where;
  EXPECT_TRUE(std::is_sorted(out.d.begin(), out.d.end())) << where;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = n; i < ldz; ++i) ASSERT_TRUE(z[j * ldz + i] == pad) << where << " padding row " << i;
}

TYPED_TEST(SteqrTest, IdentityStartOnEveryShapeAndScale) {
  uint64_t seed = 21;
  for (const int64_t n : {0, 1, 2, 3, 4, 7, 25})
    for (const shape kind : every_shape)
      for (const vrx_real_t<TypeParam> scale : scales<vrx_real_t<TypeParam>>())
        check_identity_start<TypeParam>(kind, n, scale, ++seed);
  vrx_test_forced_threads forced(3);  // threaded rotations
  check_identity_start<TypeParam>(shape::random, 220, 1, 32);
}

// compz "V" on Q = P D (a permutation with phases): then W = Q^H Z must hold T's
// eigenvectors, and Z stay unitary.
TYPED_TEST(SteqrTest, UnitaryStartGivesItsProductWithTheEigenvectors) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  uint64_t seed = 51;
  for (const int64_t n : {1, 2, 5, 40, 120}) {
    const tridiagonal<R> t = make<R>(n == 40 ? shape::wilkinson : shape::random, n, ++seed);
    tridiagonal<R> out = t;
    std::vector<T> z(n * n), w(n * n), phase(n);
    for (int64_t j = 0; j < n; ++j) {
      const double angle = vrx_is_complex<T> ? 0.7 * j : 0, sign = j % 3 == 1 ? -1 : 1;
      phase[j] = vrx_traits<T>::make(R(sign * std::cos(angle)), R(sign * std::sin(angle)));
      z[j * n + (j * 7 + 3) % n] = phase[j];  // Q(perm(j), j) = phase(j); 7 is prime to every n here
    }
    std::vector<R> work(2 * n);
    vrx_int info = -99;
    vrx_lapack_steqr<T>("V", n, out.d.data(), out.e.data(), z.data(), n, work.data(), &info);
    ASSERT_EQ(info, 0);
    for (int64_t j = 0; j < n; ++j)
      for (int64_t i = 0; i < n; ++i) w[j * n + i] = vrx_traits<T>::conj(phase[i]) * z[j * n + (i * 7 + 3) % n];
    EXPECT_LT(eigenvalue_ratio(shape::random, t, out.d), 30.0) << "n " << n;
    EXPECT_LT(residual_ratio(t, out.d, w.data(), n), 30.0) << "n " << n;
    EXPECT_LT(vrx_test_orthogonality(false, n, n, z.data(), n, n), 30.0) << "n " << n;
  }
}

TYPED_TEST(SteqrTest, EigenvaluesOnlyTouchNeitherZNorWork) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  uint64_t seed = 61;
  for (const int64_t n : {2, 3, 25, 300})
    for (const shape kind : every_shape) {
      if (n == 300 && kind != shape::random) continue;
      const tridiagonal<R> t = make<R>(kind, n, ++seed);
      tridiagonal<R> out = t;
      T z = vrx_traits<T>::make(5, 5);
      R work = 9;
      vrx_int info = -99;
      vrx_lapack_steqr<T>("N", n, out.d.data(), out.e.data(), &z, 1, &work, &info);
      ASSERT_EQ(info, 0);
      EXPECT_LT(eigenvalue_ratio(kind, t, out.d), 30.0) << "n " << n << " shape " << int(kind);
      EXPECT_TRUE(z == vrx_traits<T>::make(5, 5) && work == 9);
    }
}

// Stopped early, the published routine leaves T Z = Z T' with T' the tridiagonal of d
// and e as they are, and counts the off-diagonals of T' not yet zero.
TYPED_TEST(SteqrTest, StoppedIterationLeavesASimilarMatrix) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const int64_t n = 30;
  for (const vrx_int limit : {0, 1}) {
    sweeps_per_order seam(limit);
    const tridiagonal<R> t = make<R>(shape::random, n, 71);
    tridiagonal<R> out = t;
    std::vector<R> work(2 * n);
    std::vector<T> z(n * n);
    vrx_int info = -99;
    vrx_lapack_steqr<T>("I", n, out.d.data(), out.e.data(), z.data(), n, work.data(), &info);
    EXPECT_GT(info, 0);
    EXPECT_EQ(info, vrx_tridiagonal_unconverged<R>(n, out.e.data()));
    EXPECT_LT(vrx_test_orthogonality(false, n, n, z.data(), n, n), 30.0);
    EXPECT_LT(residual_ratio(t, out.d, z.data(), n, &out.e), 30.0) << "limit " << limit;
  }
}

TYPED_TEST(SteqrTest, BadArgumentsTouchNoOutput) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const struct {
    const char* compz;
    vrx_int n, ldz, info;
  } cases[] = {{"X", 3, 3, -1}, {"I", -1, 3, -2}, {"V", 3, 2, -6}, {"N", 3, 0, -6}};
  for (const auto& c : cases) {
    R d[3] = {1, 2, 3}, e[2] = {4, 5}, work[4] = {6, 6, 6, 6};
    std::vector<T> z(9, vrx_traits<T>::make(8, 8));
    vrx_int info = 0;
    vrx_lapack_steqr<T>(c.compz, c.n, d, e, z.data(), c.ldz, work, &info);
    EXPECT_EQ(info, c.info) << c.compz << " n " << c.n << " ldz " << c.ldz;
    EXPECT_TRUE(d[0] == 1 && d[2] == 3 && e[0] == 4 && e[1] == 5 && work[0] == 6);
    EXPECT_TRUE(z == std::vector<T>(9, vrx_traits<T>::make(8, 8)));
  }
}

// The bit-for-bit comparison runs in a child process, whose base allocator refuses the
// batch table on the second run.
TEST(SteqrBatchTest, BatchedRotationsEqualOneApplicationPerSweep) {
  const vrx_child_result r =
      vrx_test_run(vrx_test_driver("steqr_driver"), {"single", "SDCZ"}, {{"VRX_DISABLE_FAST_MM", "1"}});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, "S same\nD same\nC same\nZ same\nok\n");
}
}  // namespace
