// GETRI: inv(A) from A = P L U. U is inverted in place, then inv(A) solves
// inv(A) L = inv(U) from the last column to the first (by columns, or by blocks when the
// workspace holds them), and the column interchanges are undone in reverse.
#include "lapack/solve/vrx_solve.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
// Moves the strictly lower part of columns [j, j + width) into work (leading dimension n)
// and leaves zeros in their place.
template <typename T>
void take_lower_columns(vrx_int n, T* a, vrx_int lda, vrx_int j, vrx_int width, T* work) {
  for (vrx_int c = j; c < j + width; ++c)
    for (vrx_int i = c + 1; i < n; ++i) {
      work[i + (c - j) * n] = a[i + c * lda];
      a[i + c * lda] = T{};
    }
}

// Column j, from the last: A(:, j) -= A(:, j+1:n) L(j+1:n, j).
template <typename T>
void solve_by_columns(vrx_int n, T* a, vrx_int lda, T* work) {
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  const vrx_int step = 1;
  for (vrx_int j = n - 1; j >= 0; --j) {
    take_lower_columns(n, a, lda, j, 1, work);
    const vrx_int right = n - 1 - j;
    if (right > 0)
      vrx_lapack_blas<T>::gemv("No transpose", &n, &right, &minus_one, a + (j + 1) * lda, &lda, work + j + 1, &step,
                               &one, a + j * lda, &step);
  }
}

// Block columns of width nb from the right: the product with the columns already
// finished, then the unit lower solve with the block's own L.
template <typename T>
void solve_by_blocks(vrx_int n, T* a, vrx_int lda, T* work, vrx_int nb) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  for (vrx_int j = (n - 1) / nb * nb; j >= 0; j -= nb) {
    const vrx_int jb = n - j < nb ? n - j : nb;
    const vrx_int right = n - j - jb;
    take_lower_columns(n, a, lda, j, jb, work);
    if (right > 0)
      blas::gemm("No transpose", "No transpose", &n, &jb, &right, &minus_one, a + (j + jb) * lda, &lda,
                 work + j + jb, &n, &one, a + j * lda, &lda);
    blas::trsm("Right", "Lower", "No transpose", "Unit", &n, &jb, &one, work + j, &n, a + j * lda, &lda);
  }
}
}  // namespace

template <typename T>
void vrx_lapack_getri(vrx_int n, T* a, vrx_int lda, const vrx_int* ipiv, T* work, vrx_int lwork, vrx_int* info) {
  typedef vrx_real_t<T> R;
  *info = 0;
  vrx_int nb = vrx_lapack_inverse_key<T>(1, "GETRI", "", n);
  const vrx_int optimal = nb * n;
  work[0] = vrx_traits<T>::make(static_cast<R>(optimal), 0);
  const bool query = lwork == -1;
  const vrx_int least = n > 1 ? n : 1;
  int position = 0;
  if (n < 0) position = 1;
  else if (lda < least) position = 3;
  else if (lwork < least && !query) position = 6;
  if (vrx_lapack_reject<T>("GETRI", position, info)) return;
  if (query || n == 0) return;

  vrx_lapack_trtri("Upper", "Non-unit", n, a, lda, info);
  if (*info > 0) return;

  // A workspace short of nb columns narrows the blocks to what it holds.
  vrx_int nbmin = 2;
  if (nb > 1 && nb < n && lwork < nb * n) {
    nb = lwork / n;
    const vrx_int smallest = vrx_lapack_inverse_key<T>(2, "GETRI", "", n);
    nbmin = smallest > 2 ? smallest : 2;
  }
  if (nb < nbmin || nb >= n)
    solve_by_columns(n, a, lda, work);
  else
    solve_by_blocks(n, a, lda, work, nb);

  for (vrx_int j = n - 2; j >= 0; --j) {
    const vrx_int p = ipiv[j] - 1;
    if (p != j) vrx_blas_level1<T>()->swap(n, a + j * lda, a + p * lda);
  }
  work[0] = vrx_traits<T>::make(static_cast<R>(optimal), 0);
}

template void vrx_lapack_getri<float>(vrx_int, float*, vrx_int, const vrx_int*, float*, vrx_int, vrx_int*);
template void vrx_lapack_getri<double>(vrx_int, double*, vrx_int, const vrx_int*, double*, vrx_int, vrx_int*);
template void vrx_lapack_getri<vrx_complex_float>(vrx_int, vrx_complex_float*, vrx_int, const vrx_int*,
                                                  vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_getri<vrx_complex_double>(vrx_int, vrx_complex_double*, vrx_int, const vrx_int*,
                                                   vrx_complex_double*, vrx_int, vrx_int*);

void vrx_lapack_sgetri(const vrx_int* n, float* a, const vrx_int* lda, const vrx_int* ipiv, float* work,
                       const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_getri(*n, a, *lda, ipiv, work, *lwork, info);
}
void vrx_lapack_dgetri(const vrx_int* n, double* a, const vrx_int* lda, const vrx_int* ipiv, double* work,
                       const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_getri(*n, a, *lda, ipiv, work, *lwork, info);
}
void vrx_lapack_cgetri(const vrx_int* n, vrx_complex_float* a, const vrx_int* lda, const vrx_int* ipiv,
                       vrx_complex_float* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_getri(*n, a, *lda, ipiv, work, *lwork, info);
}
void vrx_lapack_zgetri(const vrx_int* n, vrx_complex_double* a, const vrx_int* lda, const vrx_int* ipiv,
                       vrx_complex_double* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_getri(*n, a, *lda, ipiv, work, *lwork, info);
}
