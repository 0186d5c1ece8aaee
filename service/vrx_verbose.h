// Verbose mode: one line per call, and the clock.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

int* vrx_serv_verbose_mode();
double vrx_serv_second();
void vrx_serv_verbose_print(int interface, const char* call_text, double elapsed);

// Wrappers keep a private pointer to the verbose flag, starting at a constant -1
// (not yet asked). Settling points it at the process-wide flag and returns its value.
extern const int vrx_serv_verbose_unasked;
int vrx_serv_verbose_settle(const int** private_state);
