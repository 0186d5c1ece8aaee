// Vector traits of 1, 2 and 4 doubles for the GEMM kernel templates (AVX2 with FMA;
// also included by the AVX-512 kernels, whose instruction set contains these).
#pragma once
#include <immintrin.h>

namespace {
struct vrx_vec1 {
  typedef double type;
  typedef void half;
  static constexpr int width = 1;
  static type zero() { return 0.0; }
  static type load(const double* p) { return *p; }
  static type bcast(const double* p) { return *p; }
  static type set(double x) { return x; }
  static void store(double* p, type v) { *p = v; }
  static type fma(type a, type b, type c) { return __builtin_fma(a, b, c); }
  static type add(type a, type b) { return a + b; }
  static type mul(type a, type b) { return a * b; }
  static double sum(type v) { return v; }
};

struct vrx_vec2 {
  typedef __m128d type;
  typedef vrx_vec1 half;
  static constexpr int width = 2;
  static type zero() { return _mm_setzero_pd(); }
  static type load(const double* p) { return _mm_loadu_pd(p); }
  static type bcast(const double* p) { return _mm_loaddup_pd(p); }
  static type set(double x) { return _mm_set1_pd(x); }
  static void store(double* p, type v) { _mm_storeu_pd(p, v); }
  static type fma(type a, type b, type c) { return _mm_fmadd_pd(a, b, c); }
  static type add(type a, type b) { return _mm_add_pd(a, b); }
  static type mul(type a, type b) { return _mm_mul_pd(a, b); }
  static double sum(type v) { return _mm_cvtsd_f64(_mm_add_sd(v, _mm_unpackhi_pd(v, v))); }
};

struct vrx_vec4 {
  typedef __m256d type;
  typedef vrx_vec2 half;
  static constexpr int width = 4;
  static type zero() { return _mm256_setzero_pd(); }
  static type load(const double* p) { return _mm256_loadu_pd(p); }
  static type bcast(const double* p) { return _mm256_broadcast_sd(p); }
  static type set(double x) { return _mm256_set1_pd(x); }
  static void store(double* p, type v) { _mm256_storeu_pd(p, v); }
  static type fma(type a, type b, type c) { return _mm256_fmadd_pd(a, b, c); }
  static type add(type a, type b) { return _mm256_add_pd(a, b); }
  static type mul(type a, type b) { return _mm256_mul_pd(a, b); }
  static double sum(type v) {
    return vrx_vec2::sum(_mm_add_pd(_mm256_castpd256_pd128(v), _mm256_extractf128_pd(v, 1)));
  }
};
}  // namespace
