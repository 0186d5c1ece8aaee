// The pieces of the one-stage tridiagonal reduction: the unblocked reduction, the panel
// with its threaded symmetric product, the symmetric (Hermitian) BLAS members they call,
// and the even-area splits of a triangle among threads.
#pragma once
#include <cmath>

#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "lapack/syev/vrx_syev.h"

// SYMV, SYR2 and SYR2K for real data, HEMV, HER2 and HER2K for complex data: the
// reduction's products are symmetric in the one case and Hermitian in the other. The
// rank-2k update's beta is the real type in both (HER2K takes it real).
template <typename T>
struct vrx_syev_blas;
#define VRX_SYEV_BLAS_MEMBERS(T, x, SYMV, SYR2, SYR2K, X2K)                      \
  template <>                                                                  \
  struct vrx_syev_blas<T> {                                                    \
    static constexpr auto symv = &SYMV;                                        \
    static constexpr auto syr2 = &SYR2;                                        \
    static constexpr auto syr2k = &SYR2K;                                      \
    static constexpr auto syr2k_sequential = vrx_blas_##x##X2K##_sequential;   \
  };
VRX_SYEV_BLAS_MEMBERS(float, s, SSYMV, SSYR2, SSYR2K, syr2k)
VRX_SYEV_BLAS_MEMBERS(double, d, DSYMV, DSYR2, DSYR2K, syr2k)
VRX_SYEV_BLAS_MEMBERS(vrx_complex_float, c, CHEMV, CHER2, CHER2K, her2k)
VRX_SYEV_BLAS_MEMBERS(vrx_complex_double, z, ZHEMV, ZHER2, ZHER2K, her2k)
#undef VRX_SYEV_BLAS_MEMBERS

// A := H^H A H on the order-m Hermitian block at c (triangle uplo), H = I - tau v v^H,
// as a rank-2 update with w = x - (tau / 2)(x^H v) v, x = tau A v; x is scratch of m.
template <typename T>
inline void vrx_syev_reflect_both_sides(const char* uplo, vrx_int m, T tau, const T* v, T* c, vrx_int ldc, T* x) {
  typedef vrx_traits<T> tr;
  const vrx_int inc = 1;
  const T zero = tr::make(0, 0), minus_one = tr::make(-1, 0);
  vrx_syev_blas<T>::symv(uplo, &m, &tau, c, &ldc, v, &inc, &zero, x, &inc);
  const T alpha = tr::scale(static_cast<vrx_real_t<T>>(-0.5), tau * vrx_blas_level1<T>()->dotc(m, x, v));
  vrx_blas_level1<T>()->axpy(m, alpha, v, x);
  vrx_syev_blas<T>::syr2(uplo, &m, &minus_one, v, &inc, x, &inc, c, &ldc);
}

// The edge of part `part` of `parts` over n rows or columns of a triangle, so that every
// part gets about the same area. `growing`: the line at index k holds about k elements
// (rows of a lower triangle, columns of an upper one); otherwise about n - k.
inline vrx_int vrx_syev_area_edge(vrx_int n, int part, int parts, bool growing) {
  if (part <= 0) return 0;
  if (part >= parts) return n;
  const double f = static_cast<double>(part) / parts;
  const double edge = growing ? n * std::sqrt(f) : n - n * std::sqrt(1.0 - f);
  const vrx_int e = static_cast<vrx_int>(edge + 0.5);
  return e < 0 ? 0 : (e > n ? n : e);
}

// What the last SYTRD call of this thread did, for tests.
struct vrx_sytrd_trace {
  int threads;              // 1: the sequential routine
  vrx_int nb, nx;           // panel width and the columns left to the unblocked code
  vrx_int panels;           // panels reduced by LATRD
  vrx_int threaded_columns; // panel columns whose symmetric product ran forked
  int region_threads;       // threads the last trailing-update region had
};
vrx_sytrd_trace* vrx_lapack_sytrd_trace();

// Unblocked reduction (SYTD2, HETD2) of the upper or lower triangle, arguments unchecked.
template <typename T>
void vrx_lapack_sytd2(bool upper, vrx_int n, T* a, vrx_int lda, vrx_real_t<T>* d, vrx_real_t<T>* e, T* tau);

// The panel (LATRD): reduces the last (upper) or first (lower) nb rows and columns of the
// order-n matrix and returns W (n by nb, ldw) for the rank-2nb update of the rest. With
// `threads` above 1 and n at most key 3 of "LATRD", the symmetric product of each column
// runs forked on a scratch of n * threads elements; without the scratch, sequentially.
template <typename T>
void vrx_lapack_latrd(bool upper, vrx_int n, vrx_int nb, T* a, vrx_int lda, vrx_real_t<T>* e, T* tau, T* w,
                      vrx_int ldw, int threads);

// y := A x for the Hermitian (symmetric) order-m A stored in one triangle, on up to
// `threads` threads: column blocks of equal area, each thread's partial sums in its n
// elements of `scratch` (m by threads), reduced into y by rows.
template <typename T>
void vrx_lapack_hemv_threaded(bool upper, vrx_int m, const T* a, vrx_int lda, const T* x, T* y, T* scratch,
                              int threads);
