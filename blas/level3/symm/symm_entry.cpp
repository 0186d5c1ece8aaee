// The SYMM and HEMM entry of every precision: quick returns, alpha = 0 on the team road,
// then the team of the level-3 driver for large calls on CPU types 5 and 7, the
// sequential kernel for everything else.
#include "blas/level3/symm/vrx_symm.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "service/vrx_serv.h"

namespace {
// Extents below which both sides stay in one thread.
constexpr vrx_int sequential_below = 17;

// The team road with kind SYMM; the layout takes the symmetric operand's order as k.
// Answers false when the call should stay sequential.
template <typename T, bool HERMITIAN>
bool team_road(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const T* alpha, const T* a,
               const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  const vrx_int order = vrx_blas_side_code(side) == 1 ? *n : *m;
  vrx_l3_team<T> team;
  const int threads = vrx_l3_team_plan(*m, *n, order, &team);
  if (threads < 2 || !vrx_l3_kernels_for<T>(static_cast<int>(team.cpu))) return false;
  const vrx_symm_records<T> r =
      vrx_symm_make_records(HERMITIAN, side, uplo, *m, *n, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
  vrx_symm_note(VRX_SYMM_ROAD_TEAM, threads);
  vrx_blas_gemm_team(&r.call, &r.a, &r.b, &r.c, &team);
  return true;
}

template <typename T, bool HERMITIAN>
void symm_entry(vrx_symm_fn_type<T>* sequential, const char* side, const char* uplo, const vrx_int* m,
                const vrx_int* n, const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb,
                const T* beta, T* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  const int road = vrx_blas_dgemm_road();
  // The classic road meets alpha = 0 in its sequential kernel.
  if ((road == 2 || road == 198) && vrx_symm_alpha_zero(*m, *n, *alpha, *beta, c, *ldc)) return;
  if (road == 2 && (*m >= sequential_below || *n >= sequential_below) &&
      team_road<T, HERMITIAN>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc))
    return;
  sequential(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
}  // namespace

void vrx_blas_ssymm(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const float* alpha,
                    const float* a, const vrx_int* lda, const float* b, const vrx_int* ldb, const float* beta,
                    float* c, const vrx_int* ldc) {
  symm_entry<float, false>(vrx_blas_ssymm_sequential, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_dsymm(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const double* alpha,
                    const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb, const double* beta,
                    double* c, const vrx_int* ldc) {
  symm_entry<double, false>(vrx_blas_dsymm_sequential, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_csymm(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                    const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                    const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                    vrx_complex_float* c, const vrx_int* ldc) {
  symm_entry<vrx_complex_float, false>(vrx_blas_csymm_sequential, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c,
                                       ldc);
}
void vrx_blas_zsymm(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                    const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                    const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                    vrx_complex_double* c, const vrx_int* ldc) {
  symm_entry<vrx_complex_double, false>(vrx_blas_zsymm_sequential, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c,
                                        ldc);
}
void vrx_blas_chemm(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                    const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                    const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                    vrx_complex_float* c, const vrx_int* ldc) {
  symm_entry<vrx_complex_float, true>(vrx_blas_chemm_sequential, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c,
                                      ldc);
}
void vrx_blas_zhemm(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                    const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                    const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                    vrx_complex_double* c, const vrx_int* ldc) {
  symm_entry<vrx_complex_double, true>(vrx_blas_zhemm_sequential, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c,
                                       ldc);
}

// The published names: the quick return, then the entry.
extern "C" void SSYMM(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const float* alpha,
                      const float* a, const vrx_int* lda, const float* b, const vrx_int* ldb, const float* beta,
                      float* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_ssymm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void DSYMM(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const double* alpha,
                      const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb, const double* beta,
                      double* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_dsymm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void CSYMM(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                      const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                      const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                      vrx_complex_float* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_csymm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void ZSYMM(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                      const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                      const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                      vrx_complex_double* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_zsymm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void CHEMM(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                      const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                      const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                      vrx_complex_float* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_chemm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void ZHEMM(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                      const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                      const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                      vrx_complex_double* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_zhemm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
