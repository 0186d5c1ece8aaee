// A progress hook for the drivers: it asks to stop once the reported step reaches
// vrx_test_stop_at, and keeps the stage text it was given when it did.
#pragma once
#include <cstdio>

inline int vrx_test_stop_at = 1 << 30;
inline char vrx_test_hook_stage[8];
inline int vrx_test_stopping_hook(const int*, const int* step, const char* stage, int length) {
  if (*step < vrx_test_stop_at) return 0;
  std::snprintf(vrx_test_hook_stage, sizeof vrx_test_hook_stage, "%.*s", length < 7 ? length : 7, stage);
  return 1;
}
