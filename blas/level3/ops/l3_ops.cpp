// The operations table of the level-3 driver, filled per kind of product. Each kind
// brings its own filler; GEMM's is below and the others join the table as they land.
#include "blas/vrx_l3.h"

namespace {
typedef int (*kind_fill_fn)(const vrx_l3_dgemm_kernels* kernels, const vrx_l3_call* call, const vrx_l3_view* a,
                            const vrx_l3_view* b, const vrx_l3_view* c, vrx_l3_ops* ops);

int fill_gemm(const vrx_l3_dgemm_kernels* kernels, const vrx_l3_call*, const vrx_l3_view* a, const vrx_l3_view* b,
              const vrx_l3_view*, vrx_l3_ops* ops) {
  ops->pack_a = a->flags == VRX_L3_PLAIN ? kernels->pack_a_plain : kernels->pack_a_transposed;
  ops->pack_b = b->flags == VRX_L3_PLAIN ? kernels->pack_b_plain : kernels->pack_b_transposed;
  ops->pack_diag = nullptr;
  ops->pack_tri = nullptr;
  ops->kernel = kernels->kernel;
  ops->driver = ops->shape.team_mode == 4 ? vrx_l3_driver_cooperating : vrx_l3_driver_plain;
  return 1;
}

// By kind: 0 GEMM, 1 SYMM, 3 SYRK, 5 SYR2K, 7 TRMM, 8 TRSM, 9 GEMM into a triangle.
constexpr kind_fill_fn kind_fillers[10] = {fill_gemm};
}  // namespace

int vrx_l3_init_ops_with(const vrx_l3_dgemm_kernels* kernels, const vrx_l3_call* call, const vrx_l3_view* a,
                         const vrx_l3_view* b, const vrx_l3_view* c, const vrx_l3_kernel_shape* shape,
                         vrx_l3_ops* ops) {
  *ops = vrx_l3_ops{};
  if (!kernels || !shape || shape->mr != kernels->mr || shape->nr != kernels->nr) return 0;
  if (call->kind >= sizeof kind_fillers / sizeof kind_fillers[0] || !kind_fillers[call->kind]) return 0;
  ops->shape = *shape;
  ops->min_m = 8;
  ops->min_n = kernels->nr;
  ops->min_k = 4;
  ops->scale_c = kernels->scale_c;
  ops->fallback = kernels->fallback;
  return kind_fillers[call->kind](kernels, call, a, b, c, ops);
}
