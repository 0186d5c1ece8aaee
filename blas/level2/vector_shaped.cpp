// GEMV and the rank-one update with beta in every precision: the members that products
// with m = 1, n = 1 or k = 1 reduce to. Double takes its threaded members; the others run
// on one thread.
#include <type_traits>
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"
#include "service/vrx_traits.h"

namespace {
// y := beta y; beta = 0 stores zeros without reading y.
template <typename T>
void scale_vector(vrx_int n, T beta, T* y0, vrx_int incy) {
  typedef vrx_traits<T> tr;
  if (tr::is_one(beta)) return;
  for (vrx_int i = 0; i < n; ++i) y0[i * incy] = tr::is_zero(beta) ? T{} : beta * y0[i * incy];
}

// Columns of C: c := beta c + s x (x conjugated when asked); beta = 0 never reads c.
template <typename T, bool ConjX>
void rank_one_columns(vrx_int m, vrx_int n, T alpha, const T* x0, vrx_int incx, const T* y0, vrx_int incy,
                      bool conj_y, T beta, T* c, vrx_int ldc) {
  typedef vrx_traits<T> tr;
  const bool zero = tr::is_zero(beta), one = tr::is_one(beta);
  for (vrx_int j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    const T yj = y0[j * incy];
    const T s = alpha * (conj_y ? tr::conj(yj) : yj);
    for (vrx_int i = 0; i < m; ++i) {
      const T xi = ConjX ? tr::conj(x0[i * incx]) : x0[i * incx];
      if (zero) cj[i] = s * xi;
      else if (one) cj[i] += s * xi;
      else cj[i] = beta * cj[i] + s * xi;
    }
  }
}
}  // namespace

template <typename T>
void vrx_blas_gemv(const char* trans, const vrx_int* rows, const vrx_int* cols, const T* alpha, const T* a,
                   const vrx_int* lda, const T* x, const vrx_int* incx, const T* beta, T* y, const vrx_int* incy) {
  if constexpr (std::is_same_v<T, double>) {
    vrx_blas_dgemv(trans, rows, cols, alpha, a, lda, x, incx, beta, y, incy);
  } else {
    const bool plain = vrx_blas_trans_code(*trans) == 0;
    const vrx_int leny = plain ? *rows : *cols, lenx = plain ? *cols : *rows;
    if (leny < 1) return;
    if (lenx < 1) return scale_vector(leny, *beta, y + vrx_blas_first_index(leny, *incy), *incy);
    vrx_blas_gemv_sequential(trans, *rows, *cols, *alpha, a, *lda, x, *incx, *beta, y, *incy);
  }
}

template <typename T>
void vrx_blas_ger_beta(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_, const T* alpha_,
                       const T* x, const vrx_int* incx_, const T* y, const vrx_int* incy_, const T* beta_, T* c,
                       const vrx_int* ldc_) {
  if constexpr (std::is_same_v<T, double>) {
    vrx_blas_dger_beta(transa, transb, m_, n_, alpha_, x, incx_, y, incy_, beta_, c, ldc_);
  } else {
    typedef vrx_traits<T> tr;
    const vrx_int m = *m_, n = *n_, incx = *incx_, incy = *incy_, ldc = *ldc_;
    if (m < 1 || n < 1) return;
    const T alpha = *alpha_, beta = *beta_;
    if (tr::is_zero(alpha)) {
      if (tr::is_one(beta)) return;
      for (vrx_int j = 0; j < n; ++j) scale_vector(m, beta, c + j * ldc, vrx_int(1));
      return;
    }
    const T* x0 = x + vrx_blas_first_index(m, incx);
    const T* y0 = y + vrx_blas_first_index(n, incy);
    const bool conj_x = tr::is_complex && (*transa & ~0x20) == 'C';
    const bool conj_y = tr::is_complex && (*transb & ~0x20) == 'C';
    if (conj_x) rank_one_columns<T, true>(m, n, alpha, x0, incx, y0, incy, conj_y, beta, c, ldc);
    else rank_one_columns<T, false>(m, n, alpha, x0, incx, y0, incy, conj_y, beta, c, ldc);
  }
}

template void vrx_blas_gemv<float>(const char*, const vrx_int*, const vrx_int*, const float*, const float*,
                                    const vrx_int*, const float*, const vrx_int*, const float*, float*,
                                    const vrx_int*);
template void vrx_blas_gemv<double>(const char*, const vrx_int*, const vrx_int*, const double*, const double*,
                                     const vrx_int*, const double*, const vrx_int*, const double*, double*,
                                     const vrx_int*);
template void vrx_blas_gemv<vrx_complex_float>(const char*, const vrx_int*, const vrx_int*, const vrx_complex_float*,
                                                const vrx_complex_float*, const vrx_int*, const vrx_complex_float*,
                                                const vrx_int*, const vrx_complex_float*, vrx_complex_float*,
                                                const vrx_int*);
template void vrx_blas_gemv<vrx_complex_double>(const char*, const vrx_int*, const vrx_int*,
                                                 const vrx_complex_double*, const vrx_complex_double*,
                                                 const vrx_int*, const vrx_complex_double*, const vrx_int*,
                                                 const vrx_complex_double*, vrx_complex_double*, const vrx_int*);
template void vrx_blas_ger_beta<float>(const char*, const char*, const vrx_int*, const vrx_int*, const float*,
                                       const float*, const vrx_int*, const float*, const vrx_int*, const float*,
                                       float*, const vrx_int*);
template void vrx_blas_ger_beta<double>(const char*, const char*, const vrx_int*, const vrx_int*, const double*,
                                        const double*, const vrx_int*, const double*, const vrx_int*,
                                        const double*, double*, const vrx_int*);
template void vrx_blas_ger_beta<vrx_complex_float>(const char*, const char*, const vrx_int*, const vrx_int*,
                                                   const vrx_complex_float*, const vrx_complex_float*,
                                                   const vrx_int*, const vrx_complex_float*, const vrx_int*,
                                                   const vrx_complex_float*, vrx_complex_float*, const vrx_int*);
template void vrx_blas_ger_beta<vrx_complex_double>(const char*, const char*, const vrx_int*, const vrx_int*,
                                                    const vrx_complex_double*, const vrx_complex_double*,
                                                    const vrx_int*, const vrx_complex_double*, const vrx_int*,
                                                    const vrx_complex_double*, vrx_complex_double*,
                                                    const vrx_int*);
