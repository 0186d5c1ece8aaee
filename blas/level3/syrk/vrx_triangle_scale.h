// beta times one triangle of a square block of C (diagonal included); beta = 0 stores
// zeros without reading C. A Hermitian result also loses the imaginary parts of its
// diagonal, as its published form requires. The opposite triangle is never touched.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

namespace {
// Rows of column j (of a square block of order n) that belong to the triangle.
inline void vrx_triangle_rows(bool lower, vrx_int j, vrx_int n, vrx_int* first, vrx_int* end) {
  *first = lower ? j : 0;
  *end = lower ? n : j + 1;
}

template <typename T>
inline void vrx_zero_diagonal_imaginary(vrx_int n, T* c, vrx_int ldc) {
  if constexpr (vrx_is_complex<T>)
    for (vrx_int j = 0; j < n; ++j) c[j + j * ldc].im = 0;
}

template <typename T>
inline void vrx_scale_triangle(bool lower, bool hermitian, vrx_int n, T beta, T* c, vrx_int ldc) {
  typedef vrx_traits<T> tr;
  if (!tr::is_one(beta)) {
    for (vrx_int j = 0; j < n; ++j) {
      vrx_int first, end;
      vrx_triangle_rows(lower, j, n, &first, &end);
      T* cj = c + j * ldc;
      if (tr::is_zero(beta))
        for (vrx_int i = first; i < end; ++i) cj[i] = T{};
      else
        for (vrx_int i = first; i < end; ++i) cj[i] *= beta;
    }
  }
  if (hermitian) vrx_zero_diagonal_imaginary(n, c, ldc);
}
}  // namespace
