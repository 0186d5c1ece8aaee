// AVX kernels in every precision: the 8x4 register block of the packed driver (twice
// the rows in single precision; complex products on the real block of their real type),
// its packing routines, and the kernels that read the operands in place.
#define VRX_GEMM_VECTOR_BYTES 32
#include "blas/kernels/gemm_packed_vector_body.h"

VRX_GEMM_DIRECT_DEFINE(avx, 8)

namespace {
constexpr vrx_int mr = 8, nr = 4;
constexpr bool rows_outer = true;
template <typename T, typename R>
constexpr vrx_gemm_class_kernels<T> with_block(vrx_gemm_class_kernels<T> t, vrx_int real_rows) {
  t.mr = real_rows / (sizeof(T) / sizeof(R));
  t.nr = nr;
  return t;
}
constexpr vrx_gemm_class_kernels<float> s_kernels =
    with_block<float, float>(gemm_real_kernels<float, 8, 2 * mr, nr, rows_outer>(), 2 * mr);
constexpr vrx_gemm_class_kernels<double> d_kernels =
    with_block<double, double>(gemm_real_kernels<double, 8, mr, nr, rows_outer>(), mr);
constexpr vrx_gemm_class_kernels<vrx_complex_float> c_kernels =
    with_block<vrx_complex_float, float>(gemm_complex_kernels<float, 2 * mr, nr, rows_outer>(), 2 * mr);
constexpr vrx_gemm_class_kernels<vrx_complex_double> z_kernels =
    with_block<vrx_complex_double, double>(gemm_complex_kernels<double, mr, nr, rows_outer>(), mr);
}  // namespace

const vrx_gemm_class_table vrx_gemm_kernels_avx = {&s_kernels, &d_kernels, &c_kernels, &z_kernels};
