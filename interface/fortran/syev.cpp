// DSYEV and SSYEV: the wrappers of the symmetric eigenproblem's driver. The routine below
// checks its own arguments.
#include <cstdio>
#include <type_traits>

#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"
#include "lapack/vrx_lapack.h"

namespace {
template <typename T>
const int* verbose_state = &vrx_serv_verbose_unasked;

template <typename T>
constexpr vrx_syev_fn_type<T>* engine() {
  if constexpr (std::is_same_v<T, double>) return vrx_lapack_dsyev;
  else return vrx_lapack_ssyev;
}

template <typename T>
void syev_wrapper(const char* jobz, const char* uplo, const int* n, T* a, const int* lda, T* w, T* work,
                  const int* lwork, int* info) {
  vrx_serv_set_xerbla(XERBLA);
  const vrx_int n64 = *n, lda64 = *lda, lwork64 = *lwork;
  vrx_int info64 = 0;
  vrx_wrapper_call(
      &verbose_state<T>, [] { return 0; },
      [&] { engine<T>()(jobz, uplo, &n64, a, &lda64, w, work, &lwork64, &info64); },
      [&] { *info = static_cast<int>(info64); },
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "%cSYEV(%c,%c,%d,%p,%d,%p,%p,%d,%d)", vrx_traits<T>::letter, *jobz, *uplo, *n,
                      static_cast<void*>(a), *lda, static_cast<void*>(w), static_cast<void*>(work), *lwork, *info);
      });
}
}  // namespace

extern "C" void DSYEV(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w,
                      double* work, const int* lwork, int* info) {
  syev_wrapper(jobz, uplo, n, a, lda, w, work, lwork, info);
}
extern "C" void dsyev(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w,
                      double* work, const int* lwork, int* info) {
  DSYEV(jobz, uplo, n, a, lda, w, work, lwork, info);
}
extern "C" void SSYEV(const char* jobz, const char* uplo, const int* n, float* a, const int* lda, float* w,
                      float* work, const int* lwork, int* info) {
  syev_wrapper(jobz, uplo, n, a, lda, w, work, lwork, info);
}
extern "C" void ssyev(const char* jobz, const char* uplo, const int* n, float* a, const int* lda, float* w,
                      float* work, const int* lwork, int* info) {
  SSYEV(jobz, uplo, n, a, lda, w, work, lwork, info);
}
