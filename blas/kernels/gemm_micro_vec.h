// Vector traits by real type and width for the single and complex register-block
// kernels: full vectors of the class and the narrow ones of the row tails (2 and 1
// floats live in the low lanes of a 128-bit register and move exactly that many values).
// Only kernel folders include this header; everything has internal linkage.
#pragma once
#include <immintrin.h>

namespace {
template <typename R, int W>
struct vrx_micro_vec;

#if defined(__AVX512F__)
template <>
struct vrx_micro_vec<float, 16> {
  typedef __m512 type;
  static constexpr int width = 16;
  static type zero() { return _mm512_setzero_ps(); }
  static type load(const float* p) { return _mm512_loadu_ps(p); }
  static void store(float* p, type v) { _mm512_storeu_ps(p, v); }
  static type bcast(const float* p) { return _mm512_set1_ps(*p); }
  static type fma(type a, type b, type c) { return _mm512_fmadd_ps(a, b, c); }
  static type add(type a, type b) { return _mm512_add_ps(a, b); }
  static type swap_pairs(type v) { return _mm512_permute_ps(v, 0xb1); }
  // Even lanes x - y, odd lanes x + y.
  static type addsub(type x, type y) { return _mm512_fmaddsub_ps(x, _mm512_set1_ps(1.0f), y); }
};
template <>
struct vrx_micro_vec<double, 8> {
  typedef __m512d type;
  static constexpr int width = 8;
  static type zero() { return _mm512_setzero_pd(); }
  static type load(const double* p) { return _mm512_loadu_pd(p); }
  static void store(double* p, type v) { _mm512_storeu_pd(p, v); }
  static type bcast(const double* p) { return _mm512_set1_pd(*p); }
  static type fma(type a, type b, type c) { return _mm512_fmadd_pd(a, b, c); }
  static type add(type a, type b) { return _mm512_add_pd(a, b); }
  static type swap_pairs(type v) { return _mm512_permute_pd(v, 0x55); }
  static type addsub(type x, type y) { return _mm512_fmaddsub_pd(x, _mm512_set1_pd(1.0), y); }
};
#endif

template <>
struct vrx_micro_vec<float, 8> {
  typedef __m256 type;
  static constexpr int width = 8;
  static type zero() { return _mm256_setzero_ps(); }
  static type load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, type v) { _mm256_storeu_ps(p, v); }
  static type bcast(const float* p) { return _mm256_broadcast_ss(p); }
  static type fma(type a, type b, type c) { return _mm256_fmadd_ps(a, b, c); }
  static type add(type a, type b) { return _mm256_add_ps(a, b); }
  static type swap_pairs(type v) { return _mm256_permute_ps(v, 0xb1); }
  static type addsub(type x, type y) { return _mm256_addsub_ps(x, y); }
};
template <>
struct vrx_micro_vec<double, 4> {
  typedef __m256d type;
  static constexpr int width = 4;
  static type zero() { return _mm256_setzero_pd(); }
  static type load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, type v) { _mm256_storeu_pd(p, v); }
  static type bcast(const double* p) { return _mm256_broadcast_sd(p); }
  static type fma(type a, type b, type c) { return _mm256_fmadd_pd(a, b, c); }
  static type add(type a, type b) { return _mm256_add_pd(a, b); }
  static type swap_pairs(type v) { return _mm256_permute_pd(v, 0x5); }
  static type addsub(type x, type y) { return _mm256_addsub_pd(x, y); }
};

// Common arithmetic of the 128-bit float vectors; Load/store decide how many lanes move.
struct vrx_micro_vec_m128 {
  typedef __m128 type;
  static type zero() { return _mm_setzero_ps(); }
  static type bcast(const float* p) { return _mm_broadcast_ss(p); }
  static type fma(type a, type b, type c) { return _mm_fmadd_ps(a, b, c); }
  static type add(type a, type b) { return _mm_add_ps(a, b); }
  static type swap_pairs(type v) { return _mm_permute_ps(v, 0xb1); }
  static type addsub(type x, type y) { return _mm_addsub_ps(x, y); }
};
template <>
struct vrx_micro_vec<float, 4> : vrx_micro_vec_m128 {
  static constexpr int width = 4;
  static type load(const float* p) { return _mm_loadu_ps(p); }
  static void store(float* p, type v) { _mm_storeu_ps(p, v); }
};
template <>
struct vrx_micro_vec<float, 2> : vrx_micro_vec_m128 {
  static constexpr int width = 2;
  static type load(const float* p) { return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))); }
  static void store(float* p, type v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_castps_si128(v)); }
};
template <>
struct vrx_micro_vec<float, 1> : vrx_micro_vec_m128 {
  static constexpr int width = 1;
  static type load(const float* p) { return _mm_load_ss(p); }
  static void store(float* p, type v) { _mm_store_ss(p, v); }
};
template <>
struct vrx_micro_vec<double, 2> {
  typedef __m128d type;
  static constexpr int width = 2;
  static type zero() { return _mm_setzero_pd(); }
  static type load(const double* p) { return _mm_loadu_pd(p); }
  static void store(double* p, type v) { _mm_storeu_pd(p, v); }
  static type bcast(const double* p) { return _mm_loaddup_pd(p); }
  static type fma(type a, type b, type c) { return _mm_fmadd_pd(a, b, c); }
  static type add(type a, type b) { return _mm_add_pd(a, b); }
  static type swap_pairs(type v) { return _mm_permute_pd(v, 1); }
  static type addsub(type x, type y) { return _mm_addsub_pd(x, y); }
};
template <>
struct vrx_micro_vec<double, 1> {
  typedef __m128d type;
  static constexpr int width = 1;
  static type zero() { return _mm_setzero_pd(); }
  static type load(const double* p) { return _mm_load_sd(p); }
  static void store(double* p, type v) { _mm_store_sd(p, v); }
  static type bcast(const double* p) { return _mm_loaddup_pd(p); }
  static type fma(type a, type b, type c) { return _mm_fmadd_pd(a, b, c); }
  static type add(type a, type b) { return _mm_add_pd(a, b); }
  static type swap_pairs(type v) { return _mm_permute_pd(v, 1); }
  static type addsub(type x, type y) { return _mm_addsub_pd(x, y); }
};
}  // namespace
