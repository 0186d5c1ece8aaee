// POTRS: A X = B with the Cholesky factor of POTRF. uplo U (A = U^H U) solves with U^H,
// then U; uplo L (A = L L^H) with L, then L^H. Both are matrix solves, for any number of
// right-hand sides.
#include <initializer_list>

#include "blas/level2/level2_common.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
template <typename T>
void potrs(const char* uplo, vrx_int n, vrx_int nrhs, const T* a, vrx_int lda, T* b, vrx_int ldb, vrx_int* info) {
  *info = 0;
  const vrx_int least = n > 1 ? n : 1;
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (n < 0) position = 2;
  else if (nrhs < 0) position = 3;
  else if (lda < least) position = 5;
  else if (ldb < least) position = 7;
  if (vrx_lapack_reject<T>("POTRS", position, info)) return;
  if (n == 0 || nrhs == 0) return;

  const bool upper = vrx_l2_letter(uplo, "U");
  const char* adjoint = vrx_traits<T>::is_complex ? "Conjugate transpose" : "Transpose";
  const char* triangle = upper ? "Upper" : "Lower";
  const T one = vrx_traits<T>::make(1, 0);
  for (const char* op : {upper ? adjoint : "No transpose", upper ? "No transpose" : adjoint})
    vrx_lapack_blas<T>::trsm("Left", triangle, op, "Non-unit", &n, &nrhs, &one, a, &lda, b, &ldb);
}
}  // namespace

void vrx_lapack_spotrs(const char* uplo, const vrx_int* n, const vrx_int* nrhs, const float* a, const vrx_int* lda,
                       float* b, const vrx_int* ldb, vrx_int* info) {
  potrs(uplo, *n, *nrhs, a, *lda, b, *ldb, info);
}
void vrx_lapack_dpotrs(const char* uplo, const vrx_int* n, const vrx_int* nrhs, const double* a, const vrx_int* lda,
                       double* b, const vrx_int* ldb, vrx_int* info) {
  potrs(uplo, *n, *nrhs, a, *lda, b, *ldb, info);
}
void vrx_lapack_cpotrs(const char* uplo, const vrx_int* n, const vrx_int* nrhs, const vrx_complex_float* a,
                       const vrx_int* lda, vrx_complex_float* b, const vrx_int* ldb, vrx_int* info) {
  potrs(uplo, *n, *nrhs, a, *lda, b, *ldb, info);
}
void vrx_lapack_zpotrs(const char* uplo, const vrx_int* n, const vrx_int* nrhs, const vrx_complex_double* a,
                       const vrx_int* lda, vrx_complex_double* b, const vrx_int* ldb, vrx_int* info) {
  potrs(uplo, *n, *nrhs, a, *lda, b, *ldb, info);
}
