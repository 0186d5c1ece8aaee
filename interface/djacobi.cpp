// Exported Jacobian routines: widen the 32-bit sizes and hand them on by pointer.
#include "optim/vrx_jacobi.h"
#include "include/customvrx.h"
#include "service/vrx_types.h"

extern "C" VRX_EXPORT int djacobi(vrx_trn_fcn fcn, const int* n, const int* m, double* fjac, const double* x,
                                  const double* eps) {
  const vrx_int unknowns = *n, values = *m;
  const vrx_trn_user_function user = {fcn, nullptr, nullptr};
  return vrx_trn_jacobi(&user, &unknowns, &values, fjac, x, eps);
}

extern "C" VRX_EXPORT int djacobix(vrx_trn_fcn_data fcn, const int* n, const int* m, double* fjac, const double* x,
                                   const double* eps, void* user_data) {
  const vrx_int unknowns = *n, values = *m;
  const vrx_trn_user_function user = {nullptr, fcn, user_data};
  return vrx_trn_jacobi(&user, &unknowns, &values, fjac, x, eps);
}
