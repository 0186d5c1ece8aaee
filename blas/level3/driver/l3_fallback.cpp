// The allocation-free road of the level-3 driver for GEMM.
#include "blas/vrx_l3.h"

namespace {
char trans_of(std::uint32_t flags) {
  switch (flags) {
    case VRX_L3_PLAIN: return 'N';
    case VRX_L3_CONJUGATED: return 'C';
    default: return 'T';
  }
}
}  // namespace

template <typename T>
void vrx_l3_gemm_fallback_with(vrx_gemm_fn<T> unpacked, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                               const vrx_l3_view<T>* b, const vrx_l3_view<T>* c) {
  const char ta = trans_of(a->flags), tb = trans_of(b->flags);
  const vrx_int m = c->rows, n = c->cols, k = a->cols;
  unpacked(&ta, &tb, &m, &n, &k, &call->alpha, a->address(0, 0, a), &a->ld, b->address(0, 0, b), &b->ld,
           &call->beta, c->address(0, 0, c), &c->ld);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_l3_gemm_fallback_with(vrx_gemm_fn<T>, const vrx_l3_call<T>*, const vrx_l3_view<T>*,       \
                                          const vrx_l3_view<T>*, const vrx_l3_view<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
