// Verbose mode: one line per call, and the clock.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

// The process-wide flag: -1 not read, 0 off, 1 on (VRX_VERBOSE=1).
int* vrx_serv_verbose_mode();
// Seconds from the time-stamp counter; only differences mean something.
double vrx_serv_second();
// Processor frequency in GHz.
double vrx_serv_cpu_frequency();
// Writes the banner (once per process) and the line of one call.
// interface: -2 stdcall, -1 cdecl, 1 lp64, 2 ilp64; 0 names none.
void vrx_serv_verbose_print(int interface, const char* call_text, double elapsed);

// Wrappers keep a private pointer to the verbose flag, starting at a constant -1
// (not yet asked). Settling points it at the process-wide flag and returns its value.
extern const int vrx_serv_verbose_unasked;
int vrx_serv_verbose_settle(const int** private_state);

struct vrx_version_record {
  std::int32_t major;
  std::int32_t minor;
  std::int32_t update;  // 0: none
  char status[16];
  char build[16];       // build date, eight digits, year first
  char processor[96];   // instruction class in words
  char platform[32];    // processor architecture in words
};
void vrx_serv_get_version(vrx_version_record* record);

// Frequency in MHz written in the last 16 characters of the processor's brand string
// ("3.40GHz" is 3400, "2600MHz" 2600), or 0 when none is written there.
int vrx_serv_brand_frequency(const char* tail16);

// A text area with a budget: appending formats at most the budget, and an overflow
// cuts the text and leaves the budget at 0.
struct vrx_text_area {
  char text[400];
  int budget;
};
constexpr int vrx_text_area_budget = 399;
void vrx_serv_area_start(vrx_text_area* area);
void vrx_serv_area_append(vrx_text_area* area, const char* format, ...);
// Parts of the statistics of a verbose line.
void vrx_serv_verbose_append_elapsed(vrx_text_area* area, double elapsed);
void vrx_serv_verbose_append_branch(vrx_text_area* area, int branch);
