// SSE2 kernels that read A, B and C where they lie: small shapes, k = 1 to 10, and
// the allocation-free fallback of the blocked loop, in every precision.
#define VRX_GEMM_VECTOR_BYTES 16
#include "blas/kernels/gemm_packed_vector_body.h"

VRX_GEMM_DIRECT_DEFINE(sse2, 4)

// No packed register block.
const vrx_gemm_class_table vrx_gemm_kernels_sse2 = gemm_class_kernels<4, 0, 0, false>::table;
