// TRTRS: op(A) X = B for a triangular A, after the published checks and the test for an
// exactly singular diagonal (B is left untouched then).
#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/vrx_lapack_blas.h"

template <typename T>
void vrx_lapack_trtrs(const char* uplo, const char* trans, const char* diag, vrx_int n, vrx_int nrhs, const T* a,
                      vrx_int lda, T* b, vrx_int ldb, vrx_int* info) {
  *info = 0;
  const vrx_int least = n > 1 ? n : 1;
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (!vrx_l2_letter(trans, "NTC")) position = 2;
  else if (!vrx_l2_letter(diag, "NU")) position = 3;
  else if (n < 0) position = 4;
  else if (nrhs < 0) position = 5;
  else if (lda < least) position = 7;
  else if (ldb < least) position = 9;
  if (vrx_lapack_reject<T>("TRTRS", position, info)) return;
  if (n == 0) return;

  if (vrx_l2_letter(diag, "N")) {
    for (vrx_int i = 0; i < n; ++i) {
      if (vrx_traits<T>::is_zero(a[i + static_cast<std::size_t>(i) * lda])) {
        *info = i + 1;
        return;
      }
    }
  }
  const T one = vrx_traits<T>::make(1, 0);
  vrx_lapack_blas<T>::trsm("Left", uplo, trans, diag, &n, &nrhs, &one, a, &lda, b, &ldb);
}

template void vrx_lapack_trtrs<float>(const char*, const char*, const char*, vrx_int, vrx_int, const float*, vrx_int,
                                      float*, vrx_int, vrx_int*);
template void vrx_lapack_trtrs<double>(const char*, const char*, const char*, vrx_int, vrx_int, const double*,
                                       vrx_int, double*, vrx_int, vrx_int*);
template void vrx_lapack_trtrs<vrx_complex_float>(const char*, const char*, const char*, vrx_int, vrx_int,
                                                  const vrx_complex_float*, vrx_int, vrx_complex_float*, vrx_int,
                                                  vrx_int*);
template void vrx_lapack_trtrs<vrx_complex_double>(const char*, const char*, const char*, vrx_int, vrx_int,
                                                   const vrx_complex_double*, vrx_int, vrx_complex_double*, vrx_int,
                                                   vrx_int*);

void vrx_lapack_strtrs(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_int* nrhs,
                       const float* a, const vrx_int* lda, float* b, const vrx_int* ldb, vrx_int* info) {
  vrx_lapack_trtrs(uplo, trans, diag, *n, *nrhs, a, *lda, b, *ldb, info);
}
void vrx_lapack_dtrtrs(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_int* nrhs,
                       const double* a, const vrx_int* lda, double* b, const vrx_int* ldb, vrx_int* info) {
  vrx_lapack_trtrs(uplo, trans, diag, *n, *nrhs, a, *lda, b, *ldb, info);
}
void vrx_lapack_ctrtrs(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_int* nrhs,
                       const vrx_complex_float* a, const vrx_int* lda, vrx_complex_float* b, const vrx_int* ldb,
                       vrx_int* info) {
  vrx_lapack_trtrs(uplo, trans, diag, *n, *nrhs, a, *lda, b, *ldb, info);
}
void vrx_lapack_ztrtrs(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_int* nrhs,
                       const vrx_complex_double* a, const vrx_int* lda, vrx_complex_double* b, const vrx_int* ldb,
                       vrx_int* info) {
  vrx_lapack_trtrs(uplo, trans, diag, *n, *nrhs, a, *lda, b, *ldb, info);
}
