// The QR team path. In this process: the block tables at their edges, the plan's team
// layout and workspace, the query, the shapes that go to the sequential routine, and
// factorisations in S, D, C and Z with several teams, one team, teams of one and a
// region that can't fork, on panels of one block and of several, with the block width
// lowered through the path's seam so that small matrices have several panels.
// In child processes: a progress hook that stops the teams, and buffers that can't be
// allocated.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lapack/geqrf_check.h"
#include "lapack/geqrf_team_keys.h"
#include "lapack/qr/vrx_geqrf_team.h"
#include "support/child_process.h"

namespace {
// ---- the plan as data ----
struct block_row {
  vrx_int m;
  int threads;
  vrx_int b;
};
const block_row block_rows[] = {
    {2999, 16, 48},   {2999, 27, 48},   {2999, 28, 32},   {3000, 16, 96},   {4999, 28, 96},   {5000, 16, 144},
    {10999, 64, 144}, {11000, 16, 192}, {50000, 27, 192},
    // exactly 22 and 44 threads
    {2999, 22, 32},   {3000, 22, 80},   {4999, 44, 80},   {5000, 44, 112},  {6999, 22, 112},  {7000, 22, 144},
    {8999, 44, 144},  {9000, 44, 176},  {12999, 22, 176}, {13000, 22, 240}, {13000, 44, 240},
    // neighbours of 22 and 44 use the general table
    {3000, 21, 96},   {13000, 23, 192}, {13000, 43, 192}, {13000, 45, 192},
};

TEST(GeqrfTeamPlan, BlockTableAtItsEdges) {
  for (const block_row& r : block_rows)
    EXPECT_EQ(vrx_lapack_geqrf_team_block(r.m, r.threads), r.b) << r.m << " rows, " << r.threads << " threads";
}

TEST(GeqrfTeamPlan, TeamsSubBlocksAndWorkspace) {
  // ILAENV: D on 16 threads teams of 2 (key 20), ib 16 below 4000 rows (key 1 of LAQRF, n3 = 2).
  vrx_geqrf_team_plan p = vrx_lapack_geqrf_team_plan<double>(2000, 2000, 16);
  EXPECT_EQ(p.b, 48);
  EXPECT_EQ(p.ib, 16);
  EXPECT_EQ(p.ldt, 48 * 4);
  EXPECT_EQ(p.team_size, 2);
  EXPECT_EQ(p.teams, 8);
  EXPECT_EQ(p.lwork, 192 * 2000 + 192 * 8 * 48);
  EXPECT_TRUE(p.runs);
  // D below 16 threads: teams of one; Z teams of 4; ib 32 from 4000 rows.
  p = vrx_lapack_geqrf_team_plan<double>(4000, 3000, 15);
  EXPECT_EQ(p.team_size, 1);
  EXPECT_EQ(p.teams, 15);
  EXPECT_EQ(p.ib, 32);
  EXPECT_EQ(p.ldt, 96 * 4);
  p = vrx_lapack_geqrf_team_plan<vrx_complex_double>(2000, 2000, 22);
  EXPECT_EQ(p.team_size, 4);
  EXPECT_EQ(p.teams, 5);
  EXPECT_EQ(p.ib, 32);
  EXPECT_EQ(p.ldt, 32 * 2);
  // Fewer threads than a team: teams of one.
  p = vrx_lapack_geqrf_team_plan<vrx_complex_float>(2000, 2000, 3);
  EXPECT_EQ(p.team_size, 1);
  EXPECT_EQ(p.teams, 3);
  {
    vrx_test_qr_team_tuned tuned({0, 40, 0, 0});  // capped at 18
    p = vrx_lapack_geqrf_team_plan<double>(2000, 2000, 44);
    EXPECT_EQ(p.team_size, 18);
    EXPECT_EQ(p.teams, 2);
  }
  // The workspace is at least n.
  EXPECT_EQ(vrx_lapack_geqrf_team_plan<double>(1, 100000, 2).lwork, 100000);
}

TEST(GeqrfTeamPlan, ShapesForTheSequentialRoutine) {
  EXPECT_FALSE(vrx_lapack_geqrf_team_plan<double>(2000, 2001, 16).runs);  // n > m
  EXPECT_FALSE(vrx_lapack_geqrf_team_plan<double>(3000, 3000, 1).runs);   // one thread
  EXPECT_FALSE(vrx_lapack_geqrf_team_plan<double>(2000, 48, 16).runs);    // b = k
  EXPECT_TRUE(vrx_lapack_geqrf_team_plan<double>(2000, 49, 16).runs);
  EXPECT_TRUE(vrx_lapack_geqrf_team_plan<float>(2001, 2001, 2).runs);
}

// ---- factorisations ----
template <typename T>
class GeqrfTeam : public testing::Test {};
using element_types = testing::Types<float, double, vrx_complex_float, vrx_complex_double>;
TYPED_TEST_SUITE(GeqrfTeam, element_types);

struct team_case {
  const char* name;
  vrx_int m, n;
  vrx_test_qr_team_answers answers;
  int t;
  int teams, size;  // the region's layout
};

template <typename T>
struct outcome {
  vrx_int info;
  vrx_geqrf_team_trace trace;
  vrx_test_qr_ratios ratios;
  bool work_one_kept;  // work(1), which the teams' factors pass through, as the caller left it
  std::vector<T> tau;
};

// What the matrix looks like besides its random entries.
struct matrix_kind {
  bool nested;          // called from inside a region, where it can't fork
  double scale;         // every entry multiplied by it
  vrx_int zero_column;  // a column of zeros (from 0), or -1
};

template <typename T>
outcome<T> factor(const team_case& c, matrix_kind kind = {false, 1, -1}) {
  const vrx_int lda = c.m + 3;
  std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, static_cast<uint64_t>(c.m + 7 * c.n));
  for (vrx_int j = 0; j < c.n; ++j)
    for (vrx_int i = 0; i < c.m; ++i)
      a[j * lda + i] = j == kind.zero_column ? T{} : vrx_traits<T>::scale(static_cast<vrx_real_t<T>>(kind.scale), a[j * lda + i]);
  std::vector<T> qr = a, tau(static_cast<std::size_t>(c.n));
  outcome<T> out = {-99, {}, {}, false, {}};
  {
    vrx_test_qr_team_tuned tuned(c.answers);
    // The queried workspace: the factors of the panels live in it.
    T size{};
    vrx_lapack_geqrf_team<T>(c.m, c.n, qr.data(), lda, tau.data(), &size, -1, &out.info, c.t);
    const vrx_int lwork = static_cast<vrx_int>(vrx_traits<T>::real_part(size));
    std::vector<T> work(static_cast<std::size_t>(lwork));
    work[0] = vrx_traits<T>::make(99, 0);
    const auto run = [&] {
      vrx_lapack_geqrf_team<T>(c.m, c.n, qr.data(), lda, tau.data(), work.data(), lwork, &out.info, c.t);
      out.work_one_kept = work[0] == vrx_traits<T>::make(99, 0);
      out.trace = *vrx_lapack_geqrf_team_trace();
    };
    if (kind.nested) {
#pragma omp parallel num_threads(2)
      {
#pragma omp master
        run();
      }
    } else {
      run();
    }
  }
  out.ratios = vrx_test_qr_check(c.m, c.n, a, qr, lda, tau);
  out.tau = tau;
  return out;
}

