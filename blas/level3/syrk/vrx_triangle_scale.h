// beta times the part of a block of C that lies in one triangle of the whole matrix;
// beta = 0 stores zeros without reading C. A Hermitian result also loses the imaginary
// parts of its diagonal, as its published form requires. Nothing outside the triangle
// is touched. A block of m rows and n columns has the diagonal of the whole matrix at
// row j + s of its column j (s = 0 for a block on the diagonal).
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

namespace {
// Rows [first, end) of column j of such a block that belong to the triangle.
inline void vrx_triangle_rows(bool lower, vrx_int j, vrx_int m, vrx_int s, vrx_int* first, vrx_int* end) {
  const vrx_int d = j + s;
  *first = lower ? (d < 0 ? 0 : (d > m ? m : d)) : 0;
  *end = lower ? m : (d + 1 < 0 ? 0 : (d + 1 > m ? m : d + 1));
}

template <typename T>
inline void vrx_zero_diagonal_imaginary(vrx_int m, vrx_int n, vrx_int s, T* c, vrx_int ldc) {
  if constexpr (vrx_is_complex<T>)
    for (vrx_int j = 0; j < n; ++j)
      if (j + s >= 0 && j + s < m) c[j + s + j * ldc].im = 0;
}

template <typename T>
inline void vrx_scale_triangle(bool lower, bool hermitian, vrx_int m, vrx_int n, vrx_int s, T beta, T* c,
                               vrx_int ldc) {
  typedef vrx_traits<T> tr;
  if (!tr::is_one(beta)) {
    for (vrx_int j = 0; j < n; ++j) {
      vrx_int first, end;
      vrx_triangle_rows(lower, j, m, s, &first, &end);
      T* cj = c + j * ldc;
      if (tr::is_zero(beta))
        for (vrx_int i = first; i < end; ++i) cj[i] = T{};
      else
        for (vrx_int i = first; i < end; ++i) cj[i] *= beta;
    }
  }
  if (hermitian) vrx_zero_diagonal_imaginary(m, n, s, c, ldc);
}
}  // namespace
