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
// The shift: the eigenvalue nearer p of the 2 by 2 made of p, its neighbour on the
// diagonal and the square of their off-diagonal.
template <typename R>
R shift(R p, R neighbour, R e_square) {
  const R rte = std::sqrt(e_square);
  const R sigma = (neighbour - p) / (2 * rte);
  const R r = std::hypot(sigma, R(1));
  return p - rte / (sigma + vrx_tridiagonal_sign(r, sigma));
}

// One block from row l towards lend, e holding the squares of the off-diagonals.
template <typename R>
void iterate(R* d, R* e, vrx_int l, vrx_int lend, const vrx_tridiagonal_constants<R>& k, vrx_int* sweeps,
             vrx_int max_sweeps) {
  const vrx_int step = lend > l ? 1 : -1;
  const auto negligible = [&](vrx_int off, vrx_int a, vrx_int b) {
    return std::fabs(e[off]) <= k.eps2 * std::fabs(d[a] * d[b]);
  };
  while ((lend - l) * step >= 0) {
    const vrx_int m = vrx_tridiagonal_split(e, l, lend, step, negligible);
    if (m == l) {  // d[l] has converged
      l += step;
      continue;
    }
    const vrx_int l_off = vrx_tridiagonal_between(l, step);
    if (m == l + step) {  // a 2 by 2 block, solved directly
      R rt1, rt2;
      vrx_lapack_lae2(d[l], std::sqrt(e[l_off]), d[l + step], &rt1, &rt2);
      d[l] = rt1;
      d[l + step] = rt2;
      e[l_off] = 0;
      l += 2 * step;
      continue;
    }
    if (*sweeps == max_sweeps) return;
    ++*sweeps;
    // Chase from m back to l, each rotation between a row and its neighbour towards l.
    const R sigma = shift(d[l], d[l + step], e[l_off]);
    R c = 1, s = 0, gamma = d[m] - sigma, p = gamma * gamma;
    for (vrx_int row = m; row != l; row -= step) {
      const vrx_int next = row - step, off = vrx_tridiagonal_between(next, step);
      const R bb = e[off], r = p + bb;
      if (row != m) e[vrx_tridiagonal_between(row, step)] = s * r;
      const R oldc = c, oldgam = gamma, alpha = d[next];
      c = p / r;
      s = bb / r;
      gamma = c * (alpha - sigma) - s * oldgam;
      d[row] = oldgam + (alpha - gamma);
      p = c != 0 ? gamma * gamma / c : oldc * bb;
    }
    e[l_off] = s * p;
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
  const auto block = [&](vrx_int l, vrx_int lend) { iterate(d, e, l, lend, k, &sweeps, max_sweeps); };
  if (vrx_tridiagonal_blocks(n, d, e, true, k, &sweeps, max_sweeps, block, info)) vrx_tridiagonal_sort(n, d);
}

template void vrx_lapack_sterf<float>(vrx_int, float*, float*, vrx_int*);
template void vrx_lapack_sterf<double>(vrx_int, double*, double*, vrx_int*);

extern "C" {
void SSTERF(const vrx_int* n, float* d, float* e, vrx_int* info) { vrx_lapack_sterf(*n, d, e, info); }
void DSTERF(const vrx_int* n, double* d, double* e, vrx_int* info) { vrx_lapack_sterf(*n, d, e, info); }
}
