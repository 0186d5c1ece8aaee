// The GEMM kernels of the level-3 driver per instruction class, and the in-place
// kernels of the AVX2 and AVX-512 routes (small shapes, k = 1 to 10, allocation-free).
#pragma once
#include "blas/vrx_blas.h"
#include "blas/vrx_l3.h"

extern const vrx_l3_kernels<double> vrx_l3_dgemm_kernels_avx2;
extern const vrx_l3_kernels<double> vrx_l3_dgemm_kernels_avx512;

// Read A, B, C where they lie; any beta.
vrx_gemm_fn_type<double> vrx_blas_dgemm_small_avx2, vrx_blas_dgemm_unpacked_avx2;
vrx_gemm_fn_type<double> vrx_blas_dgemm_small_avx512, vrx_blas_dgemm_unpacked_avx512;
// k from 1 to 10, m and n at most 10, beta = 1 (beta is not read).
vrx_gemm_fn_type<double> vrx_blas_dgemm_tiny_k_avx2, vrx_blas_dgemm_tiny_k_avx512;
