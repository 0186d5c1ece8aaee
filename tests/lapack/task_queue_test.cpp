// The task queue without threads: workers fetch and finish tasks in random interleavings
// while a shadow record of what was really applied checks every task handed out.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "lapack/sched/vrx_task_queue.h"

namespace {
struct shape {
  vrx_int workers, nblk, npan, group, tail;
};

std::string describe(const shape& s, unsigned seed) {
  return "workers " + std::to_string(s.workers) + " nblk " + std::to_string(s.nblk) + " npan " +
         std::to_string(s.npan) + " group " + std::to_string(s.group) + " tail " + std::to_string(s.tail) +
         " seed " + std::to_string(seed);
}

std::vector<vrx_int> fresh_state(const shape& s) {
  std::vector<vrx_int> state(vrx_lapack_sched_state_bytes(s.nblk) / sizeof(vrx_int));
  vrx_lapack_sched_init(state.data(), s.workers, s.nblk, s.npan, s.group, s.tail);
  return state;
}

// What the workers really did, kept apart from the scheduler's own words.
struct shadow {
  std::vector<vrx_int> applied;  // panels applied to each column by finished tasks
  std::vector<int> holder;       // worker holding the column, -1 for none
  vrx_int factored = 1;          // panels factored
};

// Checks a task just handed to worker w against the shadow and takes its columns.
void claim(shadow* sh, const shape& s, int w, const vrx_lapack_task& t, const std::string& what) {
  if (t.kind != VRX_TASK_UPDATE && t.kind != VRX_TASK_PANEL) return;
  ASSERT_GE(t.first_col, 2) << what;
  ASSERT_LE(t.last_col, s.nblk) << what;
  ASSERT_LE(t.first_col, t.last_col) << what;
  ASSERT_GE(t.first_panel, 1) << what;
  ASSERT_LE(t.last_panel, sh->factored) << what << ": a panel not yet factored";
  if (t.kind == VRX_TASK_UPDATE) {
    ASSERT_LE(t.first_panel, t.last_panel) << what;
  } else {
    ASSERT_EQ(t.first_col, t.last_col) << what;
    ASSERT_EQ(t.first_col, sh->factored + 1) << what << ": panel task out of turn";
    ASSERT_LE(t.first_col, s.npan) << what;
    ASSERT_EQ(t.last_panel, sh->factored) << what << ": panel task before every earlier panel";
    ASSERT_LE(t.first_panel, t.last_panel + 1) << what;
  }
  for (vrx_int j = t.first_col; j <= t.last_col; ++j) {
    ASSERT_EQ(sh->holder[j], -1) << what << ": column " << j << " held twice";
    ASSERT_GT(j, sh->factored) << what << ": column " << j << " already factored";
    ASSERT_EQ(sh->applied[j], t.first_panel - 1) << what << ": panels out of order on column " << j;
    sh->holder[j] = w;
  }
}

void finish(shadow* sh, const vrx_lapack_task& t) {
  if (t.kind != VRX_TASK_UPDATE && t.kind != VRX_TASK_PANEL) return;
  for (vrx_int j = t.first_col; j <= t.last_col; ++j) {
    sh->applied[j] = t.last_panel;
    sh->holder[j] = -1;
  }
  if (t.kind == VRX_TASK_PANEL) sh->factored = t.first_col;
}

// The scheduler's levels agree with the shadow wherever no worker holds the column.
void expect_levels(const std::vector<vrx_int>& state, const shadow& sh, const shape& s, const std::string& what) {
  const vrx_int* level = vrx_lapack_sched_levels(state.data());
  for (vrx_int j = 2; j <= s.nblk; ++j) {
    if (sh.holder[j] >= 0) {
      ASSERT_LT(level[j], 0) << what << ": held column " << j << " not marked";
    } else {
      ASSERT_EQ(level[j], j <= sh.factored ? j : sh.applied[j]) << what << ": column " << j;
    }
  }
}

// One random run: each step one worker either goes on with its task or fetches; a task
// lasts a random number of that worker's turns, so several are in progress at once.
void run(const shape& s, unsigned seed) {
  const std::string what = describe(s, seed);
  std::mt19937 random(seed);
  std::vector<vrx_int> state = fresh_state(s);
  shadow sh;
  sh.applied.assign(s.nblk + 1, 0);
  sh.holder.assign(s.nblk + 1, -1);
  std::vector<vrx_lapack_task> task(s.workers);
  std::vector<int> busy(s.workers, 0);
  std::vector<bool> done(s.workers, false);
  int left = 0;
  for (int w = 0; w < s.workers; ++w) {
    vrx_lapack_sched_first_task(state.data(), w, &task[w]);
    ASSERT_TRUE(task[w].kind == VRX_TASK_NONE || task[w].kind == VRX_TASK_FINISHED) << what;
    done[w] = task[w].kind == VRX_TASK_FINISHED;
    left += !done[w];
  }
  ASSERT_GT(left, 0) << what;
  // Workers that were told to wait since the last task was handed out.
  std::set<int> waiting;
  const long limit = 200L * s.nblk * (s.npan + 1) * s.workers + 10000;
  long steps = 0;
  for (; left > 0; ++steps) {
    ASSERT_LT(steps, limit) << what << ": no end";
    const int w = static_cast<int>(random() % s.workers);
    if (done[w]) continue;
    if (busy[w] > 0) {
      --busy[w];
      continue;
    }
    finish(&sh, task[w]);
    vrx_lapack_sched_fetch(state.data(), w, &task[w]);
    const vrx_lapack_task& t = task[w];
    const std::string step = what + " step " + std::to_string(steps) + " worker " + std::to_string(w);
    claim(&sh, s, w, t, step);
    if (testing::Test::HasFatalFailure()) return;
    expect_levels(state, sh, s, step);
    if (testing::Test::HasFatalFailure()) return;
    if (t.kind == VRX_TASK_FINISHED) {
      done[w] = true;
      --left;
    } else if (t.kind == VRX_TASK_NONE) {
      waiting.insert(w);
      bool anyone_holds = false;
      for (vrx_int j = 2; j <= s.nblk; ++j) anyone_holds = anyone_holds || sh.holder[j] >= 0;
      ASSERT_TRUE(anyone_holds || static_cast<int>(waiting.size()) < left) << step << ": every worker waits";
    } else {
      waiting.clear();
      busy[w] = static_cast<int>(random() % 6);
    }
  }
  EXPECT_EQ(sh.factored, s.npan) << what;
  for (vrx_int j = s.npan + 1; j <= s.nblk; ++j) EXPECT_EQ(sh.applied[j], s.npan) << what << " column " << j;
  EXPECT_EQ(state[VRX_SCHED_CURRENT], s.npan) << what;
  expect_levels(state, sh, s, what);
}

// m >= n gives npan = nblk - 1; m < n leaves more columns after the last panel.
const shape shapes[] = {
    {1, 2, 1, 1, 0},        {1, 10, 9, 2, 0},        {1, 10, 9, 1, 1000000}, {1, 12, 5, 3, 4},
    {1, 7, 6, 4, 2},        {2, 3, 1, 1, 1},         {2, 10, 9, 1, 0},       {2, 17, 16, 2, 3},
    {2, 9, 8, 3, 1000000},  {3, 20, 19, 3, 0},       {3, 20, 8, 2, 5},       {3, 14, 13, 1, 1},
    {4, 16, 15, 4, 1000000}, {4, 30, 29, 1, 4},      {4, 25, 10, 2, 0},      {4, 12, 11, 2, 12},
    {5, 9, 8, 2, 0},        {6, 25, 24, 3, 1},       {7, 33, 20, 4, 10},     {8, 40, 39, 1, 8},
    {8, 40, 12, 2, 0},      {8, 6, 5, 1, 0},         {8, 6, 5, 4, 1000000},  {8, 50, 49, 1, 1000000},
    {8, 24, 23, 3, 16},     {8, 30, 3, 1, 2},
};

TEST(TaskQueue, RandomInterleavingsKeepEveryColumnInOrderAndEnd) {
  for (const shape& s : shapes)
    for (unsigned seed = 1; seed <= 25; ++seed) {
      run(s, seed);
      if (HasFatalFailure()) return;
    }
}

TEST(TaskQueue, StateSizeAndCounts) {
  EXPECT_EQ(vrx_lapack_sched_state_bytes(10), 144u);
  // Square and tall: every panel but the last; wide: the panels inside the rows.
  EXPECT_EQ(vrx_lapack_sched_block_count(1000, 64), 16);
  EXPECT_EQ(vrx_lapack_sched_panel_count(1000, 1000, 64), 15);
  EXPECT_EQ(vrx_lapack_sched_panel_count(3000, 1000, 64), 15);
  EXPECT_EQ(vrx_lapack_sched_panel_count(200, 1000, 64), 3);
  EXPECT_EQ(vrx_lapack_sched_panel_count(192, 1000, 64), 2);
  const shape s = {3, 8, 7, 2, 4};
  const std::vector<vrx_int> state = fresh_state(s);
  EXPECT_EQ(std::vector<vrx_int>(state.begin(), state.begin() + 15),
            (std::vector<vrx_int>{3, 8, 7, 2, 4, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0}));
}

struct first_case {
  shape s;
  vrx_int worker;
  vrx_lapack_task expected;
};

TEST(TaskQueue, FirstTasks) {
  const first_case cases[] = {
      // Groups of 2 from w * 2 + 1; worker 0 past the factored column 1.
      {{4, 10, 9, 2, 2}, 0, {VRX_TASK_NONE, 0, 0, 2, 2}},
      {{4, 10, 9, 2, 2}, 1, {VRX_TASK_NONE, 0, 0, 3, 4}},
      {{4, 10, 9, 2, 2}, 3, {VRX_TASK_NONE, 0, 0, 7, 8}},
      {{4, 10, 9, 3, 0}, 2, {VRX_TASK_NONE, 0, 0, 7, 9}},
      // Single columns: worker 0 at workers + 1.
      {{3, 10, 9, 1, 0}, 0, {VRX_TASK_NONE, 0, 0, 4, 4}},
      {{3, 10, 9, 1, 0}, 2, {VRX_TASK_NONE, 0, 0, 3, 3}},
      // Clipped to the owned columns.
      {{4, 10, 9, 3, 2}, 2, {VRX_TASK_NONE, 0, 0, 7, 8}},
      // Nothing owned: finished without a tail, the first tail column with one.
      {{4, 6, 5, 2, 0}, 3, {VRX_TASK_FINISHED, 0, 0, 7, 6}},
      {{4, 6, 5, 2, 1}, 3, {VRX_TASK_NONE, 0, 0, 6, 6}},
      {{2, 6, 5, 1, 1000000}, 1, {VRX_TASK_NONE, 0, 0, 2, 2}},
  };
  for (const first_case& c : cases) {
    const std::vector<vrx_int> state = fresh_state(c.s);
    vrx_lapack_task t;
    vrx_lapack_sched_first_task(state.data(), c.worker, &t);
    const std::string what = describe(c.s, 0) + " worker " + std::to_string(c.worker);
    EXPECT_EQ(t.kind, c.expected.kind) << what;
    if (t.kind == VRX_TASK_FINISHED) continue;
    EXPECT_EQ(t.first_col, c.expected.first_col) << what;
    EXPECT_EQ(t.last_col, c.expected.last_col) << what;
  }
}

struct fetch_case {
  shape s;
  std::vector<vrx_int> workers;             // fetching in this order from a fresh state
  std::vector<vrx_lapack_task> expected;   // what each of them receives
};

TEST(TaskQueue, FirstFetches) {
  const fetch_case cases[] = {
      // Column 2 is the next panel's; worker 0's next column 4 takes panel 1 alone.
      {{3, 10, 9, 1, 0},
       {1, 0, 2},
       {{VRX_TASK_PANEL, 1, 1, 2, 2}, {VRX_TASK_UPDATE, 1, 1, 4, 4}, {VRX_TASK_UPDATE, 1, 1, 3, 3}}},
      // A group of two columns at one level goes as one task.
      {{2, 10, 9, 2, 0}, {1, 0}, {{VRX_TASK_UPDATE, 1, 1, 3, 4}, {VRX_TASK_PANEL, 1, 1, 2, 2}}},
      // All tail: the panel column first, then one column and one panel at a time.
      {{2, 6, 5, 1, 1000000},
       {0, 1, 0},
       {{VRX_TASK_PANEL, 1, 1, 2, 2}, {VRX_TASK_UPDATE, 1, 1, 3, 3}, {VRX_TASK_UPDATE, 1, 1, 4, 4}}},
      // A single panel: the last column of a square matrix is brought to it.
      {{2, 2, 1, 1, 0}, {1, 1}, {{VRX_TASK_UPDATE, 1, 1, 2, 2}, {VRX_TASK_FINISHED, 0, 0, 0, 0}}},
      // Worker 1 owns nothing and serves the tail while worker 0 factors panel 2.
      {{2, 3, 2, 2, 1}, {0, 1}, {{VRX_TASK_PANEL, 1, 1, 2, 2}, {VRX_TASK_UPDATE, 1, 1, 3, 3}}},
      // Once every tail column has panel 1, the tail waits for panel 2; reported, it makes
      // column 3 the next panel's, which takes panel 2 and is factored.
      {{2, 4, 3, 1, 1000000},
       {0, 1, 1, 1, 0},
       {{VRX_TASK_PANEL, 1, 1, 2, 2},
        {VRX_TASK_UPDATE, 1, 1, 3, 3},
        {VRX_TASK_UPDATE, 1, 1, 4, 4},
        {VRX_TASK_NONE, 0, 0, 0, 0},
        {VRX_TASK_PANEL, 2, 2, 3, 3}}},
  };
  for (const fetch_case& c : cases) {
    std::vector<vrx_int> state = fresh_state(c.s);
    std::vector<vrx_lapack_task> task(c.s.workers);
    for (int w = 0; w < c.s.workers; ++w) vrx_lapack_sched_first_task(state.data(), w, &task[w]);
    for (std::size_t i = 0; i < c.workers.size(); ++i) {
      const vrx_int w = c.workers[i];
      vrx_lapack_sched_fetch(state.data(), w, &task[w]);
      const vrx_lapack_task& t = task[w];
      const vrx_lapack_task& e = c.expected[i];
      const std::string what = describe(c.s, 0) + " fetch " + std::to_string(i);
      EXPECT_EQ(t.kind, e.kind) << what;
      if (t.kind != VRX_TASK_UPDATE && t.kind != VRX_TASK_PANEL) continue;
      EXPECT_EQ(t.first_panel, e.first_panel) << what;
      EXPECT_EQ(t.last_panel, e.last_panel) << what;
      EXPECT_EQ(t.first_col, e.first_col) << what;
      EXPECT_EQ(t.last_col, e.last_col) << what;
    }
  }
}
}  // namespace
