// The blocked road shared by the AVX2 and AVX-512 sequential routes of every precision.
#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/vrx_l3.h"

template <typename T>
void vrx_l3_gemm_blocked_road(int cpu, const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                              const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  typedef vrx_traits<T> tr;
  if (*m < 1 || *n < 1) return;
  vrx_l3_call<T> call = vrx_l3_gemm_call<T>(transa, transb, *alpha, *beta);
  const vrx_int kk = *k > 0 ? *k : 0;
  const vrx_l3_view<T> va = vrx_l3_make_view<T>(a, *m, kk, *lda, vrx_l3_layout_flag(*transa));
  const vrx_l3_view<T> vb = vrx_l3_make_view<T>(b, kk, *n, *ldb, vrx_l3_layout_flag(*transb));
  const vrx_l3_view<T> vc = vrx_l3_make_c_view<T>(c, *m, *n, *ldc);
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<T> ops;
  vrx_l3_init_shape_for<T>(cpu, nullptr, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(cpu), &call, &va, &vb, &vc, &shape, &ops)) {
    vrx_gemm_members<T>::reference(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (!tr::is_one(call.beta)) {
    ops.scale_c(*m, *n, call.beta, c, *ldc);
    call.beta = tr::make(1, 0);
  }
  if (tr::is_zero(call.alpha) || kk == 0) return;
  // The blocked road needs a full register block across the extent the packing favours.
  const bool by_columns = call.code_a == 0 || call.code_b != 0;
  if (by_columns ? *n < ops.min_n : *m < ops.min_m) {
    ops.fallback(&call, &va, &vb, &vc);
    return;
  }
  ops.driver(&call, &va, &vb, &vc, nullptr, &ops);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_l3_gemm_blocked_road(int, const char*, const char*, const vrx_int*, const vrx_int*,      \
                                         const vrx_int*, const T*, const T*, const vrx_int*, const T*,      \
                                         const vrx_int*, const T*, T*, const vrx_int*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
