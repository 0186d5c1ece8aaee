// Householder reflectors in the four precisions: a generated reflector maps (alpha; x) to
// (beta; 0) with beta real, also for a zero x and for inputs so tiny or huge that the
// rescaling runs; a block reflector from LARFT applied by LARFB, in all 16 variants, equals
// the product of its reflectors applied one by one with LARF (with reflectors of short
// support, a zero tau, and garbage where V and T are never read); the unblocked
// factorisations reproduce A with orthonormal factors, and the unblocked application of Q
// equals a product with the explicit Q.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "lapack/householder/vrx_householder.h"
#include "tests/support/householder_check.h"

namespace {
template <typename T>
class HouseholderTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(HouseholderTest, element_types);

template <typename T>
T marker() {
  return vrx_traits<T>::make(vrx_real_t<T>(55), vrx_real_t<T>(-3));
}

template <typename T>
double eps() {
  return static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
}

template <typename T>
std::vector<T> random_matrix(int64_t rows, int64_t cols, int64_t ld, uint64_t seed) {
  std::vector<T> a(static_cast<std::size_t>(std::max<int64_t>(ld * cols, 1)), marker<T>());
  uint64_t state = seed * 2654435761u + 3;
  for (int64_t j = 0; j < cols; ++j)
    for (int64_t i = 0; i < rows; ++i) a[j * ld + i] = vrx_test_value<T>(&state);
  return a;
}

// ---- LARFG ----

enum larfg_kind { RANDOM_INPUT, ZERO_X_REAL_ALPHA, ZERO_X_COMPLEX_ALPHA, TINY_INPUT, HUGE_INPUT };

TYPED_TEST(HouseholderTest, LarfgAnnihilatesWithRealBeta) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  typedef vrx_test_wide_complex<T> C;
  // Subnormal (without the rescaling 1 / (alpha - beta) overflows), and near overflow.
  const R tiny = vrx_machine<R>::sfmin * R(1.0 / 256);
  const R huge = vrx_machine<R>::rmax * R(1.0 / (1 << 20));
  for (int64_t n : {1, 2, 6, 17}) {
    for (int kind : {RANDOM_INPUT, ZERO_X_REAL_ALPHA, ZERO_X_COMPLEX_ALPHA, TINY_INPUT, HUGE_INPUT}) {
      for (int64_t incx : {1, 2}) {
        SCOPED_TRACE("n " + std::to_string(n) + " kind " + std::to_string(kind) + " incx " + std::to_string(incx));
        uint64_t state = static_cast<uint64_t>(n * 31 + kind);
        T alpha = vrx_test_value<T>(&state);
        std::vector<T> x(static_cast<std::size_t>(std::max<int64_t>((n - 1) * incx, 1)), marker<T>());
        for (int64_t i = 0; i < n - 1; ++i) x[i * incx] = vrx_test_value<T>(&state);
        if (kind == ZERO_X_REAL_ALPHA || kind == ZERO_X_COMPLEX_ALPHA) {
          for (int64_t i = 0; i < n - 1; ++i) x[i * incx] = T{};
          if (kind == ZERO_X_REAL_ALPHA) alpha = vrx_traits<T>::make(vrx_traits<T>::real_part(alpha), 0);
        }
        if (kind == TINY_INPUT || kind == HUGE_INPUT) {
          const R s = kind == TINY_INPUT ? tiny : huge;
          alpha = vrx_traits<T>::scale(s, alpha);
          for (int64_t i = 0; i < n - 1; ++i) x[i * incx] = vrx_traits<T>::scale(s, x[i * incx]);
        }
        const T alpha0 = alpha;
        const std::vector<T> x0 = x;
        T tau = marker<T>();
        vrx_lapack_larfg<T>(n, &alpha, x.data(), incx, &tau);

        for (std::size_t i = 0; i < x.size(); ++i)
          if (i % incx != 0) EXPECT_EQ(x[i], x0[i]) << "padding " << i;
        EXPECT_EQ(vrx_traits<T>::imag_part(alpha), 0);
        const bool zero_x = n == 1 || kind == ZERO_X_REAL_ALPHA || kind == ZERO_X_COMPLEX_ALPHA;
        if (zero_x && vrx_traits<T>::imag_part(alpha0) == 0) {  // H = I
          EXPECT_EQ(tau, T{});
          EXPECT_EQ(alpha, alpha0);
          continue;
        }
        // H^H z = z - conj(tau) v (v^H z) with v = (1; x), z = (alpha0; x0).
        std::vector<C> v(n), z(n);
        v[0] = 1;
        z[0] = vrx_test_widen(alpha0);
        for (int64_t i = 1; i < n; ++i) {
          v[i] = vrx_test_widen(x[(i - 1) * incx]);
          z[i] = vrx_test_widen(x0[(i - 1) * incx]);
        }
        // In the wide type: its range holds the squares of the tiny and huge inputs.
        typedef vrx_test_wide_t<T> W;
        C vz = 0;
        W norm2 = 0;
        for (int64_t i = 0; i < n; ++i) {
          vz += std::conj(v[i]) * z[i];
          norm2 += std::norm(z[i]);
        }
        const W norm = std::sqrt(norm2);
        const C t = vrx_test_widen(tau);
        const W beta = vrx_traits<T>::real_part(alpha);
        W error = std::fabs(std::fabs(beta) - norm);
        for (int64_t i = 0; i < n; ++i) {
          const C y = z[i] - std::conj(t) * v[i] * vz;
          error = std::max(error, std::abs(y - (i == 0 ? C(beta) : C(0))));
        }
        // A subnormal beta carries the rounding of its own (absolute) precision.
        const W rounding = std::numeric_limits<R>::denorm_min();
        EXPECT_LT(static_cast<double>(std::max(error - rounding, W(0)) / norm) / (n * eps<T>()), 30.0);
        // H unitary: ||I - H^H H|| / (n eps).
        double loss = 0;
        for (int64_t i = 0; i < n; ++i)
          for (int64_t j = 0; j < n; ++j) {
            // (H^H H)(i, j) = d_ij - (t + conj(t) - |t|^2 v^H v) v_i conj(v_j)
            C vv = 0;
            for (int64_t l = 0; l < n; ++l) vv += std::conj(v[l]) * v[l];
            const C entry = (std::conj(t) + t - std::conj(t) * t * vv) * v[i] * std::conj(v[j]);
            loss = std::max(loss, static_cast<double>(std::abs(entry)));
          }
        EXPECT_LT(loss / (n * eps<T>()), 30.0);
      }
    }
  }
}

