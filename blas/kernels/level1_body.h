// Level-1 kernel bodies on unit-stride vectors, written once over the element type and
// compiled in each class folder with that class's vector width (see vrx_simd.h).
// The strided cases and the published argument rules live in the callers.
// Complex vectors are handled as interleaved (re, im) pairs of the real type: a product
// by a complex scalar is a real product plus one by the pair-swapped vector with signs.
#pragma once
#include <utility>
#include "blas/kernels/vrx_simd.h"
#include "blas/vrx_level12.h"

namespace {
template <typename T>
T l1_dot(vrx_int n, const T* x, const T* y) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  V s0 = {}, s1 = {}, s2 = {}, s3 = {};
  vrx_int i = 0;
  for (; i + 4 * L <= n; i += 4 * L) {
    s0 += vrx_load<V>(x + i) * vrx_load<V>(y + i);
    s1 += vrx_load<V>(x + i + L) * vrx_load<V>(y + i + L);
    s2 += vrx_load<V>(x + i + 2 * L) * vrx_load<V>(y + i + 2 * L);
    s3 += vrx_load<V>(x + i + 3 * L) * vrx_load<V>(y + i + 3 * L);
  }
  for (; i + L <= n; i += L) s0 += vrx_load<V>(x + i) * vrx_load<V>(y + i);
  T s = vrx_hsum<T>((s0 + s1) + (s2 + s3));
  for (; i < n; ++i) s += x[i] * y[i];
  return s;
}

template <typename T>
T l1_sumsq(vrx_int n, const T* x) {
  return l1_dot<T>(n, x, x);
}

template <typename T>
void l1_axpy(vrx_int n, T alpha, const T* x, T* y) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  const V a = vrx_splat<V>(alpha);
  vrx_int i = 0;
  for (; i + 2 * L <= n; i += 2 * L) {
    const V y0 = vrx_load<V>(y + i) + a * vrx_load<V>(x + i);
    const V y1 = vrx_load<V>(y + i + L) + a * vrx_load<V>(x + i + L);
    vrx_store(y + i, y0);
    vrx_store(y + i + L, y1);
  }
  for (; i + L <= n; i += L) vrx_store(y + i, vrx_load<V>(y + i) + a * vrx_load<V>(x + i));
  for (; i < n; ++i) y[i] += alpha * x[i];
}

template <typename T>
void l1_scal(vrx_int n, T alpha, T* x) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  const V a = vrx_splat<V>(alpha);
  vrx_int i = 0;
  for (; i + L <= n; i += L) vrx_store(x + i, a * vrx_load<V>(x + i));
  for (; i < n; ++i) x[i] *= alpha;
}

template <typename T>
void l1_copy(vrx_int n, const T* x, T* y) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  vrx_int i = 0;
  for (; i + 4 * L <= n; i += 4 * L) {
    const V v0 = vrx_load<V>(x + i), v1 = vrx_load<V>(x + i + L);
    const V v2 = vrx_load<V>(x + i + 2 * L), v3 = vrx_load<V>(x + i + 3 * L);
    vrx_store(y + i, v0);
    vrx_store(y + i + L, v1);
    vrx_store(y + i + 2 * L, v2);
    vrx_store(y + i + 3 * L, v3);
  }
  for (; i + L <= n; i += L) vrx_store(y + i, vrx_load<V>(x + i));
  for (; i < n; ++i) y[i] = x[i];
}

template <typename T>
void l1_swap(vrx_int n, T* x, T* y) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  vrx_int i = 0;
  for (; i + L <= n; i += L) {
    const V a = vrx_load<V>(x + i), b = vrx_load<V>(y + i);
    vrx_store(x + i, b);
    vrx_store(y + i, a);
  }
  for (; i < n; ++i) {
    const T t = x[i];
    x[i] = y[i];
    y[i] = t;
  }
}

template <typename T>
void l1_rot(vrx_int n, T* x, T* y, T c, T s) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  const V vc = vrx_splat<V>(c), vs = vrx_splat<V>(s);
  vrx_int i = 0;
  for (; i + L <= n; i += L) {
    const V a = vrx_load<V>(x + i), b = vrx_load<V>(y + i);
    vrx_store(x + i, vc * a + vs * b);
    vrx_store(y + i, vc * b - vs * a);
  }
  for (; i < n; ++i) {
    const T a = x[i], b = y[i];
    x[i] = c * a + s * b;
    y[i] = c * b - s * a;
  }
}

// Index (from 0) of the first element of largest magnitude. A NaN is never larger
// than anything, except in the first place, which then wins.
template <typename T>
vrx_int l1_iamax(vrx_int n, const T* x) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  T best = vrx_abs(x[0]);
  if (best != best) return 0;
  V m = vrx_splat<V>(best);
  vrx_int i = 1;
  for (; i + L <= n; i += L) {
    const V a = vrx_vabs(vrx_load<V>(x + i));
    m = a > m ? a : m;
  }
  for (int k = 0; k < L; ++k) best = m[k] > best ? m[k] : best;
  for (; i < n; ++i) best = vrx_abs(x[i]) > best ? vrx_abs(x[i]) : best;
  for (vrx_int k = 0; k < n; ++k)
    if (vrx_abs(x[k]) == best) return k;
  return 0;
}

