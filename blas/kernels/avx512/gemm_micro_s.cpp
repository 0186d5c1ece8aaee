// The 48 by 8 single-precision register-block kernel of CPU type 7 and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

namespace {
constexpr int mr = 48, nr = 8;
constexpr int widest = 16;  // reals in the class's widest vector
constexpr int ahead = 768;  // bytes of A prefetched ahead in the k loop (B: half of it)
}  // namespace

constinit const vrx_gemm_micro_kernels<float> vrx_gemm_micro_s_avx512 = vrx_micro_class_table<float, widest, mr, nr, ahead>();
