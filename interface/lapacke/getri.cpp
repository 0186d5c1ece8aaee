// LAPACKE_dgetri and its work layer.
#include "interface/lapacke/vrx_lapacke_frame.h"

extern "C" int LAPACKE_dgetri_work(int layout, int n, double* a, int lda, const int* ipiv, double* work, int lwork) {
  const char* const name = "LAPACKE_dgetri_work";
  const auto call = [&](double* matrix, int ld) {
    int info = 0;
    DGETRI(&n, matrix, &ld, ipiv, work, &lwork, &info);
    return info;
  };
  if (layout == LAPACK_COL_MAJOR) return vrx_lapacke_counted(call(a, lda));
  if (layout != LAPACK_ROW_MAJOR) return vrx_lapacke_bad_layout(name);
  const int lda_t = std::max(1, n);
  if (const int info = vrx_lapacke_check_lds(name, {{lda, n, -4}})) return info;
  if (lwork == -1) return vrx_lapacke_counted(call(a, lda_t));
  vrx_lapacke_copy<double> copies[] = {{a, a, n, n, lda}};
  return vrx_lapacke_through_copies(name, copies, [&] { return call(copies[0].copy, copies[0].copy_ld); });
}

extern "C" VRX_EXPORT int LAPACKE_dgetri(int layout, int n, double* a, int lda, const int* ipiv) {
  const char* const name = "LAPACKE_dgetri";
  if (const int info = vrx_lapacke_enter<double>(name, layout, {{a, n, n, lda, -3}})) return info;
  return vrx_lapacke_with_workspace<double>(
      name, [&](double* work, int lwork) { return LAPACKE_dgetri_work(layout, n, a, lda, ipiv, work, lwork); });
}
