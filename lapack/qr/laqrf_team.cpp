// The team panel of the QR team path: the panel is reduced in blocks of columns, each
// block one column at a time with the members' rows, then applied to the panel's rest
// and joined into the panel's T. Per column: the members' parts of the norm and the
// diagonal element meet at one flag barrier, the products of the new reflector with the
// block's columns at a second; everything else runs on own rows.
#include <cmath>

#include "lapack/qr/vrx_geqrf_team.h"
#include "lapack/qr/vrx_reflector_parts.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
// Widest block a leaf reduces (the stack holds its products).
constexpr vrx_int leaf_max = 256;

template <typename T>
vrx_complex_double widen(T x) {
  return {static_cast<double>(vrx_traits<T>::real_part(x)), static_cast<double>(vrx_traits<T>::imag_part(x))};
}
template <typename T>
T narrow(vrx_complex_double x) {
  typedef vrx_real_t<T> R;
  return vrx_traits<T>::make(static_cast<R>(x.re), static_cast<R>(x.im));
}

template <typename T>
T* slot_of(const vrx_geqrf_member<T>& me, int rank) {
  return me.scratch.slots + static_cast<vrx_int>(rank) * me.scratch.slot_elems;
}
// The vector part of a slot, after its partial product.
template <typename T>
T* vector_of(const vrx_geqrf_member<T>& me, int rank) {
  return slot_of(me, rank) + me.scratch.slot_rows * me.scratch.b;
}

// Reduces the rows by cols block (rows from `top` of the panel) and fills t (cols by
// cols, by rank 0) with T(0:c, c) = -tau_c T(0:c, 0:c) V(:, 0:c)^H v_c.
template <typename T>
void leaf(const vrx_geqrf_member<T>& me, vrx_int top, vrx_int rows, vrx_int cols, T* a, vrx_int lda, T* tau, T* t,
          vrx_int ldt) {
  typedef vrx_traits<T> tr;
  typedef vrx_real_t<T> R;
  const T one = tr::make(1, 0), zero = tr::make(0, 0);
  const R rsafmn = vrx_machine<R>::eps / vrx_machine<R>::sfmin;
  vrx_geqrf_team_record* record = me.record;
  const vrx_int lo = me.own_first > top ? me.own_first - top : 0;
  const vrx_int hi = me.own_end - top < rows ? me.own_end - top : rows;
  T* mine = vector_of(me, me.rank);
  T y[leaf_max];
  const vrx_int mn = rows < cols ? rows : cols;
  for (vrx_int c = 0; c < mn; ++c) {
    T* column = a + c * lda;
    const bool owns_diagonal = lo <= c && c < hi;
    const vrx_int below = lo > c + 1 ? lo : c + 1;
    const vrx_scaled_sum<R> part = vrx_sum_of_squares(hi - below, column + below);
    record->norms[me.rank] = {static_cast<double>(part.scale), static_cast<double>(part.ssq)};
    if (owns_diagonal) record->alpha = widen(column[c]);
    vrx_lapack_team_flag_step(&record->barrier, me.rank, me.size);

    vrx_scaled_sum<double> total = {0, 1};
    for (int i = 0; i < me.size; ++i) vrx_scaled_sum_add(&total, record->norms[i].scale, record->norms[i].ssq);
    const vrx_reflector_scalars<T> h =
        vrx_reflector_from_norm(narrow<T>(record->alpha), static_cast<R>(total.scale * std::sqrt(total.ssq)));
    if (me.rank == 0) tau[c] = h.tau;
    if (!h.identity) {
      for (vrx_int r = below; r < hi; ++r) {
        T x = column[r];
        for (int k = 0; k < h.steps; ++k) x = tr::scale(rsafmn, x);
        column[r] = x * h.factor;
      }
      if (owns_diagonal) column[c] = tr::make(h.beta, 0);
    }
    // conj(v^H a_q) for every column q of the block; row c of v is the implicit 1.
    if (hi > below)
      vrx_blas_gemv_sequential<T>("Conjugate transpose", hi - below, cols, one, a + below, lda, column + below, 1,
                                  zero, mine, 1);
    else
      for (vrx_int q = 0; q < cols; ++q) mine[q] = zero;
    if (owns_diagonal)
      for (vrx_int q = 0; q < cols; ++q)
        if (q != c) mine[q] += tr::conj(a[c + q * lda]);
    vrx_lapack_team_flag_step(&record->barrier, me.rank, me.size);

    for (vrx_int q = 0; q < cols; ++q) {
      T sum = vector_of(me, 0)[q];
      for (int i = 1; i < me.size; ++i) sum += vector_of(me, i)[q];
      y[q] = sum;
    }
    if (me.rank == 0) {
      T* tc = t + c * ldt;
      for (vrx_int q = 0; q < c; ++q) tc[q] = zero - h.tau * y[q];
      tc[c] = h.tau;
      if (c > 0) {
        const vrx_int order = c, incx = 1;
        vrx_lapack_blas<T>::trmv("Upper", "No transpose", "Non-unit", &order, t, &ldt, tc, &incx);
      }
    }
    if (h.identity) continue;
    // a_q -= conj(tau) v (v^H a_q) on own rows, for the columns right of c.
    const vrx_int first = lo > c ? lo : c;
    for (vrx_int q = c + 1; q < cols; ++q) {
      const T coefficient = tr::conj(h.tau * y[q]);
      T* aq = a + q * lda;
      for (vrx_int r = first; r < hi; ++r) aq[r] -= (r == c ? one : column[r]) * coefficient;
    }
  }
}
}  // namespace

