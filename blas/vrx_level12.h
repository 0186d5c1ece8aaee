// Level-1 and level-2 BLAS of the engine: published names and meanings, all arguments by
// pointer, vrx_int sizes, column-major matrices. Each family reaches its kernels through a
// table chosen once per process by CPU type.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// ---- kernel tables: unit strides, arguments already checked ----
// One layout for every element type; R is the real type behind T. For real data the
// conjugating members equal the plain ones.
template <typename T>
struct vrx_level1_kernels {
  typedef vrx_real_t<T> R;
  T (*dot)(vrx_int n, const T* x, const T* y);   // x^T y
  T (*dotc)(vrx_int n, const T* x, const T* y);  // x^H y
  R (*sumsq)(vrx_int n, const T* x);             // plain sum of |x_i|^2, no scaling
  void (*axpy)(vrx_int n, T alpha, const T* x, T* y);
  void (*scal)(vrx_int n, T alpha, T* x);
  void (*copy)(vrx_int n, const T* x, T* y);
  void (*swap)(vrx_int n, T* x, T* y);
  void (*rot)(vrx_int n, T* x, T* y, R c, R s);  // real plane rotation
  vrx_int (*iamax)(vrx_int n, const T* x);       // from 0, by |re| + |im|; n >= 1
};

template <typename T>
struct vrx_level2_kernels {
  // y[0:m] += alpha A x; y unit stride, x stride incx.
  void (*gemv_n)(vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, vrx_int incx, T* y);
  // y[j incy] += alpha A(:, j)^T x; x unit stride.
  void (*gemv_t)(vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, T* y, vrx_int incy);
  // y[j incy] += alpha A(:, j)^H x; x unit stride.
  void (*gemv_c)(vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x, T* y, vrx_int incy);
  // y += alpha a; returns a^T x.
  T (*axpy_dot)(vrx_int n, T alpha, const T* a, const T* x, T* y);
  // y += alpha a; returns a^H x.
  T (*axpy_dotc)(vrx_int n, T alpha, const T* a, const T* x, T* y);
};

#define VRX_DECLARE_LEVEL12_TABLES(cls)                                          \
  extern const vrx_level1_kernels<double> vrx_blas_level1_d_##cls;               \
  extern const vrx_level1_kernels<float> vrx_blas_level1_s_##cls;                \
  extern const vrx_level1_kernels<vrx_complex_float> vrx_blas_level1_c_##cls;    \
  extern const vrx_level1_kernels<vrx_complex_double> vrx_blas_level1_z_##cls;   \
  extern const vrx_level2_kernels<double> vrx_blas_level2_d_##cls;               \
  extern const vrx_level2_kernels<float> vrx_blas_level2_s_##cls;                \
  extern const vrx_level2_kernels<vrx_complex_float> vrx_blas_level2_c_##cls;    \
  extern const vrx_level2_kernels<vrx_complex_double> vrx_blas_level2_z_##cls;
VRX_DECLARE_LEVEL12_TABLES(sse2)
VRX_DECLARE_LEVEL12_TABLES(avx)
VRX_DECLARE_LEVEL12_TABLES(avx2)
VRX_DECLARE_LEVEL12_TABLES(avx512)
#undef VRX_DECLARE_LEVEL12_TABLES

// The tables of this process's CPU type.
template <typename T>
const vrx_level1_kernels<T>* vrx_blas_level1();
template <typename T>
const vrx_level2_kernels<T>* vrx_blas_level2();

// First element, in memory, of elements [start, start + count) of a vector whose
// logical element 0 is at x0: a negative increment walks from the far end.
template <typename T>
inline T* vrx_blas_sub_vector(T* x0, vrx_int start, vrx_int count, vrx_int inc) {
  return x0 + (inc >= 0 ? start : start + count - 1) * inc;
}

