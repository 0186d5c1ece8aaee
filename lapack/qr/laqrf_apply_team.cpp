// A team applies a block reflector to columns on the left: each member forms V^H C over
// its own rows, the members sum those parts column share by column share and multiply
// by T^H, and each member updates its own rows. Two flag barriers per step of `sub`
// reflectors.
#include "lapack/qr/vrx_geqrf_team.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
template <typename T>
T* slot_of(const vrx_geqrf_team_scratch<T>& s, int rank) {
  return s.slots + static_cast<vrx_int>(rank) * s.slot_elems;
}

// Rows [lo, hi) of X -= V W, V as in vrx_lapack_reflector_rows_product, W kb by w.
template <typename T>
void rows_update(vrx_int lo, vrx_int hi, vrx_int kb, const T* v, vrx_int ldv, const T* w, vrx_int ldw,
                 vrx_int width, T* x, vrx_int ldx) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  const vrx_int dense = lo > kb ? lo : kb;
  if (hi > dense) {
    const vrx_int count = hi - dense;
    blas::gemm_sequential("No transpose", "No transpose", &count, &width, &kb, &minus_one, v + dense, &ldv, w, &ldw,
                          &one, x + dense, &ldx);
  }
  // Row i of the triangle holds v(i, 0..i-1), then the implicit 1.
  const vrx_int triangle_end = hi < kb ? hi : kb;
  for (vrx_int q = 0; q < width; ++q)
    for (vrx_int i = lo; i < triangle_end; ++i) {
      T sum = w[i + q * ldw];
      for (vrx_int c = 0; c < i; ++c) sum += v[i + c * ldv] * w[c + q * ldw];
      x[i + q * ldx] -= sum;
    }
}
}  // namespace

template <typename T>
void vrx_lapack_reflector_rows_product(vrx_int lo, vrx_int hi, vrx_int kb, const T* v, vrx_int ldv, const T* x,
                                       vrx_int ldx, vrx_int w, T* p) {
  typedef vrx_lapack_blas<T> blas;
  typedef vrx_traits<T> tr;
  const T one = tr::make(1, 0), zero = tr::make(0, 0);
  const char adjoint[2] = {tr::adjoint, 0};
  if (lo < 0) lo = 0;
  const vrx_int dense = lo > kb ? lo : kb;
  if (hi > dense) {
    const vrx_int count = hi - dense;
    blas::gemm_sequential(adjoint, "No transpose", &kb, &w, &count, &one, v + dense, &ldv, x + dense, &ldx, &zero,
                          p, &kb);
  } else {
    for (vrx_int q = 0; q < w; ++q)
      for (vrx_int c = 0; c < kb; ++c) p[c + q * kb] = zero;
  }
  const vrx_int triangle_end = hi < kb ? hi : kb;
  for (vrx_int q = 0; q < w; ++q)
    for (vrx_int i = lo; i < triangle_end; ++i) {
      const T xi = x[i + q * ldx];
      for (vrx_int c = 0; c < i; ++c) p[c + q * kb] += tr::conj(v[i + c * ldv]) * xi;
      p[i + q * kb] += xi;
    }
}

template <typename T>
vrx_geqrf_member<T> vrx_lapack_geqrf_member(vrx_geqrf_team_record* record, const vrx_geqrf_team_scratch<T>& scratch,
                                            int rank, int size, vrx_int rows) {
  vrx_geqrf_member<T> me = {record, scratch, rank, size, 0, 0};
  vrx_int count = 0;
  vrx_lapack_split_units(rows, vrx_geqrf_row_unit, size, rank, &me.own_first, &count);
  me.own_end = me.own_first + count;
  return me;
}

template <typename T>
void vrx_lapack_laqrf_apply_team(const vrx_geqrf_member<T>& me, vrx_int top, vrx_int rows, vrx_int kb, const T* v,
                                 vrx_int ldv, const T* t, vrx_int ldt, T* c, vrx_int ldc, vrx_int width, vrx_int sub) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0);
  if (width <= 0 || kb <= 0) return;
  if (sub < 1 || sub > me.scratch.slot_rows) sub = me.scratch.slot_rows;
  const vrx_int lo = me.own_first > top ? me.own_first - top : 0;
  const vrx_int hi = me.own_end - top < rows ? me.own_end - top : rows;
  T* mine = slot_of(me.scratch, me.rank);
  T* w = me.scratch.reduced;
  vrx_int q0 = 0, nq = 0;
  vrx_lapack_split(width, me.size, me.rank, &q0, &nq);
  for (vrx_int s = 0; s < kb; s += sub) {
    const vrx_int sb = kb - s < sub ? kb - s : sub;
    const T* vs = v + s + s * ldv;
    T* cs = c + s;
    const vrx_int slo = lo > s ? lo - s : 0, shi = hi - s;
    vrx_lapack_reflector_rows_product(slo, shi, sb, vs, ldv, cs, ldc, width, mine);
    vrx_lapack_team_flag_step(&me.record->barrier, me.rank, me.size);
    // This member's columns of the sum, then T^H on them.
    if (nq > 0) {
      for (vrx_int q = q0; q < q0 + nq; ++q)
        for (vrx_int i = 0; i < sb; ++i) {
          T sum = slot_of(me.scratch, 0)[i + q * sb];
          for (int r = 1; r < me.size; ++r) sum += slot_of(me.scratch, r)[i + q * sb];
          w[i + q * sb] = sum;
        }
      const char adjoint[2] = {vrx_traits<T>::adjoint, 0};
      blas::trmm_sequential("Left", "Upper", adjoint, "Non-unit", &sb, &nq, &one, t + s + s * ldt, &ldt, w + q0 * sb,
                            &sb);
    }
    vrx_lapack_team_flag_step(&me.record->barrier, me.rank, me.size);
    if (shi > slo) rows_update(slo, shi, sb, vs, ldv, w, sb, width, cs, ldc);
  }
}

#define VRX_INSTANTIATE(T)                                                                                           \
  template void vrx_lapack_reflector_rows_product<T>(vrx_int, vrx_int, vrx_int, const T*, vrx_int, const T*,         \
                                                     vrx_int, vrx_int, T*);                                          \
  template vrx_geqrf_member<T> vrx_lapack_geqrf_member<T>(vrx_geqrf_team_record*, const vrx_geqrf_team_scratch<T>&, \
                                                          int, int, vrx_int);                                        \
  template void vrx_lapack_laqrf_apply_team<T>(const vrx_geqrf_member<T>&, vrx_int, vrx_int, vrx_int, const T*,      \
                                               vrx_int, const T*, vrx_int, T*, vrx_int, vrx_int, vrx_int);
VRX_INSTANTIATE(float)
VRX_INSTANTIATE(double)
VRX_INSTANTIATE(vrx_complex_float)
VRX_INSTANTIATE(vrx_complex_double)
#undef VRX_INSTANTIATE
