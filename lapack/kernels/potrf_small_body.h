// The unblocked Cholesky kernels, written once over the real type and compiled in each
// class folder with that class's flags. Complex data is held as interleaved (re, im)
// pairs (Parts 2). Upper: row j of U from the columns above it (dot products down
// contiguous columns); lower: column j of L by column updates (axpys down contiguous
// columns), then the scaling by the reciprocal of the diagonal.
#pragma once
#include "lapack/cholesky/vrx_potrf_kernels.h"

namespace {
inline float potrf_root(float x) { return __builtin_sqrtf(x); }
inline double potrf_root(double x) { return __builtin_sqrt(x); }

// The diagonal entry of column j after its update; false (and the value left in place,
// with a zero imaginary part) when it is not positive.
template <typename R, int Parts>
inline bool potrf_pivot(R* diagonal, R d, vrx_int j, vrx_int* info, R* scale) {
  if (Parts == 2) diagonal[1] = 0;
  if (!(d > 0)) {
    diagonal[0] = d;
    *info = j + 1;
    return false;
  }
  d = potrf_root(d);
  diagonal[0] = d;
  *scale = R(1) / d;
  return true;
}

template <typename R, int Parts>
void potrf_small_upper_body(vrx_int n, R* a, vrx_int lda, vrx_int* info) {
  const vrx_int ld = lda * Parts;
  *info = 0;
  for (vrx_int j = 0; j < n; ++j) {
    R* cj = a + j * ld;
    R d = cj[j * Parts];
    for (vrx_int k = 0; k < j * Parts; ++k) d -= cj[k] * cj[k];
    R s;
    if (!potrf_pivot<R, Parts>(cj + j * Parts, d, j, info, &s)) return;
    for (vrx_int c = j + 1; c < n; ++c) {
      R* cc = a + c * ld;
      if constexpr (Parts == 1) {
        R t = cc[j];
        for (vrx_int k = 0; k < j; ++k) t -= cj[k] * cc[k];
        cc[j] = t * s;
      } else {
        // conj(u_kj) * a_kc
        R tr = cc[2 * j], ti = cc[2 * j + 1];
        for (vrx_int k = 0; k < j; ++k) {
          const R xr = cj[2 * k], xi = cj[2 * k + 1], yr = cc[2 * k], yi = cc[2 * k + 1];
          tr -= xr * yr + xi * yi;
          ti -= xr * yi - xi * yr;
        }
        cc[2 * j] = tr * s;
        cc[2 * j + 1] = ti * s;
      }
    }
  }
}

template <typename R, int Parts>
void potrf_small_lower_body(vrx_int n, R* a, vrx_int lda, vrx_int* info) {
  const vrx_int ld = lda * Parts;
  *info = 0;
  for (vrx_int j = 0; j < n; ++j) {
    R* cj = a + j * ld;
    R d = cj[j * Parts];
    for (vrx_int k = 0; k < j; ++k)
      for (int p = 0; p < Parts; ++p) {
        const R x = a[k * ld + j * Parts + p];
        d -= x * x;
      }
    R s;
    if (!potrf_pivot<R, Parts>(cj + j * Parts, d, j, info, &s)) return;
    for (vrx_int k = 0; k < j; ++k) {
      const R* x = a + k * ld;
      if constexpr (Parts == 1) {
        const R w = x[j];
        for (vrx_int r = j + 1; r < n; ++r) cj[r] -= x[r] * w;
      } else {
        // l_rk * conj(l_jk)
        const R wr = x[2 * j], wi = -x[2 * j + 1];
        for (vrx_int r = j + 1; r < n; ++r) {
          const R xr = x[2 * r], xi = x[2 * r + 1];
          cj[2 * r] -= xr * wr - xi * wi;
          cj[2 * r + 1] -= xr * wi + xi * wr;
        }
      }
    }
    for (vrx_int r = (j + 1) * Parts; r < n * Parts; ++r) cj[r] *= s;
  }
}
}  // namespace

// The eight kernels of one class folder.
#define VRX_POTRF_SMALL_KERNEL(x, T, R, Parts, cls)                                                            \
  void vrx_lapack_##x##potrf_small_upper_##cls(const char*, const vrx_int* n, T* a, const vrx_int* lda,        \
                                               vrx_int* info) {                                                \
    potrf_small_upper_body<R, Parts>(*n, reinterpret_cast<R*>(a), *lda, info);                                 \
  }                                                                                                            \
  void vrx_lapack_##x##potrf_small_lower_##cls(const char*, const vrx_int* n, T* a, const vrx_int* lda,        \
                                               vrx_int* info) {                                                \
    potrf_small_lower_body<R, Parts>(*n, reinterpret_cast<R*>(a), *lda, info);                                 \
  }
#define VRX_POTRF_SMALL_KERNELS(cls)                                \
  VRX_POTRF_SMALL_KERNEL(s, float, float, 1, cls)                   \
  VRX_POTRF_SMALL_KERNEL(d, double, double, 1, cls)                 \
  VRX_POTRF_SMALL_KERNEL(c, vrx_complex_float, float, 2, cls)       \
  VRX_POTRF_SMALL_KERNEL(z, vrx_complex_double, double, 2, cls)
