// The entries of the rank-k and rank-2k updates of one triangle: SYRK, HERK, SYR2K
// and HER2K in their precisions. Quick returns, the thread count of the BLAS domain,
// the sequential entry for small problems, then the team road (CPU types 5 and 7) or
// the classic front.
#include "blas/level3/syrk/vrx_syrk.h"
#include "service/vrx_serv.h"

template <typename T>
void vrx_syrk_entry(const vrx_syrk_problem<T>* p) {
  typedef vrx_traits<T> tr;
  vrx_syrk_note(VRX_SYRK_NOTHING, 0);
  if (p->n < 1) return;
  if ((tr::is_zero(p->alpha) || p->k < 1) && tr::is_one(p->beta)) return;
  const int t = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  if ((p->n < 17 && p->k < 17) || t <= 1) {
    vrx_syrk_note(VRX_SYRK_SEQUENTIAL, 1);
    vrx_syrk_sequential(p);
    return;
  }
  const int road = vrx_blas_dgemm_road();
  if (road == 2 || road == 198) {
    if (!vrx_syrk_team_road(p, t)) {
      vrx_syrk_note(VRX_SYRK_SEQUENTIAL, 1);
      vrx_syrk_sequential(p);
    }
    return;
  }
  vrx_syrk_classic(p, t);
}

