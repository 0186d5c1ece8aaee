// The engine routines behind the wrappers of each precision, for the generic wrappers.
// A factorisation has two roads: the host routine, and the entry that holds the offload
// gate's place.
#pragma once
#include "lapack/vrx_lapack.h"

template <typename T>
struct vrx_wrapper_engine;
template <>
struct vrx_wrapper_engine<double> {
  static constexpr vrx_getrf_fn_type<double>* getrf_host = vrx_lapack_dgetrf_host;
  static constexpr vrx_getrf_fn_type<double>* getrf_gate = vrx_lapack_DGETRF;
  static constexpr vrx_getrs_fn_type<double>* getrs = vrx_lapack_dgetrs;
  static constexpr vrx_potrf_fn_type<double>* potrf_host = vrx_lapack_dpotrf_host;
  static constexpr vrx_potrf_fn_type<double>* potrf_gate = vrx_lapack_DPOTRF;
  static constexpr vrx_potrs_fn_type<double>* potrs = vrx_lapack_dpotrs;
  static constexpr vrx_gels_fn_type<double>* gels = vrx_lapack_dgels;
};
template <>
struct vrx_wrapper_engine<float> {
  static constexpr vrx_getrf_fn_type<float>* getrf_host = vrx_lapack_sgetrf_host;
  static constexpr vrx_getrf_fn_type<float>* getrf_gate = vrx_lapack_SGETRF;
  static constexpr vrx_getrs_fn_type<float>* getrs = vrx_lapack_sgetrs;
  static constexpr vrx_potrf_fn_type<float>* potrf_host = vrx_lapack_spotrf_host;
  static constexpr vrx_potrf_fn_type<float>* potrf_gate = vrx_lapack_SPOTRF;
  static constexpr vrx_potrs_fn_type<float>* potrs = vrx_lapack_spotrs;
  static constexpr vrx_gels_fn_type<float>* gels = vrx_lapack_sgels;
};
