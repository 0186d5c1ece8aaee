// Verbose mode: the VRX_VERBOSE flag, the banner and the line written for each call.
#include <omp.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "service/vrx_locks.h"

namespace {
int verbose_flag = -1;
std::int32_t banner_printed = 0;

int read_verbose_setting() {
  char value[128];
  if (vrx_serv_getenv("VRX_VERBOSE", value, sizeof value) <= 0) return 0;
  char* end = nullptr;
  const long number = std::strtol(value, &end, 0);
  return end != value && *end == '\0' && number == 1 ? 1 : 0;
}

const char* interface_label(int interface, char (&unknown)[16]) {
  switch (interface) {
    case -2: return "stdcall";
    case -1: return "cdecl";
    case 1: return "lp64";
    case 2: return "ilp64";
    default: std::snprintf(unknown, sizeof unknown, "iface%x", static_cast<unsigned>(interface)); return unknown;
  }
}

void compose_banner(vrx_text_area* banner, int interface) {
  vrx_version_record version;
  vrx_serv_get_version(&version);
  vrx_serv_area_start(banner);
  vrx_serv_area_append(banner, "VRX_VERBOSE %s %d.%d", "customvrx", version.major, version.minor);
  if (version.update > 0) vrx_serv_area_append(banner, " Update %d", version.update);
  vrx_serv_area_append(banner, " %s build %s for %s %s", version.status, version.build, version.platform,
                       version.processor);
  vrx_serv_area_append(banner, ", %s", "Linux");
  vrx_serv_area_append(banner, " %.2fGHz", vrx_serv_cpu_frequency());
  if (interface != 0) {
    char unknown[16];
    vrx_serv_area_append(banner, " %s", interface_label(interface, unknown));
  }
  vrx_serv_area_append(banner, " %s", "ardix_thread");
  vrx_serv_area_append(banner, " NKPUDev:%d", 0);  // no coprocessor in this build
}

void print_banner_once(int interface) {
  if (__atomic_load_n(&banner_printed, __ATOMIC_ACQUIRE)) return;
  vrx_text_area banner;
  compose_banner(&banner, interface);
  vrx_serv_fork_guard();
  vrx_serv_spin_lock(&vrx_serv_banner_lock);
  if (!banner_printed) vrx_serv_print_raw(0, "%s\n", 1, banner.text);
  __atomic_store_n(&banner_printed, 1, __ATOMIC_RELEASE);
  vrx_serv_spin_unlock(&vrx_serv_banner_lock);
}

void compose_statistics(vrx_text_area* statistics, double elapsed) {
  vrx_serv_area_start(statistics);
  vrx_serv_verbose_append_elapsed(statistics, elapsed);
  vrx_serv_verbose_append_branch(statistics, vrx_serv_cbwr_get(1));
  vrx_serv_area_append(statistics, " Dyn:%d", vrx_serv_get_dynamic());
  vrx_serv_area_append(statistics, " FastMM:%d", vrx_serv_fast_mm_disabled() ? 0 : 1);
  vrx_serv_area_append(statistics, " TID:%-2d", omp_get_thread_num());
  const int threads = vrx_serv_get_max_threads();
  vrx_serv_area_append(statistics, " NThr:%d", threads);
  static constexpr const char* domain_labels[5] = {nullptr, "BLAS", "FFT", "VMF", "DIRSOL"};
  for (int domain = 1; domain < 5; ++domain) {
    const int domain_threads = vrx_serv_domain_get_max_threads(domain);
    if (domain_threads != threads) vrx_serv_area_append(statistics, ",%s:%d", domain_labels[domain], domain_threads);
  }
  // No coprocessor in this build: the host's share is shown as zero.
  vrx_serv_area_append(statistics, " WDiv:HOST:%+6.3f", 0.0);
}
}  // namespace

volatile std::int32_t vrx_serv_banner_lock = 0;
const int vrx_serv_verbose_unasked = -1;

int* vrx_serv_verbose_mode() {
  // A racer that sees -1 only reads the setting again.
  if (__atomic_load_n(&verbose_flag, __ATOMIC_ACQUIRE) == -1)
    __atomic_store_n(&verbose_flag, read_verbose_setting(), __ATOMIC_RELEASE);
  return &verbose_flag;
}

int vrx_serv_verbose_settle(const int** private_state) {
  const int* flag = vrx_serv_verbose_mode();
  __atomic_store_n(private_state, flag, __ATOMIC_RELEASE);
  return *flag;
}

void vrx_serv_area_start(vrx_text_area* area) {
  area->text[0] = '\0';
  area->budget = vrx_text_area_budget;
}

void vrx_serv_area_append(vrx_text_area* area, const char* format, ...) {
  if (area->budget <= 0) return;
  char* end = area->text + (vrx_text_area_budget - area->budget);
  va_list args;
  va_start(args, format);
  const int written = std::vsnprintf(end, static_cast<std::size_t>(area->budget) + 1, format, args);
  va_end(args);
  if (written < 0 || written > area->budget) {
    area->budget = 0;  // cut, not spilled
    if (written < 0) *end = '\0';
  } else {
    area->budget -= written;
  }
}

void vrx_serv_verbose_append_elapsed(vrx_text_area* area, double elapsed) {
  if (elapsed <= 0.0) vrx_serv_area_append(area, "%.2fs", 0.0);
  else if (elapsed > 1.0) vrx_serv_area_append(area, "%.2fs", elapsed);
  else if (elapsed * 1000.0 > 1.0) vrx_serv_area_append(area, "%.2fms", elapsed * 1000.0);
  else if (elapsed * 1000.0 * 1000.0 > 1.0) vrx_serv_area_append(area, "%.2fus", elapsed * 1000.0 * 1000.0);
  else vrx_serv_area_append(area, "%.0fns", elapsed * 1000.0 * 1000.0 * 1000.0);
}

void vrx_serv_verbose_append_branch(vrx_text_area* area, int branch) {
  static constexpr const char* names[13] = {nullptr, "OFF", "AUTO", "COMPATIBLE", "SSE2", nullptr, "SSSE3",
                                            "SSE4_1", "SSE4_2", "AVX", "AVX2", "AVX512_KPU", "AVX512"};
  if (branch >= 0 && branch < 13 && names[branch]) vrx_serv_area_append(area, " CNR:%s", names[branch]);
  else vrx_serv_area_append(area, " CNR:?%x", static_cast<unsigned>(branch));
}

void vrx_serv_verbose_print(int interface, const char* call_text, double elapsed) {
  print_banner_once(interface);
  vrx_text_area statistics;
  compose_statistics(&statistics, elapsed);
  vrx_serv_print_raw(0, "VRX_VERBOSE %s %s\n", 2, call_text, statistics.text);
}
