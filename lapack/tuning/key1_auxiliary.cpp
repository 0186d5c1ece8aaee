// Key 1 of the LA** helpers and of the tridiagonal and bidiagonal QR iterations.
#include "lapack/tuning/key1_rules.h"

namespace {
// LABRD: the whole panel while n1 * n2 stays within these, else 32.
constexpr std::int64_t labrd_area_s = 512000, labrd_area_dc = 256000, labrd_area_z = 128000;
constexpr vrx_int labrd_block = 32;

constexpr vrx_int laqrf_short = 351, laqrf_tall = 16, laqrf_threads = 2, laqrf_threaded = 32;
constexpr vrx_ladder_step laqrf_d_threads[] = {vrx_below(4000, 16), vrx_rest(32)};

constexpr vrx_ladder_step lauum[] = {vrx_up_to(128, 32), vrx_up_to(4500, 64), vrx_rest(128)};

constexpr vrx_int larft_narrow_below = 65, larft_narrow = 16;
constexpr vrx_ladder_step larft[] = {vrx_below(15000, 32), vrx_rest(16)};

// STEQR, BDSQR: the rotation blocks, by order; n2 is 1 for one thread.
constexpr vrx_ladder_step rotations_threads[] = {vrx_up_to(210, 6),   vrx_up_to(330, 56),  vrx_up_to(560, 80),
                                                 vrx_up_to(1200, 120), vrx_up_to(2400, 160), vrx_rest(200)};
constexpr vrx_ladder_step rotations_one[] = {vrx_up_to(230, 6),   vrx_up_to(300, 56),   vrx_up_to(390, 80),
                                             vrx_up_to(630, 120), vrx_up_to(1800, 160), vrx_up_to(5200, 200),
                                             vrx_rest(280)};
}  // namespace

vrx_int vrx_tuning_labrd_block(const vrx_tuning_query& q) {
  std::int64_t limit = labrd_area_dc;
  if (vrx_tuning_precision(q) == vrx_prec_s) limit = labrd_area_s;
  if (vrx_tuning_precision(q) == vrx_prec_z) limit = labrd_area_z;
  return static_cast<std::int64_t>(q.n1) * q.n2 <= limit ? q.n1 : labrd_block;
}

vrx_int vrx_tuning_laqrf_block(const vrx_tuning_query& q) {
  if (q.n3 >= laqrf_threads)
    return vrx_tuning_precision(q) == vrx_prec_d ? vrx_ladder_pick(laqrf_d_threads, q.n1) : laqrf_threaded;
  return q.n1 < laqrf_short ? q.n2 : laqrf_tall;
}

vrx_int vrx_tuning_lauum_block(const vrx_tuning_query& q) { return vrx_ladder_pick(lauum, q.n1); }

vrx_int vrx_tuning_larft_block(const vrx_tuning_query& q) {
  if (q.n2 < larft_narrow_below) return larft_narrow;
  return vrx_ladder_pick(larft, q.n1);
}

vrx_int vrx_tuning_steqr_block(const vrx_tuning_query& q) {
  return vrx_ladder_choose(q.n2 == 1, rotations_one, rotations_threads, q.n1);
}