// ---- LARF ----

// A reflector stored backwards (increment -1) acts as the same reflector stored forwards,
// also when its trailing zeros are trimmed; C's zero trailing columns (side L) or rows
// (side R) stay zero.
TYPED_TEST(HouseholderTest, LarfNegativeIncrementAndZeroTails) {
  typedef TypeParam T;
  const int64_t order = 9, other = 5;
  uint64_t state = 77;
  std::vector<T> v(order, T{}), reversed(order);
  for (int64_t i = 0; i < 6; ++i) v[i] = vrx_test_value<T>(&state);  // three trailing zeros
  v[0] = vrx_traits<T>::make(1, 0);
  for (int64_t i = 0; i < order; ++i) reversed[order - 1 - i] = v[i];
  const T tau = vrx_traits<T>::make(vrx_real_t<T>(1.25), vrx_is_complex<T> ? vrx_real_t<T>(0.5) : 0);
  for (bool left : {true, false}) {
    SCOPED_TRACE(left ? "Left" : "Right");
    const int64_t m = left ? order : other, n = left ? other : order, ldc = m;
    std::vector<T> c0 = random_matrix<T>(m, n, ldc, 5);
    if (left)
      for (int64_t i = 0; i < m; ++i) c0[(n - 1) * ldc + i] = T{};
    else
      for (int64_t j = 0; j < n; ++j) c0[j * ldc + m - 1] = T{};
    std::vector<T> forwards = c0, backwards = c0, work(order);
    vrx_lapack_larf<T>(left ? "L" : "R", m, n, v.data(), 1, tau, forwards.data(), ldc, work.data());
    vrx_lapack_larf<T>(left ? "L" : "R", m, n, reversed.data(), -1, tau, backwards.data(), ldc, work.data());
    for (std::size_t i = 0; i < c0.size(); ++i) {
      EXPECT_LT(std::abs(vrx_test_widen(forwards[i]) - vrx_test_widen(backwards[i])), 8 * order * eps<T>());
      if (c0[i] == T{}) EXPECT_EQ(forwards[i], T{}) << i;
    }
    EXPECT_FALSE(forwards == c0);
  }
}

