// Checks of an LU factorisation as the published test suite makes them: the residual
// ratio ||P A - L U||_1 / (n ||A||_1 eps), computed in the wider precision, with eps of
// T's precision; plus test matrices (random, with chosen zero columns) and the padding check.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tests/support/gemm_typed_reference.h"

// A column-major m by n matrix with leading dimension lda >= m, entries in [-1, 1]; the
// padding rows hold a marker value that a factorisation must leave alone.
template <typename T>
std::vector<T> vrx_test_lu_matrix(int64_t m, int64_t n, int64_t lda, uint64_t seed) {
  std::vector<T> a(static_cast<std::size_t>(std::max<int64_t>(lda * n, 1)));
  uint64_t state = seed * 2654435761u + 17;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < lda; ++i)
      a[j * lda + i] = i < m ? vrx_test_value<T>(&state) : vrx_traits<T>::make(vrx_real_t<T>(-777), 0);
  return a;
}

// Zeroes column `col` (from 0): every elimination leaves a zero column zero, so U(col, col)
// is exactly zero on every path and info names the first such column.
template <typename T>
void vrx_test_lu_zero_column(std::vector<T>& a, int64_t m, int64_t lda, int64_t col) {
  for (int64_t i = 0; i < m; ++i) a[col * lda + i] = vrx_traits<T>::make(0, 0);
}

// ||P A - L U||_1 / (n ||A||_1 eps) for the factors in `lu` (as xGETRF leaves them) and
// the pivots ipiv (1-based, min(m, n) of them). 0 for an empty matrix; a huge value when
// a pivot is out of range.
template <typename T>
double vrx_test_lu_residual(int64_t m, int64_t n, const std::vector<T>& a, int64_t lda, const std::vector<T>& lu,
                            int64_t ldlu, const int64_t* ipiv) {
  typedef vrx_test_wide_t<T> W;
  typedef vrx_real_t<T> R;
  if (m == 0 || n == 0) return 0;
  const int64_t k = std::min(m, n);
  // P A: apply the interchanges to a wide copy of A's rows.
  std::vector<int64_t> row(static_cast<std::size_t>(m));
  for (int64_t i = 0; i < m; ++i) row[i] = i;
  for (int64_t i = 0; i < k; ++i) {
    const int64_t p = ipiv[i] - 1;
    if (p < i || p >= m) return 1e30;
    std::swap(row[i], row[p]);
  }
  double worst_column = 0, norm_a = 0;
  for (int64_t j = 0; j < n; ++j) {
    double column = 0, column_a = 0;
    for (int64_t i = 0; i < m; ++i) {
      // (L U)(i, j) = sum over l <= min(i, j) of L(i, l) U(l, j), L unit lower.
      W sum_re = 0, sum_im = 0;
      const int64_t last = std::min(std::min(i, j), k - 1);
      for (int64_t l = 0; l <= last; ++l) {
        W l_re, l_im, u_re, u_im;
        if (l == i) {
          l_re = 1;
          l_im = 0;
        } else {
          vrx_test_detail::parts(lu[l * ldlu + i], &l_re, &l_im);
        }
        vrx_test_detail::parts(lu[j * ldlu + l], &u_re, &u_im);
        sum_re += l_re * u_re - l_im * u_im;
        sum_im += l_re * u_im + l_im * u_re;
      }
      W a_re, a_im;
      vrx_test_detail::parts(a[j * lda + row[i]], &a_re, &a_im);
      column += static_cast<double>(std::fabs(a_re - sum_re) + std::fabs(a_im - sum_im));
      column_a += static_cast<double>(std::fabs(a_re) + std::fabs(a_im));
    }
    worst_column = std::max(worst_column, column);
    norm_a = std::max(norm_a, column_a);
  }
  if (!(worst_column == worst_column)) return 1e30;  // NaN
  if (norm_a == 0) return worst_column == 0 ? 0 : 1e30;
  const double eps = static_cast<double>(vrx_machine<R>::eps);
  return worst_column / (static_cast<double>(n) * norm_a * eps);
}

// Whether the padding rows (m to lda - 1) of every column still hold the marker.
template <typename T>
bool vrx_test_lu_padding_intact(const std::vector<T>& a, int64_t m, int64_t n, int64_t lda) {
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = m; i < lda; ++i)
      if (!(a[j * lda + i] == vrx_traits<T>::make(vrx_real_t<T>(-777), 0))) return false;
  return true;
}
