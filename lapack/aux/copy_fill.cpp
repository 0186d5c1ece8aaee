// LACPY and LASET: copying and filling the whole of a matrix or one of its triangles.
#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"

namespace {
// The rows of column j that a triangle names: "U" rows 0..min(j, m-1), "L" rows j..m-1,
// anything else every row; [first, end).
struct row_range {
  vrx_int first, end;
};
inline row_range rows_of(const char* uplo, vrx_int m, vrx_int j) {
  if (vrx_l2_letter(uplo, "U")) return {0, j + 1 < m ? j + 1 : m};
  if (vrx_l2_letter(uplo, "L")) return {j < m ? j : m, m};
  return {0, m};
}
}  // namespace

template <typename T>
void vrx_lapack_lacpy(const char* uplo, vrx_int m, vrx_int n, const T* a, vrx_int lda, T* b, vrx_int ldb) {
  for (vrx_int j = 0; j < n; ++j) {
    const row_range r = rows_of(uplo, m, j);
    const T* from = a + static_cast<std::size_t>(j) * lda;
    T* to = b + static_cast<std::size_t>(j) * ldb;
    for (vrx_int i = r.first; i < r.end; ++i) to[i] = from[i];
  }
}

template <typename T>
void vrx_lapack_laset(const char* uplo, vrx_int m, vrx_int n, T alpha, T beta, T* a, vrx_int lda) {
  for (vrx_int j = 0; j < n; ++j) {
    const row_range r = rows_of(uplo, m, j);
    T* column = a + static_cast<std::size_t>(j) * lda;
    for (vrx_int i = r.first; i < r.end; ++i) column[i] = i == j ? beta : alpha;
  }
}

template void vrx_lapack_lacpy<float>(const char*, vrx_int, vrx_int, const float*, vrx_int, float*, vrx_int);
template void vrx_lapack_lacpy<double>(const char*, vrx_int, vrx_int, const double*, vrx_int, double*, vrx_int);
template void vrx_lapack_lacpy<vrx_complex_float>(const char*, vrx_int, vrx_int, const vrx_complex_float*, vrx_int,
                                                  vrx_complex_float*, vrx_int);
template void vrx_lapack_lacpy<vrx_complex_double>(const char*, vrx_int, vrx_int, const vrx_complex_double*, vrx_int,
                                                   vrx_complex_double*, vrx_int);
template void vrx_lapack_laset<float>(const char*, vrx_int, vrx_int, float, float, float*, vrx_int);
template void vrx_lapack_laset<double>(const char*, vrx_int, vrx_int, double, double, double*, vrx_int);
template void vrx_lapack_laset<vrx_complex_float>(const char*, vrx_int, vrx_int, vrx_complex_float, vrx_complex_float,
                                                  vrx_complex_float*, vrx_int);
template void vrx_lapack_laset<vrx_complex_double>(const char*, vrx_int, vrx_int, vrx_complex_double,
                                                   vrx_complex_double, vrx_complex_double*, vrx_int);
