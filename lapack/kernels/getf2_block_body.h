// The GETF2 block kernel over the vector width of one class folder (VRX_VEC_BYTES, see
// blas/kernels/vrx_simd.h), for real data and for complex data held as interleaved
// (re, im) pairs of the real type. One pass over the rows per column: the multipliers
// are scaled, the block's columns to the right take the rank-one update, and the next
// column's pivot (first largest |re| + |im|) is found on the way, so that the block is
// read once per column instead of three times.
#pragma once
#include <cfloat>
#include <cstdint>

#include "blas/kernels/level1_body.h"
#include "lapack/lu/vrx_getf2_kernels.h"

namespace {
template <typename R>
struct getf2_lanes;
template <>
struct getf2_lanes<double> {
  typedef std::int64_t index;
  static constexpr double sfmin = DBL_MIN;
};
template <>
struct getf2_lanes<float> {
  typedef std::int32_t index;
  static constexpr float sfmin = FLT_MIN;
};

template <typename R>
using getf2_index_vec = typename getf2_lanes<R>::index __attribute__((vector_size(VRX_VEC_BYTES)));

// Running first-largest search: per lane the largest magnitude and its row; ties keep
// the earlier row. Parts: 1 for real data, 2 for complex (a pair of lanes is one row).
template <typename R, int Parts>
struct getf2_search {
  vrx_vec_t<R> best;
  getf2_index_vec<R> row;
};

template <typename R, int Parts>
inline void getf2_search_start(getf2_search<R, Parts>* s) {
  s->best = vrx_splat<vrx_vec_t<R>>(R(-1));
  s->row = getf2_index_vec<R>{} + typename getf2_lanes<R>::index(-1);
}

// |re| + |im| of each row of the register, in both lanes of a complex pair.
template <typename R, int Parts>
inline vrx_vec_t<R> getf2_magnitudes(vrx_vec_t<R> x) {
  const vrx_vec_t<R> magnitude = vrx_vabs(x);
  if constexpr (Parts == 1)
    return magnitude;
  else
    return magnitude + l1_swap_pairs<R>(magnitude);
}

// The register of rows from `row` on.
template <typename R, int Parts>
inline void getf2_search_step(getf2_search<R, Parts>* s, vrx_vec_t<R> x, vrx_int row) {
  getf2_index_vec<R> rows = {};
  for (int l = 0; l < vrx_lanes<R>; ++l) rows[l] = static_cast<typename getf2_lanes<R>::index>(row + l / Parts);
  const vrx_vec_t<R> magnitude = getf2_magnitudes<R, Parts>(x);
  const auto larger = magnitude > s->best;
  s->best = larger ? magnitude : s->best;
  s->row = larger ? rows : s->row;
}

// The first row of the largest magnitude over the lanes and the scalar rows [tail, end)
// of x; `first` when every entry is NaN.
template <typename R, int Parts>
inline vrx_int getf2_search_finish(const getf2_search<R, Parts>* s, const R* x, vrx_int tail, vrx_int end,
                                   vrx_int first) {
  R best = -1;
  vrx_int row = first;
  for (int l = 0; l < vrx_lanes<R>; ++l)
    if (s->row[l] >= 0 && (s->best[l] > best || (s->best[l] == best && s->row[l] < row))) {
      best = s->best[l];
      row = s->row[l];
    }
  for (vrx_int i = tail; i < end; ++i) {
    R magnitude = vrx_abs(x[Parts * i]);
    if constexpr (Parts == 2) magnitude += vrx_abs(x[2 * i + 1]);
    if (magnitude > best) {
      best = magnitude;
      row = i;
    }
  }
  return row;
}

// Rows per register.
template <typename R, int Parts>
constexpr int getf2_rows = vrx_lanes<R> / Parts;

// Pivot of rows [from, m) of column x, the first of largest magnitude.
template <typename R, int Parts>
vrx_int getf2_first_largest(vrx_int from, vrx_int m, const R* x) {
  constexpr int rows = getf2_rows<R, Parts>;
  getf2_search<R, Parts> s;
  getf2_search_start(&s);
  vrx_int i = from;
  for (; i + rows <= m; i += rows) getf2_search_step(&s, vrx_load<vrx_vec_t<R>>(x + Parts * i), i);
  return getf2_search_finish(&s, x, i, m, from);
}

// A scalar of T's kind as a pair of reals (the imaginary part 0 for real data).
template <typename R>
struct getf2_scalar {
  R re, im;
};

// s x, on a register (complex: s.re x + (-s.im, s.im) swap(x)) and on one row.
template <typename R, int Parts>
inline vrx_vec_t<R> getf2_times(getf2_scalar<R> s, vrx_vec_t<R> x) {
  if constexpr (Parts == 1)
    return vrx_splat<vrx_vec_t<R>>(s.re) * x;
  else
    return vrx_splat<vrx_vec_t<R>>(s.re) * x + l1_signed_pairs<R>(s.im) * l1_swap_pairs<R>(x);
}
template <typename R, int Parts>
inline getf2_scalar<R> getf2_times(getf2_scalar<R> s, const R* x) {
  if constexpr (Parts == 1)
    return {s.re * x[0], 0};
  else
    return {s.re * x[0] - s.im * x[1], s.re * x[1] + s.im * x[0]};
}

// x / y for a divisor below the safe minimum; the complex quotient is scaled by the
// larger part of the divisor.
template <typename R, int Parts>
inline void getf2_divide(R* x, getf2_scalar<R> y) {
  if constexpr (Parts == 1) {
    x[0] /= y.re;
  } else if (vrx_abs(y.re) >= vrx_abs(y.im)) {
    const R ratio = y.im / y.re, d = y.re + y.im * ratio;
    const R re = (x[0] + x[1] * ratio) / d, im = (x[1] - x[0] * ratio) / d;
    x[0] = re;
    x[1] = im;
  } else {
    const R ratio = y.re / y.im, d = y.re * ratio + y.im;
    const R re = (x[0] * ratio + x[1]) / d, im = (x[1] * ratio - x[0]) / d;
    x[0] = re;
    x[1] = im;
  }
}

template <typename R, int Parts>
inline getf2_scalar<R> getf2_reciprocal(getf2_scalar<R> y) {
  if constexpr (Parts == 1) return {R(1) / y.re, 0};
  R one[2] = {1, 0};
  getf2_divide<R, Parts>(one, y);
  return {one[0], one[1]};
}

// a is column-major with leading dimension lda in elements of Parts reals each.
template <typename R, int Parts>
vrx_int getf2_block_body(vrx_int m, R* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb, vrx_int info) {
  typedef vrx_vec_t<R> V;
  constexpr int rows = getf2_rows<R, Parts>;
  const vrx_int ld = Parts * lda, end = j + jb;
  vrx_int p = getf2_first_largest<R, Parts>(j, m, a + j * ld);
  for (vrx_int k = j; k < end; ++k) {
    R* column = a + k * ld;
    ipiv[k] = p + 1;
    const bool zero = column[Parts * p] == 0 && (Parts == 1 || column[Parts * p + 1] == 0);
    if (!zero && p != k)
      for (vrx_int c = j; c < end; ++c)
        for (int part = 0; part < Parts; ++part) {
          R* x = a + c * ld + part;
          const R t = x[Parts * k];
          x[Parts * k] = x[Parts * p];
          x[Parts * p] = t;
        }
    if (zero && info == 0) info = k + 1;
    if (k + 1 >= m) break;  // the last row: nothing below, no later column (jb <= m - j)

    // The multipliers: by the reciprocal, or first divided below the safe minimum.
    const getf2_scalar<R> pivot = {column[Parts * k], Parts == 2 ? column[Parts * k + 1] : R(0)};
    R modulus = vrx_abs(pivot.re);
    if constexpr (Parts == 2) modulus = __builtin_hypot(pivot.re, pivot.im);
    const bool scale = !zero && modulus >= getf2_lanes<R>::sfmin;
    if (!zero && !scale)
      for (vrx_int i = k + 1; i < m; ++i) getf2_divide<R, Parts>(column + Parts * i, pivot);
    const getf2_scalar<R> r = scale ? getf2_reciprocal<R, Parts>(pivot) : getf2_scalar<R>{1, 0};
    getf2_scalar<R> u[vrx_getf2_block_columns];
    R* right[vrx_getf2_block_columns];
    int updated = 0;
    for (vrx_int c = k + 1; c < end; ++c) {
      R* x = a + c * ld + Parts * k;
      right[updated] = a + c * ld;
      u[updated++] = {-x[0], Parts == 2 ? -x[1] : R(0)};
    }
    // The next column is updated first in each row chunk, so that its search sees the
    // new values; the others follow. A zero u leaves its column alone, as published.
    const bool search = k + 1 < end;
    getf2_search<R, Parts> s;
    getf2_search_start(&s);
    vrx_int i = k + 1;
    for (; i + rows <= m; i += rows) {
      V l = vrx_load<V>(column + Parts * i);
      if (scale) {
        l = getf2_times<R, Parts>(r, l);
        vrx_store(column + Parts * i, l);
      }
      for (int c = 0; c < updated; ++c) {
        if (u[c].re == 0 && u[c].im == 0) continue;
        R* y = right[c] + Parts * i;
        vrx_store(y, vrx_load<V>(y) + getf2_times<R, Parts>(u[c], l));
      }
      if (search) getf2_search_step(&s, vrx_load<V>(right[0] + Parts * i), i);
    }
    const vrx_int tail = i;
    for (; i < m; ++i) {
      R* x = column + Parts * i;
      if (scale) {
        const getf2_scalar<R> l = getf2_times<R, Parts>(r, x);
        x[0] = l.re;
        if constexpr (Parts == 2) x[1] = l.im;
      }
      for (int c = 0; c < updated; ++c) {
        if (u[c].re == 0 && u[c].im == 0) continue;
        const getf2_scalar<R> t = getf2_times<R, Parts>(u[c], x);
        R* y = right[c] + Parts * i;
        y[0] += t.re;
        if constexpr (Parts == 2) y[1] += t.im;
      }
    }
    if (search) p = getf2_search_finish(&s, right[0], tail, m, k + 1);
  }
  return info;
}
}  // namespace

