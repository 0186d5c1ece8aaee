// SSE2 kernels that read A, B and C where they lie: small shapes, k = 1 to 10, and
// the allocation-free fallback of the blocked loop.
#define VRX_GEMM_VECTOR_BYTES 16
#include "blas/kernels/gemm_packed_vector_body.h"
#include "blas/vrx_gemm_packed.h"

VRX_GEMM_DIRECT_DEFINE(sse2, 4)
