// LAPACKE_dsyev, LAPACKE_ssyev and their work layer. The stored triangle is screened, but
// a row-major matrix is copied whole, both ways, so the caller's other triangle is read
// and written too.
#include "interface/lapacke/vrx_lapacke_frame.h"

namespace {
template <typename T>
int syev_work(int layout, char jobz, char uplo, int n, T* a, int lda, T* w, T* work, int lwork) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("syev_work");
  const auto call = [&](T* matrix, int ld) {
    int info = 0;
    vrx_fortran_syev(&jobz, &uplo, &n, matrix, &ld, w, work, &lwork, &info);
    return info;
  };
  if (layout == LAPACK_COL_MAJOR) return vrx_lapacke_counted(call(a, lda));
  if (layout != LAPACK_ROW_MAJOR) return vrx_lapacke_bad_layout(name.text);
  if (const int info = vrx_lapacke_check_lds(name.text, {{lda, n, -6}})) return info;
  if (lwork == -1) return vrx_lapacke_counted(call(a, std::max(1, n)));
  vrx_lapacke_copy<T> copies[] = {{a, a, n, n, lda}};
  return vrx_lapacke_through_copies(name.text, copies, [&] { return call(copies[0].copy, copies[0].copy_ld); });
}

template <typename T>
int syev(int layout, char jobz, char uplo, int n, T* a, int lda, T* w) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("syev");
  if (const int info = vrx_lapacke_enter<T>(name.text, layout, {{a, n, n, lda, -5, &uplo}})) return info;
  return vrx_lapacke_with_workspace<T>(
      name.text, [&](T* work, int lwork) { return syev_work(layout, jobz, uplo, n, a, lda, w, work, lwork); });
}
}  // namespace

extern "C" int LAPACKE_dsyev_work(int layout, char jobz, char uplo, int n, double* a, int lda, double* w,
                                  double* work, int lwork) {
  return syev_work(layout, jobz, uplo, n, a, lda, w, work, lwork);
}
extern "C" int LAPACKE_ssyev_work(int layout, char jobz, char uplo, int n, float* a, int lda, float* w, float* work,
                                  int lwork) {
  return syev_work(layout, jobz, uplo, n, a, lda, w, work, lwork);
}
extern "C" VRX_EXPORT int LAPACKE_dsyev(int layout, char jobz, char uplo, int n, double* a, int lda, double* w) {
  return syev(layout, jobz, uplo, n, a, lda, w);
}
extern "C" VRX_EXPORT int LAPACKE_ssyev(int layout, char jobz, char uplo, int n, float* a, int lda, float* w) {
  return syev(layout, jobz, uplo, n, a, lda, w);
}
