// The GETF2 block kernel of the real types over the vector width of one class folder
// (VRX_VEC_BYTES, see blas/kernels/vrx_simd.h). One pass over the rows per column: the
// multipliers are scaled, the block's columns to the right take the rank-one update,
// and the next column's pivot is found on the way (first largest magnitude), so that the
// block is read once per column instead of three times.
#pragma once
#include <cfloat>
#include <cstdint>

#include "blas/kernels/vrx_simd.h"
#include "lapack/lu/vrx_getf2_kernels.h"

namespace {
template <typename T>
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

template <typename T>
using getf2_index_vec = typename getf2_lanes<T>::index __attribute__((vector_size(VRX_VEC_BYTES)));

// Running first-largest search: per lane the largest magnitude and its row; ties keep
// the earlier row.
template <typename T>
struct getf2_search {
  vrx_vec_t<T> best;
  getf2_index_vec<T> row;
};

template <typename T>
inline void getf2_search_start(getf2_search<T>* s) {
  s->best = vrx_splat<vrx_vec_t<T>>(T(-1));
  s->row = getf2_index_vec<T>{} + typename getf2_lanes<T>::index(-1);
}

template <typename T>
inline void getf2_search_step(getf2_search<T>* s, vrx_vec_t<T> x, getf2_index_vec<T> rows) {
  const vrx_vec_t<T> magnitude = vrx_vabs(x);
  const auto larger = magnitude > s->best;
  s->best = larger ? magnitude : s->best;
  s->row = larger ? rows : s->row;
}

// The first row of the largest magnitude over the lanes and the scalar tail
// (rows [tail, end) of x, numbered from 0); `first` when every entry is NaN.
template <typename T>
inline vrx_int getf2_search_finish(const getf2_search<T>* s, const T* x, vrx_int tail, vrx_int end, vrx_int first) {
  constexpr int L = vrx_lanes<T>;
  T best = -1;
  vrx_int row = first;
  for (int l = 0; l < L; ++l)
    if (s->row[l] >= 0 && (s->best[l] > best || (s->best[l] == best && s->row[l] < row))) {
      best = s->best[l];
      row = s->row[l];
    }
  for (vrx_int i = tail; i < end; ++i) {
    const T magnitude = vrx_abs(x[i]);
    if (magnitude > best) {
      best = magnitude;
      row = i;
    }
  }
  return row;
}

template <typename T>
inline getf2_index_vec<T> getf2_lane_rows(vrx_int start) {
  getf2_index_vec<T> rows = {};
  for (int l = 0; l < vrx_lanes<T>; ++l) rows[l] = static_cast<typename getf2_lanes<T>::index>(start + l);
  return rows;
}

// Pivot of rows [from, m) of column x, the first of largest magnitude.
template <typename T>
vrx_int getf2_first_largest(vrx_int from, vrx_int m, const T* x) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  getf2_search<T> s;
  getf2_search_start(&s);
  vrx_int i = from;
  for (; i + L <= m; i += L) getf2_search_step(&s, vrx_load<V>(x + i), getf2_lane_rows<T>(i));
  return getf2_search_finish(&s, x, i, m, from);
}

template <typename T>
vrx_int getf2_block_body(vrx_int m, T* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb, vrx_int info) {
  typedef vrx_vec_t<T> V;
  constexpr int L = vrx_lanes<T>;
  const vrx_int end = j + jb;
  vrx_int p = getf2_first_largest(j, m, a + j * lda);
  for (vrx_int k = j; k < end; ++k) {
    T* column = a + k * lda;
    ipiv[k] = p + 1;
    const bool zero = column[p] == 0;
    if (!zero && p != k)
      for (vrx_int c = j; c < end; ++c) {
        T* x = a + c * lda;
        const T t = x[k];
        x[k] = x[p];
        x[p] = t;
      }
    if (zero && info == 0) info = k + 1;
    if (k + 1 >= m) break;  // the last row: nothing below, no later column (jb <= m - j)

    // The multipliers: by the reciprocal, or by division below the safe minimum.
    const T pivot = column[k];
    const bool divide = !zero && vrx_abs(pivot) < getf2_lanes<T>::sfmin;
    const T scale = zero ? T(1) : T(1) / pivot;
    T u[vrx_getf2_block_columns];
    T* right[vrx_getf2_block_columns];
    int updated = 0;
    for (vrx_int c = k + 1; c < end; ++c) {
      right[updated] = a + c * lda;
      u[updated++] = -a[c * lda + k];
    }
    // The next column is updated first in each row chunk, so that its search sees the
    // new values; the others follow. A zero u leaves its column alone, as published.
    const bool search = k + 1 < end;
    getf2_search<T> s;
    getf2_search_start(&s);
    const V vscale = vrx_splat<V>(scale), vpivot = vrx_splat<V>(pivot);
    vrx_int i = k + 1;
    for (; i + L <= m; i += L) {
      V l = vrx_load<V>(column + i);
      if (!zero) l = divide ? l / vpivot : l * vscale;
      vrx_store(column + i, l);
      for (int c = 0; c < updated; ++c) {
        if (u[c] == 0) continue;
        vrx_store(right[c] + i, vrx_load<V>(right[c] + i) + l * vrx_splat<V>(u[c]));
      }
      if (search) getf2_search_step(&s, vrx_load<V>(right[0] + i), getf2_lane_rows<T>(i));
    }
    const vrx_int tail = i;
    for (; i < m; ++i) {
      T l = column[i];
      if (!zero) l = divide ? l / pivot : l * scale;
      column[i] = l;
      for (int c = 0; c < updated; ++c)
        if (u[c] != 0) right[c][i] += l * u[c];
    }
    if (search) p = getf2_search_finish(&s, right[0], tail, m, k + 1);
  }
  return info;
}
}  // namespace

// The published kernels of one class folder: VRX_GETF2_BLOCK_KERNELS(avx2) defines
// vrx_lapack_sgetf2_block_avx2 and vrx_lapack_dgetf2_block_avx2.
#define VRX_GETF2_BLOCK_KERNELS(cls)                                                                              \
  vrx_int vrx_lapack_sgetf2_block_##cls(vrx_int m, float* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,  \
                                        vrx_int info) {                                                           \
    return getf2_block_body(m, a, lda, ipiv, j, jb, info);                                                        \
  }                                                                                                               \
  vrx_int vrx_lapack_dgetf2_block_##cls(vrx_int m, double* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb, \
                                        vrx_int info) {                                                           \
    return getf2_block_body(m, a, lda, ipiv, j, jb, info);                                                        \
  }
