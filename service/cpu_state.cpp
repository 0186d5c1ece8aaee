// The processor reader and the process-wide record of what was decided about the processor.
#include <cpuid.h>
#include "service/vrx_serv.h"

namespace {
vrx_cpuid_result hardware_cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
  vrx_cpuid_result r;
  __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
  return r;
}

std::uint64_t hardware_xgetbv(std::uint32_t index) {
  std::uint32_t low, high;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(index));
  return (static_cast<std::uint64_t>(high) << 32) | low;
}

constexpr vrx_cpu_state state_at_load = {
    .type = -1,
    .service_lock = 0,
    .avx512_opt_in = 0,
    .opt_in_read = 0,
    .branch = 0,
    .branch_read = -1,
    .auto_branch = -1,
    .genuine = -1,
    .amd_fma4 = -1,
    .amd_family10 = -1,
    .cpu_code = -1,
    .cache_done = 0,
    .cache_lock = 0,
    .cache_record = {0, 0, 0, 0, 0},
    .decisions = 0,
};
}  // namespace

const vrx_cpuid_reader_table vrx_serv_cpuid_hardware = {hardware_cpuid, hardware_xgetbv};
vrx_cpuid_reader_table vrx_serv_cpuid_reader = {hardware_cpuid, hardware_xgetbv};
vrx_cpu_state vrx_serv_cpu_state = state_at_load;

void vrx_serv_cpu_test_install(const vrx_cpuid_reader_table* reader) {
  vrx_serv_cpuid_reader = reader ? *reader : vrx_serv_cpuid_hardware;
  vrx_serv_cpu_state = state_at_load;
  __atomic_store_n(&vrx_feature_word, 0, __ATOMIC_SEQ_CST);
}
