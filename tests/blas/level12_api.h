// The published level-1/2 names of each precision, for typed tests over S, D, C and Z.
#pragma once
#include "blas/vrx_level12.h"

template <typename T>
struct level12_api;
template <>
struct level12_api<float> {
  static constexpr auto dot = SDOT, dotc = SDOT;
  static constexpr auto axpy = SAXPY;
  static constexpr auto scal = SSCAL;
  static constexpr auto scal_real = SSCAL;
  static constexpr auto copy = SCOPY;
  static constexpr auto swap = SSWAP;
  static constexpr auto rot = SROT;
  static constexpr auto nrm2 = SNRM2;
  static constexpr auto iamax = ISAMAX;
  static constexpr auto gemv = SGEMV;
  static constexpr auto geru = SGER, gerc = SGER;
  static constexpr auto hemv = SSYMV;
  static constexpr auto her2 = SSYR2;
  static constexpr auto trsv = STRSV;
  static constexpr auto trmv = STRMV;
};
template <>
struct level12_api<double> {
  static constexpr auto dot = DDOT, dotc = DDOT;
  static constexpr auto axpy = DAXPY;
  static constexpr auto scal = DSCAL;
  static constexpr auto scal_real = DSCAL;
  static constexpr auto copy = DCOPY;
  static constexpr auto swap = DSWAP;
  static constexpr auto rot = DROT;
  static constexpr auto nrm2 = DNRM2;
  static constexpr auto iamax = IDAMAX;
  static constexpr auto gemv = DGEMV;
  static constexpr auto geru = DGER, gerc = DGER;
  static constexpr auto hemv = DSYMV;
  static constexpr auto her2 = DSYR2;
  static constexpr auto trsv = DTRSV;
  static constexpr auto trmv = DTRMV;
};
template <>
struct level12_api<vrx_complex_float> {
  static constexpr auto dot = CDOTU, dotc = CDOTC;
  static constexpr auto axpy = CAXPY;
  static constexpr auto scal = CSCAL;
  static constexpr auto scal_real = CSSCAL;
  static constexpr auto copy = CCOPY;
  static constexpr auto swap = CSWAP;
  static constexpr auto rot = CSROT;
  static constexpr auto nrm2 = SCNRM2;
  static constexpr auto iamax = ICAMAX;
  static constexpr auto gemv = CGEMV;
  static constexpr auto geru = CGERU, gerc = CGERC;
  static constexpr auto hemv = CHEMV;
  static constexpr auto her2 = CHER2;
  static constexpr auto trsv = CTRSV;
  static constexpr auto trmv = CTRMV;
};
template <>
struct level12_api<vrx_complex_double> {
  static constexpr auto dot = ZDOTU, dotc = ZDOTC;
  static constexpr auto axpy = ZAXPY;
  static constexpr auto scal = ZSCAL;
  static constexpr auto scal_real = ZDSCAL;
  static constexpr auto copy = ZCOPY;
  static constexpr auto swap = ZSWAP;
  static constexpr auto rot = ZDROT;
  static constexpr auto nrm2 = DZNRM2;
  static constexpr auto iamax = IZAMAX;
  static constexpr auto gemv = ZGEMV;
  static constexpr auto geru = ZGERU, gerc = ZGERC;
  static constexpr auto hemv = ZHEMV;
  static constexpr auto her2 = ZHER2;
  static constexpr auto trsv = ZTRSV;
  static constexpr auto trmv = ZTRMV;
};
