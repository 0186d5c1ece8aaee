// NaN screening of whole matrices and triangles. A fast phase sums each line (a column
// when column-major, a row when row-major): a NaN anywhere makes its sum NaN, so clean sums
// clear the matrix in one streaming pass. A NaN sum (which +inf and -inf also give) hands
// over to the exact phase, which tests every element from the start. Small matrices take
// the exact phase alone.
#include <algorithm>
#include <cstddef>

#include "interface/lapacke/triangle_lines.h"
#include "interface/lapacke/vrx_lapacke.h"
#include "service/vrx_serv.h"

namespace {
// Which part of each line is screened.
enum line_part { whole_line, leading_part, trailing_part };

// The screened part of a matrix: line j holds the elements at a[j * ld + i] for i from
// first(j) to end(j) - 1, never at or past `limit`.
template <typename T>
struct screened_lines {
  const T* a;
  std::ptrdiff_t ld;
  int lines;
  int limit;
  line_part part;
  int skip;  // 1 when the diagonal is left out
};

template <typename T>
int first_of(const screened_lines<T>& s, int j) {
  return s.part == trailing_part ? j + s.skip : 0;
}
template <typename T>
int end_of(const screened_lines<T>& s, int j) {
  return s.part == leading_part ? std::min(j + 1 - s.skip, s.limit) : s.limit;
}

// The sum of x[0..count) in independent partial sums; only whether it is NaN matters.
template <typename T>
T line_sum(const T* x, int count) {
  constexpr int ways = 8;
  T partial[ways] = {};
  int i = 0;
  for (; i + ways <= count; i += ways)
    for (int k = 0; k < ways; ++k) partial[k] += x[i + k];
  for (; i < count; ++i) partial[0] += x[i];
  T sum = 0;
  for (int k = 0; k < ways; ++k) sum += partial[k];
  return sum;
}

template <typename T>
bool sums_clean(const screened_lines<T>& s) {
  ++vrx_lapacke_nancheck_trace_record()->fast_phases;
  for (int j = 0; j < s.lines; ++j) {
    const int first = first_of(s, j), end = end_of(s, j);
    if (end <= first) continue;
    const T sum = line_sum(s.a + j * s.ld + first, end - first);
    if (sum != sum) return false;
  }
  return true;
}

template <typename T>
int holds_nan(const screened_lines<T>& s) {
  ++vrx_lapacke_nancheck_trace_record()->exact_phases;
  for (int j = 0; j < s.lines; ++j) {
    const T* line = s.a + j * s.ld;
    for (int i = first_of(s, j), end = end_of(s, j); i < end; ++i)
      if (line[i] != line[i]) return 1;
  }
  return 0;
}

template <typename T>
int screen(const screened_lines<T>& s, bool fast) {
  if (fast && sums_clean(s)) return 0;
  return holds_nan(s);
}

template <typename T>
int ge_nancheck(int layout, int m, int n, const T* a, int lda) {
  if (!a) return 0;
  if (layout == LAPACK_COL_MAJOR) return screen<T>({a, lda, n, std::min(m, lda), whole_line, 0}, m >= 16);
  if (layout == LAPACK_ROW_MAJOR) return screen<T>({a, lda, m, std::min(n, lda), whole_line, 0}, n >= 5);
  return 0;
}

template <typename T>
int tr_nancheck(int layout, char uplo, char diag, int n, const T* a, int lda) {
  if (!a) return 0;
  const vrx_triangle_lines triangle = vrx_lapacke_triangle_lines(layout, uplo, diag);
  if (!triangle.valid) return 0;
  const bool leading = triangle.leading;
  const screened_lines<T> s = {a, lda, n, std::min(n, lda), leading ? leading_part : trailing_part, triangle.skip};
  return screen(s, n >= (leading ? 16 : 20));
}
}  // namespace

vrx_lapacke_nancheck_trace* vrx_lapacke_nancheck_trace_record() {
  static thread_local vrx_lapacke_nancheck_trace record;
  return &record;
}

extern "C" int LAPACKE_dge_nancheck(int layout, int m, int n, const double* a, int lda) {
  return ge_nancheck(layout, m, n, a, lda);
}
extern "C" int LAPACKE_sge_nancheck(int layout, int m, int n, const float* a, int lda) {
  return ge_nancheck(layout, m, n, a, lda);
}
extern "C" int LAPACKE_dtr_nancheck(int layout, char uplo, char diag, int n, const double* a, int lda) {
  return tr_nancheck(layout, uplo, diag, n, a, lda);
}
extern "C" int LAPACKE_str_nancheck(int layout, char uplo, char diag, int n, const float* a, int lda) {
  return tr_nancheck(layout, uplo, diag, n, a, lda);
}
extern "C" int LAPACKE_dpo_nancheck(int layout, char uplo, int n, const double* a, int lda) {
  return tr_nancheck(layout, uplo, 'n', n, a, lda);
}
extern "C" int LAPACKE_spo_nancheck(int layout, char uplo, int n, const float* a, int lda) {
  return tr_nancheck(layout, uplo, 'n', n, a, lda);
}
