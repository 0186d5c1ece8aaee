// GEMM kernels that read A, B and C where they lie, with no packing: the small-shape
// kernels, the ten kernels for k = 1 to 10, the allocation-free road, and the scaling
// of C. Written once over vector traits, instantiated per instruction class.
#pragma once
#include <type_traits>

#include "blas/vrx_blas.h"
#include "blas/vrx_scale_matrix.h"

namespace {
// Element (i, j) of a matrix stored with strides (1, ld) or, transposed, (ld, 1).
template <bool T>
[[gnu::always_inline]] inline const double* vrx_ip_at(const double* x, vrx_int ld, vrx_int i, vrx_int j) {
  return T ? x + j + i * ld : x + i + j * ld;
}

// Axpy form: C(i, j) += alpha sum_l A(i, l) opB(l, j), A stored plainly (columns
// contiguous), vector along i. C(i, j) lies at c + i * cr + j * cc; cr = 1 unless CT.
template <class V, int NV, int NC, bool BT, bool CT>
[[gnu::always_inline]] inline void vrx_ip_axpy_block(vrx_int k, double alpha, const double* a, vrx_int lda,
                                                     const double* b, vrx_int ldb, double* c, vrx_int cr,
                                                     vrx_int cc) {
  constexpr int W = V::width;
  typename V::type acc[NV][NC];
  for (int v = 0; v < NV; ++v)
    for (int j = 0; j < NC; ++j) acc[v][j] = V::zero();
  for (vrx_int l = 0; l < k; ++l) {
    typename V::type av[NV];
    for (int v = 0; v < NV; ++v) av[v] = V::load(a + v * W + l * lda);
    for (int j = 0; j < NC; ++j) {
      const typename V::type bj = V::bcast(vrx_ip_at<BT>(b, ldb, l, j));
      for (int v = 0; v < NV; ++v) acc[v][j] = V::fma(av[v], bj, acc[v][j]);
    }
  }
  const typename V::type va = V::set(alpha);
  for (int j = 0; j < NC; ++j)
    for (int v = 0; v < NV; ++v) {
      if constexpr (!CT) {
        double* p = c + v * W + j * cc;
        V::store(p, V::fma(va, acc[v][j], V::load(p)));
      } else {
        double t[W];
        V::store(t, V::mul(va, acc[v][j]));
        for (int r = 0; r < W; ++r) c[(v * W + r) * cr + j * cc] += t[r];
      }
    }
}

// Rows of one column block: the widest vector two and one at a time, then halves.
template <class V, int NC, bool BT, bool CT>
void vrx_ip_axpy_rows(vrx_int m, vrx_int k, double alpha, const double* a, vrx_int lda, const double* b,
                      vrx_int ldb, double* c, vrx_int cr, vrx_int cc) {
  constexpr int W = V::width;
  vrx_int i = 0;
  for (; i + 2 * W <= m; i += 2 * W)
    vrx_ip_axpy_block<V, 2, NC, BT, CT>(k, alpha, a + i, lda, b, ldb, c + i * cr, cr, cc);
  for (; i + W <= m; i += W) vrx_ip_axpy_block<V, 1, NC, BT, CT>(k, alpha, a + i, lda, b, ldb, c + i * cr, cr, cc);
  if constexpr (!std::is_void_v<typename V::half>)
    if (i < m) vrx_ip_axpy_rows<typename V::half, NC, BT, CT>(m - i, k, alpha, a + i, lda, b, ldb, c + i * cr, cr, cc);
}

template <class V, bool BT, bool CT>
void vrx_ip_axpy(vrx_int m, vrx_int n, vrx_int k, double alpha, const double* a, vrx_int lda, const double* b,
                 vrx_int ldb, double* c, vrx_int cr, vrx_int cc) {
  vrx_int j = 0;
  for (; j + 4 <= n; j += 4)
    vrx_ip_axpy_rows<V, 4, BT, CT>(m, k, alpha, a, lda, vrx_ip_at<BT>(b, ldb, 0, j), ldb, c + j * cc, cr, cc);
  for (; j < n; ++j)
    vrx_ip_axpy_rows<V, 1, BT, CT>(m, k, alpha, a, lda, vrx_ip_at<BT>(b, ldb, 0, j), ldb, c + j * cc, cr, cc);
}

// Dot form for A transposed and B plain: both operands contiguous along l.
template <class V, int MI, int NJ>
[[gnu::always_inline]] inline void vrx_ip_dot_block(vrx_int k, double alpha, const double* a, vrx_int lda,
                                                    const double* b, vrx_int ldb, double* c, vrx_int ldc) {
  constexpr int W = V::width;
  typename V::type acc[MI][NJ];
  for (int r = 0; r < MI; ++r)
    for (int j = 0; j < NJ; ++j) acc[r][j] = V::zero();
  vrx_int l = 0;
  for (; l + W <= k; l += W) {
    typename V::type av[MI];
    for (int r = 0; r < MI; ++r) av[r] = V::load(a + l + r * lda);
    for (int j = 0; j < NJ; ++j) {
      const typename V::type bj = V::load(b + l + j * ldb);
      for (int r = 0; r < MI; ++r) acc[r][j] = V::fma(av[r], bj, acc[r][j]);
    }
  }
  for (int r = 0; r < MI; ++r)
    for (int j = 0; j < NJ; ++j) {
      double s = V::sum(acc[r][j]);
      for (vrx_int t = l; t < k; ++t) s = __builtin_fma(a[t + r * lda], b[t + j * ldb], s);
      c[r + j * ldc] = __builtin_fma(alpha, s, c[r + j * ldc]);
    }
}

template <class V>
void vrx_ip_dot(vrx_int m, vrx_int n, vrx_int k, double alpha, const double* a, vrx_int lda, const double* b,
                vrx_int ldb, double* c, vrx_int ldc) {
  vrx_int j = 0;
  for (; j + 4 <= n; j += 4) {
    vrx_int i = 0;
    for (; i + 2 <= m; i += 2)
      vrx_ip_dot_block<V, 2, 4>(k, alpha, a + i * lda, lda, b + j * ldb, ldb, c + i + j * ldc, ldc);
    for (; i < m; ++i) vrx_ip_dot_block<V, 1, 4>(k, alpha, a + i * lda, lda, b + j * ldb, ldb, c + i + j * ldc, ldc);
  }
  for (; j < n; ++j) {
    vrx_int i = 0;
    for (; i + 4 <= m; i += 4)
      vrx_ip_dot_block<V, 4, 1>(k, alpha, a + i * lda, lda, b + j * ldb, ldb, c + i + j * ldc, ldc);
    for (; i < m; ++i) vrx_ip_dot_block<V, 1, 1>(k, alpha, a + i * lda, lda, b + j * ldb, ldb, c + i + j * ldc, ldc);
  }
}

// The whole product in place, any beta: C := alpha op(A) op(B) + beta C.
template <class V>
void vrx_ip_gemm(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_, const vrx_int* k_,
                 const double* alpha_, const double* a, const vrx_int* lda_, const double* b, const vrx_int* ldb_,
                 const double* beta_, double* c, const vrx_int* ldc_) {
  const vrx_int m = *m_, n = *n_, k = *k_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  const double alpha = *alpha_;
  if (m < 1 || n < 1) return;
  vrx_scale_matrix(m, n, *beta_, c, ldc);
  if (alpha == 0.0 || k < 1) return;
  const bool at = vrx_blas_trans_code(*transa) != 0, bt = vrx_blas_trans_code(*transb) != 0;
  if (!at) {
    if (bt) vrx_ip_axpy<V, true, false>(m, n, k, alpha, a, lda, b, ldb, c, 1, ldc);
    else vrx_ip_axpy<V, false, false>(m, n, k, alpha, a, lda, b, ldb, c, 1, ldc);
  } else if (!bt) {
    vrx_ip_dot<V>(m, n, k, alpha, a, lda, b, ldb, c, ldc);
  } else {
    // C^T = op(B)^T op(A)^T: B's stored columns are contiguous along j, A's along l.
    vrx_ip_axpy<V, false, true>(n, m, k, alpha, b, ldb, a, lda, c, ldc, 1);
  }
}

// Vector registers of the class this copy is compiled for.
#if defined(__AVX512F__)
constexpr int vrx_ip_vector_registers = 32;
#else
constexpr int vrx_ip_vector_registers = 16;
#endif

// J columns of C += alpha A op(B) for one vector of rows, A's K vectors in registers.
// Each column sums its even and its odd steps apart; taking J columns together gives
// 2 J independent chains, enough to keep the multiply-add units busy. Every B value
// is addressed from one pointer per column (B plain) or per step (B transposed) plus a
// constant, so the loop needs no spilled offsets.
template <class V, int K, int J, bool BT>
[[gnu::always_inline]] inline void vrx_ip_tiny_columns(const typename V::type (&av)[K], typename V::type va,
                                                       const double* b, vrx_int ldb, double* c, vrx_int ldc) {
  typename V::type even[J], odd[J];
  for (int q = 0; q < J; ++q) even[q] = odd[q] = V::zero();
  for (int l = 0; l < K; ++l)
    for (int q = 0; q < J; ++q) {
      const typename V::type bv = V::bcast(BT ? b + l * ldb + q : b + q * ldb + l);
      if (l % 2 == 0) even[q] = V::fma(av[l], bv, even[q]);
      else odd[q] = V::fma(av[l], bv, odd[q]);
    }
  for (int q = 0; q < J; ++q) {
    double* p = c + q * ldc;
    V::store(p, V::fma(va, V::add(even[q], odd[q]), V::load(p)));
  }
}

// k = K fixed, m and n at most 10, beta = 1: C += alpha op(A) op(B), with A stored
// plainly (rows contiguous). Whole vectors of rows first, then the halves down to single
// rows. Columns go in groups as wide as the registers left beside A's K vectors allow.
template <class V, int K, bool BT>
void vrx_ip_tiny_rows(vrx_int m, vrx_int n, double alpha, const double* a, vrx_int lda,
                      const double* b, vrx_int ldb, double* c, vrx_int ldc) {
  constexpr int W = V::width;
  constexpr int spare = (vrx_ip_vector_registers - K - 2) / 2;
  constexpr int J = spare >= 4 ? 4 : (spare >= 2 ? 2 : 1);
  const vrx_int step_j = BT ? 1 : ldb;
  const typename V::type va = V::set(alpha);
  vrx_int i0 = 0;
  for (; i0 + W <= m; i0 += W) {
    typename V::type av[K];
    for (int l = 0; l < K; ++l) av[l] = V::load(a + i0 + l * lda);
    vrx_int j = 0;
    for (; j + J <= n; j += J)
      vrx_ip_tiny_columns<V, K, J, BT>(av, va, b + j * step_j, ldb, c + i0 + j * ldc, ldc);
    for (; j < n; ++j) vrx_ip_tiny_columns<V, K, 1, BT>(av, va, b + j * step_j, ldb, c + i0 + j * ldc, ldc);
  }
  if constexpr (!std::is_void_v<typename V::half>)
    if (i0 < m) vrx_ip_tiny_rows<typename V::half, K, BT>(m - i0, n, alpha, a + i0, lda, b, ldb, c + i0, ldc);
}

template <class V, int K, bool BT>
void vrx_ip_tiny(bool at, vrx_int m, vrx_int n, double alpha, const double* a, vrx_int lda, const double* b,
                 vrx_int ldb, double* c, vrx_int ldc) {
  if (at) {
    // A transposed: its rows are contiguous along k. Ten rows at a time (all of them on
    // the tiny road) are copied into plain order on the stack and take the vector road.
    constexpr vrx_int rows = 10;
    double plain[rows * K];
    for (vrx_int i0 = 0; i0 < m; i0 += rows) {
      const vrx_int mb = m - i0 < rows ? m - i0 : rows;
      for (vrx_int i = 0; i < mb; ++i)
        for (int l = 0; l < K; ++l) plain[i + l * mb] = a[l + (i0 + i) * lda];
      vrx_ip_tiny_rows<V, K, BT>(mb, n, alpha, plain, mb, b, ldb, c + i0, ldc);
    }
    return;
  }
  vrx_ip_tiny_rows<V, K, BT>(m, n, alpha, a, lda, b, ldb, c, ldc);
}

template <class V, int K>
void vrx_ip_tiny_any(bool at, bool bt, vrx_int m, vrx_int n, double alpha, const double* a, vrx_int lda,
                     const double* b, vrx_int ldb, double* c, vrx_int ldc) {
  if (bt) vrx_ip_tiny<V, K, true>(at, m, n, alpha, a, lda, b, ldb, c, ldc);
  else vrx_ip_tiny<V, K, false>(at, m, n, alpha, a, lda, b, ldb, c, ldc);
}

template <class V>
void vrx_ip_tiny_k(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_,
                          const vrx_int* k_, const double* alpha_, const double* a, const vrx_int* lda_,
                          const double* b, const vrx_int* ldb_, const double*, double* c, const vrx_int* ldc_) {
  const bool at = vrx_blas_trans_code(*transa) != 0, bt = vrx_blas_trans_code(*transb) != 0;
  const vrx_int m = *m_, n = *n_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  const double alpha = *alpha_;
  if (m < 1 || n < 1 || alpha == 0.0) return;
  switch (*k_) {
    case 1: vrx_ip_tiny_any<V, 1>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 2: vrx_ip_tiny_any<V, 2>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 3: vrx_ip_tiny_any<V, 3>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 4: vrx_ip_tiny_any<V, 4>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 5: vrx_ip_tiny_any<V, 5>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 6: vrx_ip_tiny_any<V, 6>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 7: vrx_ip_tiny_any<V, 7>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 8: vrx_ip_tiny_any<V, 8>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 9: vrx_ip_tiny_any<V, 9>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    case 10: vrx_ip_tiny_any<V, 10>(at, bt, m, n, alpha, a, lda, b, ldb, c, ldc); break;
    default: break;
  }
}
}  // namespace
