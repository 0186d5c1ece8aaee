// A stored triangle seen line by line: a line is a column of column-major storage or a
// row of row-major storage. Column-major upper and row-major lower triangles hold the
// leading part of each line (elements 0 to j of line j), the others the trailing part
// (elements j to n - 1).
#pragma once
#include "include/customvrx.h"
#include "service/vrx_serv.h"

struct vrx_triangle_lines {
  bool valid;    // layout, uplo and diag were understood
  bool leading;  // the leading part of each line, else the trailing part
  int skip;      // 1 when the diagonal is left out (diag U)
};

inline vrx_triangle_lines vrx_lapacke_triangle_lines(int layout, char uplo, char diag) {
  const bool upper = LSAME(&uplo, "U", 1, 1), unit = LSAME(&diag, "U", 1, 1);
  const bool valid = (layout == LAPACK_ROW_MAJOR || layout == LAPACK_COL_MAJOR) &&
                     (upper || LSAME(&uplo, "L", 1, 1)) && (unit || LSAME(&diag, "N", 1, 1));
  return {valid, upper == (layout == LAPACK_COL_MAJOR), unit ? 1 : 0};
}
