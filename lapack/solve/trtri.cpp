// TRTRI: the inverse of a triangular matrix in place, by blocks of the inverse's own
// tuning. Each block column is multiplied by the part already inverted (TRMM), solved
// with its diagonal block (TRSM), and the diagonal block inverted by the unblocked form.
#include "blas/level2/level2_common.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
// Upper: block columns left to right; the rows above each block use the inverted
// triangle to their upper left.
template <typename T>
void invert_upper_blocked(const char* diag, bool unit, vrx_int n, T* a, vrx_int lda, vrx_int nb) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  for (vrx_int j = 0; j < n; j += nb) {
    const vrx_int jb = n - j < nb ? n - j : nb;
    T* above = a + j * lda;
    T* block = a + j + j * lda;
    blas::trmm("Left", "Upper", "No transpose", diag, &j, &jb, &one, a, &lda, above, &lda);
    blas::trsm("Right", "Upper", "No transpose", diag, &j, &jb, &minus_one, block, &lda, above, &lda);
    vrx_lapack_trti2(true, unit, jb, block, lda);
  }
}

// Lower: block columns right to left; the rows below each block use the inverted
// triangle to their lower right.
template <typename T>
void invert_lower_blocked(const char* diag, bool unit, vrx_int n, T* a, vrx_int lda, vrx_int nb) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  for (vrx_int j = (n - 1) / nb * nb; j >= 0; j -= nb) {
    const vrx_int jb = n - j < nb ? n - j : nb;
    const vrx_int rest = n - j - jb;
    T* block = a + j + j * lda;
    if (rest > 0) {
      T* below = block + jb;
      const T* inverted = below + jb * lda;
      blas::trmm("Left", "Lower", "No transpose", diag, &rest, &jb, &one, inverted, &lda, below, &lda);
      blas::trsm("Right", "Lower", "No transpose", diag, &rest, &jb, &minus_one, block, &lda, below, &lda);
    }
    vrx_lapack_trti2(false, unit, jb, block, lda);
  }
}
}  // namespace

template <typename T>
void vrx_lapack_trtri(const char* uplo, const char* diag, vrx_int n, T* a, vrx_int lda, vrx_int* info) {
  *info = 0;
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (!vrx_l2_letter(diag, "NU")) position = 2;
  else if (n < 0) position = 3;
  else if (lda < (n > 1 ? n : 1)) position = 5;
  if (vrx_lapack_reject<T>("TRTRI", position, info)) return;
  if (n == 0) return;

  const bool upper = vrx_l2_letter(uplo, "U"), unit = vrx_l2_letter(diag, "U");
  // A zero on the diagonal leaves A as it came (a NaN is not zero).
  if (!unit)
    for (vrx_int j = 0; j < n; ++j)
      if (vrx_traits<T>::is_zero(a[j + j * lda])) {
        *info = j + 1;
        return;
      }

  const char opts[3] = {upper ? 'U' : 'L', unit ? 'U' : 'N', 0};
  const vrx_int nb = vrx_lapack_inverse_key<T>(1, "TRTRI", opts, n);
  const char* diag_word = unit ? "Unit" : "Non-unit";
  if (nb <= 1 || nb >= n)
    vrx_lapack_trti2(upper, unit, n, a, lda);
  else if (upper)
    invert_upper_blocked(diag_word, unit, n, a, lda, nb);
  else
    invert_lower_blocked(diag_word, unit, n, a, lda, nb);
}

template void vrx_lapack_trtri<float>(const char*, const char*, vrx_int, float*, vrx_int, vrx_int*);
template void vrx_lapack_trtri<double>(const char*, const char*, vrx_int, double*, vrx_int, vrx_int*);
template void vrx_lapack_trtri<vrx_complex_float>(const char*, const char*, vrx_int, vrx_complex_float*, vrx_int,
                                                  vrx_int*);
template void vrx_lapack_trtri<vrx_complex_double>(const char*, const char*, vrx_int, vrx_complex_double*, vrx_int,
                                                   vrx_int*);

void vrx_lapack_strtri(const char* uplo, const char* diag, const vrx_int* n, float* a, const vrx_int* lda,
                       vrx_int* info) {
  vrx_lapack_trtri(uplo, diag, *n, a, *lda, info);
}
void vrx_lapack_dtrtri(const char* uplo, const char* diag, const vrx_int* n, double* a, const vrx_int* lda,
                       vrx_int* info) {
  vrx_lapack_trtri(uplo, diag, *n, a, *lda, info);
}
void vrx_lapack_ctrtri(const char* uplo, const char* diag, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                       vrx_int* info) {
  vrx_lapack_trtri(uplo, diag, *n, a, *lda, info);
}
void vrx_lapack_ztrtri(const char* uplo, const char* diag, const vrx_int* n, vrx_complex_double* a,
                       const vrx_int* lda, vrx_int* info) {
  vrx_lapack_trtri(uplo, diag, *n, a, *lda, info);
}
