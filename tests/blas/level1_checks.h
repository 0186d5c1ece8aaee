// Checks of the published level-1 members of one precision against references in a wider
// type. Each answers "" or a description of the first fault; the typed tests run them in
// this process and the level-1/2 driver under every forced CPU type.
#pragma once
#include <sstream>
#include <string>
#include <vector>
#include "blas/level12_api.h"
#include "blas/level12_typed_support.h"

// Lengths on both sides of every kernel's register and unroll widths (up to 64 floats).
inline const std::vector<long>& level1_lengths() {
  static const std::vector<long> n = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 130};
  return n;
}
inline const std::vector<std::pair<long, long>>& level1_increments() {
  static const std::vector<std::pair<long, long>> inc = {{1, 1}, {-1, 2}, {3, -2}, {-1, -1}};
  return inc;
}

#define LEVEL1_FAIL(what)                                      \
  do {                                                         \
    std::ostringstream out_;                                   \
    out_ << what << " (n " << n << ", inc " << ix << "," << iy << ")"; \
    return out_.str();                                         \
  } while (0)

template <typename T>
std::string level1_check_dots() {
  typedef level12_api<T> api;
  for (long n : level1_lengths())
    for (auto [ix, iy] : level1_increments()) {
      const std::vector<T> x = random_vector<T>(n * std::abs(ix) + 1, 11), y = random_vector<T>(n * std::abs(iy) + 1, 12);
      wide_t<T> u = 0, c = 0;
      long double scale = 0;
      for (long i = 0; i < n; ++i) {
        const wide_t<T> a = widen(x[strided_index(i, n, ix)]), b = widen(y[strided_index(i, n, iy)]);
        u += a * b;
        c += wide_conj<T>(a) * b;
        scale += wide_abs<T>(a * b);
      }
      const vrx_int nn = n, iix = ix, iiy = iy;
      if (!near_wide<T>(api::dot(&nn, x.data(), &iix, y.data(), &iiy), u, scale, 2.0L * n + 2)) LEVEL1_FAIL("dot");
      if (!near_wide<T>(api::dotc(&nn, x.data(), &iix, y.data(), &iiy), c, scale, 2.0L * n + 2)) LEVEL1_FAIL("dotc");
    }
  return "";
}

// AXPY, SCAL, the scale by a real, COPY, SWAP and ROT: each element against the wider
// reference, and the gaps of strided vectors untouched.
template <typename T>
std::string level1_check_updates() {
  typedef level12_api<T> api;
  typedef vrx_real_t<T> R;
  const T alpha = make_value<T>(-0.75, 0.625);
  const R real_alpha = R(1.5), c = R(0.6), s = R(-0.8);
  for (long n : level1_lengths())
    for (auto [ix, iy] : level1_increments()) {
      const long lx = n * std::abs(ix) + 1, ly = n * std::abs(iy) + 1;
      const std::vector<T> x = random_vector<T>(lx, 21), y = random_vector<T>(ly, 22);
      const vrx_int nn = n, iix = ix, iiy = iy;
      std::vector<T> ya = y, xs = x, xr = x, xc = x, yc = y, xw = x, yw = y, xo = x, yo = y;
      api::axpy(&nn, &alpha, x.data(), &iix, ya.data(), &iiy);
      api::copy(&nn, x.data(), &iix, yc.data(), &iiy);
      api::swap(&nn, xw.data(), &iix, yw.data(), &iiy);
      api::rot(&nn, xo.data(), &iix, yo.data(), &iiy, &c, &s);
      const vrx_int pos = std::abs(ix);  // SCAL takes positive increments only
      api::scal(&nn, &alpha, xs.data(), &pos);
      api::scal_real(&nn, &real_alpha, xr.data(), &pos);
      std::vector<bool> in_x(lx, false), in_y(ly, false);
      for (long i = 0; i < n; ++i) {
        const long px = strided_index(i, n, ix), py = strided_index(i, n, iy), ps = i * pos;
        in_x[px] = in_y[py] = true;
        const wide_t<T> a = widen(x[px]), b = widen(y[py]), sa = widen(x[ps]);
        const wide_t<T> wa = widen(alpha);
        const long double ma = wide_abs<T>(a), mb = wide_abs<T>(b);
        if (!near_wide<T>(ya[py], b + wa * a, mb + 2 * ma, 4)) LEVEL1_FAIL("axpy element " << i);
        if (!near_wide<T>(xs[ps], wa * sa, 2 * wide_abs<T>(sa), 4)) LEVEL1_FAIL("scal element " << i);
        if (!near_wide<T>(xr[ps], wide_t<T>(real_alpha) * sa, 2 * wide_abs<T>(sa), 2)) LEVEL1_FAIL("real scal " << i);
        if (!(yc[py] == x[px])) LEVEL1_FAIL("copy element " << i);
        if (!(xw[px] == y[py] && yw[py] == x[px])) LEVEL1_FAIL("swap element " << i);
        const wide_t<T> wc = c, ws = s;
        if (!near_wide<T>(xo[px], wc * a + ws * b, ma + mb, 4) || !near_wide<T>(yo[py], wc * b - ws * a, ma + mb, 4))
          LEVEL1_FAIL("rot element " << i);
      }
      for (long k = 0; k < lx; ++k)
        if (!in_x[k] && !(xw[k] == x[k] && xo[k] == x[k])) LEVEL1_FAIL("gap of x written at " << k);
      for (long k = 0; k < ly; ++k)
        if (!in_y[k] && !(ya[k] == y[k] && yc[k] == y[k] && yw[k] == y[k] && yo[k] == y[k]))
          LEVEL1_FAIL("gap of y written at " << k);
      for (long k = n * pos; k < lx; ++k)
        if (!(xs[k] == x[k] && xr[k] == x[k])) LEVEL1_FAIL("scal wrote past the vector at " << k);
    }
  return "";
}

