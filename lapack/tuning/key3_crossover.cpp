// Key 3, the crossover: the size below which the unblocked or sequential code runs.
#include <cmath>
#include "lapack/tuning/tuning_query.h"
#include "service/vrx_types.h"

namespace {
bool upper(const vrx_tuning_query& q) { return q.opts == 'U'; }
bool is(const vrx_tuning_query& q, unsigned precision) { return vrx_tuning_precision(q) == precision; }

constexpr vrx_int unknown_crossover = 0;
constexpr vrx_int ask_default = -1;  // n1 = -1: the crossover without an order

// ---- GETRF ----
constexpr vrx_int lu_crossover = 64, lu_eight_threads = 4000, lu_eight_from = 2801;

vrx_int getrf(const vrx_tuning_query& q) {
  if (q.n3 < 0 || !is(q, vrx_prec_d) || q.n3 != 8 || q.n2 < lu_eight_from) return lu_crossover;
  if (q.cpu == VRX_CPU_SSE2 && vrx_tuning_holds(vrx_need_amd_family10, q)) return lu_crossover;
  return lu_eight_threads;
}

// ---- GEQRF ----
constexpr vrx_ladder_step qr_recursive_double[] = {vrx_up_to(200, 128), vrx_up_to(400, 80), vrx_up_to(800, 56),
                                                   vrx_up_to(2000, 48), vrx_rest(40)};
constexpr vrx_ladder_step qr_recursive_single[] = {vrx_up_to(300, 128), vrx_up_to(400, 96), vrx_up_to(800, 80),
                                                   vrx_up_to(2000, 64), vrx_rest(48)};
constexpr vrx_int qr_plain = 128, qr_small = 8, qr_s_small_area = 256;
constexpr std::int64_t qr_narrow_to = 8, qr_tall_above = 4000, qr_s_area_to = 25000, qr_area_above = 12500;
constexpr vrx_int qr_threads_sum_below = 200;

vrx_int geqrf(const vrx_tuning_query& q) {
  if (q.opts == '2')
    return vrx_ladder_choose(vrx_tuning_precision(q) & (vrx_prec_d | vrx_prec_z), qr_recursive_double,
                             qr_recursive_single, q.n1);
  if (q.n3 >= 1) return q.n1 + q.n2 < qr_threads_sum_below ? q.n1 + q.n2 : 0;
  if (q.n2 <= qr_narrow_to) return qr_plain;
  const std::int64_t area = static_cast<std::int64_t>(q.n1) * q.n2;
  if (q.n1 > qr_tall_above) return qr_small;
  if (is(q, vrx_prec_s) && area <= qr_s_area_to) return qr_s_small_area;
  return area > qr_area_above ? qr_small : qr_plain;
}

// ---- symmetric and Hermitian reductions ----
vrx_int sytrd(const vrx_tuning_query& q) {
  if (q.n1 == ask_default) return 32;
  const bool several = q.n2 > 1;
  if (is(q, vrx_prec_d)) return several ? 500 : 200;
  return several ? 600 : 250;
}

vrx_int sytd2(const vrx_tuning_query& q) { return is(q, vrx_prec_d) ? 80 : 100; }

constexpr vrx_ladder_step hetrd_z_threads_upper[] = {vrx_below(1550, 150), vrx_rest(100)};
constexpr vrx_ladder_step hetrd_z_threads_lower[] = {vrx_below(1400, 150), vrx_rest(100)};
constexpr vrx_int hetrd_c_threads = 300;
constexpr vrx_ladder_step hetrd_c_one[] = {vrx_below(750, 150), vrx_rest(200)};
constexpr vrx_ladder_step hetrd_z_one_upper[] = {vrx_below(400, 50), vrx_below(1000, 100), vrx_rest(150)};
constexpr vrx_ladder_step hetrd_z_one_lower[] = {vrx_below(400, 50), vrx_below(1000, 100), vrx_rest(100)};

vrx_int hetrd(const vrx_tuning_query& q) {
  if (q.n1 == ask_default) return 32;
  const bool z = is(q, vrx_prec_z);
  if (q.n2 > 1) {
    if (!z) return hetrd_c_threads;
    return vrx_ladder_choose(upper(q), hetrd_z_threads_upper, hetrd_z_threads_lower, q.n1);
  }
  if (!z) return vrx_ladder_pick(hetrd_c_one, q.n1);
  return vrx_ladder_choose(upper(q), hetrd_z_one_upper, hetrd_z_one_lower, q.n1);
}

constexpr vrx_ladder_step hetd2_z_upper[] = {vrx_below(1550, 60), vrx_rest(80)};
constexpr vrx_ladder_step hetd2_z_lower[] = {vrx_below(1400, 60), vrx_rest(80)};
vrx_int hetd2(const vrx_tuning_query& q) {
  if (!is(q, vrx_prec_z)) return 60;
  return vrx_ladder_choose(upper(q), hetd2_z_upper, hetd2_z_lower, q.n1);
}

// ---- band-reduction crossovers of the eigenvalue drivers; n2 is the thread count ----
// The integer part of factor * sqrt(scale * t) - shift, the factor in single precision.
vrx_int thread_curve(float factor, double scale, double shift, vrx_int t) {
  return static_cast<vrx_int>(static_cast<double>(factor) * std::sqrt(scale * static_cast<double>(t)) - shift);
}
vrx_int curve_d(vrx_int t) { return t <= 1 ? 1100 : thread_curve(0.6f, 4000000.0, 500.0, t); }
vrx_int curve_s(vrx_int t) { return t <= 1 ? 1562 : thread_curve(0.6f, 8000000.0, 700.0, t); }
vrx_int curve_z(vrx_int t) { return t <= 1 ? 781 : thread_curve(0.3f, 8000000.0, 350.0, t); }

constexpr vrx_ladder_step syev_d_big[] = {vrx_below(13, 1600), vrx_below(19, 3600), vrx_rest(4600)};  // by threads
constexpr vrx_ladder_step syev_s_big[] = {vrx_below(13, 3600), vrx_below(19, 4600), vrx_rest(5600)};  // by threads
constexpr vrx_int syev_d_vectors = 7800, syev_s_vectors = 12000, syev_d_avx2 = 1600, syev_s_avx2 = 3600;

vrx_int syev(const vrx_tuning_query& q) {
  const bool d = is(q, vrx_prec_d);
  if (q.opts != 'N') return d ? syev_d_vectors : syev_s_vectors;
  if (q.cpu == VRX_CPU_AVX2) return d ? syev_d_avx2 : syev_s_avx2;
  if (q.cpu == VRX_CPU_AVX && vrx_tuning_holds(vrx_need_cores_9, q))
    return vrx_ladder_choose(d, syev_d_big, syev_s_big, q.n2);
  return d ? curve_d(q.n2) : curve_s(q.n2);
}

constexpr vrx_int heev_vectors = 1000000;
vrx_int heev(const vrx_tuning_query& q) {
  if (q.opts != 'N') return heev_vectors;
  return is(q, vrx_prec_c) ? curve_d(q.n2) : curve_z(q.n2);
}

vrx_int syevr(const vrx_tuning_query& q) { return q.opts == 'N' ? 6144 : 100000; }

// ---- the rest ----
vrx_int rotations(const vrx_tuning_query& q) { return q.n1 == 2 ? 230 : 210; }
vrx_int labrd(const vrx_tuning_query& q) { return vrx_tuning_precision(q) & vrx_prec_real ? 250 : 32; }
vrx_int laeh2(const vrx_tuning_query& q) { return is(q, vrx_prec_d) ? 512 : 1024; }

constexpr vrx_ladder_step dttrs_old[] = {vrx_below(500, 3000), vrx_below(5000, 1000), vrx_below(50000, 300),
                                         vrx_rest(100)};
constexpr vrx_ladder_step dttrs_new[] = {vrx_below(300, 60), vrx_below(700, 30), vrx_rest(10)};
vrx_int dttrs(const vrx_tuning_query& q) {
  return vrx_ladder_choose(q.cpu < VRX_CPU_SSE42, dttrs_old, dttrs_new, q.n1);
}

constexpr vrx_tuning_entry crossover_table[] = {
    {"GETRF", 0, getrf},
    {"GEQRF", 0, geqrf},
    {"GERQF", 32, nullptr},
    {"GELQF", 32, nullptr},
    {"GEQLF", 32, nullptr},
    {"GEHRD", 32, nullptr},
    {"GEBRD", 32, nullptr},
    {"POTRF", 128, nullptr},
    {"SYTRD", 0, sytrd, vrx_prec_real},
    {"SYTD2", 0, sytd2, vrx_prec_real},
    {"SYTRF", 100, nullptr},
    {"SYEV ", 0, syev, vrx_prec_real},
    {"SYEVR", 0, syevr, vrx_prec_real},
    {"HETRD", 0, hetrd, vrx_prec_complex},
    {"HETD2", 0, hetd2, vrx_prec_complex},
    {"HEEV ", 0, heev, vrx_prec_complex},
    {"ORG**", 32, nullptr, vrx_prec_real},
    {"UNG**", 32, nullptr, vrx_prec_complex},
    {"ORM**", 32, nullptr, vrx_prec_real},
    {"UNM**", 32, nullptr, vrx_prec_complex},
    {"STEQR", 0, rotations},
    {"BDSQR", 0, rotations},
    {"LATRD", 100000, nullptr},
    {"LABRD", 0, labrd},
    {"LASET", 100, nullptr},
    {"LAEH2", 0, laeh2},
    {"DTTRS", 0, dttrs},
};
}  // namespace

vrx_int vrx_tuning_crossover(const vrx_tuning_query& q) {
  return vrx_tuning_lookup(crossover_table, q, unknown_crossover);
}
