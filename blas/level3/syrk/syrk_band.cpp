// The sequential pieces of the rank-k and rank-2k updates: the problem record, the
// cut of the triangle into bands and tiles, the unpacked kernel of a diagonal block
// and the band through a GEMM product and a copy buffer.
#include <cmath>

#include "blas/level3/syrk/vrx_syrk.h"
#include "blas/level3/syrk/vrx_triangle_scale.h"

template <typename T>
vrx_syrk_problem<T> vrx_syrk_make_problem(bool hermitian, bool two, const char* uplo, const char* trans, vrx_int n,
                                          vrx_int k, T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb,
                                          T beta, T* c, vrx_int ldc) {
  vrx_syrk_problem<T> p{};
  p.lower = vrx_blas_uplo_code(uplo) == 1;
  p.transposed = vrx_blas_transa_code(trans) != 0;
  p.hermitian = hermitian && vrx_is_complex<T>;
  p.two = two;
  // op(X) op(Y)^T: X as stored and Y transposed, or the other way round; the Hermitian
  // forms conjugate the transposed one.
  const char adjoint = p.hermitian ? 'C' : 'T';
  p.first = p.transposed ? adjoint : 'N';
  p.second = p.transposed ? 'N' : adjoint;
  p.n = n;
  p.k = k;
  p.alpha = alpha;
  p.alpha2 = p.hermitian ? vrx_traits<T>::conj(alpha) : alpha;
  p.a = a;
  p.lda = lda;
  p.b = two ? b : a;
  p.ldb = two ? ldb : lda;
  p.beta = beta;
  p.c = c;
  p.ldc = ldc;
  return p;
}

vrx_int vrx_syrk_band_start(bool lower, vrx_int n, int parts, int index, vrx_int align) {
  if (index <= 0) return 0;
  if (index >= parts) return n;
  // The share of the triangle left of column s is s (2n - s) / n^2 for the lower
  // triangle and s^2 / n^2 for the upper one.
  const double f = static_cast<double>(index) / parts, dn = static_cast<double>(n);
  const double s = lower ? dn * (1.0 - std::sqrt(1.0 - f)) : dn * std::sqrt(f);
  vrx_int start = (static_cast<vrx_int>(s + 0.5) + align / 2) / align * align;
  return start < n ? start : n;
}

namespace {
template <typename T>
T element(const vrx_syrk_problem<T>* p, const T* x, vrx_int ld, vrx_int i, vrx_int l) {
  return p->transposed ? x[l + i * ld] : x[i + l * ld];
}

// sum over l of op(X)(i, l) op(Y)(j, l), conjugating op(Y) for the Hermitian forms.
template <typename T>
T dot(const vrx_syrk_problem<T>* p, const T* x, vrx_int ldx, const T* y, vrx_int ldy, vrx_int i, vrx_int j) {
  T s{};
  for (vrx_int l = 0; l < p->k; ++l) {
    const T u = element(p, x, ldx, i, l), v = element(p, y, ldy, j, l);
    s += p->hermitian ? (p->transposed ? vrx_traits<T>::conj(u) * v : u * vrx_traits<T>::conj(v)) : u * v;
  }
  return s;
}

template <typename T>
struct band_visit {
  const vrx_syrk_problem<T>* p;
  vrx_gemm_fn<T> gemm;
  T* tile_buffer;
  void rect(vrx_int i0, vrx_int j0, vrx_int m, vrx_int n) {
    vrx_syrk_gemm_block(p, gemm, i0, j0, m, n, p->beta, p->c + i0 + j0 * p->ldc, p->ldc);
  }
  void diagonal(vrx_int j0, vrx_int d) {
    if (!tile_buffer) {
      vrx_syrk_unpacked_diagonal(p, j0, d, p->beta);
      return;
    }
    vrx_syrk_gemm_block(p, gemm, j0, j0, d, d, T{}, tile_buffer, d);
    vrx_syrk_add_tile(p, j0, d, tile_buffer, p->beta);
  }
};
}  // namespace

