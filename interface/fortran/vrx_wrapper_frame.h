// The frame every Fortran-style wrapper runs in: checker, routine, narrowing, and the
// verbose line with its timed span. Members supply these steps as small callables.
#pragma once
#include <cstddef>

#include "service/vrx_serv.h"

// The verbose line is formatted into this many bytes, the terminator included.
constexpr std::size_t vrx_wrapper_line_bytes = 200;

// Runs one wrapper call. `check` answers non-zero after a report; `road` calls the
// routine and runs only when the check passed; `finish` narrows and frees and always
// runs. With verbose mode on, the span from just before `road` to the end of `finish` is
// timed, and `describe(line, size)` formats the call from the caller's values.
// `verbose_state` is the wrapper's private pointer to the verbose flag.
template <class Check, class Road, class Finish, class Describe>
void vrx_wrapper_call(const int** verbose_state, Check check, Road road, Finish finish, Describe describe) {
  int verbose = *__atomic_load_n(verbose_state, __ATOMIC_ACQUIRE);
  double elapsed = 0.0;
  if (check()) {
    if (verbose == -1) verbose = vrx_serv_verbose_settle(verbose_state);
    if (verbose != 0) elapsed = -vrx_serv_second();
  } else if (verbose == 0) {
    // The path of every ordinary call.
    road();
    finish();
    return;
  } else {
    verbose = vrx_serv_verbose_settle(verbose_state);
    if (verbose != 0) elapsed = -vrx_serv_second();
    road();
  }
  finish();
  if (verbose == 0) return;
  if (elapsed != 0.0) elapsed += vrx_serv_second();
  char line[vrx_wrapper_line_bytes];
  describe(line, vrx_wrapper_line_bytes - 1);
  line[vrx_wrapper_line_bytes - 1] = '\0';
  vrx_serv_verbose_print(-1, line, elapsed);
}

// A checker's answer: for a failed check at `position` (0: none) the report under `name`
// (six bytes), -position in `*info`, and 1; else 0.
inline int vrx_wrapper_reject(const char* name, int position, vrx_int* info) {
  if (position == 0) return 0;
  *info = -position;
  vrx_serv_xerbla(name, &position, 6);
  return 1;
}

// Integer arrays handed to the engine: 64-bit copies of `count` elements from
// LAPACKE_malloc (alignment 128), widened from `source` when it is given. On failure the
// wrapper's report (code 1089 under `name` of `length` bytes), -1023 in `*info`, and null.
vrx_int* vrx_wrapper_integers(const int* source, vrx_int count, const char* name, int length, int* info);
// The low 32 bits of each of `count` elements into `target`; nothing for count <= 0.
void vrx_wrapper_narrow(const vrx_int* source, vrx_int count, int* target);
