// Decisions of the classic road taken before any thread is forked: the small
// filter, the compute road, the strategy by processor and the profitability test.
#include <algorithm>
#include "blas/level3/classic/vrx_gemm_classic.h"
#include "service/vrx_dispatch.h"

int vrx_gemm_classic_small(vrx_int m, vrx_int n, vrx_int k) {
  if (m > 16 || n > 16) return k <= 4 && m <= 100 && n <= 100;
  return k <= 16;
}

int vrx_gemm_classic_compute_road_of(int cpu_type, int branch) {
  if (cpu_type == VRX_CPU_SSE2) return 0;
  if (cpu_type == VRX_CPU_SSSE3) return branch == 1 ? 1 : 0;
  return 1;
}

namespace {
typedef int (*road_fn)();
int sequential_per_thread() { return 0; }
int packed_per_thread() { return 1; }
// Type 2 off branch 1 takes the compatible entry, as the sequential dispatcher does.
constexpr vrx_variants<road_fn> compute_road_variants = {
    .portable = sequential_per_thread, .compatible = sequential_per_thread, .sse2 = sequential_per_thread,
    .ssse3 = packed_per_thread,        .sse42 = packed_per_thread,          .avx = packed_per_thread,
    .avx2 = packed_per_thread,         .avx512 = packed_per_thread,
};
road_fn compute_road_cache = nullptr;
}  // namespace

int vrx_gemm_classic_compute_road() { return vrx_serv_dispatch(&compute_road_cache, compute_road_variants)(); }

vrx_gemm_classic_facts vrx_gemm_classic_facts_of_process() {
  vrx_gemm_classic_facts f;
  f.cpu_type = vrx_serv_cpu_detect();
  f.vendor_gate = vrx_serv_vendor_gate();
  f.amd_family10 = f.vendor_gate ? 0 : vrx_serv_amd_family10();
  f.amd_fma4 = f.vendor_gate ? 0 : vrx_serv_amd_fma4();
  f.sse41 = f.cpu_type == VRX_CPU_SSSE3 ? vrx_serv_has_sse41_gate() : 0;
  f.l2_bytes = f.cpu_type == VRX_CPU_SSSE3 ? vrx_serv_cache_size(2) : 0;
  return f;
}

int vrx_gemm_classic_strategy(const vrx_gemm_classic_facts& f) {
  if (!f.vendor_gate) {
    if (f.amd_family10) return 6;
    if (f.amd_fma4) return 8;
    return 0;
  }
  switch (f.cpu_type) {
    case VRX_CPU_SSSE3:
      if (!f.sse41) return 1;
      return f.l2_bytes > 3145728 ? 2 : 4;
    case VRX_CPU_SSE42: return 3;
    case VRX_CPU_AVX: return 5;
    default: return 0;
  }
}

int vrx_gemm_classic_strategy_sequential(int strategy, vrx_int m, vrx_int k) {
  return strategy == 1 && (k < 5 || m / 2 <= 2);
}

int vrx_gemm_classic_profitable(int strategy, int t, vrx_int m, vrx_int n, vrx_int k) {
  if (strategy == 0 || strategy == 6) return 1;
  vrx_int h = m / 2, g = std::max(t / 2, 1), nq = n / g;
  bool go = ((k * h * nq) >> 9) > 36 / g || (((h + nq) * k + h * nq) >> 7) > 48 / g || k > 512 / g;
  if (t < 9) return nq > 0 && go;

  vrx_int mt = m / t;  // rows a thread would get
  if (m < t * n || n > 100) {
    if (n >= t * m) {
      h = m;
      nq = n / t;
      g = t;
    }
  } else {
    h = m / t;
    mt = h;
    nq = n;
    g = 1;
    if (h <= 8 && n < 4) go = false;
    if ((h + nq) * k < 225) go = false;
  }
  if (mt < 4 && n / t == 0) go = false;
  if (g >= 2 && nq <= 1 && m <= 300 && k * h < 2450) go = false;
  return go;
}
