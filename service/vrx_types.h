// Types shared by every layer below the exported surface.
#pragma once
#include <cstdint>

// The 64-bit integer of everything below the 32-bit wrappers.
typedef std::int64_t vrx_int;

// Marks a symbol that belongs to the exported surface; all else stays hidden.
#define VRX_EXPORT __attribute__((visibility("default")))

// CPU types returned by vrx_serv_cpu_detect.
enum {
  VRX_CPU_SSE2 = 0,
  VRX_CPU_DEF = 1,     // exists in tables only
  VRX_CPU_SSSE3 = 2,
  VRX_CPU_SSE42 = 3,
  VRX_CPU_AVX = 4,
  VRX_CPU_AVX2 = 5,
  VRX_CPU_MIC = 6,     // exists in tables only
  VRX_CPU_AVX512 = 7,
};

// Thread domains of the threading control.
enum {
  VRX_DOMAIN_ALL = 0,
  VRX_DOMAIN_BLAS = 1,
  VRX_DOMAIN_FFT = 2,
  VRX_DOMAIN_VML = 3,
  VRX_DOMAIN_PARDISO = 4,
};
