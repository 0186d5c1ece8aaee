// A wider-precision reference of the triangular solve (TRSM) and product (TRMM) for
// every element type, a generator of well-conditioned triangles whose unread parts hold
// NaN, and the elementwise check of a computed B against the reference: long double for
// double and double complex, double for float and float complex.
#pragma once
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "support/gemm_typed_reference.h"

// One triangular call: op(A) of order m (side L) or n (side R), B m by n.
template <typename T>
struct vrx_test_triangular {
  char side, uplo, trans, diag;
  int64_t m, n, lda, ldb;
  T alpha;
  std::vector<T> a, b;  // b: B before the call
};

// The order of the triangle.
template <typename T>
inline int64_t vrx_test_triangle_order(const vrx_test_triangular<T>& p) {
  return (p.side & ~0x20) == 'L' ? p.m : p.n;
}

// vrx_test_make_triangular: the stored triangle of A has entries in [-1, 1] off the
// diagonal (scaled by 1 / order with a unit diagonal) and a diagonal of magnitude between
// order / 2 + 1 and order + 1 (random sign, and a random imaginary part for complex), so
// that op(A) is far from singular. Everything the call must not read holds NaN: the other
// triangle, the diagonal when diag is U, the padding rows of A (lda = order + 2). B has
// ldb = m + 3 with random padding, which must come back bit for bit.
template <typename T>
inline vrx_test_triangular<T> vrx_test_make_triangular(const char* side_uplo_trans_diag, int64_t m, int64_t n,
                                                        T alpha, unsigned seed) {
  typedef vrx_real_t<T> R;
  vrx_test_triangular<T> p;
  p.side = side_uplo_trans_diag[0];
  p.uplo = side_uplo_trans_diag[1];
  p.trans = side_uplo_trans_diag[2];
  p.diag = side_uplo_trans_diag[3];
  p.m = m;
  p.n = n;
  p.alpha = alpha;
  const int64_t k = vrx_test_triangle_order(p);
  p.lda = k + 2;
  p.ldb = m + 3;
  const bool upper = (p.uplo & ~0x20) == 'U', unit = (p.diag & ~0x20) == 'U';
  const R nan = std::numeric_limits<R>::quiet_NaN();
  uint64_t state = seed * 2654435761ull + 29;
  p.a.assign(static_cast<std::size_t>(p.lda * (k > 0 ? k : 1)), vrx_traits<T>::make(nan, nan));
  const R off_scale = unit ? R(1) / static_cast<R>(k > 0 ? k : 1) : R(1);
  for (int64_t j = 0; j < k; ++j)
    for (int64_t i = 0; i < k; ++i) {
      T& x = p.a[static_cast<std::size_t>(i + j * p.lda)];
      if (i == j) {
        if (unit) continue;
        const R r = static_cast<R>(vrx_test_detail::next_unit(&state));
        const R mag = static_cast<R>(k) / 2 + 1 + std::fabs(r) * static_cast<R>(k) / 2;
        const R im = vrx_is_complex<T> ? static_cast<R>(vrx_test_detail::next_unit(&state)) * mag / 2 : R(0);
        x = vrx_traits<T>::make(r < 0 ? -mag : mag, im);
      } else if ((i < j) == upper) {
        const T v = vrx_test_value<T>(&state);
        x = vrx_traits<T>::make(vrx_traits<T>::real_part(v) * off_scale, vrx_traits<T>::imag_part(v) * off_scale);
      }
    }
  p.b.resize(static_cast<std::size_t>(p.ldb * (n > 0 ? n : 1)));
  for (auto& x : p.b) x = vrx_test_value<T>(&state);
  return p;
}

namespace vrx_test_detail {
// A complex number of the wide type.
template <typename W>
struct wide_complex {
  W re, im;
};
template <typename W>
wide_complex<W> operator*(wide_complex<W> x, wide_complex<W> y) {
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}
template <typename W>
wide_complex<W> operator-(wide_complex<W> x, wide_complex<W> y) {
  return {x.re - y.re, x.im - y.im};
}
template <typename W>
wide_complex<W> operator+(wide_complex<W> x, wide_complex<W> y) {
  return {x.re + y.re, x.im + y.im};
}
template <typename W>
wide_complex<W> divide(wide_complex<W> x, wide_complex<W> d) {
  const W den = d.re * d.re + d.im * d.im;
  return {(x.re * d.re + x.im * d.im) / den, (x.im * d.re - x.re * d.im) / den};
}
template <typename W>
W magnitude(wide_complex<W> x) {
  return std::fabs(x.re) + std::fabs(x.im);
}
template <typename W, typename T>
wide_complex<W> widen(T x) {
  wide_complex<W> w;
  parts(x, &w.re, &w.im);
  return w;
}

// The matrix M with y = alpha M x for every right-hand side x (a column of B for side
// L, a row for side R): op(A), or its transpose for side R; k by k, row-major, zeros
// outside the triangle, ones on a unit diagonal. Answers whether M is lower triangular.
template <typename W, typename T>
bool triangle_matrix(const vrx_test_triangular<T>& p, std::vector<wide_complex<W>>* out) {
  const int64_t k = vrx_test_triangle_order(p);
  const bool left = (p.side & ~0x20) == 'L', upper = (p.uplo & ~0x20) == 'U', unit = (p.diag & ~0x20) == 'U';
  const bool plain = (p.trans & ~0x20) == 'N', conj = vrx_is_complex<T> && (p.trans & ~0x20) == 'C';
  out->assign(static_cast<std::size_t>(k * k), wide_complex<W>{0, 0});
  for (int64_t i = 0; i < k; ++i)
    for (int64_t j = 0; j < k; ++j) {
      // Element (i, j) of op(A).
      const int64_t r = plain ? i : j, c = plain ? j : i;
      wide_complex<W> v{0, 0};
      if (r == c) v = unit ? wide_complex<W>{1, 0} : widen<W>(p.a[static_cast<std::size_t>(r + c * p.lda)]);
      else if ((r < c) == upper) v = widen<W>(p.a[static_cast<std::size_t>(r + c * p.lda)]);
      if (conj) v.im = -v.im;
      (*out)[static_cast<std::size_t>(left ? i * k + j : j * k + i)] = v;
    }
  const bool op_lower = upper != plain;
  return left ? op_lower : !op_lower;
}
}  // namespace vrx_test_detail

