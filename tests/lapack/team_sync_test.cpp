// The thread teams' synchronisation under real threads, the even splits, and the strict
// scheduler of the LU team path driven by random interleavings of simulated teams.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "lapack/sched/vrx_strict_queue.h"
#include "lapack/sched/vrx_team_sync.h"

namespace {
// Each round every member writes its slot, meets the others, then checks that every
// slot of the round is visible. `meet(rank, call)` is the barrier under test; `call`
// counts the meetings.
template <typename Meet>
int rounds_with_visible_writes(int size, int rounds, Meet meet) {
  std::vector<std::int64_t> slots(static_cast<std::size_t>(size), -1);
  std::atomic<int> wrong{0};
  std::vector<std::thread> members;
  for (int rank = 0; rank < size; ++rank)
    members.emplace_back([&, rank] {
      for (int round = 0; round < rounds; ++round) {
        __atomic_store_n(&slots[rank], std::int64_t{round} * 1000 + rank, __ATOMIC_RELAXED);
        meet(rank, 2 * round);
        for (int other = 0; other < size; ++other)
          if (__atomic_load_n(&slots[other], __ATOMIC_RELAXED) != std::int64_t{round} * 1000 + other) ++wrong;
        meet(rank, 2 * round + 1);  // nobody writes the next round before all have checked
      }
    });
  for (std::thread& member : members) member.join();
  return wrong.load();
}

TEST(TeamFlagBarrier, EveryRoundsWritesAreVisibleAfterIt) {
  for (int size : {2, 3}) {
    vrx_lapack_panel_team team;
    vrx_lapack_panel_team_clear(&team, size);
    // The panel's named phases 1, 2, 0 in turn, with steps between them.
    const int wrong = rounds_with_visible_writes(size, 400, [&](int rank, int call) {
      if (call % 4 == 3)
        vrx_lapack_team_flag_step(&team, rank, size);
      else
        vrx_lapack_team_flag_barrier(&team, rank, size, (call % 4 + 1) % 3);
    });
    EXPECT_EQ(wrong, 0) << "size " << size;
    for (int i = 0; i < size; ++i) EXPECT_EQ(team.flags[i], -1.0);
  }
}

TEST(TeamSpinBarrier, EveryRoundsWritesAreVisibleAfterIt) {
  for (int size : {2, 4}) {
    vrx_serv_spin_barrier barrier;
    vrx_serv_spin_barrier_reset(&barrier);
    const int wrong = rounds_with_visible_writes(
        size, 400, [&](int rank, int) { vrx_serv_spin_barrier_wait(&barrier, rank, size); });
    EXPECT_EQ(wrong, 0) << "size " << size;
  }
}

TEST(TeamBarriers, ATeamOfOneDoesNotWait) {
  vrx_lapack_panel_team team;
  vrx_lapack_panel_team_clear(&team, 1);
  vrx_lapack_team_flag_barrier(&team, 0, 1, 1);
  vrx_lapack_team_flag_step(&team, 0, 1);
  vrx_serv_spin_barrier barrier;
  vrx_serv_spin_barrier_reset(&barrier);
  vrx_serv_spin_barrier_wait(&barrier, 0, 1);
  EXPECT_EQ(team.phase, 3);
}

TEST(TeamSplit, EvenPartsWithTheRemainderFirst) {
  struct row {
    vrx_int n;
    int parts;
    std::vector<vrx_int> firsts, counts;
  };
  const row rows[] = {
      {10, 4, {0, 3, 6, 8}, {3, 3, 2, 2}},
      {3, 4, {0, 1, 2, 3}, {1, 1, 1, 0}},
      {0, 2, {0, 0}, {0, 0}},
      {7, 1, {0}, {7}},
  };
  for (const row& r : rows)
    for (int i = 0; i < r.parts; ++i) {
      vrx_int first = -1, count = -1;
      vrx_lapack_split(r.n, r.parts, i, &first, &count);
      EXPECT_EQ(first, r.firsts[i]) << r.n << " in " << r.parts << ", part " << i;
      EXPECT_EQ(count, r.counts[i]) << r.n << " in " << r.parts << ", part " << i;
    }
}

TEST(TeamSplit, UnitsKeepBoundariesOnMultiples) {
  // 100 rows in units of 16: 7 units dealt 3, 2, 2; the last unit is short.
  const vrx_int firsts[] = {0, 48, 80}, counts[] = {48, 32, 20};
  for (int i = 0; i < 3; ++i) {
    vrx_int first = -1, count = -1;
    vrx_lapack_split_units(100, 16, 3, i, &first, &count);
    EXPECT_EQ(first, firsts[i]);
    EXPECT_EQ(count, counts[i]);
  }
  vrx_int first = -1, count = -1;
  vrx_lapack_split_units(20, 16, 3, 2, &first, &count);
  EXPECT_EQ(first, 20);
  EXPECT_EQ(count, 0);
}

TEST(TeamPlace, LeftOverThreadsJoinTheLastTeam) {
  struct row {
    int thread, threads, team_size;
    vrx_lapack_team_place expected;
  };
  const row rows[] = {
      {4, 5, 2, {2, 1, 2, 3}}, {1, 5, 2, {2, 0, 1, 2}}, {8, 9, 4, {2, 1, 4, 5}},
      {2, 3, 4, {1, 0, 2, 3}}, {0, 1, 2, {1, 0, 0, 1}}, {3, 4, 1, {4, 3, 0, 1}},
  };
  for (const row& r : rows) {
    const vrx_lapack_team_place p = vrx_lapack_team_place_of(r.thread, r.threads, r.team_size);
    EXPECT_EQ(p.teams, r.expected.teams) << r.thread << " of " << r.threads;
    EXPECT_EQ(p.team, r.expected.team) << r.thread << " of " << r.threads;
    EXPECT_EQ(p.rank, r.expected.rank) << r.thread << " of " << r.threads;
    EXPECT_EQ(p.size, r.expected.size) << r.thread << " of " << r.threads;
  }
}

// ---- the strict scheduler, simulated ----
struct simulated_team {
  vrx_lapack_task task{VRX_TASK_NONE, 0, 0, 0, 0};
  bool running = false;
};

struct strict_case {
  vrx_int nblk, npan, depth;
  int teams;
};

// Runs teams that finish their tasks at random moments until every team has -1, and
// checks every task against what has really finished when it is handed out.
void simulate(const strict_case& c, unsigned seed) {
  SCOPED_TRACE(testing::Message() << "nblk " << c.nblk << " npan " << c.npan << " depth " << c.depth << " teams "
                                  << c.teams << " seed " << seed);
  std::vector<vrx_int> state(vrx_lapack_strict_bytes(c.nblk) / sizeof(vrx_int));
  vrx_lapack_strict_init(state.data(), c.nblk, c.npan, c.depth);
  std::vector<vrx_int> applied(c.nblk + 1, 0);  // finished panels per column (column 1 is panel 1)
  std::vector<int> factored(c.nblk + 2, 0), handed(c.nblk + 1, 0);
  std::vector<int> updates_done(c.nblk + 1, 0);
  factored[1] = 1;
  applied[1] = 1;
  std::vector<simulated_team> teams(c.teams);
  std::mt19937 random(seed);
  vrx_int last_p = 0, last_c = 0;
  int finished_teams = 0, kind_none = 0;
  for (int step = 0; step < 200000 && finished_teams < c.teams; ++step) {
    simulated_team& t = teams[random() % c.teams];
    if (t.task.kind == VRX_TASK_FINISHED) continue;
    if (t.running) {
      if (random() % 3 != 0) continue;  // still working
      const vrx_int p = t.task.first_panel, col = t.task.first_col;
      applied[col] = p;
      ++updates_done[p];
      ++*vrx_lapack_strict_finished(state.data(), p);
      if (t.task.kind == VRX_TASK_PANEL) factored[col] = 1;
      t.running = false;
    }
    vrx_lapack_strict_fetch(state.data(), &t.task);
    const vrx_lapack_task& k = t.task;
    if (k.kind == VRX_TASK_FINISHED) {
      ++finished_teams;
      continue;
    }
    if (k.kind == VRX_TASK_NONE) {
      ++kind_none;
      continue;
    }
    ASSERT_EQ(k.first_panel, k.last_panel);
    ASSERT_EQ(k.first_col, k.last_col);
    const vrx_int p = k.first_panel, col = k.first_col;
    // Right-looking order: (p, col) after every task handed before it.
    ASSERT_TRUE(p > last_p || (p == last_p && col > last_c)) << p << "," << col << " after " << last_p << "," << last_c;
    last_p = p;
    last_c = col;
    ASSERT_GT(col, p);
    ASSERT_LE(col, c.nblk);
    ASSERT_LE(p, c.npan);
    ASSERT_TRUE(factored[p]) << "panel " << p << " applied before it was factored";
    ASSERT_EQ(applied[col], p - 1) << "column " << col << " taken before panel " << p - 1 << " finished on it";
    const bool panel = col == p + 1 && col <= c.npan;
    ASSERT_EQ(k.kind, panel ? VRX_TASK_PANEL : VRX_TASK_UPDATE) << p << "," << col;
    if (panel && col > c.depth) {
      const vrx_int q = col - c.depth;
      ASSERT_EQ(updates_done[q], c.nblk - q) << "panel task " << col << " ran ahead of panel " << q;
    }
    ++handed[col];
    t.running = true;
  }
  ASSERT_EQ(finished_teams, c.teams);
  for (vrx_int col = 2; col <= c.nblk; ++col) {
    EXPECT_EQ(handed[col], col - 1 < c.npan ? col - 1 : c.npan) << "column " << col;
    EXPECT_EQ(applied[col], col - 1 < c.npan ? col - 1 : c.npan) << "column " << col;
  }
  for (vrx_int p = 2; p <= c.npan; ++p) EXPECT_TRUE(factored[p]) << "panel " << p;
  // Once finished, a team keeps getting -1.
  vrx_lapack_task again = {VRX_TASK_NONE, 0, 0, 0, 0};
  vrx_lapack_strict_fetch(state.data(), &again);
  EXPECT_EQ(again.kind, VRX_TASK_FINISHED);
}

TEST(StrictScheduler, RandomInterleavingsKeepOrderAndDepth) {
  const strict_case cases[] = {
      {6, 5, 5, 3},  // look-ahead of every panel
      {6, 5, 2, 3},  // two lanes
      {9, 8, 2, 4},  {9, 8, 3, 2},
      {7, 3, 2, 3},  // m < n: columns past npan only take updates
      {2, 1, 1, 2},  // a single panel
      {5, 4, 2, 1},  // one team
  };
  for (const strict_case& c : cases)
    for (unsigned seed = 1; seed <= 25; ++seed) simulate(c, seed);
}
}  // namespace
