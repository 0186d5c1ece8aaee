// CLACGV and ZLACGV: x := conj(x) in place, any nonzero increment (negative from the far end).
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"

namespace {
template <typename R>
void conjugate(vrx_int n, vrx_complex<R>* x, vrx_int incx) {
  if (n < 1) return;
  vrx_complex<R>* x0 = x + vrx_blas_first_index(n, incx);
  for (vrx_int i = 0; i < n; ++i) x0[i * incx].im = -x0[i * incx].im;
}
}  // namespace

void CLACGV(const vrx_int* n, vrx_complex_float* x, const vrx_int* incx) { conjugate(*n, x, *incx); }
void ZLACGV(const vrx_int* n, vrx_complex_double* x, const vrx_int* incx) { conjugate(*n, x, *incx); }
