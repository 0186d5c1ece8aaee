// Eigenvalues of a symmetric tridiagonal matrix by the Pal-Walker-Kahan root-free QL/QR
// iteration: it works on the squares of the off-diagonals, so a sweep needs no square
// root. Each unreduced block is scaled into the safe range, iterated from its end with
// the smaller diagonal element (QL when that is the top, QR otherwise), and unscaled.
#include <cmath>

#include "lapack/aux/vrx_plane_rotation.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/syev/vrx_syev.h"
#include "lapack/syev/vrx_tridiagonal.h"

vrx_int vrx_lapack_tridiagonal_sweeps_per_order = 30;

namespace {
template <typename R>
struct root_free_block {
  R* d;
  R* e;  // squares of the off-diagonals within the block
  vrx_int l, lend;
  vrx_int* sweeps;
  vrx_int max_sweeps;
  const vrx_tridiagonal_constants<R>* k;
};

// The shift: the eigenvalue nearer p of the 2 by 2 made of p, its neighbour on the
// diagonal and the square of their off-diagonal.
template <typename R>
R shift(R p, R neighbour, R e_square) {
  const R rte = std::sqrt(e_square);
  const R sigma = (neighbour - p) / (2 * rte);
  const R r = std::hypot(sigma, R(1));
  return p - rte / (sigma + vrx_tridiagonal_sign(r, sigma));
}

// QL: eigenvalues found at the top, l moving down to lend.
template <typename R>
void iterate_down(root_free_block<R>& b) {
  R* d = b.d;
  R* e = b.e;
  const R eps2 = b.k->eps2;
  vrx_int l = b.l;
  const vrx_int lend = b.lend;
  while (l <= lend) {
    vrx_int m = lend;
    for (vrx_int i = l; i < lend; ++i)
      if (std::fabs(e[i]) <= eps2 * std::fabs(d[i] * d[i + 1])) {
        m = i;
        break;
      }
    if (m < lend) e[m] = 0;
    if (m == l) {  // d[l] has converged
      ++l;
      continue;
    }
    if (m == l + 1) {  // a 2 by 2 block, solved directly
      R rt1, rt2;
      vrx_lapack_lae2(d[l], std::sqrt(e[l]), d[l + 1], &rt1, &rt2);
      d[l] = rt1;
      d[l + 1] = rt2;
      e[l] = 0;
      l += 2;
      continue;
    }
    if (*b.sweeps == b.max_sweeps) return;
    ++*b.sweeps;
    const R sigma = shift(d[l], d[l + 1], e[l]);
    R c = 1, s = 0, gamma = d[m] - sigma, p = gamma * gamma;
    for (vrx_int i = m - 1; i >= l; --i) {
      const R bb = e[i], r = p + bb;
      if (i != m - 1) e[i + 1] = s * r;
      const R oldc = c, oldgam = gamma, alpha = d[i];
      c = p / r;
      s = bb / r;
      gamma = c * (alpha - sigma) - s * oldgam;
      d[i + 1] = oldgam + (alpha - gamma);
      p = c != 0 ? gamma * gamma / c : oldc * bb;
    }
    e[l] = s * p;
    d[l] = sigma + gamma;
  }
}

// QR: eigenvalues found at the bottom, l moving up to lend.
template <typename R>
void iterate_up(root_free_block<R>& b) {
  R* d = b.d;
  R* e = b.e;
  const R eps2 = b.k->eps2;
  vrx_int l = b.l;
  const vrx_int lend = b.lend;
  while (l >= lend) {
    vrx_int m = lend;
    for (vrx_int i = l; i > lend; --i)
      if (std::fabs(e[i - 1]) <= eps2 * std::fabs(d[i] * d[i - 1])) {
        m = i;
        break;
      }
    if (m > lend) e[m - 1] = 0;
    if (m == l) {
      --l;
      continue;
    }
    if (m == l - 1) {
      R rt1, rt2;
      vrx_lapack_lae2(d[l], std::sqrt(e[l - 1]), d[l - 1], &rt1, &rt2);
      d[l] = rt1;
      d[l - 1] = rt2;
      e[l - 1] = 0;
      l -= 2;
      continue;
    }
    if (*b.sweeps == b.max_sweeps) return;
    ++*b.sweeps;
    const R sigma = shift(d[l], d[l - 1], e[l - 1]);
    R c = 1, s = 0, gamma = d[m] - sigma, p = gamma * gamma;
    for (vrx_int i = m; i < l; ++i) {
      const R bb = e[i], r = p + bb;
      if (i != m) e[i - 1] = s * r;
      const R oldc = c, oldgam = gamma, alpha = d[i + 1];
      c = p / r;
      s = bb / r;
      gamma = c * (alpha - sigma) - s * oldgam;
      d[i] = oldgam + (alpha - gamma);
      p = c != 0 ? gamma * gamma / c : oldc * bb;
    }
    e[l - 1] = s * p;
    d[l] = sigma + gamma;
  }
}
}  // namespace

template <typename R>
void vrx_lapack_sterf(vrx_int n, R* d, R* e, vrx_int* info) {
  *info = 0;
  if (vrx_lapack_reject<R>("STERF", n < 0 ? 1 : 0, info) || n <= 1) return;
  const vrx_tridiagonal_constants<R> k = vrx_tridiagonal_constants_of<R>();
  vrx_int sweeps = 0;
  const vrx_int max_sweeps = vrx_lapack_tridiagonal_sweeps_per_order * n;
  for (vrx_int first = 0; first < n;) {
    if (first > 0) e[first - 1] = 0;
    const vrx_int last = vrx_tridiagonal_block_end(n, d, e, first, k.eps);
    const vrx_int top = first, len = last - first + 1;
    first = last + 1;
    if (len == 1) continue;
    const vrx_tridiagonal_scaling<R> scaling = vrx_tridiagonal_scale(len, d + top, e + top, k);
    if (scaling.anorm == 0) continue;
    for (vrx_int i = top; i < last; ++i) e[i] *= e[i];
    root_free_block<R> block = {d, e, top, last, &sweeps, max_sweeps, &k};
    if (std::fabs(d[last]) < std::fabs(d[top])) {
      block.l = last;
      block.lend = top;
      iterate_up(block);
    } else {
      iterate_down(block);
    }
    vrx_tridiagonal_unscale<R>(len, d + top, nullptr, scaling);
    if (sweeps >= max_sweeps) {
      *info = vrx_tridiagonal_unconverged(n, e);
      return;
    }
  }
  vrx_tridiagonal_sort(n, d);
}

template void vrx_lapack_sterf<float>(vrx_int, float*, float*, vrx_int*);
template void vrx_lapack_sterf<double>(vrx_int, double*, double*, vrx_int*);

extern "C" {
void SSTERF(const vrx_int* n, float* d, float* e, vrx_int* info) { vrx_lapack_sterf(*n, d, e, info); }
void DSTERF(const vrx_int* n, double* d, double* e, vrx_int* info) { vrx_lapack_sterf(*n, d, e, info); }
}
