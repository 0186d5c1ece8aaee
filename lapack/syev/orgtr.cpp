// The orthogonal (unitary) Q of the tridiagonal reduction, formed in place of the
// reflectors. For the upper form Q = H(n-1) ... H(1) has the reflectors of a QL
// factorisation of order n - 1 one column to the right of where the generator wants
// them, with the last row and column of the identity; for the lower form Q = H(1) ...
// H(n-1) has those of a QR factorisation one column to the left, with the identity's
// first row and column. So the vectors are shifted by a column and ORGQL or ORGQR runs.
#include "blas/level2/level2_common.h"
#include "lapack/qr/vrx_qr.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/syev/vrx_syev.h"

namespace {
template <typename T>
const char* family() {
  return vrx_is_complex<T> ? "UNGTR" : "ORGTR";
}

// The generator of order m = n - 1 on the shifted vectors (b, ldb); a query when lwork is -1.
template <typename T>
void generate(bool upper, vrx_int m, T* b, vrx_int ldb, const T* tau, T* work, vrx_int lwork, vrx_int* info) {
  if (upper) vrx_lapack_orgql(m, m, m, b, ldb, tau, work, lwork, info);
  else vrx_lapack_orgqr(m, m, m, b, ldb, tau, work, lwork, info);
}
}  // namespace

template <typename T>
void vrx_lapack_orgtr(const char* uplo, vrx_int n, T* a, vrx_int lda, const T* tau, T* work, vrx_int lwork,
                      vrx_int* info) {
  typedef vrx_traits<T> tr;
  *info = 0;
  const bool query = lwork == -1;
  const vrx_int least = n > 2 ? n - 1 : 1;
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (n < 0) position = 2;
  else if (lda < (n > 1 ? n : 1)) position = 4;
  else if (lwork < least && !query) position = 7;
  if (vrx_lapack_reject<T>(family<T>(), position, info)) return;

  const bool upper = vrx_l2_letter(uplo, "U");
  const vrx_int m = n - 1;
  vrx_int lwkopt = least;
  if (m > 0) {
    // The generator tells its own optimal size.
    T size = tr::make(0, 0);
    vrx_int asked = 0;
    generate(upper, m, upper ? a : a + 1 + lda, lda, tau, &size, -1, &asked);
    const vrx_int wanted = static_cast<vrx_int>(tr::real_part(size));
    if (asked == 0 && wanted > lwkopt) lwkopt = wanted;
  }
  work[0] = tr::make(static_cast<vrx_real_t<T>>(lwkopt), 0);
  if (query) return;
  if (n == 0) {
    work[0] = tr::make(1, 0);
    return;
  }

  const auto at = [a, lda](vrx_int i, vrx_int j) -> T& { return a[i + j * lda]; };
  const T zero = tr::make(0, 0), one = tr::make(1, 0);
  if (upper) {
    for (vrx_int j = 0; j < m; ++j) {
      for (vrx_int i = 0; i < j; ++i) at(i, j) = at(i, j + 1);
      at(n - 1, j) = zero;
    }
    for (vrx_int i = 0; i < m; ++i) at(i, n - 1) = zero;
    at(n - 1, n - 1) = one;
  } else {
    for (vrx_int j = n - 1; j >= 1; --j) {
      at(0, j) = zero;
      for (vrx_int i = j + 1; i < n; ++i) at(i, j) = at(i, j - 1);
    }
    at(0, 0) = one;
    for (vrx_int i = 1; i < n; ++i) at(i, 0) = zero;
  }
  if (m > 0) generate(upper, m, upper ? a : a + 1 + lda, lda, tau, work, lwork, info);
  work[0] = tr::make(static_cast<vrx_real_t<T>>(lwkopt), 0);
}

template void vrx_lapack_orgtr<float>(const char*, vrx_int, float*, vrx_int, const float*, float*, vrx_int, vrx_int*);
template void vrx_lapack_orgtr<double>(const char*, vrx_int, double*, vrx_int, const double*, double*, vrx_int,
                                       vrx_int*);
template void vrx_lapack_orgtr<vrx_complex_float>(const char*, vrx_int, vrx_complex_float*, vrx_int,
                                                  const vrx_complex_float*, vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_orgtr<vrx_complex_double>(const char*, vrx_int, vrx_complex_double*, vrx_int,
                                                   const vrx_complex_double*, vrx_complex_double*, vrx_int, vrx_int*);
