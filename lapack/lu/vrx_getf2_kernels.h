// The kernels behind GETF2, one per CPU class: each factors the columns [j, j + jb) of
// an m-row matrix on rows j to m - 1 (jb at most 8), column by column, with row
// interchanges on those columns only; pivots from 1 go to ipiv[j .. j + jb). Returns the
// first zero pivot's column (from 1), or `info` as it came. Declarations only: the
// class folders include this header.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

template <typename T>
using vrx_getf2_block_fn = vrx_int (*)(vrx_int m, T* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,
                                       vrx_int info);

// Widest block a kernel takes.
constexpr vrx_int vrx_getf2_block_columns = 8;

// Portable, every element type.
template <typename T>
vrx_int vrx_lapack_getf2_block_portable(vrx_int m, T* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,
                                        vrx_int info);
// On AVX2 and AVX-512 vectors, by precision letter.
#define VRX_DECLARE_GETF2_BLOCK_KERNELS(cls)                                                                     \
  vrx_int vrx_lapack_sgetf2_block_##cls(vrx_int m, float* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb, \
                                        vrx_int info);                                                          \
  vrx_int vrx_lapack_dgetf2_block_##cls(vrx_int m, double* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb, \
                                        vrx_int info);                                                          \
  vrx_int vrx_lapack_cgetf2_block_##cls(vrx_int m, vrx_complex_float* a, vrx_int lda, vrx_int* ipiv, vrx_int j,  \
                                        vrx_int jb, vrx_int info);                                              \
  vrx_int vrx_lapack_zgetf2_block_##cls(vrx_int m, vrx_complex_double* a, vrx_int lda, vrx_int* ipiv, vrx_int j, \
                                        vrx_int jb, vrx_int info);
VRX_DECLARE_GETF2_BLOCK_KERNELS(avx2)
VRX_DECLARE_GETF2_BLOCK_KERNELS(avx512)
#undef VRX_DECLARE_GETF2_BLOCK_KERNELS
