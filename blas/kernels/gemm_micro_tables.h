// The single and complex register-block kernels and packs of each instruction class.
#pragma once
#include "blas/kernels/gemm_micro.h"

extern const vrx_gemm_micro_kernels<float> vrx_gemm_micro_s_avx512;
extern const vrx_gemm_micro_kernels<vrx_complex_float> vrx_gemm_micro_c_avx512;
extern const vrx_gemm_micro_kernels<vrx_complex_double> vrx_gemm_micro_z_avx512;
extern const vrx_gemm_micro_kernels<float> vrx_gemm_micro_s_avx2;
extern const vrx_gemm_micro_kernels<vrx_complex_float> vrx_gemm_micro_c_avx2;
extern const vrx_gemm_micro_kernels<vrx_complex_double> vrx_gemm_micro_z_avx2;
