// DPOTRS and SPOTRS: the wrappers of the solves with the Cholesky factor. The routine
// below checks its own arguments.
#include <cstdio>

#include "interface/fortran/vrx_wrapper_engine.h"
#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"

namespace {
template <typename T>
const int* verbose_state = &vrx_serv_verbose_unasked;

template <typename T>
void potrs_wrapper(const char* uplo, const int* n, const int* nrhs, const T* a, const int* lda, T* b, const int* ldb,
                   int* info) {
  vrx_serv_set_xerbla(XERBLA);
  const vrx_int n64 = *n, nrhs64 = *nrhs, lda64 = *lda, ldb64 = *ldb;
  vrx_int info64 = 0;
  vrx_wrapper_call(
      &verbose_state<T>, [] { return 0; },
      [&] { vrx_wrapper_engine<T>::potrs(uplo, &n64, &nrhs64, a, &lda64, b, &ldb64, &info64); },
      [&] { *info = static_cast<int>(info64); },
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "%cPOTRS(%c,%d,%d,%p,%d,%p,%d,%d)", vrx_traits<T>::letter, *uplo, *n, *nrhs,
                      static_cast<const void*>(a), *lda, static_cast<void*>(b), *ldb, *info);
      });
}
}  // namespace

extern "C" void DPOTRS(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda, double* b,
                       const int* ldb, int* info) {
  potrs_wrapper(uplo, n, nrhs, a, lda, b, ldb, info);
}
extern "C" void dpotrs(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda, double* b,
                       const int* ldb, int* info) {
  DPOTRS(uplo, n, nrhs, a, lda, b, ldb, info);
}
extern "C" void SPOTRS(const char* uplo, const int* n, const int* nrhs, const float* a, const int* lda, float* b,
                       const int* ldb, int* info) {
  potrs_wrapper(uplo, n, nrhs, a, lda, b, ldb, info);
}
extern "C" void spotrs(const char* uplo, const int* n, const int* nrhs, const float* a, const int* lda, float* b,
                       const int* ldb, int* info) {
  SPOTRS(uplo, n, nrhs, a, lda, b, ldb, info);
}
