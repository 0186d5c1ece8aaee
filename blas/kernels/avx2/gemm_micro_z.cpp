// The 6 by 2 double-complex register-block kernel of CPU type 5 (AVX2 with FMA) and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

namespace {
constexpr int mr = 6, nr = 2;
constexpr int widest = 4;  // reals in the class's widest vector
constexpr int ahead = 768;  // bytes of A prefetched ahead in the k loop (B: half of it)
}  // namespace

constinit const vrx_gemm_micro_kernels<vrx_complex_double> vrx_gemm_micro_z_avx2 =
    vrx_micro_class_table<vrx_complex_double, widest, mr, nr, ahead>();
