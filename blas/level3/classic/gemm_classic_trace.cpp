// The record of what the calling thread's last threaded call decided, kept for tests.
// One record per thread: concurrent callers never write a line another thread reads.
#include "blas/level3/classic/vrx_gemm_classic.h"

namespace {
thread_local vrx_gemm_classic_trace last = {};
}

void vrx_gemm_classic_record_trace(const vrx_gemm_classic_trace& trace) { last = trace; }

vrx_gemm_classic_trace vrx_gemm_classic_last_trace() { return last; }

void vrx_gemm_classic_note(int strategy, int compute_road, int worker, int team, int fallback) {
  vrx_gemm_classic_record_trace({strategy, compute_road, worker, team, team, 1, 1, 0, fallback});
}

template <typename T>
void vrx_gemm_classic_note_split(int team, const vrx_gemm_split_t<T>* s, int fallback) {
  vrx_gemm_classic_record_trace(
      {s->strategy, s->compute_road, s->worker_id, team, s->threads, s->grid_m, s->grid_n, s->mode, fallback});
}

#define VRX_X(T) template void vrx_gemm_classic_note_split<T>(int, const vrx_gemm_split_t<T>*, int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
