// Key 1 of solves, band and packed routines: kept for callers outside this library.
#include "lapack/tuning/key1_rules.h"

namespace {
vrx_int smaller(vrx_int a, vrx_int b) { return a < b ? a : b; }
bool single(const vrx_tuning_query& q) { return (vrx_tuning_precision(q) & vrx_prec_single) != 0; }

constexpr vrx_ladder_step solve_by_order[] = {vrx_below(2500, 64), vrx_below(5000, 32), vrx_rest(16)};
constexpr vrx_int band_from = 65, band_block = 32;
constexpr vrx_ladder_step band_solve[] = {vrx_up_to(4000, 128), vrx_rest(64)};
constexpr vrx_int packed_real = 128, packed_complex = 64;
constexpr vrx_int pptrs_many = 200, pptrs_plain = 48;
constexpr vrx_int tptrs_double = 256, tptrs_single = 512;
constexpr vrx_ladder_step packed_factor[] = {vrx_up_to(1000, 64), vrx_rest(128)};
}  // namespace

// GETRS, SYTRS, HETRS: doubled for S, halved for Z.
vrx_int vrx_tuning_solve_block(const vrx_tuning_query& q) {
  const vrx_int nb = vrx_ladder_pick(solve_by_order, q.n1);
  switch (vrx_tuning_precision(q)) {
    case vrx_prec_s: return 2 * nb;
    case vrx_prec_z: return nb / 2;
    default: return nb;
  }
}

vrx_int vrx_tuning_gbtrf_block(const vrx_tuning_query& q) { return q.n4 < band_from ? 1 : band_block; }
vrx_int vrx_tuning_pbtrf_block(const vrx_tuning_query& q) { return q.n2 < band_from ? 1 : band_block; }

// GBTRS, PBTRS, TBTRS: bounded by n2 rounded up to a multiple of 4.
vrx_int vrx_tuning_band_solve_block(const vrx_tuning_query& q) {
  vrx_int bound = (q.n2 + 3) / 4 * 4;
  if (bound < 4) bound = 4;
  return smaller(vrx_ladder_pick(band_solve, q.n1), bound);
}

vrx_int vrx_tuning_pptrf_block(const vrx_tuning_query& q) {
  const vrx_int nb = smaller(vrx_tuning_precision(q) & vrx_prec_real ? packed_real : packed_complex, q.n1);
  return nb < 1 ? 1 : nb;
}

vrx_int vrx_tuning_pptrs_block(const vrx_tuning_query& q) { return q.opts == 'M' ? pptrs_many : pptrs_plain; }

vrx_int vrx_tuning_tptrs_block(const vrx_tuning_query& q) {
  return smaller(q.n1, single(q) ? tptrs_single : tptrs_double);
}

// PTTRS, GTTRS: all right-hand sides at once.
vrx_int vrx_tuning_right_sides_block(const vrx_tuning_query& q) { return q.n2; }

// SPTRF, HPTRF: doubled for S and C.
vrx_int vrx_tuning_packed_factor_block(const vrx_tuning_query& q) {
  const vrx_int nb = vrx_ladder_pick(packed_factor, q.n1);
  return single(q) ? 2 * nb : nb;
}
