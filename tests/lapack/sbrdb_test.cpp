// Band to tridiagonal reduction in four precisions: random Hermitian (symmetric) band
// matrices in both storages, with the rows outside the band holding NaN that must be
// cleared before use, judged by ||A - Q T Q^H|| / (n ||A|| eps) and ||I - Q^H Q|| / (n eps)
// below 30; d and e without Q the same bits as with it; the sweeps side by side on 2, 3
// and 8 threads agreeing with one thread; "U" carrying a given unitary
// along; the workspace answer and every check with its report.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "lapack/band_reduction_check.h"
#include "lapack/solve_check.h"
#include "lapack/syev/vrx_band_reduction.h"
#include "support/child_process.h"
#include "support/lapack_seams.h"

namespace {
template <typename T>
class SbrdbTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(SbrdbTest, element_types);
using namespace vrx_band_test;

// The band of the dense a in band storage (see the band header), NaN elsewhere.
template <typename T>
std::vector<T> to_band(const std::vector<T>& a, int64_t n, int64_t kd, bool upper, int64_t ldab) {
  std::vector<T> ab(static_cast<std::size_t>(ldab * (n > 0 ? n : 1)), not_a_number<T>());
  for (int64_t j = 0; j < n; ++j)
    for (int64_t k = 0; k <= kd; ++k) {
      if (upper && j - k >= 0) ab[(kd == 0 ? 0 : 2 * kd - 1) - k + j * ldab] = a[j - k + j * n];
      if (!upper && j + k < n) ab[k + j * ldab] = a[j + k + j * n];
    }
  return ab;
}

template <typename T>
struct reduction {
  std::vector<vrx_real_t<T>> d, e;
  std::vector<T> q, work;
  vrx_int info = -99;
};

template <typename T>
reduction<T> reduce(const char* vect, const char* uplo, vrx_int n, vrx_int kd, std::vector<T> ab, vrx_int ldab,
                    std::vector<T> q = {}) {
  reduction<T> r;
  r.d.assign(n + 1, 0);
  r.e.assign(n + 1, 0);
  const vrx_int ldq = n + 2;
  if (q.empty()) q.assign(static_cast<std::size_t>(ldq * (n > 0 ? n : 1)), not_a_number<T>());
  r.q = q;
  const vrx_int lwork = vrx_band_sweep_workspace(n, kd, *vect != 'N');
  r.work.assign(lwork, T{});
  vrx_lapack_sbrdb<T>(vect, uplo, n, kd, ab.data(), ldab, r.d.data(), r.e.data(), r.q.data(), ldq, r.work.data(),
                      lwork, &r.info);
  return r;
}

TYPED_TEST(SbrdbTest, ReducesBandsInBothStoragesWithAndWithoutQ) {
  typedef TypeParam T;
  struct shape {
    vrx_int n, kd;
  };
  // kd 1 (tridiagonal already: for complex data only phases), kd near and beyond n,
  // and chases of one, two and many blocks.
  const shape shapes[] = {{1, 3}, {2, 1}, {3, 1}, {3, 2}, {5, 4}, {6, 9}, {17, 1},
                          {17, 2}, {23, 5}, {40, 3}, {64, 16}, {110, 7}};
  for (const shape& s : shapes)
    for (const bool upper : {false, true}) {
      const std::vector<T> a = hermitian<T>(s.n, s.kd, static_cast<unsigned>(s.n * 31 + s.kd + upper));
      const vrx_int ldab = 2 * s.kd + 1;
      const std::vector<T> ab = to_band(a, s.n, s.kd, upper, ldab);
      const char* uplo = upper ? "Upper" : "Lower";
      SCOPED_TRACE("n " + std::to_string(s.n) + " kd " + std::to_string(s.kd) + " " + uplo);
      const reduction<T> v = reduce<T>("V", uplo, s.n, s.kd, ab, ldab);
      ASSERT_EQ(v.info, 0);
      EXPECT_LT(residual_ratio<T>(s.n, a, v.q.data(), s.n + 2, v.d.data(), v.e.data()), 30);
      EXPECT_LT(orthogonality_ratio<T>(s.n, v.q.data(), s.n + 2), 30);
      const reduction<T> plain = reduce<T>("N", uplo, s.n, s.kd, ab, ldab);
      ASSERT_EQ(plain.info, 0);
      EXPECT_TRUE(vrx_test_same_bits(plain.d, v.d));
      EXPECT_TRUE(vrx_test_same_bits(plain.e, v.e));
    }
}

TYPED_TEST(SbrdbTest, SweepsSideBySideGiveTheSequentialResult) {
  typedef TypeParam T;
  struct shape {
    vrx_int n, kd;
  };
  // Chases of many blocks, one block (kd n - 3) and bands of 2 and 3.
  const shape shapes[] = {{4, 2}, {9, 6}, {60, 2}, {90, 3}, {120, 11}};
  for (const shape& s : shapes) {
    const std::vector<T> a = hermitian<T>(s.n, s.kd, static_cast<unsigned>(s.n + 5 * s.kd));
    const vrx_int ldab = 2 * s.kd;
    const std::vector<T> ab = to_band(a, s.n, s.kd, false, ldab);
    reduction<T> alone;
    {
      vrx_test_forced_threads one(1);
      alone = reduce<T>("V", "L", s.n, s.kd, ab, ldab);
      EXPECT_EQ(vrx_lapack_sbrdb_trace()->region_threads, 0);
    }
    for (const int t : {2, 3, 8}) {
      SCOPED_TRACE("n " + std::to_string(s.n) + " kd " + std::to_string(s.kd) + " threads " + std::to_string(t));
      vrx_test_forced_threads threads(t);
      const reduction<T> v = reduce<T>("V", "L", s.n, s.kd, ab, ldab);
      ASSERT_EQ(v.info, 0);
      EXPECT_EQ(vrx_lapack_sbrdb_trace()->region_threads, t < s.n - 2 ? t : s.n - 2);
      if (t == 3) EXPECT_LT(residual_ratio<T>(s.n, a, v.q.data(), s.n + 2, v.d.data(), v.e.data()), 30);
      W worst = 0;
      for (vrx_int j = 0; j < s.n; ++j)
        for (vrx_int i = 0; i < s.n; ++i)
          worst = std::max(worst, std::abs(widen(v.q[i + j * (s.n + 2)]) - widen(alone.q[i + j * (s.n + 2)])));
      for (vrx_int i = 0; i < s.n; ++i) worst = std::max(worst, std::abs(W(v.d[i]) - W(alone.d[i])));
      for (vrx_int i = 0; i + 1 < s.n; ++i) worst = std::max(worst, std::abs(W(v.e[i]) - W(alone.e[i])));
      EXPECT_LT(worst, 30 * s.n * eps_of<T>());
    }
  }
}

TYPED_TEST(SbrdbTest, UpdateCarriesTheGivenUnitaryAlong) {
  typedef TypeParam T;
  typedef vrx_traits<T> tr;
  const vrx_int n = 31, kd = 4, ldq = n + 2, ldab = 2 * kd;
  const std::vector<T> a = hermitian<T>(n, kd, 7);
  const std::vector<T> ab = to_band(a, n, kd, false, ldab);
  // Q0: a permutation with phases (i -> 5 i mod n), so Q0 Q must come out.
  std::vector<T> q0(static_cast<std::size_t>(ldq * n), T{});
  for (vrx_int j = 0; j < n; ++j) q0[(5 * j) % n + j * ldq] = tr::is_complex ? tr::make(0, 1) : tr::make(-1, 0);
  const reduction<T> v = reduce<T>("V", "L", n, kd, ab, ldab);
  const reduction<T> u = reduce<T>("U", "L", n, kd, ab, ldab, q0);
  ASSERT_EQ(u.info, 0);
  W worst = 0;
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < n; ++i) {
      C sum = 0;
      for (vrx_int k = 0; k < n; ++k) sum += widen(q0[i + k * ldq]) * widen(v.q[k + j * ldq]);
      worst = std::max(worst, std::abs(sum - widen(u.q[i + j * ldq])));
    }
  EXPECT_LT(worst, 30 * n * eps_of<T>());
  EXPECT_TRUE(vrx_test_same_bits(u.d, v.d));
}

