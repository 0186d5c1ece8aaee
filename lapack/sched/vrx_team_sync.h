// Synchronisation of the LAPACK thread teams, shared by the LU and QR team paths: the
// flag barrier of a panel team, the team record with its spin barrier, and the even
// splits of columns and rows among members.
#pragma once
#include <cstdint>

#include "lapack/sched/vrx_task_queue.h"
#include "service/vrx_spin_barrier.h"
#include "service/vrx_types.h"

// Most members one panel team can hold; callers cap their thread counts to it.
constexpr int vrx_lapack_team_max_members = 256;

// One member's candidate in a pivot search shared by a panel team.
struct vrx_lapack_pivot_slot {
  double magnitude;
  vrx_int row;
};

// The threads factoring one panel together. Member i sets flags[i] to 1.0 when it
// arrives at a flag barrier; rank 0 collects the flags, puts them back to -1.0 and
// releases the barrier by storing its value in `phase`.
struct vrx_lapack_panel_team {
  alignas(64) std::int64_t phase;
  std::int64_t stop;  // rank 0's broadcast of the progress hook's answer
  alignas(64) double flags[vrx_lapack_team_max_members];
  vrx_lapack_pivot_slot slots[vrx_lapack_team_max_members];
};

// All flags to -1.0, phase and stop to 0; done by one thread before the members meet.
void vrx_lapack_panel_team_clear(vrx_lapack_panel_team* team, int size);

// Waits until every one of the `size` members arrived, then releases them with `phase`,
// which must differ from the value of the team's previous barrier. A team of one
// doesn't wait.
void vrx_lapack_team_flag_barrier(vrx_lapack_panel_team* team, int rank, int size, std::int64_t phase);
// A flag barrier whose release value is chosen to differ from the last one (3 or 4), for
// loops that meet an unknown number of times between the named phases 0, 1 and 2.
void vrx_lapack_team_flag_step(vrx_lapack_panel_team* team, int rank, int size);

// Per-team record of a thread-team path, 192 bytes: the members' spin barrier, the
// panel team of the current panel task, and the task the team's rank 0 fetched.
struct vrx_lapack_team {
  vrx_serv_spin_barrier barrier;
  vrx_lapack_panel_team* panel_team;
  vrx_lapack_task task;
  char spare[16];
};
static_assert(sizeof(vrx_lapack_team) == 192);

// Where thread `thread` of `threads` sits when teams of `team_size` are formed: threads
// left over by threads mod team_size join the last team. With fewer threads than one
// team, all of them form one team.
struct vrx_lapack_team_place {
  int teams;
  int team;
  int rank;
  int size;
};
vrx_lapack_team_place vrx_lapack_team_place_of(int thread, int threads, int team_size);

// Part `index` of `parts` even parts of n items: the first n mod parts parts hold one
// item more.
void vrx_lapack_split(vrx_int n, int parts, int index, vrx_int* first, vrx_int* count);
// The same over whole units of `unit` items (the last unit may be short), so that part
// boundaries fall on multiples of the unit.
void vrx_lapack_split_units(vrx_int n, vrx_int unit, int parts, int index, vrx_int* first, vrx_int* count);