// Answers {b, team size, panel block, sub-block}; 0 leaves the table's or ILAENV's. The
// panel is one block below 351 rows unless a panel block is chosen.
const team_case layouts[] = {
    {"2 teams of 2, sub-blocks of 4", 150, 70, {16, 2, 0, 4}, 4, 2, 2},
    {"1 team of 3, blocks of 8 in the panel", 120, 50, {16, 3, 8, 0}, 3, 1, 3},
    // The last panel has 46 rows: members own one unit of 16 rows each, so diagonals and
    // sub-blocks of 3 reflectors straddle their borders.
    {"members' rows shorter than a panel", 70, 70, {24, 3, 0, 3}, 3, 1, 3},
};
const team_case more_layouts[] = {
    {"2 teams of 1", 150, 70, {16, 1, 0, 0}, 2, 2, 1},
    {"teams of 3 on 7 threads, blocks of 5, sub-blocks of 3", 200, 90, {24, 3, 5, 3}, 7, 2, 3},
    {"the table's block of 48", 300, 120, {0, 2, 0, 0}, 4, 2, 2},
};

template <typename T>
void expect_factored(const team_case& c) {
  SCOPED_TRACE(c.name);
  const outcome<T> o = factor<T>(c);
  EXPECT_EQ(o.info, 0);
  EXPECT_LT(o.ratios.residual, 30);
  EXPECT_LT(o.ratios.orthogonality, 30);
  EXPECT_TRUE(o.ratios.padding);
  EXPECT_TRUE(o.work_one_kept);
  EXPECT_EQ(o.trace.path, VRX_GEQRF_TEAM_RAN);
  EXPECT_EQ(o.trace.teams, c.teams);
  EXPECT_EQ(o.trace.team_size, c.size);
  EXPECT_EQ(o.trace.region_threads, c.teams * c.size);
  EXPECT_EQ(o.trace.panels, (c.n - 1) / o.trace.b);
}

