// The batch of the rotation engine: how many sweeps of the tridiagonal and bidiagonal QR
// iterations are gathered before their rotations are applied. Small orders take a fixed
// batch; larger ones a ladder by precision and thread count, on the order.
#include <cstring>

#include "lapack/syev/vrx_rotations.h"
#include "lapack/tuning/tuning_query.h"

namespace {
constexpr vrx_int small_order = 1000, small_batch = 32, smallest_batch = 2;

// Single precision (S and C): 24 to 40 sweeps.
constexpr vrx_ladder_step single_one_thread[] = {vrx_below(2500, 40), vrx_below(5000, 32), vrx_rest(24)};
constexpr vrx_ladder_step single_few_threads[] = {vrx_below(4000, 40), vrx_rest(32)};
constexpr vrx_ladder_step single_many_threads[] = {vrx_below(3000, 32), vrx_rest(24)};
// Double precision (D and Z): columns twice as wide, so fewer sweeps keep the wavefront
// of a strip in the same cache.
constexpr vrx_ladder_step double_one_thread[] = {vrx_below(2000, 32), vrx_below(5000, 24), vrx_rest(16)};
constexpr vrx_ladder_step double_few_threads[] = {vrx_below(3000, 32), vrx_rest(24)};
constexpr vrx_ladder_step double_many_threads[] = {vrx_below(4000, 24), vrx_rest(16)};

constexpr vrx_tuning_row batch_rows[] = {
    {.threads_max = 1, .precisions = vrx_prec_single, .ladder = vrx_make_ladder(single_one_thread)},
    {.threads_max = 8, .precisions = vrx_prec_single, .ladder = vrx_make_ladder(single_few_threads)},
    {.precisions = vrx_prec_single, .ladder = vrx_make_ladder(single_many_threads)},
    {.threads_max = 1, .precisions = vrx_prec_d | vrx_prec_z, .ladder = vrx_make_ladder(double_one_thread)},
    {.threads_max = 8, .precisions = vrx_prec_d | vrx_prec_z, .ladder = vrx_make_ladder(double_few_threads)},
    {.precisions = vrx_prec_d | vrx_prec_z, .ladder = vrx_make_ladder(double_many_threads)},
};

vrx_int batch(const char* name, const char* opts, vrx_int n, vrx_int threads) {
  if (n < small_order) return small_batch;
  vrx_tuning_query q;
  vrx_tuning_parse(&q, 1, name, static_cast<vrx_int>(strnlen(name, 6)), opts,
                   opts ? static_cast<vrx_int>(strnlen(opts, 1)) : 0, n, threads, -1, -1);
  return vrx_tuning_pick_row(batch_rows, q, threads, n, small_batch);
}

bool has_precision_letter(const char* name) { return name && vrx_tuning_precision_letter(*name) != 0; }
}  // namespace

vrx_int vrx_lapack_rotation_batch(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n,
                                  const vrx_int* threads) {
  switch (*ispec) {
    case 1: return has_precision_letter(name) ? batch(name, opts, *n, *threads) : 1;
    case 2: return has_precision_letter(name) ? smallest_batch : 1;
    default: return -1;
  }
}
