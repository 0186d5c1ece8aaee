// The threaded part of the classic road: the split every thread starts from, and
// the fork in which each thread decides the partition, the shared buffers are
// allocated once, and every thread runs the worker on its part of C.
#include <cstdint>
#include <omp.h>
#include "blas/level3/classic/vrx_gemm_classic.h"
#include "service/vrx_serv.h"

namespace {
constexpr int buffer_align_shift = 12;

// The row of the kernel table and the in-place kernel of this CPU type (compute road 1).
template <typename T>
void load_row(vrx_gemm_split_t<T>* s, int cpu_type, int sse41) {
  switch (cpu_type) {
    case VRX_CPU_SSSE3:
      vrx_gemm_context_init(&s->ctx, vrx_gemm_row_ssse3<T>(sse41),
                            sse41 ? VRX_GEMM_VARIANT_SSSE3_SSE41 : VRX_GEMM_VARIANT_SSSE3_PLAIN);
      break;
    case VRX_CPU_SSE42:
      vrx_gemm_context_init(&s->ctx, vrx_gemm_row_sse42<T>(vrx_serv_cpu_code() == 66), VRX_GEMM_VARIANT_SSE42);
      break;
    default:
      vrx_gemm_context_init(&s->ctx, vrx_gemm_row_avx<T>(), VRX_GEMM_VARIANT_AVX);
      break;
  }
  s->unpacked = s->ctx.kernels->unpacked;
}

template <typename T>
inline T* align_buffer(void* raw) {
  const std::uintptr_t p = reinterpret_cast<std::uintptr_t>(raw);
  const std::uintptr_t to = std::uintptr_t{1} << buffer_align_shift;
  return reinterpret_cast<T*>((p + to - 1) & ~(to - 1));
}

// Shared buffers are gone: a plain row or column split on every thread of the team.
template <typename T>
void fall_back(vrx_gemm_split_t<T>* s, int team, vrx_int m, vrx_int n) {
  s->count_a = s->count_b = 0;
  s->threads = team;
  s->grid_m = s->grid_n = 1;
  s->mode = 0;
  s->block_m = s->block_n = s->block_k = 0;
  vrx_gemm_classic_rows_or_columns(s, m, n);
}
}  // namespace

template <typename T>
void vrx_gemm_classic_base(vrx_gemm_split_t<T>* base, int strategy, int compute_road, int cpu_type, int sse41,
                           bool a_is_n, bool b_is_n, vrx_int m, vrx_int n, vrx_int k) {
  *base = {};
  base->sequential = vrx_gemm_classic_sequential<T>();
  base->unpacked = vrx_gemm_class_of<T>(vrx_gemm_kernels_sse2)->unpacked;
  base->strategy = strategy;
  base->cache_bytes = vrx_serv_cache_size(0);
  base->compute_road = compute_road;
  base->dynamic = vrx_serv_get_dynamic();
  base->a_is_n = a_is_n;
  base->a_is_t = !a_is_n;
  base->b_is_n = b_is_n;
  base->b_is_t = !b_is_n;
  base->a_code = a_is_n ? 0 : 1;
  base->b_code = b_is_n ? 0 : 1;
  base->mr = base->nr = 4;
  if (compute_road == 1) {
    load_row(base, cpu_type, sse41);
    base->pack_a = base->ctx.row.pack_a[base->a_code];
    base->pack_b = base->ctx.row.pack_b[base->b_code];
    base->mr = base->ctx.row.mr;
    base->nr = base->ctx.row.nr;
    base->ctx.row.block(&base->ctx, m, n, k);
  }
}

template <typename T>
void vrx_gemm_classic_fork(const vrx_gemm_split_t<T>* base, const vrx_gemm_classic_args_t<T>* g, int t) {
  const vrx_int m = g->m, n = g->n, k = g->k;
  void* raw_a = nullptr;
  void* raw_b = nullptr;
  int shared_failed = 0;
#pragma omp parallel num_threads(t)
  {
    const int team = omp_get_num_threads(), id = omp_get_thread_num();
    if (team == 1) {
      // The runtime gave one thread: the whole product on it.
      base->sequential(g->transa, g->transb, &g->m, &g->n, &g->k, &g->alpha, g->a, &g->lda, g->b, &g->ldb,
                                &g->beta, g->c, &g->ldc);
      vrx_gemm_classic_note(base->strategy, base->compute_road, VRX_CLASSIC_SEQUENTIAL, 1, 0);
    } else {
      vrx_gemm_split_t<T> s = *base;
      s.threads = team;
      if (!s.worker) vrx_gemm_classic_partition(&s, m, n, k);
      if (s.count_a > 0 || s.count_b > 0) {
        std::size_t a_bytes, b_bytes;
        vrx_gemm_classic_shared_sizes(&s, m, n, k, &a_bytes, &b_bytes);
        const std::size_t slack = std::size_t{2} << buffer_align_shift;
        if (id == 0) {
          if (s.count_a > 0) raw_a = vrx_serv_malloc(s.count_a * (a_bytes + slack), 128);
          if (s.count_b > 0) raw_b = vrx_serv_malloc(s.count_b * (b_bytes + slack), 128);
          shared_failed = (s.count_a > 0 && !raw_a) || (s.count_b > 0 && !raw_b);
          if (shared_failed) {
            if (raw_a) vrx_serv_free(raw_a);
            if (raw_b) vrx_serv_free(raw_b);
            raw_a = raw_b = nullptr;
          }
        }
#pragma omp barrier
        if (shared_failed) {
          fall_back(&s, team, m, n);
        } else {
          // Buffer i starts i strides after the first, each at the row's alignment.
          const std::size_t page_mask = ~((std::size_t{1} << buffer_align_shift) - 1);
          if (raw_a) s.buffer_a = align_buffer<T>(raw_a);
          if (raw_b) s.buffer_b = align_buffer<T>(raw_b);
          s.stride_a = (a_bytes + slack) & page_mask;
          s.stride_b = (b_bytes + slack) & page_mask;
        }
      }
      if (id == 0) vrx_gemm_classic_note_split(team, &s, shared_failed);
      s.worker(&s, g, id);
    }
  }
  if (raw_a) vrx_serv_free(raw_a);
  if (raw_b) vrx_serv_free(raw_b);
}

#define VRX_X(T)                                                                                                   \
  template void vrx_gemm_classic_base<T>(vrx_gemm_split_t<T>*, int, int, int, int, bool, bool, vrx_int, vrx_int,    \
                                         vrx_int);                                                                 \
  template void vrx_gemm_classic_fork<T>(const vrx_gemm_split_t<T>*, const vrx_gemm_classic_args_t<T>*, int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
