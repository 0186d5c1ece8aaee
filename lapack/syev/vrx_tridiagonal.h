// What the two tridiagonal QL/QR iterations (the root-free STERF and the implicit STEQR)
// share: their constants, the split into unreduced blocks, the scaling of a block whose
// norm is near overflow or underflow, the count of unconverged off-diagonals and the
// ascending sort; real types only, indices from 0. Also the iterations' published names.
#pragma once
#include <algorithm>
#include <cmath>

#include "lapack/aux/vrx_aux.h"
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// Sweeps allowed per order before the iteration gives up (30 as published); a variable
// so that tests can make the iteration stop early.
extern vrx_int vrx_lapack_tridiagonal_sweeps_per_order;

template <typename R>
struct vrx_tridiagonal_constants {
  R eps, eps2, safmin;
  R ssfmax;  // a block whose largest element exceeds this is scaled down to it
  R ssfmin;  // one whose largest element is below this is scaled up to it
};

template <typename R>
inline vrx_tridiagonal_constants<R> vrx_tridiagonal_constants_of() {
  typedef vrx_machine<R> machine;
  vrx_tridiagonal_constants<R> k;
  k.eps = machine::eps;
  k.eps2 = k.eps * k.eps;
  k.safmin = machine::sfmin;
  k.ssfmax = std::sqrt(R(1) / k.safmin) / R(3);
  k.ssfmin = std::sqrt(k.safmin) / k.eps2;
  return k;
}

// The last row of the unreduced block that starts at `first`: the first m with e[m]
// negligible against its two diagonal neighbours (set to zero), else n - 1.
template <typename R>
inline vrx_int vrx_tridiagonal_block_end(vrx_int n, const R* d, R* e, vrx_int first, R eps) {
  for (vrx_int m = first; m < n - 1; ++m) {
    const R tst = std::fabs(e[m]);
    if (tst == 0) return m;
    if (tst <= std::sqrt(std::fabs(d[m])) * std::sqrt(std::fabs(d[m + 1])) * eps) {
      e[m] = 0;
      return m;
    }
  }
  return n - 1;
}

// The block's largest element and the value it was scaled to (0: not scaled).
template <typename R>
struct vrx_tridiagonal_scaling {
  R anorm;
  R scaled_to;
};

// Scales the block of `len` rows (d[0..len), e[0..len-1)) into the safe range when its
// largest element lies outside it. A zero block is left alone (anorm 0).
template <typename R>
inline vrx_tridiagonal_scaling<R> vrx_tridiagonal_scale(vrx_int len, R* d, R* e,
                                                        const vrx_tridiagonal_constants<R>& k) {
  vrx_tridiagonal_scaling<R> scaling = {vrx_lapack_lanst<R>("M", len, d, e), 0};
  if (scaling.anorm > k.ssfmax) scaling.scaled_to = k.ssfmax;
  if (scaling.anorm > 0 && scaling.anorm < k.ssfmin) scaling.scaled_to = k.ssfmin;
  if (scaling.scaled_to != 0) {
    vrx_int ignored = 0;
    vrx_lapack_lascl<R>("G", 0, 0, scaling.anorm, scaling.scaled_to, len, 1, d, len, &ignored);
    vrx_lapack_lascl<R>("G", 0, 0, scaling.anorm, scaling.scaled_to, len - 1, 1, e, len, &ignored);
  }
  return scaling;
}

// Undoes the scaling on d[0..len) and, when e is given, on e[0..len-1).
template <typename R>
inline void vrx_tridiagonal_unscale(vrx_int len, R* d, R* e, const vrx_tridiagonal_scaling<R>& scaling) {
  if (scaling.scaled_to == 0) return;
  vrx_int ignored = 0;
  vrx_lapack_lascl<R>("G", 0, 0, scaling.scaled_to, scaling.anorm, len, 1, d, len, &ignored);
  if (e) vrx_lapack_lascl<R>("G", 0, 0, scaling.scaled_to, scaling.anorm, len - 1, 1, e, len, &ignored);
}

// |r| with the sign of g, a zero g counting as positive.
template <typename R>
inline R vrx_tridiagonal_sign(R r, R g) {
  return g >= 0 ? std::fabs(r) : -std::fabs(r);
}