// The number of wrong elements of `b` (ldb = p.ldb) after the call, with `solve` for
// TRSM and not for TRMM. A solve is judged per right-hand side: |x - ref| above
// 16 (order + 2) eps max |ref| of that right-hand side; a product per element: above
// 4 (order + 2) eps |alpha| sum |M| |x|, |z| = |re| + |im|, eps of T's precision.
// alpha = 0 wants exact zeros. Padding rows of B must be unchanged, bit for bit.
// `report` prints the first few bad elements.
template <typename T>
inline int64_t vrx_test_triangular_bad_elements(const vrx_test_triangular<T>& p, bool solve, const std::vector<T>& b,
                                                bool report = true) {
  typedef vrx_test_wide_t<T> W;
  typedef vrx_test_detail::wide_complex<W> C;
  using vrx_test_detail::magnitude;
  typedef vrx_traits<T> tr;
  const double eps = sizeof(vrx_real_t<T>) == 4 ? FLT_EPSILON : DBL_EPSILON;
  const int64_t k = vrx_test_triangle_order(p);
  const bool left = (p.side & ~0x20) == 'L';
  const int64_t rhs = left ? p.n : p.m;
  std::vector<C> mat;
  const bool lower = vrx_test_detail::triangle_matrix<W>(p, &mat);
  const C alpha = vrx_test_detail::widen<W>(p.alpha);
  int64_t bad = 0;
  auto at = [&](int64_t v, int64_t e) { return static_cast<std::size_t>(left ? e + v * p.ldb : v + e * p.ldb); };
  std::vector<C> x(static_cast<std::size_t>(k)), y(static_cast<std::size_t>(k));
  std::vector<W> bound(static_cast<std::size_t>(k));
  for (int64_t v = 0; v < rhs; ++v) {
    for (int64_t e = 0; e < k; ++e) x[e] = alpha * vrx_test_detail::widen<W>(p.b[at(v, e)]);
    if (tr::is_zero(p.alpha)) {
      for (int64_t e = 0; e < k; ++e) y[e] = C{0, 0}, bound[e] = 0;
    } else if (solve) {
      W largest = 0;
      for (int64_t step = 0; step < k; ++step) {
        const int64_t e = lower ? step : k - 1 - step;
        C s = x[e];
        for (int64_t l = 0; l < k; ++l)
          if (l != e && (l < e) == lower) s = s - mat[e * k + l] * y[l];
        y[e] = vrx_test_detail::divide(s, mat[e * k + e]);
        if (magnitude(y[e]) > largest) largest = magnitude(y[e]);
      }
      for (int64_t e = 0; e < k; ++e) bound[e] = 16 * static_cast<W>(k + 2) * static_cast<W>(eps) * largest;
    } else {
      for (int64_t e = 0; e < k; ++e) {
        C s{0, 0};
        W mag = 0;
        for (int64_t l = 0; l < k; ++l) {
          s = s + mat[e * k + l] * x[l];
          mag += magnitude(mat[e * k + l]) * magnitude(x[l]);
        }
        y[e] = s;
        bound[e] = 4 * static_cast<W>(k + 2) * static_cast<W>(eps) * mag;
      }
    }
    for (int64_t e = 0; e < k; ++e) {
      const C got = vrx_test_detail::widen<W>(b[at(v, e)]);
      const W err = magnitude(got - y[e]);
      if (!(err <= bound[e])) {
        if (report && bad < 5)
          std::printf("(%lld, %lld): got (%g, %g), want (%g, %g)\n", (long long)(left ? e : v),
                      (long long)(left ? v : e), (double)got.re, (double)got.im, (double)y[e].re, (double)y[e].im);
        ++bad;
      }
    }
  }
  for (int64_t j = 0; j < p.n; ++j)
    for (int64_t i = p.m; i < p.ldb; ++i) {
      const std::size_t e = static_cast<std::size_t>(i + j * p.ldb);
      if (std::memcmp(&b[e], &p.b[e], sizeof(T)) != 0) {
        if (report && bad < 5) std::printf("padding (%lld, %lld) written\n", (long long)i, (long long)j);
        ++bad;
      }
    }
  return bad;
}
