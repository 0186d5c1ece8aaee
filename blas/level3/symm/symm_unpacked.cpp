// The allocation-free SYMM and HEMM product, on whole matrices (small calls, a missing
// scratch on the classic types) and on the driver's views (its fallback).
#include "blas/level3/symm/vrx_symm.h"
#include "blas/vrx_scale_matrix.h"

namespace {
// A general operand read where it lies.
template <typename T>
struct general_source {
  const T* b;
  vrx_int ldb;
  T at(vrx_int p, vrx_int q) const { return b[p + q * ldb]; }
};

// A block of the symmetric operand starting at (row0, col0) of the whole matrix.
template <typename T>
struct symmetric_block {
  vrx_symm_source<T> whole;
  vrx_int row0, col0;
  T at(vrx_int p, vrx_int q) const { return whole.at(row0 + p, col0 + q); }
};

// C(m by n) := alpha X Y + beta C, X m by k, Y k by n; one column of C at a time.
template <typename T, typename X, typename Y>
void product(vrx_int m, vrx_int n, vrx_int k, T alpha, const X& x, const Y& y, T beta, T* c, vrx_int ldc) {
  vrx_scale_matrix(m, n, beta, c, ldc);
  if (vrx_traits<T>::is_zero(alpha)) return;
  for (vrx_int j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    for (vrx_int l = 0; l < k; ++l) {
      const T t = alpha * y.at(l, j);
      for (vrx_int i = 0; i < m; ++i) cj[i] += t * x.at(i, l);
    }
  }
}

template <typename T>
void product_with(bool right, vrx_int m, vrx_int n, vrx_int k, T alpha, const symmetric_block<T>& s,
                  const general_source<T>& g, T beta, T* c, vrx_int ldc) {
  if (right) product(m, n, k, alpha, g, s, beta, c, ldc);
  else product(m, n, k, alpha, s, g, beta, c, ldc);
}
}  // namespace

template <typename T>
void vrx_symm_unpacked(bool hermitian, bool right, bool lower, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda,
                       const T* b, vrx_int ldb, T beta, T* c, vrx_int ldc) {
  if (m < 1 || n < 1) return;
  const symmetric_block<T> s{{a, lda, lower, hermitian}, 0, 0};
  product_with(right, m, n, right ? n : m, alpha, s, general_source<T>{b, ldb}, beta, c, ldc);
}

template <typename T>
void vrx_symm_fallback(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                       const vrx_l3_view<T>* c) {
  const bool right = vrx_symm_right(call);
  const vrx_l3_view<T>* sv = right ? b : a;
  const vrx_l3_view<T>* gv = right ? a : b;
  const vrx_int m = c->rows, n = c->cols;
  if (m < 1 || n < 1) return;
  const symmetric_block<T> s{{sv->data, sv->ld, vrx_symm_lower(call), vrx_symm_hermitian(call)},
                             sv->row_offset, sv->col_offset};
  const general_source<T> g{gv->address(0, 0, gv), gv->ld};
  product_with(right, m, n, a->cols, call->alpha, s, g, call->beta, c->address(0, 0, c), c->ld);
}

template <typename T>
bool vrx_symm_alpha_zero(vrx_int m, vrx_int n, T alpha, T beta, T* c, vrx_int ldc) {
  if (!vrx_traits<T>::is_zero(alpha)) return false;
  vrx_scale_matrix(m, n, beta, c, ldc);
  vrx_symm_note(VRX_SYMM_ROAD_SCALE, 1);
  return true;
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_symm_unpacked(bool, bool, bool, vrx_int, vrx_int, T, const T*, vrx_int, const T*, vrx_int, \
                                  T, T*, vrx_int);                                                          \
  template void vrx_symm_fallback(const vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,       \
                                  const vrx_l3_view<T>*);                                                   \
  template bool vrx_symm_alpha_zero(vrx_int, vrx_int, T, T, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