// ---- complex vectors as interleaved real pairs ----
template <typename V, std::size_t... I>
inline V l1_swap_pairs_lanes(V v, std::index_sequence<I...>) {
  return __builtin_shufflevector(v, v, (I ^ 1)...);
}
// (a, b, c, d, ...) -> (b, a, d, c, ...).
template <typename R>
inline vrx_vec_t<R> l1_swap_pairs(vrx_vec_t<R> v) {
  static_assert(vrx_lanes<R> % 2 == 0, "complex kernels need whole pairs per register");
  return l1_swap_pairs_lanes(v, std::make_index_sequence<vrx_lanes<R>>());
}
// (-s, s, -s, s, ...): the signed imaginary part of a scalar, against swapped pairs.
template <typename R>
inline vrx_vec_t<R> l1_signed_pairs(R s) {
  vrx_vec_t<R> v = {};
  for (int k = 0; k < vrx_lanes<R>; ++k) v[k] = k % 2 ? s : -s;
  return v;
}
// Sums of the even lanes (real parts) and of the odd lanes (imaginary parts).
template <typename R>
inline R l1_sum_even(vrx_vec_t<R> v) {
  R s = 0;
  for (int k = 0; k < vrx_lanes<R>; k += 2) s += v[k];
  return s;
}
template <typename R>
inline R l1_sum_odd(vrx_vec_t<R> v) {
  R s = 0;
  for (int k = 1; k < vrx_lanes<R>; k += 2) s += v[k];
  return s;
}
// The complex dot from p = x y and q = x swap(y) lane by lane (x conjugated with Conj).
template <typename R, bool Conj>
inline vrx_complex<R> l1_dot_of_lanes(vrx_vec_t<R> p, vrx_vec_t<R> q) {
  if (Conj) return {l1_sum_even<R>(p) + l1_sum_odd<R>(p), l1_sum_even<R>(q) - l1_sum_odd<R>(q)};
  return {l1_sum_even<R>(p) - l1_sum_odd<R>(p), l1_sum_even<R>(q) + l1_sum_odd<R>(q)};
}

