// One factored panel applied to columns on its right: the step that every blocked LU
// path repeats, in its threaded form and in the form that workers use.
#include "lapack/lu/vrx_getrf.h"
#include "lapack/vrx_lapack_blas.h"

template <typename T>
void vrx_lapack_getrf_apply_panel(vrx_int m, T* a, vrx_int lda, const vrx_int* ipiv, vrx_int j, vrx_int jb,
                                  vrx_int col, vrx_int count, bool sequential) {
  if (count <= 0 || jb <= 0) return;
  typedef vrx_lapack_blas<T> blas;
  T* c = a + col * lda;
  if (sequential)
    vrx_lapack_laswp_sequential(count, c, lda, j + 1, j + jb, ipiv, 1);
  else
    vrx_lapack_laswp(count, c, lda, j + 1, j + jb, ipiv, 1);
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  const T* diagonal = a + j + j * lda;
  (sequential ? blas::trsm_sequential : blas::trsm)("Left", "Lower", "No transpose", "Unit", &jb, &count, &one,
                                                   diagonal, &lda, c + j, &lda);
  const vrx_int below = m - j - jb;
  if (below > 0)
    (sequential ? blas::gemm_sequential : blas::gemm)("No transpose", "No transpose", &below, &count, &jb,
                                                      &minus_one, diagonal + jb, &lda, c + j, &lda, &one,
                                                      c + j + jb, &lda);
}

template void vrx_lapack_getrf_apply_panel<float>(vrx_int, float*, vrx_int, const vrx_int*, vrx_int, vrx_int,
                                                  vrx_int, vrx_int, bool);
template void vrx_lapack_getrf_apply_panel<double>(vrx_int, double*, vrx_int, const vrx_int*, vrx_int, vrx_int,
                                                   vrx_int, vrx_int, bool);
template void vrx_lapack_getrf_apply_panel<vrx_complex_float>(vrx_int, vrx_complex_float*, vrx_int,
                                                              const vrx_int*, vrx_int, vrx_int, vrx_int, vrx_int,
                                                              bool);
template void vrx_lapack_getrf_apply_panel<vrx_complex_double>(vrx_int, vrx_complex_double*, vrx_int,
                                                               const vrx_int*, vrx_int, vrx_int, vrx_int, vrx_int,
                                                               bool);
