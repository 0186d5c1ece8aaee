// The GEMM members of each precision for typed tests: the published engine name (the
// gate for double), and a runner over a test product.
#pragma once
#include <vector>

#include "blas/vrx_blas.h"
#include "support/gemm_typed_reference.h"

namespace {
void dgemm_engine(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                  const double* alpha, const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb,
                  const double* beta, double* c, const vrx_int* ldc) {
  vrx_blas_dgemm_gate(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);
}

template <typename T>
struct gemm_published;
template <>
struct gemm_published<float> {
  static constexpr vrx_gemm_fn<float> fn = SGEMM;
  static constexpr const char* name = "S";
};
template <>
struct gemm_published<double> {
  static constexpr vrx_gemm_fn<double> fn = dgemm_engine;
  static constexpr const char* name = "D";
};
template <>
struct gemm_published<vrx_complex_float> {
  static constexpr vrx_gemm_fn<vrx_complex_float> fn = CGEMM;
  static constexpr const char* name = "C";
};
template <>
struct gemm_published<vrx_complex_double> {
  static constexpr vrx_gemm_fn<vrx_complex_double> fn = ZGEMM;
  static constexpr const char* name = "Z";
};

// C after fn on the product.
template <typename T>
std::vector<T> gemm_run(vrx_gemm_fn<T> fn, const vrx_test_product<T>& p) {
  std::vector<T> c = p.c;
  const vrx_int m = p.m, n = p.n, k = p.k, lda = p.lda, ldb = p.ldb, ldc = p.ldc;
  fn(&p.ta, &p.tb, &m, &n, &k, &p.alpha, p.a.data(), &lda, p.b.data(), &ldb, &p.beta, c.data(), &ldc);
  return c;
}

// alpha and beta with a zero real or imaginary part (real types keep the real part).
template <typename T>
T gemm_scalar(double re, double im) {
  return vrx_traits<T>::make(static_cast<vrx_real_t<T>>(re), static_cast<vrx_real_t<T>>(im));
}
}  // namespace
