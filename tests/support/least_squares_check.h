// Checks of least-squares and minimum-norm solutions of op(A) X = B as the published test
// suite makes them, in the wider precision with eps of T's precision. A is m by n and
// column-major; op(A) is `rows` by `cols` (m by n for trans N, else n by m); B has `rows`
// rows and X `cols` rows. Every ratio is below 30 for a good solver; NaN gives 1e30.
#pragma once
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <vector>

#include "tests/support/householder_check.h"

namespace vrx_test_ls {
template <typename T>
using wide = vrx_test_wide_complex<T>;
template <typename T>
wide<T> widen(T x) {
  return vrx_test_widen(x);
}
using vrx_test_detail::ratio_or_huge;

// op(A), wide, column-major rows by cols.
template <typename T>
struct op_matrix {
  int64_t rows, cols;
  std::vector<wide<T>> e;
  wide<T> at(int64_t i, int64_t j) const { return e[static_cast<std::size_t>(i + j * rows)]; }
};
template <typename T>
op_matrix<T> op_of(char trans, int64_t m, int64_t n, const T* a, int64_t lda) {
  const bool plain = (trans & ~0x20) == 'N';
  op_matrix<T> op{plain ? m : n, plain ? n : m, {}};
  op.e.resize(static_cast<std::size_t>(op.rows * op.cols));
  for (int64_t i = 0; i < op.rows; ++i)
    for (int64_t j = 0; j < op.cols; ++j)
      op.e[static_cast<std::size_t>(i + j * op.rows)] = plain ? widen(a[i + j * lda]) : std::conj(widen(a[j + i * lda]));
  return op;
}

// A wide column-major matrix from `cols` columns of `rows` elements of x (leading dimension ldx).
template <typename T>
std::vector<wide<T>> columns_of(int64_t rows, int64_t cols, const T* x, int64_t ldx) {
  std::vector<wide<T>> w(static_cast<std::size_t>(rows * cols));
  for (int64_t j = 0; j < cols; ++j)
    for (int64_t i = 0; i < rows; ++i) w[static_cast<std::size_t>(i + j * rows)] = widen(x[i + j * ldx]);
  return w;
}

template <typename W>
double frobenius(const std::vector<std::complex<W>>& x) {
  W sum = 0;
  for (const auto& v : x) sum += std::norm(v);
  return static_cast<double>(std::sqrt(sum));
}

template <typename T>
double eps() {
  return static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
}

// B - op(A) X, rows by nrhs, wide.
template <typename T>
std::vector<wide<T>> residual(const op_matrix<T>& op, int64_t nrhs, const T* x, int64_t ldx, const T* b,
                              int64_t ldb) {
  std::vector<wide<T>> r = columns_of(op.rows, nrhs, b, ldb);
  for (int64_t k = 0; k < nrhs; ++k)
    for (int64_t l = 0; l < op.cols; ++l) {
      const wide<T> xl = widen(x[l + k * ldx]);
      for (int64_t i = 0; i < op.rows; ++i) r[static_cast<std::size_t>(i + k * op.rows)] -= op.at(i, l) * xl;
    }
  return r;
}
}  // namespace vrx_test_ls

// ||B - op(A) X||_F / (max(m, n) ||A||_F ||X||_F eps): small for a consistent system.
template <typename T>
double vrx_test_ls_residual_ratio(char trans, int64_t m, int64_t n, int64_t nrhs, const T* a, int64_t lda, const T* x,
                                  int64_t ldx, const T* b, int64_t ldb) {
  using namespace vrx_test_ls;
  const op_matrix<T> op = op_of(trans, m, n, a, lda);
  const double scale = static_cast<double>(std::max(m, n)) * frobenius(op.e) *
                       frobenius(columns_of(op.cols, nrhs, x, ldx)) * eps<T>();
  return ratio_or_huge(frobenius(residual(op, nrhs, x, ldx, b, ldb)), scale);
}

