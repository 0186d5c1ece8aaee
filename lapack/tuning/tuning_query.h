// Internals of the tuning query: the question as the tables read it, the machine facts
// some rows depend on, and the ladders every answer comes from.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

// ---- the question (name_parse.cpp) ----
struct vrx_tuning_query {
  int key;                 // ispec
  char name[6];            // upper-cased, blank-padded: precision, class (2), operation (3)
  char opts;               // first character of opts, upper-cased; blank when empty
  vrx_int n1, n2, n3, n4;
  int cpu;                 // CPU type
  int branch;              // reproducibility branch, read once per question
};

// Precision bits, for tables that name several precisions at once.
enum : unsigned { vrx_prec_s = 1, vrx_prec_d = 2, vrx_prec_c = 4, vrx_prec_z = 8 };
constexpr unsigned vrx_prec_all = 15, vrx_prec_real = vrx_prec_s | vrx_prec_d,
                   vrx_prec_complex = vrx_prec_c | vrx_prec_z, vrx_prec_single = vrx_prec_s | vrx_prec_c;

// Fills `q` from the published arguments, without reading past either length.
void vrx_tuning_parse(vrx_tuning_query* q, int key, const char* name, vrx_int name_length, const char* opts,
                      vrx_int opts_length, vrx_int n1, vrx_int n2, vrx_int n3, vrx_int n4);
// Whether the first three characters are "CPU".
bool vrx_tuning_is_cpu_name(const char* name, vrx_int name_length);
// The precision bit of the name, 0 when the first character is not S, D, C or Z.
unsigned vrx_tuning_precision(const vrx_tuning_query& q);
// The precision bit of a name's first character in either case, 0 for any other.
unsigned vrx_tuning_precision_letter(char first);
// Whether the name without its precision is `family` (five characters). In `family`, "**"
// stands for the orthogonal sub-operations QR, RQ, LQ, QL, HR, TR and BR: "ORG**".
bool vrx_tuning_named(const vrx_tuning_query& q, const char* family);

// ---- machine tests (machine_tests.cpp) ----
// Rows that depend on the machine. Rows naming cores, the AMD test or the cache test hold
// only under reproducibility branch 1, so that other branches give the same answer anywhere.
enum vrx_tuning_need : std::uint8_t {
  vrx_need_nothing,
  vrx_need_cores_8,           // exactly 8 cores per package
  vrx_need_cores_9,           // at least 9 cores per package
  vrx_need_amd_family10,      // the other vendor's family 10h
  vrx_need_sse41_small_l2,    // SSE4.1 and a second-level cache of at most 0x300000 bytes
};
bool vrx_tuning_holds(vrx_tuning_need need, const vrx_tuning_query& q);

// ---- ladders (ladder.cpp) ----
// A ladder runs on one size: the first step whose bound holds gives the value; the last
// step holds always.
enum vrx_bound_kind : std::uint8_t { vrx_bound_up_to, vrx_bound_below, vrx_bound_rest };
enum vrx_value_kind : std::uint8_t {
  vrx_value_fixed,
  vrx_value_threads,   // the thread count of the question
  vrx_value_scaled,    // scale times the size, rounded down to a multiple of 8
};
struct vrx_ladder_step {
  vrx_bound_kind bound_kind;
  std::int64_t bound;
  vrx_value_kind value_kind;
  vrx_int value;
  double scale;
};
constexpr vrx_ladder_step vrx_up_to(std::int64_t bound, vrx_int value) {
  return {vrx_bound_up_to, bound, vrx_value_fixed, value, 0.0};
}
constexpr vrx_ladder_step vrx_below(std::int64_t bound, vrx_int value) {
  return {vrx_bound_below, bound, vrx_value_fixed, value, 0.0};
}
constexpr vrx_ladder_step vrx_rest(vrx_int value) { return {vrx_bound_rest, 0, vrx_value_fixed, value, 0.0}; }
constexpr vrx_ladder_step vrx_up_to_threads(std::int64_t bound) {
  return {vrx_bound_up_to, bound, vrx_value_threads, 0, 0.0};
}
constexpr vrx_ladder_step vrx_rest_threads() { return {vrx_bound_rest, 0, vrx_value_threads, 0, 0.0}; }
constexpr vrx_ladder_step vrx_up_to_scaled(std::int64_t bound, double scale) {
  return {vrx_bound_up_to, bound, vrx_value_scaled, 0, scale};
}

