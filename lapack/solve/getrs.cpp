// GETRS: op(A) X = B with A = P L U from GETRF. The interchanges go through the threaded
// LASWP; a single right-hand side is solved with the vector solve instead of the matrix one.
#include "blas/level2/level2_common.h"
#include "lapack/lu/vrx_getrf.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
// B := inv(op(A)) B for the triangle of A named by uplo and diag.
template <typename T>
void solve_triangle(const char* uplo, const char* trans, const char* diag, vrx_int n, vrx_int nrhs, const T* a,
                    vrx_int lda, T* b, vrx_int ldb) {
  if (nrhs == 1) {
    const vrx_int one = 1;
    vrx_lapack_blas<T>::trsv(uplo, trans, diag, &n, a, &lda, b, &one);
    return;
  }
  const T alpha = vrx_traits<T>::make(1, 0);
  vrx_lapack_blas<T>::trsm("Left", uplo, trans, diag, &n, &nrhs, &alpha, a, &lda, b, &ldb);
}
}  // namespace

template <typename T>
void vrx_lapack_getrs(const char* trans, vrx_int n, vrx_int nrhs, const T* a, vrx_int lda, const vrx_int* ipiv, T* b,
                      vrx_int ldb, vrx_int* info) {
  *info = 0;
  const vrx_int least = n > 1 ? n : 1;
  int position = 0;
  if (!vrx_l2_letter(trans, "NTC")) position = 1;
  else if (n < 0) position = 2;
  else if (nrhs < 0) position = 3;
  else if (lda < least) position = 5;
  else if (ldb < least) position = 8;
  if (vrx_lapack_reject<T>("GETRS", position, info)) return;
  if (n == 0 || nrhs == 0) return;

  if (vrx_l2_letter(trans, "N")) {
    vrx_lapack_laswp(nrhs, b, ldb, 1, n, ipiv, 1);
    solve_triangle("Lower", "No transpose", "Unit", n, nrhs, a, lda, b, ldb);
    solve_triangle("Upper", "No transpose", "Non-unit", n, nrhs, a, lda, b, ldb);
    return;
  }
  // T, or C: the conjugate transpose of complex data, the transpose of real data.
  const char* op = vrx_l2_letter(trans, "C") ? "Conjugate transpose" : "Transpose";
  solve_triangle("Upper", op, "Non-unit", n, nrhs, a, lda, b, ldb);
  solve_triangle("Lower", op, "Unit", n, nrhs, a, lda, b, ldb);
  vrx_lapack_laswp(nrhs, b, ldb, 1, n, ipiv, -1);
}

template void vrx_lapack_getrs<float>(const char*, vrx_int, vrx_int, const float*, vrx_int, const vrx_int*, float*,
                                      vrx_int, vrx_int*);
template void vrx_lapack_getrs<double>(const char*, vrx_int, vrx_int, const double*, vrx_int, const vrx_int*,
                                       double*, vrx_int, vrx_int*);
template void vrx_lapack_getrs<vrx_complex_float>(const char*, vrx_int, vrx_int, const vrx_complex_float*, vrx_int,
                                                  const vrx_int*, vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_getrs<vrx_complex_double>(const char*, vrx_int, vrx_int, const vrx_complex_double*,
                                                   vrx_int, const vrx_int*, vrx_complex_double*, vrx_int, vrx_int*);

void vrx_lapack_sgetrs(const char* trans, const vrx_int* n, const vrx_int* nrhs, const float* a, const vrx_int* lda,
                       const vrx_int* ipiv, float* b, const vrx_int* ldb, vrx_int* info) {
  vrx_lapack_getrs(trans, *n, *nrhs, a, *lda, ipiv, b, *ldb, info);
}
void vrx_lapack_dgetrs(const char* trans, const vrx_int* n, const vrx_int* nrhs, const double* a, const vrx_int* lda,
                       const vrx_int* ipiv, double* b, const vrx_int* ldb, vrx_int* info) {
  vrx_lapack_getrs(trans, *n, *nrhs, a, *lda, ipiv, b, *ldb, info);
}
void vrx_lapack_cgetrs(const char* trans, const vrx_int* n, const vrx_int* nrhs, const vrx_complex_float* a,
                       const vrx_int* lda, const vrx_int* ipiv, vrx_complex_float* b, const vrx_int* ldb,
                       vrx_int* info) {
  vrx_lapack_getrs(trans, *n, *nrhs, a, *lda, ipiv, b, *ldb, info);
}
void vrx_lapack_zgetrs(const char* trans, const vrx_int* n, const vrx_int* nrhs, const vrx_complex_double* a,
                       const vrx_int* lda, const vrx_int* ipiv, vrx_complex_double* b, const vrx_int* ldb,
                       vrx_int* info) {
  vrx_lapack_getrs(trans, *n, *nrhs, a, *lda, ipiv, b, *ldb, info);
}
