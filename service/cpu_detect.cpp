// CPU type. Interim: detection is not wired yet, so every processor runs the SSE2 family.
#include "service/vrx_serv.h"

int vrx_serv_cpu_detect() { return VRX_CPU_SSE2; }
int vrx_serv_vendor_gate() { return 0; }
