// GELS: the least-squares solution of an overdetermined op(A) X = B, or the minimum-norm
// solution of an underdetermined one, for A of full rank. A is factored as Q R (m >= n) or
// L Q (m < n); the solution takes one product with Q and one triangular solve. A and B are
// first brought into the range where the factorisation neither overflows nor underflows.
#include <algorithm>

#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"
#include "lapack/qr/vrx_orthogonal.h"
#include "lapack/solve/vrx_solve.h"

namespace {
// The largest block size the factorisation and the product with Q ask for: GEQRF and
// ORMQR for m >= n, GELQF and ORMLQ otherwise, with the side and op of the product as
// they will be called.
template <typename T>
vrx_int block_size(bool transposed, vrx_int m, vrx_int n, vrx_int nrhs) {
  if (m >= n) {
    const vrx_int nb = vrx_lapack_ilaenv<T>(1, "GEQRF", " ", m, n, -1, -1);
    return std::max(nb, vrx_lapack_orm_key<T>(1, vrx_orm_problem{false, true, transposed, m, nrhs, n}));
  }
  const vrx_int nb = vrx_lapack_ilaenv<T>(1, "GELQF", " ", m, n, -1, -1);
  return std::max(nb, vrx_lapack_orm_key<T>(1, vrx_orm_problem{true, true, !transposed, n, nrhs, m}));
}

// Numbers whose largest magnitude lies in [small, big] are factored as they stand; small is
// the safe minimum over the precision, big its inverse.
template <typename R>
constexpr R safe_small() {
  return vrx_machine<R>::sfmin / vrx_machine<R>::prec;
}

// Scales an m by n matrix of largest magnitude `norm` to `small` or `big` when it lies
// outside that range; answers the magnitude it now has, or 0 when it was left alone.
template <typename T>
vrx_real_t<T> bring_into_range(vrx_real_t<T> norm, vrx_int m, vrx_int n, T* a, vrx_int lda) {
  typedef vrx_real_t<T> R;
  const R small = safe_small<R>(), big = 1 / small;
  R target = 0;
  if (norm > 0 && norm < small) target = small;
  else if (norm > big) target = big;
  vrx_int info = 0;
  if (target != 0) vrx_lapack_lascl<T>("G", 0, 0, norm, target, m, n, a, lda, &info);
  return target;
}

template <typename T>
void set_size(T* work, vrx_int size) {
  work[0] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(size), 0);
}
}  // namespace