TYPED_TEST(GeqrfTeam, LayoutsFactorWithSmallResiduals) {
  for (const team_case& c : layouts) expect_factored<TypeParam>(c);
}

TEST(GeqrfTeamLayouts, MoreTeamShapes) {
  for (const team_case& c : more_layouts) expect_factored<double>(c);
  expect_factored<vrx_complex_float>(more_layouts[1]);
}

TEST(GeqrfTeamLayouts, ARegionThatCannotForkIsOneTeamOfOne) {
  const team_case c = {"nested", 150, 70, {16, 2, 0, 0}, 4, 1, 1};
  const outcome<double> o = factor<double>(c, {true, 1, -1});
  EXPECT_EQ(o.info, 0);
  EXPECT_TRUE(o.ratios.good());
  EXPECT_EQ(o.trace.region_threads, 1);
  EXPECT_EQ(o.trace.teams, 1);
  EXPECT_EQ(o.trace.team_size, 1);
}

// Entries near the underflow threshold: every reflector's beta is below the safe minimum
// over eps and is rescaled; a zero column gives the identity (tau exactly 0).
TYPED_TEST(GeqrfTeam, TinyEntriesAndAZeroColumn) {
  const double tiny = sizeof(vrx_real_t<TypeParam>) == 4 ? 1e-33 : 1e-300;
  const team_case c = {"tiny", 150, 70, {16, 2, 0, 4}, 4, 2, 2};
  const outcome<TypeParam> o = factor<TypeParam>(c, {false, tiny, 20});
  EXPECT_EQ(o.info, 0);
  EXPECT_EQ(o.trace.path, VRX_GEQRF_TEAM_RAN);
  EXPECT_TRUE(o.ratios.good()) << o.ratios.residual << " " << o.ratios.orthogonality;
  EXPECT_EQ(o.tau[20], TypeParam{});
  EXPECT_NE(o.tau[21], TypeParam{});
}

TYPED_TEST(GeqrfTeam, WideMatricesGoToTheSequentialRoutine) {
  const team_case c = {"n > m", 60, 90, {16, 2, 0, 0}, 4, 0, 0};
  const outcome<TypeParam> o = factor<TypeParam>(c);
  EXPECT_EQ(o.info, 0);
  EXPECT_TRUE(o.ratios.good());
  EXPECT_EQ(o.trace.path, VRX_GEQRF_TEAM_SEQUENTIAL);
}

TEST(GeqrfTeamQuery, FillsWorkOneOnly) {
  const vrx_int m = 3000, n = 2500, lda = 3000;
  std::vector<double> a(4, 5.0), tau(4, 6.0), work(4, 7.0);
  vrx_int info = -99;
  vrx_lapack_geqrf_team<double>(m, n, a.data(), lda, tau.data(), work.data(), -1, &info, 16);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(work[0], 96 * 7 * 2500 + 96 * 7 * 8 * 96);  // ldt k + ldt teams b, ib 16
  EXPECT_EQ(work[1], 7.0);
  EXPECT_EQ(a, std::vector<double>(4, 5.0));
  EXPECT_EQ(tau, std::vector<double>(4, 6.0));
  EXPECT_EQ(vrx_lapack_geqrf_team_trace()->path, VRX_GEQRF_TEAM_QUERY);
}

// ---- child processes ----
TEST(GeqrfTeamChild, HookStopsTheTeams) {
  // Blocks of 16: panel 1 ends at 16 columns, panel 2 at 32; the last block column at n.
  const vrx_child_result r = vrx_test_run(vrx_test_driver("geqrf_team_driver"),
                                          {"stop", "D", "100", "70", "16", "2", "4", "16", "stop", "Z", "100", "70",
                                           "16", "2", "4", "32", "stop", "S", "100", "70", "16", "1", "2", "70"},
                                          {{"VRX_DISABLE_FAST_MM", "1"}});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output,
            "D stop at 16: info -1002 held 0\nZ stop at 32: info -1002 held 0\nS stop at 70: info -1002 held 0\n"
            "ok\n");
}

TEST(GeqrfTeamChild, RefusedBuffersFallBackToTheSequentialRoutine) {
  const vrx_child_result r =
      vrx_test_run(vrx_test_driver("geqrf_team_driver"), {"refused", "DC", "100", "70", "16", "2", "4"});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output,
            "D refused 100x70: path 2 fallback 1 info 0 same as sequential\n"
            "C refused 100x70: path 2 fallback 1 info 0 same as sequential\nok\n");
}
}  // namespace
