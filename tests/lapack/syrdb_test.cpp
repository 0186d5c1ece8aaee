// Full to band to tridiagonal in four precisions: random Hermitian (symmetric) matrices
// with NaN in the triangle that is not stored (never read, never written), both
// triangles, judged by ||A - Q T Q^H|| / (n ||A|| eps) and ||I - Q^H Q|| / (n eps) below
// 30 with Q formed ("V"), the same Q updated from the identity ("U"); d and e without Q
// the same bits as with it; bands of n - 2 and narrower, panels cut by a short lwork (the strip path); the quick
// return, kd -1 through the tuning query, the workspace answer and every check.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "lapack/band_reduction_check.h"
#include "lapack/solve_check.h"
#include "lapack/syev/vrx_syev.h"
#include "support/lapack_seams.h"

namespace {
template <typename T>
class SyrdbTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(SyrdbTest, element_types);
using namespace vrx_band_test;

template <typename T>
bool stored(bool upper, int64_t i, int64_t j) {
  return upper ? i <= j : i >= j;
}

// a (leading dimension n) with NaN outside the stored triangle, leading dimension lda.
template <typename T>
std::vector<T> as_stored(const std::vector<T>& a, int64_t n, int64_t lda, bool upper) {
  std::vector<T> s(static_cast<std::size_t>(lda * n), not_a_number<T>());
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < n; ++i)
      if (stored<T>(upper, i, j)) s[i + j * lda] = a[i + j * n];
  return s;
}

template <typename T>
struct result {
  std::vector<vrx_real_t<T>> d, e;
  std::vector<T> a, q, work;
  vrx_int info = -99;
};

// lwork 0: the workspace answer.
template <typename T>
result<T> run(const char* jobz, bool upper, vrx_int n, vrx_int kd, const std::vector<T>& a, vrx_int lwork,
              std::vector<T> q = {}) {
  result<T> r;
  const vrx_int lda = n + 3, ldq = n + 1;
  r.a = as_stored(a, n, lda, upper);
  r.d.assign(n, 0);
  r.e.assign(n, 0);
  r.q = q.empty() ? std::vector<T>(static_cast<std::size_t>(ldq * n)) : q;
  std::vector<T> tau(n);
  T size{};
  vrx_lapack_syrdb<T>(jobz, upper ? "U" : "L", n, kd, r.a.data(), lda, r.d.data(), r.e.data(), tau.data(),
                      r.q.data(), ldq, &size, -1, &r.info);
  if (lwork == 0) lwork = static_cast<vrx_int>(vrx_traits<T>::real_part(size));
  r.work.assign(lwork, T{});
  vrx_lapack_syrdb<T>(jobz, upper ? "U" : "L", n, kd, r.a.data(), lda, r.d.data(), r.e.data(), tau.data(),
                      r.q.data(), ldq, r.work.data(), lwork, &r.info);
  return r;
}

// The triangle that is not stored is as it was: all NaN.
template <typename T>
bool other_triangle_untouched(const result<T>& r, vrx_int n, bool upper) {
  const vrx_int lda = n + 3;
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < lda; ++i)
      if ((i >= n || !stored<T>(upper, i, j)) && vrx_traits<T>::real_part(r.a[i + j * lda]) ==
                                                     vrx_traits<T>::real_part(r.a[i + j * lda]))
        return false;
  return true;
}

