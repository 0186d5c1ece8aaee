// The 48 by 8 single-precision register-block kernel of CPU type 7 and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

const vrx_gemm_micro_kernels<float> vrx_gemm_micro_s_avx512 = vrx_micro_class_table<float, 16, 48, 8, 768>();
