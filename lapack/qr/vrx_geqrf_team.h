// The QR team path's pieces: its plan (block, sub-block, team layout, workspace), the
// team records with their command words, the team panel and the team's application of
// a panel's reflectors (both run by every member of a team, rows split among them), and
// the record of what the last call on a thread did.
#pragma once
#include <cstdint>

#include "lapack/qr/vrx_qr.h"
#include "lapack/sched/vrx_team_sync.h"
#include "lapack/vrx_lapack.h"

// ---- plan ----
// Block width by rows and thread count; exactly 22 and 44 threads have a table of their own.
vrx_int vrx_lapack_geqrf_team_block(vrx_int m, int threads);

// A block width that replaces the table's when above 0, for tests that need several
// panels on small matrices.
extern vrx_int vrx_lapack_geqrf_team_block_seam;

// Most members of one team.
constexpr int vrx_geqrf_team_max_size = 18;

struct vrx_geqrf_team_plan {
  vrx_int b;          // block width: panels and block columns
  vrx_int ib;         // reflectors per step of an application
  vrx_int ldt;        // b (b / ib + 1), the workspace's unit
  vrx_int team_size;  // members of a team
  int teams;
  vrx_int lwork;      // the workspace the query reports
  bool runs;          // false: the sequential routine does the work
};
// The plan for an m by n matrix on `threads` threads, from the block table and the
// tuning query (ib: key 1 of LAQRF with n3 = 2; team size: key 20 of GEQRF).
template <typename T>
vrx_geqrf_team_plan vrx_lapack_geqrf_team_plan(vrx_int m, vrx_int n, int threads);

// ---- teams ----
// Team command words: `status` 1 go, 3 quit, 5 end of command; `command` 11 apply a
// panel's reflectors, 12 factor a panel; members answer on their own word with 4 ready
// and 2 finished.
enum : std::int64_t {
  VRX_QR_TEAM_GO = 1,
  VRX_QR_TEAM_QUIT = 3,
  VRX_QR_TEAM_END = 5,
  VRX_QR_MEMBER_FINISHED = 2,
  VRX_QR_MEMBER_READY = 4,
  VRX_QR_COMMAND_APPLY = 11,
  VRX_QR_COMMAND_PANEL = 12,
};

struct alignas(64) vrx_geqrf_member_word {
  std::int64_t value;
};

// A member's part of a column norm, as scaled sum of squares: scale * sqrt(ssq).
struct alignas(64) vrx_geqrf_norm_part {
  double scale;
  double ssq;
};

// One team's record: the command its rank 0 gives, the members' answer words, the flag
// barrier of the members, and what the panel's members share column by column.
struct vrx_geqrf_team_record {
  alignas(64) std::int64_t status;
  std::int64_t command;
  vrx_int panel;      // panel whose reflectors are applied, or which is factored
  vrx_int first_col;  // columns [first_col, first_col + width) from 0
  vrx_int width;
  vrx_geqrf_member_word words[vrx_geqrf_team_max_size];
  vrx_geqrf_norm_part norms[vrx_geqrf_team_max_size];
  alignas(64) vrx_complex_double alpha;  // the diagonal element of the column being reduced
  vrx_lapack_panel_team barrier;
};

// A team's scratch: a slot per member (a partial product of at most slot_rows by b, then
// b elements of a partial vector), and the summed product (slot_rows by b).
template <typename T>
struct vrx_geqrf_team_scratch {
  T* slots;
  vrx_int slot_elems;
  vrx_int slot_rows;
  vrx_int b;
  T* reduced;
};

// One member at work on a panel: rows [own_first, own_end) counted from the panel's top
// row are its own for every step of a command, so that steps on rows need no barrier
// between them.
template <typename T>
struct vrx_geqrf_member {
  vrx_geqrf_team_record* record;
  vrx_geqrf_team_scratch<T> scratch;
  int rank;
  int size;
  vrx_int own_first;
  vrx_int own_end;
};

