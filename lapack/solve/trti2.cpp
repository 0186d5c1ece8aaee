// TRTI2: the unblocked inverse of a triangular matrix, one column at a time. Column j of
// inv(A) is -inv(A(j,j)) times the finished triangle applied to column j of A.
#include "blas/level2/level2_common.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/vrx_lapack_blas.h"

template <typename T>
void vrx_lapack_trti2(bool upper, bool unit, vrx_int n, T* a, vrx_int lda) {
  typedef vrx_traits<T> tr;
  const char* uplo = upper ? "Upper" : "Lower";
  const char* diag = unit ? "Unit" : "Non-unit";
  const vrx_int one = 1;
  // Upper: left to right, the triangle above column j is already inverted. Lower: right
  // to left, the triangle below and right of it.
  for (vrx_int step = 0; step < n; ++step) {
    const vrx_int j = upper ? step : n - 1 - step;
    T* diagonal = a + j + j * lda;
    T scale = tr::make(-1, 0);
    if (!unit) {
      *diagonal = vrx_l2_divide(tr::make(1, 0), *diagonal);
      scale = -*diagonal;
    }
    const vrx_int length = upper ? j : n - 1 - j;
    if (length == 0) continue;
    T* column = upper ? a + j * lda : diagonal + 1;
    const T* triangle = upper ? a : diagonal + 1 + lda;
    vrx_lapack_blas<T>::trmv(uplo, "No transpose", diag, &length, triangle, &lda, column, &one);
    vrx_blas_level1<T>()->scal(length, scale, column);
  }
}

template void vrx_lapack_trti2<float>(bool, bool, vrx_int, float*, vrx_int);
template void vrx_lapack_trti2<double>(bool, bool, vrx_int, double*, vrx_int);
template void vrx_lapack_trti2<vrx_complex_float>(bool, bool, vrx_int, vrx_complex_float*, vrx_int);
template void vrx_lapack_trti2<vrx_complex_double>(bool, bool, vrx_int, vrx_complex_double*, vrx_int);
