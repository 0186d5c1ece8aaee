// Exported vector subtraction.
#include "include/customvrx.h"
#include "service/vrx_types.h"
#include "vector/vrx_vmf.h"

extern "C" VRX_EXPORT void vdsub(const int* n, const double* a, const double* b, double* y) {
  vrx_vmf_vdsub(n, a, b, y);
}
