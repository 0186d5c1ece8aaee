// DGETRI: the wrapper of the inverse from the LU factors. The routine below checks its
// own arguments; a workspace query gets no pivot copy.
#include <algorithm>
#include <cstdio>

#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"
#include "lapack/vrx_lapack.h"

namespace {
const int* verbose_state = &vrx_serv_verbose_unasked;
}  // namespace

extern "C" void DGETRI(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork,
                       int* info) {
  vrx_serv_set_xerbla(XERBLA);
  const vrx_int n64 = *n, lda64 = *lda, lwork64 = *lwork;
  vrx_int* ipiv64 = nullptr;
  if (lwork64 != -1) {
    ipiv64 = vrx_wrapper_integers(ipiv, std::max<vrx_int>(n64, 1), "DGETRI", 6, info);
    if (!ipiv64) return;
  }
  vrx_int info64 = 0;
  vrx_wrapper_call(
      &verbose_state, [] { return 0; },
      [&] { vrx_lapack_dgetri(&n64, a, &lda64, ipiv64, work, &lwork64, &info64); },
      [&] {
        *info = static_cast<int>(info64);
        LAPACKE_free(ipiv64);
      },
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "DGETRI(%d,%p,%d,%p,%p,%d,%d)", *n, static_cast<void*>(a), *lda,
                      static_cast<const void*>(ipiv), static_cast<void*>(work), *lwork, *info);
      });
}
extern "C" void dgetri(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork,
                       int* info) {
  DGETRI(n, a, lda, ipiv, work, lwork, info);
}
