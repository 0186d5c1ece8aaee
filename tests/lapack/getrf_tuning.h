// Chosen answers to the LU factorisation's parallel tuning questions (opts " " with a
// thread count): the block size (key 1) and the crossover (key 3); every other question
// goes to ILAENV. Used by the LU tests and their driver to reach paths and panel counts
// that this machine's answers never give on small matrices.
#pragma once
#include <cstring>

#include "lapack/vrx_lapack.h"

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