struct vrx_ladder {
  const vrx_ladder_step* steps;
  int count;
};
template <std::size_t N>
constexpr vrx_ladder vrx_make_ladder(const vrx_ladder_step (&steps)[N]) {
  return {steps, static_cast<int>(N)};
}
vrx_int vrx_ladder_pick(vrx_ladder ladder, std::int64_t size, vrx_int threads);
template <std::size_t N>
inline vrx_int vrx_ladder_pick(const vrx_ladder_step (&steps)[N], std::int64_t size, vrx_int threads = 0) {
  return vrx_ladder_pick(vrx_make_ladder(steps), size, threads);
}

// One of two ladders, on the same size.
template <std::size_t N, std::size_t M>
inline vrx_int vrx_ladder_choose(bool first, const vrx_ladder_step (&a)[N], const vrx_ladder_step (&b)[M],
                                 std::int64_t size) {
  return vrx_ladder_pick(first ? vrx_make_ladder(a) : vrx_make_ladder(b), size, 0);
}

// ---- row tables (ladder.cpp) ----
// A row chooses a ladder by thread count, CPU type, precision, machine test and a lower
// bound on the size; the first row that holds answers.
constexpr vrx_int vrx_threads_any_min = INT64_MIN, vrx_threads_any_max = INT64_MAX;
constexpr unsigned vrx_cpu_bit(int type) { return 1u << type; }
constexpr unsigned vrx_cpus_all = 0xFFu;
struct vrx_tuning_row {
  vrx_int threads_min = vrx_threads_any_min;
  vrx_int threads_max = vrx_threads_any_max;
  unsigned cpus = vrx_cpus_all;
  unsigned precisions = vrx_prec_all;
  vrx_tuning_need need = vrx_need_nothing;
  std::int64_t above = INT64_MIN;  // the row holds only for sizes above this
  vrx_ladder ladder = {nullptr, 0};
};
// The value of the first row that holds for `q`, `threads` and `size`; `otherwise` when none.
vrx_int vrx_tuning_pick_row(const vrx_tuning_row* rows, int count, const vrx_tuning_query& q, vrx_int threads,
                            std::int64_t size, vrx_int otherwise);
template <std::size_t N>
inline vrx_int vrx_tuning_pick_row(const vrx_tuning_row (&rows)[N], const vrx_tuning_query& q, vrx_int threads,
                                   std::int64_t size, vrx_int otherwise) {
  return vrx_tuning_pick_row(rows, static_cast<int>(N), q, threads, size, otherwise);
}

// ---- routine tables (ladder.cpp) ----
// One entry per routine family: a constant, or a rule for the family's own questions.
struct vrx_tuning_entry {
  const char* family;  // name without its precision letter, as vrx_tuning_named reads it
  vrx_int constant;
  vrx_int (*rule)(const vrx_tuning_query& q);  // null: the constant answers
  unsigned precisions = vrx_prec_all;          // names of other precisions are not this family
};
// The answer of the first entry naming `q`'s routine; `otherwise` when none does.
vrx_int vrx_tuning_lookup(const vrx_tuning_entry* table, int count, const vrx_tuning_query& q, vrx_int otherwise);
template <std::size_t N>
inline vrx_int vrx_tuning_lookup(const vrx_tuning_entry (&table)[N], const vrx_tuning_query& q, vrx_int otherwise) {
  return vrx_tuning_lookup(table, static_cast<int>(N), q, otherwise);
}

// ---- the keys (one file each) ----
vrx_int vrx_tuning_block_size(const vrx_tuning_query& q);        // key 1
vrx_int vrx_tuning_getrf_block(const vrx_tuning_query& q);       // key 1, GETRF
vrx_int vrx_tuning_potrf_block(const vrx_tuning_query& q);       // key 1, POTRF
vrx_int vrx_tuning_geqrf_block(const vrx_tuning_query& q);       // key 1, GEQRF
vrx_int vrx_tuning_crossover(const vrx_tuning_query& q);         // key 3
vrx_int vrx_tuning_factor(const vrx_tuning_query& q);            // key 12
vrx_int vrx_tuning_group(const vrx_tuning_query& q);             // key 17
vrx_int vrx_tuning_tail(const vrx_tuning_query& q);              // key 18
vrx_int vrx_tuning_team(const vrx_tuning_query& q);              // key 20
vrx_int vrx_tuning_iparmq(int key, vrx_int low, vrx_int high);   // keys 12 to 16
