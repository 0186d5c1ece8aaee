// The workers of the classic road that hand whole blocks of C to the per-thread
// compute routine: rows, columns, grid and two-by-many; with the cutting rules
// they share.
#include <algorithm>
#include <omp.h>
#include "blas/level3/classic/vrx_gemm_classic.h"

void vrx_gemm_classic_cut(vrx_int extent, int t, int id, int dynamic, vrx_int* first, vrx_int* count) {
  const vrx_int c = extent / t;
  *first = 0;
  *count = 0;
  if (c + 1 < extent - c * (t - 1)) {
    if (dynamic) {
      // Parts of c + 1 on as few threads as that takes; the others stay idle.
      const vrx_int used = (extent + c) / (c + 1);
      if (id >= used) return;
      *first = id * (c + 1);
      *count = id == used - 1 ? extent - *first : c + 1;
    } else {
      const vrx_int longer = extent - t * c;
      *first = id * c + std::min<vrx_int>(id, longer);
      *count = id < longer ? c + 1 : c;
    }
    return;
  }
  *first = id * c;
  *count = id == t - 1 ? extent - *first : c;
}

void vrx_gemm_classic_chunk(vrx_int extent, int parts, int id, vrx_int unit, vrx_int* first, vrx_int* count) {
  vrx_int chunk = extent / parts;
  if (unit > 1) chunk -= chunk % unit;
  *first = std::min(extent, id * chunk);
  *count = id == parts - 1 ? extent - *first : std::min(chunk, extent - *first);
}

template <typename T>
void vrx_gemm_classic_compute(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, vrx_int i0, vrx_int j0,
                              vrx_int l0, vrx_int mb, vrx_int nb, vrx_int kb, T beta) {
  if (mb <= 0 || nb <= 0) return;
  const T* a = vrx_gemm_classic_a_at(s, g, i0, l0);
  const T* b = vrx_gemm_classic_b_at(s, g, l0, j0);
  T* c = g->c + i0 + j0 * g->ldc;
  if (s->compute_road == 0) {
    s->sequential(g->transa, g->transb, &mb, &nb, &kb, &g->alpha, a, &g->lda, b, &g->ldb, &beta, c, &g->ldc);
    return;
  }
  vrx_gemm_context_t<T> ctx = s->ctx;  // the driver keeps its buffers in the context
  vrx_gemm_packed<T>(g->transa, g->transb, &mb, &nb, &kb, &g->alpha, a, &g->lda, b, &g->ldb, &beta, c, &g->ldc,
                        s->mode, &ctx);
}

template <typename T>
int vrx_gemm_classic_own_tile_beta(const vrx_gemm_classic_args_t<T>* g, vrx_int i0, vrx_int j0, vrx_int mb, vrx_int nb) {
  if (mb <= 0 || nb <= 0) return 0;
  // With no k block to store into C, beta = 0 is applied here as well.
  typedef vrx_traits<T> tr;
  if (!tr::is_one(g->beta) && (!tr::is_zero(g->beta) || g->k < 1))
    vrx_gemm_classic_scale_kernel<T>()(mb, nb, g->beta, g->c + i0 + j0 * g->ldc, g->ldc);
  return tr::is_zero(g->beta);
}

namespace {
// One tile in blocks: columns outermost, then rows, then k; beta goes with the first k block.
template <typename T>
void tile_in_blocks(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, vrx_int r0, vrx_int rc, vrx_int c0,
                    vrx_int cc) {
  if (g->k < 1) {
    vrx_gemm_classic_compute(s, g, r0, c0, 0, rc, cc, g->k, g->beta);
    return;
  }
  for (vrx_int j = 0; j < cc; j += s->block_n)
    for (vrx_int i = 0; i < rc; i += s->block_m)
      for (vrx_int l = 0; l < g->k; l += s->block_k)
        vrx_gemm_classic_compute(s, g, r0 + i, c0 + j, l, std::min(s->block_m, rc - i),
                                 std::min(s->block_n, cc - j), std::min(s->block_k, g->k - l),
                                 l == 0 ? g->beta : vrx_traits<T>::make(1, 0));
}
}  // namespace

template <typename T>
void vrx_gemm_worker_rows(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, int id) {
  if (id < s->threads) {
    vrx_int first, count;
    vrx_gemm_classic_cut(g->m, s->threads, id, s->dynamic, &first, &count);
    vrx_gemm_classic_compute(s, g, first, 0, 0, count, g->n, g->k, g->beta);
  }
#pragma omp barrier
}

template <typename T>
void vrx_gemm_worker_columns(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, int id) {
  if (id < s->threads) {
    vrx_int first, count;
    vrx_gemm_classic_cut(g->n, s->threads, id, s->dynamic, &first, &count);
    vrx_gemm_classic_compute(s, g, 0, first, 0, g->m, count, g->k, g->beta);
  }
#pragma omp barrier
}

template <typename T>
void vrx_gemm_worker_grid(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, int id) {
  if (id >= s->grid_m * s->grid_n) return;
  vrx_int r0, rc, c0, cc;
  vrx_gemm_classic_chunk(g->m, s->grid_m, id % s->grid_m, s->mr, &r0, &rc);
  vrx_gemm_classic_chunk(g->n, s->grid_n, id / s->grid_m, 4, &c0, &cc);
  if (s->block_m > 0 && s->block_n > 0 && s->block_k > 0)
    tile_in_blocks(s, g, r0, rc, c0, cc);
  else
    vrx_gemm_classic_compute(s, g, r0, c0, 0, rc, cc, g->k, g->beta);
}

template <typename T>
void vrx_gemm_worker_two_by_many(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, int id) {
  if (id < s->grid_m * s->grid_n) {
    vrx_int r0, rc, c0, cc;
    vrx_gemm_classic_chunk(g->m, s->grid_m, id % s->grid_m, s->mr, &r0, &rc);
    vrx_gemm_classic_chunk(g->n, s->grid_n, id / s->grid_m, 1, &c0, &cc);
    tile_in_blocks(s, g, r0, rc, c0, cc);
  }
#pragma omp barrier
}

#define VRX_X(T)                                                                                                    \
  template void vrx_gemm_classic_compute<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, vrx_int, \
                                            vrx_int, vrx_int, vrx_int, vrx_int, vrx_int, T);                        \
  template int vrx_gemm_classic_own_tile_beta<T>(const vrx_gemm_classic_args_t<T>*, vrx_int, vrx_int, vrx_int,     \
                                                 vrx_int);                                                          \
  template void vrx_gemm_worker_rows<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int);        \
  template void vrx_gemm_worker_columns<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int);     \
  template void vrx_gemm_worker_grid<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int);        \
  template void vrx_gemm_worker_two_by_many<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
