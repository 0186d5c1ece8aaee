// The blocked frame of the triangular solve and product over the caller's matrices: the
// recursive split written once in vrx_tri_recursion.h, with the leaf kernel on the
// diagonal parts and one GEMM per coupling block.
#include "blas/level3/packed/vrx_gemm_packed.h"
#include "blas/level3/trsm/vrx_tri_recursion.h"
#include "blas/level3/trsm/vrx_tri_split.h"
#include "blas/vrx_l3.h"
#include "blas/vrx_scale_matrix.h"

template <typename T>
bool vrx_tri_quick_return(vrx_int m, vrx_int n, T alpha, T* b, vrx_int ldb) {
  if (m < 1 || n < 1) return true;
  if (!vrx_traits<T>::is_zero(alpha)) return false;
  vrx_scale_matrix(m, n, T{}, b, ldb);
  return true;
}

template <typename T>
void vrx_tri_unpacked(int kind, vrx_tri_kernel_fn<T> leaf, vrx_int leaf_max, vrx_tri_codes codes, vrx_int m,
                      vrx_int n, T alpha, const T* a, vrx_int lda, T* b, vrx_int ldb) {
  if (vrx_tri_quick_return(m, n, alpha, b, ldb)) return;
  vrx_tri_split<T>(kind, codes, m, n, alpha, a, lda, b, ldb, {leaf_max, 0}, leaf,
                   vrx_gemm_class_of<T>(vrx_gemm_kernels_sse2)->unpacked);
}

namespace {
// The steps of the recursive split over the caller's matrices: parts of at most
// shape.leaf go to the leaf kernel, couplings to `gemm`.
template <typename T>
struct split_step {
  vrx_tri_codes codes;
  bool left;
  bool leading_first;
  vrx_int m, n, lda, ldb;
  const T* a;
  T* b;
  vrx_tri_cut shape;
  vrx_tri_kernel_fn<T> leaf;
  vrx_gemm_fn<T> gemm;

  vrx_int cut(vrx_int s) const {
    if (s <= shape.leaf) return 0;
    if (shape.halve) return (s / 2 + 7) & ~vrx_int{7};
    return leading_first ? shape.leaf : s - shape.leaf;
  }
  void whole(vrx_int r0, vrx_int s, T alpha) const {
    leaf(codes, left ? s : m, left ? n : s, alpha, a + r0 + r0 * lda, lda, b + (left ? r0 : r0 * ldb), ldb);
  }
  // B part p := beta B part p + coef op(A)(p, q) B part q (left) or B part q op(A)(q, p) (right).
  void couple(vrx_int p0, vrx_int plen, vrx_int q0, vrx_int qlen, T coef, T beta) const {
    const char ta = "NTC"[codes.trans], tn = 'N';
    auto op_block = [&](vrx_int r0, vrx_int c0) { return codes.trans == 0 ? a + r0 + c0 * lda : a + c0 + r0 * lda; };
    if (left)
      gemm(&ta, &tn, &plen, &n, &qlen, &coef, op_block(p0, q0), &lda, b + q0, &ldb, &beta, b + p0, &ldb);
    else
      gemm(&tn, &ta, &m, &plen, &qlen, &coef, b + q0 * ldb, &ldb, op_block(q0, p0), &lda, &beta, b + p0 * ldb,
           &ldb);
  }
};
}  // namespace

template <typename T>
void vrx_tri_split(int kind, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                   vrx_int ldb, vrx_tri_cut cut, vrx_tri_kernel_fn<T> leaf, vrx_gemm_fn<T> gemm) {
  const bool left = codes.side != 1, solve = kind == VRX_TRI_SOLVE;
  // A solve starts where op(A)'s first row (left) or column (right) has one entry; a
  // product starts at the other end.
  const bool forward = left == vrx_tri_lower(codes);
  split_step<T> step = {codes, left, forward == solve, m, n, lda, ldb, a, b, cut, leaf, gemm};
  vrx_tri_recurse(step, solve, forward, 0, left ? m : n, alpha);
}

#define VRX_INSTANTIATE(T)                                                                                       \
  template bool vrx_tri_quick_return<T>(vrx_int, vrx_int, T, T*, vrx_int);                                        \
  template void vrx_tri_unpacked<T>(int, vrx_tri_kernel_fn<T>, vrx_int, vrx_tri_codes, vrx_int, vrx_int, T,          \
                                    const T*, vrx_int, T*, vrx_int);                                              \
  template void vrx_tri_split<T>(int, vrx_tri_codes, vrx_int, vrx_int, T, const T*, vrx_int, T*, vrx_int,         \
                                 vrx_tri_cut, vrx_tri_kernel_fn<T>, vrx_gemm_fn<T>);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
