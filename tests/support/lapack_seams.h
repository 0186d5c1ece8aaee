// Seams the LAPACK tests share: a thread count forced for the calling thread, and an
// answerer put in the tuning query's place for a scope.
#pragma once
#include <cstring>

#include "lapack/vrx_lapack.h"
#include "service/vrx_threads.h"

// The calling thread's thread count while in scope (0 again afterwards).
struct vrx_test_forced_threads {
  explicit vrx_test_forced_threads(int t) { *vrx_serv_thread_override() = t; }
  ~vrx_test_forced_threads() { *vrx_serv_thread_override() = 0; }
};

// `answerer` answers the engine's tuning questions while in scope.
struct vrx_test_tuning_seam {
  vrx_lapack_tuning_fn saved;
  explicit vrx_test_tuning_seam(vrx_lapack_tuning_fn answerer) : saved(vrx_lapack_tuning) {
    vrx_lapack_tuning = answerer;
  }
  ~vrx_test_tuning_seam() { vrx_lapack_tuning = saved; }
};

// Whether a question names `family` (five letters after the precision, "GETRF").
inline bool vrx_test_asks_about(const char* name, vrx_int name_length, const char* family) {
  return name_length >= 6 && std::strncmp(name + 1, family, 5) == 0;
}
