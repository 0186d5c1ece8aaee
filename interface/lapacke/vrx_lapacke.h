// The LAPACKE layers below the exported entries: messages, NaN screening, layout
// transposition and the work layer. None of it is exported; the names are kept for the
// messages.
#pragma once
#include <cstdint>

#include "include/customvrx.h"
#include "service/vrx_types.h"
#include "service/vrx_traits.h"

extern "C" {
// Prints the message of a negative `info` under `name`: -1010 and -1011 their memory
// texts, any other the wrong parameter's number. Nothing for 0 or above.
void LAPACKE_xerbla(const char* name, int info);

// Copies an m by n matrix stored in `layout` into `out` in the other layout. Nothing when
// a pointer is null or the matrix is empty.
void LAPACKE_dge_trans(int layout, int m, int n, const double* in, int ldin, double* out, int ldout);
void LAPACKE_sge_trans(int layout, int m, int n, const float* in, int ldin, float* out, int ldout);
// The same for one triangle (uplo U or L, diag U skips the diagonal); the other triangle
// of `out` is left alone. Nothing on a null pointer, a bad layout, uplo or diag.
void LAPACKE_dtr_trans(int layout, char uplo, char diag, int n, const double* in, int ldin, double* out, int ldout);
void LAPACKE_str_trans(int layout, char uplo, char diag, int n, const float* in, int ldin, float* out, int ldout);
void LAPACKE_dpo_trans(int layout, char uplo, int n, const double* in, int ldin, double* out, int ldout);
void LAPACKE_spo_trans(int layout, char uplo, int n, const float* in, int ldin, float* out, int ldout);

// 1 when the matrix (or triangle) holds a NaN, else 0; 0 for a null matrix, a bad layout,
// uplo or diag.
int LAPACKE_dge_nancheck(int layout, int m, int n, const double* a, int lda);
int LAPACKE_sge_nancheck(int layout, int m, int n, const float* a, int lda);
int LAPACKE_dtr_nancheck(int layout, char uplo, char diag, int n, const double* a, int lda);
int LAPACKE_str_nancheck(int layout, char uplo, char diag, int n, const float* a, int lda);
int LAPACKE_dpo_nancheck(int layout, char uplo, int n, const double* a, int lda);
int LAPACKE_spo_nancheck(int layout, char uplo, int n, const float* a, int lda);

// The work layer: the caller's workspace, the wrappers below.
int LAPACKE_dgetrf_work(int layout, int m, int n, double* a, int lda, int* ipiv);
int LAPACKE_sgetrf_work(int layout, int m, int n, float* a, int lda, int* ipiv);
int LAPACKE_dgetrs_work(int layout, char trans, int n, int nrhs, const double* a, int lda, const int* ipiv,
                        double* b, int ldb);
int LAPACKE_sgetrs_work(int layout, char trans, int n, int nrhs, const float* a, int lda, const int* ipiv, float* b,
                        int ldb);
int LAPACKE_dgetri_work(int layout, int n, double* a, int lda, const int* ipiv, double* work, int lwork);
int LAPACKE_dpotrf_work(int layout, char uplo, int n, double* a, int lda);
int LAPACKE_spotrf_work(int layout, char uplo, int n, float* a, int lda);
int LAPACKE_dpotrs_work(int layout, char uplo, int n, int nrhs, const double* a, int lda, double* b, int ldb);
int LAPACKE_spotrs_work(int layout, char uplo, int n, int nrhs, const float* a, int lda, float* b, int ldb);
int LAPACKE_dgels_work(int layout, char trans, int m, int n, int nrhs, double* a, int lda, double* b, int ldb,
                       double* work, int lwork);
int LAPACKE_sgels_work(int layout, char trans, int m, int n, int nrhs, float* a, int lda, float* b, int ldb,
                       float* work, int lwork);
int LAPACKE_dsyev_work(int layout, char jobz, char uplo, int n, double* a, int lda, double* w, double* work,
                       int lwork);
int LAPACKE_ssyev_work(int layout, char jobz, char uplo, int n, float* a, int lda, float* w, float* work, int lwork);
}

// Phases of the NaN screening run on this thread, for tests.
struct vrx_lapacke_nancheck_trace {
  std::int64_t fast_phases;   // summing passes started
  std::int64_t exact_phases;  // element-by-element passes started
};
vrx_lapacke_nancheck_trace* vrx_lapacke_nancheck_trace_record();

// The helpers by element type, for the generic members.
inline void vrx_lapacke_ge_trans(int layout, int m, int n, const double* in, int ldin, double* out, int ldout) {
  LAPACKE_dge_trans(layout, m, n, in, ldin, out, ldout);
}
inline void vrx_lapacke_ge_trans(int layout, int m, int n, const float* in, int ldin, float* out, int ldout) {
  LAPACKE_sge_trans(layout, m, n, in, ldin, out, ldout);
}
inline void vrx_lapacke_po_trans(int layout, char uplo, int n, const double* in, int ldin, double* out, int ldout) {
  LAPACKE_dpo_trans(layout, uplo, n, in, ldin, out, ldout);
}
inline void vrx_lapacke_po_trans(int layout, char uplo, int n, const float* in, int ldin, float* out, int ldout) {
  LAPACKE_spo_trans(layout, uplo, n, in, ldin, out, ldout);
}
inline int vrx_lapacke_po_nancheck(int layout, char uplo, int n, const double* a, int lda) {
  return LAPACKE_dpo_nancheck(layout, uplo, n, a, lda);
}
inline int vrx_lapacke_po_nancheck(int layout, char uplo, int n, const float* a, int lda) {
  return LAPACKE_spo_nancheck(layout, uplo, n, a, lda);
}
inline int vrx_lapacke_ge_nancheck(int layout, int m, int n, const double* a, int lda) {
  return LAPACKE_dge_nancheck(layout, m, n, a, lda);
}
inline int vrx_lapacke_ge_nancheck(int layout, int m, int n, const float* a, int lda) {
  return LAPACKE_sge_nancheck(layout, m, n, a, lda);
}

// A member's name for the messages: vrx_lapacke_name<double>("getrf_work") is
// "LAPACKE_dgetrf_work".
struct vrx_lapacke_name_buffer {
  char text[32];
};
template <typename T>
constexpr vrx_lapacke_name_buffer vrx_lapacke_name(const char* member) {
  vrx_lapacke_name_buffer name = {};
  const char prefix[] = "LAPACKE_";
  int at = 0;
  for (; prefix[at]; ++at) name.text[at] = prefix[at];
  name.text[at++] = static_cast<char>(vrx_traits<T>::letter | 0x20);
  for (int i = 0; member[i] && at < 31; ++i) name.text[at++] = member[i];
  return name;
}
