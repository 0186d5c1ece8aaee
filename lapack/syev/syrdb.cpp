// Full to band (SYRDB, HERDB), then band to tridiagonal by the sweeps. Each panel of b
// columns (lower; rows for upper, read conjugate-transposed) below the band is factored
// as Q1 R with Q1 = I - V T V^H, R joins the band and V the stored reflectors, and the
// trailing matrix takes Q1^H A Q1 = A - V W^H - W V^H with W = A V T - 1/2 V (T^H V^H A V T)
// (SYMM, TRMM, GEMM, SYR2K). A panel narrower than the band also moves the strip between
// it and the trailing matrix. Q is formed from the stored reflectors by ORGQR ("V") or
// updated panel by panel ("U"), and the band's own reduction then carries it along.
//
// Reflector c (0 <= c < n - kd - 1) acts on rows c + kd .. n - 1, v(0) = 1 implied, its
// other elements in A(c + kd + 1 .., c) (lower) or conjugated in A(c, c + kd + 1 ..)
// (upper), its scalar in tau[c]. For "V", q may be a itself (ldq = lda): Q is formed
// there once the band has been copied out.
#include <type_traits>

#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_qr.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/syev/vrx_band_reduction.h"
#include "lapack/syev/vrx_sytrd.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
// SYMM for real data, HEMM for complex data.
template <typename T>
constexpr vrx_symm_fn_type<T>* hermitian_product() {
  if constexpr (std::is_same_v<T, float>) return vrx_blas_ssymm;
  else if constexpr (std::is_same_v<T, double>) return vrx_blas_dsymm;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return vrx_blas_chemm;
  else return vrx_blas_zhemm;
}

template <typename T>
constexpr const char* family() {
  return vrx_is_complex<T> ? "HERDB" : "SYRDB";
}

// Where the pieces of one panel step sit in work: V and W (n - kd by b), T and Z (b by
// b), a vector of max(b, kd) for the unblocked steps, and for "U" Q V (n by b).
struct panel_layout {
  vrx_int b, ldv, v, w, t, z, vec, qv, size;
};
panel_layout layout_for(vrx_int n, vrx_int kd, vrx_int b, bool update_q) {
  panel_layout p;
  p.b = b;
  p.ldv = n - kd;
  p.v = 0;
  p.w = p.v + p.ldv * b;
  p.t = p.w + p.ldv * b;
  p.z = p.t + b * b;
  p.vec = p.z + b * b;
  p.qv = p.vec + (b > kd ? b : kd);
  p.size = p.qv + (update_q ? n * b : 0);
  return p;
}

// The least work: the band with its sweeps after the panels, and panels of one column.
vrx_int least_work(vrx_int n, vrx_int kd, bool vectors, bool update_q) {
  const vrx_int band = 2 * kd * n + vrx_band_sweep_workspace(n, kd, vectors);
  const vrx_int panels = layout_for(n, kd, 1, update_q).size;
  return band > panels ? band : panels;
}

template <typename T>
struct stage_one {
  bool upper;
  vrx_int n, kd;
  T* a;
  vrx_int lda;
  T* tau;
  T* q;
  vrx_int ldq;
  bool update_q;  // Q := Q Q1 for each panel
  T* work;
  panel_layout p;
  T& at(vrx_int i, vrx_int j) const { return a[i + j * lda]; }
};

