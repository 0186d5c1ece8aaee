// SYMM and HEMM cases for tests and the child driver: a general product whose symmetric
// (or Hermitian) operand is expanded from one stored triangle, that triangle with NaN
// in the other one (and in a Hermitian diagonal's imaginary parts), and runners.
#pragma once
#include <cmath>
#include <cstring>
#include <vector>

#include "blas/vrx_blas.h"
#include "support/gemm_typed_reference.h"

namespace {
template <typename T>
using symm_fn = vrx_symm_fn_type<T>*;

// The published names of T: SYMM, and HEMM (null for real data).
template <typename T>
struct symm_published;
template <>
struct symm_published<float> {
  static constexpr symm_fn<float> symm = SSYMM, hemm = nullptr;
};
template <>
struct symm_published<double> {
  static constexpr symm_fn<double> symm = DSYMM, hemm = nullptr;
};
template <>
struct symm_published<vrx_complex_float> {
  static constexpr symm_fn<vrx_complex_float> symm = CSYMM, hemm = CHEMM;
};
template <>
struct symm_published<vrx_complex_double> {
  static constexpr symm_fn<vrx_complex_double> symm = ZSYMM, hemm = ZHEMM;
};

template <typename T>
T symm_nan() {
  const vrx_real_t<T> nan = std::nan("");
  return vrx_traits<T>::make(nan, nan);
}

template <typename T>
T symm_scalar(double re, double im) {
  return vrx_traits<T>::make(static_cast<vrx_real_t<T>>(re), static_cast<vrx_real_t<T>>(im));
}

template <typename T>
struct symm_case {
  char side, uplo;
  bool hermitian;
  vrx_test_product<T> expanded;  // the general product with the operand expanded
  std::vector<T> stored;         // the symmetric operand as passed: one triangle, NaN elsewhere
  int64_t lds;
};

// m by n; the symmetric operand has order m (side L) or n (side R).
template <typename T>
symm_case<T> symm_make_case(char side, char uplo, bool hermitian, int64_t m, int64_t n, T alpha, T beta,
                            unsigned seed) {
  typedef vrx_traits<T> tr;
  const bool right = side == 'R', lower = uplo == 'L';
  symm_case<T> s{side, uplo, hermitian, vrx_test_make_product<T>('N', 'N', m, n, right ? n : m, alpha, beta, seed),
                 {}, 0};
  std::vector<T>& x = right ? s.expanded.b : s.expanded.a;
  s.lds = right ? s.expanded.ldb : s.expanded.lda;
  const int64_t order = right ? n : m, ld = s.lds;
  s.stored = x;
  for (int64_t q = 0; q < order; ++q)
    for (int64_t p = 0; p < order; ++p) {
      T& out = s.stored[p + q * ld];
      if (p == q) {
        if (hermitian) out = tr::make(tr::real_part(out), std::nan(""));
      } else if (lower ? p < q : p > q) {
        out = symm_nan<T>();
      }
    }
  for (int64_t q = 0; q < order; ++q)
    for (int64_t p = 0; p < order; ++p) {
      if (p == q) {
        if (hermitian) x[p + q * ld] = tr::make(tr::real_part(x[p + q * ld]), 0);
      } else if (lower ? p < q : p > q) {
        x[p + q * ld] = hermitian ? tr::conj(x[q + p * ld]) : x[q + p * ld];
      }
    }
  return s;
}

// C after fn on the case.
template <typename T>
std::vector<T> symm_run(symm_fn<T> fn, const symm_case<T>& s) {
  const vrx_test_product<T>& p = s.expanded;
  std::vector<T> c = p.c;
  const vrx_int m = p.m, n = p.n, lds = s.lds;
  const bool right = s.side == 'R';
  const vrx_int ldg = right ? p.lda : p.ldb, ldc = p.ldc;
  const T* general = right ? p.a.data() : p.b.data();
  fn(&s.side, &s.uplo, &m, &n, &p.alpha, s.stored.data(), &lds, general, &ldg, &p.beta, c.data(), &ldc);
  return c;
}

// Wrong elements of c, checked on every `step`-th column only (a column of C depends only
// on the same column of the right operand, so the sample is a product of its own).
template <typename T>
int64_t symm_bad_elements(const symm_case<T>& s, const std::vector<T>& c, int64_t step = 1) {
  if (step <= 1) return vrx_test_gemm_bad_elements(s.expanded, c);
  vrx_test_product<T> q = s.expanded;
  const int64_t ldb = q.ldb, ldc = q.ldc;
  q.b.clear();
  q.c.clear();
  std::vector<T> got;
  int64_t cols = 0;
  for (int64_t j = 0; j < s.expanded.n; j += step, ++cols) {
    q.b.insert(q.b.end(), s.expanded.b.begin() + j * ldb, s.expanded.b.begin() + j * ldb + ldb);
    q.c.insert(q.c.end(), s.expanded.c.begin() + j * ldc, s.expanded.c.begin() + (j + 1) * ldc);
    got.insert(got.end(), c.begin() + j * ldc, c.begin() + (j + 1) * ldc);
  }
  q.n = cols;
  return vrx_test_gemm_bad_elements(q, got);
}

// NaN in A, B and the m by n block of C: for alpha = 0 with beta = 0, which reads none.
template <typename T>
void symm_poison(symm_case<T>* s) {
  for (T& x : s->stored) x = symm_nan<T>();
  for (T& x : s->expanded.a) x = symm_nan<T>();
  for (T& x : s->expanded.b) x = symm_nan<T>();
  for (int64_t j = 0; j < s->expanded.n; ++j)
    for (int64_t i = 0; i < s->expanded.m; ++i) s->expanded.c[i + j * s->expanded.ldc] = symm_nan<T>();
}

template <typename T>
bool symm_any_nan(const std::vector<T>& c) {
  for (const T& x : c)
    if (std::isnan(vrx_traits<T>::real_part(x)) || std::isnan(vrx_traits<T>::imag_part(x))) return true;
  return false;
}
}  // namespace