// Norms of vectors of ordinary, huge and tiny values: finite and within a few roundoffs.
template <typename T>
std::string level1_check_norms() {
  typedef vrx_real_t<T> R;
  const long double huge = sizeof(R) == 4 ? 1e30L : 1e300L, tiny = sizeof(R) == 4 ? 1e-30L : 1e-300L;
  const long ix = 0, iy = 0;
  for (long n : level1_lengths())
    for (long double magnitude : {1.0L, huge, tiny})
      for (long inc : {1L, -2L}) {
        std::vector<T> x = random_vector<T>(n * std::abs(inc) + 1, 31);
        long double sum = 0;
        for (auto& e : x) e = narrow<T>(widen(e) * static_cast<typename level12_wide<R>::type>(magnitude));
        for (long i = 0; i < n; ++i) {
          const long double a = wide_abs<T>(widen(x[strided_index(i, n, inc)]));
          sum += a * a;
        }
        const vrx_int nn = n, ii = inc;
        const R got = level12_api<T>::nrm2(&nn, x.data(), &ii);
        const long double want = std::sqrt(sum);
        if (!std::isfinite(got) || std::fabs(got - want) > 2 * unit_roundoff<T>() * want * (n + 2))
          LEVEL1_FAIL("nrm2 of magnitude " << static_cast<double>(magnitude) << ": " << got << " against "
                                           << static_cast<double>(want));
      }
  return "";
}

// I?AMAX: |re| + |im| rather than the modulus, and the first of equal values wins.
template <typename T>
std::string level1_check_iamax() {
  typedef level12_api<T> api;
  const long ix = 1, iy = 0;
  for (long n : level1_lengths()) {
    if (n < 3) continue;
    for (long inc : {1L, 2L}) {
      std::vector<T> x(n * inc, make_value<T>(0.25, 0.25));
      const long first = n / 3, second = n - 1;
      // Equal maxima at `first` and `second`: the first wins.
      x[first * inc] = make_value<T>(-0.5, 0.5);
      x[second * inc] = make_value<T>(0.5, -0.5);
      const vrx_int nn = n, ii = inc;
      if (api::iamax(&nn, x.data(), &ii) != first + 1) LEVEL1_FAIL("iamax tie at " << first);
      if (vrx_is_complex<T> && n >= 8) {
        // The largest modulus (0.95) loses to the largest sum (0.6 + 0.6 = 1.2, modulus 0.85).
        x[1 * inc] = make_value<T>(0.95, 0.0);
        x[(n - 2) * inc] = make_value<T>(0.6, 0.6);
        if (api::iamax(&nn, x.data(), &ii) != n - 2 + 1) LEVEL1_FAIL("iamax by |re| + |im|");
      }
    }
  }
  return "";
}

#undef LEVEL1_FAIL
