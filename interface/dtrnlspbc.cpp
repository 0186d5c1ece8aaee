// Exported trust-region solver with bounds: widen the 32-bit integers, call the internal
// entry, narrow what it wrote.
#include "include/customvrx.h"
#include "interface/vrx_trn_exports.h"

extern "C" VRX_EXPORT int dtrnlspbc_init(dtrnlsp_handle_t* handle, const int* n, const int* m, double* x,
                                         const double* lw, const double* up, const double* eps, const int* iter1,
                                         const int* iter2, const double* rs) {
  const vrx_int unknowns = *n, residuals = *m, steps = *iter1, passes = *iter2;
  return vrx_trnbc_init(vrx_trn_engine_handle(handle), &unknowns, &residuals, x, lw, up, eps, &steps, &passes, rs);
}

extern "C" VRX_EXPORT int dtrnlspbc_solve(dtrnlsp_handle_t* handle, double* fvec, double* fjac, int* rci_request) {
  return vrx_trn_export_solve(vrx_trnbc_solve, handle, fvec, fjac, rci_request);
}

extern "C" VRX_EXPORT int dtrnlspbc_get(dtrnlsp_handle_t* handle, int* iter, int* st_cr, double* r1, double* r2) {
  return vrx_trn_export_get(vrx_trnbc_get, handle, iter, st_cr, r1, r2);
}

extern "C" VRX_EXPORT int dtrnlspbc_delete(dtrnlsp_handle_t* handle) {
  return vrx_trnbc_delete(vrx_trn_engine_handle(handle));
}
