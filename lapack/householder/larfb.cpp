// A block reflector H = I - V T V^H (or its adjoint) applied to C from either side. V has
// a unit triangular block V1 (the first k rows of the reflectors for direct F, the last k
// for B) and a rectangular rest V2; C splits the same way into C1, the k rows (side L) or
// columns (side R) that meet V1, and C2. The 16 variants are one sequence:
//
//   W := C1^H (L) or C1 (R)             copied into work
//   W := W V1                            TRMM
//   W := W + C2^H V2 (L) or C2 V2 (R)    GEMM
//   W := W op(T)                         TRMM
//   C2 := C2 - V2 W^H (L) or W V2^H (R)  GEMM
//   W := W V1^H                          TRMM
//   C1 := C1 - W^H (L) or W (R)
//
// where V1 and V2 are read as stored in columns; rows hold their adjoints, which turns
// each operation letter on V into its opposite.
#include "blas/level2/level2_common.h"
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/vrx_lapack_blas.h"

template <typename T>
void vrx_lapack_larfb(const char* side, const char* trans, const char* direct, const char* storev, vrx_int m,
                      vrx_int n, vrx_int k, const T* v, vrx_int ldv, const T* t, vrx_int ldt, T* c, vrx_int ldc,
                      T* work, vrx_int ldwork, bool sequential) {
  typedef vrx_traits<T> tr;
  typedef vrx_lapack_blas<T> blas;
  if (m <= 0 || n <= 0 || k <= 0) return;
  const vrx_gemm_fn<T> gemm = sequential ? blas::gemm_sequential : blas::gemm;
  const vrx_trsm_fn<T> trmm = sequential ? blas::trmm_sequential : blas::trmm;
  const bool left = vrx_l2_letter(side, "L");
  const bool forward = vrx_l2_letter(direct, "F");
  const bool rowwise = vrx_l2_letter(storev, "R");
  const bool plain = vrx_l2_letter(trans, "N");

  const vrx_int nq = left ? m : n;      // order of H
  const vrx_int width = left ? n : m;   // rows of W
  const vrx_int rest = nq - k;          // length of V2
  const vrx_int unit_at = forward ? 0 : rest, rest_at = forward ? k : 0;
  const T* v1 = rowwise ? v + unit_at * ldv : v + unit_at;
  const T* v2 = rowwise ? v + rest_at * ldv : v + rest_at;
  T* c1 = left ? c + unit_at : c + unit_at * ldc;
  T* c2 = left ? c + rest_at : c + rest_at * ldc;

  const char adjoint = tr::adjoint;
  const char v_as_columns[2] = {rowwise ? adjoint : 'N', 0};   // op giving V in column form
  const char v_adjoint[2] = {rowwise ? 'N' : adjoint, 0};      // op giving its adjoint
  const char v1_triangle[2] = {forward != rowwise ? 'L' : 'U', 0};
  const char t_triangle[2] = {forward ? 'U' : 'L', 0};
  // Side L forms C^H V T^H for H (T for H^H); side R forms C V T for H (T^H for H^H).
  const char t_op[2] = {left == plain ? adjoint : 'N', 0};
  const char adjoint_op[2] = {adjoint, 0};
  const T one = vrx_hh_one<T>(), minus_one = vrx_hh_minus_one<T>();
  const vrx_int inc_one = 1;

  for (vrx_int j = 0; j < k; ++j) {
    T* w_column = work + j * ldwork;
    if (left) {
      blas::copy(&width, c1 + j, &ldc, w_column, &inc_one);
      vrx_hh_conjugate(width, w_column, 1);
    } else {
      blas::copy(&width, c1 + j * ldc, &inc_one, w_column, &inc_one);
    }
  }
  trmm("Right", v1_triangle, v_as_columns, "Unit", &width, &k, &one, v1, &ldv, work, &ldwork);
  if (rest > 0)
    gemm(left ? adjoint_op : "N", v_as_columns, &width, &k, &rest, &one, c2, &ldc, v2, &ldv, &one, work, &ldwork);
  trmm("Right", t_triangle, t_op, "Non-unit", &width, &k, &one, t, &ldt, work, &ldwork);
  if (rest > 0) {
    if (left)
      gemm(v_as_columns, adjoint_op, &rest, &width, &k, &minus_one, v2, &ldv, work, &ldwork, &one, c2, &ldc);
    else
      gemm("N", v_adjoint, &width, &rest, &k, &minus_one, work, &ldwork, v2, &ldv, &one, c2, &ldc);
  }
  trmm("Right", v1_triangle, v_adjoint, "Unit", &width, &k, &one, v1, &ldv, work, &ldwork);

  for (vrx_int j = 0; j < k; ++j) {
    const T* w_column = work + j * ldwork;
    if (left) {
      for (vrx_int i = 0; i < width; ++i) c1[j + i * ldc] -= tr::conj(w_column[i]);
    } else {
      T* c_column = c1 + j * ldc;
      for (vrx_int i = 0; i < width; ++i) c_column[i] -= w_column[i];
    }
  }
}

#define VRX_LARFB_INSTANCE(T)                                                                                     \
  template void vrx_lapack_larfb<T>(const char*, const char*, const char*, const char*, vrx_int, vrx_int, vrx_int, \
                                    const T*, vrx_int, const T*, vrx_int, T*, vrx_int, T*, vrx_int, bool);
VRX_LARFB_INSTANCE(float)
VRX_LARFB_INSTANCE(double)
VRX_LARFB_INSTANCE(vrx_complex_float)
VRX_LARFB_INSTANCE(vrx_complex_double)
#undef VRX_LARFB_INSTANCE
