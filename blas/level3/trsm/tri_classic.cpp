// The classic road of TRSM and TRMM. The model of vrx_l3_tri_plan decides whether to
// fork; each thread then takes a slice of the right-hand sides (columns of B for side
// L, rows for side R), cut at a multiple of 4 from m = 513, the last thread taking the
// rest, and runs the sequential kernel on it. Slices are disjoint: no barrier needed.
#include <omp.h>

#include <cstdint>

#include "blas/level3/classic/vrx_gemm_classic.h"
#include "blas/level3/trsm/vrx_tri_classic.h"
#include "blas/vrx_l3.h"
#include "service/vrx_serv.h"

namespace {
thread_local vrx_tri_classic_trace last = {};
}

vrx_tri_classic_trace vrx_tri_classic_last_trace() { return last; }

template <typename T>
void vrx_tri_classic(std::uint32_t kind, vrx_trsm_fn<T> sequential, const char* side, const char* uplo,
                     const char* transa, const char* diag, const vrx_int* m_, const vrx_int* n_, const T* alpha,
                     const T* a, const vrx_int* lda, T* b, const vrx_int* ldb) {
  const vrx_int m = *m_, n = *n_;
  if (m < 1 || n < 1) return;
  const vrx_tri_codes codes = {vrx_blas_side_code(side), vrx_blas_uplo_code(uplo), vrx_blas_transa_code(transa),
                               vrx_blas_diag_code(diag)};
  const int t = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  const vrx_tri_plan plan = vrx_l3_tri_plan(codes, m, n, t);
  if (plan.threads <= 1) {
    sequential(side, uplo, transa, diag, m_, n_, alpha, a, lda, b, ldb);
    last = {kind, 1, 1, 1};
    return;
  }
  const bool left = codes.side != 1;
  const vrx_int rhs = left ? n : m;
  const vrx_int ld = *ldb;
#pragma omp parallel num_threads(plan.threads)
  {
    const int team = omp_get_num_threads(), id = omp_get_thread_num();
    const vrx_int unit = m >= 513 && rhs / team >= 4 ? 4 : 1;
    vrx_int first, count;
    vrx_gemm_classic_chunk(rhs, team, id, unit, &first, &count);
    if (count > 0) {
      if (left)
        sequential(side, uplo, transa, diag, m_, &count, alpha, a, lda, b + first * ld, ldb);
      else
        sequential(side, uplo, transa, diag, &count, n_, alpha, a, lda, b + first, ldb);
    }
    if (id == 0) last = {kind, plan.threads, team, unit};
  }
}

#define VRX_INSTANTIATE(T)                                                                               \
  template void vrx_tri_classic<T>(std::uint32_t, vrx_trsm_fn<T>, const char*, const char*, const char*, \
                                   const char*, const vrx_int*, const vrx_int*, const T*, const T*,      \
                                   const vrx_int*, T*, const vrx_int*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