TYPED_TEST(SyrdbTest, ReducesWithQFormedUpdatedOrNone) {
  typedef TypeParam T;
  struct shape {
    vrx_int n, kd, lwork;  // lwork 0: the answer; 1: the least accepted
  };
  const shape shapes[] = {{3, 1, 0}, {10, 8, 0}, {12, 3, 0}, {41, 5, 0}, {41, 5, 1}, {97, 8, 0}, {120, 16, 1}};
  for (const shape& s : shapes)
    for (const bool upper : {false, true}) {
      SCOPED_TRACE("n " + std::to_string(s.n) + " kd " + std::to_string(s.kd) + (upper ? " U" : " L") +
                   (s.lwork ? " least work" : ""));
      const std::vector<T> a = hermitian<T>(s.n, s.n, static_cast<unsigned>(s.n * 7 + s.kd + upper));
      vrx_int lwork = 0;
      if (s.lwork == 1) {
        // The least accepted: the band with its sweeps, each reflector applied to Q; one
        // less is refused. Panels of one column then.
        lwork = 2 * s.kd * s.n + s.kd + s.n;
        result<T> refused;
        const std::string printed = vrx_test_printed_by([&] { refused = run<T>("V", upper, s.n, s.kd, a, lwork - 1); });
        ASSERT_EQ(refused.info, -13);
      }
      const result<T> v = run<T>("V", upper, s.n, s.kd, a, lwork);
      ASSERT_EQ(v.info, 0);
      EXPECT_LT(residual_ratio<T>(s.n, a, v.q.data(), s.n + 1, v.d.data(), v.e.data()), 30);
      EXPECT_LT(orthogonality_ratio<T>(s.n, v.q.data(), s.n + 1), 30);
      EXPECT_TRUE(other_triangle_untouched(v, s.n, upper));
      const result<T> plain = run<T>("N", upper, s.n, s.kd, a, lwork);
      ASSERT_EQ(plain.info, 0);
      EXPECT_TRUE(vrx_test_same_bits(plain.d, v.d));
      EXPECT_TRUE(vrx_test_same_bits(plain.e, v.e));
      // "U" on the identity gives the same reduction through the panel-by-panel update.
      std::vector<T> identity(static_cast<std::size_t>((s.n + 1) * s.n));
      for (vrx_int i = 0; i < s.n; ++i) identity[i + i * (s.n + 1)] = vrx_traits<T>::make(1, 0);
      const result<T> u = run<T>("U", upper, s.n, s.kd, a, lwork, identity);
      ASSERT_EQ(u.info, 0);
      EXPECT_TRUE(vrx_test_same_bits(u.d, v.d));
      W worst = 0;
      for (std::size_t i = 0; i < u.q.size(); ++i) worst = std::max(worst, std::abs(widen(u.q[i]) - widen(v.q[i])));
      EXPECT_LT(worst, 30 * s.n * eps_of<T>());
    }
}

TYPED_TEST(SyrdbTest, QFormedInPlaceOfTheMatrix) {
  typedef TypeParam T;
  const vrx_int n = 37, kd = 6, lda = n + 3;
  for (const bool upper : {false, true}) {
    const std::vector<T> a = hermitian<T>(n, n, 11 + upper);
    const result<T> apart = run<T>("V", upper, n, kd, a, 0);
    std::vector<T> in_place = as_stored(a, n, lda, upper), tau(n), work(apart.work.size());
    std::vector<vrx_real_t<T>> d(n), e(n);
    vrx_int info = -5;
    vrx_lapack_syrdb<T>("V", upper ? "U" : "L", n, kd, in_place.data(), lda, d.data(), e.data(), tau.data(),
                        in_place.data(), lda, work.data(), static_cast<vrx_int>(work.size()), &info);
    ASSERT_EQ(info, 0);
    EXPECT_TRUE(vrx_test_same_bits(d, apart.d));
    EXPECT_TRUE(vrx_test_same_bits(e, apart.e));
    bool same = true;
    for (vrx_int j = 0; j < n; ++j)
      for (vrx_int i = 0; i < n; ++i)
        same = same && std::memcmp(&in_place[i + j * lda], &apart.q[i + j * (n + 1)], sizeof(T)) == 0;
    EXPECT_TRUE(same) << (upper ? "U" : "L");
  }
}

