// What the LU tests and their driver share: the published names by element type, and
// chosen answers to the factorisation's parallel tuning questions (opts " " with a
// thread count), the block size (key 1) and the crossover (key 3), every other question
// going to ILAENV, to reach paths and panel counts that this machine's answers never
// give on small matrices.
#pragma once
#include <cstring>

#include "lapack/vrx_lapack.h"

template <typename T>
struct vrx_test_lu_names;
#define VRX_TEST_LU_NAMES(T, upper)                                 \
  template <>                                                       \
  struct vrx_test_lu_names<T> {                                     \
    static constexpr vrx_getrf_fn_type<T>* entry = vrx_lapack_##upper##GETRF; \
    static constexpr vrx_getrf_fn_type<T>* getf2 = upper##GETF2;    \
    static constexpr vrx_laswp_fn_type<T>* laswp = upper##LASWP;    \
  };
VRX_TEST_LU_NAMES(float, S)
VRX_TEST_LU_NAMES(double, D)
VRX_TEST_LU_NAMES(vrx_complex_float, C)
VRX_TEST_LU_NAMES(vrx_complex_double, Z)
#undef VRX_TEST_LU_NAMES

struct vrx_test_getrf_answers {
  vrx_int nb;  // key 1; 0 leaves ILAENV's answer
  vrx_int nx;  // key 3; 0 leaves ILAENV's answer
};
inline vrx_test_getrf_answers vrx_test_getrf_chosen = {0, 0};

inline vrx_int vrx_test_getrf_answerer(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                                       const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                                       vrx_int opts_length) {
  const bool parallel_getrf = name_length >= 6 && std::strncmp(name + 1, "GETRF", 5) == 0 && opts_length >= 1 &&
                              opts[0] == ' ' && *n3 >= 1;
  if (parallel_getrf && *ispec == 1 && vrx_test_getrf_chosen.nb) return vrx_test_getrf_chosen.nb;
  if (parallel_getrf && *ispec == 3 && vrx_test_getrf_chosen.nx) return vrx_test_getrf_chosen.nx;
  return ILAENV(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

// Puts the answerer in place for its lifetime.
struct vrx_test_getrf_tuned {
  vrx_lapack_tuning_fn saved;
  vrx_test_getrf_tuned(vrx_int nb, vrx_int nx) : saved(vrx_lapack_tuning) {
    vrx_test_getrf_chosen = {nb, nx};
    vrx_lapack_tuning = vrx_test_getrf_answerer;
  }
  ~vrx_test_getrf_tuned() {
    vrx_lapack_tuning = saved;
    vrx_test_getrf_chosen = {0, 0};
  }
};

// A crossover above every test order: the host routine takes the look-ahead path.
constexpr vrx_int vrx_test_getrf_lookahead_nx = 1000000;
