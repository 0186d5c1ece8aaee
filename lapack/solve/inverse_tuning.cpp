// The tuning query of the inverse (GETRI, TRTRI): its own block sizes, which grow with the
// order and depend on the thread count, in place of the tuning query's constant 64.
#include <cstdint>

#include "lapack/solve/vrx_solve.h"
#include "lapack/tuning/tuning_query.h"

namespace {
constexpr vrx_int small_order = 1000, small_block = 64, smallest_block = 2;

constexpr vrx_ladder_step below_16_threads[] = {vrx_up_to(2000, 224), vrx_up_to(3500, 384), vrx_up_to(7500, 576),
                                                vrx_rest(672)};
constexpr vrx_ladder_step at_16_threads[] = {vrx_up_to(2500, 64), vrx_up_to(3500, 384), vrx_up_to(7500, 576),
                                             vrx_rest(672)};
constexpr vrx_ladder_step at_17_to_24_threads[] = {vrx_up_to(1500, 384), vrx_up_to(3500, 512), vrx_rest(896)};
constexpr vrx_ladder_step above_24_threads[] = {vrx_up_to(5000, 320), vrx_up_to(8000, 480), vrx_rest(640)};

// The ladder of the first row whose thread bound holds.
struct threads_row {
  vrx_int threads_up_to;
  vrx_ladder ladder;
};
constexpr threads_row block_by_threads[] = {
    {15, vrx_make_ladder(below_16_threads)},
    {16, vrx_make_ladder(at_16_threads)},
    {24, vrx_make_ladder(at_17_to_24_threads)},
    {INT64_MAX, vrx_make_ladder(above_24_threads)},
};

bool has_precision_letter(const char* name) { return name && vrx_tuning_precision_letter(*name) != 0; }

vrx_int block_size(vrx_int n, vrx_int threads) {
  if (n < small_order || vrx_serv_cpu_detect() == 0) return small_block;
  for (const threads_row& row : block_by_threads)
    if (threads <= row.threads_up_to) return vrx_ladder_pick(row.ladder, n, threads);
  return small_block;
}
}  // namespace

vrx_int vrx_lapack_inverse_tuning(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n,
                                  const vrx_int* threads) {
  switch (*ispec) {
    case 1: return has_precision_letter(name) ? block_size(*n, *threads) : 1;
    case 2: return has_precision_letter(name) ? smallest_block : 1;
    case 3: return vrx_serv_get_max_threads();
    case 4:
    case 5: return 1;
    case 6: return vrx_serv_cpu_detect();
    default: return -1;
  }
}
