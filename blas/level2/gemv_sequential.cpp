// y := alpha op(A) x + beta y on one thread, op one of A, A^T and (complex data) A^H. beta first (0 stores zeros without reading y),
// then the dispatched kernels. A strided vector that the kernels want contiguous (y for
// "N", x otherwise) goes through a 4096-byte buffer, 512 doubles (256 double-complex elements) at a time; without the
// buffer the strided loops run.
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"
#include "service/vrx_serv.h"

namespace {
constexpr std::size_t buffer_bytes = 4096;

template <typename T>
void strided_product(int code, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x0, vrx_int incx,
                     T* y0, vrx_int incy) {
  if (code == 0) {
    for (vrx_int j = 0; j < n; ++j) {
      const T t = alpha * x0[j * incx];
      const T* aj = a + j * lda;
      for (vrx_int i = 0; i < m; ++i) y0[i * incy] += t * aj[i];
    }
    return;
  }
  const bool conj = code == 2;
  for (vrx_int j = 0; j < n; ++j) {
    const T* aj = a + j * lda;
    T s{};
    for (vrx_int i = 0; i < m; ++i) s += (conj ? vrx_traits<T>::conj(aj[i]) : aj[i]) * x0[i * incx];
    y0[j * incy] += alpha * s;
  }
}
}  // namespace

template <typename T>
void vrx_blas_gemv_sequential(const char* trans, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x,
                              vrx_int incx, T beta, T* y, vrx_int incy) {
  if (m < 1 || n < 1) return;
  typedef vrx_traits<T> tr;
  const int code = vrx_is_complex<T> ? vrx_blas_trans_code(*trans) : (vrx_blas_trans_code(*trans) != 0);
  const bool plain = code == 0;
  const vrx_int leny = plain ? m : n, lenx = plain ? n : m;
  T* y0 = y + vrx_blas_first_index(leny, incy);
  if (tr::is_zero(beta)) {
    for (vrx_int i = 0; i < leny; ++i) y0[i * incy] = T{};
  } else if (!tr::is_one(beta)) {
    for (vrx_int i = 0; i < leny; ++i) y0[i * incy] *= beta;
  }
  if (tr::is_zero(alpha)) return;
  const T* x0 = x + vrx_blas_first_index(lenx, incx);
  const vrx_level2_kernels<T>* k = vrx_blas_level2<T>();
  const auto transposed = code == 2 ? k->gemv_c : k->gemv_t;

  if (plain ? incy == 1 : incx == 1) {
    if (plain) k->gemv_n(m, n, alpha, a, lda, x0, incx, y0);
    else transposed(m, n, alpha, a, lda, x0, y0, incy);
    return;
  }
  T* buffer = static_cast<T*>(vrx_serv_malloc(buffer_bytes, 128));
  if (!buffer) return strided_product(code, m, n, alpha, a, lda, x0, incx, y0, incy);
  // Both forms walk the rows of A in pieces that fit the buffer.
  constexpr vrx_int piece = static_cast<vrx_int>(buffer_bytes / sizeof(T));
  for (vrx_int r = 0; r < m; r += piece) {
    const vrx_int rows = m - r < piece ? m - r : piece;
    if (plain) {
      for (vrx_int i = 0; i < rows; ++i) buffer[i] = y0[(r + i) * incy];
      k->gemv_n(rows, n, alpha, a + r, lda, x0, incx, buffer);
      for (vrx_int i = 0; i < rows; ++i) y0[(r + i) * incy] = buffer[i];
    } else {
      for (vrx_int i = 0; i < rows; ++i) buffer[i] = x0[(r + i) * incx];
      transposed(rows, n, alpha, a + r, lda, buffer, y0, incy);
    }
  }
  vrx_serv_free(buffer);
}

template void vrx_blas_gemv_sequential<double>(const char*, vrx_int, vrx_int, double, const double*, vrx_int,
                                               const double*, vrx_int, double, double*, vrx_int);
template void vrx_blas_gemv_sequential<float>(const char*, vrx_int, vrx_int, float, const float*, vrx_int,
                                              const float*, vrx_int, float, float*, vrx_int);
template void vrx_blas_gemv_sequential<vrx_complex_float>(const char*, vrx_int, vrx_int, vrx_complex_float,
                                                          const vrx_complex_float*, vrx_int, const vrx_complex_float*,
                                                          vrx_int, vrx_complex_float, vrx_complex_float*, vrx_int);
template void vrx_blas_gemv_sequential<vrx_complex_double>(const char*, vrx_int, vrx_int, vrx_complex_double,
                                                           const vrx_complex_double*, vrx_int,
                                                           const vrx_complex_double*, vrx_int, vrx_complex_double,
                                                           vrx_complex_double*, vrx_int);

void vrx_blas_dgemv_sequential(const char* trans, const vrx_int* m, const vrx_int* n, const double* alpha,
                               const double* a, const vrx_int* lda, const double* x, const vrx_int* incx,
                               const double* beta, double* y, const vrx_int* incy, const vrx_int*) {
  vrx_blas_gemv_sequential(trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
