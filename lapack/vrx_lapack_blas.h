// The BLAS routines of one element type as the generic LAPACK sources call them.
#pragma once
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"

template <typename T>
struct vrx_lapack_blas;

// gemm: the threaded entry; gemm_sequential: the kernel that never forks (inside
// workers); trsm/trmm likewise. gemv, trsv and trmv: the level-2 routines by published name;
// gerc the rank-one update with y conjugated (GER for real data); nrm2, scal and copy the
// level-1 routines by published name (SCNRM2, DZNRM2 for complex).
#define VRX_LAPACK_BLAS_MEMBERS(T, x, X, GERC, NRM2)                             \
  template <>                                                                  \
  struct vrx_lapack_blas<T> {                                                  \
    static constexpr vrx_gemm_fn<T> gemm = vrx_blas_##x##gemm;                 \
    static constexpr vrx_gemm_fn<T> gemm_sequential = vrx_blas_##x##gemm_sequential; \
    static constexpr vrx_trsm_fn<T> trsm = vrx_blas_##x##trsm;                 \
    static constexpr vrx_trsm_fn<T> trsm_sequential = vrx_blas_##x##trsm_sequential; \
    static constexpr vrx_trsm_fn<T> trmm = vrx_blas_##x##trmm;                 \
    static constexpr vrx_trsm_fn<T> trmm_sequential = vrx_blas_##x##trmm_sequential; \
    static constexpr auto gemv = &X##GEMV;                                     \
    static constexpr auto trsv = &X##TRSV;                                     \
    static constexpr auto trmv = &X##TRMV;                                     \
    static constexpr auto gerc = &GERC;                                        \
    static constexpr auto nrm2 = &NRM2;                                        \
    static constexpr auto scal = &X##SCAL;                                     \
    static constexpr auto copy = &X##COPY;                                     \
  };
VRX_LAPACK_BLAS_MEMBERS(float, s, S, SGER, SNRM2)
VRX_LAPACK_BLAS_MEMBERS(double, d, D, DGER, DNRM2)
VRX_LAPACK_BLAS_MEMBERS(vrx_complex_float, c, C, CGERC, SCNRM2)
VRX_LAPACK_BLAS_MEMBERS(vrx_complex_double, z, Z, ZGERC, DZNRM2)
#undef VRX_LAPACK_BLAS_MEMBERS
