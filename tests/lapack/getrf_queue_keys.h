// Chosen answers to the LU queue's scheduler questions (keys 17 and 18 of xGETRF) on top
// of the LU tests' answers, the thread count the last key-17 question passed in n3, and
// the cases the queue driver runs through the host routine.
#pragma once
#include <cstring>

#include "lapack/getrf_support.h"

struct vrx_test_queue_keys {
  vrx_int group;  // key 17; 0 leaves the answer
  vrx_int tail;   // key 18; -1 leaves the answer
};
inline vrx_test_queue_keys vrx_test_queue_chosen = {0, -1};
inline vrx_int vrx_test_queue_asked_threads = 0;

inline vrx_int vrx_test_queue_answerer(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                                       const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                                       vrx_int opts_length) {
  const bool getrf = name_length >= 6 && std::strncmp(name + 1, "GETRF", 5) == 0;
  if (getrf && *ispec == 17) {
    __atomic_store_n(&vrx_test_queue_asked_threads, *n3, __ATOMIC_RELAXED);
    if (vrx_test_queue_chosen.group > 0) return vrx_test_queue_chosen.group;
  }
  if (getrf && *ispec == 18 && vrx_test_queue_chosen.tail >= 0) return vrx_test_queue_chosen.tail;
  return vrx_test_getrf_answerer(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

// Group and tail for its lifetime, ILAENV's block size and crossover.
struct vrx_test_queue_tuned {
  vrx_test_getrf_tuned keys;
  vrx_test_queue_tuned(vrx_int group, vrx_int tail) : keys(0, 0) {
    vrx_test_queue_chosen = {group, tail};
    vrx_test_queue_asked_threads = 0;
    vrx_lapack_tuning = vrx_test_queue_answerer;
  }
  ~vrx_test_queue_tuned() { vrx_test_queue_chosen = {0, -1}; }
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