TYPED_TEST(SbrdbTest, ChecksAndWorkspaceAnswer) {
  typedef TypeParam T;
  typedef vrx_traits<T> tr;
  const std::string name = std::string(1, tr::letter) + (tr::is_complex ? "HBRDB" : "SBRDB");
  const vrx_int n = 10, kd = 3;
  std::vector<T> ab(static_cast<std::size_t>(2 * kd * n), tr::make(1, 0)), q(n * n), work(4 * n * n);
  std::vector<vrx_real_t<T>> d(n), e(n);
  struct bad {
    const char* vect;
    const char* uplo;
    vrx_int n, kd, ldab, ldq, lwork;
    int position;
  };
  const vrx_int enough = vrx_band_sweep_workspace(n, kd, true);
  const bad cases[] = {{"X", "L", n, kd, 2 * kd, n, enough, 1},     {"V", "X", n, kd, 2 * kd, n, enough, 2},
                       {"V", "L", -1, kd, 2 * kd, n, enough, 3},    {"V", "L", n, -1, 2 * kd, n, enough, 4},
                       {"N", "U", n, kd, 2 * kd - 1, n, enough, 6}, {"U", "L", n, kd, 2 * kd, n - 1, enough, 10},
                       {"V", "L", n, kd, 2 * kd, n, enough - 1, 12}};
  for (const bad& c : cases) {
    const std::vector<T> before = ab;
    vrx_int info = 0;
    const std::string printed = vrx_test_printed_by([&] {
      vrx_lapack_sbrdb<T>(c.vect, c.uplo, c.n, c.kd, ab.data(), c.ldab, d.data(), e.data(), q.data(), c.ldq,
                          work.data(), c.lwork, &info);
    });
    EXPECT_EQ(info, -c.position);
    EXPECT_EQ(printed, vrx_test_parameter_line(c.position, name));
    EXPECT_TRUE(vrx_test_same_bits(ab, before));
  }
  // Without Q, ldq is not looked at; the query answers n per thread, plus the room of
  // the blocked application of Q, and touches nothing else.
  vrx_int info = -1;
  vrx_lapack_sbrdb<T>("N", "L", n, kd, ab.data(), 2 * kd, d.data(), e.data(), q.data(), 0, work.data(), n, &info);
  EXPECT_EQ(info, 0);
  for (const int t : {1, 3}) {
    vrx_test_forced_threads threads(t);
    const std::vector<T> before = ab;
    vrx_lapack_sbrdb<T>("V", "L", n, kd, ab.data(), 2 * kd, d.data(), e.data(), q.data(), n, work.data(), -1, &info);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(tr::real_part(work[0]), t * n + 2 * ((kd + 2) * n + 5 * kd * (n + kd)));
    vrx_lapack_sbrdb<T>("N", "U", n, kd, ab.data(), 2 * kd, d.data(), e.data(), q.data(), 1, work.data(), -1, &info);
    EXPECT_EQ(tr::real_part(work[0]), t * n);
    EXPECT_TRUE(vrx_test_same_bits(ab, before));
  }
}

// In a child process whose base allocator refuses everything, with two threads: the
// sweeps' tables cannot be had, info is -100 and the band is as it was.
TEST(SbrdbMemoryTest, RefusedTablesLeaveTheBandUnchanged) {
  const vrx_child_result r =
      vrx_test_run(vrx_test_driver("sbrdb_driver"), {"refused", "SDCZ"},
                   {{"VRX_DISABLE_FAST_MM", "1"}, {"VRX_NUM_THREADS", "2"}, {"VRX_DYNAMIC", "false"}});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, "S -100 unchanged\nD -100 unchanged\nC -100 unchanged\nZ -100 unchanged\nok\n");
}
}  // namespace
