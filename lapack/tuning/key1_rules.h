// The key 1 rules of individual routine families, each in the file of its kind.
#pragma once
#include "lapack/tuning/tuning_query.h"

// key1_tridiagonal.cpp
vrx_int vrx_tuning_sytrd_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_hetrd_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_syrdb_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_herdb_block(const vrx_tuning_query& q);
// key1_svd.cpp
vrx_int vrx_tuning_gebrd_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_gesvd_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_sygst_block(const vrx_tuning_query& q);
// key1_orthogonal.cpp
vrx_int vrx_tuning_org_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_ung_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_orm_block(const vrx_tuning_query& q);
// key1_solves.cpp: the short rows of solves, band and packed routines
vrx_int vrx_tuning_solve_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_gbtrf_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_pbtrf_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_band_solve_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_pptrf_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_pptrs_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_tptrs_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_right_sides_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_packed_factor_block(const vrx_tuning_query& q);
// key1_auxiliary.cpp: LA** helpers and the tridiagonal and bidiagonal QR
vrx_int vrx_tuning_labrd_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_laqrf_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_lauum_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_larft_block(const vrx_tuning_query& q);
vrx_int vrx_tuning_steqr_block(const vrx_tuning_query& q);
