// SSE2 kernels that read A, B and C where they lie: small shapes, k = 1 to 10, and
// the allocation-free fallback of the blocked loop, in every precision.
#define VRX_GEMM_VECTOR_BYTES 16
#include "blas/kernels/gemm_packed_vector_body.h"

VRX_GEMM_DIRECT_DEFINE(sse2, 4)

namespace {
constexpr vrx_gemm_class_kernels<float> s_kernels = gemm_real_kernels<float, 8, 0, 0, false>();
constexpr vrx_gemm_class_kernels<double> d_kernels = gemm_real_kernels<double, 4, 0, 0, false>();
constexpr vrx_gemm_class_kernels<vrx_complex_float> c_kernels = gemm_complex_kernels<float, 0, 0, false>();
constexpr vrx_gemm_class_kernels<vrx_complex_double> z_kernels = gemm_complex_kernels<double, 0, 0, false>();
}  // namespace

const vrx_gemm_class_table vrx_gemm_kernels_sse2 = {&s_kernels, &d_kernels, &c_kernels, &z_kernels};
