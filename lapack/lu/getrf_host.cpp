// The host routine of the LU factorisation: the path choice from the tuning answers, the
// thread count of the LAPACK domain, the packed service and the reproducibility branch.
#include "blas/vrx_blas.h"
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
void lookahead_top(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info) {
  if (vrx_lapack_getrf_lookahead(m, n, a, lda, ipiv, info, 0, 0)) *info = -1002;
}

bool team_branch() {
  const int branch = vrx_serv_cbwr_get(1);
  return vrx_blas_gemm_pack_query() == 2 && (branch == 1 || branch == 2 || branch == 10);
}
}  // namespace

template <typename T>
void vrx_lapack_getrf_host(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info) {
  vrx_getrf_trace* trace = vrx_lapack_getrf_trace();
  *trace = vrx_getrf_trace{};
  *info = 0;
  if (m == 0 || n == 0) return;
  if (vrx_lapack_ilaenv<T>(3, "GETRF", " ", m, n, -1, -1) >= n) {
    vrx_lapack_getrf_seq(m, n, a, lda, ipiv, info);
    return;
  }
  const int t = vrx_serv_get_max_threads();
  trace->threads = t;
  if (t < 2) {
    vrx_lapack_getrf_seq(m, n, a, lda, ipiv, info);
    return;
  }
  if (vrx_lapack_ilaenv<T>(3, "GETRF", " ", m, n, t, -1) >= n) {
    lookahead_top(m, n, a, lda, ipiv, info);
    return;
  }
  const vrx_int nb = vrx_lapack_ilaenv<T>(1, "GETRF", " ", m, n, t, -1);
  trace->nb = nb;
  if (nb <= 1 || nb >= (m < n ? m : n)) {
    trace->path = VRX_GETRF_PATH_GETF2;
    *info = vrx_lapack_getf2(m, n, a, lda, ipiv);
    return;
  }
  if (team_branch()) {
    trace->path = VRX_GETRF_PATH_TEAM;
    vrx_lapack_getrf_team(m, n, a, lda, ipiv, info, t);
    return;
  }
  trace->path = VRX_GETRF_PATH_QUEUE;
  if (vrx_lapack_getrf_queue(m, n, a, lda, ipiv, info, t, nb) == -1) {
    trace->fallback = 1;
    lookahead_top(m, n, a, lda, ipiv, info);
  }
}

template void vrx_lapack_getrf_host<float>(vrx_int, vrx_int, float*, vrx_int, vrx_int*, vrx_int*);
template void vrx_lapack_getrf_host<double>(vrx_int, vrx_int, double*, vrx_int, vrx_int*, vrx_int*);
template void vrx_lapack_getrf_host<vrx_complex_float>(vrx_int, vrx_int, vrx_complex_float*, vrx_int, vrx_int*,
                                                       vrx_int*);
template void vrx_lapack_getrf_host<vrx_complex_double>(vrx_int, vrx_int, vrx_complex_double*, vrx_int, vrx_int*,
                                                        vrx_int*);