// ---- LARFT and LARFB against LARF ----

// k reflectors of order nq in column form (each a full vector with its 1 and its zeros),
// their taus, and V as LARFT and LARFB read it: columns, or rows holding the conjugates.
// Every other reflector has a short support (trailing zeros forward, leading backward),
// starting with the first that LARFT meets, so that the reach of those before cuts the
// products; every fourth has tau = 0. Places never read (the unit, and the zeros beyond
// it) hold garbage.
template <typename T>
struct block_reflector {
  int64_t nq, k, ldv;
  bool forward, rowwise;
  std::vector<std::vector<T>> vectors;
  std::vector<T> tau, v;
};

template <typename T>
block_reflector<T> make_reflectors(int64_t nq, int64_t k, bool forward, bool rowwise, uint64_t seed) {
  block_reflector<T> b = {nq, k, rowwise ? k + 1 : nq + 2, forward, rowwise, {}, std::vector<T>(k), {}};
  b.v.assign(static_cast<std::size_t>(b.ldv * (rowwise ? nq : k)), marker<T>());
  uint64_t state = seed;
  for (int64_t i = 0; i < k; ++i) {
    const int64_t unit = forward ? i : nq - k + i;
    int64_t lo = forward ? unit : 0, hi = forward ? nq : unit + 1;  // support [lo, hi)
    if ((forward ? i : k - 2 - i) % 2 == 0) (forward ? hi : lo) = forward ? unit + 1 + (nq - unit - 1) / 2 : unit / 2;
    std::vector<T> vec(static_cast<std::size_t>(nq), T{});
    T alpha = vrx_test_value<T>(&state);
    std::vector<T> x;
    for (int64_t r = lo; r < hi; ++r)
      if (r != unit) x.push_back(vrx_test_value<T>(&state));
    vrx_lapack_larfg<T>(static_cast<vrx_int>(x.size() + 1), &alpha, x.data(), 1, &b.tau[i]);
    if (i % 4 == 3) b.tau[i] = T{};
    std::size_t next = 0;
    for (int64_t r = lo; r < hi; ++r) vec[r] = r == unit ? vrx_traits<T>::make(1, 0) : x[next++];
    // Stored: everything on the read side of the unit, zeros included.
    const int64_t read_lo = forward ? unit + 1 : 0, read_hi = forward ? nq : unit;
    for (int64_t r = read_lo; r < read_hi; ++r) {
      if (rowwise)
        b.v[r * b.ldv + i] = vrx_traits<T>::conj(vec[r]);
      else
        b.v[i * b.ldv + r] = vec[r];
    }
    b.vectors.push_back(vec);
  }
  return b;
}

std::string variant_name(const char* side, const char* trans, const char* direct, const char* storev) {
  return std::string(side) + trans + direct + storev;
}

// Applies op(H) to c one reflector at a time: H = H(1)..H(k) forward, H(k)..H(1) backward;
// op(H) = H^H reverses the order and conjugates each tau.
template <typename T>
void apply_one_by_one(const block_reflector<T>& b, bool left, bool plain, int64_t m, int64_t n, T* c, int64_t ldc) {
  std::vector<T> work(static_cast<std::size_t>(std::max(m, n)));
  for (int64_t step = 0; step < b.k; ++step) {
    // Factors of op(H) from left to right; side L applies them from the last, side R from the first.
    const int64_t position = left ? b.k - 1 - step : step;
    const int64_t in_h = plain ? position : b.k - 1 - position;
    const int64_t i = b.forward ? in_h : b.k - 1 - in_h;
    const T tau = plain ? b.tau[i] : vrx_traits<T>::conj(b.tau[i]);
    vrx_lapack_larf<T>(left ? "L" : "R", m, n, b.vectors[i].data(), 1, tau, c, ldc, work.data());
  }
}

struct block_shape {
  int64_t nq, k, other;
};

