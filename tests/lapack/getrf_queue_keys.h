// The LU queue's scheduler answers (keys 17 and 18 of xGETRF) for a scope, and the cases
// the queue driver runs through the host routine.
#pragma once

#include "lapack/getrf_support.h"

// Group and tail for its lifetime, ILAENV's block size and crossover.
struct vrx_test_queue_tuned : vrx_test_getrf_tuned {
  vrx_test_queue_tuned(vrx_int group, vrx_int tail) : vrx_test_getrf_tuned(vrx_test_getrf_answers{0, 0, group, tail, 0}) {}
};

// Through the host routine, ILAENV's block size and crossover send these to the queue
// path on this machine's CPU type with 2 to 33 threads.
struct vrx_test_queue_host_case {
  const char* name;
  vrx_int m, n;
  vrx_int group, tail;  // 0 and -1: ILAENV's answers
};
inline constexpr vrx_test_queue_host_case vrx_test_queue_host_cases[] = {
    {"square", 300, 300, 0, -1},
    {"tall-tail", 360, 200, 2, 1000000},
    {"wide-tail", 200, 360, 1, 3},
};
