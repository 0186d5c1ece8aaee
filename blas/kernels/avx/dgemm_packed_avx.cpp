// AVX kernels: the 8 by 4 register block of the packed driver, its packing
// routines, and the kernels that read the operands in place.
#define VRX_GEMM_VECTOR_BYTES 32
#include "blas/kernels/gemm_packed_vector_body.h"
#include "blas/vrx_gemm_packed.h"

VRX_GEMM_DIRECT_DEFINE(avx, 8)
VRX_GEMM_PACKED_DEFINE(avx, 8, 4, true)
