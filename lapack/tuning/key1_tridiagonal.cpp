// Key 1 of the tridiagonal and band reductions of symmetric and Hermitian matrices:
// SYTRD, HETRD, SYRDB, HERDB. `n1` is the order, `n2` the thread count.
#include "lapack/tuning/tuning_query.h"
#include "lapack/tuning/key1_rules.h"
#include "service/vrx_types.h"

namespace {
bool upper(const vrx_tuning_query& q) { return q.opts == 'U'; }

// ---- SYTRD ----
constexpr vrx_ladder_step sytrd_d_threads[] = {vrx_up_to(1699, 12), vrx_rest(16)};
constexpr vrx_ladder_step sytrd_d_upper[] = {vrx_below(1550, 24), vrx_rest(32)};
constexpr vrx_ladder_step sytrd_d_lower[] = {vrx_below(1100, 24), vrx_rest(32)};
constexpr vrx_ladder_step sytrd_s[] = {vrx_below(1400, 20), vrx_rest(24)};
constexpr vrx_int sytrd_s_threads = 12;

// ---- HETRD ----
constexpr vrx_ladder_step hetrd_z_threads_upper[] = {vrx_below(1550, 12), vrx_rest(16)};
constexpr vrx_ladder_step hetrd_z_threads_lower[] = {vrx_below(1400, 12), vrx_rest(16)};
constexpr vrx_int hetrd_c_threads = 12;
constexpr vrx_ladder_step hetrd_z_upper[] = {vrx_below(400, 20), vrx_below(1000, 24), vrx_rest(32)};
constexpr vrx_ladder_step hetrd_z_lower[] = {vrx_below(400, 20), vrx_below(1000, 24), vrx_rest(40)};
constexpr vrx_ladder_step hetrd_c[] = {vrx_below(750, 24), vrx_rest(40)};

// ---- SYRDB: with eigenvectors ----
constexpr vrx_ladder_step syrdb_d_vectors[] = {vrx_below(4000, 64),   vrx_below(8000, 96),   vrx_below(12000, 128),
                                               vrx_below(16000, 160), vrx_below(20000, 192), vrx_rest(224)};
constexpr vrx_int syrdb_d_vectors_small = 512, syrdb_d_one_thread_small = 40;
constexpr vrx_ladder_step syrdb_s_vectors_few[] = {vrx_below(1024, 40),   vrx_below(6000, 128), vrx_below(12000, 192),
                                                   vrx_below(20000, 192), vrx_rest(224)};
constexpr vrx_ladder_step syrdb_s_vectors_many[] = {vrx_below(1024, 40),   vrx_below(6000, 96), vrx_below(12000, 128),
                                                    vrx_below(20000, 192), vrx_rest(224)};
constexpr vrx_int syrdb_s_many_threads = 5;
// ---- SYRDB: eigenvalues only, AVX and later, several threads ----
constexpr vrx_ladder_step syrdb_d_values[] = {vrx_below(4000, 24),  vrx_below(6000, 56), vrx_below(10000, 64),
                                              vrx_below(13000, 96), vrx_rest(128)};
constexpr vrx_ladder_step syrdb_d_values_avx2[] = {vrx_up_to(17, 96), vrx_up_to(35, 88), vrx_rest(72)};  // by threads
constexpr vrx_ladder_step syrdb_s_values[] = {vrx_below(5000, 48), vrx_below(10000, 64), vrx_below(13000, 96),
                                              vrx_rest(128)};
constexpr vrx_int syrdb_s_values_avx2 = 68, syrdb_s_avx2_threads = 36, syrdb_s_avx2_order = 12000;
constexpr vrx_int syrdb_d_avx2_threads = 6, syrdb_d_avx2_order = 10000;
constexpr vrx_ladder_step syrdb_values_stage[] = {vrx_below(15000, 64), vrx_rest(96)};  // n3 >= 1
// ---- SYRDB: eigenvalues only otherwise ----
constexpr vrx_ladder_step syrdb_d_values_threads[] = {vrx_below(2950, 40), vrx_rest(64)};
constexpr vrx_int syrdb_plain = 40;

// ---- HERDB ----
constexpr vrx_ladder_step herdb_c_old_one[] = {vrx_below(2350, 40), vrx_rest(64)};
constexpr vrx_ladder_step herdb_c_old_threads[] = {vrx_below(2800, 40), vrx_rest(64)};
constexpr vrx_int herdb_z_old = 40;
constexpr vrx_ladder_step herdb_vectors[] = {vrx_below(4000, 64),   vrx_below(8000, 96),   vrx_below(12000, 128),
                                             vrx_below(16000, 160), vrx_below(20000, 192), vrx_rest(224)};
constexpr vrx_ladder_step herdb_c_values[] = {vrx_below(4000, 24),  vrx_below(6000, 56), vrx_below(10000, 64),
                                              vrx_below(13000, 96), vrx_rest(128)};
constexpr vrx_ladder_step herdb_z_values[] = {vrx_below(4000, 48),  vrx_below(6000, 64),   vrx_below(8000, 88),
                                              vrx_below(11000, 96), vrx_below(13000, 104), vrx_rest(128)};

vrx_int syrdb_values(const vrx_tuning_query& q, bool is_d) {
  const vrx_int n = q.n1, t = q.n2;
  if (q.n3 >= 1) return vrx_ladder_pick(syrdb_values_stage, n);
  if (is_d) {
    if (q.cpu == VRX_CPU_AVX2 && t >= syrdb_d_avx2_threads && n >= syrdb_d_avx2_order)
      return vrx_ladder_pick(syrdb_d_values_avx2, t);
    return vrx_ladder_pick(syrdb_d_values, n);
  }
  if (q.cpu == VRX_CPU_AVX2 && t >= syrdb_s_avx2_threads && n >= syrdb_s_avx2_order) return syrdb_s_values_avx2;
  return vrx_ladder_pick(syrdb_s_values, n);
}
}  // namespace