template <typename T>
void vrx_syrk_gemm_block(const vrx_syrk_problem<T>* p, vrx_gemm_fn<T> gemm, vrx_int i0, vrx_int j0, vrx_int m, vrx_int n,
                T beta, T* out, vrx_int ldo) {
  gemm(&p->first, &p->second, &m, &n, &p->k, &p->alpha, vrx_syrk_rows(p, p->a, p->lda, i0), &p->lda,
       vrx_syrk_rows(p, p->b, p->ldb, j0), &p->ldb, &beta, out, &ldo);
  if (!p->two) return;
  const T one = vrx_traits<T>::make(1, 0);
  gemm(&p->first, &p->second, &m, &n, &p->k, &p->alpha2, vrx_syrk_rows(p, p->b, p->ldb, i0), &p->ldb,
       vrx_syrk_rows(p, p->a, p->lda, j0), &p->lda, &one, out, &ldo);
}

template <typename T>
void vrx_syrk_unpacked_diagonal(const vrx_syrk_problem<T>* p, vrx_int j0, vrx_int d, T beta) {
  T* c = p->c + j0 + j0 * p->ldc;
  vrx_scale_triangle(p->lower, p->hermitian, d, d, 0, beta, c, p->ldc);
  if (vrx_traits<T>::is_zero(p->alpha) || p->k < 1) return;
  for (vrx_int j = 0; j < d; ++j) {
    vrx_int first, end;
    vrx_triangle_rows(p->lower, j, d, 0, &first, &end);
    for (vrx_int i = first; i < end; ++i) {
      T s = p->alpha * dot(p, p->a, p->lda, p->b, p->ldb, j0 + i, j0 + j);
      if (p->two) s += p->alpha2 * dot(p, p->b, p->ldb, p->a, p->lda, j0 + i, j0 + j);
      c[i + j * p->ldc] += s;
    }
  }
  if (p->hermitian) vrx_zero_diagonal_imaginary(d, d, 0, c, p->ldc);
}

template <typename T>
void vrx_syrk_add_tile(const vrx_syrk_problem<T>* p, vrx_int j0, vrx_int d, const T* w, T beta) {
  T* c = p->c + j0 + j0 * p->ldc;
  const bool keep = vrx_traits<T>::is_one(beta), clear = vrx_traits<T>::is_zero(beta);
  for (vrx_int j = 0; j < d; ++j) {
    vrx_int first, end;
    vrx_triangle_rows(p->lower, j, d, 0, &first, &end);
    T* cj = c + j * p->ldc;
    const T* wj = w + j * d;
    if (clear)
      for (vrx_int i = first; i < end; ++i) cj[i] = wj[i];
    else if (keep)
      for (vrx_int i = first; i < end; ++i) cj[i] += wj[i];
    else
      for (vrx_int i = first; i < end; ++i) cj[i] = beta * cj[i] + wj[i];
  }
  if (p->hermitian) vrx_zero_diagonal_imaginary(d, d, 0, c, p->ldc);
}

template <typename T>
void vrx_syrk_band(const vrx_syrk_problem<T>* p, vrx_gemm_fn<T> gemm, vrx_int c0, vrx_int c1, vrx_int tile,
                   T* tile_buffer) {
  band_visit<T> visit{p, gemm, tile_buffer};
  vrx_syrk_walk_band(p->lower, p->n, c0, c1, tile, visit);
}

#define VRX_INSTANTIATE(T)                                                                                       \
  template vrx_syrk_problem<T> vrx_syrk_make_problem(bool, bool, const char*, const char*, vrx_int, vrx_int, T, \
                                                     const T*, vrx_int, const T*, vrx_int, T, T*, vrx_int);      \
  template void vrx_syrk_unpacked_diagonal(const vrx_syrk_problem<T>*, vrx_int, vrx_int, T);                     \
  template void vrx_syrk_add_tile(const vrx_syrk_problem<T>*, vrx_int, vrx_int, const T*, T);                    \
  template void vrx_syrk_gemm_block(const vrx_syrk_problem<T>*, vrx_gemm_fn<T>, vrx_int, vrx_int, vrx_int, \
                                    vrx_int, T, T*, vrx_int);                                                \
  template void vrx_syrk_band(const vrx_syrk_problem<T>*, vrx_gemm_fn<T>, vrx_int, vrx_int, vrx_int, T*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
