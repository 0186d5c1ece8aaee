// The parallel panel of the LU team path: the panel is cut into blocks of columns and
// each block is factored recursively by the whole team. Members own rows for the
// row-wise steps (the update of a block from its left) and share out columns for the
// column-wise ones (interchanges, the solve for the block's rows), with three flag
// barriers per block.
#include "lapack/lu/vrx_getrf.h"
#include "lapack/lu/vrx_getrf_team.h"
#include "lapack/vrx_lapack_blas.h"
#include "service/vrx_serv.h"

namespace {
// Block widths, widest first: the first one below the panel's column count is taken.
constexpr vrx_int split_widths[] = {8192, 4096, 2048, 1024, 128, 64, 32, 16, 8};
constexpr vrx_int unblocked_below = 9;

vrx_int split_width(vrx_int cols) {
  for (vrx_int width : split_widths)
    if (width < cols) return width;
  return 0;
}

// What every level of the recursion shares: the team, the member, its rows in the
// outermost panel, and the hook's identity.
struct panel_member {
  vrx_lapack_panel_team* team;
  int rank;
  int size;
  vrx_int own_first;  // rows [own_first, own_end) of the outermost panel
  vrx_int own_end;
  int thread;
};

// Rank 0 tells the hook about the finished columns; every member learns its answer.
int hook_for_team(const panel_member& me, vrx_int finished, const char* stage) {
  if (me.rank == 0) {
    const int step = static_cast<int>(finished);
    __atomic_store_n(&me.team->stop, vrx_serv_progress(&me.thread, &step, stage, 6) != 0 ? 1 : 0, __ATOMIC_RELAXED);
  }
  vrx_lapack_team_flag_step(me.team, me.rank, me.size);
  return __atomic_load_n(&me.team->stop, __ATOMIC_RELAXED) != 0;
}

// The sub-panel starting `top` rows below the outermost panel's first row.
template <typename T>
int factor(const panel_member& me, vrx_int top, vrx_int rows, vrx_int cols, T* a, vrx_int lda, vrx_int* ipiv,
           vrx_int* info, vrx_int offset) {
  typedef vrx_lapack_blas<T> blas;
  const T one = vrx_traits<T>::make(1, 0), minus_one = vrx_traits<T>::make(-1, 0);
  // The member's rows in this sub-panel's numbering.
  const vrx_int own_first = me.own_first > top ? me.own_first - top : 0;
  const vrx_int own_end = me.own_end - top;
  const vrx_int width = cols < unblocked_below ? 0 : split_width(cols);
  if (width == 0) {
    vrx_lapack_getf2_team(me.team, me.rank, me.size, rows, cols, a, lda, ipiv, info, own_first,
                          own_end > own_first ? own_end - own_first : 0);
    return hook_for_team(me, offset + (rows < cols ? rows : cols), vrx_routine_name<T>("GETRF").text);
  }
  const vrx_int mn = rows < cols ? rows : cols;
  for (vrx_int jb = 0; jb < mn; jb += width) {
    const vrx_int b = mn - jb < width ? mn - jb : width;
    T* block = a + jb * lda;
    if (jb > 0) {
      // Own rows of the block, from its diagonal down, get the columns on its left.
      const vrx_int first = own_first > jb ? own_first : jb;
      const vrx_int count = own_end - first;
      if (count > 0)
        blas::gemm_sequential("No transpose", "No transpose", &count, &b, &jb, &minus_one, a + first, &lda,
                              block, &lda, &one, block + first, &lda);
    }
    vrx_int block_info = 0;
    if (factor(me, top + jb, rows - jb, b, block + jb, lda, ipiv + jb, &block_info, offset + jb)) return 1;
    if (me.rank == 0) vrx_lapack_getrf_merge(info, block_info, jb, ipiv + jb, b);
    vrx_lapack_team_flag_barrier(me.team, me.rank, me.size, 1);
    vrx_int first = 0, count = 0;
    if (jb > 0) {
      vrx_lapack_split(jb, me.size, me.rank, &first, &count);
      if (count > 0) vrx_lapack_laswp_sequential(count, a + first * lda, lda, jb + 1, jb + b, ipiv, 1);
    }
    vrx_lapack_team_flag_barrier(me.team, me.rank, me.size, 2);
    const vrx_int right = cols - jb - b;
    if (right > 0) {
      vrx_lapack_split(right, me.size, me.rank, &first, &count);
      if (count > 0) {
        T* own = a + (jb + b + first) * lda;
        vrx_lapack_laswp_sequential(count, own, lda, jb + 1, jb + b, ipiv, 1);
        if (jb > 0)
          blas::gemm_sequential("No transpose", "No transpose", &b, &count, &jb, &minus_one, a + jb, &lda, own,
                                &lda, &one, own + jb, &lda);
        blas::trsm_sequential("Left", "Lower", "No transpose", "Unit", &b, &count, &one, block + jb, &lda,
                              own + jb, &lda);
      }
    }
    vrx_lapack_team_flag_barrier(me.team, me.rank, me.size, 0);
  }
  return 0;
}
}  // namespace

template <typename T>
int vrx_lapack_getrf_panel_team(vrx_lapack_panel_team* team, int rank, int size, vrx_int rows, vrx_int cols, T* panel,
                                vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread, vrx_int offset) {
  panel_member me = {team, rank, size, 0, 0, thread};
  vrx_int count = 0;
  vrx_lapack_split_units(rows, vrx_lapack_panel_row_unit, size, rank, &me.own_first, &count);
  me.own_end = me.own_first + count;
  if (rank == 0) *info = 0;
  return factor(me, 0, rows, cols, panel, lda, ipiv, info, offset);
}

#define VRX_INSTANTIATE(T)                                                                                          \
  template int vrx_lapack_getrf_panel_team<T>(vrx_lapack_panel_team*, int, int, vrx_int, vrx_int, T*, vrx_int,     \
                                              vrx_int*, vrx_int*, int, vrx_int);
VRX_INSTANTIATE(float)
VRX_INSTANTIATE(double)
VRX_INSTANTIATE(vrx_complex_float)
VRX_INSTANTIATE(vrx_complex_double)
#undef VRX_INSTANTIATE
