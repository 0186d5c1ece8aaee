// Jacobian of a caller's function by central differences, columns over threads.
#pragma once
#include "service/vrx_types.h"

// The caller's function. m and n point at 64-bit values; on this little-endian
// machine a function that reads 32 bits behind them gets the same numbers.
typedef void (*vrx_trn_fcn)(int* m, int* n, double* x, double* f);
typedef void (*vrx_trn_fcn_data)(int* m, int* n, double* x, double* f, void* user_data);

// Results shared with the trust-region solvers.
enum { VRX_TRN_SUCCESS = 1501, VRX_TRN_INVALID_OPTION = 1502, VRX_TRN_OUT_OF_MEMORY = 1503 };

// One of the two forms of the caller's function.
struct vrx_trn_user_function {
  vrx_trn_fcn plain;          // used when not null
  vrx_trn_fcn_data with_data;
  void* user_data;
};

// fjac (m by n, leading dimension m) := d f / d x at x, with T from the thread settings.
int vrx_trn_jacobi(const vrx_trn_user_function* fcn, const vrx_int* n, const vrx_int* m, double* fjac,
                   const double* x, const double* eps);
// The same with the team size given.
int vrx_trn_jacobi_team(const vrx_trn_user_function* fcn, const vrx_int* n, const vrx_int* m, double* fjac,
                        const double* x, const double* eps, int threads);
