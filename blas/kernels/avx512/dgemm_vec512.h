// Vector traits of 8 doubles for the GEMM kernel templates (AVX-512).
#pragma once
#include <immintrin.h>

#include "blas/kernels/avx2/dgemm_vec.h"

namespace {
struct vrx_vec8 {
  typedef __m512d type;
  typedef vrx_vec4 half;
  static constexpr int width = 8;
  static type zero() { return _mm512_setzero_pd(); }
  static type load(const double* p) { return _mm512_loadu_pd(p); }
  static type bcast(const double* p) { return _mm512_set1_pd(*p); }
  static type set(double x) { return _mm512_set1_pd(x); }
  static void store(double* p, type v) { _mm512_storeu_pd(p, v); }
  static type fma(type a, type b, type c) { return _mm512_fmadd_pd(a, b, c); }
  static type add(type a, type b) { return _mm512_add_pd(a, b); }
  static type mul(type a, type b) { return _mm512_mul_pd(a, b); }
  static double sum(type v) { return _mm512_reduce_add_pd(v); }
};
}  // namespace
