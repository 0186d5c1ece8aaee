// What both solver families do alike with their records: the argument test of init,
// the blocks taken in a fixed order and given back on a failure, and the report.
#pragma once
#include <cstddef>
#include "optim/trn/vrx_trn.h"

// Every block of the solvers is 64-byte aligned.
constexpr int vrx_trn_block_alignment = 64;

// The tests of init, written so that a NaN in eps or rs passes them.
bool vrx_trn_arguments_valid(vrx_int n, vrx_int m, const double* eps, vrx_int iter1, vrx_int iter2, double rs);

// Takes blocks of the given sizes and alignment in order into `blocks`. Returns how many
// it took: `count` on success; on a failure the blocks taken before it are still held.
int vrx_trn_take_blocks(void** blocks, const std::size_t* bytes, int count, int alignment = vrx_trn_block_alignment);
// Frees blocks [from, to) in reverse order.
void vrx_trn_free_blocks(void* const* blocks, int from, int to);

// delete: frees the arrays in the order given, then the state record and the handle block.
int vrx_trn_free_handle(vrx_trn_handle* block, void* const* arrays, int count);

// The end of a successful init: the records and kept pointers shared by both states, the
// sizes in both records, and the handle written.
template <class State>
int vrx_trn_start_records(vrx_trn_handle** handle, vrx_trn_handle* block, State* state, vrx_int n, vrx_int m, double* x,
                          const double* eps, vrx_int iter1, vrx_int iter2, double rs) {
  state->iteration = 0;
  state->first = 1;
  state->iter_rec[VRX_TRN_ITER1] = iter1;
  state->iter_rec[VRX_TRN_ITER2] = iter2;
  state->iter_rec[VRX_TRN_FINAL_COUNT] = 0;
  state->iter_rec[VRX_TRN_ST_CR] = 0;
  state->res_rec[VRX_TRN_RS] = rs == 0.0 ? 100.0 : rs;
  state->res_rec[VRX_TRN_R1] = 0.0;
  state->res_rec[VRX_TRN_R2] = 0.0;
  state->x = x;
  state->eps = eps;
  state->n = n;
  state->m = m;
  // A caller that answers a fresh handle with request 1 finds phase 0: the "go on" road.
  state->phase = 0;
  block->n = n;
  block->m = m;
  block->state = state;
  *handle = block;
  return VRX_TRN_SUCCESS;
}

// The report of get, at any time.
template <class State>
int vrx_trn_report(vrx_trn_handle** handle, vrx_int* iter, vrx_int* st_cr, double* r1, double* r2) {
  const State* state = static_cast<const State*>((*handle)->state);
  *iter = state->iter_rec[VRX_TRN_FINAL_COUNT];
  *st_cr = state->iter_rec[VRX_TRN_ST_CR];
  *r1 = state->res_rec[VRX_TRN_R1];
  *r2 = state->res_rec[VRX_TRN_R2];
  return VRX_TRN_SUCCESS;
}
