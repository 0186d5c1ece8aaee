// The plan of the QR team path: the block width by rows and thread count, as data, and
// the sub-block, team layout and workspace that follow from it and the tuning query.
#include "lapack/qr/vrx_geqrf_team.h"
#include "lapack/tuning/tuning_query.h"

namespace {
constexpr vrx_ladder_step blocks_few_threads[] = {vrx_below(3000, 48), vrx_below(5000, 96), vrx_below(11000, 144),
                                                  vrx_rest(192)};
constexpr vrx_ladder_step blocks_many_threads[] = {vrx_below(3000, 32), vrx_below(5000, 96), vrx_below(11000, 144),
                                                   vrx_rest(192)};
constexpr int many_threads = 28;
// Exactly 22 and 44 threads.
constexpr vrx_ladder_step blocks_22_44[] = {vrx_below(3000, 32),  vrx_below(5000, 80),  vrx_below(7000, 112),
                                            vrx_below(9000, 144), vrx_below(13000, 176), vrx_rest(240)};
}  // namespace

vrx_int vrx_lapack_geqrf_team_block_seam = 0;

vrx_int vrx_lapack_geqrf_team_block(vrx_int m, int threads) {
  if (threads == 22 || threads == 44) return vrx_ladder_pick(blocks_22_44, m);
  return vrx_ladder_choose(threads < many_threads, blocks_few_threads, blocks_many_threads, m);
}

template <typename T>
vrx_geqrf_team_plan vrx_lapack_geqrf_team_plan(vrx_int m, vrx_int n, int threads) {
  if (threads < 1) threads = 1;
  vrx_geqrf_team_plan plan{};
  plan.b = vrx_lapack_geqrf_team_block_seam > 0 ? vrx_lapack_geqrf_team_block_seam
                                                : vrx_lapack_geqrf_team_block(m, threads);
  plan.ib = vrx_lapack_ilaenv<T>(1, "LAQRF", " ", m, n, 2, -1);
  if (plan.ib < 1) plan.ib = 1;
  plan.ldt = plan.b * (plan.b / plan.ib + 1);
  vrx_int size = vrx_lapack_ilaenv<T>(20, "GEQRF", " ", m, n, threads, -1);
  if (size > vrx_geqrf_team_max_size) size = vrx_geqrf_team_max_size;
  if (size < 1 || threads < size) size = 1;
  plan.team_size = size;
  plan.teams = static_cast<int>(threads / size);
  const vrx_int k = m < n ? m : n;
  const vrx_int lwork = plan.ldt * k + plan.ldt * plan.teams * plan.b;
  plan.lwork = lwork > n ? lwork : n;
  plan.runs = plan.b >= 2 && threads >= 2 && plan.b < k && n <= m;
  return plan;
}

template vrx_geqrf_team_plan vrx_lapack_geqrf_team_plan<float>(vrx_int, vrx_int, int);
template vrx_geqrf_team_plan vrx_lapack_geqrf_team_plan<double>(vrx_int, vrx_int, int);
template vrx_geqrf_team_plan vrx_lapack_geqrf_team_plan<vrx_complex_float>(vrx_int, vrx_int, int);
template vrx_geqrf_team_plan vrx_lapack_geqrf_team_plan<vrx_complex_double>(vrx_int, vrx_int, int);
