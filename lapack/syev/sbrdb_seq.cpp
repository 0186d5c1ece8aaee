// Band to tridiagonal by bulge chasing, one sweep after the other. Sweep i annihilates
// column i below the subdiagonal with one reflector, applies it to the diagonal block on
// both sides and to the block below from the right, which fills that block (the bulge).
// The next reflector annihilates the bulge's first column, is applied from the left to
// the rest of the bulge, and so on down the band. The rest of each bulge is left for the
// sweeps that follow; each of them cleans the columns it passes. The algorithm is written
// for the lower triangle; the upper form does the same on the conjugate transpose, so its
// columns are read as rows and its left and right applications change places.
#include "lapack/householder/vrx_householder.h"
#include "lapack/syev/vrx_band_reduction.h"
#include "lapack/syev/vrx_sytrd.h"
#include "service/vrx_verbose.h"

namespace {
template <typename T>
struct band_matrix {
  T* a;        // A(p, q) at a[p + q ld], lower or upper triangle as stored
  vrx_int ld;
  bool upper;
  T& at(vrx_int p, vrx_int q) const { return a[p + q * ld]; }
  // Element (p, c), p > c, of the lower triangle, read through the stored one.
  T lower(vrx_int p, vrx_int c) const { return upper ? vrx_traits<T>::conj(at(c, p)) : at(p, c); }
  void set_lower(vrx_int p, vrx_int c, T x) const {
    if (upper) at(c, p) = vrx_traits<T>::conj(x);
    else at(p, c) = x;
  }
};

// One step of a sweep: the reflector that annihilates rows r + 1 .. r + m - 1 of column c
// and its applications. Returns the rows below the block that the reflector reached.
template <typename T>
vrx_int step(const band_matrix<T>& b, vrx_int n, vrx_int kd, vrx_int c, vrx_int r, vrx_int m, bool first, T* q,
             vrx_int ldq, T* v, T* x, T* beta_out) {
  typedef vrx_traits<T> tr;
  for (vrx_int k = 0; k < m; ++k) v[k] = b.lower(r + k, c);
  T beta = v[0], tau;
  vrx_lapack_larfg<T>(m, &beta, v + 1, 1, &tau);
  b.set_lower(r, c, beta);
  for (vrx_int k = 1; k < m; ++k) b.set_lower(r + k, c, T{});
  *beta_out = beta;
  v[0] = tr::make(1, 0);
  const vrx_int below = kd < n - r - m ? kd : n - r - m;
  if (tr::is_zero(tau)) return below;
  const T tau_h = tr::conj(tau);
  // The rest of the bulge this reflector came from: columns c + 1 .. r - 1.
  const vrx_int rest = r - 1 - c;
  if (!first && rest > 0) {
    if (b.upper) vrx_lapack_larf<T>("R", rest, m, v, 1, tau, &b.at(c + 1, r), b.ld, x);
    else vrx_lapack_larf<T>("L", m, rest, v, 1, tau_h, &b.at(r, c + 1), b.ld, x);
  }
  vrx_syev_reflect_both_sides(b.upper ? "U" : "L", m, tau, v, &b.at(r, r), b.ld, x);
  // The block below the diagonal block: here the next bulge appears.
  if (below > 0) {
    if (b.upper) vrx_lapack_larf<T>("L", m, below, v, 1, tau_h, &b.at(r, r + m), b.ld, x);
    else vrx_lapack_larf<T>("R", below, m, v, 1, tau, &b.at(r + m, r), b.ld, x);
  }
  if (q) vrx_lapack_larf<T>("R", n, m, v, 1, tau, q + r * ldq, ldq, x);
  return below;
}

// Waits until sweep `before` has passed row `row` (pos[before] >= row); the clock read
// is the pause of the spin.
inline void wait_for(const vrx_int* pos, vrx_int before, vrx_int row) {
  while (__atomic_load_n(pos + before, __ATOMIC_ACQUIRE) < row) vrx_serv_second();
}
}  // namespace

template <typename T>
void vrx_lapack_sbrdb_clear(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab) {
  if (kd == 0 || n < 2) return;
  const band_matrix<T> b = {upper ? ab + 2 * kd - 1 : ab, ldab - 1, upper};
  for (vrx_int q = 0; q < n; ++q)
    for (vrx_int p = q + kd + 1; p < n && p < q + 2 * kd; ++p) b.set_lower(p, q, T{});
}

