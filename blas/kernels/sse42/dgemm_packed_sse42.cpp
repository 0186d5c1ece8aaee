// SSE4.2 kernels: the 2 by 8 register block of the packed driver, its packing
// routines, and the kernels that read the operands in place.
#define VRX_GEMM_VECTOR_BYTES 16
#include "blas/kernels/gemm_packed_vector_body.h"
#include "blas/vrx_gemm_packed.h"

VRX_GEMM_DIRECT_DEFINE(sse42, 4)
VRX_GEMM_PACKED_DEFINE(sse42, 2, 8, false)

// The kernel of the second SSE4.2 row: A panels outside, each B panel streamed past.
void vrx_gemm_kernel_sse42_rows(vrx_int m, vrx_int n, vrx_int k, const double* apack, const double* bpack,
                                double* c, vrx_int ldc, int store) {
  gemm_packed_kernel<2, 8, true>(m, n, k, apack, bpack, c, ldc, store);
}
