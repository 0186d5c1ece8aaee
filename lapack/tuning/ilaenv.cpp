// ILAENV: the one place where blocked and threaded routines learn how to run.
// "CPU" first, then the small-problem rule, then the key's own table.
#include "lapack/vrx_lapack.h"
#include "lapack/tuning/tuning_query.h"
#include "service/vrx_cpu.h"

namespace {
vrx_int min_of(vrx_int a, vrx_int b) { return a < b ? a : b; }
vrx_int max_of(vrx_int a, vrx_int b) { return a > b ? a : b; }

// Key 6: the published 1.6 rule, in single precision.
vrx_int svd_crossover(vrx_int n1, vrx_int n2) {
  return static_cast<vrx_int>(static_cast<float>(min_of(n1, n2)) * 1.6f);
}

bool small_problem(vrx_int n1, vrx_int n2) {
  if (n2 < 1) return n1 < 11;
  return min_of(n1, n2) <= 10 && max_of(n1, n2) < 51;
}

// A small problem: keys 1 to 15 and 18 are answered before the routine is looked at;
// go_on sends the others on to the key tables.
constexpr vrx_int go_on = -2;
vrx_int small_answer(vrx_int key, vrx_int n1, vrx_int n2) {
  switch (key) {
    case 1: return 1;
    case 2:
    case 5: return 2;
    case 3:
    case 18: return n2 < 0 ? 32 : 51;
    case 4: return 6;
    case 6: return svd_crossover(n1, n2);
    case 8: return 50;
    case 9: return 25;
    default: return key >= 1 && key < 16 ? 1 : go_on;
  }
}

// Key 7: processors of the generalised eigenvalue reductions.
vrx_int processors(const vrx_tuning_query& q) {
  if (vrx_tuning_named(q, "HGEQZ") || vrx_tuning_named(q, "GGHRD")) return q.cpu < VRX_CPU_SSE42 ? 2 : 32;
  return 1;
}

// Key 2.
vrx_int minimum_block(const vrx_tuning_query& q) { return vrx_tuning_named(q, "SYTRF") ? 8 : 2; }

// Keys whose answer needs a name with a known precision; others give 1 for any other name.
bool needs_precision(int key) {
  switch (key) {
    case 1: case 2: case 3: case 7: case 12: case 17: case 18: case 19: case 20: return true;
    default: return false;
  }
}

vrx_int answer(const vrx_tuning_query& q) {
  if (needs_precision(q.key) && vrx_tuning_precision(q) == 0) return 1;
  switch (q.key) {
    case 1: return vrx_tuning_block_size(q);
    case 2: return minimum_block(q);
    case 3: return vrx_tuning_crossover(q);
    case 4: return 6;
    case 5: return 2;
    case 6: return svd_crossover(q.n1, q.n2);
    case 7: return processors(q);
    case 8: return 50;
    case 9: return 25;
    case 10:
    case 11: return 1;
    case 12: return vrx_tuning_factor(q);
    case 13: case 14: case 15: case 16: return vrx_tuning_iparmq(q.key, q.n2, q.n3);
    case 17: return vrx_tuning_group(q);
    case 18: return vrx_tuning_tail(q);
    case 19: return q.cpu;
    case 20: return vrx_tuning_team(q);
    default: return -1;
  }
}
}  // namespace

extern "C" vrx_int ILAENV(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                          const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                          vrx_int opts_length) {
  if (vrx_tuning_is_cpu_name(name, name_length)) return vrx_serv_cpu_detect();
  const vrx_int key = *ispec;
  if (small_problem(*n1, *n2)) {
    const vrx_int quick = small_answer(key, *n1, *n2);
    if (quick != go_on) return quick;
    // Keys 16 and above of a small problem: the Hessenberg QR's parameters or nothing.
    return key == 16 ? vrx_tuning_iparmq(16, *n2, *n3) : -1;
  }
  if (key < 1 || key > 20) return -1;
  vrx_tuning_query q;
  vrx_tuning_parse(&q, static_cast<int>(key), name, name_length, opts, opts_length, *n1, *n2, *n3, *n4);
  q.cpu = vrx_serv_cpu_detect();
  q.branch = vrx_serv_cbwr_get(1);
  return answer(q);
}