template <typename T>
void vrx_lapack_sbrdb_sweep(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab, vrx_real_t<T>* d,
                            vrx_real_t<T>* e, T* q, vrx_int ldq, T* work, vrx_int i, vrx_int* pos) {
  typedef vrx_traits<T> tr;
  const band_matrix<T> b = {upper ? ab + 2 * kd - 1 : ab, ldab - 1, upper};
  const vrx_int width = kd < n - 1 ? kd : n - 1;
  T* v = work;
  T* x = work + width;
  vrx_int c = i, r = i + 1, m = width < n - 1 - i ? width : n - 1 - i;
  // A step (c, r, m) touches rows and columns c .. r + m + below - 1 and nothing before c
  // afterwards: the sweep ahead must have left that range first.
  const auto reach = [n, width](vrx_int r, vrx_int m) { return r + m + (width < n - r - m ? width : n - r - m); };
  if (pos && i > 0) wait_for(pos, i - 1, reach(r, m));
  T beta;
  vrx_int below = step(b, n, width, c, r, m, true, q, ldq, v, x, &beta);
  e[i] = tr::real_part(beta);
  d[i] = tr::real_part(b.at(i, i));
  while (below > 1) {
    c = r;
    r += m;
    m = below;
    if (pos) {
      __atomic_store_n(pos + i, c, __ATOMIC_RELEASE);
      if (i > 0) wait_for(pos, i - 1, reach(r, m));
    }
    below = step(b, n, width, c, r, m, false, q, ldq, v, x, &beta);
  }
  if (pos) __atomic_store_n(pos + i, n, __ATOMIC_RELEASE);
}

template <typename T>
void vrx_lapack_sbrdb_seq(bool upper, vrx_int n, vrx_int kd, T* ab, vrx_int ldab, vrx_real_t<T>* d,
                          vrx_real_t<T>* e, T* q, vrx_int ldq, T* work) {
  typedef vrx_traits<T> tr;
  if (n <= 0) return;
  if (kd == 0 || n == 1) {
    // Diagonal already: the diagonal sits in row 0 either way when kd is 0.
    for (vrx_int i = 0; i < n; ++i) d[i] = tr::real_part(ab[i * ldab]);
    for (vrx_int i = 0; i + 1 < n; ++i) e[i] = 0;
    return;
  }
  // The rows beyond the band hold bulges while they pass; they start as zeros whatever
  // the caller left there. n - 1 sweeps: the last one only makes the last off-diagonal
  // element real (Hermitian data; for real data its reflector is the identity).
  vrx_lapack_sbrdb_clear<T>(upper, n, kd, ab, ldab);
  for (vrx_int i = 0; i < n - 1; ++i) vrx_lapack_sbrdb_sweep<T>(upper, n, kd, ab, ldab, d, e, q, ldq, work, i, nullptr);
  d[n - 1] = tr::real_part(ab[(upper ? 2 * kd - 1 : 0) + (n - 1) * ldab]);
}

#define VRX_SBRDB_SWEEP_INSTANCE(T)                                                                                \
  template void vrx_lapack_sbrdb_clear<T>(bool, vrx_int, vrx_int, T*, vrx_int);                                  \
  template void vrx_lapack_sbrdb_sweep<T>(bool, vrx_int, vrx_int, T*, vrx_int, vrx_real_t<T>*, vrx_real_t<T>*, T*, \
                                          vrx_int, T*, vrx_int, vrx_int*);
VRX_SBRDB_SWEEP_INSTANCE(float)
VRX_SBRDB_SWEEP_INSTANCE(double)
VRX_SBRDB_SWEEP_INSTANCE(vrx_complex_float)
VRX_SBRDB_SWEEP_INSTANCE(vrx_complex_double)
#undef VRX_SBRDB_SWEEP_INSTANCE

template void vrx_lapack_sbrdb_seq<float>(bool, vrx_int, vrx_int, float*, vrx_int, float*, float*, float*, vrx_int,
                                          float*);
template void vrx_lapack_sbrdb_seq<double>(bool, vrx_int, vrx_int, double*, vrx_int, double*, double*, double*,
                                           vrx_int, double*);
template void vrx_lapack_sbrdb_seq<vrx_complex_float>(bool, vrx_int, vrx_int, vrx_complex_float*, vrx_int, float*,
                                                      float*, vrx_complex_float*, vrx_int, vrx_complex_float*);
template void vrx_lapack_sbrdb_seq<vrx_complex_double>(bool, vrx_int, vrx_int, vrx_complex_double*, vrx_int, double*,
                                                       double*, vrx_complex_double*, vrx_int, vrx_complex_double*);
