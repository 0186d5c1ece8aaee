// Checks of orthogonal factorisations as the published test suite makes them, computed in
// the wider precision with eps of T's precision: the residual ||A - B C||_1 / (d ||A||_1
// eps) of a factorisation A = B C, and the loss of orthogonality ||I - Q^H Q||_1 / (d eps)
// of a matrix with orthonormal columns (or ||I - Q Q^H|| for rows). A huge value for NaN.
#pragma once
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <vector>

#include "tests/support/gemm_typed_reference.h"

template <typename T>
using vrx_test_wide_complex = std::complex<vrx_test_wide_t<T>>;

template <typename T>
vrx_test_wide_complex<T> vrx_test_widen(T x) {
  vrx_test_wide_t<T> re, im;
  vrx_test_detail::parts(x, &re, &im);
  return {re, im};
}

namespace vrx_test_detail {
template <typename W>
double magnitude1(std::complex<W> x) {
  return static_cast<double>(std::fabs(x.real()) + std::fabs(x.imag()));
}
inline double ratio_or_huge(double value, double scale) {
  if (!(value == value)) return 1e30;
  if (scale == 0) return value == 0 ? 0 : 1e30;
  return value / scale;
}
}  // namespace vrx_test_detail

// ||A - B C||_1 / (d ||A||_1 eps) for A m by n, B m by p, C p by n (column-major).
template <typename T>
double vrx_test_product_residual(int64_t m, int64_t n, int64_t p, const T* a, int64_t lda, const T* b, int64_t ldb,
                                 const T* c, int64_t ldc, int64_t d) {
  typedef vrx_test_wide_complex<T> C;
  double worst = 0, norm_a = 0;
  std::vector<C> column(static_cast<std::size_t>(m));
  for (int64_t j = 0; j < n; ++j) {
    std::fill(column.begin(), column.end(), C(0));
    for (int64_t l = 0; l < p; ++l) {
      const C x = vrx_test_widen(c[j * ldc + l]);
      for (int64_t i = 0; i < m; ++i) column[i] += vrx_test_widen(b[l * ldb + i]) * x;
    }
    double diff = 0, size = 0;
    for (int64_t i = 0; i < m; ++i) {
      const C y = vrx_test_widen(a[j * lda + i]);
      diff += vrx_test_detail::magnitude1(y - column[i]);
      size += vrx_test_detail::magnitude1(y);
    }
    worst = std::max(worst, diff);
    norm_a = std::max(norm_a, size);
  }
  const double eps = static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
  return vrx_test_detail::ratio_or_huge(worst, static_cast<double>(std::max<int64_t>(d, 1)) * norm_a * eps);
}

// ||I - Q^H Q||_1 / (d eps) for Q m by n with orthonormal columns, or ||I - Q Q^H||_1 /
// (d eps) with orthonormal rows (`rows`).
template <typename T>
double vrx_test_orthogonality(bool rows, int64_t m, int64_t n, const T* q, int64_t ldq, int64_t d) {
  typedef vrx_test_wide_complex<T> C;
  const int64_t order = rows ? m : n, len = rows ? n : m;
  auto at = [&](int64_t vector, int64_t l) { return vrx_test_widen(rows ? q[l * ldq + vector] : q[vector * ldq + l]); };
  double worst = 0;
  for (int64_t j = 0; j < order; ++j) {
    double column = 0;
    for (int64_t i = 0; i < order; ++i) {
      C sum = i == j ? C(1) : C(0);
      for (int64_t l = 0; l < len; ++l) sum -= std::conj(at(i, l)) * at(j, l);
      column += vrx_test_detail::magnitude1(sum);
    }
    worst = std::max(worst, column);
  }
  const double eps = static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
  return vrx_test_detail::ratio_or_huge(worst, static_cast<double>(std::max<int64_t>(d, 1)) * eps);
}
