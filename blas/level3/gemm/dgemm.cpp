// The GEMM entry: sorts each call into a road (nothing, GEMV, rank-one update,
// the classic road or the team road) and hands it on. It decides nothing about numbers.
#include "blas/vrx_blas.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int gather_threshold_rows = 64;

// k = 1: C := beta C + alpha x y^T with x the column of op(A), y the row of op(B).
void rank_one_road(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                   const double* alpha, const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb,
                   const double* beta, double* c, const vrx_int* ldc, const vrx_int* unit, bool a_plain,
                   bool b_plain) {
  const vrx_int* incx = a_plain ? unit : lda;
  const vrx_int* incy = b_plain ? ldb : unit;
  if (*incx != 1 && *m > gather_threshold_rows) {
    double* gathered = static_cast<double*>(vrx_serv_malloc(8 * static_cast<std::size_t>(*m), 128));
    if (gathered) {
      vrx_blas_dcopy_threaded(m, a, incx, gathered, unit);
      vrx_blas_dger_beta(transa, transb, m, n, alpha, gathered, unit, b, incy, beta, c, ldc);
      vrx_serv_free(gathered);
      return;
    }
  }
  vrx_blas_dger_beta(transa, transb, m, n, alpha, a, incx, b, incy, beta, c, ldc);
}
}  // namespace

void vrx_blas_dgemm(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                    const double* alpha, const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb,
                    const double* beta, double* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  const bool a_plain = vrx_blas_trans_code(*transa) == 0;
  const bool b_plain = vrx_blas_trans_code(*transb) == 0;
  const vrx_int unit = 1;

  // Vector-shaped products never pack. A negative k takes this branch too.
  if (*k != 0) {
    if (*m == 1) {
      // One row of C (stride ldc) = op(B)^T times the row of op(A).
      const vrx_int* incx = a_plain ? lda : &unit;
      if (b_plain) vrx_blas_dgemv("T", k, n, alpha, b, ldb, a, incx, beta, c, ldc);
      else vrx_blas_dgemv("N", n, k, alpha, b, ldb, a, incx, beta, c, ldc);
      return;
    }
    if (*n == 1) {
      // One column of C = op(A) times the column of op(B).
      const vrx_int* incx = b_plain ? &unit : ldb;
      if (a_plain) vrx_blas_dgemv("N", m, k, alpha, a, lda, b, incx, beta, c, &unit);
      else vrx_blas_dgemv("T", k, m, alpha, a, lda, b, incx, beta, c, &unit);
      return;
    }
    if (*k == 1) {
      rank_one_road(transa, transb, m, n, alpha, a, lda, b, ldb, beta, c, ldc, &unit, a_plain, b_plain);
      return;
    }
  }

  const int road = vrx_blas_dgemm_road();
  if (road != 2 && road != 198) {
    vrx_blas_dgemm_classic(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  // Below the smaller threshold of the cost model no thread count forks: straight to
  // the sequential kernel, without setting up the team road.
  if (vrx_l3_team_one_thread_at_any_count(vrx_serv_cpu_detect(), *m, *n, *k) ||
      !vrx_blas_dgemm_team_road(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc))
    vrx_blas_dgemm_sequential(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
