// Layout transposition of whole matrices (through the library's matrix copy) and of
// triangles, between row-major and column-major storage.
#include <algorithm>
#include <cstddef>

#include "interface/lapacke/triangle_lines.h"
#include "interface/lapacke/vrx_lapacke.h"
#include "service/vrx_serv.h"
#include "vector/vrx_matcopy.h"

namespace {
void copy_transposed(char ordering, int m, int n, const double* in, int ldin, double* out, int ldout) {
  VRX_Domatcopy(ordering, 't', static_cast<std::size_t>(m), static_cast<std::size_t>(n), 1.0, in,
                static_cast<std::size_t>(ldin), out, static_cast<std::size_t>(ldout));
}
void copy_transposed(char ordering, int m, int n, const float* in, int ldin, float* out, int ldout) {
  vrx_somatcopy(ordering, 't', static_cast<std::size_t>(m), static_cast<std::size_t>(n), 1.0f, in,
                static_cast<std::size_t>(ldin), out, static_cast<std::size_t>(ldout));
}

template <typename T>
void ge_trans(int layout, int m, int n, const T* in, int ldin, T* out, int ldout) {
  // An empty matrix copies nothing; negative sizes are for the routine below to report.
  if (!in || !out || m <= 0 || n <= 0) return;
  copy_transposed(layout == LAPACK_COL_MAJOR ? 'c' : 'r', m, n, in, ldin, out, ldout);
}

// Line j of `in` goes to the positions j, j + ldout, ... of `out`.
template <typename T>
void tr_trans(int layout, char uplo, char diag, int n, const T* in, int ldin, T* out, int ldout) {
  const vrx_triangle_lines triangle = vrx_lapacke_triangle_lines(layout, uplo, diag);
  if (!in || !out || !triangle.valid) return;
  const bool leading = triangle.leading;
  const int skip = triangle.skip;
  const int lines = std::min(n, ldout), inner = std::min(n, ldin);
  for (int j = 0; j < lines; ++j) {
    const int first = leading ? 0 : j + skip;
    const int last = leading ? std::min(j + 1 - skip, inner) : inner;
    const T* line = in + static_cast<std::ptrdiff_t>(j) * ldin;
    for (int i = first; i < last; ++i) out[static_cast<std::ptrdiff_t>(i) * ldout + j] = line[i];
  }
}
}  // namespace

extern "C" void LAPACKE_dge_trans(int layout, int m, int n, const double* in, int ldin, double* out, int ldout) {
  ge_trans(layout, m, n, in, ldin, out, ldout);
}
extern "C" void LAPACKE_sge_trans(int layout, int m, int n, const float* in, int ldin, float* out, int ldout) {
  ge_trans(layout, m, n, in, ldin, out, ldout);
}
extern "C" void LAPACKE_dtr_trans(int layout, char uplo, char diag, int n, const double* in, int ldin, double* out,
                                  int ldout) {
  tr_trans(layout, uplo, diag, n, in, ldin, out, ldout);
}
extern "C" void LAPACKE_str_trans(int layout, char uplo, char diag, int n, const float* in, int ldin, float* out,
                                  int ldout) {
  tr_trans(layout, uplo, diag, n, in, ldin, out, ldout);
}
extern "C" void LAPACKE_dpo_trans(int layout, char uplo, int n, const double* in, int ldin, double* out, int ldout) {
  tr_trans(layout, uplo, 'n', n, in, ldin, out, ldout);
}
extern "C" void LAPACKE_spo_trans(int layout, char uplo, int n, const float* in, int ldin, float* out, int ldout) {
  tr_trans(layout, uplo, 'n', n, in, ldin, out, ldout);
}
