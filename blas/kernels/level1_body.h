// Level-1 kernel bodies on unit-stride vectors, written once over the element type and
// compiled in each class folder with that class's vector width (see vrx_simd.h).
// The strided cases and the published argument rules live in the callers.
#pragma once
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

template <typename T>
constexpr vrx_level1_kernels<T> l1_table() {
  return {l1_dot<T>, l1_sumsq<T>, l1_axpy<T>, l1_scal<T>, l1_copy<T>, l1_swap<T>, l1_rot<T>, l1_iamax<T>};
}
}  // namespace

// Defines the level-1 tables of one class, for both element types.
#define VRX_LEVEL1_TABLES(cls)                                                  \
  const vrx_level1_kernels<double> vrx_blas_level1_d_##cls = l1_table<double>(); \
  const vrx_level1_kernels<float> vrx_blas_level1_s_##cls = l1_table<float>();
