// A wider-precision reference product for every element type and the elementwise check
// of a computed C against it: long double for double and double complex, double for
// float and float complex.
#pragma once
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "service/vrx_traits.h"

// Scalars and matrices of one test product, column-major, op(A) m by k, op(B) k by n.
template <typename T>
struct vrx_test_product {
  char ta, tb;
  int64_t m, n, k, lda, ldb, ldc;
  T alpha, beta;
  std::vector<T> a, b, c;  // c: C before the product
};

// vrx_test_make_product: a product with deterministic entries in [-1, 1] (both parts for
// complex), leading dimensions a little above the minimum so that the padding is visible.
// vrx_test_gemm_bad_elements: the number of elements of c (ldc = p.ldc) that are wrong:
// |c - ref| above 4 (k + 2) eps (|alpha| sum |a| |b| + |beta| |c0|), |x| = |re| + |im|,
// with eps of T's precision; a beta of zero ignores C0 entirely. Rows in the padding of C
// must be unchanged, bit for bit. `report` prints the first few bad elements.
namespace vrx_test_detail {
template <typename T>
struct wide;
template <>
struct wide<float> {
  typedef double type;
};
template <>
struct wide<double> {
  typedef long double type;
};
template <typename R>
struct wide<vrx_complex<R>> {
  typedef typename wide<R>::type type;
};

template <typename W, typename R>
void parts(R x, W* re, W* im) {
  *re = x;
  *im = 0;
}
template <typename W, typename R>
void parts(vrx_complex<R> x, W* re, W* im) {
  *re = x.re;
  *im = x.im;
}

inline double next_unit(uint64_t* state) {
  *state = *state * 6364136223846793005ull + 1442695040888963407ull;
  return static_cast<double>(static_cast<int64_t>((*state >> 33) % 2001) - 1000) / 1000.0;
}

template <typename W>
bool same_bits(const void* x, const void* y, std::size_t bytes) {
  return std::memcmp(x, y, bytes) == 0;
}
}  // namespace vrx_test_detail

// The wider type of T's reference values.
template <typename T>
using vrx_test_wide_t = typename vrx_test_detail::wide<T>::type;

template <typename T>
inline T vrx_test_value(uint64_t* state) {
  typedef vrx_real_t<T> R;
  const R re = static_cast<R>(vrx_test_detail::next_unit(state));
  const R im = vrx_is_complex<T> ? static_cast<R>(vrx_test_detail::next_unit(state)) : R(0);
  return vrx_traits<T>::make(re, im);
}

template <typename T>
inline vrx_test_product<T> vrx_test_make_product(char ta, char tb, int64_t m, int64_t n, int64_t k, T alpha, T beta,
                                          unsigned seed) {
  vrx_test_product<T> p;
  p.ta = ta;
  p.tb = tb;
  p.m = m;
  p.n = n;
  p.k = k;
  const bool at = (ta & ~0x20) != 'N', bt = (tb & ~0x20) != 'N';
  const int64_t kk = k > 0 ? k : 0;
  p.lda = (at ? kk : m) + 2;
  p.ldb = (bt ? n : kk) + 1;
  p.ldc = m + 3;
  p.alpha = alpha;
  p.beta = beta;
  uint64_t state = seed * 2654435761ull + 17;
  p.a.resize(static_cast<std::size_t>(p.lda * ((at ? m : kk) + 1)));
  p.b.resize(static_cast<std::size_t>(p.ldb * ((bt ? kk : n) + 1)));
  p.c.resize(static_cast<std::size_t>(p.ldc * n));
  for (auto& x : p.a) x = vrx_test_value<T>(&state);
  for (auto& x : p.b) x = vrx_test_value<T>(&state);
  for (auto& x : p.c) x = vrx_test_value<T>(&state);
  return p;
}

