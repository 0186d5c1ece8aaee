// DGEMM: the Fortran-style wrapper of the matrix product, with its checker.
#include <cstdio>
#include "blas/vrx_blas.h"
#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"
#include "service/vrx_serv.h"

namespace {
const int* verbose_state = &vrx_serv_verbose_unasked;

int at_least_one(int v) { return v > 1 ? v : 1; }

// Works on the low 32 bits of the widened words; reports under "DGEMM ".
int dgemm_check(const char* transa, const char* transb, vrx_int m64, vrx_int n64, vrx_int k64, vrx_int lda64,
                vrx_int ldb64, vrx_int ldc64) {
  const int m = static_cast<int>(m64), n = static_cast<int>(n64), k = static_cast<int>(k64);
  const bool a_plain = LSAME(transa, "N", 1, 1), b_plain = LSAME(transb, "N", 1, 1);
  int info = 0;
  if (!a_plain && !LSAME(transa, "C", 1, 1) && !LSAME(transa, "T", 1, 1)) info = 1;
  else if (!b_plain && !LSAME(transb, "C", 1, 1) && !LSAME(transb, "T", 1, 1)) info = 2;
  else if (m < 0) info = 3;
  else if (n < 0) info = 4;
  else if (k < 0) info = 5;
  else if (static_cast<int>(lda64) < at_least_one(a_plain ? m : k)) info = 8;
  else if (static_cast<int>(ldb64) < at_least_one(b_plain ? k : n)) info = 10;
  else if (static_cast<int>(ldc64) < at_least_one(m)) info = 13;
  if (info == 0) return 0;
  vrx_serv_xerbla("DGEMM ", &info, 6);
  return 1;
}
}  // namespace

extern "C" void DGEMM(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                      const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
                      const double* beta, double* c, const int* ldc) {
  vrx_serv_set_xerbla(XERBLA);
  const vrx_int m64 = *m, n64 = *n, k64 = *k, lda64 = *lda, ldb64 = *ldb, ldc64 = *ldc;
  vrx_wrapper_call(
      &verbose_state, [&] { return dgemm_check(transa, transb, m64, n64, k64, lda64, ldb64, ldc64); },
      [&] {
        vrx_blas_dgemm_gate(transa, transb, &m64, &n64, &k64, alpha, a, &lda64, b, &ldb64, beta, c, &ldc64, 1, 1);
      },
      [] {},
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "DGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)", *transa, *transb, *m, *n, *k,
                      static_cast<const void*>(alpha), static_cast<const void*>(a), *lda,
                      static_cast<const void*>(b), *ldb, static_cast<const void*>(beta), static_cast<const void*>(c),
                      *ldc);
      });
}

extern "C" void dgemm(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                      const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
                      const double* beta, double* c, const int* ldc) {
  DGEMM(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
