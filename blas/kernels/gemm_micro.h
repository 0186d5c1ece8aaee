// What an instruction class offers the level-3 driver for the single and complex
// products: a register-block kernel and its packs, on raw pointers.
//
// Packed panels: a block of op(A) with `rows` rows and k steps is stored as consecutive
// panels of height mr while the rows allow, then the remainder's powers of two from the
// largest down (no zero padding); a panel of height h holds, for l = 0 .. k - 1, the h
// values op(A)(i0 .. i0 + h - 1, l) one after another. B likewise: panels of width nr,
// then powers of two, each holding for l = 0 .. k - 1 the w values op(B)(l, j0 .. j0 + w - 1).
// Complex elements stay (re, im) pairs. A is packed with alpha, B with 1, so the kernel
// never sees alpha; conjugation happens in the pack.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

// C(m by n, ldc) := packed A * packed B, added to C; when beta is zero C is stored
// without being read. The driver passes beta 0 or 1 only.
template <typename T>
using vrx_gemm_micro_kernel_fn = void (*)(vrx_int m, vrx_int n, vrx_int k, const T* a, const T* b, T* c,
                                          vrx_int ldc, T beta);
// Packs `rows` by `cols` of op(X) into panels, multiplying by factor. src is op(X)(0, 0);
// as stored op(X)(i, j) = src[i + j * ld], transposed src[j + i * ld]. For A, rows are the
// panel direction and cols the k steps; for B, rows are the k steps and cols the panel
// direction.
template <typename T>
using vrx_gemm_micro_pack_fn = void (*)(const T* src, vrx_int ld, vrx_int rows, vrx_int cols, T factor, T* out);

// Index of the pack routines by the operand's op: as stored, transposed, conjugate-
// transposed (the real types use the transposed routine for both).
enum { VRX_MICRO_PLAIN = 0, VRX_MICRO_TRANSPOSED = 1, VRX_MICRO_CONJUGATED = 2 };

template <typename T>
struct vrx_gemm_micro_kernels {
  vrx_int mr;
  vrx_int nr;
  vrx_gemm_micro_kernel_fn<T> kernel;
  vrx_gemm_micro_pack_fn<T> pack_a[3];
  vrx_gemm_micro_pack_fn<T> pack_b[3];
};