// Element (i, j) of alpha op(A) op(B) + beta C0 in the wide type, and the magnitude
// |alpha| sum |a| |b| + |beta| |c0| that bounds its rounding; a beta of zero ignores C0.
template <typename T>
struct vrx_test_wide_element {
  vrx_test_wide_t<T> re, im, bound;
};
template <typename T>
inline vrx_test_wide_element<T> vrx_test_gemm_reference(const vrx_test_product<T>& p, int64_t i, int64_t j) {
  typedef typename vrx_test_detail::wide<T>::type W;
  using vrx_test_detail::parts;
  typedef vrx_traits<T> tr;
  const bool conj_a = tr::is_complex && (p.ta & ~0x20) == 'C', conj_b = tr::is_complex && (p.tb & ~0x20) == 'C';
  const bool a_plain = (p.ta & ~0x20) == 'N', b_plain = (p.tb & ~0x20) == 'N';
  W alr, ali, ber, bei;
  parts(p.alpha, &alr, &ali);
  parts(p.beta, &ber, &bei);
  W sr = 0, si = 0, mag = 0;
  if (!tr::is_zero(p.alpha))
    for (int64_t l = 0; l < p.k; ++l) {
      W ar, ai, br, bi;
      parts(a_plain ? p.a[i + l * p.lda] : p.a[l + i * p.lda], &ar, &ai);
      parts(b_plain ? p.b[l + j * p.ldb] : p.b[j + l * p.ldb], &br, &bi);
      if (conj_a) ai = -ai;
      if (conj_b) bi = -bi;
      sr += ar * br - ai * bi;
      si += ar * bi + ai * br;
      mag += (std::fabs(ar) + std::fabs(ai)) * (std::fabs(br) + std::fabs(bi));
    }
  vrx_test_wide_element<T> e;
  e.re = alr * sr - ali * si;
  e.im = alr * si + ali * sr;
  e.bound = (std::fabs(alr) + std::fabs(ali)) * mag;
  if (!tr::is_zero(p.beta)) {
    W cr, ci;
    parts(p.c[i + j * p.ldc], &cr, &ci);
    e.re += ber * cr - bei * ci;
    e.im += ber * ci + bei * cr;
    e.bound += (std::fabs(ber) + std::fabs(bei)) * (std::fabs(cr) + std::fabs(ci));
  }
  return e;
}

template <typename T>
inline int64_t vrx_test_gemm_bad_elements(const vrx_test_product<T>& p, const std::vector<T>& c, bool report = true) {
  typedef typename vrx_test_detail::wide<T>::type W;
  using vrx_test_detail::parts;
  using vrx_test_detail::same_bits;
  typedef vrx_traits<T> tr;
  const double eps = tr::is_complex ? (sizeof(T) == 8 ? FLT_EPSILON : DBL_EPSILON)
                                    : (sizeof(T) == 4 ? FLT_EPSILON : DBL_EPSILON);
  int64_t bad = 0;
  for (int64_t j = 0; j < p.n; ++j)
    for (int64_t i = 0; i < p.ldc; ++i) {
      const std::size_t at = static_cast<std::size_t>(i + j * p.ldc);
      if (i >= p.m) {
        // Padding below the m rows: untouched, bit for bit.
        if (!same_bits<W>(&c[at], &p.c[at], sizeof(T))) {
          if (report && bad < 5) std::printf("padding (%lld, %lld) written\n", (long long)i, (long long)j);
          ++bad;
        }
        continue;
      }
      const vrx_test_wide_element<T> want = vrx_test_gemm_reference(p, i, j);
      W gr, gi;
      parts(c[at], &gr, &gi);
      const W err = std::fabs(gr - want.re) + std::fabs(gi - want.im);
      const W kk = static_cast<W>(p.k > 0 ? p.k : 0);
      const W limit = 4 * (kk + 2) * static_cast<W>(eps) * want.bound;
      if (!(err <= limit)) {
        if (report && bad < 5)
          std::printf("(%lld, %lld): got (%g, %g), want (%g, %g)\n", (long long)i, (long long)j, (double)gr,
                      (double)gi, (double)want.re, (double)want.im);
        ++bad;
      }
    }
  return bad;
}