// ||op(A)^H (B - op(A) X)||_F / (max(m, n, nrhs) ||A||_F ||B||_F eps): the residual of a
// least-squares solution is orthogonal to the range of op(A).
template <typename T>
double vrx_test_ls_orthogonality_ratio(char trans, int64_t m, int64_t n, int64_t nrhs, const T* a, int64_t lda,
                                       const T* x, int64_t ldx, const T* b, int64_t ldb) {
  using namespace vrx_test_ls;
  const op_matrix<T> op = op_of(trans, m, n, a, lda);
  const std::vector<wide<T>> r = residual(op, nrhs, x, ldx, b, ldb);
  std::vector<wide<T>> p(static_cast<std::size_t>(op.cols * nrhs));
  for (int64_t k = 0; k < nrhs; ++k)
    for (int64_t j = 0; j < op.cols; ++j)
      for (int64_t i = 0; i < op.rows; ++i)
        p[static_cast<std::size_t>(j + k * op.cols)] += std::conj(op.at(i, j)) * r[static_cast<std::size_t>(i + k * op.rows)];
  const double scale = static_cast<double>(std::max({m, n, nrhs})) * frobenius(op.e) *
                       frobenius(columns_of(op.rows, nrhs, b, ldb)) * eps<T>();
  return ratio_or_huge(frobenius(p), scale);
}

// The minimum-norm solution op(A)^H (op(A) op(A)^H)^-1 B of an underdetermined system of
// full row rank, in the wider precision (cols by nrhs, column-major), by elimination with
// partial pivoting on the small Gram matrix.
template <typename T>
std::vector<vrx_test_ls::wide<T>> vrx_test_ls_minimum_norm(char trans, int64_t m, int64_t n, int64_t nrhs,
                                                            const T* a, int64_t lda, const T* b, int64_t ldb) {
  using namespace vrx_test_ls;
  typedef wide<T> C;
  const op_matrix<T> op = op_of(trans, m, n, a, lda);
  const int64_t k = op.rows;
  std::vector<C> g(static_cast<std::size_t>(k * k));
  for (int64_t i = 0; i < k; ++i)
    for (int64_t j = 0; j < k; ++j)
      for (int64_t l = 0; l < op.cols; ++l) g[i + j * k] += op.at(i, l) * std::conj(op.at(j, l));
  std::vector<C> y = columns_of(k, nrhs, b, ldb);
  for (int64_t c = 0; c < k; ++c) {
    int64_t p = c;
    for (int64_t i = c + 1; i < k; ++i)
      if (std::abs(g[i + c * k]) > std::abs(g[p + c * k])) p = i;
    for (int64_t j = 0; j < k; ++j) std::swap(g[c + j * k], g[p + j * k]);
    for (int64_t j = 0; j < nrhs; ++j) std::swap(y[c + j * k], y[p + j * k]);
    for (int64_t i = c + 1; i < k; ++i) {
      const C f = g[i + c * k] / g[c + c * k];
      for (int64_t j = c; j < k; ++j) g[i + j * k] -= f * g[c + j * k];
      for (int64_t j = 0; j < nrhs; ++j) y[i + j * k] -= f * y[c + j * k];
    }
  }
  for (int64_t j = 0; j < nrhs; ++j)
    for (int64_t i = k - 1; i >= 0; --i) {
      C s = y[i + j * k];
      for (int64_t l = i + 1; l < k; ++l) s -= g[i + l * k] * y[l + j * k];
      y[i + j * k] = s / g[i + i * k];
    }
  std::vector<C> x(static_cast<std::size_t>(op.cols * nrhs));
  for (int64_t j = 0; j < nrhs; ++j)
    for (int64_t l = 0; l < op.cols; ++l)
      for (int64_t i = 0; i < k; ++i) x[l + j * op.cols] += std::conj(op.at(i, l)) * y[i + j * k];
  return x;
}

// ||X - X_ref||_F / (rows ||X_ref||_F eps) against a wide reference with `rows` rows.
template <typename T>
double vrx_test_ls_distance_ratio(const std::vector<vrx_test_ls::wide<T>>& reference, int64_t rows, int64_t nrhs,
                                  const T* x, int64_t ldx) {
  using namespace vrx_test_ls;
  std::vector<wide<T>> d = columns_of(rows, nrhs, x, ldx);
  for (std::size_t i = 0; i < d.size(); ++i) d[i] -= reference[i];
  return ratio_or_huge(frobenius(d), static_cast<double>(std::max<int64_t>(rows, 1)) * frobenius(reference) * eps<T>());
}
