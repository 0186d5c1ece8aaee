// The GEMM kernels of the level-3 driver per instruction class, and the in-place
// kernels of the AVX2 and AVX-512 routes (small shapes, k = 1 to 10, allocation-free).
#pragma once
#include "blas/vrx_blas.h"
#include "blas/vrx_l3.h"

extern const vrx_l3_dgemm_kernels vrx_l3_dgemm_kernels_avx2;
extern const vrx_l3_dgemm_kernels vrx_l3_dgemm_kernels_avx512;

#define VRX_DGEMM_ARGS                                                                                        \
  const char *transa, const char *transb, const vrx_int *m, const vrx_int *n, const vrx_int *k,              \
      const double *alpha, const double *a, const vrx_int *lda, const double *b, const vrx_int *ldb,         \
      const double *beta, double *c, const vrx_int *ldc

// Read A, B, C where they lie; any beta.
void vrx_blas_dgemm_small_avx2(VRX_DGEMM_ARGS);
void vrx_blas_dgemm_unpacked_avx2(VRX_DGEMM_ARGS);
void vrx_blas_dgemm_small_avx512(VRX_DGEMM_ARGS);
void vrx_blas_dgemm_unpacked_avx512(VRX_DGEMM_ARGS);
// k from 1 to 10, m and n at most 10, beta = 1 (beta is not read).
void vrx_blas_dgemm_tiny_k_avx2(VRX_DGEMM_ARGS);
void vrx_blas_dgemm_tiny_k_avx512(VRX_DGEMM_ARGS);

#undef VRX_DGEMM_ARGS
