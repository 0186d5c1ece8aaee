// The 12 by 4 double-complex register-block kernel of CPU type 7 and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

const vrx_gemm_micro_kernels<vrx_complex_double> vrx_gemm_micro_z_avx512 = vrx_micro_class_table<vrx_complex_double, 8, 12, 4, 768>();