vrx_int vrx_tuning_sytrd_block(const vrx_tuning_query& q) {
  const bool is_d = vrx_tuning_precision(q) == vrx_prec_d;
  if (q.n2 > 1) return is_d ? vrx_ladder_pick(sytrd_d_threads, q.n1) : sytrd_s_threads;
  if (!is_d) return vrx_ladder_pick(sytrd_s, q.n1);
  return vrx_ladder_choose(upper(q), sytrd_d_upper, sytrd_d_lower, q.n1);
}

vrx_int vrx_tuning_hetrd_block(const vrx_tuning_query& q) {
  const bool is_z = vrx_tuning_precision(q) == vrx_prec_z;
  if (q.n2 > 1) {
    if (!is_z) return hetrd_c_threads;
    return vrx_ladder_choose(upper(q), hetrd_z_threads_upper, hetrd_z_threads_lower, q.n1);
  }
  if (!is_z) return vrx_ladder_pick(hetrd_c, q.n1);
  return vrx_ladder_choose(upper(q), hetrd_z_upper, hetrd_z_lower, q.n1);
}

vrx_int vrx_tuning_syrdb_block(const vrx_tuning_query& q) {
  const bool is_d = vrx_tuning_precision(q) == vrx_prec_d;
  const vrx_int n = q.n1, t = q.n2;
  if (q.opts != 'N') {
    if (!is_d) return vrx_ladder_choose(t < syrdb_s_many_threads, syrdb_s_vectors_few, syrdb_s_vectors_many, n);
    if (n < syrdb_d_vectors_small && t == 1) return syrdb_d_one_thread_small;
    return vrx_ladder_pick(syrdb_d_vectors, n);
  }
  if (q.cpu >= VRX_CPU_AVX && t >= 2) return syrdb_values(q, is_d);
  if (is_d && t >= 2) return vrx_ladder_pick(syrdb_d_values_threads, n);
  return syrdb_plain;
}

vrx_int vrx_tuning_herdb_block(const vrx_tuning_query& q) {
  const bool is_z = vrx_tuning_precision(q) == vrx_prec_z;
  const vrx_int n = q.n1;
  if (q.cpu < VRX_CPU_AVX) {
    if (is_z) return herdb_z_old;
    return vrx_ladder_choose(q.n2 <= 1, herdb_c_old_one, herdb_c_old_threads, n);
  }
  if (q.opts != 'N') return vrx_ladder_pick(herdb_vectors, n);
  return vrx_ladder_choose(is_z, herdb_z_values, herdb_c_values, n);
}
