// The sequential triangular solve and product of CPU types 0, 2, 3 and 4 (and of the
// compatible set): the triangle is halved recursively, the coupling blocks go to the
// sequential GEMM route of the CPU type and branch, and parts of at most `leaf` run the
// allocation-free kernel. Small calls run that kernel outright.
#include "blas/level3/trsm/vrx_tri_split.h"
#include "blas/vrx_l3.h"

namespace {
// Diagonal parts left to the allocation-free kernel, and the fewest right-hand sides
// for which the GEMM route pays.
constexpr vrx_int leaf = 128;
constexpr vrx_int min_rhs = 8;

template <typename T>
void sequential_classic(int kind, vrx_tri_kernel_fn<T> unpacked, int cpu, int branch, vrx_tri_codes codes,
                        vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b, vrx_int ldb) {
  if (vrx_tri_quick_return(m, n, alpha, b, ldb)) return;
  const bool left = codes.side != 1;
  const vrx_int order = left ? m : n, rhs = left ? n : m;
  const vrx_gemm_fn<T> route = vrx_blas_gemm_classic_route<T>(cpu, branch);
  if (!route || order <= leaf || rhs < min_rhs) {
    unpacked(codes, m, n, alpha, a, lda, b, ldb);
    return;
  }
  vrx_tri_split<T>(kind, codes, m, n, alpha, a, lda, b, ldb, {leaf, 1}, unpacked, route);
}
}  // namespace

template <typename T>
void vrx_l3_trsm_sequential_classic(int cpu, int branch, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha,
                                    const T* a, vrx_int lda, T* b, vrx_int ldb) {
  sequential_classic<T>(VRX_TRI_SOLVE, vrx_l3_trsm_unpacked<T>, cpu, branch, codes, m, n, alpha, a, lda, b, ldb);
}
template <typename T>
void vrx_l3_trmm_sequential_classic(int cpu, int branch, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha,
                                    const T* a, vrx_int lda, T* b, vrx_int ldb) {
  sequential_classic<T>(VRX_TRI_PRODUCT, vrx_l3_trmm_unpacked<T>, cpu, branch, codes, m, n, alpha, a, lda, b, ldb);
}

#define VRX_INSTANTIATE(T)                                                                                      \
  template void vrx_l3_trsm_sequential_classic<T>(int, int, vrx_tri_codes, vrx_int, vrx_int, T, const T*,        \
                                                  vrx_int, T*, vrx_int);                                        \
  template void vrx_l3_trmm_sequential_classic<T>(int, int, vrx_tri_codes, vrx_int, vrx_int, T, const T*,        \
                                                  vrx_int, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
