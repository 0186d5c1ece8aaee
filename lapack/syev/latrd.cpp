// The panel of the blocked tridiagonal reduction (LATRD): nb reflectors and the matrix W
// such that the rest of the matrix is updated as A := A - V W^H - W V^H. Each column is
// first brought up to date with the panel's earlier columns (two GEMV), its reflector
// formed, and W's column computed from the symmetric product A v, corrected by the
// earlier reflectors (four GEMV) and by -(tau/2)(w^H v) v. The symmetric product is the
// costly part and runs forked when the panel has threads and scratch.
#include "lapack/householder/vrx_householder.h"
#include "lapack/syev/vrx_sytrd.h"
#include "lapack/vrx_lapack.h"
#include "lapack/vrx_lapack_blas.h"
#include "service/vrx_memory.h"

namespace {
template <typename T>
inline T real_only(T x) {
  return vrx_traits<T>::make(vrx_traits<T>::real_part(x), 0);
}

// x := conj(x), for n elements at stride inc; nothing for real data. GEMV cannot conjugate
// a vector, so a row used as one is conjugated around the call, as the published panel does.
template <typename T>
void conjugate(vrx_int n, T* x, vrx_int inc) {
  if constexpr (vrx_is_complex<T>)
    for (vrx_int k = 0; k < n; ++k) x[k * inc].im = -x[k * inc].im;
}

// The column's symmetric product y := A v, forked when scratch exists.
template <typename T>
struct symmetric_product {
  bool upper;
  int threads;
  T* scratch;
  vrx_int* forked_columns;
  void operator()(vrx_int m, const T* a, vrx_int lda, const T* v, T* y) const {
    if (scratch) {
      vrx_lapack_hemv_threaded(upper, m, a, lda, v, y, scratch, threads);
      ++*forked_columns;
      return;
    }
    const vrx_int inc = 1;
    const T one = vrx_traits<T>::make(1, 0), zero = vrx_traits<T>::make(0, 0);
    vrx_syev_blas<T>::symv(upper ? "U" : "L", &m, &one, a, &lda, v, &inc, &zero, y, &inc);
  }
};

// W(:, col) := tau (y - V W_done^H v - W_done V^H v) and the correction by -(tau/2)(w^H v) v,
// with y = A v already in w_col; `done` columns of V (v_done, ldv) and W (w_done, ldw) so far,
// `spare` a column of `done` elements.
template <typename T>
void finish_column(vrx_int m, vrx_int done, const T* v, T tau, const T* v_done, vrx_int lda, const T* w_done,
                   vrx_int ldw, T* w_col, T* spare) {
  typedef vrx_traits<T> tr;
  const vrx_int inc = 1;
  const T one = tr::make(1, 0), zero = tr::make(0, 0), minus_one = tr::make(-1, 0);
  const char adjoint[2] = {tr::adjoint, 0};
  if (done > 0) {
    vrx_lapack_blas<T>::gemv(adjoint, &m, &done, &one, w_done, &ldw, v, &inc, &zero, spare, &inc);
    vrx_lapack_blas<T>::gemv("N", &m, &done, &minus_one, v_done, &lda, spare, &inc, &one, w_col, &inc);
    vrx_lapack_blas<T>::gemv(adjoint, &m, &done, &one, v_done, &lda, v, &inc, &zero, spare, &inc);
    vrx_lapack_blas<T>::gemv("N", &m, &done, &minus_one, w_done, &ldw, spare, &inc, &one, w_col, &inc);
  }
  const vrx_level1_kernels<T>* l1 = vrx_blas_level1<T>();
  l1->scal(m, tau, w_col);
  const T alpha = tr::scale(static_cast<vrx_real_t<T>>(-0.5), tau * l1->dotc(m, w_col, v));
  l1->axpy(m, alpha, v, w_col);
}

// column := column - A_part conj(w_row)^T - W_part conj(a_row)^T: the column brought up to
// date with `done` earlier columns of the panel, whose rows a_row (in A) and w_row (in W)
// are conjugated around the products.
template <typename T>
void update_column(vrx_int rows, vrx_int done, const T* a_part, vrx_int lda, T* a_row, const T* w_part, vrx_int ldw,
                   T* w_row, T* column, T* diagonal) {
  typedef vrx_traits<T> tr;
  *diagonal = real_only(*diagonal);
  if (done <= 0) return;
  const vrx_int inc = 1;
  const T one = tr::make(1, 0), minus_one = tr::make(-1, 0);
  conjugate(done, w_row, ldw);
  vrx_lapack_blas<T>::gemv("N", &rows, &done, &minus_one, a_part, &lda, w_row, &ldw, &one, column, &inc);
  conjugate(done, w_row, ldw);
  conjugate(done, a_row, lda);
  vrx_lapack_blas<T>::gemv("N", &rows, &done, &minus_one, w_part, &ldw, a_row, &lda, &one, column, &inc);
  conjugate(done, a_row, lda);
  *diagonal = real_only(*diagonal);
}
}  // namespace