namespace {
template <typename T>
void syrk(bool sequential, const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k, const T* alpha,
          const T* a, const vrx_int* lda, const T* beta, T* c, const vrx_int* ldc) {
  const vrx_syrk_problem<T> p =
      vrx_syrk_make_problem<T>(false, false, uplo, trans, *n, *k, *alpha, a, *lda, nullptr, 0, *beta, c, *ldc);
  if (sequential) vrx_syrk_sequential(&p);
  else vrx_syrk_entry(&p);
}
template <typename T>
void herk(bool sequential, const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k,
          const vrx_real_t<T>* alpha, const T* a, const vrx_int* lda, const vrx_real_t<T>* beta, T* c,
          const vrx_int* ldc) {
  const T alpha_c = vrx_traits<T>::make(*alpha, 0), beta_c = vrx_traits<T>::make(*beta, 0);
  const vrx_syrk_problem<T> p =
      vrx_syrk_make_problem<T>(true, false, uplo, trans, *n, *k, alpha_c, a, *lda, nullptr, 0, beta_c, c, *ldc);
  if (sequential) vrx_syrk_sequential(&p);
  else vrx_syrk_entry(&p);
}
template <typename T>
void syr2k(bool sequential, const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k, const T* alpha,
           const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  const vrx_syrk_problem<T> p =
      vrx_syrk_make_problem<T>(false, true, uplo, trans, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
  if (sequential) vrx_syrk_sequential(&p);
  else vrx_syrk_entry(&p);
}
template <typename T>
void her2k(bool sequential, const char* uplo, const char* trans, const vrx_int* n, const vrx_int* k, const T* alpha,
           const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const vrx_real_t<T>* beta, T* c,
           const vrx_int* ldc) {
  const T beta_c = vrx_traits<T>::make(*beta, 0);
  const vrx_syrk_problem<T> p =
      vrx_syrk_make_problem<T>(true, true, uplo, trans, *n, *k, *alpha, a, *lda, b, *ldb, beta_c, c, *ldc);
  if (sequential) vrx_syrk_sequential(&p);
  else vrx_syrk_entry(&p);
}
}  // namespace

#define VRX_INSTANTIATE(T) template void vrx_syrk_entry(const vrx_syrk_problem<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE

// ---- the members by precision letter: the entry and the sequential entry ----
#define VRX_SYRK_ARGS(T)                                                                                       \
  const char *uplo, const char *trans, const vrx_int *n, const vrx_int *k, const T *alpha, const T *a,        \
      const vrx_int *lda, const T *beta, T *c, const vrx_int *ldc
#define VRX_HERK_ARGS(T)                                                                                       \
  const char *uplo, const char *trans, const vrx_int *n, const vrx_int *k, const vrx_real_t<T> *alpha,        \
      const T *a, const vrx_int *lda, const vrx_real_t<T> *beta, T *c, const vrx_int *ldc
#define VRX_SYR2K_ARGS(T)                                                                                      \
  const char *uplo, const char *trans, const vrx_int *n, const vrx_int *k, const T *alpha, const T *a,        \
      const vrx_int *lda, const T *b, const vrx_int *ldb, const T *beta, T *c, const vrx_int *ldc
#define VRX_HER2K_ARGS(T)                                                                                      \
  const char *uplo, const char *trans, const vrx_int *n, const vrx_int *k, const T *alpha, const T *a,        \
      const vrx_int *lda, const T *b, const vrx_int *ldb, const vrx_real_t<T> *beta, T *c, const vrx_int *ldc

void vrx_blas_ssyrk(VRX_SYRK_ARGS(float)) { syrk(false, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_dsyrk(VRX_SYRK_ARGS(double)) { syrk(false, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_csyrk(VRX_SYRK_ARGS(vrx_complex_float)) { syrk(false, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_zsyrk(VRX_SYRK_ARGS(vrx_complex_double)) { syrk(false, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_ssyrk_sequential(VRX_SYRK_ARGS(float)) { syrk(true, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_dsyrk_sequential(VRX_SYRK_ARGS(double)) { syrk(true, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_csyrk_sequential(VRX_SYRK_ARGS(vrx_complex_float)) {
  syrk(true, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
void vrx_blas_zsyrk_sequential(VRX_SYRK_ARGS(vrx_complex_double)) {
  syrk(true, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
void vrx_blas_cherk(VRX_HERK_ARGS(vrx_complex_float)) { herk(false, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_zherk(VRX_HERK_ARGS(vrx_complex_double)) { herk(false, uplo, trans, n, k, alpha, a, lda, beta, c, ldc); }
void vrx_blas_cherk_sequential(VRX_HERK_ARGS(vrx_complex_float)) {
  herk(true, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
void vrx_blas_zherk_sequential(VRX_HERK_ARGS(vrx_complex_double)) {
  herk(true, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
void vrx_blas_ssyr2k(VRX_SYR2K_ARGS(float)) { syr2k(false, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
void vrx_blas_dsyr2k(VRX_SYR2K_ARGS(double)) { syr2k(false, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
void vrx_blas_csyr2k(VRX_SYR2K_ARGS(vrx_complex_float)) {
  syr2k(false, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zsyr2k(VRX_SYR2K_ARGS(vrx_complex_double)) {
  syr2k(false, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_ssyr2k_sequential(VRX_SYR2K_ARGS(float)) {
  syr2k(true, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_dsyr2k_sequential(VRX_SYR2K_ARGS(double)) {
  syr2k(true, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_csyr2k_sequential(VRX_SYR2K_ARGS(vrx_complex_float)) {
  syr2k(true, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zsyr2k_sequential(VRX_SYR2K_ARGS(vrx_complex_double)) {
  syr2k(true, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_cher2k(VRX_HER2K_ARGS(vrx_complex_float)) {
  her2k(false, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zher2k(VRX_HER2K_ARGS(vrx_complex_double)) {
  her2k(false, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_cher2k_sequential(VRX_HER2K_ARGS(vrx_complex_float)) {
  her2k(true, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zher2k_sequential(VRX_HER2K_ARGS(vrx_complex_double)) {
  her2k(true, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The published names, Fortran style: every argument by pointer; n below 1 returns.
extern "C" void SSYRK(VRX_SYRK_ARGS(float)) {
  if (*n > 0) vrx_blas_ssyrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
extern "C" void DSYRK(VRX_SYRK_ARGS(double)) {
  if (*n > 0) vrx_blas_dsyrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
extern "C" void CSYRK(VRX_SYRK_ARGS(vrx_complex_float)) {
  if (*n > 0) vrx_blas_csyrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
extern "C" void ZSYRK(VRX_SYRK_ARGS(vrx_complex_double)) {
  if (*n > 0) vrx_blas_zsyrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
extern "C" void CHERK(VRX_HERK_ARGS(vrx_complex_float)) {
  if (*n > 0) vrx_blas_cherk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
extern "C" void ZHERK(VRX_HERK_ARGS(vrx_complex_double)) {
  if (*n > 0) vrx_blas_zherk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
extern "C" void SSYR2K(VRX_SYR2K_ARGS(float)) {
  if (*n > 0) vrx_blas_ssyr2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void DSYR2K(VRX_SYR2K_ARGS(double)) {
  if (*n > 0) vrx_blas_dsyr2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void CSYR2K(VRX_SYR2K_ARGS(vrx_complex_float)) {
  if (*n > 0) vrx_blas_csyr2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void ZSYR2K(VRX_SYR2K_ARGS(vrx_complex_double)) {
  if (*n > 0) vrx_blas_zsyr2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void CHER2K(VRX_HER2K_ARGS(vrx_complex_float)) {
  if (*n > 0) vrx_blas_cher2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void ZHER2K(VRX_HER2K_ARGS(vrx_complex_double)) {
  if (*n > 0) vrx_blas_zher2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
