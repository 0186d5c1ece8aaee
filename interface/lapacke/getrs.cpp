// LAPACKE_dgetrs, LAPACKE_sgetrs and their work layer.
#include "interface/lapacke/vrx_lapacke_frame.h"

namespace {
template <typename T>
int getrs_work(int layout, char trans, int n, int nrhs, const T* a, int lda, const int* ipiv, T* b, int ldb) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("getrs_work");
  const auto call = [&](const T* factors, int lda_used, T* rhs, int ldb_used) {
    int info = 0;
    vrx_fortran_getrs(&trans, &n, &nrhs, factors, &lda_used, ipiv, rhs, &ldb_used, &info);
    return info;
  };
  if (layout == LAPACK_COL_MAJOR) return vrx_lapacke_counted(call(a, lda, b, ldb));
  if (layout != LAPACK_ROW_MAJOR) return vrx_lapacke_bad_layout(name.text);
  if (const int info = vrx_lapacke_check_lds(name.text, {{lda, n, -6}, {ldb, nrhs, -9}})) return info;
  vrx_lapacke_copy<T> copies[] = {{a, nullptr, n, n, lda}, {b, b, n, nrhs, ldb}};
  return vrx_lapacke_through_copies(name.text, copies, [&] {
    return call(copies[0].copy, copies[0].copy_ld, copies[1].copy, copies[1].copy_ld);
  });
}

template <typename T>
int getrs(int layout, char trans, int n, int nrhs, const T* a, int lda, const int* ipiv, T* b, int ldb) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("getrs");
  if (const int info = vrx_lapacke_enter<T>(name.text, layout, {{a, n, n, lda, -5}, {b, n, nrhs, ldb, -8}}))
    return info;
  return vrx_lapacke_leave(name.text, getrs_work(layout, trans, n, nrhs, a, lda, ipiv, b, ldb));
}
}  // namespace

extern "C" int LAPACKE_dgetrs_work(int layout, char trans, int n, int nrhs, const double* a, int lda, const int* ipiv,
                                   double* b, int ldb) {
  return getrs_work(layout, trans, n, nrhs, a, lda, ipiv, b, ldb);
}
extern "C" int LAPACKE_sgetrs_work(int layout, char trans, int n, int nrhs, const float* a, int lda, const int* ipiv,
                                   float* b, int ldb) {
  return getrs_work(layout, trans, n, nrhs, a, lda, ipiv, b, ldb);
}
extern "C" VRX_EXPORT int LAPACKE_dgetrs(int layout, char trans, int n, int nrhs, const double* a, int lda,
                                         const int* ipiv, double* b, int ldb) {
  return getrs(layout, trans, n, nrhs, a, lda, ipiv, b, ldb);
}
extern "C" VRX_EXPORT int LAPACKE_sgetrs(int layout, char trans, int n, int nrhs, const float* a, int lda,
                                         const int* ipiv, float* b, int ldb) {
  return getrs(layout, trans, n, nrhs, a, lda, ipiv, b, ldb);
}
