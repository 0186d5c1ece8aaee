// SSSE3 kernels in every precision: the 4x4 register block of the packed driver (twice
// the rows in single precision; complex products on the real block of their real type),
// its packing routines, and the kernels that read the operands in place.
#define VRX_GEMM_VECTOR_BYTES 16
#include "blas/kernels/gemm_packed_vector_body.h"

VRX_GEMM_DIRECT_DEFINE(ssse3, 4)

const vrx_gemm_class_table vrx_gemm_kernels_ssse3 = gemm_class_kernels<4, 4, 4, false>::table;
