// The unblocked Cholesky kernels, written once over the real type and compiled in each
// class folder with that class's flags and vector width (VRX_VEC_BYTES, through the
// level-1 bodies). Complex data is held as interleaved (re, im) pairs (Parts 2). Upper:
// row j of U from the columns above it (dot products down contiguous columns); lower:
// column j of L by column updates (axpys down contiguous columns), then the scaling by
// the reciprocal of the diagonal.
#pragma once
#include "blas/kernels/level1_body.h"
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

// Views of interleaved pairs as complex elements, for the complex level-1 bodies.
template <typename R>
inline vrx_complex<R>* potrf_pairs(R* x) {
  return reinterpret_cast<vrx_complex<R>*>(x);
}

template <typename R, int Parts>
void potrf_small_upper_body(vrx_int n, R* a, vrx_int lda, vrx_int* info) {
  const vrx_int ld = lda * Parts;
  *info = 0;
  for (vrx_int j = 0; j < n; ++j) {
    R* cj = a + j * ld;
    R s;
    if (!potrf_pivot<R, Parts>(cj + j * Parts, cj[j * Parts] - l1_dot<R>(j * Parts, cj, cj), j, info, &s)) return;
    for (vrx_int c = j + 1; c < n; ++c) {
      R* cc = a + c * ld;
      if constexpr (Parts == 1) {
        cc[j] = (cc[j] - l1_dot<R>(j, cj, cc)) * s;
      } else {
        // the sum of conj(u_kj) a_kc
        const vrx_complex<R> dot = l1c_dot<R, true>(j, potrf_pairs(cj), potrf_pairs(cc));
        cc[2 * j] = (cc[2 * j] - dot.re) * s;
        cc[2 * j + 1] = (cc[2 * j + 1] - dot.im) * s;
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
    const vrx_int below = n - j - 1;
    for (vrx_int k = 0; k < j; ++k) {
      R* x = a + k * ld;
      // column j minus column k times conj(l_jk)
      if constexpr (Parts == 1)
        l1_axpy<R>(below, -x[j], x + j + 1, cj + j + 1);
      else
        l1c_axpy(below, vrx_complex<R>{-x[2 * j], x[2 * j + 1]}, potrf_pairs(x + 2 * j + 2),
                 potrf_pairs(cj + 2 * j + 2));
    }
    l1_scal<R>(below * Parts, s, cj + (j + 1) * Parts);
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
