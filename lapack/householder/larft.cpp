// The triangular factor T of a block reflector H = I - V T V^H, one column of T per
// reflector: T(:, i) = -tau(i) T V^H v(i), then the triangular product with the part of T
// already built. The zeros at the far end of each reflector (past its last non-zero, and
// past the furthest reach of the ones before it) are left out of the product.
#include "blas/level2/level2_common.h"
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
template <typename T>
bool nonzero(T x) {
  return !vrx_traits<T>::is_zero(x);
}

// T's view of V: element (row, col) as stored in the columns of v (storev C) or the rows
// (storev R); `row` runs along a reflector and `col` names it. Rows hold the reflectors
// conjugated, so the conjugate of a reflector's element is conj(stored) on column storage
// and the stored value itself on row storage.
template <typename T>
struct reflectors {
  const T* v;
  vrx_int ldv;
  bool rowwise;
  T at(vrx_int row, vrx_int col) const { return rowwise ? v[row * ldv + col] : v[col * ldv + row]; }
  T conj_at(vrx_int row, vrx_int col) const { return rowwise ? at(row, col) : vrx_traits<T>::conj(at(row, col)); }
  const T* address(vrx_int row, vrx_int col) const { return rowwise ? v + row * ldv + col : v + col * ldv + row; }
};

// t(first:last, i) += -tau V(lo:hi, first:last)^H V(lo:hi, i) for rows lo..hi-1 of V's
// reflector view: a GEMV on column storage, a product with one column on row storage
// (the row of reflector i must be conjugated, which GEMV cannot do).
template <typename T>
void add_products(const reflectors<T>& refl, vrx_int lo, vrx_int hi, vrx_int first, vrx_int last, vrx_int i,
                  T minus_tau, T* t_column) {
  typedef vrx_lapack_blas<T> blas;
  vrx_int len = hi - lo, count = last - first;
  if (len <= 0 || count <= 0) return;
  const T one = vrx_hh_one<T>();
  const vrx_int inc_one = 1;
  const char adjoint[2] = {vrx_traits<T>::adjoint, 0};
  if (!refl.rowwise) {
    blas::gemv(adjoint, &len, &count, &minus_tau, refl.address(lo, first), &refl.ldv, refl.address(lo, i), &inc_one,
               &one, t_column, &inc_one);
  } else if constexpr (!vrx_is_complex<T>) {
    blas::gemv("N", &count, &len, &minus_tau, refl.address(lo, first), &refl.ldv, refl.address(lo, i), &refl.ldv,
               &one, t_column, &inc_one);
  } else {
    const vrx_int one_column = 1;
    blas::gemm("N", adjoint, &count, &one_column, &len, &minus_tau, refl.address(lo, first), &refl.ldv,
               refl.address(lo, i), &refl.ldv, &one, t_column, &count);
  }
}

// H = H(1) H(2) ... H(k): T upper triangular; reflector i has its 1 at row i.
template <typename T>
void forward(const reflectors<T>& refl, vrx_int n, vrx_int k, const T* tau, T* t, vrx_int ldt) {
  typedef vrx_traits<T> tr;
  vrx_int reach = n;  // rows beyond `reach` are zero in every reflector so far
  for (vrx_int i = 0; i < k; ++i) {
    T* t_column = t + i * ldt;
    if (i + 1 > reach) reach = i + 1;
    if (tr::is_zero(tau[i])) {
      for (vrx_int j = 0; j <= i; ++j) t_column[j] = T{};
      continue;
    }
    vrx_int last = n;
    while (last > i + 1 && !nonzero(refl.at(last - 1, i))) --last;
    const T minus_tau = -tau[i];
    // Row i of the earlier reflectors meets the implicit 1 of reflector i.
    for (vrx_int j = 0; j < i; ++j) t_column[j] = minus_tau * refl.conj_at(i, j);
    add_products(refl, i + 1, last < reach ? last : reach, 0, i, i, minus_tau, t_column);
    const vrx_int len = i, inc_one = 1;
    if (len > 0) vrx_lapack_blas<T>::trmv("Upper", "No transpose", "Non-unit", &len, t, &ldt, t_column, &inc_one);
    t_column[i] = tau[i];
    reach = i > 0 && reach > last ? reach : last;
  }
}

// H = H(k) ... H(2) H(1): T lower triangular; reflector i has its 1 at row n - k + i.
template <typename T>
void backward(const reflectors<T>& refl, vrx_int n, vrx_int k, const T* tau, T* t, vrx_int ldt) {
  typedef vrx_traits<T> tr;
  vrx_int reach = 0;  // rows before `reach` are zero in every reflector after this one
  for (vrx_int i = k - 1; i >= 0; --i) {
    T* t_column = t + i * ldt;
    if (tr::is_zero(tau[i])) {
      for (vrx_int j = i; j < k; ++j) t_column[j] = T{};
      continue;
    }
    const vrx_int unit = n - k + i;
    if (i < k - 1) {
      vrx_int first = 0;
      while (first < unit && !nonzero(refl.at(first, i))) ++first;
      const T minus_tau = -tau[i];
      for (vrx_int j = i + 1; j < k; ++j) t_column[j] = minus_tau * refl.conj_at(unit, j);
      add_products(refl, first > reach ? first : reach, unit, i + 1, k, i, minus_tau, t_column + i + 1);
      const vrx_int len = k - 1 - i, inc_one = 1;
      vrx_lapack_blas<T>::trmv("Lower", "No transpose", "Non-unit", &len, t + (i + 1) * ldt + i + 1, &ldt,
                               t_column + i + 1, &inc_one);
      reach = i > 0 && reach < first ? reach : first;
    }
    t_column[i] = tau[i];
  }
}
}  // namespace

template <typename T>
void vrx_lapack_larft(const char* direct, const char* storev, vrx_int n, vrx_int k, const T* v, vrx_int ldv,
                      const T* tau, T* t, vrx_int ldt) {
  if (n <= 0) return;
  const reflectors<T> refl = {v, ldv, vrx_l2_letter(storev, "R")};
  if (vrx_l2_letter(direct, "F"))
    forward(refl, n, k, tau, t, ldt);
  else
    backward(refl, n, k, tau, t, ldt);
}

#define VRX_LARFT_INSTANCE(T)                                                                                     \
  template void vrx_lapack_larft<T>(const char*, const char*, vrx_int, vrx_int, const T*, vrx_int, const T*, T*,  \
                                    vrx_int);
VRX_LARFT_INSTANCE(float)
VRX_LARFT_INSTANCE(double)
VRX_LARFT_INSTANCE(vrx_complex_float)
VRX_LARFT_INSTANCE(vrx_complex_double)
#undef VRX_LARFT_INSTANCE