template <typename T>
void vrx_lapack_laqrf_team(const vrx_geqrf_member<T>& me, vrx_int rows, vrx_int cols, T* a, vrx_int lda, T* tau,
                           T* t, vrx_int ldt) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  vrx_int block = vrx_lapack_ilaenv<T>(1, "LAQRF", " ", rows, cols, -1, -1);
  if (block > leaf_max) block = leaf_max;
  if (block > me.scratch.slot_rows) block = me.scratch.slot_rows;
  if (block < 1) block = 1;
  const vrx_int mn = rows < cols ? rows : cols;
  for (vrx_int j = 0; j < mn; j += block) {
    const vrx_int jb = mn - j < block ? mn - j : block;
    T* v2 = a + j + j * lda;
    T* t22 = t + j + j * ldt;
    leaf(me, j, rows - j, jb, v2, lda, tau + j, t22, ldt);
    if (j + jb < cols)
      vrx_lapack_laqrf_apply_team(me, j, rows - j, jb, v2, lda, t22, ldt, v2 + jb * lda, lda, cols - j - jb, jb);
    if (j == 0) continue;
    // T12 = -T11 (V1^H V2) T22, with V1^H V2 = (V2^H V1)^H summed over the members' rows.
    const vrx_int lo = me.own_first > j ? me.own_first - j : 0;
    const vrx_int hi = me.own_end - j < rows - j ? me.own_end - j : rows - j;
    T* mine = slot_of(me, me.rank);
    vrx_lapack_reflector_rows_product(lo, hi, jb, v2, lda, a + j, lda, j, mine);
    vrx_lapack_team_flag_step(&me.record->barrier, me.rank, me.size);
    if (me.rank != 0) continue;
    T* t12 = t + j * ldt;
    for (vrx_int r = 0; r < jb; ++r)
      for (vrx_int q = 0; q < j; ++q) {
        T sum = slot_of(me, 0)[r + q * jb];
        for (int i = 1; i < me.size; ++i) sum += slot_of(me, i)[r + q * jb];
        t12[q + r * ldt] = vrx_traits<T>::conj(sum);
      }
    blas::trmm_sequential("Left", "Upper", "No transpose", "Non-unit", &j, &jb, &minus_one, t, &ldt, t12, &ldt);
    blas::trmm_sequential("Right", "Upper", "No transpose", "Non-unit", &j, &jb, &one, t22, &ldt, t12, &ldt);
  }
}

#define VRX_INSTANTIATE(T)                                                                                      \
  template void vrx_lapack_laqrf_team<T>(const vrx_geqrf_member<T>&, vrx_int, vrx_int, T*, vrx_int, T*, T*, \
                                         vrx_int);
VRX_INSTANTIATE(float)
VRX_INSTANTIATE(double)
VRX_INSTANTIATE(vrx_complex_float)
VRX_INSTANTIATE(vrx_complex_double)
#undef VRX_INSTANTIATE
