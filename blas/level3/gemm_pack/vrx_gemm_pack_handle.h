// The packed-operand handle: the operand's capacity, what was packed, and the data.
#pragma once
#include "service/vrx_types.h"

struct vrx_gemm_pack_handle {
  vrx_int rows;           // capacity given at creation
  vrx_int depth;
  vrx_int packed_rows;    // the operand of the last pack
  vrx_int packed_depth;
  int element_size;       // sizeof(T) of the creating call; other types are refused
  void* data;
};
