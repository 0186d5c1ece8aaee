// The 24 by 4 single-precision register-block kernel of CPU type 5 (AVX2 with FMA) and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

const vrx_gemm_micro_kernels<float> vrx_gemm_micro_s_avx2 = vrx_micro_class_table<float, 8, 24, 4, 768>();
