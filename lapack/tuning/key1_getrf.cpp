// Key 1 of GETRF: the recursion split ("S"), the parallel panel width ("P"), and the block
// width of the threaded paths (blank options) by CPU type, thread count, machine and size.
#include "lapack/tuning/tuning_query.h"
#include "service/vrx_types.h"

namespace {
// ---- non-blank options ----
constexpr vrx_ladder_step panel_width[] = {vrx_below(9, 1), vrx_up_to(32, 8), vrx_up_to(128, 32), vrx_rest(128)};
constexpr vrx_int other_precisions_width = 64;
constexpr std::int64_t recursion_largest = 32768;

// "S": the largest power of two below n, from 128 up, so that the recursion halves.
vrx_int recursion_split(vrx_int n) {
  if (n <= 128) return vrx_ladder_pick(panel_width, n);
  vrx_int split = 128;
  while (split * 2 < n && split < recursion_largest) split *= 2;
  return split;
}

vrx_int option_width(const vrx_tuning_query& q) {
  if (vrx_tuning_precision(q) != vrx_prec_d) return other_precisions_width;
  switch (q.opts) {
    case 'S': return recursion_split(q.n2);
    case 'P': return vrx_ladder_pick(panel_width, q.n2);
    default: return 0;
  }
}

// ---- CPU type 5 ----
constexpr vrx_ladder_step avx2_threads[] = {vrx_up_to(2500, 24),   vrx_below(3500, 48),   vrx_below(4500, 64),
                                            vrx_below(9500, 120),  vrx_below(10500, 144), vrx_below(65000, 160),
                                            vrx_rest(176)};
constexpr vrx_ladder_step avx2_one_thread[] = {vrx_up_to(1500, 48), vrx_up_to(3500, 88), vrx_up_to(4500, 224),
                                               vrx_below(6000, 240)};
// Narrow complex panels of rectangular matrices: below these heights, when n < 500.
constexpr std::int64_t narrow_width_below = 500, narrow_c_height = 5000, narrow_z_height = 2000;
constexpr vrx_int narrow_width = 16;

vrx_int avx2_width(const vrx_tuning_query& q) {
  const vrx_int m = q.n1, n = q.n2;
  const unsigned precision = vrx_tuning_precision(q);
  if (m != n && n < narrow_width_below) {
    if (precision == vrx_prec_c && m < narrow_c_height) return narrow_width;
    if (precision == vrx_prec_z && m < narrow_z_height) return narrow_width;
  }
  if (q.n3 == 1 && n < 6000) return vrx_ladder_pick(avx2_one_thread, n);
  return vrx_ladder_pick(avx2_threads, n);
}

// ---- every other CPU type ----
constexpr unsigned cpus_wide = vrx_cpu_bit(VRX_CPU_SSE42) | vrx_cpu_bit(VRX_CPU_AVX);
constexpr unsigned cpus_sse42_up = cpus_wide | vrx_cpu_bit(VRX_CPU_AVX512);

constexpr vrx_ladder_step big_avx_13[] = {vrx_up_to(1000, 16), vrx_up_to(2000, 24),  vrx_up_to(4000, 64),
                                          vrx_up_to(5000, 80), vrx_up_to(7000, 112), vrx_up_to(10000, 144),
                                          vrx_up_to(20000, 240), vrx_rest(256)};
constexpr vrx_ladder_step big_sse42_13[] = {vrx_up_to(1000, 16),  vrx_up_to(3000, 32),   vrx_up_to(6000, 64),
                                            vrx_up_to(10000, 128), vrx_up_to(20000, 192), vrx_rest(256)};
constexpr vrx_ladder_step big_9[] = {vrx_up_to(1500, 24), vrx_up_to(4000, 64), vrx_up_to(8000, 128),
                                     vrx_up_to(16000, 192), vrx_rest(256)};
constexpr vrx_ladder_step big_5[] = {vrx_up_to(1000, 24), vrx_up_to(3000, 80), vrx_up_to(8000, 160), vrx_rest(256)};
constexpr vrx_ladder_step big_2[] = {vrx_up_to(800, 32), vrx_up_to(3000, 96), vrx_rest(240)};
constexpr vrx_ladder_step over_24[] = {vrx_up_to(2500, 16),    vrx_up_to_scaled(4500, 0.011),
                                       vrx_up_to_scaled(5500, 0.01441), vrx_up_to(10000, 96),
                                       vrx_up_to(20000, 160),  vrx_rest(240)};
constexpr vrx_ladder_step threads_13[] = {vrx_up_to(1000, 16),   vrx_up_to(2500, 32),   vrx_up_to(5000, 64),
                                          vrx_up_to(10000, 128), vrx_up_to(20000, 192), vrx_rest(256)};
constexpr vrx_ladder_step threads_9[] = {vrx_up_to(800, 16), vrx_up_to(2000, 48), vrx_up_to(5000, 96),
                                         vrx_up_to(12000, 160), vrx_rest(240)};
constexpr vrx_ladder_step amd_5[] = {vrx_up_to(2400, 64), vrx_rest(128)};
constexpr vrx_ladder_step d_5_small_l2[] = {vrx_up_to(700, 16),  vrx_up_to(1700, 24),  vrx_up_to(2400, 80),
                                            vrx_up_to(2800, 128), vrx_up_to(10000, 200), vrx_rest(200)};
constexpr vrx_ladder_step d_5[] = {vrx_up_to(700, 16),  vrx_up_to(1700, 24),  vrx_up_to(2400, 80),
                                   vrx_up_to(2800, 128), vrx_up_to(10000, 200), vrx_rest(400)};
constexpr vrx_ladder_step other_5[] = {vrx_up_to(1000, 32), vrx_up_to(3000, 96), vrx_up_to(10000, 192),
                                       vrx_rest(320)};
constexpr vrx_ladder_step d_2[] = {vrx_up_to(1000, 48), vrx_up_to(3000, 128), vrx_up_to(8000, 256), vrx_rest(480)};
constexpr vrx_ladder_step other_2[] = {vrx_up_to(1000, 64), vrx_up_to(4000, 160), vrx_rest(320)};
constexpr vrx_ladder_step one_thread[] = {vrx_up_to(1500, 64), vrx_up_to(5000, 128), vrx_rest(256)};

constexpr vrx_tuning_row other_cpu_rows[] = {
    {.threads_min = 13, .cpus = vrx_cpu_bit(VRX_CPU_AVX), .need = vrx_need_cores_9,
     .ladder = vrx_make_ladder(big_avx_13)},
    {.threads_min = 13, .cpus = vrx_cpu_bit(VRX_CPU_SSE42), .need = vrx_need_cores_9,
     .ladder = vrx_make_ladder(big_sse42_13)},
    {.threads_min = 9, .threads_max = 12, .cpus = cpus_wide, .need = vrx_need_cores_9,
     .ladder = vrx_make_ladder(big_9)},
    {.threads_min = 5, .threads_max = 8, .cpus = cpus_wide, .need = vrx_need_cores_9,
     .ladder = vrx_make_ladder(big_5)},
    {.threads_min = 2, .threads_max = 4, .cpus = cpus_wide, .need = vrx_need_cores_9,
     .ladder = vrx_make_ladder(big_2)},
    {.threads_min = 25, .cpus = cpus_sse42_up, .above = 1500, .ladder = vrx_make_ladder(over_24)},
    {.threads_min = 13, .ladder = vrx_make_ladder(threads_13)},
    {.threads_min = 9, .threads_max = 12, .ladder = vrx_make_ladder(threads_9)},
    {.threads_min = 5, .threads_max = 8, .cpus = vrx_cpu_bit(VRX_CPU_SSE2), .need = vrx_need_amd_family10,
     .ladder = vrx_make_ladder(amd_5)},
    {.threads_min = 5, .threads_max = 8, .cpus = vrx_cpu_bit(VRX_CPU_SSSE3), .precisions = vrx_prec_d,
     .need = vrx_need_sse41_small_l2, .ladder = vrx_make_ladder(d_5_small_l2)},
    {.threads_min = 5, .threads_max = 8, .precisions = vrx_prec_d, .ladder = vrx_make_ladder(d_5)},
    {.threads_min = 5, .threads_max = 8, .ladder = vrx_make_ladder(other_5)},
    {.threads_min = 2, .threads_max = 4, .precisions = vrx_prec_d, .ladder = vrx_make_ladder(d_2)},
    {.threads_min = 2, .threads_max = 4, .ladder = vrx_make_ladder(other_2)},
    {.ladder = vrx_make_ladder(one_thread)},
};
}  // namespace

vrx_int vrx_tuning_getrf_block(const vrx_tuning_query& q) {
  if (q.opts != ' ') return option_width(q);
  if (q.cpu == VRX_CPU_AVX2) return avx2_width(q);
  return vrx_tuning_pick_row(other_cpu_rows, q, q.n3, q.n2, 1);
}
