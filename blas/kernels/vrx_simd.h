// Vector types of one instruction class, for the kernel bodies that are compiled once per
// class folder. The including file defines VRX_VEC_BYTES (8 for scalar code, 16, 32 or 64)
// first. Everything here has internal linkage, so the copies made with different target
// flags never meet at link time.
#pragma once
#include <cstddef>
#include <cstdint>

#ifndef VRX_VEC_BYTES
#error "define VRX_VEC_BYTES before including the vector types"
#endif

namespace {
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
}  // namespace
