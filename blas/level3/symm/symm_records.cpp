// The driver's records of a SYMM or HEMM call, and the trace of the road it took.
#include "blas/level3/symm/vrx_symm.h"

template <typename T>
vrx_symm_records<T> vrx_symm_make_records(bool hermitian, const char* side, const char* uplo, vrx_int m, vrx_int n,
                                          T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb, T beta, T* c,
                                          vrx_int ldc) {
  vrx_symm_records<T> r;
  r.call = vrx_l3_gemm_call<T>(hermitian ? "C" : "T", "N", alpha, beta);
  r.call.kind = VRX_L3_SYMM;
  r.call.side = side;
  r.call.uplo = uplo;
  const vrx_l3_view<T> general = vrx_l3_make_view<T>(b, m, n, ldb, VRX_L3_PLAIN);
  if (vrx_blas_side_code(side) == 1) {
    r.a = general;
    r.b = vrx_l3_make_view<T>(a, n, n, lda, VRX_L3_PLAIN);
  } else {
    r.a = vrx_l3_make_view<T>(a, m, m, lda, VRX_L3_PLAIN);
    r.b = general;
  }
  r.c = vrx_l3_make_c_view<T>(c, m, n, ldc);
  return r;
}

namespace {
thread_local vrx_symm_trace last = {};
}

vrx_symm_trace vrx_symm_last_trace() { return last; }
void vrx_symm_note(int road, int threads) { last = {road, threads}; }

#define VRX_INSTANTIATE(T)                                                                                  \
  template vrx_symm_records<T> vrx_symm_make_records(bool, const char*, const char*, vrx_int, vrx_int, T,    \
                                                     const T*, vrx_int, const T*, vrx_int, T, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
