// DGETRS and SGETRS: the wrappers of the solves with the LU factors. The routine below
// checks its own arguments.
#include <algorithm>
#include <cstdio>

#include "interface/fortran/vrx_wrapper_engine.h"
#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"

namespace {
template <typename T>
const int* verbose_state = &vrx_serv_verbose_unasked;

template <typename T>
void getrs_wrapper(const char* trans, const int* n, const int* nrhs, const T* a, const int* lda, const int* ipiv, T* b,
                   const int* ldb, int* info) {
  vrx_serv_set_xerbla(XERBLA);
  const vrx_int n64 = *n, nrhs64 = *nrhs, lda64 = *lda, ldb64 = *ldb;
  const vrx_routine_name_buffer name = vrx_routine_name<T>("GETRS");
  vrx_int* ipiv64 = vrx_wrapper_integers(ipiv, std::max<vrx_int>(n64, 1), name.text, 6, info);
  if (!ipiv64) return;
  vrx_int info64 = 0;
  vrx_wrapper_call(
      &verbose_state<T>, [] { return 0; },
      [&] { vrx_wrapper_engine<T>::getrs(trans, &n64, &nrhs64, a, &lda64, ipiv64, b, &ldb64, &info64); },
      [&] {
        *info = static_cast<int>(info64);
        LAPACKE_free(ipiv64);
      },
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "%s(%c,%d,%d,%p,%d,%p,%p,%d,%d)", name.text, *trans, *n, *nrhs,
                      static_cast<const void*>(a), *lda, static_cast<const void*>(ipiv), static_cast<void*>(b), *ldb,
                      *info);
      });
}
}  // namespace

extern "C" void DGETRS(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
                       const int* ipiv, double* b, const int* ldb, int* info) {
  getrs_wrapper(trans, n, nrhs, a, lda, ipiv, b, ldb, info);
}
extern "C" void dgetrs(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
                       const int* ipiv, double* b, const int* ldb, int* info) {
  DGETRS(trans, n, nrhs, a, lda, ipiv, b, ldb, info);
}
extern "C" void SGETRS(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda,
                       const int* ipiv, float* b, const int* ldb, int* info) {
  getrs_wrapper(trans, n, nrhs, a, lda, ipiv, b, ldb, info);
}
extern "C" void sgetrs(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda,
                       const int* ipiv, float* b, const int* ldb, int* info) {
  SGETRS(trans, n, nrhs, a, lda, ipiv, b, ldb, info);
}