// The panel of columns j0 .. j0 + pb - 1, rows p0 = j0 + kd .. n - 1 of the lower picture.
template <typename T>
void reduce_panel(const stage_one<T>& s, vrx_int j0, vrx_int pb) {
  typedef vrx_traits<T> tr;
  typedef vrx_lapack_blas<T> blas;
  const vrx_int p0 = j0 + s.kd, mp = s.n - p0, ldv = s.p.ldv, b = s.p.b;
  T* v = s.work + s.p.v;
  T* w = s.work + s.p.w;
  T* t = s.work + s.p.t;
  T* z = s.work + s.p.z;
  T* vec = s.work + s.p.vec;
  // The panel into V (conjugate-transposed from the rows of the upper triangle), its QR
  // there, and R and the reflectors back in place.
  for (vrx_int k = 0; k < pb; ++k)
    for (vrx_int i = 0; i < mp; ++i)
      v[i + k * ldv] = s.upper ? tr::conj(s.at(j0 + k, p0 + i)) : s.at(p0 + i, j0 + k);
  vrx_lapack_geqr2<T>(mp, pb, v, ldv, s.tau + j0, vec);
  vrx_lapack_larft<T>("Forward", "Columnwise", mp, pb, v, ldv, s.tau + j0, t, b);
  for (vrx_int k = 0; k < pb; ++k)
    for (vrx_int i = 0; i < mp; ++i) {
      T& stored = s.upper ? s.at(j0 + k, p0 + i) : s.at(p0 + i, j0 + k);
      stored = s.upper ? tr::conj(v[i + k * ldv]) : v[i + k * ldv];
      // V explicit from here: unit diagonal, zeros above.
      if (i <= k) v[i + k * ldv] = tr::make(i == k ? 1 : 0, 0);
    }
  const T one = tr::make(1, 0), zero = T{}, minus_half = tr::make(-0.5, 0), minus_one = tr::make(-1, 0);
  // The strip between the panel and the trailing matrix takes Q1 from the left.
  const vrx_int strip = s.kd - pb;
  if (strip > 0) {
    if (s.upper) vrx_lapack_orm2r<T>("R", "N", strip, mp, pb, v, ldv, s.tau + j0, &s.at(j0 + pb, p0), s.lda, vec);
    else vrx_lapack_orm2r<T>("L", "C", mp, strip, pb, v, ldv, s.tau + j0, &s.at(p0, j0 + pb), s.lda, vec);
  }
  const char* uplo = s.upper ? "U" : "L";
  const char adjoint[2] = {tr::adjoint, 0};
  T* a22 = &s.at(p0, p0);
  // W = A V T - 1/2 V (T^H (V^H A V T)).
  hermitian_product<T>()("L", uplo, &mp, &pb, &one, a22, &s.lda, v, &ldv, &zero, w, &ldv);
  blas::trmm("R", "U", "N", "N", &mp, &pb, &one, t, &b, w, &ldv);
  blas::gemm(adjoint, "N", &pb, &pb, &mp, &one, v, &ldv, w, &ldv, &zero, z, &b);
  blas::trmm("L", "U", adjoint, "N", &pb, &pb, &one, t, &b, z, &b);
  blas::gemm("N", "N", &mp, &pb, &pb, &minus_half, v, &ldv, z, &b, &one, w, &ldv);
  const vrx_real_t<T> real_one = 1;
  vrx_syev_blas<T>::syr2k(uplo, "N", &mp, &pb, &minus_one, v, &ldv, w, &ldv, &real_one, a22, &s.lda);
  if (s.update_q)
    vrx_lapack_larfb<T>("R", "N", "F", "C", s.n, mp, pb, v, ldv, t, b, s.q + p0 * s.ldq, s.ldq,
                        s.work + s.p.qv, s.n);
}

// Q from the stored reflectors: identity on the first kd rows and columns, ORGQR of the
// reflectors copied into the rest. q may be a itself (once the band has been copied out):
// the lower form moves each column kd to the right, last first, and the upper form
// writes below the diagonal what it reads above.
template <typename T>
void form_q(const stage_one<T>& s, T* work, vrx_int lwork) {
  typedef vrx_traits<T> tr;
  const vrx_int n = s.n, kd = s.kd, m = n - kd, k = n - kd - 1, ldq = s.ldq;
  T* qs = s.q + kd + kd * ldq;
  for (vrx_int c = k - 1; c >= 0; --c)
    for (vrx_int i = 1; c + i < m; ++i)
      qs[c + i + c * ldq] = s.upper ? tr::conj(s.at(c, c + kd + i)) : s.at(c + kd + i, c);
  vrx_lapack_laset<T>("Full", kd, n, T{}, tr::make(1, 0), s.q, ldq);
  vrx_lapack_laset<T>("Full", m, kd, T{}, T{}, s.q + kd, ldq);
  vrx_int info = 0;
  vrx_lapack_orgqr<T>(m, m, k, qs, ldq, s.tau, work, lwork, &info);
}
}  // namespace

