// LAPACKE_dpotrf, LAPACKE_spotrf and their work layer. Only the stored triangle is
// screened and, for row-major data, copied both ways.
#include "interface/lapacke/vrx_lapacke_frame.h"

namespace {
template <typename T>
int potrf_work(int layout, char uplo, int n, T* a, int lda) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("potrf_work");
  const auto call = [&](T* matrix, int ld) {
    int info = 0;
    vrx_fortran_potrf(&uplo, &n, matrix, &ld, &info);
    return info;
  };
  if (layout == LAPACK_COL_MAJOR) return vrx_lapacke_counted(call(a, lda));
  if (layout != LAPACK_ROW_MAJOR) return vrx_lapacke_bad_layout(name.text);
  if (const int info = vrx_lapacke_check_lds(name.text, {{lda, n, -5}})) return info;
  vrx_lapacke_copy<T> copies[] = {{a, a, n, n, lda, &uplo}};
  return vrx_lapacke_through_copies(name.text, copies, [&] { return call(copies[0].copy, copies[0].copy_ld); });
}

template <typename T>
int potrf(int layout, char uplo, int n, T* a, int lda) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("potrf");
  if (const int info = vrx_lapacke_enter<T>(name.text, layout, {{a, n, n, lda, -4, &uplo}})) return info;
  return vrx_lapacke_leave(name.text, potrf_work(layout, uplo, n, a, lda));
}
}  // namespace

extern "C" int LAPACKE_dpotrf_work(int layout, char uplo, int n, double* a, int lda) {
  return potrf_work(layout, uplo, n, a, lda);
}
extern "C" int LAPACKE_spotrf_work(int layout, char uplo, int n, float* a, int lda) {
  return potrf_work(layout, uplo, n, a, lda);
}
extern "C" VRX_EXPORT int LAPACKE_dpotrf(int layout, char uplo, int n, double* a, int lda) {
  return potrf(layout, uplo, n, a, lda);
}
extern "C" VRX_EXPORT int LAPACKE_spotrf(int layout, char uplo, int n, float* a, int lda) {
  return potrf(layout, uplo, n, a, lda);
}
