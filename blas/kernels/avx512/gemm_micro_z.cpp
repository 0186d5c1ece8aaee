// The 12 by 4 double-complex register-block kernel of CPU type 7 and its packs.
#include "blas/kernels/gemm_micro_body.h"
#include "blas/kernels/gemm_micro_tables.h"

namespace {
constexpr int mr = 12, nr = 4;
constexpr int widest = 8;  // reals in the class's widest vector
constexpr int ahead = 768;  // bytes of A prefetched ahead in the k loop (B: half of it)
}  // namespace

constinit const vrx_gemm_micro_kernels<vrx_complex_double> vrx_gemm_micro_z_avx512 =
    vrx_micro_class_table<vrx_complex_double, widest, mr, nr, ahead>();