// The iteration's info when it stopped: the off-diagonals not yet zero.
template <typename R>
inline vrx_int vrx_tridiagonal_unconverged(vrx_int n, const R* e) {
  vrx_int count = 0;
  for (vrx_int i = 0; i + 1 < n; ++i) count += e[i] != 0;
  return count;
}

// A block is iterated from row l towards row lend, one row further each time an
// eigenvalue is found there: downwards (QL, step +1) or upwards (QR, step -1). The
// off-diagonal between row i and its neighbour i + step:
inline vrx_int vrx_tridiagonal_between(vrx_int i, vrx_int step) { return step > 0 ? i : i - 1; }

// The first row m from l towards lend whose off-diagonal towards lend the predicate
// negligible(off, m, m + step) finds small enough to split at (it is set to zero), else
// lend.
template <typename R, typename Negligible>
inline vrx_int vrx_tridiagonal_split(R* e, vrx_int l, vrx_int lend, vrx_int step, Negligible&& negligible) {
  for (vrx_int m = l; m != lend; m += step) {
    const vrx_int off = vrx_tridiagonal_between(m, step);
    if (negligible(off, m, m + step)) {
      e[off] = 0;
      return m;
    }
  }
  return lend;
}

// The outer loop of both iterations: splits (d, e) into unreduced blocks, scales each
// into the safe range and iterates it with iterate(l, lend) from its end with the smaller
// diagonal element (lend below l: upwards), then unscales it. `squares`: the iteration
// turns the block's e into squares, and only d is unscaled. Answers false, with info the
// count of off-diagonals left, when the sweeps counted in *sweeps reached their limit.
template <typename R, typename Iterate>
inline bool vrx_tridiagonal_blocks(vrx_int n, R* d, R* e, bool squares, const vrx_tridiagonal_constants<R>& k,
                                   const vrx_int* sweeps, vrx_int max_sweeps, Iterate&& iterate, vrx_int* info) {
  for (vrx_int first = 0; first < n;) {
    if (first > 0) e[first - 1] = 0;
    const vrx_int last = vrx_tridiagonal_block_end(n, d, e, first, k.eps);
    const vrx_int top = first, len = last - first + 1;
    first = last + 1;
    if (len == 1) continue;
    const vrx_tridiagonal_scaling<R> scaling = vrx_tridiagonal_scale(len, d + top, e + top, k);
    if (scaling.anorm == 0) continue;
    if (squares)
      for (vrx_int i = top; i < last; ++i) e[i] *= e[i];
    if (std::fabs(d[last]) < std::fabs(d[top]))
      iterate(last, top);
    else
      iterate(top, last);
    vrx_tridiagonal_unscale(len, d + top, squares ? nullptr : e + top, scaling);
    if (*sweeps >= max_sweeps) {
      *info = vrx_tridiagonal_unconverged(n, e);
      return false;
    }
  }
  return true;
}

// Ascending order; NaNs go last, so that the order stays well defined.
template <typename R>
inline void vrx_tridiagonal_sort(vrx_int n, R* d) {
  std::sort(d, d + n, [](R x, R y) { return !std::isnan(x) && (std::isnan(y) || x < y); });
}

// The published names, Fortran calling style.
extern "C" {
void SSTERF(const vrx_int* n, float* d, float* e, vrx_int* info);
void DSTERF(const vrx_int* n, double* d, double* e, vrx_int* info);
void SSTEQR(const char* compz, const vrx_int* n, float* d, float* e, float* z, const vrx_int* ldz, float* work,
            vrx_int* info);
void DSTEQR(const char* compz, const vrx_int* n, double* d, double* e, double* z, const vrx_int* ldz, double* work,
            vrx_int* info);
void CSTEQR(const char* compz, const vrx_int* n, float* d, float* e, vrx_complex_float* z, const vrx_int* ldz,
            float* work, vrx_int* info);
void ZSTEQR(const char* compz, const vrx_int* n, double* d, double* e, vrx_complex_double* z, const vrx_int* ldz,
            double* work, vrx_int* info);
}