TYPED_TEST(HouseholderTest, LarfbEqualsReflectorsOneByOne) {
  typedef TypeParam T;
  // rest = 0, a small case, and one large enough for the blocked level-3 kernels.
  const block_shape shapes[] = {{4, 4, 3}, {9, 4, 7}, {70, 20, 33}};
  for (const block_shape& s : shapes) {
    for (const char* direct : {"Forward", "Backward"}) {
      for (const char* storev : {"Columnwise", "Rowwise"}) {
        const bool forward = direct[0] == 'F', rowwise = storev[0] == 'R';
        const block_reflector<T> b = make_reflectors<T>(s.nq, s.k, forward, rowwise, uint64_t(s.nq * 7 + s.k));
        const int64_t ldt = s.k + 2;
        std::vector<T> t(static_cast<std::size_t>(ldt * s.k), marker<T>());  // LARFT fills one triangle
        vrx_lapack_larft<T>(direct, storev, s.nq, s.k, b.v.data(), b.ldv, b.tau.data(), t.data(), ldt);
        for (const char* side : {"Left", "Right"}) {
          for (const char* trans : {"No transpose", vrx_is_complex<T> ? "Conjugate transpose" : "Transpose"}) {
            SCOPED_TRACE(variant_name(side, trans, direct, storev) + " nq " + std::to_string(s.nq));
            const bool left = side[0] == 'L', plain = trans[0] == 'N';
            const int64_t m = left ? s.nq : s.other, n = left ? s.other : s.nq, ldc = m + 1;
            const std::vector<T> c0 = random_matrix<T>(m, n, ldc, uint64_t(m + n));
            std::vector<T> expected = c0, c = c0;
            apply_one_by_one(b, left, plain, m, n, expected.data(), ldc);
            const int64_t width = left ? n : m, ldwork = width + 3;
            std::vector<T> work(static_cast<std::size_t>(ldwork * s.k));
            vrx_lapack_larfb<T>(side, trans, direct, storev, m, n, s.k, b.v.data(), b.ldv, t.data(), ldt, c.data(),
                                ldc, work.data(), ldwork, s.nq < 20);
            double worst = 0, size = 0;
            for (int64_t j = 0; j < n; ++j) {
              for (int64_t i = 0; i < m; ++i) {
                const double d = std::abs(vrx_test_widen(c[j * ldc + i]) - vrx_test_widen(expected[j * ldc + i]));
                worst = std::max(worst, d);
                size = std::max(size, static_cast<double>(std::abs(vrx_test_widen(c0[j * ldc + i]))));
              }
              EXPECT_EQ(c[j * ldc + m], marker<T>()) << "padding of column " << j;
            }
            EXPECT_LT(worst / (s.nq * size * eps<T>()), 30.0);
          }
        }
      }
    }
  }
}

// ---- unblocked factorisations ----

struct factor_shape {
  int64_t m, n;
};
const factor_shape factor_shapes[] = {{1, 1}, {7, 4}, {4, 7}, {33, 33}, {70, 41}, {12, 60}};

template <typename T>
void expect_factorisation(const std::vector<T>& a, int64_t lda, int64_t m, int64_t n, const std::vector<T>& q,
                          int64_t ldq, bool q_rows, int64_t q_rows_count, int64_t q_cols, const std::vector<T>& f,
                          int64_t ldf, bool q_first) {
  const int64_t d = std::max(m, n);
  if (q_first)
    EXPECT_LT(vrx_test_product_residual<T>(m, n, q_cols, a.data(), lda, q.data(), ldq, f.data(), ldf, d), 30.0);
  else
    EXPECT_LT(vrx_test_product_residual<T>(m, n, q_rows_count, a.data(), lda, f.data(), ldf, q.data(), ldq, d), 30.0);
  EXPECT_LT(vrx_test_orthogonality<T>(q_rows, q_rows_count, q_cols, q.data(), ldq, d), 30.0);
}

// Factors and taus of a (m by n, leading dimension m + 2) by one of the unblocked
// factorisations, whose work is max(m, n) long; the padding rows must stay as they were.
template <typename T>
struct factored {
  std::vector<T> f, tau;
};
template <typename T>
factored<T> factor_checked(const factor_shape& s, const std::vector<T>& a,
                           void (*factor)(vrx_int, vrx_int, T*, vrx_int, T*, T*)) {
  const int64_t lda = s.m + 2;
  factored<T> r = {a, std::vector<T>(static_cast<std::size_t>(std::min(s.m, s.n)))};
  std::vector<T> work(static_cast<std::size_t>(std::max(s.m, s.n)));
  factor(s.m, s.n, r.f.data(), lda, r.tau.data(), work.data());
  for (int64_t j = 0; j < s.n; ++j) EXPECT_EQ(r.f[j * lda + s.m], marker<T>());
  return r;
}

