// Level-2 kernel bodies, written once over the element type and compiled in each class
// folder with that class's vector width (see vrx_simd.h). Column-major A; beta and the
// published argument rules are handled by the callers.
// Complex data runs as interleaved (re, im) pairs with the pair helpers of the level-1
// bodies.
#pragma once
#include "blas/kernels/level1_body.h"
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

// ---- complex ----
constexpr int l2c_columns = 4;  // columns per pass, both complex forms

// y[0:m] += sum of t[q] c[q][0:m] over NC complex columns.
template <int NC, typename R>
void l2c_gemv_n_pass(vrx_int m, const vrx_complex<R>* const* c, const vrx_complex<R>* t, vrx_complex<R>* y) {
  typedef vrx_vec_t<R> V;
  constexpr int P = vrx_lanes<R> / 2;
  V tr[NC], ti[NC];
  for (int q = 0; q < NC; ++q) {
    tr[q] = vrx_splat<V>(t[q].re);
    ti[q] = l1_signed_pairs<R>(t[q].im);
  }
  R* yr = &y->re;
  vrx_int i = 0;
  for (; i + P <= m; i += P) {
    V acc = vrx_load<V>(yr + 2 * i);
    for (int q = 0; q < NC; ++q) {
      const V a = vrx_load<V>(&c[q][i].re);
      acc += tr[q] * a + ti[q] * l1_swap_pairs<R>(a);
    }
    vrx_store(yr + 2 * i, acc);
  }
  for (; i < m; ++i)
    for (int q = 0; q < NC; ++q) {
      const vrx_complex<R> p = l1_cmul(t[q], c[q][i]);
      y[i].re += p.re;
      y[i].im += p.im;
    }
}

template <typename R>
void l2c_gemv_n(vrx_int m, vrx_int n, vrx_complex<R> alpha, const vrx_complex<R>* a, vrx_int lda,
                const vrx_complex<R>* x, vrx_int incx, vrx_complex<R>* y) {
  vrx_int j = 0;
  for (; j + l2c_columns <= n; j += l2c_columns) {
    const vrx_complex<R>* c[l2c_columns];
    vrx_complex<R> t[l2c_columns];
    for (int q = 0; q < l2c_columns; ++q) {
      c[q] = a + (j + q) * lda;
      t[q] = l1_cmul(alpha, x[(j + q) * incx]);
    }
    l2c_gemv_n_pass<l2c_columns>(m, c, t, y);
  }
  for (; j < n; ++j) {
    const vrx_complex<R>* c = a + j * lda;
    const vrx_complex<R> t = l1_cmul(alpha, x[j * incx]);
    l2c_gemv_n_pass<1>(m, &c, &t, y);
  }
}

// r[q] = c[q]^T x or c[q]^H x over NC columns: per register p = c x and q = c swap(x).
template <int NC, typename R, bool Conj>
void l2c_gemv_t_pass(vrx_int m, const vrx_complex<R>* const* c, const vrx_complex<R>* x, vrx_complex<R>* r) {
  typedef vrx_vec_t<R> V;
  constexpr int P = vrx_lanes<R> / 2;
  V p[NC], q[NC];
  for (int k = 0; k < NC; ++k) p[k] = q[k] = V{};
  const R* xr = &x->re;
  vrx_int i = 0;
  for (; i + P <= m; i += P) {
    const V xv = vrx_load<V>(xr + 2 * i), xs = l1_swap_pairs<R>(xv);
    for (int k = 0; k < NC; ++k) {
      const V a = vrx_load<V>(&c[k][i].re);
      p[k] += a * xv;
      q[k] += a * xs;
    }
  }
  for (int k = 0; k < NC; ++k) {
    R re, im;
    if (Conj) {
      re = l1_sum_even<R>(p[k]) + l1_sum_odd<R>(p[k]);
      im = l1_sum_even<R>(q[k]) - l1_sum_odd<R>(q[k]);
    } else {
      re = l1_sum_even<R>(p[k]) - l1_sum_odd<R>(p[k]);
      im = l1_sum_even<R>(q[k]) + l1_sum_odd<R>(q[k]);
    }
    for (vrx_int e = i; e < m; ++e) {
      const R ar = c[k][e].re, ai = Conj ? -c[k][e].im : c[k][e].im;
      re += ar * x[e].re - ai * x[e].im;
      im += ar * x[e].im + ai * x[e].re;
    }
    r[k] = {re, im};
  }
}

