// Level-2 kernel bodies, written once over the element type and compiled in each class
// folder with that class's vector width (see vrx_simd.h). Column-major A; beta and the
// published argument rules are handled by the callers.
#pragma once
#include "blas/kernels/vrx_simd.h"
#include "blas/vrx_level12.h"

namespace {
// Both GEMV forms stream many columns of A at once, one cache line of each per step, with
// a software prefetch a few lines ahead on every column: one core needs more misses in
// flight than its hardware prefetchers open for a product this memory bound.
constexpr int l2_columns = 16;  // columns per pass over y, N form
// Columns per pass of the transposed form. For a matrix beyond the caches, many (more
// streams in flight; twelve at 32 bytes, where sixteen accumulators spill and cost more
// than the extra stream gains); else as many as keep their accumulators and the x
// vectors in registers (16 registers below AVX-512, 32 with it).
constexpr int l2_columns_t_streaming = VRX_VEC_BYTES == 32 ? 12 : 16;
constexpr int l2_columns_t_cached = VRX_VEC_BYTES >= 64 ? 16 : 8;
constexpr long l2_streaming_bytes = 1L << 20;
constexpr int l2_prefetch_n_bytes = 512;    // distance ahead on each column, N form
constexpr int l2_prefetch_t_bytes = 768;    // distance ahead on each column, transposed form

template <typename T>
constexpr int l2_line = 64 / static_cast<int>(sizeof(T));  // elements per cache line

// The rows of y at i that one W holds (W a vector, or one element) += sum of v[q] c[q][i]
// over NC columns. The element tail does lane for lane what the vector steps do, so a
// row's result does not depend on where it falls (and so not on a thread split).
template <int NC, typename W, typename T>
inline void l2_n_rows(T* y, const T* const* c, const W* v, vrx_int i) {
  W y0 = vrx_load<W>(y + i);
  if constexpr (NC == 1) {
    y0 += v[0] * vrx_load<W>(c[0] + i);
  } else {
    W z = {};
    for (int q = 0; q < NC; q += 2) {
      y0 += v[q] * vrx_load<W>(c[q] + i);
      z += v[q + 1] * vrx_load<W>(c[q + 1] + i);
    }
    y0 += z;
  }
  vrx_store(y + i, y0);
}

// y[0:m] += sum of t[q] c[q][0:m] over the NC columns c[0], ..., c[NC - 1].
template <int NC, typename T>
void l2_gemv_n_pass(vrx_int m, const T* const* c, const T* t, T* y) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>, line = l2_line<T>, ahead = l2_prefetch_n_bytes / static_cast<int>(sizeof(T));
  V v[NC];
  for (int q = 0; q < NC; ++q) v[q] = vrx_splat<V>(t[q]);
  vrx_int i = 0;
  for (; i + line <= m; i += line) {
    for (int q = 0; q < NC; ++q) __builtin_prefetch(c[q] + i + ahead, 0, 3);
    for (int u = 0; u < line; u += L) l2_n_rows<NC>(y, c, v, i + u);
  }
  for (; i < m; ++i) l2_n_rows<NC>(y, c, t, i);
}

// y[0:m] += alpha A x, y with unit stride, x with stride incx (already at its first element).
template <typename T>
void l2_gemv_n(vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, vrx_int incx, T* y) {
  vrx_int j = 0;
  // Sixteen columns per pass over y: y moves through the cache once per sixteen columns.
  for (; j + l2_columns <= n; j += l2_columns) {
    const T* c[l2_columns];
    T t[l2_columns];
    for (int q = 0; q < l2_columns; ++q) {
      c[q] = a + (j + q) * lda;
      t[q] = alpha * x[(j + q) * incx];
    }
    l2_gemv_n_pass<l2_columns>(m, c, t, y);
  }
  for (; j < n; ++j) {
    const T* c = a + j * lda;
    const T t = alpha * x[j * incx];
    l2_gemv_n_pass<1>(m, &c, &t, y);
  }
}

// r[q] = c[q][0:m]^T x for NC columns, one accumulator per column fed once per cache
// line (a partial sum over the line first). Every column gets the same sequence of
// operations whatever NC is, so the choice of NC never changes a result.
template <int NC, typename T>
void l2_gemv_t_pass(vrx_int m, const T* const* c, const T* x, T* r) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>, U = l2_line<T> / L, ahead = l2_prefetch_t_bytes / static_cast<int>(sizeof(T));
  V s[NC];
  for (int q = 0; q < NC; ++q) s[q] = V{};
  vrx_int i = 0;
  for (; i + U * L <= m; i += U * L) {
    for (int q = 0; q < NC; ++q) __builtin_prefetch(c[q] + i + ahead, 0, 3);
    V xu[U];
    for (int u = 0; u < U; ++u) xu[u] = vrx_load<V>(x + i + u * L);
    for (int q = 0; q < NC; ++q) {
      if constexpr (U == 1) {
        s[q] += vrx_load<V>(c[q] + i) * xu[0];
      } else {
        V t = vrx_load<V>(c[q] + i) * xu[0];
        for (int u = 1; u < U; ++u) t += vrx_load<V>(c[q] + i + u * L) * xu[u];
        s[q] += t;
      }
    }
  }
  for (int q = 0; q < NC; ++q) {
    T sum = vrx_hsum<T>(s[q]);
    for (vrx_int k = i; k < m; ++k) sum += c[q][k] * x[k];
    r[q] = sum;
  }
}

// Columns [j, n) in passes of NC: y[j * incy] += alpha A(:, j)^T x. Returns the first
// column left over.
template <int NC, typename T>
vrx_int l2_gemv_t_columns(vrx_int j, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, T* y,
                          vrx_int incy) {
  for (; j + NC <= n; j += NC) {
    const T* c[NC];
    T r[NC];
    for (int q = 0; q < NC; ++q) c[q] = a + (j + q) * lda;
    l2_gemv_t_pass<NC>(m, c, x, r);
    for (int q = 0; q < NC; ++q) y[(j + q) * incy] += alpha * r[q];
  }
  return j;
}

// y[j * incy] += alpha A(:, j)^T x for each column, x with unit stride.
template <typename T>
void l2_gemv_t(vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, T* y, vrx_int incy) {
  const bool streaming = static_cast<long>(sizeof(T)) * m * n >= l2_streaming_bytes;
  vrx_int j = streaming ? l2_gemv_t_columns<l2_columns_t_streaming>(0, m, n, alpha, a, lda, x, y, incy)
                        : l2_gemv_t_columns<l2_columns_t_cached>(0, m, n, alpha, a, lda, x, y, incy);
  l2_gemv_t_columns<1>(j, m, n, alpha, a, lda, x, y, incy);
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
