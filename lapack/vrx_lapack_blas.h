// The BLAS routines of one element type as the generic LAPACK sources call them.
#pragma once
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"

template <typename T>
struct vrx_lapack_blas;

// gemm: the threaded entry; gemm_sequential: the kernel that never forks (inside
// workers); trsm/trmm likewise.
#define VRX_LAPACK_BLAS_MEMBERS(T, x)                                            \
  template <>                                                                  \
  struct vrx_lapack_blas<T> {                                                  \
    static constexpr vrx_gemm_fn<T> gemm = vrx_blas_##x##gemm;                 \
    static constexpr vrx_gemm_fn<T> gemm_sequential = vrx_blas_##x##gemm_sequential; \
    static constexpr vrx_trsm_fn<T> trsm = vrx_blas_##x##trsm;                 \
    static constexpr vrx_trsm_fn<T> trsm_sequential = vrx_blas_##x##trsm_sequential; \
    static constexpr vrx_trsm_fn<T> trmm = vrx_blas_##x##trmm;                 \
    static constexpr vrx_trsm_fn<T> trmm_sequential = vrx_blas_##x##trmm_sequential; \
  };
VRX_LAPACK_BLAS_MEMBERS(float, s)
VRX_LAPACK_BLAS_MEMBERS(double, d)
VRX_LAPACK_BLAS_MEMBERS(vrx_complex_float, c)
VRX_LAPACK_BLAS_MEMBERS(vrx_complex_double, z)
#undef VRX_LAPACK_BLAS_MEMBERS
