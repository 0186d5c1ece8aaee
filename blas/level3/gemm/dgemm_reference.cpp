// The portable GEMM kernel: the definition of the result.
#include "blas/vrx_blas.h"
#include "blas/vrx_scale_matrix.h"

void vrx_blas_dgemm_reference(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_,
                              const vrx_int* k_, const double* alpha_, const double* a, const vrx_int* lda_,
                              const double* b, const vrx_int* ldb_, const double* beta_, double* c,
                              const vrx_int* ldc_) {
  const vrx_int m = *m_, n = *n_, k = *k_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  const double alpha = *alpha_, beta = *beta_;
  if (m < 1 || n < 1) return;

  vrx_scale_matrix(m, n, beta, c, ldc);
  if (alpha == 0.0 || k < 1) return;

  const bool a_plain = vrx_blas_trans_code(*transa) == 0;
  const bool b_plain = vrx_blas_trans_code(*transb) == 0;
  for (vrx_int j = 0; j < n; ++j) {
    double* cj = c + j * ldc;
    for (vrx_int l = 0; l < k; ++l) {
      const double t = alpha * (b_plain ? b[l + j * ldb] : b[j + l * ldb]);
      if (a_plain) {
        const double* al = a + l * lda;
        for (vrx_int i = 0; i < m; ++i) cj[i] += t * al[i];
      } else {
        for (vrx_int i = 0; i < m; ++i) cj[i] += t * a[l + i * lda];
      }
    }
  }
}