// ---- level 1: published names, Fortran calling style (all by pointer, no hidden lengths) ----
extern "C" {
float SDOT(const vrx_int* n, const float* x, const vrx_int* incx, const float* y, const vrx_int* incy);
double DDOT(const vrx_int* n, const double* x, const vrx_int* incx, const double* y, const vrx_int* incy);
// x^T y (DOTU) and x^H y (DOTC).
vrx_complex_float CDOTU(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx,
                        const vrx_complex_float* y, const vrx_int* incy);
vrx_complex_float CDOTC(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx,
                        const vrx_complex_float* y, const vrx_int* incy);
vrx_complex_double ZDOTU(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx,
                         const vrx_complex_double* y, const vrx_int* incy);
vrx_complex_double ZDOTC(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx,
                         const vrx_complex_double* y, const vrx_int* incy);
void SAXPY(const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx, float* y, const vrx_int* incy);
void DAXPY(const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx, double* y,
           const vrx_int* incy);
void CAXPY(const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x, const vrx_int* incx,
           vrx_complex_float* y, const vrx_int* incy);
void ZAXPY(const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x, const vrx_int* incx,
           vrx_complex_double* y, const vrx_int* incy);
void SSCAL(const vrx_int* n, const float* alpha, float* x, const vrx_int* incx);
void DSCAL(const vrx_int* n, const double* alpha, double* x, const vrx_int* incx);
void CSCAL(const vrx_int* n, const vrx_complex_float* alpha, vrx_complex_float* x, const vrx_int* incx);
void ZSCAL(const vrx_int* n, const vrx_complex_double* alpha, vrx_complex_double* x, const vrx_int* incx);
// A complex vector scaled by a real number.
void CSSCAL(const vrx_int* n, const float* alpha, vrx_complex_float* x, const vrx_int* incx);
void ZDSCAL(const vrx_int* n, const double* alpha, vrx_complex_double* x, const vrx_int* incx);
void SCOPY(const vrx_int* n, const float* x, const vrx_int* incx, float* y, const vrx_int* incy);
void DCOPY(const vrx_int* n, const double* x, const vrx_int* incx, double* y, const vrx_int* incy);
void CCOPY(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx, vrx_complex_float* y,
           const vrx_int* incy);
void ZCOPY(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx, vrx_complex_double* y,
           const vrx_int* incy);
void SSWAP(const vrx_int* n, float* x, const vrx_int* incx, float* y, const vrx_int* incy);
void DSWAP(const vrx_int* n, double* x, const vrx_int* incx, double* y, const vrx_int* incy);
void CSWAP(const vrx_int* n, vrx_complex_float* x, const vrx_int* incx, vrx_complex_float* y, const vrx_int* incy);
void ZSWAP(const vrx_int* n, vrx_complex_double* x, const vrx_int* incx, vrx_complex_double* y,
           const vrx_int* incy);
// Plane rotations with real c and s; CSROT and ZDROT rotate complex vectors.
void SROT(const vrx_int* n, float* x, const vrx_int* incx, float* y, const vrx_int* incy, const float* c,
          const float* s);
void DROT(const vrx_int* n, double* x, const vrx_int* incx, double* y, const vrx_int* incy, const double* c,
          const double* s);
void CSROT(const vrx_int* n, vrx_complex_float* x, const vrx_int* incx, vrx_complex_float* y, const vrx_int* incy,
           const float* c, const float* s);
void ZDROT(const vrx_int* n, vrx_complex_double* x, const vrx_int* incx, vrx_complex_double* y,
           const vrx_int* incy, const double* c, const double* s);
// Euclidean norm, safe from overflow and underflow; the order of a negative increment
// does not matter.
float SNRM2(const vrx_int* n, const float* x, const vrx_int* incx);
double DNRM2(const vrx_int* n, const double* x, const vrx_int* incx);
float SCNRM2(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx);
double DZNRM2(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx);
// Position (from 1) of the first element of largest |re| + |im|; 0 for n < 1 or incx < 1.
vrx_int ISAMAX(const vrx_int* n, const float* x, const vrx_int* incx);
vrx_int IDAMAX(const vrx_int* n, const double* x, const vrx_int* incx);
vrx_int ICAMAX(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx);
vrx_int IZAMAX(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx);
// x := conj(x) in place.
void CLACGV(const vrx_int* n, vrx_complex_float* x, const vrx_int* incx);
void ZLACGV(const vrx_int* n, vrx_complex_double* x, const vrx_int* incx);
}

