// Fortran-style wrappers: everything by pointer, 32-bit integers.
#pragma once

extern "C" {
void DGEMM(const char* transa, const char* transb, const int* m, const int* n, const int* k, const double* alpha,
           const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
           const int* ldc);
}
