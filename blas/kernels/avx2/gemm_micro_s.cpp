// The 24 by 4 single-precision register-block kernel of CPU type 5 (AVX2 with FMA) and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

namespace {
constexpr int mr = 24, nr = 4;
constexpr int widest = 8;  // reals in the class's widest vector
constexpr int ahead = 768;  // bytes of A prefetched ahead in the k loop (B: half of it)
}  // namespace

constinit const vrx_gemm_micro_kernels<float> vrx_gemm_micro_s_avx2 = vrx_micro_class_table<float, widest, mr, nr, ahead>();
