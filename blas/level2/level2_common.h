// Shared pieces of the level-2 routines: argument letters, error reports and the vector
// steps that take the kernels for unit strides and plain loops otherwise.
#pragma once
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"
#include "service/vrx_serv.h"

// Whether the first letter of a word is one of `letters` (upper case), in either case.
inline bool vrx_l2_letter(const char* word, const char* letters) {
  const char c = static_cast<char>(*word & ~0x20);
  for (; *letters; ++letters)
    if (c == *letters) return true;
  return false;
}

// Reports a bad argument at `position` under `name` (six characters, blank-padded).
inline void vrx_l2_report(const char* name, int position) { vrx_serv_xerbla(name, &position, 6); }

// dst += alpha src.
template <typename T>
inline void vrx_l2_add_scaled(vrx_int len, T alpha, const T* src, vrx_int src_inc, T* dst, vrx_int dst_inc) {
  if (len < 1) return;
  if (src_inc == 1 && dst_inc == 1) return vrx_blas_level1<T>()->axpy(len, alpha, src, dst);
  for (vrx_int i = 0; i < len; ++i) dst[i * dst_inc] += alpha * src[i * src_inc];
}

// a^T b, or a^H b when `conj`.
template <typename T>
inline T vrx_l2_dot(vrx_int len, const T* a, vrx_int a_inc, const T* b, vrx_int b_inc, bool conj = false) {
  if (len < 1) return T{};
  if (a_inc == 1 && b_inc == 1)
    return conj ? vrx_blas_level1<T>()->dotc(len, a, b) : vrx_blas_level1<T>()->dot(len, a, b);
  T s{};
  for (vrx_int i = 0; i < len; ++i) s += (conj ? vrx_traits<T>::conj(a[i * a_inc]) : a[i * a_inc]) * b[i * b_inc];
  return s;
}

// x / d; for complex data scaled by the larger part of d (so that |d|^2 never overflows
// or underflows on its own).
template <typename T>
inline T vrx_l2_divide(T x, T d) {
  if constexpr (vrx_is_complex<T>) {
    typedef vrx_real_t<T> R;
    const R ar = d.re < 0 ? -d.re : d.re, ai = d.im < 0 ? -d.im : d.im;
    if (ai <= ar) {
      const R r = d.im / d.re, den = d.re + d.im * r;
      return {(x.re + x.im * r) / den, (x.im - x.re * r) / den};
    }
    const R r = d.re / d.im, den = d.re * r + d.im;
    return {(x.re * r + x.im) / den, (x.im * r - x.re) / den};
  } else {
    return x / d;
  }
}

// The checks shared by the triangular products and solves; reports and answers true
// when an argument is bad.
inline bool vrx_l2_triangular_bad(const char* name, const char* uplo, const char* trans, const char* diag, vrx_int n,
                                  vrx_int lda, vrx_int incx) {
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (!vrx_l2_letter(trans, "NTC")) position = 2;
  else if (!vrx_l2_letter(diag, "UN")) position = 3;
  else if (n < 0) position = 4;
  else if (lda < (n > 1 ? n : 1)) position = 6;
  else if (incx == 0) position = 8;
  if (position) vrx_l2_report(name, position);
  return position != 0;
}

// What a triangular product or solve needs once its arguments pass: the triangle, the
// transposition (conj: the conjugate transpose of complex data), the diagonal, and the
// first element of x for its increment.
template <typename T>
struct vrx_l2_triangle {
  bool upper, plain, unit, conj;
  T* x0;
};

// Checks the arguments (reporting a bad one) and answers false when there is nothing to do.
template <typename T>
inline bool vrx_l2_triangular_setup(const char* name, const char* uplo, const char* trans, const char* diag,
                                    vrx_int n, vrx_int lda, T* x, vrx_int incx, vrx_l2_triangle<T>* out) {
  if (vrx_l2_triangular_bad(name, uplo, trans, diag, n, lda, incx) || n == 0) return false;
  *out = {vrx_l2_letter(uplo, "U"), vrx_l2_letter(trans, "N"), vrx_l2_letter(diag, "U"),
          vrx_is_complex<T> && vrx_l2_letter(trans, "C"), x + vrx_blas_first_index(n, incx)};
  return true;
}
