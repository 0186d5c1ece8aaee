// Chosen answers for the QR team path, so that small matrices on few threads get the
// layouts that only wide machines are given: its block width (the team path's seam),
// the team size (key 20 of xGEQRF), the team panel's block (key 1 of xLAQRF with n3 = -1)
// and the applications' sub-block (key 1 of xLAQRF with n3 = 2). Every other question
// goes to ILAENV; 0 leaves an answer as it is.
#pragma once
#include "lapack/qr/vrx_geqrf_team.h"
#include "lapack/vrx_lapack.h"
#include "tests/support/lapack_seams.h"

struct vrx_test_qr_team_answers {
  vrx_int b;
  vrx_int team_size;
  vrx_int panel_block;
  vrx_int sub_block;
};
inline vrx_test_qr_team_answers vrx_test_qr_team_chosen = {};

inline vrx_int vrx_test_qr_team_answerer(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1,
                                         const vrx_int* n2, const vrx_int* n3, const vrx_int* n4, vrx_int name_length,
                                         vrx_int opts_length) {
  const vrx_test_qr_team_answers& c = vrx_test_qr_team_chosen;
  if (*ispec == 20 && c.team_size > 0 && vrx_test_asks_about(name, name_length, "GEQRF")) return c.team_size;
  if (*ispec == 1 && vrx_test_asks_about(name, name_length, "LAQRF")) {
    if (*n3 >= 2 && c.sub_block > 0) return c.sub_block;
    if (*n3 < 2 && c.panel_block > 0) return c.panel_block;
  }
  return ILAENV(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

// Puts the answers in place for its lifetime.
struct vrx_test_qr_team_tuned {
  vrx_test_tuning_seam seam;
  explicit vrx_test_qr_team_tuned(vrx_test_qr_team_answers chosen) : seam(vrx_test_qr_team_answerer) {
    vrx_test_qr_team_chosen = chosen;
    vrx_lapack_geqrf_team_block_seam = chosen.b;
  }
  ~vrx_test_qr_team_tuned() {
    vrx_test_qr_team_chosen = {};
    vrx_lapack_geqrf_team_block_seam = 0;
  }
};