template <typename T>
void vrx_lapack_latrd(bool upper, vrx_int n, vrx_int nb, T* a, vrx_int lda, vrx_real_t<T>* e, T* tau, T* w,
                      vrx_int ldw, int threads) {
  typedef vrx_traits<T> tr;
  if (n <= 0) return;
  const auto at = [a, lda](vrx_int i, vrx_int j) -> T& { return a[i + j * lda]; };
  const auto wt = [w, ldw](vrx_int i, vrx_int j) -> T& { return w[i + j * ldw]; };

  T* scratch = nullptr;
  if (threads > 1 && n <= vrx_lapack_ilaenv<T>(3, "LATRD", upper ? "U" : "L", n, threads, -1, -1))
    scratch = static_cast<T*>(vrx_serv_malloc(sizeof(T) * static_cast<std::size_t>(n) * threads, 64));
  vrx_int forked = 0;
  const symmetric_product<T> product = {upper, threads, scratch, &forked};

  if (upper) {
    for (vrx_int i = n - 1; i >= n - nb; --i) {
      const vrx_int iw = i - n + nb, later = n - 1 - i;
      update_column(i + 1, later, &at(0, i + 1), lda, &at(i, i + 1), &wt(0, iw + 1), ldw, &wt(i, iw + 1),
                    &at(0, i), &at(i, i));
      if (i == 0) continue;
      // H(i-1) annihilates A(0 : i-2, i).
      T alpha = at(i - 1, i);
      vrx_lapack_larfg<T>(i, &alpha, &at(0, i), 1, &tau[i - 1]);
      e[i - 1] = tr::real_part(alpha);
      at(i - 1, i) = tr::make(1, 0);
      product(i, a, lda, &at(0, i), &wt(0, iw));
      finish_column(i, later, &at(0, i), tau[i - 1], &at(0, i + 1), lda, &wt(0, iw + 1), ldw, &wt(0, iw),
                    &wt(i + 1, iw));
    }
  } else {
    for (vrx_int i = 0; i < nb; ++i) {
      update_column(n - i, i, &at(i, 0), lda, &at(i, 0), &wt(i, 0), ldw, &wt(i, 0), &at(i, i), &at(i, i));
      if (i == n - 1) continue;
      // H(i) annihilates A(i+2 : n-1, i).
      const vrx_int m = n - i - 1;
      T alpha = at(i + 1, i);
      vrx_lapack_larfg<T>(m, &alpha, &at(i + 2 < n ? i + 2 : n - 1, i), 1, &tau[i]);
      e[i] = tr::real_part(alpha);
      at(i + 1, i) = tr::make(1, 0);
      product(m, &at(i + 1, i + 1), lda, &at(i + 1, i), &wt(i + 1, i));
      finish_column(m, i, &at(i + 1, i), tau[i], &at(i + 1, 0), lda, &wt(i + 1, 0), ldw, &wt(i + 1, i), &wt(0, i));
    }
  }
  if (scratch) vrx_serv_free(scratch);
  vrx_lapack_sytrd_trace()->threaded_columns += forked;
}

template void vrx_lapack_latrd<float>(bool, vrx_int, vrx_int, float*, vrx_int, float*, float*, float*, vrx_int, int);
template void vrx_lapack_latrd<double>(bool, vrx_int, vrx_int, double*, vrx_int, double*, double*, double*, vrx_int,
                                       int);
template void vrx_lapack_latrd<vrx_complex_float>(bool, vrx_int, vrx_int, vrx_complex_float*, vrx_int, float*,
                                                  vrx_complex_float*, vrx_complex_float*, vrx_int, int);
template void vrx_lapack_latrd<vrx_complex_double>(bool, vrx_int, vrx_int, vrx_complex_double*, vrx_int, double*,
                                                   vrx_complex_double*, vrx_complex_double*, vrx_int, int);
