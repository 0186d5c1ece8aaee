// Exported trust-region solver without bounds: widen the 32-bit integers, call the
// internal entry, narrow what it wrote.
#include "include/customvrx.h"
#include "optim/trn/vrx_trn.h"

namespace {
vrx_trn_handle** engine_handle(void** handle) { return reinterpret_cast<vrx_trn_handle**>(handle); }
}  // namespace

extern "C" VRX_EXPORT int dtrnlsp_init(dtrnlsp_handle_t* handle, const int* n, const int* m, double* x,
                                       const double* eps, const int* iter1, const int* iter2, const double* rs) {
  const vrx_int unknowns = *n, residuals = *m, steps = *iter1, passes = *iter2;
  return vrx_trn_init(engine_handle(handle), &unknowns, &residuals, x, eps, &steps, &passes, rs);
}

extern "C" VRX_EXPORT int dtrnlsp_solve(dtrnlsp_handle_t* handle, double* fvec, double* fjac, int* rci_request) {
  vrx_int request = *rci_request;
  const int status = vrx_trn_solve(engine_handle(handle), fvec, fjac, &request);
  *rci_request = static_cast<int>(request);
  return status;
}

extern "C" VRX_EXPORT int dtrnlsp_get(dtrnlsp_handle_t* handle, int* iter, int* st_cr, double* r1, double* r2) {
  vrx_int count = 0, criterion = 0;
  const int status = vrx_trn_get(engine_handle(handle), &count, &criterion, r1, r2);
  *iter = static_cast<int>(count);
  *st_cr = static_cast<int>(criterion);
  return status;
}

extern "C" VRX_EXPORT int dtrnlsp_delete(dtrnlsp_handle_t* handle) { return vrx_trn_delete(engine_handle(handle)); }
