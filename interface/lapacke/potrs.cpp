// LAPACKE_dpotrs, LAPACKE_spotrs and their work layer.
#include "interface/lapacke/vrx_lapacke_frame.h"

namespace {
template <typename T>
int potrs_work(int layout, char uplo, int n, int nrhs, const T* a, int lda, T* b, int ldb) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("potrs_work");
  const auto call = [&](const T* factor, int lda_used, T* rhs, int ldb_used) {
    int info = 0;
    vrx_fortran_potrs(&uplo, &n, &nrhs, factor, &lda_used, rhs, &ldb_used, &info);
    return info;
  };
  if (layout == LAPACK_COL_MAJOR) return vrx_lapacke_counted(call(a, lda, b, ldb));
  if (layout != LAPACK_ROW_MAJOR) return vrx_lapacke_bad_layout(name.text);
  if (const int info = vrx_lapacke_check_lds(name.text, {{lda, n, -6}, {ldb, nrhs, -8}})) return info;
  vrx_lapacke_copy<T> copies[] = {{a, nullptr, n, n, lda, &uplo}, {b, b, n, nrhs, ldb}};
  return vrx_lapacke_through_copies(name.text, copies, [&] {
    return call(copies[0].copy, copies[0].copy_ld, copies[1].copy, copies[1].copy_ld);
  });
}

template <typename T>
int potrs(int layout, char uplo, int n, int nrhs, const T* a, int lda, T* b, int ldb) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("potrs");
  if (const int info = vrx_lapacke_enter<T>(name.text, layout, {{a, n, n, lda, -5, &uplo}, {b, n, nrhs, ldb, -7}}))
    return info;
  return vrx_lapacke_leave(name.text, potrs_work(layout, uplo, n, nrhs, a, lda, b, ldb));
}
}  // namespace

extern "C" int LAPACKE_dpotrs_work(int layout, char uplo, int n, int nrhs, const double* a, int lda, double* b,
                                   int ldb) {
  return potrs_work(layout, uplo, n, nrhs, a, lda, b, ldb);
}
extern "C" int LAPACKE_spotrs_work(int layout, char uplo, int n, int nrhs, const float* a, int lda, float* b,
                                   int ldb) {
  return potrs_work(layout, uplo, n, nrhs, a, lda, b, ldb);
}
extern "C" VRX_EXPORT int LAPACKE_dpotrs(int layout, char uplo, int n, int nrhs, const double* a, int lda, double* b,
                                         int ldb) {
  return potrs(layout, uplo, n, nrhs, a, lda, b, ldb);
}
extern "C" VRX_EXPORT int LAPACKE_spotrs(int layout, char uplo, int n, int nrhs, const float* a, int lda, float* b,
                                         int ldb) {
  return potrs(layout, uplo, n, nrhs, a, lda, b, ldb);
}