TYPED_TEST(HouseholderTest, Geqr2WithOrg2r) {
  typedef TypeParam T;
  for (const factor_shape& s : factor_shapes) {
    SCOPED_TRACE(std::to_string(s.m) + " by " + std::to_string(s.n));
    const int64_t lda = s.m + 2, k = std::min(s.m, s.n);
    std::vector<T> a = random_matrix<T>(s.m, s.n, lda, uint64_t(s.m * 100 + s.n));
    // A first column zero below the diagonal, with a real diagonal: its reflector is the identity.
    if (k > 2) {
      for (int64_t i = 1; i < s.m; ++i) a[i] = T{};
      a[0] = vrx_traits<T>::make(vrx_traits<T>::real_part(a[0]), 0);
    }
    const auto [f, tau] = factor_checked<T>(s, a, vrx_lapack_geqr2<T>);
    if (k > 2) EXPECT_EQ(tau[0], T{});
    // R: the upper trapezoid, k by n; Q: m by k from the reflectors.
    std::vector<T> r(static_cast<std::size_t>(k * s.n), T{});
    for (int64_t j = 0; j < s.n; ++j)
      for (int64_t i = 0; i <= std::min(j, k - 1); ++i) r[j * k + i] = f[j * lda + i];
    std::vector<T> q = f;
    std::vector<T> q_work(static_cast<std::size_t>(k));
    vrx_lapack_org2r<T>(s.m, k, k, q.data(), lda, tau.data(), q_work.data());
    expect_factorisation(a, lda, s.m, s.n, q, lda, false, s.m, k, r, k, true);
  }
}

TYPED_TEST(HouseholderTest, Gelq2WithOrgl2) {
  typedef TypeParam T;
  for (const factor_shape& s : factor_shapes) {
    SCOPED_TRACE(std::to_string(s.m) + " by " + std::to_string(s.n));
    const int64_t lda = s.m + 2, k = std::min(s.m, s.n);
    const std::vector<T> a = random_matrix<T>(s.m, s.n, lda, uint64_t(s.m * 10 + s.n));
    const auto [f, tau] = factor_checked<T>(s, a, vrx_lapack_gelq2<T>);
    for (int64_t i = 0; i < k; ++i) EXPECT_EQ(vrx_traits<T>::imag_part(f[i * lda + i]), 0);
    // L: the lower trapezoid, m by k; Q: k by n from the reflectors.
    std::vector<T> l(static_cast<std::size_t>(s.m * k), T{});
    for (int64_t j = 0; j < k; ++j)
      for (int64_t i = j; i < s.m; ++i) l[j * s.m + i] = f[j * lda + i];
    std::vector<T> q = f, q_work(static_cast<std::size_t>(k));
    vrx_lapack_orgl2<T>(k, s.n, k, q.data(), lda, tau.data(), q_work.data());
    expect_factorisation(a, lda, s.m, s.n, q, lda, true, k, s.n, l, s.m, false);
  }
}

TYPED_TEST(HouseholderTest, Geql2WithOrg2l) {
  typedef TypeParam T;
  for (const factor_shape& s : factor_shapes) {
    SCOPED_TRACE(std::to_string(s.m) + " by " + std::to_string(s.n));
    const int64_t lda = s.m + 2, k = std::min(s.m, s.n);
    const std::vector<T> a = random_matrix<T>(s.m, s.n, lda, uint64_t(s.m * 3 + s.n));
    const auto [f, tau] = factor_checked<T>(s, a, vrx_lapack_geql2<T>);
    // L: k by n, on and below the diagonal that ends at the bottom right corner; Q: m by k
    // from the reflectors in the last k columns.
    std::vector<T> l(static_cast<std::size_t>(k * s.n), T{});
    for (int64_t j = 0; j < s.n; ++j)
      for (int64_t i = 0; i < k; ++i)
        if (j <= s.n - k + i) l[j * k + i] = f[j * lda + s.m - k + i];
    std::vector<T> q(f.begin() + (s.n - k) * lda, f.end()), q_work(static_cast<std::size_t>(k));
    vrx_lapack_org2l<T>(s.m, k, k, q.data(), lda, tau.data(), q_work.data());
    expect_factorisation(a, lda, s.m, s.n, q, lda, false, s.m, k, l, k, true);
  }
}

// ---- unblocked application of Q ----