template <typename T>
void vrx_lapack_syrdb(const char* jobz, const char* uplo, vrx_int n, vrx_int kd, T* a, vrx_int lda,
                      vrx_real_t<T>* d, vrx_real_t<T>* e, T* tau, T* q, vrx_int ldq, T* work, vrx_int lwork,
                      vrx_int* info) {
  typedef vrx_traits<T> tr;
  typedef vrx_real_t<T> R;
  *info = 0;
  const bool vectors = vrx_l2_letter(jobz, "VU"), update_q = vrx_l2_letter(jobz, "U"), query = lwork == -1;
  const int threads = vrx_serv_get_max_threads() > 1 ? vrx_serv_get_max_threads() : 1;
  int position = 0;
  if (!vrx_l2_letter(jobz, "NVU")) position = 1;
  else if (!vrx_l2_letter(uplo, "UL")) position = 2;
  else if (n < 0) position = 3;
  else if (kd < -1 || kd == 0) position = 4;
  else if (lda < (n > 1 ? n : 1)) position = 6;
  else if (vectors && ldq < (n > 1 ? n : 1)) position = 11;
  if (position == 0 && kd == -1) {
    const char opts[2] = {static_cast<char>(*jobz & ~0x20), 0};
    const vrx_int key = vrx_lapack_ilaenv<T>(1, family<T>(), opts, n, threads, -1, -1);
    kd = key < n - 1 ? key : n - 1;
  }
  if (position == 0 && (n < 3 || kd >= n - 1)) {
    work[0] = tr::make(1, 0);
    return;
  }
  vrx_int answer = 0, least = 0;
  if (position == 0) {
    answer = n * (3 * kd + 3) + static_cast<vrx_int>(threads) * n + (vectors ? vrx_band_q_workspace(n, kd) : 0);
    least = least_work(n, kd, vectors, update_q);
    if (answer < least) answer = least;
    if (lwork < least && !query) position = 13;
  }
  if (vrx_lapack_reject<T>(family<T>(), position, info)) return;
  work[0] = tr::make(static_cast<R>(answer), 0);
  if (query) return;

  // Panels of kd columns, fewer when lwork is short.
  vrx_int b = kd;
  if (lwork < answer) {
    b = lwork / n / 3 - 1;
    if (b < 1) b = 1;
    if (b > kd) b = kd;
  }
  if (b > n - kd - 1) b = n - kd - 1;
  while (b > 1 && layout_for(n, kd, b, update_q).size > lwork) --b;
  const bool upper = vrx_l2_letter(uplo, "U");
  const stage_one<T> s = {upper, n, kd, a, lda, tau, q, ldq, update_q, work,
                          layout_for(n, kd, b, update_q)};
  for (vrx_int j0 = 0; j0 < n - kd - 1; j0 += b) reduce_panel(s, j0, b < n - kd - 1 - j0 ? b : n - kd - 1 - j0);

  // The band into band storage (ldab 2 kd) at the start of work, Q formed after it, and
  // the band's reduction.
  const vrx_int ldab = 2 * kd;
  T* ab = work;
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int k = 0; k <= kd; ++k) {
      if (upper && j - k >= 0) ab[2 * kd - 1 - k + j * ldab] = a[j - k + j * lda];
      if (!upper && j + k < n) ab[k + j * ldab] = a[j + k + j * lda];
    }
  if (vectors && !update_q) form_q(s, work + ldab * n, lwork - ldab * n);
  vrx_int inner = 0;
  vrx_lapack_sbrdb<T>(vectors ? "U" : "N", uplo, n, kd, ab, ldab, d, e, q, ldq, work + ldab * n, lwork - ldab * n,
                      &inner);
  work[0] = tr::make(static_cast<R>(answer), 0);
}

template void vrx_lapack_syrdb<float>(const char*, const char*, vrx_int, vrx_int, float*, vrx_int, float*, float*,
                                      float*, float*, vrx_int, float*, vrx_int, vrx_int*);
template void vrx_lapack_syrdb<double>(const char*, const char*, vrx_int, vrx_int, double*, vrx_int, double*,
                                       double*, double*, double*, vrx_int, double*, vrx_int, vrx_int*);
template void vrx_lapack_syrdb<vrx_complex_float>(const char*, const char*, vrx_int, vrx_int, vrx_complex_float*,
                                                  vrx_int, float*, float*, vrx_complex_float*, vrx_complex_float*,
                                                  vrx_int, vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_syrdb<vrx_complex_double>(const char*, const char*, vrx_int, vrx_int, vrx_complex_double*,
                                                   vrx_int, double*, double*, vrx_complex_double*, vrx_complex_double*,
                                                   vrx_int, vrx_complex_double*, vrx_int, vrx_int*);