// The published kernels of one class folder: VRX_GETF2_BLOCK_KERNELS(avx2) defines
// vrx_lapack_sgetf2_block_avx2, vrx_lapack_dgetf2_block_avx2 and the complex pair.
#define VRX_GETF2_BLOCK_KERNELS(cls)                                                                                \
  vrx_int vrx_lapack_sgetf2_block_##cls(vrx_int m, float* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,    \
                                        vrx_int info) {                                                             \
    return getf2_block_body<float, 1>(m, a, lda, ipiv, j, jb, info);                                                \
  }                                                                                                                 \
  vrx_int vrx_lapack_dgetf2_block_##cls(vrx_int m, double* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,   \
                                        vrx_int info) {                                                             \
    return getf2_block_body<double, 1>(m, a, lda, ipiv, j, jb, info);                                               \
  }                                                                                                                 \
  vrx_int vrx_lapack_cgetf2_block_##cls(vrx_int m, vrx_complex_float* a, vrx_int lda, vrx_int* ipiv, vrx_int j,    \
                                        vrx_int jb, vrx_int info) {                                                 \
    return getf2_block_body<float, 2>(m, &a->re, lda, ipiv, j, jb, info);                                           \
  }                                                                                                                 \
  vrx_int vrx_lapack_zgetf2_block_##cls(vrx_int m, vrx_complex_double* a, vrx_int lda, vrx_int* ipiv, vrx_int j,   \
                                        vrx_int jb, vrx_int info) {                                                 \
    return getf2_block_body<double, 2>(m, &a->re, lda, ipiv, j, jb, info);                                          \
  }
