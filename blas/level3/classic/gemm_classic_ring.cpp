// The ring worker of the classic road. Each thread owns a band of rows of C and
// packs its A privately; the columns of B pass in rounds of t slices, thread i
// starting at its own slice and moving on by one each step, so that no two threads
// read the same columns of B at the same moment.
#include <algorithm>
#include <omp.h>
#include "blas/level3/classic/vrx_gemm_classic.h"

template <typename T>
void vrx_gemm_worker_ring(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, int id) {
  const int t = s->threads;
  if (id < t) {
    vrx_int r0, rc;
    vrx_gemm_classic_chunk(g->m, t, id, s->mr, &r0, &rc);
    const bool last = id == t - 1;
    const vrx_int bm = s->block_m, bn = s->block_n, kc = std::min(s->ctx.kc, g->k);
    vrx_gemm_context_t<T> ctx = s->ctx;
    ctx.mc = last ? 2 * bm : bm;  // the last thread folds a short final block into the one before
    ctx.nc = bn;
    if (rc > 0 && vrx_gemm_shared_mode_prepare(&ctx, 64, ctx.mc, bn, kc) != 0) {
      // No private buffers: the thread's rows go through the packed driver as it chooses.
      vrx_gemm_split_t<T> plain = *s;
      plain.mode = 0;
      vrx_gemm_classic_compute(&plain, g, r0, 0, 0, rc, g->n, g->k, g->beta);
    } else if (rc > 0) {
      const int store = vrx_gemm_classic_own_tile_beta(g, r0, 0, rc, g->n);
      const vrx_int round = static_cast<vrx_int>(t) * bn, rounds = g->n / round;
      for (vrx_int l0 = 0; l0 < g->k; l0 += kc) {
        const vrx_int kb = std::min(kc, g->k - l0);
        const int first_store = store && l0 == 0;
        for (vrx_int i = 0; i < rc;) {
          const vrx_int mb = last && rc - i < 2 * bm ? rc - i : std::min(bm, rc - i);
          vrx_gemm_pack_a_part(&ctx, s->a_code, mb, kb, 0, mb, 0, kb, g->alpha, vrx_gemm_classic_a_at(s, g, r0 + i, l0),
                               g->lda, ctx.a.data);
          auto slice = [&](vrx_int j, vrx_int w) {
            vrx_gemm_shared_mode_run<T>(&ctx, 64, s->a_code, s->b_code, mb, w, kb, g->alpha, nullptr, g->lda,
                                     vrx_gemm_classic_b_at(s, g, l0, j), g->ldb, ctx.a.data,
                                     g->c + r0 + i + j * g->ldc, g->ldc, first_store);
          };
          for (vrx_int r = 0; r < rounds; ++r)
            for (int step = 0; step < t; ++step) slice(r * round + ((id + step) % t) * bn, bn);
          for (vrx_int j = rounds * round; j < g->n; j += bn) slice(j, std::min(bn, g->n - j));
          i += mb;
        }
      }
      vrx_gemm_release(&ctx);
    }
  }
#pragma omp barrier
}

#define VRX_X(T) template void vrx_gemm_worker_ring<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
