// ORGQR, ORGLQ and ORGQL (UNG.. for complex data): the published checks and workspace
// query, the block size and crossover from the tuning query, the blocks narrowed to the
// caller's work, and the choice of threads: several only when the LAPACK domain has them
// and m n k is above 400.
#include <algorithm>

#include "blas/level2/level2_common.h"
#include "lapack/qr/vrx_orthogonal.h"
#include "lapack/solve/vrx_solve.h"

namespace {
// Below this m n k the generator stays on one thread.
constexpr long long threaded_above = 400;

template <vrx_org_kind kind, typename T>
void generate(const char* tail, vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau,
              T* work, vrx_int lwork, vrx_int* info) {
  *info = 0;
  vrx_orthogonal_trace* trace = vrx_lapack_orthogonal_trace();
  *trace = vrx_orthogonal_trace{};
  const bool rows = kind == vrx_org_lq;
  // Reflectors are at most as many as the columns (rows for LQ), and work holds at least
  // that many elements.
  const vrx_int order = rows ? m : n;
  const bool query = lwork == -1;
  int position = 0;
  if (m < 0) position = 1;
  else if (rows ? n < m : (n < 0 || n > m)) position = 2;
  else if (k < 0 || k > order) position = 3;
  else if (lda < std::max<vrx_int>(1, m)) position = 5;
  else if (lwork < std::max<vrx_int>(1, order) && !query) position = 8;
  const vrx_routine_name_buffer family = vrx_orthogonal_family<T>(tail);
  if (vrx_lapack_reject<T>(family.text, position, info)) return;

  vrx_int nb = vrx_lapack_ilaenv<T>(1, family.text, " ", m, n, k, -1);
  if (query) {
    const vrx_int size = kind == vrx_org_ql && n == 0 ? 1 : std::max<vrx_int>(1, order) * nb;
    work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(size), 0);
    return;
  }
  if (order == 0) {
    work[0] = vrx_traits<T>::make(1, 0);
    return;
  }
  vrx_int nbmin = 2, nx = 0, iws = order;
  if (nb > 1 && nb < k) {
    nx = std::max<vrx_int>(0, vrx_lapack_ilaenv<T>(3, family.text, " ", m, n, k, -1));
    if (nx < k) {
      iws = order * nb;
      if (lwork < iws) {
        nb = lwork / order;
        nbmin = std::max<vrx_int>(2, vrx_lapack_ilaenv<T>(2, family.text, " ", m, n, k, -1));
      }
    }
  }
  const int t = std::max(1, vrx_serv_get_max_threads());
  trace->threads = t;
  const bool several = t > 1 && static_cast<long long>(m) * n * k > threaded_above;
  vrx_lapack_org_blocked<kind>(m, n, k, a, lda, tau, work, nb >= nbmin ? nb : 0, nx, several ? t : 1);
  work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(iws), 0);
}
}  // namespace

template <typename T>
void vrx_lapack_orgqr(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info) {
  generate<vrx_org_qr>("GQR", m, n, k, a, lda, tau, work, lwork, info);
}

template <typename T>
void vrx_lapack_orglq(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info) {
  generate<vrx_org_lq>("GLQ", m, n, k, a, lda, tau, work, lwork, info);
}

template <typename T>
void vrx_lapack_orgql(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info) {
  generate<vrx_org_ql>("GQL", m, n, k, a, lda, tau, work, lwork, info);
}

#define VRX_ORG_INSTANCE(T)                                                                          \
  template void vrx_lapack_orgqr<T>(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*, vrx_int, vrx_int*); \
  template void vrx_lapack_orglq<T>(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*, vrx_int, vrx_int*); \
  template void vrx_lapack_orgql<T>(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*, vrx_int, vrx_int*);
VRX_ORG_INSTANCE(float)
VRX_ORG_INSTANCE(double)
VRX_ORG_INSTANCE(vrx_complex_float)
VRX_ORG_INSTANCE(vrx_complex_double)
