// ORMQR and ORMLQ (UNM.. for complex data): the published checks, the workspace query
// and the choice between the sequential and the threaded product. With the LAPACK
// domain's threads at 2 or more, blocks of the width asked for and more reflectors than
// one block, the threaded product runs, in workspace of its own when the caller's is too
// small; when that can't be had, the sequential product runs in the caller's.
#include <algorithm>

#include "blas/level2/level2_common.h"
#include "lapack/qr/vrx_orthogonal.h"
#include "lapack/solve/vrx_solve.h"

namespace {
constexpr vrx_int widest_sequential_block = 64;

template <typename T>
void put_size(T* work, vrx_int size) {
  work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(size), 0);
}

// Whether the threaded product ran: false sends the call to the sequential one.
template <typename T>
bool run_threaded(const vrx_orm_problem& p, const T* a, vrx_int lda, const T* tau, T* c, vrx_int ldc, T* work,
                  vrx_int lwork, vrx_int nb, int t) {
  vrx_orthogonal_trace* trace = vrx_lapack_orthogonal_trace();
  const vrx_int nbmin = std::max<vrx_int>(2, vrx_lapack_orm_key<T>(2, p));
  if (nb < nbmin || nb >= p.k) return false;
  const vrx_int need = vrx_lapack_orm_threaded_size(p.k, nb, t);
  if (lwork >= need) {
    vrx_lapack_orm_threaded(p, a, lda, tau, c, ldc, work, nb, t);
    return true;
  }
  T* own = static_cast<T*>(vrx_serv_malloc(static_cast<std::size_t>(need) * sizeof(T), 64));
  if (!own) {
    trace->fallback = 1;
    return false;
  }
  trace->allocated = 1;
  vrx_lapack_orm_threaded(p, a, lda, tau, c, ldc, own, nb, t);
  vrx_serv_free(own);
  return true;
}

template <typename T>
void multiply(bool rowwise, const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a,
              vrx_int lda, const T* tau, T* c, vrx_int ldc, T* work, vrx_int lwork, vrx_int* info) {
  *info = 0;
  vrx_orthogonal_trace* trace = vrx_lapack_orthogonal_trace();
  *trace = vrx_orthogonal_trace{};
  const bool left = vrx_l2_letter(side, "L");
  const vrx_int nq = left ? m : n, nw = std::max<vrx_int>(1, left ? n : m);
  const bool query = lwork == -1;
  int position = 0;
  if (!vrx_l2_letter(side, "LR")) position = 1;
  else if (!vrx_l2_letter(trans, vrx_is_complex<T> ? "NC" : "NTC")) position = 2;
  else if (m < 0) position = 3;
  else if (n < 0) position = 4;
  else if (k < 0 || k > nq) position = 5;
  else if (lda < std::max<vrx_int>(1, rowwise ? k : nq)) position = 7;
  else if (ldc < std::max<vrx_int>(1, m)) position = 10;
  else if (lwork < nw && !query) position = 12;
  if (vrx_lapack_reject<T>(vrx_orthogonal_family<T>(rowwise ? "MLQ" : "MQR").text, position, info)) return;

  const vrx_orm_problem p = {rowwise, left, vrx_l2_letter(trans, "N"), m, n, k};
  const int t = std::max(1, vrx_serv_get_max_threads());
  trace->threads = t;
  const vrx_int nb = vrx_lapack_orm_key<T>(1, p);
  vrx_int size;
  if (t < 2) size = nw * std::min(widest_sequential_block, nb);
  else size = std::max(nw, nb < k ? vrx_lapack_orm_threaded_size(k, nb, t) : nq);
  if (query) {
    put_size(work, size);
    return;
  }
  if (m == 0 || n == 0 || k == 0) {
    put_size<T>(work, 1);
    return;
  }
  if (t < 2 || !run_threaded(p, a, lda, tau, c, ldc, work, lwork, nb, t))
    vrx_lapack_orm_sequential(p, a, lda, tau, c, ldc, work, lwork);
  put_size(work, size);
}
}  // namespace

template <typename T>
void vrx_lapack_ormqr(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work, vrx_int lwork, vrx_int* info) {
  multiply(false, side, trans, m, n, k, a, lda, tau, c, ldc, work, lwork, info);
}

template <typename T>
void vrx_lapack_ormlq(const char* side, const char* trans, vrx_int m, vrx_int n, vrx_int k, const T* a, vrx_int lda,
                      const T* tau, T* c, vrx_int ldc, T* work, vrx_int lwork, vrx_int* info) {
  multiply(true, side, trans, m, n, k, a, lda, tau, c, ldc, work, lwork, info);
}

#define VRX_ORM_INSTANCE(T)                                                                                    \
  template void vrx_lapack_ormqr<T>(const char*, const char*, vrx_int, vrx_int, vrx_int, const T*, vrx_int,     \
                                    const T*, T*, vrx_int, T*, vrx_int, vrx_int*);                               \
  template void vrx_lapack_ormlq<T>(const char*, const char*, vrx_int, vrx_int, vrx_int, const T*, vrx_int,     \
                                    const T*, T*, vrx_int, T*, vrx_int, vrx_int*);
VRX_ORM_INSTANCE(float)
VRX_ORM_INSTANCE(double)
VRX_ORM_INSTANCE(vrx_complex_float)
VRX_ORM_INSTANCE(vrx_complex_double)