// Norm with up to `threads` threads: slices of at least 4096 elements.
double vrx_blas_dnrm2_threaded(int threads, const vrx_int* n, const double* x, const vrx_int* incx);
// Thread count of the threaded copy for these arguments and settings (1: sequential).
int vrx_blas_dcopy_thread_count(vrx_int n, vrx_int incx, vrx_int incy, int threads, int cpu_type, int vendor_gate,
                                int dynamic, long long cache_bytes);
// The copy on exactly `threads` threads, as far as the runtime gives them.
void vrx_blas_dcopy_on_threads(int threads, vrx_int n, const double* x, vrx_int incx, double* y, vrx_int incy);

// ---- level 2 (bad arguments go through vrx_serv_xerbla with the published positions) ----
// GEMV, TRSV and TRMV take N, T and C (C: conjugate transpose; T for real data). GERU adds
// alpha x y^T, GERC alpha x y^H. HEMV and HER2 read and write one triangle and take the
// diagonal as real (HER2 stores it with a zero imaginary part); SYMV and SYR2 are their
// real members.
extern "C" {
void SGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const float* alpha, const float* a,
           const vrx_int* lda, const float* x, const vrx_int* incx, const float* beta, float* y, const vrx_int* incy);
void DGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const double* alpha, const double* a,
           const vrx_int* lda, const double* x, const vrx_int* incx, const double* beta, double* y,
           const vrx_int* incy);
void CGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha,
           const vrx_complex_float* a, const vrx_int* lda, const vrx_complex_float* x, const vrx_int* incx,
           const vrx_complex_float* beta, vrx_complex_float* y, const vrx_int* incy);
void ZGEMV(const char* trans, const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha,
           const vrx_complex_double* a, const vrx_int* lda, const vrx_complex_double* x, const vrx_int* incx,
           const vrx_complex_double* beta, vrx_complex_double* y, const vrx_int* incy);
void SGER(const vrx_int* m, const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx, const float* y,
          const vrx_int* incy, float* a, const vrx_int* lda);
void DGER(const vrx_int* m, const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx,
          const double* y, const vrx_int* incy, double* a, const vrx_int* lda);
void CGERU(const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x,
           const vrx_int* incx, const vrx_complex_float* y, const vrx_int* incy, vrx_complex_float* a,
           const vrx_int* lda);
void CGERC(const vrx_int* m, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x,
           const vrx_int* incx, const vrx_complex_float* y, const vrx_int* incy, vrx_complex_float* a,
           const vrx_int* lda);
void ZGERU(const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x,
           const vrx_int* incx, const vrx_complex_double* y, const vrx_int* incy, vrx_complex_double* a,
           const vrx_int* lda);
void ZGERC(const vrx_int* m, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x,
           const vrx_int* incx, const vrx_complex_double* y, const vrx_int* incy, vrx_complex_double* a,
           const vrx_int* lda);
void STRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const float* a, const vrx_int* lda,
           float* x, const vrx_int* incx);
void DTRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const double* a, const vrx_int* lda,
           double* x, const vrx_int* incx);
void CTRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_complex_float* a,
           const vrx_int* lda, vrx_complex_float* x, const vrx_int* incx);
void ZTRSV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_complex_double* a,
           const vrx_int* lda, vrx_complex_double* x, const vrx_int* incx);
void STRMV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const float* a, const vrx_int* lda,
           float* x, const vrx_int* incx);
void DTRMV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const double* a, const vrx_int* lda,
           double* x, const vrx_int* incx);
void CTRMV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_complex_float* a,
           const vrx_int* lda, vrx_complex_float* x, const vrx_int* incx);
