// The record of what the calling thread's last threaded call decided, kept for tests.
// One record per thread: concurrent callers never write a line another thread reads.
#include "blas/vrx_gemm_classic.h"

namespace {
thread_local vrx_gemm_classic_trace last = {};
}

void vrx_gemm_classic_record_trace(const vrx_gemm_classic_trace& trace) { last = trace; }

vrx_gemm_classic_trace vrx_gemm_classic_last_trace() { return last; }

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
