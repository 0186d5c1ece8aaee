// Vector types of one instruction class, for the kernel bodies that are compiled once per
// class folder. Everything here has internal linkage, so the copies made with different
// target flags never meet at link time.
//
// Two faces of one vocabulary: the generic vectors of width VRX_VEC_BYTES (defined by the
// including file: 8 for scalar code, 16, 32 or 64) for bodies written over plain vector
// arithmetic, and vrx_simd<T, W>, the vector of W elements of T with its operations
// spelled out, for the register-block kernels (the widths the class's flags allow).
// swap_pairs and addsub serve complex data held as (re, im) pairs of lanes.
#pragma once
#include <cstddef>
#include <cstdint>

#if defined(__AVX2__) || defined(__AVX512F__)
#include <immintrin.h>
#endif

namespace {
#ifdef VRX_VEC_BYTES
typedef double vrx_vd __attribute__((vector_size(VRX_VEC_BYTES)));
typedef float vrx_vf __attribute__((vector_size(VRX_VEC_BYTES)));

template <typename T>
struct vrx_vec;
template <>
struct vrx_vec<double> {
  typedef vrx_vd type;
};
template <>
struct vrx_vec<float> {
  typedef vrx_vf type;
};
template <typename T>
using vrx_vec_t = typename vrx_vec<T>::type;

// Elements of T in one register.
template <typename T>
constexpr int vrx_lanes = VRX_VEC_BYTES / static_cast<int>(sizeof(T));

template <typename V, typename T>
inline V vrx_load(const T* p) {
  V v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}

template <typename V, typename T>
inline void vrx_store(T* p, V v) {
  __builtin_memcpy(p, &v, sizeof v);
}

template <typename V, typename T>
inline V vrx_splat(T s) {
  V v = {};
  return v + s;
}

template <typename T, typename V>
inline T vrx_hsum(V v) {
  T s = 0;
  for (int i = 0; i < vrx_lanes<T>; ++i) s += v[i];
  return s;
}

template <typename V>
inline V vrx_vabs(V v) {
  return v < 0 ? -v : v;
}

template <typename T>
inline T vrx_abs(T v) {
  return __builtin_fabs(v);
}
inline float vrx_abs(float v) { return __builtin_fabsf(v); }
#endif  // VRX_VEC_BYTES

// Bytes of T as one plain vector of the compiler's vector extension, at T's own
// alignment (a whole number of lanes that may sit anywhere in memory); a width of one
// element is the scalar itself. For bodies that use several widths in one class.
template <typename T, int Bytes>
struct vrx_vec_of {
  typedef T type __attribute__((vector_size(Bytes), aligned(alignof(T))));
};
template <>
struct vrx_vec_of<double, 8> {
  typedef double type;
};
template <>
struct vrx_vec_of<float, 4> {
  typedef float type;
};

// W elements of T in one register: type, the half-width vector (void below one
// element), and the operations the kernel templates use.
template <typename T, int W>
struct vrx_simd;

template <>
struct vrx_simd<double, 1> {
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
typedef vrx_simd<double, 1> vrx_vec1;

#if defined(__AVX2__) && defined(__FMA__)
template <>
struct vrx_simd<double, 2> {
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
  static type swap_pairs(type v) { return _mm_permute_pd(v, 1); }
  // Even lanes x - y, odd lanes x + y.
  static type addsub(type x, type y) { return _mm_addsub_pd(x, y); }
};
typedef vrx_simd<double, 2> vrx_vec2;

template <>
struct vrx_simd<double, 4> {
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
  static type swap_pairs(type v) { return _mm256_permute_pd(v, 0x5); }
  static type addsub(type x, type y) { return _mm256_addsub_pd(x, y); }
};
typedef vrx_simd<double, 4> vrx_vec4;

// Floats in a 128-bit register: the arithmetic of all four lanes; load and store of each
// width move exactly that many values (2 and 1 use the low lanes only).
struct vrx_simd_m128f {
  typedef __m128 type;
  static type zero() { return _mm_setzero_ps(); }
  static type bcast(const float* p) { return _mm_broadcast_ss(p); }
  static type set(float x) { return _mm_set1_ps(x); }
  static type fma(type a, type b, type c) { return _mm_fmadd_ps(a, b, c); }
  static type add(type a, type b) { return _mm_add_ps(a, b); }
  static type mul(type a, type b) { return _mm_mul_ps(a, b); }
  static type swap_pairs(type v) { return _mm_permute_ps(v, 0xb1); }
  static type addsub(type x, type y) { return _mm_addsub_ps(x, y); }
};

template <>
struct vrx_simd<float, 1> : vrx_simd_m128f {
  typedef void half;
  static constexpr int width = 1;
  static type load(const float* p) { return _mm_load_ss(p); }
  static void store(float* p, type v) { _mm_store_ss(p, v); }
  static float sum(type v) { return _mm_cvtss_f32(v); }
};

template <>
struct vrx_simd<float, 2> : vrx_simd_m128f {
  typedef vrx_simd<float, 1> half;
  static constexpr int width = 2;
  static type load(const float* p) { return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))); }
  static void store(float* p, type v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_castps_si128(v)); }
  static float sum(type v) { return _mm_cvtss_f32(_mm_add_ss(v, _mm_movehdup_ps(v))); }
};

