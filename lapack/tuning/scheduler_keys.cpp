// Keys of the two parallel factorisations: 12 (look-ahead factor), 17 (block columns per
// ownership group), 18 (block columns left to the dynamic tail) and 20 (team size).
// The thread count is n3 and the ladders run on n2, except where noted.
#include "lapack/tuning/tuning_query.h"
#include "service/vrx_types.h"

namespace {
constexpr unsigned cpus_below_avx =
    vrx_cpu_bit(VRX_CPU_SSE2) | vrx_cpu_bit(VRX_CPU_SSSE3) | vrx_cpu_bit(VRX_CPU_SSE42);
constexpr unsigned cpus_avx_up = vrx_cpus_all & ~cpus_below_avx;
constexpr unsigned cpus_sse42_up = cpus_avx_up | vrx_cpu_bit(VRX_CPU_SSE42);
constexpr vrx_int all_columns = 1000000;

// ---- key 12 ----
constexpr vrx_int lu_factor = 16, qr_factor = 16, hessenberg_nmin_key = 12;
constexpr vrx_ladder_step qr_panel_factor[] = {vrx_up_to(400, 24), vrx_up_to(550, 32),  vrx_up_to(800, 48),
                                               vrx_up_to(1350, 64), vrx_up_to(1900, 96), vrx_rest(128)};

// ---- key 17 ----
constexpr vrx_ladder_step one[] = {vrx_rest(1)};
constexpr vrx_ladder_step group_2_avx[] = {vrx_up_to(5500, 2), vrx_rest(3)};
constexpr vrx_ladder_step group_2_d[] = {vrx_up_to(900, 4), vrx_up_to(3100, 3), vrx_up_to(3600, 2), vrx_rest(3)};
constexpr vrx_ladder_step group_2_s[] = {vrx_up_to(1200, 4), vrx_up_to(4000, 3), vrx_rest(2)};
constexpr vrx_ladder_step group_2_complex[] = {vrx_up_to(1000, 2), vrx_rest(1)};
constexpr vrx_ladder_step group_5_amd[] = {vrx_up_to(2400, 2), vrx_rest(1)};
constexpr vrx_ladder_step group_5_d_small_l2[] = {vrx_up_to(2400, 2), vrx_rest(1)};
constexpr vrx_ladder_step group_5_d[] = {vrx_up_to(2400, 2), vrx_up_to(10000, 1), vrx_rest(2)};
constexpr vrx_ladder_step group_5_other[] = {vrx_up_to(3000, 2), vrx_rest(1)};
constexpr vrx_ladder_step group_9[] = {vrx_up_to(5500, 1), vrx_rest(2)};
constexpr vrx_ladder_step group_13[] = {vrx_up_to(35000, 1), vrx_rest(2)};

constexpr vrx_tuning_row group_rows[] = {
    {.threads_max = 1, .ladder = vrx_make_ladder(one)},
    {.threads_min = 2, .threads_max = 4, .cpus = cpus_avx_up, .ladder = vrx_make_ladder(group_2_avx)},
    {.threads_min = 2, .threads_max = 4, .precisions = vrx_prec_d, .ladder = vrx_make_ladder(group_2_d)},
    {.threads_min = 2, .threads_max = 4, .precisions = vrx_prec_s, .ladder = vrx_make_ladder(group_2_s)},
    {.threads_min = 2, .threads_max = 4, .ladder = vrx_make_ladder(group_2_complex)},
    {.threads_min = 5, .threads_max = 8, .cpus = vrx_cpu_bit(VRX_CPU_SSE2), .need = vrx_need_amd_family10,
     .ladder = vrx_make_ladder(group_5_amd)},
    {.threads_min = 5, .threads_max = 8, .cpus = vrx_cpu_bit(VRX_CPU_SSSE3), .precisions = vrx_prec_d,
     .need = vrx_need_sse41_small_l2, .ladder = vrx_make_ladder(group_5_d_small_l2)},
    {.threads_min = 5, .threads_max = 8, .precisions = vrx_prec_d, .ladder = vrx_make_ladder(group_5_d)},
    {.threads_min = 5, .threads_max = 8, .ladder = vrx_make_ladder(group_5_other)},
    {.threads_min = 9, .threads_max = 12, .cpus = cpus_sse42_up, .ladder = vrx_make_ladder(group_9)},
    {.threads_min = 13, .threads_max = 32, .cpus = cpus_sse42_up, .ladder = vrx_make_ladder(group_13)},
};

// ---- key 18 ----
constexpr vrx_ladder_step none[] = {vrx_rest(0)};
constexpr vrx_ladder_step every_thread[] = {vrx_rest_threads()};
constexpr vrx_ladder_step tail_13[] = {vrx_up_to(3500, 0), vrx_up_to(11000, all_columns), vrx_rest_threads()};
constexpr vrx_ladder_step tail_17[] = {vrx_up_to(3500, 0), vrx_up_to(15000, all_columns), vrx_rest_threads()};
constexpr vrx_ladder_step tail_25[] = {vrx_up_to(3500, 0), vrx_up_to(6500, all_columns), vrx_rest_threads()};
constexpr vrx_ladder_step tail_12[] = {vrx_up_to_threads(6500), vrx_rest(all_columns)};
constexpr vrx_ladder_step tail_9[] = {vrx_up_to(6500, 0), vrx_rest(all_columns)};
constexpr vrx_ladder_step tail_5_d_small_l2[] = {vrx_up_to(1700, 0), vrx_up_to(2800, 4), vrx_up_to(10000, 8),
                                                 vrx_rest(100000)};
constexpr vrx_ladder_step tail_5_d[] = {vrx_up_to(1700, 0), vrx_up_to(2800, 4), vrx_up_to(10000, 8), vrx_rest(16)};
constexpr vrx_ladder_step tail_5_other[] = {vrx_up_to(2800, 0), vrx_up_to(10000, 8), vrx_rest(16)};
constexpr std::int64_t tail_large_from = 1500;

constexpr vrx_tuning_row tail_rows[] = {
    {.threads_max = 1, .ladder = vrx_make_ladder(none)},
    {.threads_min = 9, .threads_max = 12, .cpus = cpus_sse42_up, .above = tail_large_from,
     .ladder = vrx_make_ladder(every_thread)},
    {.threads_min = 13, .threads_max = 16, .cpus = cpus_sse42_up, .above = tail_large_from,
     .ladder = vrx_make_ladder(tail_13)},
    {.threads_min = 17, .threads_max = 24, .cpus = cpus_sse42_up, .above = tail_large_from,
     .ladder = vrx_make_ladder(tail_17)},
    {.threads_min = 25, .cpus = cpus_sse42_up, .above = tail_large_from, .ladder = vrx_make_ladder(tail_25)},
    {.threads_min = 12, .threads_max = 12, .ladder = vrx_make_ladder(tail_12)},
    {.threads_min = 9, .ladder = vrx_make_ladder(tail_9)},
    {.threads_min = 5, .threads_max = 8, .cpus = vrx_cpu_bit(VRX_CPU_SSSE3), .precisions = vrx_prec_d,
     .need = vrx_need_sse41_small_l2, .ladder = vrx_make_ladder(tail_5_d_small_l2)},
    {.threads_min = 5, .threads_max = 8, .precisions = vrx_prec_d, .ladder = vrx_make_ladder(tail_5_d)},
    {.threads_min = 5, .threads_max = 8, .ladder = vrx_make_ladder(tail_5_other)},
    {.threads_min = 2, .threads_max = 4, .cpus = cpus_avx_up, .ladder = vrx_make_ladder(every_thread)},
};

// ---- key 20 ----
constexpr vrx_ladder_step lu_team_mid[] = {vrx_below(18, 4), vrx_rest(6)};  // by threads
constexpr vrx_ladder_step lu_team[] = {vrx_below(54, 2), vrx_rest(4)};      // by threads
constexpr std::int64_t lu_team_from = 2500, lu_mid_from = 4501, lu_mid_to = 16499;
constexpr vrx_int lu_mid_threads_above = 8;

// GEQRF by precision and thread count, on n1.
constexpr vrx_ladder_step two[] = {vrx_rest(2)};
constexpr vrx_ladder_step four[] = {vrx_rest(4)};
constexpr vrx_ladder_step qr_d_24[] = {vrx_below(3000, 2), vrx_rest(4)};
constexpr vrx_ladder_step qr_s_5[] = {vrx_below(7000, 1), vrx_rest(2)};
constexpr vrx_ladder_step qr_s_9[] = {vrx_below(5000, 1), vrx_rest(2)};
constexpr vrx_ladder_step qr_s_13[] = {vrx_below(3000, 1), vrx_rest(2)};
constexpr vrx_ladder_step qr_s_17[] = {vrx_below(7000, 2), vrx_rest(4)};
constexpr vrx_ladder_step qr_s_25[] = {vrx_below(3000, 2), vrx_rest(4)};
constexpr vrx_ladder_step qr_s_45[] = {vrx_below(5000, 2), vrx_rest(4)};

constexpr vrx_tuning_row qr_team_rows[] = {
    {.threads_max = 15, .precisions = vrx_prec_d, .ladder = vrx_make_ladder(one)},
    {.threads_max = 23, .precisions = vrx_prec_d, .ladder = vrx_make_ladder(two)},
    {.precisions = vrx_prec_d, .ladder = vrx_make_ladder(qr_d_24)},
    {.threads_max = 4, .precisions = vrx_prec_s, .ladder = vrx_make_ladder(one)},
    {.threads_max = 8, .precisions = vrx_prec_s, .ladder = vrx_make_ladder(qr_s_5)},
    {.threads_max = 12, .precisions = vrx_prec_s, .ladder = vrx_make_ladder(qr_s_9)},
    {.threads_max = 16, .precisions = vrx_prec_s, .ladder = vrx_make_ladder(qr_s_13)},
    {.threads_max = 24, .precisions = vrx_prec_s, .ladder = vrx_make_ladder(qr_s_17)},
    {.threads_max = 44, .precisions = vrx_prec_s, .ladder = vrx_make_ladder(qr_s_25)},
    {.precisions = vrx_prec_s, .ladder = vrx_make_ladder(qr_s_45)},
    {.precisions = vrx_prec_complex, .ladder = vrx_make_ladder(four)},
};

constexpr vrx_int not_asked = -1;

vrx_int lu_team_size(const vrx_tuning_query& q) {
  const vrx_int shorter = q.n1 < q.n2 ? q.n1 : q.n2, t = q.n3;
  if (shorter < lu_team_from) return 1;
  if (shorter >= lu_mid_from && shorter <= lu_mid_to && t > lu_mid_threads_above)
    return vrx_ladder_pick(lu_team_mid, t);
  return vrx_ladder_pick(lu_team, t);
}
}  // namespace

vrx_int vrx_tuning_factor(const vrx_tuning_query& q) {
  if (vrx_tuning_named(q, "GETRF")) return lu_factor;
  if (vrx_tuning_named(q, "GEQRF")) return q.opts == 'P' ? vrx_ladder_pick(qr_panel_factor, q.n2) : qr_factor;
  return vrx_tuning_iparmq(hessenberg_nmin_key, q.n2, q.n3);
}

vrx_int vrx_tuning_group(const vrx_tuning_query& q) {
  if (!vrx_tuning_named(q, "GETRF")) return not_asked;
  return vrx_tuning_pick_row(group_rows, q, q.n3, q.n2, 1);
}

vrx_int vrx_tuning_tail(const vrx_tuning_query& q) {
  if (!vrx_tuning_named(q, "GETRF")) return not_asked;
  return vrx_tuning_pick_row(tail_rows, q, q.n3, q.n2, 0);
}

vrx_int vrx_tuning_team(const vrx_tuning_query& q) {
  if (vrx_tuning_named(q, "GETRF")) return lu_team_size(q);
  if (vrx_tuning_named(q, "GEQRF")) return vrx_tuning_pick_row(qr_team_rows, q, q.n3, q.n1, 1);
  return not_asked;
}
