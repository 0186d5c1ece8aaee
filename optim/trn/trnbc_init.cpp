// Creation, report and end of a handle of the solver with bounds.
#include "optim/trn/trn_records.h"

namespace {
// The blocks of a handle in the order they are taken.
enum { HANDLE, STATE, S, WORK_M, F_SAVE, G, H, L, L2, JW, W1, W2, W3, W4, W5, ITER_REC, RES_REC, BLOCK_COUNT };
}  // namespace

int vrx_trnbc_init(vrx_trn_handle** handle, const vrx_int* n_, const vrx_int* m_, double* x, const double* lw,
                   const double* up, const double* eps, const vrx_int* iter1, const vrx_int* iter2, const double* rs) {
  const vrx_int n = *n_, m = *m_;
  if (!vrx_trn_arguments_valid(n, m, eps, *iter1, *iter2, *rs)) return VRX_TRN_INVALID_OPTION;
  const std::size_t vec_n = n * sizeof(double), vec_m = m * sizeof(double), square = n * vec_n;
  const std::size_t bytes[BLOCK_COUNT] = {sizeof(vrx_trn_handle),
                                          sizeof(vrx_trnbc_state),
                                          vec_n,
                                          vec_m,
                                          vec_m,
                                          vec_n,
                                          square,
                                          square,
                                          square,
                                          m * vec_n,
                                          vec_n,
                                          vec_n,
                                          vec_n,
                                          vec_n,
                                          vec_n,
                                          4 * sizeof(vrx_int),
                                          3 * sizeof(double)};
  void* blocks[BLOCK_COUNT];
  const int taken = vrx_trn_take_blocks(blocks, bytes, BLOCK_COUNT);
  if (taken < BLOCK_COUNT) {
    // The arrays and the handle block go back; the state record stays taken.
    if (taken > S) vrx_trn_free_blocks(blocks, S, taken);
    if (taken > HANDLE) vrx_trn_free_blocks(blocks, HANDLE, HANDLE + 1);
    return VRX_TRN_OUT_OF_MEMORY;
  }
  vrx_trnbc_state* state = static_cast<vrx_trnbc_state*>(blocks[STATE]);
  double** arrays[] = {&state->s,  &state->work_m, &state->f_save, &state->g,  &state->h,  &state->l, &state->l2,
                       &state->jw, &state->w1,     &state->w2,     &state->w3, &state->w4, &state->w5};
  for (int i = S; i <= W5; ++i) *arrays[i - S] = static_cast<double*>(blocks[i]);
  state->iter_rec = static_cast<vrx_int*>(blocks[ITER_REC]);
  state->res_rec = static_cast<double*>(blocks[RES_REC]);
  state->lw = lw;
  state->up = up;
  return vrx_trn_start_records(handle, static_cast<vrx_trn_handle*>(blocks[HANDLE]), state, n, m, x, eps, *iter1,
                               *iter2, *rs);
}

int vrx_trnbc_get(vrx_trn_handle** handle, vrx_int* iter, vrx_int* st_cr, double* r1, double* r2) {
  return vrx_trn_report<vrx_trnbc_state>(handle, iter, st_cr, r1, r2);
}

int vrx_trnbc_delete(vrx_trn_handle** handle) {
  vrx_trn_handle* block = *handle;
  vrx_trnbc_state* state = static_cast<vrx_trnbc_state*>(block->state);
  void* const arrays[] = {state->s,  state->work_m, state->f_save, state->g,        state->h,
                          state->l,  state->l2,     state->jw,     state->w1,       state->w2,
                          state->w3, state->w4,     state->w5,     state->iter_rec, state->res_rec};
  return vrx_trn_free_handle(block, arrays, sizeof arrays / sizeof arrays[0]);
}