template <>
struct vrx_simd<float, 4> : vrx_simd_m128f {
  typedef vrx_simd<float, 2> half;
  static constexpr int width = 4;
  static type load(const float* p) { return _mm_loadu_ps(p); }
  static void store(float* p, type v) { _mm_storeu_ps(p, v); }
  static float sum(type v) { return half::sum(_mm_add_ps(v, _mm_movehl_ps(v, v))); }
};

template <>
struct vrx_simd<float, 8> {
  typedef __m256 type;
  typedef vrx_simd<float, 4> half;
  static constexpr int width = 8;
  static type zero() { return _mm256_setzero_ps(); }
  static type load(const float* p) { return _mm256_loadu_ps(p); }
  static type bcast(const float* p) { return _mm256_broadcast_ss(p); }
  static type set(float x) { return _mm256_set1_ps(x); }
  static void store(float* p, type v) { _mm256_storeu_ps(p, v); }
  static type fma(type a, type b, type c) { return _mm256_fmadd_ps(a, b, c); }
  static type add(type a, type b) { return _mm256_add_ps(a, b); }
  static type mul(type a, type b) { return _mm256_mul_ps(a, b); }
  static float sum(type v) { return half::sum(_mm_add_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1))); }
  static type swap_pairs(type v) { return _mm256_permute_ps(v, 0xb1); }
  static type addsub(type x, type y) { return _mm256_addsub_ps(x, y); }
};
#endif

#if defined(__AVX512F__)
template <>
struct vrx_simd<double, 8> {
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
  static type swap_pairs(type v) { return _mm512_permute_pd(v, 0x55); }
  // No addsub instruction at this width: multiply-add by one, y subtracted in even lanes.
  static type addsub(type x, type y) { return _mm512_fmaddsub_pd(x, _mm512_set1_pd(1.0), y); }
};
typedef vrx_simd<double, 8> vrx_vec8;

template <>
struct vrx_simd<float, 16> {
  typedef __m512 type;
  typedef vrx_simd<float, 8> half;
  static constexpr int width = 16;
  static type zero() { return _mm512_setzero_ps(); }
  static type load(const float* p) { return _mm512_loadu_ps(p); }
  static type bcast(const float* p) { return _mm512_set1_ps(*p); }
  static type set(float x) { return _mm512_set1_ps(x); }
  static void store(float* p, type v) { _mm512_storeu_ps(p, v); }
  static type fma(type a, type b, type c) { return _mm512_fmadd_ps(a, b, c); }
  static type add(type a, type b) { return _mm512_add_ps(a, b); }
  static type mul(type a, type b) { return _mm512_mul_ps(a, b); }
  static float sum(type v) { return _mm512_reduce_add_ps(v); }
  static type swap_pairs(type v) { return _mm512_permute_ps(v, 0xb1); }
  static type addsub(type x, type y) { return _mm512_fmaddsub_ps(x, _mm512_set1_ps(1.0f), y); }
};
#endif
}  // namespace
