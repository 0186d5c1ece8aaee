// C := beta C over an m by n column-major block; beta = 0 stores zeros without reading
// C, so NaN in C does not survive. Internal linkage: each instruction class compiles its
// own copy, so no copy built for wider registers can stand in for a baseline caller.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

namespace {
template <typename T>
inline void vrx_scale_matrix(vrx_int m, vrx_int n, T beta, T* c, vrx_int ldc) {
  typedef vrx_traits<T> tr;
  if (tr::is_one(beta)) return;
  for (vrx_int j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    if (tr::is_zero(beta))
      for (vrx_int i = 0; i < m; ++i) cj[i] = T{};
    else
      for (vrx_int i = 0; i < m; ++i) cj[i] *= beta;
  }
}
}  // namespace
