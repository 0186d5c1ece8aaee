// C := beta C over an m by n column-major block; beta = 0 stores zeros without reading
// C, so NaN in C does not survive. Internal linkage: each instruction class compiles its
// own copy, so no copy built for wider registers can stand in for a baseline caller.
#pragma once
#include "service/vrx_types.h"

namespace {
inline void vrx_scale_matrix(vrx_int m, vrx_int n, double beta, double* c, vrx_int ldc) {
  if (beta == 1.0) return;
  for (vrx_int j = 0; j < n; ++j) {
    double* cj = c + j * ldc;
    if (beta == 0.0)
      for (vrx_int i = 0; i < m; ++i) cj[i] = 0.0;
    else
      for (vrx_int i = 0; i < m; ++i) cj[i] *= beta;
  }
}
}  // namespace
