// The blocked road shared by the AVX2 and AVX-512 sequential routes.
#include "blas/vrx_l3.h"

void vrx_l3_dgemm_blocked_road(int cpu, const char* transa, const char* transb, const vrx_int* m,
                               const vrx_int* n, const vrx_int* k, const double* alpha, const double* a,
                               const vrx_int* lda, const double* b, const vrx_int* ldb, const double* beta,
                               double* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  vrx_l3_call call = vrx_l3_gemm_call(transa, transb, *alpha, *beta);
  const vrx_int kk = *k > 0 ? *k : 0;
  const vrx_l3_view va = vrx_l3_make_view(a, *m, kk, *lda, vrx_l3_layout_flag(*transa));
  const vrx_l3_view vb = vrx_l3_make_view(b, kk, *n, *ldb, vrx_l3_layout_flag(*transb));
  const vrx_l3_view vc = vrx_l3_make_c_view(c, *m, *n, *ldc);
  vrx_l3_kernel_shape shape;
  vrx_l3_ops ops;
  vrx_l3_init_shape_for(cpu, nullptr, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for(cpu), &call, &va, &vb, &vc, &shape, &ops)) {
    vrx_blas_dgemm_reference(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (call.beta != 1.0) {
    ops.scale_c(*m, *n, call.beta, c, *ldc);
    call.beta = 1.0;
  }
  if (call.alpha == 0.0 || kk == 0) return;
  // The blocked road needs a full register block across the extent the packing favours.
  const bool by_columns = call.code_a == 0 || call.code_b != 0;
  if (by_columns ? *n < ops.min_n : *m < ops.min_m) {
    ops.fallback(&call, &va, &vb, &vc);
    return;
  }
  ops.driver(&call, &va, &vb, &vc, nullptr, &ops);
}
