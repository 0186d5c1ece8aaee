// The plane-rotation engine against the same rotations applied one pair of lines at a
// time with the published xROT: every side, pivot and direction, one and several sweeps
// with skipped (identity) rotations among them, rotated dimensions 0 to 3 and across
// the crossovers and strip widths, on 1, 2, 3 and 8 threads; padding rows never written.
// The batch table at its edges, and the 2 by 2 eigen-decomposition and rotation
// generator on ordinary and extreme values.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "blas/vrx_level12.h"
#include "lapack/aux/vrx_plane_rotation.h"
#include "lapack/syev/vrx_rotations.h"
#include "support/gemm_typed_reference.h"
#include "support/lapack_seams.h"

namespace {
template <typename T>
void published_rot(vrx_int n, T* x, vrx_int incx, T* y, vrx_int incy, vrx_real_t<T> c, vrx_real_t<T> s) {
  if constexpr (std::is_same_v<T, float>) SROT(&n, x, &incx, y, &incy, &c, &s);
  else if constexpr (std::is_same_v<T, double>) DROT(&n, x, &incx, y, &incy, &c, &s);
  else if constexpr (std::is_same_v<T, vrx_complex_float>) CSROT(&n, x, &incx, y, &incy, &c, &s);
  else ZDROT(&n, x, &incx, y, &incy, &c, &s);
}

struct rotation_case {
  char side, pivot, direct;
  int64_t m, n, sweeps;
};

template <typename T>
struct batch {
  typedef vrx_real_t<T> R;
  int64_t lda, ldcs;
  std::vector<T> a;
  std::vector<R> c, s;
};

// A target with two padding rows, and sweeps of rotations of random angles, every
// seventh of them the identity.
template <typename T>
batch<T> make_batch(const rotation_case& rc, uint64_t seed) {
  typedef vrx_real_t<T> R;
  batch<T> b;
  b.lda = rc.m + 2;
  const int64_t lines = rc.side == 'L' ? rc.m : rc.n;
  b.ldcs = lines + 1;
  b.a.resize(std::max<int64_t>(b.lda * rc.n, 1));
  for (T& x : b.a)
    x = vrx_traits<T>::make(R(vrx_test_detail::next_unit(&seed)), R(vrx_test_detail::next_unit(&seed)));
  b.c.assign(std::max<int64_t>(b.ldcs * rc.sweeps, 1), R(9));
  b.s = b.c;
  for (int64_t k = 0; k < rc.sweeps; ++k)
    for (int64_t j = 0; j + 1 < lines; ++j) {
      const double angle = 3.14159 * vrx_test_detail::next_unit(&seed);
      const bool identity = (j + 3 * k) % 7 == 0;
      b.c[k * b.ldcs + j] = identity ? R(1) : R(std::cos(angle));
      b.s[k * b.ldcs + j] = identity ? R(0) : R(std::sin(angle));
    }
  return b;
}

// The rotations one by one, in the batch's order, with xROT on the pair of lines.
template <typename T>
void reference_apply(const rotation_case& rc, batch<T>& b) {
  const bool left = rc.side == 'L';
  const int64_t lines = left ? rc.m : rc.n, across = left ? rc.n : rc.m;
  if (lines < 2) return;
  for (int64_t k = 0; k < rc.sweeps; ++k)
    for (int64_t p = 0; p + 1 < lines; ++p) {
      const int64_t j = rc.direct == 'B' ? lines - 2 - p : p;
      const int64_t x = rc.pivot == 'T' ? 0 : j, y = rc.pivot == 'B' ? lines - 1 : j + 1;
      T* px = left ? &b.a[x] : &b.a[x * b.lda];
      T* py = left ? &b.a[y] : &b.a[y * b.lda];
      published_rot<T>(across, px, left ? b.lda : 1, py, left ? b.lda : 1, b.c[k * b.ldcs + j], b.s[k * b.ldcs + j]);
    }
}

template <typename T>
double magnitude(T x) {
  return std::fabs(static_cast<double>(vrx_traits<T>::real_part(x))) +
         std::fabs(static_cast<double>(vrx_traits<T>::imag_part(x)));
}

// Every element within rounding of the reference (the rotations are orthogonal, so the
// error grows at most with the number applied to a line); padding rows bit for bit.
template <typename T>
void expect_close(const rotation_case& rc, const batch<T>& got, const batch<T>& want, const char* what) {
  const int64_t lines = rc.side == 'L' ? rc.m : rc.n;
  const double tolerance = 8.0 * static_cast<double>(rc.sweeps * lines + 1) *
                           static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
  int64_t bad = 0;
  for (int64_t j = 0; j < rc.n; ++j)
    for (int64_t i = 0; i < got.lda; ++i) {
      const T g = got.a[j * got.lda + i], w = want.a[j * got.lda + i];
      const bool ok = i < rc.m ? magnitude(g - w) <= tolerance : g == w;
      bad += !ok;
    }
  EXPECT_EQ(bad, 0) << what << " side " << rc.side << " pivot " << rc.pivot << " direct " << rc.direct << " m "
                    << rc.m << " n " << rc.n << " sweeps " << rc.sweeps;
}

const char sides[] = {'L', 'R'}, pivots[] = {'V', 'T', 'B'}, directions[] = {'F', 'B'};

template <typename T>
void check_against_one_by_one(int64_t m, int64_t n, int64_t sweeps, bool kernel_only, uint64_t seed) {
  for (char side : sides)
    for (char pivot : pivots)
      for (char direct : directions) {
        const rotation_case rc = {side, pivot, direct, side == 'L' ? n : m, side == 'L' ? m : n, sweeps};
        batch<T> got = make_batch<T>(rc, ++seed), want = got;
        reference_apply(rc, want);
        const char side_word[] = {side, 0}, pivot_word[] = {pivot, 0}, direct_word[] = {direct, 0};
        (kernel_only ? vrx_lapack_rotation_kernel<T> : vrx_lapack_rotations_apply<T>)(
            side_word, pivot_word, direct_word, rc.m, rc.n, got.c.data(), got.s.data(), got.a.data(), got.lda,
            rc.sweeps, got.ldcs);
        expect_close(rc, got, want, kernel_only ? "kernel" : "engine");
      }
}

template <typename T>
class RotationsTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(RotationsTest, element_types);

// Rotated dimensions (second argument) 0 to 3 leave nothing or little to do; 300 lines
// across make a full strip and an edge.
TYPED_TEST(RotationsTest, SequentialKernelMatchesRotationsOneByOne) {
  uint64_t seed = 1;
  for (const int64_t lines : {0, 1, 2, 3, 57, 300})
    for (const int64_t sweeps : {1, 4}) check_against_one_by_one<TypeParam>(13, lines, sweeps, true, seed += 100);
  check_against_one_by_one<TypeParam>(300, 57, 5, true, seed += 100);
}

TYPED_TEST(RotationsTest, EngineMatchesRotationsOneByOneOnEveryThreadCount) {
  uint64_t seed = 2;
  for (const int threads : {1, 2, 3, 8}) {
    vrx_test_forced_threads forced(threads);
    for (const int64_t lines : {0, 1, 2, 211}) check_against_one_by_one<TypeParam>(227, lines, 3, false, seed += 100);
    check_against_one_by_one<TypeParam>(40, 260, 2, false, seed += 100);  // few lines across: one thread
  }
}

// ---- the batch table ----
struct batch_row {
  vrx_int key;
  const char* name;
  vrx_int n, threads, answer;
};
const batch_row batch_rows[] = {
    {1, "DSTEQR", 999, 1, 32},   {1, "DSTEQR", 1000, 1, 32},  {1, "DSTEQR", 1999, 1, 32},  {1, "DSTEQR", 2000, 1, 24},
    {1, "DSTEQR", 4999, 1, 24},  {1, "DSTEQR", 5000, 1, 16},  {1, "ZBDSQR", 2999, 8, 32},  {1, "ZBDSQR", 3000, 8, 24},
    {1, "DSTEQR", 3999, 9, 24},  {1, "DSTEQR", 4000, 9, 16},  {1, "SSTEQR", 999, 64, 32},  {1, "SSTEQR", 2499, 1, 40},
    {1, "SSTEQR", 2500, 1, 32},  {1, "SSTEQR", 5000, 1, 24},  {1, "CBDSQR", 3999, 2, 40},  {1, "CBDSQR", 4000, 8, 32},
    {1, "sSTEQR", 2999, 9, 32},  {1, "SSTEQR", 3000, 9, 24},  {1, "XSTEQR", 5000, 1, 1},   {2, "DSTEQR", 5000, 4, 2},
    {2, "XSTEQR", 5000, 4, 1},   {3, "DSTEQR", 5000, 4, -1},  {0, "DSTEQR", 5000, 4, -1},
};

TEST(RotationBatchTest, AnswersAtTheEdgesOfItsLadders) {
  for (const batch_row& row : batch_rows)
    EXPECT_EQ(vrx_lapack_rotation_batch(&row.key, row.name, "V", &row.n, &row.threads), row.answer)
        << "key " << row.key << " " << row.name << " n " << row.n << " threads " << row.threads;
}

// ---- the scalar helpers ----
template <typename R>
class PlaneRotationTest : public testing::Test {};
typedef testing::Types<float, double> real_types;
TYPED_TEST_SUITE(PlaneRotationTest, real_types);

// [cs sn; -sn cs] [a b; b c] [cs -sn; sn cs] = diag(rt1, rt2), in long double.
TYPED_TEST(PlaneRotationTest, TwoByTwoEigenDecompositionDiagonalises) {
  typedef TypeParam R;
  typedef long double W;
  const R big = 1 / std::numeric_limits<R>::epsilon(), eps = vrx_machine<R>::eps;
  const R cases[][3] = {{1, 2, 3}, {-4, 1, -1}, {2, 0, 2}, {0, 1, 0}, {3, R(-1e-6), 3},
                        {1, 0, -1}, {-5, 2, 5}, {big, 1, 1}, {1, 1, big}, {0, 0, 0}};
  for (const auto& m : cases) {
    const W a = m[0], b = m[1], c = m[2], scale = std::fabs(a) + 2 * std::fabs(b) + std::fabs(c);
    R rt1, rt2, cs, sn, v1, v2;
    vrx_lapack_laev2(m[0], m[1], m[2], &rt1, &rt2, &cs, &sn);
    vrx_lapack_lae2(m[0], m[1], m[2], &v1, &v2);
    EXPECT_TRUE(rt1 == v1 && rt2 == v2 && std::fabs(rt1) >= std::fabs(rt2)) << a << " " << b << " " << c;
    const W u = cs, v = sn, d1 = u * (u * a + v * b) + v * (u * b + v * c);
    const W off = -v * (u * a + v * b) + u * (u * b + v * c), d2 = -v * (-v * a + u * b) + u * (-v * b + u * c);
    EXPECT_LE(std::fabs(u * u + v * v - 1), 4 * eps);
    EXPECT_LE(std::fabs(d1 - rt1) + std::fabs(d2 - rt2) + std::fabs(off), 8 * eps * scale) << a << " " << b << " " << c;
  }
}

// [c s; -s c] (f; g) = (r; 0) with c >= 0 and r of f's sign, also near overflow and
// underflow.
TYPED_TEST(PlaneRotationTest, RotationGeneratorZeroesTheSecondComponent) {
  typedef TypeParam R;
  typedef long double W;
  const R huge = std::numeric_limits<R>::max() / 4, tiny = std::numeric_limits<R>::min() * 8;
  const R small = std::numeric_limits<R>::min(), eps = vrx_machine<R>::eps;
  const R cases[][2] = {{3, 4},    {-3, 4},     {3, -4},       {0, 5},         {0, -5},      {5, 0},   {-5, 0},
                        {huge, huge}, {huge, 1}, {1, huge},    {tiny, tiny},   {small, -tiny}, {-huge, tiny}, {R(1e-3), 1}};
  for (const auto& fg : cases) {
    const W f = fg[0], g = fg[1], size = std::hypot(f, g);
    R c, s, r;
    vrx_lapack_lartg(fg[0], fg[1], &c, &s, &r);
    EXPECT_GE(c, 0);
    EXPECT_LE(std::fabs(W(c) * c + W(s) * s - 1), 4 * eps) << f << " " << g;
    EXPECT_LE(std::fabs(c * f + s * g - r) + std::fabs(-s * f + c * g), 8 * eps * size) << f << " " << g;
    if (f != 0) EXPECT_EQ(std::signbit(r), std::signbit(fg[0])) << f << " " << g;
  }
}
}  // namespace
