// Level-2 kernel bodies, written once over the element type and compiled in each class
// folder with that class's vector width (see vrx_simd.h). Column-major A; beta and the
// published argument rules are handled by the callers.
#pragma once
#include "blas/kernels/vrx_simd.h"
#include "blas/vrx_level12.h"

namespace {
// y[0:m] += alpha A x, y with unit stride, x with stride incx (already at its first element).
template <typename T>
void l2_gemv_n(vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, vrx_int incx, T* y) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  vrx_int j = 0;
  // Eight columns per pass over y: y moves through the cache once per eight columns of A.
  for (; j + 8 <= n; j += 8) {
    V v[8];
    const T* c[8];
    T t[8];
    for (int q = 0; q < 8; ++q) {
      t[q] = alpha * x[(j + q) * incx];
      v[q] = vrx_splat<V>(t[q]);
      c[q] = a + (j + q) * lda;
    }
    vrx_int i = 0;
    for (; i + L <= m; i += L) {
      V y0 = vrx_load<V>(y + i);
      V y1 = v[0] * vrx_load<V>(c[0] + i) + v[1] * vrx_load<V>(c[1] + i);
      y0 += v[2] * vrx_load<V>(c[2] + i) + v[3] * vrx_load<V>(c[3] + i);
      y1 += v[4] * vrx_load<V>(c[4] + i) + v[5] * vrx_load<V>(c[5] + i);
      y0 += v[6] * vrx_load<V>(c[6] + i) + v[7] * vrx_load<V>(c[7] + i);
      vrx_store(y + i, y0 + y1);
    }
    for (; i < m; ++i) {
      T s = y[i];
      for (int q = 0; q < 8; ++q) s += t[q] * c[q][i];
      y[i] = s;
    }
  }
  for (; j < n; ++j) {
    const T t = alpha * x[j * incx];
    const T* aj = a + j * lda;
    const V v = vrx_splat<V>(t);
    vrx_int i = 0;
    for (; i + L <= m; i += L) vrx_store(y + i, vrx_load<V>(y + i) + v * vrx_load<V>(aj + i));
    for (; i < m; ++i) y[i] += t * aj[i];
  }
}

// y[j * incy] += alpha A(:, j)^T x for each column, x with unit stride.
template <typename T>
void l2_gemv_t(vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, T* y, vrx_int incy) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  vrx_int j = 0;
  for (; j + 4 <= n; j += 4) {
    const T *a0 = a + j * lda, *a1 = a0 + lda, *a2 = a1 + lda, *a3 = a2 + lda;
    V s0 = {}, s1 = {}, s2 = {}, s3 = {}, u0 = {}, u1 = {}, u2 = {}, u3 = {};
    vrx_int i = 0;
    for (; i + 2 * L <= m; i += 2 * L) {
      const V x0 = vrx_load<V>(x + i), x1 = vrx_load<V>(x + i + L);
      s0 += vrx_load<V>(a0 + i) * x0;
      s1 += vrx_load<V>(a1 + i) * x0;
      s2 += vrx_load<V>(a2 + i) * x0;
      s3 += vrx_load<V>(a3 + i) * x0;
      u0 += vrx_load<V>(a0 + i + L) * x1;
      u1 += vrx_load<V>(a1 + i + L) * x1;
      u2 += vrx_load<V>(a2 + i + L) * x1;
      u3 += vrx_load<V>(a3 + i + L) * x1;
    }
    T r0 = vrx_hsum<T>(s0 + u0), r1 = vrx_hsum<T>(s1 + u1), r2 = vrx_hsum<T>(s2 + u2), r3 = vrx_hsum<T>(s3 + u3);
    for (; i < m; ++i) {
      r0 += a0[i] * x[i];
      r1 += a1[i] * x[i];
      r2 += a2[i] * x[i];
      r3 += a3[i] * x[i];
    }
    y[j * incy] += alpha * r0;
    y[(j + 1) * incy] += alpha * r1;
    y[(j + 2) * incy] += alpha * r2;
    y[(j + 3) * incy] += alpha * r3;
  }
  for (; j < n; ++j) {
    const T* aj = a + j * lda;
    V s = {};
    vrx_int i = 0;
    for (; i + L <= m; i += L) s += vrx_load<V>(aj + i) * vrx_load<V>(x + i);
    T r = vrx_hsum<T>(s);
    for (; i < m; ++i) r += aj[i] * x[i];
    y[j * incy] += alpha * r;
  }
}

// y += alpha a and, in the same pass, the dot product of a and x (the two halves of a
// symmetric product's column step).
template <typename T>
T l2_axpy_dot(vrx_int n, T alpha, const T* a, const T* x, T* y) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  const V va = vrx_splat<V>(alpha);
  V s0 = {}, s1 = {};
  vrx_int i = 0;
  for (; i + 2 * L <= n; i += 2 * L) {
    const V c0 = vrx_load<V>(a + i), c1 = vrx_load<V>(a + i + L);
    vrx_store(y + i, vrx_load<V>(y + i) + va * c0);
    vrx_store(y + i + L, vrx_load<V>(y + i + L) + va * c1);
    s0 += c0 * vrx_load<V>(x + i);
    s1 += c1 * vrx_load<V>(x + i + L);
  }
  T s = vrx_hsum<T>(s0 + s1);
  for (; i < n; ++i) {
    y[i] += alpha * a[i];
    s += a[i] * x[i];
  }
  return s;
}

template <typename T>
constexpr vrx_level2_kernels<T> l2_table() {
  return {l2_gemv_n<T>, l2_gemv_t<T>, l2_axpy_dot<T>};
}
}  // namespace

// Defines the level-2 tables of one class, for both element types.
#define VRX_LEVEL2_TABLES(cls)                                                  \
  const vrx_level2_kernels<double> vrx_blas_level2_d_##cls = l2_table<double>(); \
  const vrx_level2_kernels<float> vrx_blas_level2_s_##cls = l2_table<float>();
