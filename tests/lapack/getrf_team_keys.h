// The team size of the LU team path (key 20 of xGETRF) chosen on top of the LU tests'
// answers for keys 1 and 3, so that small matrices get small blocks and several teams.
#pragma once
#include <cstring>

#include "lapack/getrf_support.h"

inline vrx_int vrx_test_team_size_chosen = 0;

inline vrx_int vrx_test_team_answerer(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                                      const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                                      vrx_int opts_length) {
  if (*ispec == 20 && vrx_test_team_size_chosen > 0 && name_length >= 6 && std::strncmp(name + 1, "GETRF", 5) == 0)
    return vrx_test_team_size_chosen;
  return vrx_test_getrf_answerer(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

// Block size nb, crossover 1 and team size for its lifetime.
struct vrx_test_team_tuned {
  vrx_test_getrf_tuned keys;
  vrx_test_team_tuned(vrx_int nb, vrx_int team_size) : keys(nb, 1) {
    vrx_test_team_size_chosen = team_size;
    vrx_lapack_tuning = vrx_test_team_answerer;
  }
  ~vrx_test_team_tuned() { vrx_test_team_size_chosen = 0; }
};
