// Checks of a Cholesky factorisation as the published test suite makes them: the
// residual ratio ||A - U^H U||_1 / (n ||A||_1 eps) (or with L L^H), computed in the wider
// precision with eps of T's precision; Hermitian test matrices, positive definite or made
// to fail at a chosen leading minor; the unstored triangle and the padding left alone;
// the routines by element type and a tuning seam that gives small tiles.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "lapack/cholesky/vrx_potrf.h"
#include "tests/support/gemm_typed_reference.h"
#include "tests/support/lapack_seams.h"

namespace vrx_test_detail {
template <typename T>
T marker() {
  return vrx_traits<T>::make(vrx_real_t<T>(-777), 0);
}

// U(l, i), l <= i, in wide parts: the upper factor's entry, or conj of L(i, l).
template <typename W, typename T>
void factor_entry(bool upper, const std::vector<T>& f, int64_t lda, int64_t l, int64_t i, W* re, W* im) {
  parts(upper ? f[i * lda + l] : f[l * lda + i], re, im);
  if (!upper) *im = -*im;
}
}  // namespace vrx_test_detail

// A Hermitian n by n matrix, both triangles stored, leading dimension lda >= n: entries
// in [-1, 1] off the diagonal and a diagonal that dominates them, so that it is positive
// definite and well conditioned. fail_at k > 0 puts -1 on the diagonal at row k (from 1):
// every leading minor below order k is positive definite and the one of order k is not.
// Padding rows hold a marker.
template <typename T>
std::vector<T> vrx_test_hpd_matrix(int64_t n, int64_t lda, uint64_t seed, int64_t fail_at = 0) {
  typedef vrx_real_t<T> R;
  std::vector<T> a(static_cast<std::size_t>(std::max<int64_t>(lda * n, 1)), vrx_test_detail::marker<T>());
  uint64_t state = seed * 2654435761u + 11;
  for (int64_t j = 0; j < n; ++j) {
    for (int64_t i = 0; i < j; ++i) {
      const T x = vrx_test_value<T>(&state);
      a[j * lda + i] = x;
      a[i * lda + j] = vrx_traits<T>::conj(x);
    }
    const R diagonal = j + 1 == fail_at ? R(-1) : static_cast<R>(1.5 * static_cast<double>(n) + 1);
    a[j * lda + j] = vrx_traits<T>::make(diagonal, 0);
  }
  return a;
}

// ||A - F^H F||_1 / (n ||A||_1 eps) with F = U (upper) or F^H = L (lower) from the stored
// triangle of `f`, over the whole Hermitian matrix. A huge value for NaN.
template <typename T>
double vrx_test_cholesky_residual(bool upper, int64_t n, const std::vector<T>& a, const std::vector<T>& f,
                                  int64_t lda) {
  typedef vrx_test_wide_t<T> W;
  if (n == 0) return 0;
  auto factor = [&](int64_t l, int64_t i, W* re, W* im) {
    vrx_test_detail::factor_entry(upper, f, lda, l, i, re, im);
  };
  double worst = 0, norm_a = 0;
  for (int64_t j = 0; j < n; ++j) {
    double column = 0, column_a = 0;
    for (int64_t i = 0; i < n; ++i) {
      W sum_re = 0, sum_im = 0;
      for (int64_t l = 0; l <= std::min(i, j); ++l) {
        W x_re, x_im, y_re, y_im;
        factor(l, i, &x_re, &x_im);
        factor(l, j, &y_re, &y_im);
        // conj(U(l, i)) U(l, j)
        sum_re += x_re * y_re + x_im * y_im;
        sum_im += x_re * y_im - x_im * y_re;
      }
      W a_re, a_im;
      vrx_test_detail::parts(a[j * lda + i], &a_re, &a_im);
      column += static_cast<double>(std::fabs(a_re - sum_re) + std::fabs(a_im - sum_im));
      column_a += static_cast<double>(std::fabs(a_re) + std::fabs(a_im));
    }
    worst = std::max(worst, column);
    norm_a = std::max(norm_a, column_a);
  }
  if (!(worst == worst)) return 1e30;
  const double eps = static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
  return worst / (static_cast<double>(n) * norm_a * eps);
}

