// The table a class offers the level-3 driver, assembled from the shared templates.
#pragma once
#include "blas/kernels/dgemm_l3_inplace.h"
#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/kernels/dgemm_l3_pack.h"
#include "blas/kernels/dgemm_l3_tile.h"

namespace {
template <vrx_dgemm_fn UNPACKED>
void vrx_l3_fallback_entry(const vrx_l3_call<double>* call, const vrx_l3_view<double>* a,
                           const vrx_l3_view<double>* b, const vrx_l3_view<double>* c) {
  vrx_l3_gemm_fallback_with<double>(UNPACKED, call, a, b, c);
}

template <int MR, int NR, int RS, int CS, const vrx_l3_tile_fn (&ADD)[RS][CS], const vrx_l3_tile_fn (&STORE)[RS][CS],
          vrx_dgemm_fn UNPACKED>
constexpr vrx_l3_kernels<double> vrx_l3_class_kernels() {
  return {
      .mr = MR,
      .nr = NR,
      .kernel = vrx_l3_kernel_entry<MR, NR, RS, CS, ADD, STORE>,
      .pack_a_plain = vrx_l3_pack_a<MR, false>,
      .pack_a_transposed = vrx_l3_pack_a<MR, true>,
      .pack_a_conjugated = vrx_l3_pack_a<MR, true>,  // real data: C reads as T
      .pack_b_plain = vrx_l3_pack_b<NR, false>,
      .pack_b_transposed = vrx_l3_pack_b<NR, true>,
      .pack_b_conjugated = vrx_l3_pack_b<NR, true>,
      .scale_c = vrx_scale_matrix<double>,
      .fallback = vrx_l3_fallback_entry<UNPACKED>,
  };
}
}  // namespace
