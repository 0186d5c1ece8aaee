// The thread model of a triangular call: whether to fork, and how many threads. The
// right-hand sides (n for side L, m for side R) are shared out; a is the work of the
// triangle, b that of one thread's slice, both in units of a few hundred updates.
#include "blas/level3/trsm/vrx_triangular.h"

vrx_tri_plan vrx_l3_tri_plan(vrx_tri_codes codes, vrx_int m, vrx_int n, int t) {
  const bool left = codes.side != 1;
  const vrx_int rhs = left ? n : m;
  if ((m <= 16 && n < 17) || t < 2) return {1, rhs};
  const vrx_int half = rhs / 2 > 1 ? rhs / 2 : 1;
  const vrx_int p = rhs / t >= 2 ? t : half;
  vrx_int w = rhs / p;
  if (!left || m >= 513) w &= ~vrx_int{3};
  const vrx_int order = left ? m : n;
  const double a = static_cast<double>(order) * static_cast<double>(order + 1) / 256.0;
  const double b = static_cast<double>(order) * static_cast<double>(w) / 128.0;
  const bool sequential = left ? (a < 1.0 && b < 6.0) || a + b <= 6.0 : (a <= 1.0 && b < 4.0) || a + b <= 10.0;
  if (sequential || p == 1) return {1, rhs};
  return {static_cast<int>(p), w};
}
