// The per-letter GEMM members of one element type, for the generic sources of the
// entry and the routes: the sequential kernel, the classic threaded road and the
// portable product.
#pragma once
#include "blas/vrx_blas.h"

template <typename T>
struct vrx_gemm_members;
template <>
struct vrx_gemm_members<float> {
  static constexpr vrx_gemm_fn<float> sequential = vrx_blas_sgemm_sequential;
  static constexpr vrx_gemm_fn<float> classic = vrx_blas_sgemm_classic;
  static constexpr vrx_gemm_fn<float> reference = vrx_blas_sgemm_reference;
};
template <>
struct vrx_gemm_members<double> {
  static constexpr vrx_gemm_fn<double> sequential = vrx_blas_dgemm_sequential;
  static constexpr vrx_gemm_fn<double> classic = vrx_blas_dgemm_classic;
  static constexpr vrx_gemm_fn<double> reference = vrx_blas_dgemm_reference;
};
template <>
struct vrx_gemm_members<vrx_complex_float> {
  static constexpr vrx_gemm_fn<vrx_complex_float> sequential = vrx_blas_cgemm_sequential;
  static constexpr vrx_gemm_fn<vrx_complex_float> classic = vrx_blas_cgemm_classic;
  static constexpr vrx_gemm_fn<vrx_complex_float> reference = vrx_blas_cgemm_reference;
};
template <>
struct vrx_gemm_members<vrx_complex_double> {
  static constexpr vrx_gemm_fn<vrx_complex_double> sequential = vrx_blas_zgemm_sequential;
  static constexpr vrx_gemm_fn<vrx_complex_double> classic = vrx_blas_zgemm_classic;
  static constexpr vrx_gemm_fn<vrx_complex_double> reference = vrx_blas_zgemm_reference;
};
