// Key 1 of the bidiagonal reduction, the SVD driver and the generalised symmetric reduction.
#include "lapack/tuning/key1_rules.h"

namespace {
constexpr vrx_int gebrd_real = 16;
constexpr vrx_ladder_step gebrd_complex[] = {vrx_below(128, 128), vrx_below(2500, 8), vrx_up_to(4000, 16),
                                             vrx_rest(32)};

// GESVD ladders run on the larger dimension.
constexpr vrx_ladder_step gesvd_d_tall[] = {vrx_below(5000, 24),  vrx_below(7000, 48),  vrx_below(9000, 56),
                                            vrx_below(12000, 72), vrx_below(16000, 80), vrx_below(18000, 84),
                                            vrx_rest(96)};
constexpr vrx_ladder_step gesvd_d_wide[] = {vrx_below(4000, 32), vrx_below(8000, 48), vrx_below(14000, 72),
                                            vrx_rest(96)};
constexpr vrx_ladder_step gesvd_d_all[] = {vrx_below(3000, 32), vrx_below(8000, 64), vrx_below(12000, 80),
                                           vrx_rest(96)};
constexpr vrx_ladder_step gesvd_s[] = {vrx_below(4000, 32), vrx_below(8000, 64), vrx_below(12000, 96), vrx_rest(128)};
constexpr vrx_ladder_step gesvd_s_all[] = {vrx_below(3000, 48), vrx_below(9000, 96), vrx_rest(128)};

// SYGST and HEGST by precision, uplo and thread count (n2), on the order n1.
constexpr vrx_ladder_step gst_one_upper[] = {vrx_up_to(1000, 64), vrx_up_to(4000, 128), vrx_up_to(10000, 256),
                                             vrx_rest(384)};
constexpr vrx_ladder_step gst_one_lower[] = {vrx_up_to(1000, 64), vrx_up_to(3000, 128), vrx_up_to(8000, 192),
                                             vrx_rest(320)};
constexpr vrx_ladder_step gst_threads_upper[] = {vrx_up_to(2000, 64), vrx_up_to(6000, 192), vrx_up_to(12000, 384),
                                                 vrx_rest(640)};
constexpr vrx_ladder_step gst_threads_lower[] = {vrx_up_to(2000, 96), vrx_up_to(6000, 256), vrx_up_to(12000, 448),
                                                 vrx_rest(640)};
constexpr vrx_ladder_step gst_single_one[] = {vrx_up_to(2000, 128), vrx_up_to(8000, 256), vrx_rest(512)};
constexpr vrx_ladder_step gst_single_threads[] = {vrx_up_to(2000, 128), vrx_up_to(6000, 320), vrx_rest(640)};
}  // namespace

vrx_int vrx_tuning_gebrd_block(const vrx_tuning_query& q) {
  if (vrx_tuning_precision(q) & vrx_prec_real) return gebrd_real;
  return vrx_ladder_pick(gebrd_complex, q.n2);
}

vrx_int vrx_tuning_gesvd_block(const vrx_tuning_query& q) {
  const bool tall = q.n1 >= q.n2;
  const vrx_int larger = tall ? q.n1 : q.n2;
  const bool all_vectors = q.opts == 'A';
  if (vrx_tuning_precision(q) & vrx_prec_single) return vrx_ladder_choose(all_vectors, gesvd_s_all, gesvd_s, larger);
  if (all_vectors) return vrx_ladder_pick(gesvd_d_all, larger);
  return vrx_ladder_choose(tall, gesvd_d_tall, gesvd_d_wide, larger);
}

vrx_int vrx_tuning_sygst_block(const vrx_tuning_query& q) {
  const bool several = q.n2 > 1;
  if (vrx_tuning_precision(q) & vrx_prec_single)
    return vrx_ladder_choose(several, gst_single_threads, gst_single_one, q.n1);
  const bool upper = q.opts == 'U';
  if (several) return vrx_ladder_choose(upper, gst_threads_upper, gst_threads_lower, q.n1);
  return vrx_ladder_choose(upper, gst_one_upper, gst_one_lower, q.n1);
}
