// Operations of the level-3 driver for this kind of product.
#include "blas/level3/ops/vrx_l3_kinds.h"

// Not yet offered: the driver answers that the kind has no operations.
template <typename T>
int vrx_l3_fill_syr2k(const vrx_l3_kernels<T>*, const vrx_l3_call<T>*, const vrx_l3_view<T>*,
                        const vrx_l3_view<T>*, const vrx_l3_view<T>*, vrx_l3_ops<T>*) {
  return 0;
}

#define VRX_INSTANTIATE(T) VRX_L3_INSTANTIATE_FILL(vrx_l3_fill_syr2k, T)
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
