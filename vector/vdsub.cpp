// y := a - b element by element, with the checks of the vector math family.
#include "service/vrx_serv.h"
#include "vector/vrx_vmf.h"

namespace {
void report(int argument, std::int32_t status) {
  static constexpr char name[] = "vdSub";
  vrx_serv_xerbla(name, &argument, static_cast<int>(sizeof name) - 1);
  vrx_vmf_set_status(status);
}
}  // namespace

void vrx_vmf_vdsub(const int* n_, const double* a, const double* b, double* y) {
  const int n = *n_;
  if (n < 0) return report(1, VRX_VMF_STATUS_BADSIZE);
  if (n == 0) return;
  if (!a) return report(2, VRX_VMF_STATUS_BADMEM);
  if (!b) return report(3, VRX_VMF_STATUS_BADMEM);
  if (!y) return report(4, VRX_VMF_STATUS_BADMEM);
  const int index = vrx_vmf_row(vrx_vmf_cpu_code());
  vrx_vmf_drive(vrx_vmf_dsub_table.kernels[index], n, a, b, y, vrx_vmf_dsub_table.costs[index]);
}
