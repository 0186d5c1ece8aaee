// CPU detection, the processor queries and the reproducibility branch.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

// ---- CPU type (cpu_detect.cpp) ----
// The CPU type of the process: decided on the first call, one load afterwards.
// Ends the process with status 1 for an unsupported processor or forced type.
int vrx_serv_cpu_detect();
// force 0: the type word as it stands (-1 before detection). Otherwise the decision
// table on the feature word alone, without forcing variables or branch; nothing is stored.
int vrx_serv_cpu_class(int force);

// ---- feature word (cpu_features.cpp) ----
// One bit per processor feature; bit 0 is set in every filled word, 0 means not filled.
extern std::uint64_t vrx_feature_word;
void vrx_serv_feature_init();

enum : std::uint64_t {
  VRX_FEATURE_FILLED = 1ull << 0,
  VRX_FEATURE_FPU = 1ull << 1,
  VRX_FEATURE_CMOV = 1ull << 2,
  VRX_FEATURE_MMX = 1ull << 3,
  VRX_FEATURE_FXSR = 1ull << 4,
  VRX_FEATURE_SSE = 1ull << 5,
  VRX_FEATURE_SSE2 = 1ull << 6,
  VRX_FEATURE_SSE3 = 1ull << 7,
  VRX_FEATURE_SSSE3 = 1ull << 8,
  VRX_FEATURE_SSE41 = 1ull << 9,
  VRX_FEATURE_SSE42 = 1ull << 10,
  VRX_FEATURE_MOVBE = 1ull << 11,
  VRX_FEATURE_POPCNT = 1ull << 12,
  VRX_FEATURE_PCLMULQDQ = 1ull << 13,
  VRX_FEATURE_AES = 1ull << 14,
  VRX_FEATURE_F16C = 1ull << 15,
  VRX_FEATURE_AVX = 1ull << 16,
  VRX_FEATURE_RDRAND = 1ull << 17,
  VRX_FEATURE_FMA = 1ull << 18,
  VRX_FEATURE_BMI = 1ull << 19,
  VRX_FEATURE_LZCNT = 1ull << 20,
  VRX_FEATURE_HLE = 1ull << 21,
  VRX_FEATURE_RTM = 1ull << 22,
  VRX_FEATURE_AVX2 = 1ull << 23,
  VRX_FEATURE_AVX512DQ = 1ull << 24,
  VRX_FEATURE_AVX512F = 1ull << 27,
  VRX_FEATURE_ADX = 1ull << 28,
  VRX_FEATURE_RDSEED = 1ull << 29,
  VRX_FEATURE_MANYCORE_MODEL = 1ull << 31,
  VRX_FEATURE_AVX512ER = 1ull << 32,
  VRX_FEATURE_AVX512PF = 1ull << 33,
  VRX_FEATURE_AVX512CD = 1ull << 34,
  VRX_FEATURE_SHA = 1ull << 35,
  VRX_FEATURE_MPX = 1ull << 36,
  VRX_FEATURE_AVX512BW = 1ull << 37,
  VRX_FEATURE_AVX512VL = 1ull << 38,
};
// The feature sets of the decision table.
constexpr std::uint64_t vrx_feature_avx2_set = 0x9C2000;         // AVX2, LZCNT, BMI, FMA, PCLMULQDQ
constexpr std::uint64_t vrx_feature_avx512_set = 0x6009000000;   // VL, BW, F, DQ

// Whether every bit of `mask` is present: test, fill an empty word once, test again.
inline bool vrx_serv_has_features(std::uint64_t mask) {
  std::uint64_t word = __atomic_load_n(&vrx_feature_word, __ATOMIC_RELAXED);
  if ((word & mask) == mask) return true;
  if (word != 0) return false;
  vrx_serv_feature_init();
  word = __atomic_load_n(&vrx_feature_word, __ATOMIC_RELAXED);
  return (word & mask) == mask;
}

