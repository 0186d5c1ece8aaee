// The packed-operand handle and the two ways it keeps A: a plain column-major copy, or
// the level-3 driver's packed A panels in depth slices (CPU types 5 and 7).
#pragma once
#include <cstdint>

#include "blas/vrx_l3.h"
#include "service/vrx_types.h"

struct vrx_gemm_pack_handle {
  vrx_int rows;          // capacity given at creation
  vrx_int depth;
  vrx_int packed_rows;   // the operand of the last pack
  vrx_int packed_depth;
  std::uint32_t type_code;  // element type of the creating call; other types are refused
  int cpu;                  // CPU type whose kernel tables packed A; 0 for the plain copy
  void* data;               // rows * depth elements
};

// Packed A: for each depth slice [l0, l0 + kb) of the driver's blocking, the packed_rows
// rows packed as one block (panels of the kernel's mr, then the tail's powers of two),
// starting packed_rows * l0 elements into the data.
template <typename T>
void vrx_gemm_pack_panels(vrx_gemm_pack_handle* handle, const vrx_l3_kernels<T>* kernels, const T* a, vrx_int lda);
// C := alpha A(row0 : row0 + rows, :) B + beta C over the packed panels. Reads the
// handle only; the B panels come from a scratch buffer of the call, and without one
// from a smaller buffer on the stack (a panel cut by the row range is then added by
// plain loops).
template <typename T>
void vrx_gemm_pack_panels_multiply(const vrx_gemm_pack_handle* handle, const vrx_l3_kernels<T>* kernels,
                                   vrx_int row0, vrx_int rows, vrx_int n, T alpha, const T* b, vrx_int ldb, T beta,
                                   T* c, vrx_int ldc);
