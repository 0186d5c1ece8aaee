// A reflector built from parts of its column that several threads hold: each thread's
// scaled sum of squares of its rows, the sum of those parts, and the scalars that LARFG
// makes from alpha and the norm of the rest. For panels whose rows are split among
// threads (the threaded leaf of LAQRF, the QR team panel).
#pragma once
#include <cmath>

#include "blas/level2/level2_common.h"
#include "blas/vrx_level12.h"
#include "service/vrx_traits.h"

// A sum of squares as scale^2 * ssq, so that neither overflows nor underflows; scale 0
// means zero.
template <typename R>
struct vrx_scaled_sum {
  R scale;
  R ssq;
};

// s += scale^2 * ssq.
template <typename R>
inline void vrx_scaled_sum_add(vrx_scaled_sum<R>* s, R scale, R ssq) {
  if (scale == 0) return;
  if (s->scale < scale) {
    const R q = s->scale / scale;
    s->ssq = ssq + s->ssq * q * q;
    s->scale = scale;
  } else {
    const R q = scale / s->scale;
    s->ssq += ssq * q * q;
  }
}

// The sum of |x_i|^2 of count elements: the plain kernel when its result can be trusted
// (finite, and far enough above the underflow threshold), else element by element.
template <typename T>
inline vrx_scaled_sum<vrx_real_t<T>> vrx_sum_of_squares(vrx_int count, const T* x) {
  typedef vrx_real_t<T> R;
  vrx_scaled_sum<R> s = {0, 1};
  if (count <= 0) return s;
  const R plain = vrx_blas_level1<T>()->sumsq(count, x);
  if (std::isfinite(plain) && plain >= vrx_machine<R>::sfmin / vrx_machine<R>::eps) return {1, plain};
  for (vrx_int i = 0; i < count; ++i) {
    const R parts[2] = {vrx_traits<T>::real_part(x[i]), vrx_traits<T>::imag_part(x[i])};
    for (R v : parts)
      if (v != 0 || v != v) vrx_scaled_sum_add<R>(&s, std::fabs(v), 1);
  }
  return s;
}

// H with H^H (alpha; x) = (beta; 0) as LARFG makes it from alpha and the norm of x: x is
// to be multiplied `steps` times by the inverse of (safe minimum / eps), then by
// `factor`; alpha becomes beta. identity: tau = 0 and nothing changes.
template <typename T>
struct vrx_reflector_scalars {
  T tau;
  T factor;
  vrx_real_t<T> beta;
  int steps;
  bool identity;
};

template <typename T>
inline vrx_reflector_scalars<T> vrx_reflector_from_norm(T alpha, vrx_real_t<T> xnorm) {
  typedef vrx_real_t<T> R;
  typedef vrx_traits<T> tr;
  vrx_reflector_scalars<T> h = {};
  R ar = tr::real_part(alpha), ai = tr::imag_part(alpha);
  if (xnorm == 0 && ai == 0) {
    h.identity = true;
    h.beta = ar;
    return h;
  }
  // A beta below the safe minimum over eps is scaled up, at most 20 times, and back at the end.
  const R safe_min = vrx_machine<R>::sfmin / vrx_machine<R>::eps, up = 1 / safe_min;
  R beta = -std::copysign(std::hypot(ar, ai, xnorm), ar);
  if (std::fabs(beta) < safe_min) {
    do {
      ++h.steps;
      beta *= up;
      ar *= up;
      ai *= up;
      xnorm *= up;
    } while (std::fabs(beta) < safe_min && h.steps < 20);
    beta = -std::copysign(std::hypot(ar, ai, xnorm), ar);
  }
  h.tau = tr::make((beta - ar) / beta, -ai / beta);
  h.factor = vrx_l2_divide(tr::make(1, 0), tr::make(ar - beta, ai));
  for (int s = 0; s < h.steps; ++s) beta *= safe_min;
  h.beta = beta;
  return h;
}
