// Creation, report and end of a handle of the solver without bounds.
#include "optim/trn/trn_records.h"

namespace {
// The blocks of a handle in the order they are taken.
enum { HANDLE, STATE, S, WORK_M, F_SAVE, H, L, W2, G, W1, ITER_REC, RES_REC, BLOCK_COUNT };
}  // namespace

int vrx_trn_init(vrx_trn_handle** handle, const vrx_int* n_, const vrx_int* m_, double* x, const double* eps,
                 const vrx_int* iter1, const vrx_int* iter2, const double* rs) {
  const vrx_int n = *n_, m = *m_;
  if (!vrx_trn_arguments_valid(n, m, eps, *iter1, *iter2, *rs)) return VRX_TRN_INVALID_OPTION;
  const std::size_t vec_n = n * sizeof(double), vec_m = m * sizeof(double), square = n * vec_n;
  const std::size_t bytes[BLOCK_COUNT] = {
      sizeof(vrx_trn_handle), sizeof(vrx_trn_state), vec_n, vec_m, vec_m, square, square, vec_n, vec_n, vec_n,
      4 * sizeof(vrx_int),    3 * sizeof(double)};
  void* blocks[BLOCK_COUNT];
  const int taken = vrx_trn_take_blocks(blocks, bytes, BLOCK_COUNT);
  if (taken < BLOCK_COUNT) {
    vrx_trn_free_blocks(blocks, 0, taken);
    return VRX_TRN_OUT_OF_MEMORY;
  }
  vrx_trn_state* state = static_cast<vrx_trn_state*>(blocks[STATE]);
  state->s = static_cast<double*>(blocks[S]);
  state->work_m = static_cast<double*>(blocks[WORK_M]);
  state->f_save = static_cast<double*>(blocks[F_SAVE]);
  state->h = static_cast<double*>(blocks[H]);
  state->l = static_cast<double*>(blocks[L]);
  state->w2 = static_cast<double*>(blocks[W2]);
  state->g = static_cast<double*>(blocks[G]);
  state->w1 = static_cast<double*>(blocks[W1]);
  state->iter_rec = static_cast<vrx_int*>(blocks[ITER_REC]);
  state->res_rec = static_cast<double*>(blocks[RES_REC]);
  return vrx_trn_start_records(handle, static_cast<vrx_trn_handle*>(blocks[HANDLE]), state, n, m, x, eps, *iter1,
                               *iter2, *rs);
}

int vrx_trn_get(vrx_trn_handle** handle, vrx_int* iter, vrx_int* st_cr, double* r1, double* r2) {
  return vrx_trn_report<vrx_trn_state>(handle, iter, st_cr, r1, r2);
}

int vrx_trn_delete(vrx_trn_handle** handle) {
  vrx_trn_handle* block = *handle;
  vrx_trn_state* state = static_cast<vrx_trn_state*>(block->state);
  void* const arrays[] = {state->s,  state->work_m, state->f_save, state->h,        state->l,
                          state->w2, state->g,      state->w1,     state->iter_rec, state->res_rec};
  return vrx_trn_free_handle(block, arrays, sizeof arrays / sizeof arrays[0]);
}
