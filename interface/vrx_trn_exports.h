// The widening and narrowing shared by the exported entries of both trust-region
// families: the handle's address as the engine's, the request and the report's integers.
#pragma once
#include "optim/trn/vrx_trn.h"

inline vrx_trn_handle** vrx_trn_engine_handle(void** handle) { return reinterpret_cast<vrx_trn_handle**>(handle); }

typedef int (*vrx_trn_solve_fn)(vrx_trn_handle** handle, double* fvec, double* fjac, vrx_int* request);
typedef int (*vrx_trn_get_fn)(vrx_trn_handle** handle, vrx_int* iter, vrx_int* st_cr, double* r1, double* r2);

inline int vrx_trn_export_solve(vrx_trn_solve_fn solve, void** handle, double* fvec, double* fjac, int* rci_request) {
  vrx_int request = *rci_request;
  const int status = solve(vrx_trn_engine_handle(handle), fvec, fjac, &request);
  *rci_request = static_cast<int>(request);
  return status;
}

inline int vrx_trn_export_get(vrx_trn_get_fn get, void** handle, int* iter, int* st_cr, double* r1, double* r2) {
  vrx_int count = 0, criterion = 0;
  const int status = get(vrx_trn_engine_handle(handle), &count, &criterion, r1, r2);
  *iter = static_cast<int>(count);
  *st_cr = static_cast<int>(criterion);
  return status;
}
