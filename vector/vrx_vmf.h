// The vector math frame: per-thread mode word and status, the kernel column of
// this processor, the kernel and cost tables, and the threaded driver.
#pragma once
#include <cstdint>
#include "service/vrx_types.h"

// ---- per-thread block (vmf_context.cpp) ----
typedef void (*vrx_vmf_callback)();

struct vrx_vmf_context {
  std::uint32_t mode;        // 0: not read yet
  std::int32_t status;       // last status of this thread; 0 is none
  vrx_vmf_callback callback; // error callback, none by default
  const void* base;          // during a threaded call, the start of the first input
};

// Mode word fields.
enum : std::uint32_t {
  VRX_VMF_ACCURACY_MASK = 0xF,
  VRX_VMF_LA = 0x1,
  VRX_VMF_HA = 0x2,
  VRX_VMF_EP = 0x3,
  VRX_VMF_ERRMODE_MASK = 0xFF00,
  VRX_VMF_ERRMODE_CALLBACK = 0x1000,
  VRX_VMF_ERRMODE_DEFAULT = 0x1A00,
  VRX_VMF_DENORMAL_MASK = 0x3C0000,
  VRX_VMF_FLUSH_DENORMALS = 0x280000,
  VRX_VMF_MODE_DEFAULT = 0x1A02,
};

// Statuses written by the family.
enum : std::int32_t {
  VRX_VMF_STATUS_OK = 0,
  VRX_VMF_STATUS_BADSIZE = -1,
  VRX_VMF_STATUS_BADMEM = -2,
};

// The calling thread's block; ends the process with message 760, status 3, if it
// cannot be had.
vrx_vmf_context* vrx_vmf_context_get();
// The fatal check behind vrx_vmf_context_get: returns `block` or ends the process.
vrx_vmf_context* vrx_vmf_context_checked(vrx_vmf_context* block);

std::uint32_t vrx_vmf_get_mode();
std::uint32_t vrx_vmf_set_mode(std::uint32_t new_mode);
std::int32_t vrx_vmf_get_status();
std::int32_t vrx_vmf_set_status(std::int32_t status);
vrx_vmf_callback vrx_vmf_get_callback();
vrx_vmf_callback vrx_vmf_set_callback(vrx_vmf_callback callback);
void vrx_vmf_set_base(const void* base);

// ---- environment (vmf_mode_parse.cpp, vmf_env_names.cpp) ----
// The mode a variable value stands for; invalid text gives VRX_VMF_MODE_DEFAULT.
std::uint32_t vrx_vmf_parse_mode(const char* value);
// Significant characters of the mode value; later ones count as its end.
constexpr int vrx_vmf_mode_value_limit = 256;
// Names of the mode and kernel-column variables, assembled at run time.
void vrx_vmf_mode_variable(char name[32]);
void vrx_vmf_cpu_code_variable(char name[32]);

// ---- kernel column (vmf_cpu_code.cpp) ----
constexpr int vrx_vmf_codes = 10;
constexpr int vrx_vmf_no_branch = -1;

// What the processor and the operating system report, for the column table.
struct vrx_vmf_features {
  int genuine;              // vendor of leaf 0 is the expected one
  std::uint32_t leaf1_ecx;
  std::uint32_t leaf7_ebx;
  std::uint32_t ext1_ecx;   // leaf 0x80000001
  std::uint64_t xcr0;       // 0 when the system does not expose it
  int avx512_opt_in;
};

int vrx_vmf_cpu_code();
// Code from a value of the override variable, or -1 when refused or absent.
int vrx_vmf_override_code(const char* value);
// Column w of a reproducibility branch, or vrx_vmf_no_branch.
int vrx_vmf_branch_code(int branch);
// Column chosen from features and branch column w.
int vrx_vmf_code_from_features(const vrx_vmf_features& features, int w);
vrx_vmf_features vrx_vmf_read_features();
// Table index of a column under the calling thread's accuracy (1 to 3; others count as high).
int vrx_vmf_row(int code);

// ---- kernels and the driver ----
typedef void (*vrx_vmf_dkernel)(int n, const double* a, const double* b, double* y);

constexpr int vrx_vmf_rows = 3;
constexpr int vrx_vmf_table_size = vrx_vmf_rows * vrx_vmf_codes;
struct vrx_vmf_table {
  vrx_vmf_dkernel kernels[vrx_vmf_table_size];
  float costs[vrx_vmf_table_size];  // per element, in single precision
};
extern const vrx_vmf_table vrx_vmf_dsub_table;

// Floating-point control for guarded kernels (vmf_guard.cpp): sets the control
// bits under 0xE040 for the calling thread's mode and answers the word to restore.
std::uint32_t vrx_vmf_guard_enter();
void vrx_vmf_guard_leave(std::uint32_t saved);

// Calls below this many elements stay on the calling thread.
constexpr int vrx_vmf_thread_threshold = 100;

// Runs `kernel` over n elements, on threads when the cost per element pays.
void vrx_vmf_drive(vrx_vmf_dkernel kernel, int n, const double* a, const double* b, double* y, float cost);
// The parallel region of the driver for a given team size request.
void vrx_vmf_drive_team(vrx_vmf_dkernel kernel, int n, const double* a, const double* b, double* y,
                        int threads);
// Share of thread t in a team of nt over n elements.
void vrx_vmf_share(int t, int nt, int n, int* offset, int* count);

// Topology factor F, computed once per process.
float vrx_vmf_thread_factor();
// F for a given count of nodes, cores per node and hyper-threading flag.
float vrx_vmf_thread_factor_of(int nodes, int cores_per_node, int hyper_threading);
// The team size after the cost rule: min(threads, trunc(cost * n * F)), at least 1.
int vrx_vmf_reduce_threads(int threads, float cost, int n, float factor);

// The checks and work of vdsub, on a 32-bit size by pointer.
void vrx_vmf_vdsub(const int* n, const double* a, const double* b, double* y);

// Kernels by instruction class (vector/kernels/<class>/).
void vrx_vmf_dsub_plain_sse2(int n, const double* a, const double* b, double* y);
void vrx_vmf_dsub_guarded_sse2(int n, const double* a, const double* b, double* y);
void vrx_vmf_dsub_guarded_sse42(int n, const double* a, const double* b, double* y);
void vrx_vmf_dsub_guarded_avx(int n, const double* a, const double* b, double* y);
void vrx_vmf_dsub_guarded_avx2(int n, const double* a, const double* b, double* y);
void vrx_vmf_dsub_guarded_avx512(int n, const double* a, const double* b, double* y);