void ZTRMV(const char* uplo, const char* trans, const char* diag, const vrx_int* n, const vrx_complex_double* a,
           const vrx_int* lda, vrx_complex_double* x, const vrx_int* incx);
void SSYMV(const char* uplo, const vrx_int* n, const float* alpha, const float* a, const vrx_int* lda, const float* x,
           const vrx_int* incx, const float* beta, float* y, const vrx_int* incy);
void DSYMV(const char* uplo, const vrx_int* n, const double* alpha, const double* a, const vrx_int* lda,
           const double* x, const vrx_int* incx, const double* beta, double* y, const vrx_int* incy);
void CHEMV(const char* uplo, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* a,
           const vrx_int* lda, const vrx_complex_float* x, const vrx_int* incx, const vrx_complex_float* beta,
           vrx_complex_float* y, const vrx_int* incy);
void ZHEMV(const char* uplo, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* a,
           const vrx_int* lda, const vrx_complex_double* x, const vrx_int* incx, const vrx_complex_double* beta,
           vrx_complex_double* y, const vrx_int* incy);
void SSYR2(const char* uplo, const vrx_int* n, const float* alpha, const float* x, const vrx_int* incx, const float* y,
           const vrx_int* incy, float* a, const vrx_int* lda);
void DSYR2(const char* uplo, const vrx_int* n, const double* alpha, const double* x, const vrx_int* incx,
           const double* y, const vrx_int* incy, double* a, const vrx_int* lda);
void CHER2(const char* uplo, const vrx_int* n, const vrx_complex_float* alpha, const vrx_complex_float* x,
           const vrx_int* incx, const vrx_complex_float* y, const vrx_int* incy, vrx_complex_float* a,
           const vrx_int* lda);
void ZHER2(const char* uplo, const vrx_int* n, const vrx_complex_double* alpha, const vrx_complex_double* x,
           const vrx_int* incx, const vrx_complex_double* y, const vrx_int* incy, vrx_complex_double* a,
           const vrx_int* lda);
}

// GEMV and the k = 1 rank-one update C := beta C + alpha x y^T in every precision, for the
// vector-shaped products; the double members are vrx_blas_dgemv and vrx_blas_dger_beta.
// In the rank-one update x is conjugated when transa is C, y when transb is C.
template <typename T>
void vrx_blas_gemv(const char* trans, const vrx_int* rows, const vrx_int* cols, const T* alpha, const T* a,
                   const vrx_int* lda, const T* x, const vrx_int* incx, const T* beta, T* y, const vrx_int* incy);
template <typename T>
void vrx_blas_ger_beta(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const T* alpha,
                       const T* x, const vrx_int* incx, const T* y, const vrx_int* incy, const T* beta, T* c,
                       const vrx_int* ldc);

// Sequential GEMV of any precision, arguments unchecked (the body behind DGEMV and SGEMV).
template <typename T>
void vrx_blas_gemv_sequential(const char* trans, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, const T* x,
                              vrx_int incx, T beta, T* y, vrx_int incy);
// Sequential GEMV; `count` is kept for the calling sequence and is always 1.
void vrx_blas_dgemv_sequential(const char* trans, const vrx_int* m, const vrx_int* n, const double* alpha,
                               const double* a, const vrx_int* lda, const double* x, const vrx_int* incx,
                               const double* beta, double* y, const vrx_int* incy, const vrx_int* count);
// Threads for vrx_blas_dgemv with these settings (1: sequential, 0: nothing to do).
int vrx_blas_dgemv_thread_count(char trans, vrx_int m, vrx_int n, int threads, int cpu_type, int vendor_gate,
                                int dynamic);
// The threaded GEMV on `threads` threads (reduction or split form by the shape).
void vrx_blas_dgemv_threaded(int threads, const char* trans, const vrx_int* m, const vrx_int* n, const double* alpha,
                             const double* a, const vrx_int* lda, const double* x, const vrx_int* incx,
                             const double* beta, double* y, const vrx_int* incy);
