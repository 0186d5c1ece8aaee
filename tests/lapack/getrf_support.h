// What the LU tests and their drivers share: the published names by element type, and
// chosen answers to the factorisation's tuning questions (block size and crossover of the
// parallel question, the scheduler's group and tail, the team size), every other
// question going to ILAENV, to reach paths, panel counts and team layouts that this
// machine's answers never give on small matrices.
#pragma once
#include "lapack/vrx_lapack.h"
#include "tests/support/lapack_seams.h"

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

// Chosen answers; the defaults leave every question to ILAENV.
struct vrx_test_getrf_answers {
  vrx_int nb;         // key 1 of the parallel question; 0 leaves the answer
  vrx_int nx;         // key 3 of the parallel question; 0 leaves the answer
  vrx_int group;      // key 17; 0 leaves the answer
  vrx_int tail;       // key 18; -1 leaves the answer
  vrx_int team_size;  // key 20; 0 leaves the answer
};
inline constexpr vrx_test_getrf_answers vrx_test_getrf_ilaenv = {0, 0, 0, -1, 0};
inline vrx_test_getrf_answers vrx_test_getrf_chosen = vrx_test_getrf_ilaenv;
// The thread count (n3) of the last key-17 question.
inline vrx_int vrx_test_getrf_asked_threads = 0;

inline vrx_int vrx_test_getrf_answerer(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                                       const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                                       vrx_int opts_length) {
  const vrx_test_getrf_answers& c = vrx_test_getrf_chosen;
  const bool getrf = vrx_test_asks_about(name, name_length, "GETRF");
  const bool parallel = getrf && opts_length >= 1 && opts[0] == ' ' && *n3 >= 1;
  if (parallel && *ispec == 1 && c.nb) return c.nb;
  if (parallel && *ispec == 3 && c.nx) return c.nx;
  if (getrf && *ispec == 17) {
    __atomic_store_n(&vrx_test_getrf_asked_threads, *n3, __ATOMIC_RELAXED);
    if (c.group > 0) return c.group;
  }
  if (getrf && *ispec == 18 && c.tail >= 0) return c.tail;
  if (getrf && *ispec == 20 && c.team_size > 0) return c.team_size;
  return ILAENV(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

// Puts the answerer in place for its lifetime.
struct vrx_test_getrf_tuned {
  vrx_test_tuning_seam seam;
  explicit vrx_test_getrf_tuned(vrx_test_getrf_answers chosen) : seam(vrx_test_getrf_answerer) {
    vrx_test_getrf_chosen = chosen;
    vrx_test_getrf_asked_threads = 0;
  }
  vrx_test_getrf_tuned(vrx_int nb, vrx_int nx) : vrx_test_getrf_tuned(vrx_test_getrf_answers{nb, nx, 0, -1, 0}) {}
  ~vrx_test_getrf_tuned() { vrx_test_getrf_chosen = vrx_test_getrf_ilaenv; }
};

// A crossover above every test order: the host routine takes the look-ahead path.
constexpr vrx_int vrx_test_getrf_lookahead_nx = 1000000;