template <typename T>
void vrx_lapack_gels(const char* trans, vrx_int m, vrx_int n, vrx_int nrhs, T* a, vrx_int lda, T* b, vrx_int ldb,
                     T* work, vrx_int lwork, vrx_int* info) {
  typedef vrx_real_t<T> R;
  *info = 0;
  const vrx_int mn = std::min(m, n);
  const bool query = lwork == -1;
  int position = 0;
  if (!vrx_l2_letter(trans, vrx_is_complex<T> ? "NC" : "NT")) position = 1;
  else if (m < 0) position = 2;
  else if (n < 0) position = 3;
  else if (nrhs < 0) position = 4;
  else if (lda < std::max<vrx_int>(1, m)) position = 6;
  else if (ldb < std::max<vrx_int>({1, m, n})) position = 8;
  else if (lwork < std::max<vrx_int>(1, mn + std::max(mn, nrhs)) && !query) position = 10;

  const bool transposed = !vrx_l2_letter(trans, "N");
  vrx_int size = 1;
  // As published, a workspace too short is still told the size it should have been.
  if (position == 0 || position == 10) {
    size = std::max<vrx_int>(1, mn + std::max(mn, nrhs) * block_size<T>(transposed, m, n, nrhs));
    set_size(work, size);
  }
  if (vrx_lapack_reject<T>("GELS", position, info) || query) return;

  const T zero{};
  if (std::min({m, n, nrhs}) == 0) {
    vrx_lapack_laset<T>("Full", std::max(m, n), nrhs, zero, zero, b, ldb);
    return;
  }

  R unused = 0;
  const R norm_a = vrx_lapack_lange<T>("M", m, n, a, lda, &unused);
  if (norm_a == 0) {
    // A is zero: so is every solution.
    vrx_lapack_laset<T>("Full", std::max(m, n), nrhs, zero, zero, b, ldb);
    set_size(work, size);
    return;
  }
  const R scale_a = bring_into_range(norm_a, m, n, a, lda);
  const vrx_int b_rows = transposed ? n : m;
  const R norm_b = vrx_lapack_lange<T>("M", b_rows, nrhs, b, ldb, &unused);
  const R scale_b = bring_into_range(norm_b, b_rows, nrhs, b, ldb);

  // work: the mn reflector factors, then the workspace of the routines called.
  T* const tau = work;
  T* const rest = work + mn;
  const vrx_int rest_size = lwork - mn;
  const char* const adjoint = vrx_is_complex<T> ? "Conjugate transpose" : "Transpose";
  vrx_int solution_rows;
  if (m >= n) {
    vrx_lapack_geqrf_host<T>(m, n, a, lda, tau, rest, rest_size, info);
    if (*info != 0) return;
    if (!transposed) {
      // min ||A X - B||: X = inv(R) (Q^H B)(1:n, :).
      vrx_lapack_ormqr<T>("Left", adjoint, m, nrhs, n, a, lda, tau, b, ldb, rest, rest_size, info);
      if (*info != 0) return;
      vrx_lapack_trtrs<T>("Upper", "No transpose", "Non-unit", n, nrhs, a, lda, b, ldb, info);
      if (*info > 0) return;
      solution_rows = n;
    } else {
      // A^H X = B, underdetermined: X = Q (inv(R^H) B; 0).
      vrx_lapack_trtrs<T>("Upper", adjoint, "Non-unit", n, nrhs, a, lda, b, ldb, info);
      if (*info > 0) return;
      vrx_lapack_laset<T>("Full", m - n, nrhs, zero, zero, b + n, ldb);
      vrx_lapack_ormqr<T>("Left", "No transpose", m, nrhs, n, a, lda, tau, b, ldb, rest, rest_size, info);
      if (*info != 0) return;
      solution_rows = m;
    }
  } else {
    vrx_lapack_gelqf<T>(m, n, a, lda, tau, rest, rest_size, info);
    if (*info != 0) return;
    if (!transposed) {
      // A X = B, underdetermined: X = Q^H (inv(L) B; 0).
      vrx_lapack_trtrs<T>("Lower", "No transpose", "Non-unit", m, nrhs, a, lda, b, ldb, info);
      if (*info > 0) return;
      vrx_lapack_laset<T>("Full", n - m, nrhs, zero, zero, b + m, ldb);
      vrx_lapack_ormlq<T>("Left", adjoint, n, nrhs, m, a, lda, tau, b, ldb, rest, rest_size, info);
      if (*info != 0) return;
      solution_rows = n;
    } else {
      // min ||A^H X - B||: X = inv(L^H) (Q B)(1:m, :).
      vrx_lapack_ormlq<T>("Left", "No transpose", n, nrhs, m, a, lda, tau, b, ldb, rest, rest_size, info);
      if (*info != 0) return;
      vrx_lapack_trtrs<T>("Lower", adjoint, "Non-unit", m, nrhs, a, lda, b, ldb, info);
      if (*info > 0) return;
      solution_rows = m;
    }
  }

  // The solution of the scaled problem, scaled back.
  vrx_int unused_info = 0;
  if (scale_a != 0) vrx_lapack_lascl<T>("G", 0, 0, norm_a, scale_a, solution_rows, nrhs, b, ldb, &unused_info);
  if (scale_b != 0) vrx_lapack_lascl<T>("G", 0, 0, scale_b, norm_b, solution_rows, nrhs, b, ldb, &unused_info);
  set_size(work, size);
}

template void vrx_lapack_gels<float>(const char*, vrx_int, vrx_int, vrx_int, float*, vrx_int, float*, vrx_int, float*,
                                     vrx_int, vrx_int*);
template void vrx_lapack_gels<double>(const char*, vrx_int, vrx_int, vrx_int, double*, vrx_int, double*, vrx_int,
                                      double*, vrx_int, vrx_int*);
template void vrx_lapack_gels<vrx_complex_float>(const char*, vrx_int, vrx_int, vrx_int, vrx_complex_float*, vrx_int,
                                                 vrx_complex_float*, vrx_int, vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_gels<vrx_complex_double>(const char*, vrx_int, vrx_int, vrx_int, vrx_complex_double*, vrx_int,
                                                  vrx_complex_double*, vrx_int, vrx_complex_double*, vrx_int, vrx_int*);

void vrx_lapack_sgels(const char* trans, const vrx_int* m, const vrx_int* n, const vrx_int* nrhs, float* a,
                      const vrx_int* lda, float* b, const vrx_int* ldb, float* work, const vrx_int* lwork,
                      vrx_int* info) {
  vrx_lapack_gels(trans, *m, *n, *nrhs, a, *lda, b, *ldb, work, *lwork, info);
}
void vrx_lapack_dgels(const char* trans, const vrx_int* m, const vrx_int* n, const vrx_int* nrhs, double* a,
                      const vrx_int* lda, double* b, const vrx_int* ldb, double* work, const vrx_int* lwork,
                      vrx_int* info) {
  vrx_lapack_gels(trans, *m, *n, *nrhs, a, *lda, b, *ldb, work, *lwork, info);
}
