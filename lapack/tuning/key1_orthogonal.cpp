// Key 1 of generating and applying orthogonal and unitary factors (ORG**, UNG**, ORM**):
// m = n1, n = n2, k = n3.
#include "lapack/tuning/key1_rules.h"
#include "service/vrx_types.h"

namespace {
constexpr vrx_int narrow = 64, medium = 128;
constexpr vrx_int org_narrow = 16;
constexpr vrx_ladder_step org_by_area[] = {vrx_below(256000, 32), vrx_below(1500000, 64), vrx_rest(128)};
constexpr vrx_int org_many_reflectors = 10000, org_d_eight_cores = 256;

constexpr vrx_int ung_plain = 32;
constexpr vrx_ladder_step ung_by_reflectors[] = {vrx_up_to(500, 32),   vrx_up_to(2000, 64), vrx_up_to(5000, 128),
                                                 vrx_up_to(10000, 192), vrx_rest(240)};

constexpr vrx_int orm_narrow = 8, orm_medium = 16;
constexpr vrx_ladder_step orm_by_area[] = {vrx_below(1000000, 32), vrx_below(35000000, 64), vrx_rest(128)};

bool at_most(const vrx_tuning_query& q, vrx_int size) { return q.n1 <= size || q.n2 <= size; }
std::int64_t area(const vrx_tuning_query& q) { return static_cast<std::int64_t>(q.n1) * q.n2; }

bool eight_cores_avx(const vrx_tuning_query& q) {
  return q.cpu == VRX_CPU_AVX && vrx_tuning_holds(vrx_need_cores_8, q);
}
}  // namespace

vrx_int vrx_tuning_org_block(const vrx_tuning_query& q) {
  if (at_most(q, narrow)) return org_narrow;
  if (vrx_tuning_precision(q) == vrx_prec_d && q.n3 >= org_many_reflectors && eight_cores_avx(q))
    return org_d_eight_cores;
  return vrx_ladder_pick(org_by_area, area(q));
}

vrx_int vrx_tuning_ung_block(const vrx_tuning_query& q) {
  const bool wide_machine =
      eight_cores_avx(q) || (q.cpu == VRX_CPU_SSE42 && vrx_tuning_holds(vrx_need_cores_9, q));
  return wide_machine ? vrx_ladder_pick(ung_by_reflectors, q.n3) : ung_plain;
}

vrx_int vrx_tuning_orm_block(const vrx_tuning_query& q) {
  if (at_most(q, narrow)) return orm_narrow;
  if (at_most(q, medium)) return orm_medium;
  return vrx_ladder_pick(orm_by_area, area(q));
}
