// The 24 by 4 single-complex register-block kernel of CPU type 7 and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

const vrx_gemm_micro_kernels<vrx_complex_float> vrx_gemm_micro_c_avx512 = vrx_micro_class_table<vrx_complex_float, 16, 24, 4, 768>();
