// The per-thread record of what the QR team path did, read by tests.
#include "lapack/qr/vrx_geqrf_team.h"

vrx_geqrf_team_trace* vrx_lapack_geqrf_team_trace() {
  static thread_local vrx_geqrf_team_trace record;
  return &record;
}
