// The team size of the LU team path (key 20 of xGETRF) chosen with a block size and
// crossover 1, so that small matrices get small blocks and several teams.
#pragma once

#include "lapack/getrf_support.h"

struct vrx_test_team_tuned : vrx_test_getrf_tuned {
  vrx_test_team_tuned(vrx_int nb, vrx_int team_size)
      : vrx_test_getrf_tuned(vrx_test_getrf_answers{nb, 1, 0, -1, team_size}) {}
};
