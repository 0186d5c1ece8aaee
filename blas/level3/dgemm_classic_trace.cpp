// The record of what the last threaded call decided, kept for tests. Fields are
// stored one by one; concurrent callers may mix their records.
#include "blas/vrx_gemm_classic.h"

namespace {
vrx_gemm_classic_trace last = {};
}

void vrx_gemm_classic_record_trace(const vrx_gemm_classic_trace& trace) {
  int* to = &last.strategy;
  const int* from = &trace.strategy;
  for (unsigned i = 0; i < sizeof(trace) / sizeof(int); ++i) __atomic_store_n(to + i, from[i], __ATOMIC_RELAXED);
}

vrx_gemm_classic_trace vrx_gemm_classic_last_trace() {
  vrx_gemm_classic_trace out;
  int* to = &out.strategy;
  const int* from = &last.strategy;
  for (unsigned i = 0; i < sizeof(out) / sizeof(int); ++i) to[i] = __atomic_load_n(from + i, __ATOMIC_RELAXED);
  return out;
}

void vrx_gemm_classic_note(int strategy, int compute_road, int worker, int team, const vrx_gemm_split* s,
                           int fallback) {
  vrx_gemm_classic_trace r = {strategy, compute_road, worker, team, team, 1, 1, 0, fallback};
  if (s) {
    r.threads = s->threads;
    r.grid_m = s->grid_m;
    r.grid_n = s->grid_n;
    r.mode = s->mode;
  }
  vrx_gemm_classic_record_trace(r);
}
