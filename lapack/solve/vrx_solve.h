// The solves with the LU factors, the inverse from them and the triangular inverse,
// generic over the element type; the lettered entries of the LAPACK face call these.
#pragma once
#include "lapack/vrx_lapack.h"
#include "service/vrx_serv.h"

// The tuning query of GETRI and TRTRI. `name` and `opts` are terminated strings, `n` the
// order, `threads` the thread count the block size is chosen for. Key 1 block size,
// 2 smallest block, 3 LAPACK-domain threads, 4 and 5 one, 6 CPU type, others -1; keys 1
// and 2 answer 1 for a name without a precision letter.
vrx_int vrx_lapack_inverse_tuning(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n,
                                  const vrx_int* threads);

// op(A) X = B from the factors of GETRF (trans N, T or C), with the published checks.
template <typename T>
void vrx_lapack_getrs(const char* trans, vrx_int n, vrx_int nrhs, const T* a, vrx_int lda, const vrx_int* ipiv, T* b,
                      vrx_int ldb, vrx_int* info);
// inv(A) in place from the factors of GETRF; lwork = -1 asks for the size.
template <typename T>
void vrx_lapack_getri(vrx_int n, T* a, vrx_int lda, const vrx_int* ipiv, T* work, vrx_int lwork, vrx_int* info);
// inv(A) in place for a triangular A, with the published checks.
template <typename T>
void vrx_lapack_trtri(const char* uplo, const char* diag, vrx_int n, T* a, vrx_int lda, vrx_int* info);
// The unblocked triangular inverse, arguments unchecked, a zero diagonal not looked for.
template <typename T>
void vrx_lapack_trti2(bool upper, bool unit, vrx_int n, T* a, vrx_int lda);

// The inverse's tuning answer for the precision of T and the LAPACK domain's threads.
template <typename T>
inline vrx_int vrx_lapack_inverse_key(vrx_int key, const char* family, const char* opts, vrx_int n) {
  const vrx_routine_name_buffer name = vrx_routine_name<T>(family);
  const vrx_int threads = vrx_serv_get_max_threads();
  return vrx_lapack_inverse_tuning(&key, name.text, opts, &n, &threads);
}

// A failed check at `position` (0: none): info = -position, the report under the
// precision's name of `family`, and true.
template <typename T>
inline bool vrx_lapack_reject(const char* family, int position, vrx_int* info) {
  if (position == 0) return false;
  *info = -position;
  const vrx_routine_name_buffer name = vrx_routine_name<T>(family);
  vrx_serv_xerbla(name.text, &position, 6);
  return true;
}