// ||A x - F^H (F x)||_1 / (n ||A||_1 ||x||_1 eps) for a random x, in O(n^2): the residual
// of large orders. F as for vrx_test_cholesky_residual; ||A||_1 the largest column sum.
template <typename T>
double vrx_test_cholesky_vector_residual(bool upper, int64_t n, const std::vector<T>& a, const std::vector<T>& f,
                                         int64_t lda) {
  typedef vrx_test_wide_t<T> W;
  if (n == 0) return 0;
  auto factor = [&](int64_t l, int64_t i, W* re, W* im) {
    vrx_test_detail::factor_entry(upper, f, lda, l, i, re, im);
  };
  std::vector<W> x_re(n), x_im(n), y_re(n, 0), y_im(n, 0), u_re(n, 0), u_im(n, 0);
  uint64_t state = 5;
  double norm_x = 0, norm_a = 0;
  for (int64_t i = 0; i < n; ++i) {
    vrx_test_detail::parts(vrx_test_value<T>(&state), &x_re[i], &x_im[i]);
    norm_x += static_cast<double>(std::fabs(x_re[i]) + std::fabs(x_im[i]));
  }
  for (int64_t j = 0; j < n; ++j) {
    double column = 0;
    for (int64_t i = 0; i < n; ++i) {
      W re, im;
      vrx_test_detail::parts(a[j * lda + i], &re, &im);
      column += static_cast<double>(std::fabs(re) + std::fabs(im));
      y_re[i] += re * x_re[j] - im * x_im[j];  // A x
      y_im[i] += re * x_im[j] + im * x_re[j];
      if (i <= j) {  // U x
        factor(i, j, &re, &im);
        u_re[i] += re * x_re[j] - im * x_im[j];
        u_im[i] += re * x_im[j] + im * x_re[j];
      }
    }
    norm_a = std::max(norm_a, column);
  }
  for (int64_t i = 0; i < n; ++i)  // minus U^H (U x)
    for (int64_t l = 0; l <= i; ++l) {
      W re, im;
      factor(l, i, &re, &im);
      y_re[i] -= re * u_re[l] + im * u_im[l];
      y_im[i] -= re * u_im[l] - im * u_re[l];
    }
  double norm_y = 0;
  for (int64_t i = 0; i < n; ++i) norm_y += static_cast<double>(std::fabs(y_re[i]) + std::fabs(y_im[i]));
  if (!(norm_y == norm_y)) return 1e30;
  const double eps = static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
  return norm_y / (static_cast<double>(n) * norm_a * norm_x * eps);
}

// Whether the triangle that uplo does not name (diagonal excluded) and the padding rows
// hold what they held in `a`.
template <typename T>
bool vrx_test_cholesky_untouched(bool upper, int64_t n, const std::vector<T>& a, const std::vector<T>& f,
                                 int64_t lda) {
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < lda; ++i) {
      const bool stored = i < n && (upper ? i <= j : i >= j);
      if (!stored && !(f[j * lda + i] == a[j * lda + i])) return false;
    }
  return true;
}

// max |L(i, j) - conj(U(j, i))| / (n eps max |U|): the two factors agree as transposes.
template <typename T>
double vrx_test_cholesky_mirror(int64_t n, const std::vector<T>& u, const std::vector<T>& l, int64_t lda) {
  typedef vrx_real_t<T> R;
  double worst = 0, largest = 0;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i <= j; ++i) {
      const T x = u[j * lda + i], y = vrx_traits<T>::conj(l[i * lda + j]);
      worst = std::max(worst, static_cast<double>(vrx_traits<T>::abs1(x - y)));
      largest = std::max(largest, static_cast<double>(vrx_traits<T>::abs1(x)));
    }
  if (!(worst == worst)) return 1e30;
  return n == 0 ? 0 : worst / (static_cast<double>(n) * largest * static_cast<double>(vrx_machine<R>::eps));
}

// ---- chosen answers to the tile path's tuning questions ----
// Key 1 of xPOTRF with a thread count: the tile edge (n3 -1) and the largest super-tile
// (n3 -3); 0 leaves ILAENV's answer. Every other question goes to ILAENV, so that small
// matrices reach many tiles and super-tiles.
struct vrx_test_potrf_answers {
  vrx_int b, lim;
};
inline vrx_test_potrf_answers vrx_test_potrf_chosen = {0, 0};

inline vrx_int vrx_test_potrf_answerer(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                                       const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                                       vrx_int opts_length) {
  const bool tiles = *ispec == 1 && vrx_test_asks_about(name, name_length, "POTRF") && *n2 >= 2;
  if (tiles && *n3 == -1 && vrx_test_potrf_chosen.b) return vrx_test_potrf_chosen.b;
  if (tiles && *n3 == -3 && vrx_test_potrf_chosen.lim) return vrx_test_potrf_chosen.lim;
  return ILAENV(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

// Puts the answerer in place for its lifetime.
struct vrx_test_potrf_tuned {
  vrx_test_tuning_seam seam;
  vrx_test_potrf_tuned(vrx_int b, vrx_int lim) : seam(vrx_test_potrf_answerer) { vrx_test_potrf_chosen = {b, lim}; }
  ~vrx_test_potrf_tuned() { vrx_test_potrf_chosen = {0, 0}; }
};

// The entries and the published unblocked routines by element type.
template <typename T>
struct vrx_test_potrf_names;
#define VRX_TEST_POTRF_NAMES(T, upper)                                        \
  template <>                                                                 \
  struct vrx_test_potrf_names<T> {                                            \
    static constexpr vrx_potrf_fn_type<T>* entry = vrx_lapack_##upper##POTRF; \
    static constexpr vrx_potrf_fn_type<T>* potf2 = upper##POTF2;              \
  };
VRX_TEST_POTRF_NAMES(float, S)
VRX_TEST_POTRF_NAMES(double, D)
VRX_TEST_POTRF_NAMES(vrx_complex_float, C)
VRX_TEST_POTRF_NAMES(vrx_complex_double, Z)
#undef VRX_TEST_POTRF_NAMES
