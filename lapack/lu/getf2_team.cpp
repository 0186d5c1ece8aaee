// The team's unblocked LU kernel: each member searches, scales and updates its own rows;
// two flag barriers per column, one after the search and one after rank 0 has
// interchanged the rows.
#include "blas/vrx_level12.h"
#include "lapack/lu/vrx_getrf_team.h"
#include "lapack/lu/vrx_pivot_scale.h"

namespace {
// The member's first largest |re| + |im| of rows [begin, end) of the column.
template <typename T>
vrx_lapack_pivot_slot search_own_rows(const T* column, vrx_int begin, vrx_int end) {
  vrx_lapack_pivot_slot best = {-1.0, -1};
  if (begin >= end) return best;
  const vrx_int at = begin + vrx_blas_level1<T>()->iamax(end - begin, column + begin);
  best.magnitude = static_cast<double>(vrx_traits<T>::abs1(column[at]));
  best.row = at;
  return best;
}

// The whole column's pivot: members hold increasing rows, so the first member with the
// strictly largest candidate holds the first largest element.
vrx_lapack_pivot_slot team_pivot(const vrx_lapack_panel_team* team, int size) {
  vrx_lapack_pivot_slot best = team->slots[0];
  for (int i = 1; i < size; ++i)
    if (team->slots[i].magnitude > best.magnitude) best = team->slots[i];
  return best;
}
}  // namespace

template <typename T>
void vrx_lapack_getf2_team(vrx_lapack_panel_team* team, int rank, int size, vrx_int rows, vrx_int cols, T* a,
                           vrx_int lda, vrx_int* ipiv, vrx_int* info, vrx_int own_first, vrx_int own_count) {
  typedef vrx_traits<T> tr;
  const vrx_int mn = rows < cols ? rows : cols;
  const vrx_int own_end = own_first + own_count;
  for (vrx_int j = 0; j < mn; ++j) {
    T* column = a + j * lda;
    team->slots[rank] = search_own_rows(column, own_first > j ? own_first : j, own_end);
    vrx_lapack_team_flag_step(team, rank, size);
    const vrx_lapack_pivot_slot pivot = team_pivot(team, size);
    const bool zero = !(pivot.magnitude > 0);
    if (rank == 0) {
      // A column without a non-zero entry keeps its row: the published kernel names the
      // first largest, which is row j itself when every candidate is zero.
      const vrx_int p = zero || pivot.row < 0 ? j : pivot.row;
      ipiv[j] = p + 1;
      if (zero && *info == 0) *info = j + 1;
      if (p != j)
        for (vrx_int c = 0; c < cols; ++c) {
          T* x = a + c * lda;
          const T t = x[j];
          x[j] = x[p];
          x[p] = t;
        }
    }
    vrx_lapack_team_flag_step(team, rank, size);
    if (zero) continue;
    // Own rows below the pivot: the multipliers, then the rank-one update.
    const vrx_int begin = own_first > j + 1 ? own_first : j + 1;
    if (begin >= own_end) continue;
    vrx_lapack_scale_by_pivot(own_end - begin, column[j], column + begin);
    for (vrx_int c = j + 1; c < cols; ++c) {
      T* x = a + c * lda;
      if (!tr::is_zero(x[j])) vrx_blas_level1<T>()->axpy(own_end - begin, -x[j], column + begin, x + begin);
    }
  }
}

#define VRX_INSTANTIATE(T)                                                                                        \
  template void vrx_lapack_getf2_team<T>(vrx_lapack_panel_team*, int, int, vrx_int, vrx_int, T*, vrx_int, vrx_int*, \
                                         vrx_int*, vrx_int, vrx_int);
VRX_INSTANTIATE(float)
VRX_INSTANTIATE(double)
VRX_INSTANTIATE(vrx_complex_float)
VRX_INSTANTIATE(vrx_complex_double)
#undef VRX_INSTANTIATE
