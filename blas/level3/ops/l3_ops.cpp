// The operations table of the level-3 driver, filled per kind of product. Each kind
// brings its own filler: GEMM's is below, the others live in their operations' folders.
#include "blas/level3/ops/vrx_l3_kinds.h"
#include "blas/vrx_l3.h"

namespace {
template <typename T>
int fill_gemm(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>*, const vrx_l3_view<T>* a,
              const vrx_l3_view<T>* b, const vrx_l3_view<T>*, vrx_l3_ops<T>* ops) {
  vrx_l3_packs_by_flags(kernels, a, b, ops);
  ops->pack_diag = nullptr;
  ops->pack_tri = nullptr;
  ops->kernel = kernels->kernel;
  ops->driver = ops->shape.team_mode == 4 ? vrx_l3_driver_cooperating<T> : vrx_l3_driver_plain<T>;
  return 1;
}

// By kind: 0 GEMM, 1 SYMM, 3 SYRK, 5 SYR2K, 7 TRMM, 8 TRSM, 9 GEMM into a triangle.
template <typename T>
constexpr vrx_l3_kind_fill_fn<T> kind_fillers[10] = {
    fill_gemm<T>,         vrx_l3_fill_symm<T>, nullptr, vrx_l3_fill_syrk<T>, nullptr, vrx_l3_fill_syr2k<T>,
    nullptr,              vrx_l3_fill_trmm<T>, vrx_l3_fill_trsm<T>, vrx_l3_fill_gemm_triangle<T>};
}  // namespace

template <typename T>
int vrx_l3_init_ops_with(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                         const vrx_l3_view<T>* b, const vrx_l3_view<T>* c, const vrx_l3_kernel_shape* shape,
                         vrx_l3_ops<T>* ops) {
  *ops = vrx_l3_ops<T>{};
  if (!kernels || !shape || shape->mr != kernels->mr || shape->nr != kernels->nr) return 0;
  constexpr unsigned kinds = sizeof kind_fillers<T> / sizeof kind_fillers<T>[0];
  if (call->kind >= kinds || !kind_fillers<T>[call->kind]) return 0;
  ops->shape = *shape;
  ops->min_m = 8;
  ops->min_n = kernels->nr;
  ops->min_k = 4;
  ops->scale_c = kernels->scale_c;
  ops->fallback = kernels->fallback;
  return kind_fillers<T>[call->kind](kernels, call, a, b, c, ops);
}

#define VRX_INSTANTIATE(T)                                                                                   \
  template int vrx_l3_init_ops_with(const vrx_l3_kernels<T>*, const vrx_l3_call<T>*, const vrx_l3_view<T>*,   \
                                    const vrx_l3_view<T>*, const vrx_l3_view<T>*, const vrx_l3_kernel_shape*,  \
                                    vrx_l3_ops<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
