// LAPACKE_dgels, LAPACKE_sgels and their work layer.
#include "interface/lapacke/vrx_lapacke_frame.h"

namespace {
template <typename T>
int gels_work(int layout, char trans, int m, int n, int nrhs, T* a, int lda, T* b, int ldb, T* work, int lwork) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("gels_work");
  const auto call = [&](T* matrix, int lda_used, T* rhs, int ldb_used) {
    int info = 0;
    vrx_fortran_gels(&trans, &m, &n, &nrhs, matrix, &lda_used, rhs, &ldb_used, work, &lwork, &info);
    return info;
  };
  if (layout == LAPACK_COL_MAJOR) return vrx_lapacke_counted(call(a, lda, b, ldb));
  if (layout != LAPACK_ROW_MAJOR) return vrx_lapacke_bad_layout(name.text);
  // B holds the right-hand sides in its first m (or n) rows and the solution in its first
  // n (or m): max(m, n) rows go through the copy.
  const int b_rows = std::max(m, n);
  if (const int info = vrx_lapacke_check_lds(name.text, {{lda, n, -7}, {ldb, nrhs, -9}})) return info;
  if (lwork == -1) return vrx_lapacke_counted(call(a, std::max(1, m), b, std::max(1, b_rows)));
  vrx_lapacke_copy<T> copies[] = {{a, a, m, n, lda}, {b, b, b_rows, nrhs, ldb}};
  return vrx_lapacke_through_copies(name.text, copies, [&] {
    return call(copies[0].copy, copies[0].copy_ld, copies[1].copy, copies[1].copy_ld);
  });
}

template <typename T>
int gels(int layout, char trans, int m, int n, int nrhs, T* a, int lda, T* b, int ldb) {
  const vrx_lapacke_name_buffer name = vrx_lapacke_name<T>("gels");
  if (const int info =
          vrx_lapacke_enter<T>(name.text, layout, {{a, m, n, lda, -6}, {b, std::max(m, n), nrhs, ldb, -8}}))
    return info;
  return vrx_lapacke_with_workspace<T>(name.text, [&](T* work, int lwork) {
    return gels_work(layout, trans, m, n, nrhs, a, lda, b, ldb, work, lwork);
  });
}
}  // namespace

extern "C" int LAPACKE_dgels_work(int layout, char trans, int m, int n, int nrhs, double* a, int lda, double* b,
                                  int ldb, double* work, int lwork) {
  return gels_work(layout, trans, m, n, nrhs, a, lda, b, ldb, work, lwork);
}
extern "C" int LAPACKE_sgels_work(int layout, char trans, int m, int n, int nrhs, float* a, int lda, float* b, int ldb,
                                  float* work, int lwork) {
  return gels_work(layout, trans, m, n, nrhs, a, lda, b, ldb, work, lwork);
}
extern "C" VRX_EXPORT int LAPACKE_dgels(int layout, char trans, int m, int n, int nrhs, double* a, int lda, double* b,
                                        int ldb) {
  return gels(layout, trans, m, n, nrhs, a, lda, b, ldb);
}
extern "C" VRX_EXPORT int LAPACKE_sgels(int layout, char trans, int m, int n, int nrhs, float* a, int lda, float* b,
                                        int ldb) {
  return gels(layout, trans, m, n, nrhs, a, lda, b, ldb);
}