// Rows of a panel are shared among members in whole units of this many rows.
constexpr vrx_int vrx_geqrf_row_unit = 16;

// The member `rank` of `size` on a panel of `rows` rows.
template <typename T>
vrx_geqrf_member<T> vrx_lapack_geqrf_member(vrx_geqrf_team_record* record, const vrx_geqrf_team_scratch<T>& scratch,
                                            int rank, int size, vrx_int rows);

// Factors the rows by cols panel a (rows >= cols) with every member of the team: tau
// (cols) and the upper triangular t (cols by cols) of its block reflector, "Forward",
// "Columnwise", written by rank 0. Blocks of key 1 of LAQRF (capped by the scratch) are
// reduced one column at a time with the norms and products summed over the members'
// rows, and joined into t by T12 = -T11 (V1^H V2) T22. Members may leave before rank 0
// has written the last block of t.
template <typename T>
void vrx_lapack_laqrf_team(const vrx_geqrf_member<T>& me, vrx_int rows, vrx_int cols, T* a, vrx_int lda, T* tau,
                           T* t, vrx_int ldt);

// C := H^H C for the block reflector H = I - V T V^H of kb reflectors (V rows by kb, unit
// lower triangle from its top row, which lies `top` rows below the member's panel top;
// C rows by width, width at most b), in steps of `sub` reflectors, each member on its own
// rows. Members may leave while others still update theirs.
template <typename T>
void vrx_lapack_laqrf_apply_team(const vrx_geqrf_member<T>& me, vrx_int top, vrx_int rows, vrx_int kb, const T* v,
                                 vrx_int ldv, const T* t, vrx_int ldt, T* c, vrx_int ldc, vrx_int width, vrx_int sub);

// Rows [lo, hi) of V^H X into p (kb by w, leading dimension kb), V holding kb reflectors
// with the unit lower triangle in its first kb rows; p is zero when no rows are given.
template <typename T>
void vrx_lapack_reflector_rows_product(vrx_int lo, vrx_int hi, vrx_int kb, const T* v, vrx_int ldv, const T* x,
                                       vrx_int ldx, vrx_int w, T* p);

// ---- the region ----
// What the threads of the team path's region share.
template <typename T>
struct vrx_geqrf_team_call {
  vrx_int m, n, lda;
  T* a;
  T* tau;
  vrx_int b, sub, nblk, npan;
  T* factors;  // t of panel p at (p - 1) b b, leading dimension b
  vrx_geqrf_team_record* records;
  T* scratch;  // team i's at i * team_elems
  vrx_int slot_elems, slot_rows, team_elems;
  vrx_int* state;  // the task queue's
  int team_size;
  int error;  // the progress hook asked to stop
  // What the region did, for the trace.
  int region_threads;
  int region_teams;
  int region_size;
  vrx_int panels;
};

// The body of the region, run by every thread: panel 1 by team 0, then every team's
// rank 0 fetching tasks and commanding its members.
template <typename T>
void vrx_lapack_geqrf_team_region(vrx_geqrf_team_call<T>* call);

// ---- what the last call on this thread did, for tests ----
enum : int {
  VRX_GEQRF_TEAM_NONE = 0,
  VRX_GEQRF_TEAM_QUERY = 1,       // answered the workspace query
  VRX_GEQRF_TEAM_SEQUENTIAL = 2,  // the sequential routine ran
  VRX_GEQRF_TEAM_RAN = 3,         // the teams ran
};
struct vrx_geqrf_team_trace {
  int path;
  int fallback;  // 1: a buffer couldn't be allocated
  vrx_int b, ib;
  int team_size;       // members per team in the region
  int teams;           // teams in the region
  int region_threads;  // threads the region had
  vrx_int panels;      // panels factored by the teams
};
vrx_geqrf_team_trace* vrx_lapack_geqrf_team_trace();
