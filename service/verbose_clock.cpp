// The clock of verbose mode: the time-stamp counter, calibrated once against the
// monotonic clock, and the processor frequency.
#include <cpuid.h>
#include <time.h>
#include <x86intrin.h>

#include <atomic>
#include <cstring>

#include "service/vrx_serv.h"

namespace {
// GHz; -1.0 until calibrated. Racers store close values, so no lock.
std::atomic<double> tsc_frequency{-1.0};

constexpr double monotonic_ticks_per_second = 1e9;

std::uint64_t monotonic_ticks() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000000ULL + static_cast<std::uint64_t>(now.tv_nsec);
}

// cpuid serialises, so the counter is read after everything before it.
std::uint64_t serialised_tsc() {
  unsigned a, b, c, d;
  __cpuid(0, a, b, c, d);
  return __rdtsc();
}

void sleep_ms(long ms) {
  timespec pause = {0, ms * 1000000L};
  nanosleep(&pause, nullptr);
}

// GHz from the counter's progress over at least `ms` milliseconds; 0 when it cannot tell.
double measure_frequency(long ms) {
  const std::uint64_t ticks0 = monotonic_ticks();
  const std::uint64_t tsc0 = serialised_tsc();
  while (monotonic_ticks() - ticks0 < static_cast<std::uint64_t>(ms) * 1000000ULL) sleep_ms(1);
  const std::uint64_t ticks1 = monotonic_ticks();
  const std::uint64_t tsc1 = serialised_tsc();
  const double elapsed_ticks = static_cast<double>(ticks1 - ticks0);
  if (elapsed_ticks < 0.0001 || tsc1 == tsc0) return 0.0;
  return static_cast<double>(tsc1 - tsc0) / (elapsed_ticks / monotonic_ticks_per_second) * 1e-9;
}

// Repeated short timings of the counter; the largest is the least disturbed.
double fallback_frequency() {
  const double known = tsc_frequency.load(std::memory_order_relaxed);
  if (known > 0.0) return known;
  double best = 0.0;
  for (int round = 0; round < 3; ++round) {
    const double f = measure_frequency(5);
    if (f > best) best = f;
  }
  return best;
}

int digit(char c) { return c >= '0' && c <= '9' ? c - '0' : -1; }

double brand_frequency_ghz() {
  unsigned a, b, c, d;
  if (!__get_cpuid(0x80000000u, &a, &b, &c, &d) || a < 0x80000004u) return 0.0;
  __cpuid(0x80000004u, a, b, c, d);
  char tail[16];
  std::memcpy(tail, &a, 4);
  std::memcpy(tail + 4, &b, 4);
  std::memcpy(tail + 8, &c, 4);
  std::memcpy(tail + 12, &d, 4);
  return vrx_serv_brand_frequency(tail) * 0.001;
}
}  // namespace

int vrx_serv_brand_frequency(const char* tail16) {
  for (int i = 4; i <= 13; ++i) {
    if (tail16[i + 1] != 'H' || tail16[i + 2] != 'z') continue;
    const char unit = tail16[i];
    const int multiplier = unit == 'M' ? 1 : unit == 'G' ? 1000 : unit == 'T' ? 1000000 : 0;
    if (multiplier == 0) continue;
    const int d4 = digit(tail16[i - 4]), d3 = digit(tail16[i - 3]), d2 = digit(tail16[i - 2]),
              d1 = digit(tail16[i - 1]);
    if (tail16[i - 3] == '.') {
      if (d4 < 0 || d2 < 0 || d1 < 0) return 0;
      return d4 * multiplier + d2 * (multiplier / 10) + d1 * (multiplier / 100);
    }
    if (d4 < 0 || d3 < 0 || d2 < 0 || d1 < 0) return 0;
    return d4 * 1000 + d3 * 100 + d2 * 10 + d1;
  }
  return 0;
}

double vrx_serv_cpu_frequency() {
  const double ghz = brand_frequency_ghz();
  return ghz > 0.0 ? ghz : fallback_frequency();
}

double vrx_serv_second() {
  double ghz = tsc_frequency.load(std::memory_order_relaxed);
  if (ghz == -1.0) {
    ghz = measure_frequency(100);
    if (ghz <= 0.0) ghz = vrx_serv_cpu_frequency();
    if (ghz <= 0.0) ghz = 1.0;  // keeps differences finite on a machine that tells nothing
    tsc_frequency.store(ghz, std::memory_order_relaxed);
  }
  return static_cast<double>(serialised_tsc()) / (ghz / 1e-9);
}
