// LAPACKE_dgetrf, LAPACKE_sgetrf and their work layer.
#include "interface/lapacke/vrx_lapacke_frame.h"

namespace {
template <typename T>
int getrf_work(int layout, int m, int n, T* a, int lda, int* ipiv) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("getrf_work");
  const auto call = [&](T* matrix, int ld) {
    int info = 0;
    vrx_fortran_getrf(&m, &n, matrix, &ld, ipiv, &info);
    return info;
  };
  if (layout == LAPACK_COL_MAJOR) return vrx_lapacke_counted(call(a, lda));
  if (layout != LAPACK_ROW_MAJOR) return vrx_lapacke_bad_layout(name.text);
  if (const int info = vrx_lapacke_check_lds(name.text, {{lda, n, -5}})) return info;
  vrx_lapacke_copy<T> copies[] = {{a, a, m, n, lda}};
  return vrx_lapacke_through_copies(name.text, copies, [&] { return call(copies[0].copy, copies[0].copy_ld); });
}

template <typename T>
int getrf(int layout, int m, int n, T* a, int lda, int* ipiv) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("getrf");
  if (const int info = vrx_lapacke_enter<T>(name.text, layout, {{a, m, n, lda, -4}})) return info;
  return vrx_lapacke_leave(name.text, getrf_work(layout, m, n, a, lda, ipiv));
}
}  // namespace

extern "C" int LAPACKE_dgetrf_work(int layout, int m, int n, double* a, int lda, int* ipiv) {
  return getrf_work(layout, m, n, a, lda, ipiv);
}
extern "C" int LAPACKE_sgetrf_work(int layout, int m, int n, float* a, int lda, int* ipiv) {
  return getrf_work(layout, m, n, a, lda, ipiv);
}
extern "C" VRX_EXPORT int LAPACKE_dgetrf(int layout, int m, int n, double* a, int lda, int* ipiv) {
  return getrf(layout, m, n, a, lda, ipiv);
}
extern "C" VRX_EXPORT int LAPACKE_sgetrf(int layout, int m, int n, float* a, int lda, int* ipiv) {
  return getrf(layout, m, n, a, lda, ipiv);
}
