// Checks of a reduction A = Q T Q^H to real tridiagonal T = (d, e), in long double:
// ||A - Q T Q^H||_1 / (n ||A||_1 eps) and ||I - Q^H Q||_1 / (n eps), and random
// Hermitian (symmetric) matrices to reduce, full or with a band of width kd.
#pragma once
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

#include "service/vrx_traits.h"

namespace vrx_band_test {
typedef long double W;
typedef std::complex<W> C;

template <typename T>
C widen(T x) {
  return C(vrx_traits<T>::real_part(x), vrx_traits<T>::imag_part(x));
}
template <typename T>
W eps_of() {
  return vrx_machine<vrx_real_t<T>>::eps;
}

// A dense Hermitian matrix (n by n, column-major, leading dimension n) with a band of
// width kd (kd >= n - 1: full), entries in [-1, 1], a real diagonal.
template <typename T>
std::vector<T> hermitian(int64_t n, int64_t kd, unsigned seed) {
  typedef vrx_traits<T> tr;
  typedef vrx_real_t<T> R;
  uint64_t state = seed * 6364136223846793005ull + 1442695040888963407ull;
  auto next = [&state]() {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<R>(static_cast<double>(state >> 11) / 9007199254740992.0 * 2 - 1);
  };
  std::vector<T> a(static_cast<std::size_t>(n * n), T{});
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = j; i < n && i - j <= kd; ++i) {
      const R re = next(), im = tr::is_complex && i != j ? next() : 0;
      a[i + j * n] = tr::make(re, im);
      a[j + i * n] = tr::make(re, -im);
    }
  return a;
}

template <typename T>
T not_a_number() {
  const vrx_real_t<T> q = std::numeric_limits<vrx_real_t<T>>::quiet_NaN();
  return vrx_traits<T>::make(q, q);
}

inline W one_norm(const std::vector<C>& m, int64_t n) {
  W best = 0;
  for (int64_t j = 0; j < n; ++j) {
    W sum = 0;
    for (int64_t i = 0; i < n; ++i) sum += std::abs(m[i + j * n]);
    best = std::max(best, sum);
  }
  return best;
}

inline double capped(W ratio) { return ratio == ratio && ratio < 1e30L ? static_cast<double>(ratio) : 1e30; }

// ||A - Q T Q^H|| / (n ||A|| eps); a dense (lda n), q with leading dimension ldq.
template <typename T>
double residual_ratio(int64_t n, const std::vector<T>& a, const T* q, int64_t ldq, const vrx_real_t<T>* d,
                      const vrx_real_t<T>* e) {
  if (n == 0) return 0;
  std::vector<C> qt(static_cast<std::size_t>(n * n)), r(static_cast<std::size_t>(n * n)), wa(r.size());
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < n; ++i) {
      C sum = widen(q[i + j * ldq]) * W(d[j]);
      if (j > 0) sum += widen(q[i + (j - 1) * ldq]) * W(e[j - 1]);
      if (j + 1 < n) sum += widen(q[i + (j + 1) * ldq]) * W(e[j]);
      qt[i + j * n] = sum;  // (Q T)(i, j)
      wa[i + j * n] = widen(a[i + j * n]);
    }
  for (int64_t j = 0; j < n; ++j)
    for (int64_t k = 0; k < n; ++k) {
      const C qjk = std::conj(widen(q[j + k * ldq]));
      for (int64_t i = 0; i < n; ++i) r[i + j * n] += qt[i + k * n] * qjk;
    }
  for (std::size_t i = 0; i < r.size(); ++i) r[i] = wa[i] - r[i];
  const W anorm = std::max(one_norm(wa, n), W(1e-300L));
  return capped(one_norm(r, n) / (W(n) * anorm * eps_of<T>()));
}

// ||I - Q^H Q|| / (n eps).
template <typename T>
double orthogonality_ratio(int64_t n, const T* q, int64_t ldq) {
  if (n == 0) return 0;
  std::vector<C> r(static_cast<std::size_t>(n * n));
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i <= j; ++i) {
      C sum = 0;
      for (int64_t k = 0; k < n; ++k) sum += std::conj(widen(q[k + i * ldq])) * widen(q[k + j * ldq]);
      if (i == j) sum -= W(1);
      r[i + j * n] = sum;
      r[j + i * n] = std::conj(sum);
    }
  return capped(one_norm(r, n) / (W(n) * eps_of<T>()));
}
}  // namespace vrx_band_test