// ---- processor queries (cpu_features.cpp, cpu_queries.cpp, cpu_cache.cpp) ----
// The AVX-512 opt-in: VRX_ENABLE_INSTRUCTIONS=AVX512 exactly, or a forced type 7.
int vrx_serv_avx512_enabled();
// Reads VRX_ENABLE_INSTRUCTIONS the first time; the value "AVX512" sets the opt-in.
void vrx_serv_read_avx512_opt_in();
// 1 when cpuid leaf 0 names the genuine vendor; runs cpuid on every call.
int vrx_serv_is_genuine();
// 1 when cpuid leaf 0 spells `name` (12 characters).
int vrx_serv_vendor_is(const char* name);
// vrx_serv_is_genuine answered once per process. The front ends ask on every call, and
// cpuid traps to the hypervisor on virtual machines (microseconds), so they use this one.
int vrx_serv_is_genuine_remembered();
// Whether the tuned GEMM/GEMV paths may look at the processor (depends on the branch).
int vrx_serv_vendor_gate();
int vrx_serv_has_sse41();
int vrx_serv_has_sse41_gate();
// That other vendor's FMA4 processors and its family 10h (only under branch 1 or 2).
int vrx_serv_amd_fma4();
int vrx_serv_amd_family10();
// Size in bytes of cache `level` (0: the last level); -1 below 0 or above the level count.
std::int64_t vrx_serv_cache_size(int level);
// The number of cache levels, then up to four sizes.
void vrx_serv_cache_record(std::int32_t out[5]);
// Class code used inside one GEMM kernel family.
int vrx_serv_cpu_code();

// ---- reproducibility branch (cbwr.cpp) ----
// Option 1: the branch in force (reads VRX_CBWR once). Option -1: the stored code. Else -2.
int vrx_serv_cbwr_get(int option);
// The same for the caller that already holds the service lock.
int vrx_serv_cbwr_get_unlocked(int option);
// The highest branch this machine reaches.
int vrx_serv_cbwr_max_branch();
// The branch AUTO stands for on this machine (its highest branch), remembered after the first call.
int vrx_serv_cbwr_auto_branch();

// ---- processor reader and process-wide state (cpu_state.cpp) ----
struct vrx_cpuid_result {
  std::uint32_t eax, ebx, ecx, edx;
};
// Every processor fact comes through this table; tests may present another processor.
struct vrx_cpuid_reader_table {
  vrx_cpuid_result (*cpuid)(std::uint32_t leaf, std::uint32_t subleaf);
  std::uint64_t (*xgetbv)(std::uint32_t index);  // called only when the OS has enabled xsave
};
extern vrx_cpuid_reader_table vrx_serv_cpuid_reader;
extern const vrx_cpuid_reader_table vrx_serv_cpuid_hardware;

// What the process has decided about its processor. Each word goes once from its start
// value to its answer and keeps it.
struct vrx_cpu_state {
  std::int32_t type;            // CPU type word, -1 until decided; written under service_lock
  std::int32_t service_lock;    // shared by the CPU type and the reproducibility branch
  std::int32_t avx512_opt_in;   // 1: type 7 allowed by the decision table
  std::int32_t opt_in_read;     // VRX_ENABLE_INSTRUCTIONS has been read
  std::int32_t branch;          // stored reproducibility code, 0 when VRX_CBWR is not set
  std::int32_t branch_read;     // -1 until VRX_CBWR has been read
  std::int32_t auto_branch;     // -1 until asked
  std::int32_t genuine;         // -1 until asked
  std::int32_t amd_fma4;        // -1 until asked
  std::int32_t amd_family10;    // -1 until asked
  std::int32_t cpu_code;        // -1 until asked
  std::int32_t cache_done;      // the cache record is filled
  std::int32_t cache_lock;
  std::int32_t cache_record[5];
  std::int32_t decisions;       // how many times the CPU type was decided (1 in a process's life)
};
extern vrx_cpu_state vrx_serv_cpu_state;

// Answers once into `slot` (-1 until then). Unlocked: every racer computes the same value.
template <typename Compute>
inline int vrx_serv_remember(std::int32_t* slot, Compute&& compute) {
  int answer = __atomic_load_n(slot, __ATOMIC_RELAXED);
  if (answer < 0) {
    answer = compute();
    __atomic_store_n(slot, answer, __ATOMIC_RELAXED);
  }
  return answer;
}

// Test seam: installs `reader` (null: the hardware) and forgets every fact above and the
// feature word, as at load. Only for single-threaded test set-up.
void vrx_serv_cpu_test_install(const vrx_cpuid_reader_table* reader);
