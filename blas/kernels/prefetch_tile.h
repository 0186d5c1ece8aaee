// Prefetch of a C tile before a register block's k loop: its lines are needed only
// after the loop, so asking for them first hides their trip from L2, L3 or memory.
#pragma once
#include "service/vrx_types.h"

namespace {
// Every cache line of the ROWS by COLS column-major tile at c; both ends of each
// column are asked for, since a column may straddle a line boundary.
template <int ROWS, int COLS>
[[gnu::always_inline]] inline void vrx_prefetch_c_tile(const double* c, vrx_int ldc) {
  for (int j = 0; j < COLS; ++j) {
    const char* cj = reinterpret_cast<const char*>(c + j * ldc);
    for (int p = 0; p < ROWS * 8; p += 64) __builtin_prefetch(cj + p, 1, 3);
    if constexpr (ROWS > 1) __builtin_prefetch(cj + ROWS * 8 - 1, 1, 3);
  }
}
}  // namespace
