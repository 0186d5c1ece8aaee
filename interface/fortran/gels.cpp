// DGELS and SGELS: the wrappers of the least-squares solvers. The routine below checks its
// own arguments; its QR or LQ factorisation may call the progress hook.
#include <cstdio>

#include "interface/fortran/vrx_wrapper_engine.h"
#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"

namespace {
template <typename T>
const int* verbose_state = &vrx_serv_verbose_unasked;

template <typename T>
void gels_wrapper(const char* trans, const int* m, const int* n, const int* nrhs, T* a, const int* lda, T* b,
                  const int* ldb, T* work, const int* lwork, int* info) {
  vrx_serv_set_xerbla(XERBLA);
  vrx_serv_set_progress(vrx_serv_progress_default);
  const vrx_int m64 = *m, n64 = *n, nrhs64 = *nrhs, lda64 = *lda, ldb64 = *ldb, lwork64 = *lwork;
  vrx_int info64 = 0;
  vrx_wrapper_call(
      &verbose_state<T>, [] { return 0; },
      [&] { vrx_wrapper_engine<T>::gels(trans, &m64, &n64, &nrhs64, a, &lda64, b, &ldb64, work, &lwork64, &info64); },
      [&] { *info = static_cast<int>(info64); },
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "%cGELS(%c,%d,%d,%d,%p,%d,%p,%d,%p,%d,%d)", vrx_traits<T>::letter, *trans, *m, *n,
                      *nrhs, static_cast<void*>(a), *lda, static_cast<void*>(b), *ldb, static_cast<void*>(work),
                      *lwork, *info);
      });
}
}  // namespace

extern "C" void DGELS(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda,
                      double* b, const int* ldb, double* work, const int* lwork, int* info) {
  gels_wrapper(trans, m, n, nrhs, a, lda, b, ldb, work, lwork, info);
}
extern "C" void dgels(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda,
                      double* b, const int* ldb, double* work, const int* lwork, int* info) {
  DGELS(trans, m, n, nrhs, a, lda, b, ldb, work, lwork, info);
}
extern "C" void SGELS(const char* trans, const int* m, const int* n, const int* nrhs, float* a, const int* lda,
                      float* b, const int* ldb, float* work, const int* lwork, int* info) {
  gels_wrapper(trans, m, n, nrhs, a, lda, b, ldb, work, lwork, info);
}
extern "C" void sgels(const char* trans, const int* m, const int* n, const int* nrhs, float* a, const int* lda,
                      float* b, const int* ldb, float* work, const int* lwork, int* info) {
  SGELS(trans, m, n, nrhs, a, lda, b, ldb, work, lwork, info);
}
