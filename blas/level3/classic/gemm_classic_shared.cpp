// The workers of the classic road that share one packed operand between threads:
// the shared-panel worker (all threads pack one B block together, each then runs
// its rows against it) and the grouped worker (groups of threads pack one A block
// together, each then runs its columns against it). Every thread passes the same
// number of barriers, also where it has no rows or columns of its own.
#include <algorithm>
#include <omp.h>
#include "blas/level3/classic/vrx_gemm_classic.h"

namespace {
// Without private buffers a thread multiplies its block in place.
template <typename T>
void unpacked_block(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, vrx_int i0, vrx_int j0, vrx_int l0,
                    vrx_int mb, vrx_int nb, vrx_int kb, T beta) {
  s->unpacked(g->transa, g->transb, &mb, &nb, &kb, &g->alpha, vrx_gemm_classic_a_at(s, g, i0, l0), &g->lda,
              vrx_gemm_classic_b_at(s, g, l0, j0), &g->ldb, &beta, g->c + i0 + j0 * g->ldc, &g->ldc);
}
}  // namespace

template <typename T>
void vrx_gemm_worker_shared_panel(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, int id) {
  const int t = s->threads;
  const bool active = id < t;
  const vrx_int kc = std::min(s->ctx.kc, g->k), nc = std::min(s->ctx.nc, g->n);
  vrx_int r0 = 0, rc = 0;
  if (active) vrx_gemm_classic_chunk(g->m, t, id, s->mr, &r0, &rc);
  const int store = active ? vrx_gemm_classic_own_tile_beta(g, r0, 0, rc, g->n) : 0;
  vrx_gemm_context_t<T> ctx = s->ctx;
  const bool own = active && rc > 0 && vrx_gemm_shared_mode_prepare(&ctx, 32, std::min(s->block_m, rc), nc, kc) == 0;

  for (vrx_int l0 = 0; l0 < g->k; l0 += kc) {
    const vrx_int kb = std::min(kc, g->k - l0);
    for (vrx_int j0 = 0; j0 < g->n; j0 += nc) {
      const vrx_int nb = std::min(nc, g->n - j0);
      if (active) {
        vrx_int c0, cc;
        vrx_gemm_classic_chunk(nb, t, id, s->nr, &c0, &cc);
        if (cc > 0) s->pack_b(cc, kb, vrx_traits<T>::make(1, 0), vrx_gemm_classic_b_at(s, g, l0, j0 + c0), g->ldb, s->buffer_b + c0 * kb);
      }
#pragma omp barrier
      for (vrx_int i = 0; i < rc; i += s->block_m) {
        const vrx_int mb = std::min(s->block_m, rc - i);
        const int first_store = store && l0 == 0;
        if (own)
          vrx_gemm_shared_mode_run<T>(&ctx, 32, s->a_code, s->b_code, mb, nb, kb, g->alpha,
                                   vrx_gemm_classic_a_at(s, g, r0 + i, l0), g->lda, nullptr, g->ldb, s->buffer_b,
                                   g->c + r0 + i + j0 * g->ldc, g->ldc, first_store);
        else
          unpacked_block(s, g, r0 + i, j0, l0, mb, nb, kb, vrx_traits<T>::make(first_store ? 0 : 1, 0));
      }
#pragma omp barrier
    }
  }
  if (own) vrx_gemm_release(&ctx);
}

template <typename T>
void vrx_gemm_worker_grouped(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, int id) {
  const int gm = s->grid_m, gn = s->grid_n;
  const bool active = id < gm * gn;
  const int group = id / gn, rank = id % gn;
  const vrx_int kc = std::min(s->ctx.kc, g->k);

  // Every group walks as many row blocks as the last (largest) one, so barriers pair up.
  vrx_int last_first, last_rows;
  vrx_gemm_classic_chunk(g->m, gm, gm - 1, s->mr, &last_first, &last_rows);
  const vrx_int row_blocks = (last_rows + s->block_m - 1) / s->block_m;

  vrx_int gr0 = 0, grc = 0, c0 = 0, cc = 0;
  T* abuf = nullptr;
  if (active) {
    vrx_gemm_classic_chunk(g->m, gm, group, s->mr, &gr0, &grc);
    vrx_gemm_classic_chunk(g->n, gn, rank, s->nr, &c0, &cc);
    abuf = reinterpret_cast<T*>(reinterpret_cast<char*>(s->buffer_a) + group * s->stride_a);
  }
  const int store = active ? vrx_gemm_classic_own_tile_beta(g, gr0, c0, grc, cc) : 0;
  vrx_gemm_context_t<T> ctx = s->ctx;
  if (s->mode == 8) ctx.nc = std::max<vrx_int>(s->block_n, 1);
  const bool own = active && cc > 0 && vrx_gemm_shared_mode_prepare(&ctx, s->mode, s->block_m, cc, kc) == 0;
  const bool along_k = s->strategy != 5;

  for (vrx_int l0 = 0; l0 < g->k; l0 += kc) {
    const vrx_int kb = std::min(kc, g->k - l0);
    for (vrx_int rb = 0; rb < row_blocks; ++rb) {
      const vrx_int i0 = gr0 + rb * s->block_m;
      const vrx_int mb = std::max<vrx_int>(0, std::min(s->block_m, gr0 + grc - i0));
      if (mb > 0) {
        const T* a = vrx_gemm_classic_a_at(s, g, i0, l0);
        vrx_int first, count;
        if (along_k && g->k / gn > 64) {
          vrx_gemm_classic_chunk(kb, gn, rank, 4, &first, &count);
          vrx_gemm_pack_a_part(&s->ctx, s->a_code, mb, kb, 0, mb, first, count, g->alpha, a, g->lda, abuf);
        } else {
          vrx_gemm_classic_chunk(mb, gn, rank, 8, &first, &count);
          vrx_gemm_pack_a_part(&s->ctx, s->a_code, mb, kb, first, count, 0, kb, g->alpha, a, g->lda, abuf);
        }
      }
#pragma omp barrier
      if (mb > 0) {
        constexpr vrx_int most_columns = 10000000;
        const int first_store = store && l0 == 0;
        for (vrx_int j = 0; j < cc; j += most_columns) {
          const vrx_int nb = std::min(most_columns, cc - j);
          if (own)
            vrx_gemm_shared_mode_run<T>(&ctx, s->mode, s->a_code, s->b_code, mb, nb, kb, g->alpha, nullptr, g->lda,
                                     vrx_gemm_classic_b_at(s, g, l0, c0 + j), g->ldb, abuf,
                                     g->c + i0 + (c0 + j) * g->ldc, g->ldc, first_store);
          else
            unpacked_block(s, g, i0, c0 + j, l0, mb, nb, kb, vrx_traits<T>::make(first_store ? 0 : 1, 0));
        }
      }
#pragma omp barrier
    }
  }
  if (own) vrx_gemm_release(&ctx);
}

#define VRX_X(T)                                                                                                     \
  template void vrx_gemm_worker_shared_panel<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int); \
  template void vrx_gemm_worker_grouped<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
