// The allocation-free road of the level-3 driver for GEMM.
#include "blas/vrx_l3.h"

void vrx_l3_gemm_fallback_with(vrx_dgemm_fn unpacked, const vrx_l3_call* call, const vrx_l3_view* a,
                               const vrx_l3_view* b, const vrx_l3_view* c) {
  const char ta = a->flags == VRX_L3_PLAIN ? 'N' : 'T';
  const char tb = b->flags == VRX_L3_PLAIN ? 'N' : 'T';
  const vrx_int m = c->rows, n = c->cols, k = a->cols;
  unpacked(&ta, &tb, &m, &n, &k, &call->alpha, a->address(0, 0, a), &a->ld, b->address(0, 0, b), &b->ld,
           &call->beta, c->address(0, 0, c), &c->ld);
}
