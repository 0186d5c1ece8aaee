// The portable GEMM kernel of every precision: the definition of the result.
#include "blas/vrx_blas.h"
#include "blas/vrx_scale_matrix.h"

namespace {
template <typename T>
void gemm_reference(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_, const vrx_int* k_,
                    const T* alpha_, const T* a, const vrx_int* lda_, const T* b, const vrx_int* ldb_, const T* beta_,
                    T* c, const vrx_int* ldc_) {
  typedef vrx_traits<T> tr;
  const vrx_int m = *m_, n = *n_, k = *k_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  const T alpha = *alpha_, beta = *beta_;
  if (m < 1 || n < 1) return;

  vrx_scale_matrix(m, n, beta, c, ldc);
  if (tr::is_zero(alpha) || k < 1) return;

  const int code_a = vrx_blas_trans_code(*transa), code_b = vrx_blas_trans_code(*transb);
  const bool a_plain = code_a == 0, b_plain = code_b == 0;
  // C conjugates complex data; real data reads it as T.
  const bool a_conj = tr::is_complex && code_a == 2, b_conj = tr::is_complex && code_b == 2;
  for (vrx_int j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    for (vrx_int l = 0; l < k; ++l) {
      const T bv = b_plain ? b[l + j * ldb] : b[j + l * ldb];
      const T t = alpha * (b_conj ? tr::conj(bv) : bv);
      if (a_plain) {
        const T* al = a + l * lda;
        for (vrx_int i = 0; i < m; ++i) cj[i] += t * al[i];
      } else if (a_conj) {
        for (vrx_int i = 0; i < m; ++i) cj[i] += t * tr::conj(a[l + i * lda]);
      } else {
        for (vrx_int i = 0; i < m; ++i) cj[i] += t * a[l + i * lda];
      }
    }
  }
}
}  // namespace

void vrx_blas_sgemm_reference(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const float* alpha, const float* a, const vrx_int* lda,
                              const float* b, const vrx_int* ldb, const float* beta, float* c, const vrx_int* ldc) {
  gemm_reference(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_dgemm_reference(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                              const double* b, const vrx_int* ldb, const double* beta, double* c,
                              const vrx_int* ldc) {
  gemm_reference(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_cgemm_reference(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const vrx_complex_float* alpha, const vrx_complex_float* a,
                              const vrx_int* lda, const vrx_complex_float* b, const vrx_int* ldb,
                              const vrx_complex_float* beta, vrx_complex_float* c, const vrx_int* ldc) {
  gemm_reference(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zgemm_reference(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const vrx_complex_double* alpha, const vrx_complex_double* a,
                              const vrx_int* lda, const vrx_complex_double* b, const vrx_int* ldb,
                              const vrx_complex_double* beta, vrx_complex_double* c, const vrx_int* ldc) {
  gemm_reference(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
