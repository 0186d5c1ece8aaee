// The blocked frame of the triangular solve and product. A solve does the independent
// part first (with the call's alpha), updates the other part's right-hand side by one
// GEMM (alpha -1, beta the call's alpha, so that the scaling happens there) and solves
// it with alpha 1. A product does first the part whose result needs the other part's
// old values, adds the coupling block by GEMM (beta 1), then does the other part.
#include "blas/level3/packed/vrx_gemm_packed.h"
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

template <typename T>
void vrx_tri_split(int kind, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                   vrx_int ldb, vrx_tri_cut cut, vrx_tri_kernel_fn<T> leaf, vrx_gemm_fn<T> gemm) {
  const bool left = codes.side != 1;
  const vrx_int s = left ? m : n;
  if (s <= cut.leaf) {
    leaf(codes, m, n, alpha, a, lda, b, ldb);
    return;
  }
  const bool solve = kind == VRX_TRI_SOLVE;
  // A solve starts where op(A)'s first row (left) or column (right) has one entry; a
  // product starts at the other end.
  const bool leading_first = (left == vrx_tri_lower(codes)) == solve;
  const vrx_int h = cut.halve ? ((s / 2 + 7) & ~vrx_int{7}) : (leading_first ? cut.leaf : s - cut.leaf);
  const vrx_int first0 = leading_first ? 0 : h, first_len = leading_first ? h : s - h;
  const vrx_int other0 = leading_first ? h : 0, other_len = s - first_len;

  auto part = [&](vrx_int r0, vrx_int len, T factor) {
    vrx_tri_split<T>(kind, codes, left ? len : m, left ? n : len, factor, a + r0 + r0 * lda, lda,
                     b + (left ? r0 : r0 * ldb), ldb, cut, leaf, gemm);
  };
  // B part p += coef * op(A)(p, q) B part q (left) or B part q op(A)(q, p) (right), after
  // scaling B part p by beta.
  const char ta = "NTC"[codes.trans], tn = 'N';
  auto couple = [&](vrx_int p0, vrx_int plen, vrx_int q0, vrx_int qlen, T coef, T beta) {
    auto op_block = [&](vrx_int r0, vrx_int c0) { return codes.trans == 0 ? a + r0 + c0 * lda : a + c0 + r0 * lda; };
    if (left)
      gemm(&ta, &tn, &plen, &n, &qlen, &coef, op_block(p0, q0), &lda, b + q0, &ldb, &beta, b + p0, &ldb);
    else
      gemm(&tn, &ta, &m, &plen, &qlen, &coef, b + q0 * ldb, &ldb, op_block(q0, p0), &lda, &beta, b + p0 * ldb,
           &ldb);
  };
  const T one = vrx_traits<T>::make(1, 0);
  if (solve) {
    part(first0, first_len, alpha);
    couple(other0, other_len, first0, first_len, vrx_traits<T>::make(-1, 0), alpha);
    part(other0, other_len, one);
  } else {
    part(first0, first_len, alpha);
    couple(first0, first_len, other0, other_len, alpha, one);
    part(other0, other_len, alpha);
  }
}

#define VRX_INSTANTIATE(T)                                                                                       \
  template bool vrx_tri_quick_return<T>(vrx_int, vrx_int, T, T*, vrx_int);                                        \
  template void vrx_tri_unpacked<T>(int, vrx_tri_kernel_fn<T>, vrx_int, vrx_tri_codes, vrx_int, vrx_int, T,          \
                                    const T*, vrx_int, T*, vrx_int);                                              \
  template void vrx_tri_split<T>(int, vrx_tri_codes, vrx_int, vrx_int, T, const T*, vrx_int, T*, vrx_int,         \
                                 vrx_tri_cut, vrx_tri_kernel_fn<T>, vrx_gemm_fn<T>);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
