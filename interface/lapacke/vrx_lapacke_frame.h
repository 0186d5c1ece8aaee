// The frames of the LAPACKE members: the work layer's row-major road through
// column-major copies, and the high-level steps around it (layout, NaN screening,
// workspace). A member names its checks, copies and screens as data and supplies the
// wrapper call.
#pragma once
#include <algorithm>
#include <cstddef>
#include <initializer_list>

#include "interface/lapacke/vrx_lapacke.h"
#include "interface/vrx_interface.h"

// ---- work layer ----

// A negative info from a wrapper is counted with matrix_layout as argument 1.
inline int vrx_lapacke_counted(int info) { return info < 0 ? info - 1 : info; }

inline int vrx_lapacke_bad_layout(const char* name) {
  LAPACKE_xerbla(name, -1);
  return -1;
}

// A row-major leading dimension `ld` must be at least `minimum`, else the result is `info`.
struct vrx_lapacke_ld_check {
  int ld;
  int minimum;
  int info;
};
// The first failing check, reported, or 0.
inline int vrx_lapacke_check_lds(const char* name, std::initializer_list<vrx_lapacke_ld_check> checks) {
  for (const vrx_lapacke_ld_check& check : checks)
    if (check.ld < check.minimum) {
      LAPACKE_xerbla(name, check.info);
      return check.info;
    }
  return 0;
}

// One column-major copy of a row-major argument: `in` is copied in unless null, the copy
// goes back to `out` unless null. With `uplo` given, only that triangle is copied.
template <typename T>
struct vrx_lapacke_copy {
  const T* in;
  T* out;
  int rows;
  int cols;
  int ld;                      // the caller's leading dimension
  const char* uplo = nullptr;  // the stored triangle of a square matrix, or null for all of it
  T* copy = nullptr;
  int copy_ld = 1;  // max(1, rows)
};

// Copies a matrix, or its triangle, from `layout` into the other layout.
template <typename T>
void vrx_lapacke_copy_trans(const vrx_lapacke_copy<T>& c, int layout, const T* in, int ldin, T* out, int ldout) {
  if (c.uplo) vrx_lapacke_po_trans(layout, *c.uplo, c.rows, in, ldin, out, ldout);
  else vrx_lapacke_ge_trans(layout, c.rows, c.cols, in, ldin, out, ldout);
}

// The row-major road after the checks: allocates the copies in order (the first failure
// gives -1011 and its message), fills them, runs `call()` (the wrapper on the copies),
// copies back, and frees the copies in reverse order.
template <typename T, std::size_t N, class Call>
int vrx_lapacke_through_copies(const char* name, vrx_lapacke_copy<T> (&copies)[N], Call call) {
  int info = 0;
  std::size_t made = 0;
  for (; made < N; ++made) {
    vrx_lapacke_copy<T>& c = copies[made];
    c.copy_ld = std::max(1, c.rows);
    const std::size_t elements = static_cast<std::size_t>(c.copy_ld) * static_cast<std::size_t>(std::max(1, c.cols));
    c.copy = static_cast<T*>(LAPACKE_malloc(elements * sizeof(T)));
    if (!c.copy) {
      info = -1011;
      break;
    }
  }
  if (info == 0) {
    for (const vrx_lapacke_copy<T>& c : copies)
      vrx_lapacke_copy_trans(c, LAPACK_ROW_MAJOR, c.in, c.ld, c.copy, c.copy_ld);
    info = vrx_lapacke_counted(call());
    for (const vrx_lapacke_copy<T>& c : copies)
      vrx_lapacke_copy_trans(c, LAPACK_COL_MAJOR, c.copy, c.copy_ld, c.out, c.ld);
  }
  while (made > 0) LAPACKE_free(copies[--made].copy);
  if (info == -1011) LAPACKE_xerbla(name, -1011);
  return info;
}

// ---- high-level layer ----

// An input matrix screened for NaN; one found gives `info`. With `uplo` given, only that
// triangle of the square matrix is screened (a bad letter screens as clean).
template <typename T>
struct vrx_lapacke_screen {
  const T* a;
  int rows;
  int cols;
  int ld;
  int info;
  const char* uplo = nullptr;
};

// The layout check, then the screens in argument order: 0 to go on, else the result.
template <typename T>
int vrx_lapacke_enter(const char* name, int layout, std::initializer_list<vrx_lapacke_screen<T>> screens) {
  if (layout != LAPACK_ROW_MAJOR && layout != LAPACK_COL_MAJOR) {
    LAPACKE_xerbla(name, -1);
    return -1;
  }
  for (const vrx_lapacke_screen<T>& s : screens)
    if (s.uplo ? vrx_lapacke_po_nancheck(layout, *s.uplo, s.rows, s.a, s.ld)
               : vrx_lapacke_ge_nancheck(layout, s.rows, s.cols, s.a, s.ld))
      return s.info;
  return 0;
}

// The work layer's result, with -1010 reported under the member's name.
inline int vrx_lapacke_leave(const char* name, int info) {
  if (info == -1010) LAPACKE_xerbla(name, -1010);
  return info;
}

// Members with a floating workspace: `work(space, lwork)` calls the work layer. A query
// with lwork -1 sizes the array; a non-zero answer is returned as it stands.
template <typename T, class Work>
int vrx_lapacke_with_workspace(const char* name, Work work) {
  T size = 0;
  int info = work(&size, -1);
  if (info != 0) return info;
  const int lwork = static_cast<int>(size);
  T* space = static_cast<T*>(LAPACKE_malloc(sizeof(T) * static_cast<std::size_t>(lwork)));
  if (!space) {
    LAPACKE_xerbla(name, -1010);
    return -1010;
  }
  info = work(space, lwork);
  LAPACKE_free(space);
  return vrx_lapacke_leave(name, info);
}
