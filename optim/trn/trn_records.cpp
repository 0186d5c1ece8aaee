// Argument test and block list of the solvers' init and delete.
#include "optim/trn/trn_records.h"
#include "service/vrx_serv.h"

bool vrx_trn_arguments_valid(vrx_int n, vrx_int m, const double* eps, vrx_int iter1, vrx_int iter2, double rs) {
  if (n <= 0 || m <= 0 || iter2 <= 0 || iter1 <= 0) return false;
  for (int i = 0; i < 6; ++i)
    if (eps[i] <= 0.0) return false;  // a NaN is not <= 0 and passes
  if (rs < 0.0 || rs > 100.0) return false;
  return m >= n;
}

int vrx_trn_take_blocks(void** blocks, const std::size_t* bytes, int count, int alignment) {
  for (int i = 0; i < count; ++i) {
    blocks[i] = vrx_serv_malloc(bytes[i], alignment);
    if (!blocks[i]) return i;
  }
  return count;
}

void vrx_trn_free_blocks(void* const* blocks, int from, int to) {
  for (int i = to - 1; i >= from; --i) vrx_serv_free(blocks[i]);
}

int vrx_trn_free_handle(vrx_trn_handle* block, void* const* arrays, int count) {
  for (int i = 0; i < count; ++i) vrx_serv_free(arrays[i]);
  vrx_serv_free(block->state);
  vrx_serv_free(block);
  return VRX_TRN_SUCCESS;
}
