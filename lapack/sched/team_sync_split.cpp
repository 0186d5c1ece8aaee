// Even splits of work among the members of a team, and the place of a thread in the
// teams of a region.
#include "lapack/sched/vrx_team_sync.h"

void vrx_lapack_split(vrx_int n, int parts, int index, vrx_int* first, vrx_int* count) {
  if (parts < 1) parts = 1;
  const vrx_int base = n / parts, extra = n % parts;
  *count = base + (index < extra ? 1 : 0);
  *first = index * base + (index < extra ? index : extra);
}

void vrx_lapack_split_units(vrx_int n, vrx_int unit, int parts, int index, vrx_int* first, vrx_int* count) {
  vrx_int unit_first = 0, units = 0;
  vrx_lapack_split((n + unit - 1) / unit, parts, index, &unit_first, &units);
  const vrx_int begin = unit_first * unit < n ? unit_first * unit : n;
  const vrx_int end = (unit_first + units) * unit < n ? (unit_first + units) * unit : n;
  *first = begin;
  *count = end - begin;
}

vrx_lapack_team_place vrx_lapack_team_place_of(int thread, int threads, int team_size) {
  vrx_lapack_team_place place{};
  if (team_size < 1) team_size = 1;
  place.teams = threads / team_size;
  if (place.teams < 1) {
    place.teams = 1;
    team_size = threads;
  }
  place.team = thread / team_size;
  if (place.team >= place.teams) place.team = place.teams - 1;
  place.rank = thread - place.team * team_size;
  place.size = place.team == place.teams - 1 ? threads - place.team * team_size : team_size;
  return place;
}
