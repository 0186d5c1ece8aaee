// Helpers of the level-1 and level-2 tests: the kernel tables of every class this
// processor can run, and long-double reference loops.
#pragma once
#include <cmath>
#include <string>
#include <vector>
#include "blas/vrx_level12.h"

struct level12_class {
  std::string name;
  const vrx_level1_kernels<double>* d1;
  const vrx_level1_kernels<float>* s1;
  const vrx_level2_kernels<double>* d2;
  const vrx_level2_kernels<float>* s2;
};

inline std::vector<level12_class> level12_runnable_classes() {
  std::vector<level12_class> out = {{"sse2", &vrx_blas_level1_d_sse2, &vrx_blas_level1_s_sse2,
                                     &vrx_blas_level2_d_sse2, &vrx_blas_level2_s_sse2}};
  if (__builtin_cpu_supports("avx"))
    out.push_back({"avx", &vrx_blas_level1_d_avx, &vrx_blas_level1_s_avx, &vrx_blas_level2_d_avx,
                   &vrx_blas_level2_s_avx});
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
    out.push_back({"avx2", &vrx_blas_level1_d_avx2, &vrx_blas_level1_s_avx2, &vrx_blas_level2_d_avx2,
                   &vrx_blas_level2_s_avx2});
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"))
    out.push_back({"avx512", &vrx_blas_level1_d_avx512, &vrx_blas_level1_s_avx512, &vrx_blas_level2_d_avx512,
                   &vrx_blas_level2_s_avx512});
  return out;
}

// Small integers in [-4, 4]: sums and products below 2^24 are exact in both precisions.
template <typename T>
std::vector<T> small_integers(std::size_t count, unsigned seed) {
  std::vector<T> v(count);
  unsigned s = seed * 2654435761u + 12345u;
  for (auto& e : v) {
    s = s * 1103515245u + 12345u;
    e = static_cast<T>(static_cast<int>((s >> 16) % 9) - 4);
  }
  return v;
}

// Column-major reference y := alpha op(A) x + beta y in long double (published strides).
template <typename T>
std::vector<T> reference_gemv(char trans, long m, long n, T alpha, const std::vector<T>& a, long lda,
                              const std::vector<T>& x, long incx, T beta, std::vector<T> y, long incy) {
  const bool plain = trans == 'N';
  const long leny = plain ? m : n, lenx = plain ? n : m;
  const long x0 = incx < 0 ? (1 - lenx) * incx : 0, y0 = incy < 0 ? (1 - leny) * incy : 0;
  for (long i = 0; i < leny; ++i) {
    long double s = 0;
    for (long k = 0; k < lenx; ++k) {
      const long double aik = plain ? a[i + k * lda] : a[k + i * lda];
      s += aik * x[x0 + k * incx];
    }
    T& out = y[y0 + i * incy];
    out = static_cast<T>((beta == 0 ? 0.0L : static_cast<long double>(beta) * out) + alpha * s);
  }
  return y;
}
