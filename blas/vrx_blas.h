// Entries of the BLAS engine. All arguments by pointer, column-major, vrx_int sizes.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// The matrix product's signature, named once for every precision and every variant:
// C := alpha op(A) op(B) + beta C, Fortran order, all arguments by pointer.
template <typename T>
using vrx_gemm_fn_type = void(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                              const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc);
template <typename T>
using vrx_gemm_fn = vrx_gemm_fn_type<T>*;

typedef vrx_gemm_fn<double> vrx_dgemm_fn;

void vrx_blas_dgemm_gate(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                         const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                         const double* b, const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc,
                         vrx_int len_transa, vrx_int len_transb);
// The entry, the sequential kernel (never forks), the portable product that defines the
// result and the classic threaded road.
vrx_gemm_fn_type<double> vrx_blas_dgemm, vrx_blas_dgemm_sequential, vrx_blas_dgemm_reference,
    vrx_blas_dgemm_classic;
// 1: classic road (CPU types 0, 2, 3, 4); 2: team road (types 5 and 7).
int vrx_blas_dgemm_road();

void vrx_blas_dgemv(const char* trans, const vrx_int* rows, const vrx_int* cols, const double* alpha,
                    const double* a, const vrx_int* lda, const double* x, const vrx_int* incx, const double* beta,
                    double* y, const vrx_int* incy);
void vrx_blas_dger_beta(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                        const double* alpha, const double* x, const vrx_int* incx, const double* y,
                        const vrx_int* incy, const double* beta, double* c, const vrx_int* ldc);
void vrx_blas_dcopy_threaded(const vrx_int* n, const double* x, const vrx_int* incx, double* y,
                             const vrx_int* incy);

// The single and complex members, each by its precision letter: the entry, the
// sequential kernel (never forks), the classic threaded road and the portable product
// that defines the result.
vrx_gemm_fn_type<float> vrx_blas_sgemm, vrx_blas_sgemm_sequential, vrx_blas_sgemm_classic,
    vrx_blas_sgemm_reference;
vrx_gemm_fn_type<vrx_complex_float> vrx_blas_cgemm, vrx_blas_cgemm_sequential, vrx_blas_cgemm_classic,
    vrx_blas_cgemm_reference;
vrx_gemm_fn_type<vrx_complex_double> vrx_blas_zgemm, vrx_blas_zgemm_sequential, vrx_blas_zgemm_classic,
    vrx_blas_zgemm_reference;
// The engine routines by their published names, Fortran style: every argument by
// pointer, complex scalars as pointers to the two-element type, no hidden lengths. An
// m or n below 1 returns at once. Double's engine form is vrx_blas_dgemm_gate.
extern "C" {
vrx_gemm_fn_type<float> SGEMM;
vrx_gemm_fn_type<vrx_complex_float> CGEMM;
vrx_gemm_fn_type<vrx_complex_double> ZGEMM;
}

// The sequential route of a classic CPU type (0, 2, 3, 4) under a reproducibility branch;
// null for the other types.
template <typename T>
vrx_gemm_fn<T> vrx_blas_gemm_classic_route(int cpu_type, int branch);

// Transposition code of a character: N 0, T 1, C 2, anything else -1. Internal linkage:
// kernel classes compile their own copies.
static inline int vrx_blas_trans_code(char t) {
  switch (t & ~0x20) {
    case 'N': return 0;
    case 'T': return 1;
    case 'C': return 2;
    default: return -1;
  }
}