template <typename R>
inline vrx_complex<R> l1_cmul(vrx_complex<R> a, vrx_complex<R> b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

// sum of x_i y_i, or of conj(x_i) y_i. Per register: p = x y lane by lane and
// q = x swap(y), whose pair sums give the real and imaginary parts.
template <typename R, bool Conj>
vrx_complex<R> l1c_dot(vrx_int n, const vrx_complex<R>* x, const vrx_complex<R>* y) {
  typedef vrx_vec_t<R> V;
  constexpr int L = vrx_lanes<R>, P = L / 2;  // P complex elements per register
  const R* xr = &x->re;
  const R* yr = &y->re;
  V p0 = {}, p1 = {}, q0 = {}, q1 = {};
  vrx_int i = 0;
  for (; i + 2 * P <= n; i += 2 * P) {
    const V x0 = vrx_load<V>(xr + 2 * i), x1 = vrx_load<V>(xr + 2 * i + L);
    const V y0 = vrx_load<V>(yr + 2 * i), y1 = vrx_load<V>(yr + 2 * i + L);
    p0 += x0 * y0;
    p1 += x1 * y1;
    q0 += x0 * l1_swap_pairs<R>(y0);
    q1 += x1 * l1_swap_pairs<R>(y1);
  }
  for (; i + P <= n; i += P) {
    const V x0 = vrx_load<V>(xr + 2 * i), y0 = vrx_load<V>(yr + 2 * i);
    p0 += x0 * y0;
    q0 += x0 * l1_swap_pairs<R>(y0);
  }
  const V p = p0 + p1, q = q0 + q1;
  const vrx_complex<R> lanes = l1_dot_of_lanes<R, Conj>(p, q);
  R re = lanes.re, im = lanes.im;
  for (; i < n; ++i) {
    const R a = x[i].re, b = Conj ? -x[i].im : x[i].im;
    re += a * y[i].re - b * y[i].im;
    im += a * y[i].im + b * y[i].re;
  }
  return {re, im};
}

template <typename R>
R l1c_sumsq(vrx_int n, const vrx_complex<R>* x) {
  return l1_dot<R>(2 * n, &x->re, &x->re);
}

// y += alpha x (or x := alpha x when Scale): alpha.re x + (-alpha.im, alpha.im) swap(x).
template <typename R>
void l1c_axpy(vrx_int n, vrx_complex<R> alpha, const vrx_complex<R>* x, vrx_complex<R>* y) {
  typedef vrx_vec_t<R> V;
  constexpr int L = vrx_lanes<R>, P = L / 2;
  const V ar = vrx_splat<V>(alpha.re), ai = l1_signed_pairs<R>(alpha.im);
  const R* xr = &x->re;
  R* yr = &y->re;
  vrx_int i = 0;
  for (; i + 2 * P <= n; i += 2 * P) {
    const V x0 = vrx_load<V>(xr + 2 * i), x1 = vrx_load<V>(xr + 2 * i + L);
    const V y0 = vrx_load<V>(yr + 2 * i) + (ar * x0 + ai * l1_swap_pairs<R>(x0));
    const V y1 = vrx_load<V>(yr + 2 * i + L) + (ar * x1 + ai * l1_swap_pairs<R>(x1));
    vrx_store(yr + 2 * i, y0);
    vrx_store(yr + 2 * i + L, y1);
  }
  for (; i + P <= n; i += P) {
    const V x0 = vrx_load<V>(xr + 2 * i);
    vrx_store(yr + 2 * i, vrx_load<V>(yr + 2 * i) + (ar * x0 + ai * l1_swap_pairs<R>(x0)));
  }
  for (; i < n; ++i) {
    const vrx_complex<R> t = l1_cmul(alpha, x[i]);
    y[i].re += t.re;
    y[i].im += t.im;
  }
}

template <typename R>
void l1c_scal(vrx_int n, vrx_complex<R> alpha, vrx_complex<R>* x) {
  typedef vrx_vec_t<R> V;
  constexpr int P = vrx_lanes<R> / 2;
  const V ar = vrx_splat<V>(alpha.re), ai = l1_signed_pairs<R>(alpha.im);
  R* xr = &x->re;
  vrx_int i = 0;
  for (; i + P <= n; i += P) {
    const V x0 = vrx_load<V>(xr + 2 * i);
    vrx_store(xr + 2 * i, ar * x0 + ai * l1_swap_pairs<R>(x0));
  }
  for (; i < n; ++i) x[i] = l1_cmul(alpha, x[i]);
}

template <typename R>
void l1c_copy(vrx_int n, const vrx_complex<R>* x, vrx_complex<R>* y) {
  l1_copy<R>(2 * n, &x->re, &y->re);
}

template <typename R>
void l1c_swap(vrx_int n, vrx_complex<R>* x, vrx_complex<R>* y) {
  l1_swap<R>(2 * n, &x->re, &y->re);
}

// A real rotation acts on real and imaginary parts alike.
template <typename R>
void l1c_rot(vrx_int n, vrx_complex<R>* x, vrx_complex<R>* y, R c, R s) {
  l1_rot<R>(2 * n, &x->re, &y->re, c, s);
}

// First element of largest |re| + |im| (each lane pair summed in the register holds the
// same value as the scalar sum); a NaN wins only in the first place.
template <typename R>
vrx_int l1c_iamax(vrx_int n, const vrx_complex<R>* x) {
  typedef vrx_vec_t<R> V;
  constexpr int L = vrx_lanes<R>, P = L / 2;
  auto abs1 = [x](vrx_int k) { return vrx_abs(x[k].re) + vrx_abs(x[k].im); };
  R best = abs1(0);
  if (best != best) return 0;
  V m = vrx_splat<V>(best);
  const R* xr = &x->re;
  vrx_int i = 1;
  for (; i + P <= n; i += P) {
    const V a = vrx_vabs(vrx_load<V>(xr + 2 * i));
    const V s = a + l1_swap_pairs<R>(a);
    m = s > m ? s : m;
  }
  for (int k = 0; k < L; k += 2) best = m[k] > best ? m[k] : best;
  for (; i < n; ++i) best = abs1(i) > best ? abs1(i) : best;
  for (vrx_int k = 0; k < n; ++k)
    if (abs1(k) == best) return k;
  return 0;
}

template <typename T>
constexpr vrx_level1_kernels<T> l1_table() {
  return {l1_dot<T>, l1_dot<T>, l1_sumsq<T>, l1_axpy<T>, l1_scal<T>, l1_copy<T>, l1_swap<T>, l1_rot<T>, l1_iamax<T>};
}

template <typename R>
constexpr vrx_level1_kernels<vrx_complex<R>> l1c_table() {
  return {l1c_dot<R, false>, l1c_dot<R, true>, l1c_sumsq<R>, l1c_axpy<R>, l1c_scal<R>,
          l1c_copy<R>,       l1c_swap<R>,      l1c_rot<R>,   l1c_iamax<R>};
}
}  // namespace

// Defines the level-1 tables of one class, for the four element types.
#define VRX_LEVEL1_TABLES(cls)                                                                    \
  const vrx_level1_kernels<double> vrx_blas_level1_d_##cls = l1_table<double>();                   \
  const vrx_level1_kernels<float> vrx_blas_level1_s_##cls = l1_table<float>();                     \
  const vrx_level1_kernels<vrx_complex_float> vrx_blas_level1_c_##cls = l1c_table<float>();        \
  const vrx_level1_kernels<vrx_complex_double> vrx_blas_level1_z_##cls = l1c_table<double>();
