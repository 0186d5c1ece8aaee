// The recursive split of a triangular solve or product, written once for the engine
// entry (whole parts forked, couplings by the threaded GEMM) and for the driver (whole
// parts by the triangle kernel, couplings by the packed GEMM kernel).
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// Step supplies:
//   vrx_int cut(vrx_int s): the order of the leading part, or 0 to keep s whole;
//   void whole(vrx_int r0, vrx_int s, T alpha): the part r0 .. r0 + s - 1 in one piece;
//   void couple(vrx_int p0, vrx_int plen, vrx_int q0, vrx_int qlen, T coef, T beta):
//     B part p := beta B part p + coef op(A)(p, q) B part q (side L), or
//     beta B part p + coef B part q op(A)(q, p) (side R).
// A solve does the part whose equations do not depend on the other first, with alpha,
// then the other's right-hand side by the coupling (coef -1, beta alpha, so that its
// scaling happens there), then the other part with alpha 1. A product does first the
// part whose result needs the other part's old values, then adds the coupling, then the
// other part. `forward`: op(A) lower for side L, upper for side R.
template <typename T, typename Step>
void vrx_tri_recurse(Step& step, bool solve, bool forward, vrx_int r0, vrx_int s, T alpha) {
  const vrx_int h = step.cut(s);
  if (h <= 0) {
    step.whole(r0, s, alpha);
    return;
  }
  const bool leading_first = forward == solve;
  const vrx_int first0 = leading_first ? r0 : r0 + h, first_len = leading_first ? h : s - h;
  const vrx_int other0 = leading_first ? r0 + h : r0, other_len = s - first_len;
  const T one = vrx_traits<T>::make(1, 0);
  vrx_tri_recurse(step, solve, forward, first0, first_len, alpha);
  if (solve) {
    step.couple(other0, other_len, first0, first_len, vrx_traits<T>::make(-1, 0), alpha);
    vrx_tri_recurse(step, solve, forward, other0, other_len, one);
  } else {
    step.couple(first0, first_len, other0, other_len, alpha, one);
    vrx_tri_recurse(step, solve, forward, other0, other_len, alpha);
  }
}
