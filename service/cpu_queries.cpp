// Processor queries of the GEMM and GEMV front ends, steered by the reproducibility branch:
// branches 1 (off) and 2 (AUTO) look at the real processor, the others follow the branch.
#include "service/vrx_serv.h"

namespace {
bool branch_reads_processor(int branch) { return branch == 1 || branch == 2; }

bool other_vendor() { return vrx_serv_vendor_is("AuthenticAMD"); }
}  // namespace

int vrx_serv_is_genuine_remembered() {
  return vrx_serv_remember(&vrx_serv_cpu_state.genuine, vrx_serv_is_genuine);
}

int vrx_serv_vendor_gate() {
  const int branch = vrx_serv_cbwr_get(1);
  if (branch_reads_processor(branch)) return vrx_serv_is_genuine_remembered();
  return branch == 3 ? 0 : 1;
}

int vrx_serv_has_sse41_gate() {
  const int branch = vrx_serv_cbwr_get(1);
  if (branch_reads_processor(branch)) return vrx_serv_has_sse41();
  return branch >= 7;
}

int vrx_serv_amd_fma4() {
  if (!branch_reads_processor(vrx_serv_cbwr_get(1))) return 0;
  return vrx_serv_remember(&vrx_serv_cpu_state.amd_fma4, [] {
    return other_vendor() && vrx_serv_has_features(VRX_FEATURE_AVX) &&
                   ((vrx_serv_cpuid_reader.cpuid(0x80000001u, 0).ecx >> 16) & 1u)
               ? 1
               : 0;
  });
}

int vrx_serv_amd_family10() {
  if (!branch_reads_processor(vrx_serv_cbwr_get(1))) return 0;
  return vrx_serv_remember(&vrx_serv_cpu_state.amd_family10, [] {
    return other_vendor() && (vrx_serv_cpuid_reader.cpuid(1, 0).eax & 0xFF00F00u) == 0x100F00u ? 1 : 0;
  });
}

int vrx_serv_cpu_code() {
  const int branch = vrx_serv_cbwr_get(1);
  if (branch_reads_processor(branch) && !vrx_serv_is_genuine_remembered()) return 0;
  if (branch == 3) return 0;
  return vrx_serv_remember(&vrx_serv_cpu_state.cpu_code, [branch] {
    switch (vrx_serv_cpu_detect()) {
      case VRX_CPU_AVX: return 128;
      case VRX_CPU_SSE42: return vrx_serv_has_features(VRX_FEATURE_AES) && branch == 1 ? 66 : 64;
      case VRX_CPU_SSSE3: return vrx_serv_has_sse41_gate() ? 33 : 32;
      default: return 0;
    }
  });
}
