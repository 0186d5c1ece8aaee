// What the triangular tests share: the kernels under test as one signature, the cases
// of side, uplo, transa and diag, the scalars of each precision, and one call checked
// against the wide reference.
#pragma once
#include <string>
#include <vector>

#include "blas/level3/trsm/vrx_triangular.h"
#include "support/triangular_reference.h"

// A kernel under test on the reference's problem: B is overwritten.
template <typename T>
using vrx_test_tri_kernel = void (*)(const vrx_test_triangular<T>& p, std::vector<T>* b);

template <typename T>
inline T vrx_test_scalar(double re, double im) {
  return vrx_traits<T>::make(static_cast<vrx_real_t<T>>(re), static_cast<vrx_real_t<T>>(vrx_is_complex<T> ? im : 0));
}

template <typename T>
inline vrx_tri_codes vrx_test_tri_codes(const vrx_test_triangular<T>& p) {
  return {vrx_blas_side_code(&p.side), vrx_blas_uplo_code(&p.uplo), vrx_blas_trans_code(p.trans),
          vrx_blas_diag_code(&p.diag)};
}

// Every side, uplo, transa (N, T, C) and diag, as "side uplo trans diag".
inline std::vector<std::string> vrx_test_tri_cases() {
  std::vector<std::string> all;
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T', 'C'})
        for (char diag : {'N', 'U'}) all.push_back({side, uplo, trans, diag});
  return all;
}

// The alphas a sweep rotates through: 1, a real value, and one with both parts.
template <typename T>
inline T vrx_test_tri_alpha(int i) {
  switch (i % 3) {
    case 0: return vrx_test_scalar<T>(1, 0);
    case 1: return vrx_test_scalar<T>(-0.75, 0);
    default: return vrx_test_scalar<T>(0.5, -1.25);
  }
}

// The members of the two families by precision: the published names and the classic road.
template <typename T>
struct vrx_test_tri_members;
template <>
struct vrx_test_tri_members<float> {
  static constexpr vrx_trsm_fn<float> solve = STRSM, product = STRMM;
  static constexpr vrx_trsm_fn<float> solve_classic = vrx_blas_strsm_classic, product_classic = vrx_blas_strmm_classic;
};
template <>
struct vrx_test_tri_members<double> {
  static constexpr vrx_trsm_fn<double> solve = DTRSM, product = DTRMM;
  static constexpr vrx_trsm_fn<double> solve_classic = vrx_blas_dtrsm_classic, product_classic = vrx_blas_dtrmm_classic;
};
template <>
struct vrx_test_tri_members<vrx_complex_float> {
  static constexpr vrx_trsm_fn<vrx_complex_float> solve = CTRSM, product = CTRMM;
  static constexpr vrx_trsm_fn<vrx_complex_float> solve_classic = vrx_blas_ctrsm_classic,
                                                  product_classic = vrx_blas_ctrmm_classic;
};
template <>
struct vrx_test_tri_members<vrx_complex_double> {
  static constexpr vrx_trsm_fn<vrx_complex_double> solve = ZTRSM, product = ZTRMM;
  static constexpr vrx_trsm_fn<vrx_complex_double> solve_classic = vrx_blas_ztrsm_classic,
                                                   product_classic = vrx_blas_ztrmm_classic;
};

// Runs `kernel` on a fresh problem and answers the number of wrong elements.
template <typename T>
inline int64_t vrx_test_tri_run(vrx_test_tri_kernel<T> kernel, bool solve, const std::string& c, int64_t m, int64_t n,
                                T alpha, unsigned seed) {
  const vrx_test_triangular<T> p = vrx_test_make_triangular<T>(c.c_str(), m, n, alpha, seed);
  std::vector<T> b = p.b;
  kernel(p, &b);
  return vrx_test_triangular_bad_elements(p, solve, b);
}
