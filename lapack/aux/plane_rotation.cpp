// The 2 by 2 symmetric eigen-decomposition (LAE2, LAEV2) and the rotation generator
// (LARTG) as published: every square is taken of a ratio at most 1, or of values known
// to lie between the square roots of the safe minimum and maximum.
#include <cmath>

#include "lapack/aux/vrx_plane_rotation.h"
#include "service/vrx_traits.h"

namespace {
// The larger and smaller of |a| and |c| with their signs, the spread of the pair and the
// square root of (a - c)^2 + (2b)^2 computed from the larger of its two terms.
template <typename R>
struct pair_spectrum {
  R sm, df, tb, rt, acmx, acmn;
};

template <typename R>
pair_spectrum<R> spectrum(R a, R b, R c) {
  pair_spectrum<R> p;
  p.sm = a + c;
  p.df = a - c;
  p.tb = b + b;
  const R adf = std::fabs(p.df), ab = std::fabs(p.tb);
  const bool a_larger = std::fabs(a) > std::fabs(c);
  p.acmx = a_larger ? a : c;
  p.acmn = a_larger ? c : a;
  if (adf > ab) {
    const R q = ab / adf;
    p.rt = adf * std::sqrt(R(1) + q * q);
  } else if (adf < ab) {
    const R q = adf / ab;
    p.rt = ab * std::sqrt(R(1) + q * q);
  } else {
    p.rt = ab * std::sqrt(R(2));  // also when both are zero
  }
  return p;
}

// The eigenvalues from the spectrum; the smaller one from the determinant, which keeps
// its relative accuracy when it is tiny against the larger. Returns the sign of sm (+1
// when sm is zero).
template <typename R>
int eigenvalues(const pair_spectrum<R>& p, R b, R* rt1, R* rt2) {
  if (p.sm == 0) {
    *rt1 = R(0.5) * p.rt;
    *rt2 = R(-0.5) * p.rt;
    return 1;
  }
  *rt1 = R(0.5) * (p.sm < 0 ? p.sm - p.rt : p.sm + p.rt);
  *rt2 = (p.acmx / *rt1) * p.acmn - (b / *rt1) * b;
  return p.sm < 0 ? -1 : 1;
}
}  // namespace

template <typename R>
void vrx_lapack_lae2(R a, R b, R c, R* rt1, R* rt2) {
  eigenvalues(spectrum(a, b, c), b, rt1, rt2);
}

template <typename R>
void vrx_lapack_laev2(R a, R b, R c, R* rt1, R* rt2, R* cs1, R* sn1) {
  const pair_spectrum<R> p = spectrum(a, b, c);
  const int sign1 = eigenvalues(p, b, rt1, rt2);
  // The eigenvector from the better conditioned of the two equations it satisfies.
  const int sign2 = p.df >= 0 ? 1 : -1;
  const R cs = p.df >= 0 ? p.df + p.rt : p.df - p.rt;
  if (std::fabs(cs) > std::fabs(p.tb)) {
    const R ct = -p.tb / cs;
    *sn1 = R(1) / std::sqrt(R(1) + ct * ct);
    *cs1 = ct * *sn1;
  } else if (p.tb == 0) {
    *cs1 = 1;
    *sn1 = 0;
  } else {
    const R tn = -cs / p.tb;
    *cs1 = R(1) / std::sqrt(R(1) + tn * tn);
    *sn1 = tn * *cs1;
  }
  if (sign1 == sign2) {
    const R tn = *cs1;
    *cs1 = -*sn1;
    *sn1 = tn;
  }
}

template <typename R>
void vrx_lapack_lartg(R f, R g, R* c, R* s, R* r) {
  typedef vrx_machine<R> machine;
  if (g == 0) {
    *c = 1;
    *s = 0;
    *r = f;
    return;
  }
  if (f == 0) {
    *c = 0;
    *s = std::copysign(R(1), g);
    *r = std::fabs(g);
    return;
  }
  const R safmin = machine::sfmin, safmax = R(1) / machine::sfmin;
  const R rtmin = std::sqrt(safmin), rtmax = std::sqrt(safmax / 2);
  const R f1 = std::fabs(f), g1 = std::fabs(g);
  if (f1 > rtmin && f1 < rtmax && g1 > rtmin && g1 < rtmax) {
    const R d = std::sqrt(f * f + g * g);
    *c = f1 / d;
    *r = std::copysign(d, f);
    *s = g / *r;
    return;
  }
  // Scaled into range by the larger magnitude, clamped to the safe range.
  const R u = std::fmin(safmax, std::fmax(safmin, std::fmax(f1, g1)));
  const R fs = f / u, gs = g / u;
  const R d = std::sqrt(fs * fs + gs * gs);
  *c = std::fabs(fs) / d;
  const R rs = std::copysign(d, f);
  *s = gs / rs;
  *r = rs * u;
}

template void vrx_lapack_lae2<float>(float, float, float, float*, float*);
template void vrx_lapack_lae2<double>(double, double, double, double*, double*);
template void vrx_lapack_laev2<float>(float, float, float, float*, float*, float*, float*);
template void vrx_lapack_laev2<double>(double, double, double, double*, double*, double*, double*);
template void vrx_lapack_lartg<float>(float, float, float*, float*, float*);
template void vrx_lapack_lartg<double>(double, double, double*, double*, double*);

extern "C" {
void SLAE2(const float* a, const float* b, const float* c, float* rt1, float* rt2) {
  vrx_lapack_lae2(*a, *b, *c, rt1, rt2);
}
void DLAE2(const double* a, const double* b, const double* c, double* rt1, double* rt2) {
  vrx_lapack_lae2(*a, *b, *c, rt1, rt2);
}
void SLAEV2(const float* a, const float* b, const float* c, float* rt1, float* rt2, float* cs1, float* sn1) {
  vrx_lapack_laev2(*a, *b, *c, rt1, rt2, cs1, sn1);
}
void DLAEV2(const double* a, const double* b, const double* c, double* rt1, double* rt2, double* cs1,
            double* sn1) {
  vrx_lapack_laev2(*a, *b, *c, rt1, rt2, cs1, sn1);
}
void SLARTG(const float* f, const float* g, float* c, float* s, float* r) { vrx_lapack_lartg(*f, *g, c, s, r); }
void DLARTG(const double* f, const double* g, double* c, double* s, double* r) { vrx_lapack_lartg(*f, *g, c, s, r); }
}
