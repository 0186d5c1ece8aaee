// Operations of the level-3 driver for the triangular product (TRMM): the filler shared
// with the other triangular kind picks the routines by the A view's flags.
#include "blas/level3/ops/vrx_l3_kinds.h"
#include "blas/level3/trsm/vrx_tri_team.h"

template <typename T>
int vrx_l3_fill_trmm(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                     const vrx_l3_view<T>*, const vrx_l3_view<T>*, vrx_l3_ops<T>* ops) {
  return vrx_tri_fill(VRX_L3_TRMM, kernels, call, a, ops);
}

#define VRX_INSTANTIATE(T) VRX_L3_INSTANTIATE_FILL(vrx_l3_fill_trmm, T)
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