vrx_int band_key = 4;
vrx_int answer_band_key(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1, const vrx_int* n2,
                        const vrx_int* n3, const vrx_int* n4, vrx_int name_length, vrx_int opts_length) {
  const bool band = vrx_test_asks_about(name, name_length, "SYRDB") || vrx_test_asks_about(name, name_length, "HERDB");
  if (*ispec == 1 && band) return band_key;
  return ILAENV(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

TYPED_TEST(SyrdbTest, QuickReturnBandFromTheTuningQueryAndWorkspace) {
  typedef TypeParam T;
  typedef vrx_traits<T> tr;
  const vrx_int n = 20;
  const std::vector<T> a = hermitian<T>(n, n, 3);
  // kd n - 1, order 2: nothing done, work(1) = 1, the matrix as it was.
  for (const vrx_int nn_kd : {0, 1}) {
    const vrx_int order = nn_kd == 0 ? n : 2, kd = nn_kd == 0 ? n - 1 : 1;
    std::vector<T> b = as_stored(hermitian<T>(order, order, 5), order, order + 3, false), before = b;
    std::vector<T> work(4, tr::make(7, 0)), q(order * order), tau(order);
    std::vector<vrx_real_t<T>> d(order, 9), e(order, 9);
    vrx_int info = -5;
    vrx_lapack_syrdb<T>("V", "L", order, kd, b.data(), order + 3, d.data(), e.data(), tau.data(), q.data(), order,
                        work.data(), 4, &info);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(tr::real_part(work[0]), 1);
    EXPECT_EQ(std::memcmp(b.data(), before.data(), b.size() * sizeof(T)), 0);
    EXPECT_EQ(d[0], 9);
  }
  // kd -1 asks the tuning query: its answer sets the workspace formula and the band.
  vrx_test_tuning_seam seam(answer_band_key);
  vrx_test_forced_threads threads(2);
  std::vector<T> b = as_stored(a, n, n + 3, true), q(n * n), tau(n), work(1);
  std::vector<vrx_real_t<T>> d(n), e(n);
  vrx_int info = -5;
  vrx_lapack_syrdb<T>("N", "U", n, -1, b.data(), n + 3, d.data(), e.data(), tau.data(), q.data(), 1, work.data(), -1,
                      &info);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(tr::real_part(work[0]), n * (3 * 4 + 3) + 2 * n);
  vrx_lapack_syrdb<T>("V", "U", n, -1, b.data(), n + 3, d.data(), e.data(), tau.data(), q.data(), n, work.data(), -1,
                      &info);
  EXPECT_EQ(tr::real_part(work[0]), n * (3 * 4 + 3) + 2 * n + 2 * ((4 + 2) * n + 5 * 4 * (n + 4)));
  const result<T> r = run<T>("V", false, n, -1, a, 0);
  ASSERT_EQ(r.info, 0);
  EXPECT_LT(residual_ratio<T>(n, a, r.q.data(), n + 1, r.d.data(), r.e.data()), 30);
  band_key = 40;  // above n - 1: the one-stage reduction must serve
  const result<T> none = run<T>("V", false, n, -1, a, 0);
  EXPECT_EQ(tr::real_part(none.work[0]), 1);
  band_key = 4;
}

TYPED_TEST(SyrdbTest, Checks) {
  typedef TypeParam T;
  typedef vrx_traits<T> tr;
  const std::string name = std::string(1, tr::letter) + (tr::is_complex ? "HERDB" : "SYRDB");
  const vrx_int n = 12;
  std::vector<T> a(n * n, tr::make(1, 0)), q(n * n), tau(n), work(40 * n * n);
  std::vector<vrx_real_t<T>> d(n), e(n);
  struct bad {
    const char* jobz;
    const char* uplo;
    vrx_int n, kd, lda, ldq, lwork;
    int position;
  };
  const bad cases[] = {{"X", "L", n, 3, n, n, 4000, 1},  {"N", "X", n, 3, n, n, 4000, 2},
                       {"N", "L", -1, 3, n, n, 4000, 3}, {"N", "L", n, -2, n, n, 4000, 4},
                       {"N", "L", n, 0, n, n, 4000, 4},  {"N", "U", n, 3, n - 1, n, 4000, 6},
                       {"V", "L", n, 3, n, n - 1, 4000, 11}, {"U", "L", n, 3, n, n, 20, 13}};
  for (const bad& c : cases) {
    const std::vector<T> before = a;
    vrx_int info = 0;
    const std::string printed = vrx_test_printed_by([&] {
      vrx_lapack_syrdb<T>(c.jobz, c.uplo, c.n, c.kd, a.data(), c.lda, d.data(), e.data(), tau.data(), q.data(),
                          c.ldq, work.data(), c.lwork, &info);
    });
    EXPECT_EQ(info, -c.position);
    EXPECT_EQ(printed, vrx_test_parameter_line(c.position, name));
    EXPECT_TRUE(vrx_test_same_bits(a, before));
  }
}
}  // namespace
