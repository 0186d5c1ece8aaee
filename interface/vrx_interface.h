// Fortran-style wrappers: everything by pointer, 32-bit integers, column-major arrays.
// Each has a second entry, in lower case, that jumps to it.
#pragma once
#include <cstddef>

extern "C" {
void DGEMM(const char* transa, const char* transb, const int* m, const int* n, const int* k, const double* alpha,
           const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
           const int* ldc);
void dgemm(const char* transa, const char* transb, const int* m, const int* n, const int* k, const double* alpha,
           const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
           const int* ldc);

// A = P L U; ipiv gets min(m, n) 1-based rows; info as published, -1023 without memory.
void DGETRF(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetrf(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void SGETRF(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info);
void sgetrf(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info);

// op(A) X = B with the factors of xGETRF; ipiv is read for max(n, 1) elements.
void DGETRS(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda, const int* ipiv,
            double* b, const int* ldb, int* info);
void dgetrs(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda, const int* ipiv,
            double* b, const int* ldb, int* info);
void SGETRS(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda, const int* ipiv,
            float* b, const int* ldb, int* info);
void sgetrs(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda, const int* ipiv,
            float* b, const int* ldb, int* info);

// inv(A) from the factors of DGETRF; lwork = -1 asks for the size in work[0] (ipiv unread).
void DGETRI(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork, int* info);
void dgetri(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork, int* info);

// A = U^T U (uplo U) or L L^T (uplo L) in the stored triangle; info k > 0: the leading
// minor of order k is not positive definite. The checker reports under DPOTRF.
void DPOTRF(const char* uplo, const int* n, double* a, const int* lda, int* info);
void dpotrf(const char* uplo, const int* n, double* a, const int* lda, int* info);
void SPOTRF(const char* uplo, const int* n, float* a, const int* lda, int* info);
void spotrf(const char* uplo, const int* n, float* a, const int* lda, int* info);

// A X = B with the factor of xPOTRF.
void DPOTRS(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda, double* b,
            const int* ldb, int* info);
void dpotrs(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda, double* b,
            const int* ldb, int* info);
void SPOTRS(const char* uplo, const int* n, const int* nrhs, const float* a, const int* lda, float* b,
            const int* ldb, int* info);
void spotrs(const char* uplo, const int* n, const int* nrhs, const float* a, const int* lda, float* b,
            const int* ldb, int* info);

// Least-squares (op(A) of full column rank) or minimum-norm (full row rank) solution of
// op(A) X = B, trans N or T; B has max(m, n) rows; lwork = -1 asks for the size in work[0].
void DGELS(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
           const int* ldb, double* work, const int* lwork, int* info);
void dgels(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
           const int* ldb, double* work, const int* lwork, int* info);
void SGELS(const char* trans, const int* m, const int* n, const int* nrhs, float* a, const int* lda, float* b,
           const int* ldb, float* work, const int* lwork, int* info);
void sgels(const char* trans, const int* m, const int* n, const int* nrhs, float* a, const int* lda, float* b,
           const int* ldb, float* work, const int* lwork, int* info);

// Eigenvalues ascending in w and, for jobz V, the orthonormal eigenvectors in a, of the
// symmetric matrix of which the uplo triangle is stored; lwork = -1 asks for the size.
void DSYEV(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w, double* work,
           const int* lwork, int* info);
void dsyev(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w, double* work,
           const int* lwork, int* info);
void SSYEV(const char* jobz, const char* uplo, const int* n, float* a, const int* lda, float* w, float* work,
           const int* lwork, int* info);
void ssyev(const char* jobz, const char* uplo, const int* n, float* a, const int* lda, float* w, float* work,
           const int* lwork, int* info);

// Blocks of the LAPACKE layers and of the wrappers' temporaries: the thread's pool,
// aligned to 128 bytes.
void* LAPACKE_malloc(std::size_t size);
void LAPACKE_free(void* pointer);
}

// The wrappers by element type, for the generic layers above them.
inline void vrx_fortran_getrf(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info) {
  DGETRF(m, n, a, lda, ipiv, info);
}
inline void vrx_fortran_getrf(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info) {
  SGETRF(m, n, a, lda, ipiv, info);
}
inline void vrx_fortran_getrs(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
                              const int* ipiv, double* b, const int* ldb, int* info) {
  DGETRS(trans, n, nrhs, a, lda, ipiv, b, ldb, info);
}
inline void vrx_fortran_getrs(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda,
                              const int* ipiv, float* b, const int* ldb, int* info) {
  SGETRS(trans, n, nrhs, a, lda, ipiv, b, ldb, info);
}
inline void vrx_fortran_potrf(const char* uplo, const int* n, double* a, const int* lda, int* info) {
  DPOTRF(uplo, n, a, lda, info);
}
inline void vrx_fortran_potrf(const char* uplo, const int* n, float* a, const int* lda, int* info) {
  SPOTRF(uplo, n, a, lda, info);
}
inline void vrx_fortran_potrs(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda,
                              double* b, const int* ldb, int* info) {
  DPOTRS(uplo, n, nrhs, a, lda, b, ldb, info);
}
inline void vrx_fortran_potrs(const char* uplo, const int* n, const int* nrhs, const float* a, const int* lda,
                              float* b, const int* ldb, int* info) {
  SPOTRS(uplo, n, nrhs, a, lda, b, ldb, info);
}
inline void vrx_fortran_syev(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w,
                             double* work, const int* lwork, int* info) {
  DSYEV(jobz, uplo, n, a, lda, w, work, lwork, info);
}
inline void vrx_fortran_syev(const char* jobz, const char* uplo, const int* n, float* a, const int* lda, float* w,
                             float* work, const int* lwork, int* info) {
  SSYEV(jobz, uplo, n, a, lda, w, work, lwork, info);
}
inline void vrx_fortran_gels(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda,
                             double* b, const int* ldb, double* work, const int* lwork, int* info) {
  DGELS(trans, m, n, nrhs, a, lda, b, ldb, work, lwork, info);
}
inline void vrx_fortran_gels(const char* trans, const int* m, const int* n, const int* nrhs, float* a, const int* lda,
                             float* b, const int* ldb, float* work, const int* lwork, int* info) {
  SGELS(trans, m, n, nrhs, a, lda, b, ldb, work, lwork, info);
}
