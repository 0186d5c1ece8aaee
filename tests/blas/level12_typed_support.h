// Helpers of the typed level-1/2 tests over S, D, C and Z: a wider type for references
// (double for S and C, long double for D and Z), random data, and error bounds in the
// precision under test.
#pragma once
#include <cmath>
#include <complex>
#include <limits>
#include <vector>
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

template <typename T>
struct level12_wide;
template <>
struct level12_wide<float> {
  typedef double type;
};
template <>
struct level12_wide<double> {
  typedef long double type;
};
template <>
struct level12_wide<vrx_complex_float> {
  typedef std::complex<double> type;
};
template <>
struct level12_wide<vrx_complex_double> {
  typedef std::complex<long double> type;
};
template <typename T>
using wide_t = typename level12_wide<T>::type;

template <typename T>
wide_t<T> widen(T v) {
  if constexpr (vrx_is_complex<T>) return wide_t<T>(v.re, v.im);
  else return static_cast<wide_t<T>>(v);
}

template <typename T>
T narrow(wide_t<T> w) {
  if constexpr (vrx_is_complex<T>) return T{static_cast<vrx_real_t<T>>(w.real()), static_cast<vrx_real_t<T>>(w.imag())};
  else return static_cast<T>(w);
}

template <typename T>
long double wide_abs(wide_t<T> w) {
  return static_cast<long double>(std::abs(w));
}

template <typename T>
wide_t<T> wide_conj(wide_t<T> w) {
  if constexpr (vrx_is_complex<T>) return std::conj(w);
  else return w;
}

template <typename T>
auto wide_real(wide_t<T> w) {
  if constexpr (vrx_is_complex<T>) return w.real();
  else return w;
}

// Components uniform in [-1, 1) from a small linear congruential stream.
template <typename T>
T random_value(unsigned& state) {
  auto next = [&state] {
    state = state * 1664525u + 1013904223u;
    return static_cast<vrx_real_t<T>>(static_cast<double>(state >> 8) / 8388608.0 - 1.0);
  };
  if constexpr (vrx_is_complex<T>) {
    const auto re = next();
    return T{re, next()};
  } else {
    return next();
  }
}

template <typename T>
std::vector<T> random_vector(std::size_t count, unsigned seed) {
  unsigned state = seed * 2654435761u + 7u;
  std::vector<T> v(count);
  for (auto& e : v) e = random_value<T>(state);
  return v;
}

template <typename T>
T nan_value() {
  const vrx_real_t<T> q = std::numeric_limits<vrx_real_t<T>>::quiet_NaN();
  if constexpr (vrx_is_complex<T>) return T{q, q};
  else return q;
}

template <typename T>
bool is_nan_value(T v) {
  if constexpr (vrx_is_complex<T>) return v.re != v.re || v.im != v.im;
  else return v != v;
}

template <typename T>
T make_value(double re, double im) {
  if constexpr (vrx_is_complex<T>) return T{static_cast<vrx_real_t<T>>(re), static_cast<vrx_real_t<T>>(im)};
  else return static_cast<T>(re);
}

// Unit roundoff of the precision under test.
template <typename T>
long double unit_roundoff() {
  return std::numeric_limits<vrx_real_t<T>>::epsilon() / 2;
}

// |got - want| within `factor` units of roundoff of `scale` (the sum of the magnitudes of
// the terms behind the result).
template <typename T>
bool near_wide(T got, wide_t<T> want, long double scale, long double factor) {
  const long double error = wide_abs<T>(widen(got) - want);
  return error <= factor * unit_roundoff<T>() * scale + std::numeric_limits<vrx_real_t<T>>::denorm_min();
}

// Logical element i of a vector of n elements with increment inc (negative: from the far end).
inline long strided_index(long i, long n, long inc) { return (inc < 0 ? (1 - n) * inc : 0) + i * inc; }
