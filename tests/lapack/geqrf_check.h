// A QR factorisation judged as the published test suite judges it: Q formed from the
// reflectors by ORG2R, then ||A - Q R||_1 / (m ||A||_1 eps) and ||I - Q^H Q||_1 / (m eps),
// both to stay below 30; plus whether the padding rows kept their marker.
#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

#include "lapack/householder/vrx_householder.h"
#include "support/householder_check.h"
#include "support/lu_check.h"

struct vrx_test_qr_ratios {
  double residual;
  double orthogonality;
  bool padding;
  bool good() const { return residual < 30 && orthogonality < 30 && padding; }
};

// `qr` and `tau` as GEQRF leaves them for the matrix `a` (both with leading dimension lda).
template <typename T>
vrx_test_qr_ratios vrx_test_qr_check(int64_t m, int64_t n, const std::vector<T>& a, const std::vector<T>& qr,
                                     int64_t lda, const std::vector<T>& tau) {
  const int64_t k = std::min(m, n);
  vrx_test_qr_ratios out = {0, 0, vrx_test_lu_padding_intact(qr, m, n, lda)};
  if (k == 0) return out;
  std::vector<T> q(static_cast<std::size_t>(m * k)), r(static_cast<std::size_t>(k * n), T{});
  for (int64_t j = 0; j < k; ++j)
    for (int64_t i = 0; i < m; ++i) q[j * m + i] = qr[j * lda + i];
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i <= std::min(j, k - 1); ++i) r[j * k + i] = qr[j * lda + i];
  std::vector<T> work(static_cast<std::size_t>(k));
  vrx_lapack_org2r<T>(m, k, k, q.data(), m, tau.data(), work.data());
  out.residual = vrx_test_product_residual(m, n, k, a.data(), lda, q.data(), m, r.data(), k, m);
  out.orthogonality = vrx_test_orthogonality(false, m, k, q.data(), m, m);
  return out;
}

// The largest |t1 - t2| of the upper triangles of two n by n factors over the largest
// |t2|, in units of eps.
template <typename T>
double vrx_test_factor_distance(int64_t n, const T* t1, int64_t ld1, const T* t2, int64_t ld2) {
  double worst = 0, size = 0;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i <= j; ++i) {
      worst = std::max(worst, static_cast<double>(vrx_traits<T>::abs1(t1[j * ld1 + i] - t2[j * ld2 + i])));
      size = std::max(size, static_cast<double>(vrx_traits<T>::abs1(t2[j * ld2 + i])));
    }
  if (!(worst == worst)) return 1e30;
  return size == 0 ? worst : worst / (size * static_cast<double>(vrx_machine<vrx_real_t<T>>::eps));
}