// max |C - op(Q) C0| (side L) or |C - C0 op(Q)| (side R) / (nq max|C0| eps) for the
// explicit nq by nq matrix q.
template <typename T>
double explicit_product_error(bool left, bool plain, int64_t m, int64_t n, const std::vector<T>& q, int64_t nq,
                              const std::vector<T>& c0, const std::vector<T>& c, int64_t ldc) {
  typedef vrx_test_wide_complex<T> C;
  auto op_q = [&](int64_t i, int64_t j) {
    return plain ? vrx_test_widen(q[j * nq + i]) : std::conj(vrx_test_widen(q[i * nq + j]));
  };
  double worst = 0, size = 0;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      C sum = 0;
      for (int64_t l = 0; l < nq; ++l)
        sum += left ? op_q(i, l) * vrx_test_widen(c0[j * ldc + l]) : vrx_test_widen(c0[l * ldc + i]) * op_q(l, j);
      worst = std::max(worst, static_cast<double>(std::abs(sum - vrx_test_widen(c[j * ldc + i]))));
      size = std::max(size, static_cast<double>(std::abs(vrx_test_widen(c0[j * ldc + i]))));
    }
  return worst / (nq * size * eps<T>());
}

struct apply_shape {
  int64_t nq, k, other;
};
const apply_shape apply_shapes[] = {{1, 1, 3}, {6, 6, 5}, {37, 15, 9}};

// Reflectors of order nq from GEQR2 (columns, rows = false) or GELQ2 (rows), and the
// explicit Q from ORG2R or ORGL2; then ORM2R or ORML2 on both sides, with both ops,
// against the product with Q; the reflectors must be left exactly as they were.
template <typename T>
void check_application(bool rows) {
  for (const apply_shape& s : apply_shapes) {
    const int64_t lda = (rows ? s.k : s.nq) + 1;
    std::vector<T> a = random_matrix<T>(rows ? s.k : s.nq, rows ? s.nq : s.k, lda, uint64_t(s.nq + s.k));
    std::vector<T> tau(static_cast<std::size_t>(s.k)), work(static_cast<std::size_t>(s.nq + s.other));
    if (rows)
      vrx_lapack_gelq2<T>(s.k, s.nq, a.data(), lda, tau.data(), work.data());
    else
      vrx_lapack_geqr2<T>(s.nq, s.k, a.data(), lda, tau.data(), work.data());
    std::vector<T> q(static_cast<std::size_t>(s.nq * s.nq), T{});
    for (int64_t j = 0; j < (rows ? s.nq : s.k); ++j)
      for (int64_t i = 0; i < (rows ? s.k : s.nq); ++i) q[j * s.nq + i] = a[j * lda + i];
    if (rows)
      vrx_lapack_orgl2<T>(s.nq, s.nq, s.k, q.data(), s.nq, tau.data(), work.data());
    else
      vrx_lapack_org2r<T>(s.nq, s.nq, s.k, q.data(), s.nq, tau.data(), work.data());
    const std::vector<T> reflectors = a;
    for (const char* side : {"Left", "Right"}) {
      for (const char* trans : {"N", vrx_is_complex<T> ? "C" : "T"}) {
        SCOPED_TRACE(std::string(side) + trans + " nq " + std::to_string(s.nq));
        const bool left = side[0] == 'L', plain = trans[0] == 'N';
        const int64_t m = left ? s.nq : s.other, n = left ? s.other : s.nq, ldc = m + 2;
        const std::vector<T> c0 = random_matrix<T>(m, n, ldc, uint64_t(m * n));
        std::vector<T> c = c0;
        if (rows)
          vrx_lapack_orml2<T>(side, trans, m, n, s.k, a.data(), lda, tau.data(), c.data(), ldc, work.data());
        else
          vrx_lapack_orm2r<T>(side, trans, m, n, s.k, a.data(), lda, tau.data(), c.data(), ldc, work.data());
        EXPECT_LT(explicit_product_error(left, plain, m, n, q, s.nq, c0, c, ldc), 30.0);
        EXPECT_TRUE(a == reflectors);
        for (int64_t j = 0; j < n; ++j) EXPECT_EQ(c[j * ldc + m], marker<T>());
      }
    }
  }
}

TYPED_TEST(HouseholderTest, Orm2rEqualsExplicitQ) { check_application<TypeParam>(false); }
TYPED_TEST(HouseholderTest, Orml2EqualsExplicitQ) { check_application<TypeParam>(true); }
}  // namespace