template <int NC, typename R, bool Conj>
vrx_int l2c_gemv_t_columns(vrx_int j, vrx_int m, vrx_int n, vrx_complex<R> alpha, const vrx_complex<R>* a,
                           vrx_int lda, const vrx_complex<R>* x, vrx_complex<R>* y, vrx_int incy) {
  for (; j + NC <= n; j += NC) {
    const vrx_complex<R>* c[NC];
    vrx_complex<R> r[NC];
    for (int q = 0; q < NC; ++q) c[q] = a + (j + q) * lda;
    l2c_gemv_t_pass<NC, R, Conj>(m, c, x, r);
    for (int q = 0; q < NC; ++q) {
      const vrx_complex<R> t = l1_cmul(alpha, r[q]);
      y[(j + q) * incy].re += t.re;
      y[(j + q) * incy].im += t.im;
    }
  }
  return j;
}

// y[j * incy] += alpha A(:, j)^T x (or ^H), x with unit stride.
template <typename R, bool Conj>
void l2c_gemv_t(vrx_int m, vrx_int n, vrx_complex<R> alpha, const vrx_complex<R>* a, vrx_int lda,
                const vrx_complex<R>* x, vrx_complex<R>* y, vrx_int incy) {
  const vrx_int j = l2c_gemv_t_columns<l2c_columns, R, Conj>(0, m, n, alpha, a, lda, x, y, incy);
  l2c_gemv_t_columns<1, R, Conj>(j, m, n, alpha, a, lda, x, y, incy);
}

// y += alpha a and the product a^T x (or a^H x) in the same pass.
template <typename R, bool Conj>
vrx_complex<R> l2c_axpy_dot(vrx_int n, vrx_complex<R> alpha, const vrx_complex<R>* a, const vrx_complex<R>* x,
                            vrx_complex<R>* y) {
  typedef vrx_vec_t<R> V;
  constexpr int P = vrx_lanes<R> / 2;
  const V ar = vrx_splat<V>(alpha.re), ai = l1_signed_pairs<R>(alpha.im);
  V p = {}, q = {};
  R* yr = &y->re;
  vrx_int i = 0;
  for (; i + P <= n; i += P) {
    const V c = vrx_load<V>(&a[i].re), xv = vrx_load<V>(&x[i].re);
    vrx_store(yr + 2 * i, vrx_load<V>(yr + 2 * i) + (ar * c + ai * l1_swap_pairs<R>(c)));
    p += c * xv;
    q += c * l1_swap_pairs<R>(xv);
  }
  const vrx_complex<R> lanes = l1_dot_of_lanes<R, Conj>(p, q);
  R re = lanes.re, im = lanes.im;
  for (; i < n; ++i) {
    const vrx_complex<R> t = l1_cmul(alpha, a[i]);
    y[i].re += t.re;
    y[i].im += t.im;
    const R cr = a[i].re, ci = Conj ? -a[i].im : a[i].im;
    re += cr * x[i].re - ci * x[i].im;
    im += cr * x[i].im + ci * x[i].re;
  }
  return {re, im};
}

template <typename T>
constexpr vrx_level2_kernels<T> l2_table() {
  return {l2_gemv_n<T>, l2_gemv_t<T>, l2_gemv_t<T>, l2_axpy_dot<T>, l2_axpy_dot<T>};
}

template <typename R>
constexpr vrx_level2_kernels<vrx_complex<R>> l2c_table() {
  return {l2c_gemv_n<R>, l2c_gemv_t<R, false>, l2c_gemv_t<R, true>, l2c_axpy_dot<R, false>, l2c_axpy_dot<R, true>};
}
}  // namespace

// Defines the level-2 tables of one class, for the four element types.
#define VRX_LEVEL2_TABLES(cls)                                                                \
  const vrx_level2_kernels<double> vrx_blas_level2_d_##cls = l2_table<double>();               \
  const vrx_level2_kernels<float> vrx_blas_level2_s_##cls = l2_table<float>();                 \
  const vrx_level2_kernels<vrx_complex_float> vrx_blas_level2_c_##cls = l2c_table<float>();    \
  const vrx_level2_kernels<vrx_complex_double> vrx_blas_level2_z_##cls = l2c_table<double>();
