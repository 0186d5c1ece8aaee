// All eigenvalues and optionally the eigenvectors of a symmetric (SYEV) or Hermitian
// (HEEV) matrix: scale into the safe range, reduce to tridiagonal form (in one stage, or
// through a band for large orders when the workspace allows), then the root-free
// iteration for eigenvalues alone, or the iteration on the reduction's Q for vectors, and
// scale the eigenvalues back.
//
// Work layout: real members keep e at 0, tau at n and the reduction's workspace from 2n;
// the Hermitian members keep e in rwork (the iteration's workspace after it), tau at 0
// and the rest from n.
#include <cmath>

#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/syev/vrx_syev.h"
#include "lapack/vrx_lapack.h"

namespace {
template <typename T>
struct names {
  static constexpr bool hermitian = vrx_is_complex<T>;
  static constexpr const char* driver = hermitian ? "HEEV" : "SYEV";
  static constexpr const char* band = hermitian ? "HERDB" : "SYRDB";
  // Where the reduction's workspace starts, and the smallest lwork accepted.
  static vrx_int rest(vrx_int n) { return hermitian ? n : 2 * n; }
  static vrx_int least(vrx_int n) { return rest(n) + n - 1 > 1 ? rest(n) + n - 1 : 1; }
};

// The workspace the full-to-band reduction asks for: n (3 kd + 3) for its panels, n per
// thread, and for vectors the room of the stored reflectors' blocks.
vrx_int band_workspace(bool vectors, vrx_int n, vrx_int kd, int threads) {
  vrx_int size = n * (3 * kd + 3) + static_cast<vrx_int>(threads) * n;
  if (vectors) size += 2 * ((kd + 2) * n + 5 * kd * (n + kd));
  return size;
}

// The driver's workspace answer and whether the band path would serve this call.
struct choice {
  vrx_int lwkopt;
  bool band;
};

template <typename T>
choice choose(bool vectors, const char* uplo, vrx_int n, T* a, vrx_int lda, vrx_int lwork) {
  typedef vrx_traits<T> tr;
  // Order 1 reduces nothing, but the answer must still pass the check of lwork.
  if (n <= 1) return {names<T>::least(n), false};
  const char* jobz = vectors ? "V" : "N";
  const int t = vrx_serv_get_max_threads() > 1 ? vrx_serv_get_max_threads() : 1;
  const vrx_int nx = vrx_lapack_ilaenv<T>(3, names<T>::driver, jobz, n, t, -1, -1);
  T size = tr::make(0, 0);
  vrx_real_t<T> unused = 0;
  vrx_int asked = 0;
  vrx_lapack_sytrd<T>(uplo, n, a, lda, &unused, &unused, &size, &size, -1, &asked);
  vrx_int lwkopt = static_cast<vrx_int>(tr::real_part(size));
  bool band = false;
  if (n >= nx) {
    const vrx_int key = vrx_lapack_ilaenv<T>(1, names<T>::band, jobz, n, t, -1, -1);
    const vrx_int kd = key < n - 1 ? key : n - 1;
    if (kd < n - 1) {
      const vrx_int needed = band_workspace(vectors, n, kd, t);
      if (needed > lwkopt) lwkopt = needed;
      band = lwork - names<T>::rest(n) >= needed;
    }
  }
  return {lwkopt + names<T>::rest(n), band};
}
}  // namespace

template <typename T>
void vrx_lapack_syev(const char* jobz, const char* uplo, vrx_int n, T* a, vrx_int lda, vrx_real_t<T>* w, T* work,
                     vrx_int lwork, vrx_real_t<T>* rwork, vrx_int* info) {
  typedef vrx_traits<T> tr;
  typedef vrx_real_t<T> R;
  *info = 0;
  const bool vectors = vrx_l2_letter(jobz, "V"), query = lwork == -1;
  int position = 0;
  if (!vrx_l2_letter(jobz, "NV")) position = 1;
  else if (!vrx_l2_letter(uplo, "UL")) position = 2;
  else if (n < 0) position = 3;
  else if (lda < (n > 1 ? n : 1)) position = 5;
  choice plan = {1, false};
  if (position == 0) {
    plan = choose(vectors, uplo, n, a, lda, lwork);
    work[0] = tr::make(static_cast<R>(plan.lwkopt), 0);
    if (lwork < names<T>::least(n) && !query) position = 8;
  }
  if (vrx_lapack_reject<T>(names<T>::driver, position, info)) return;
  if (query || n == 0) return;
  if (n == 1) {
    w[0] = tr::real_part(a[0]);
    work[0] = tr::make(1, 0);
    if (vectors) a[0] = tr::make(1, 0);
    return;
  }

  // Scale the matrix into [rmin, rmax] when its largest element lies outside.
  const R safmin = vrx_lamch<R>('S'), eps = vrx_lamch<R>('P');
  const R smlnum = safmin / eps, bignum = 1 / smlnum;
  const R rmin = std::sqrt(smlnum), rmax = std::sqrt(bignum);
  const char* triangle = vrx_l2_letter(uplo, "L") ? "L" : "U";
  const R anrm = vrx_lapack_lansy<T>("M", triangle, n, a, lda, w);
  R sigma = 1;
  if (anrm > 0 && anrm < rmin) sigma = rmin / anrm;
  else if (anrm > rmax) sigma = rmax / anrm;
  const bool scaled = sigma != 1;
  vrx_int inner = 0;
  if (scaled) vrx_lapack_lascl<T>(triangle, 0, 0, 1, sigma, n, n, a, lda, &inner);

  R* e;
  R* iteration_work;
  T* tau;
  if constexpr (names<T>::hermitian) {
    e = rwork;
    iteration_work = rwork + n;
    tau = work;
  } else {
    e = work;
    tau = work + n;
    iteration_work = tau;
  }
  T* rest = work + names<T>::rest(n);
  const vrx_int rest_size = lwork - names<T>::rest(n);
  if (plan.band) {
    // Two stages through a band; with vectors the reduction leaves its Q in a, on which
    // the iteration runs directly.
    vrx_lapack_syrdb<T>(jobz, uplo, n, -1, a, lda, w, e, tau, a, lda, rest, rest_size, &inner);
    if (inner < 0) {
      *info = inner;  // its tables could not be had
      return;
    }
    if (!vectors) vrx_lapack_sterf<R>(n, w, e, info);
    else vrx_lapack_steqr<T>("V", n, w, e, a, lda, iteration_work, info);
  } else {
    vrx_lapack_sytrd<T>(uplo, n, a, lda, w, e, tau, rest, rest_size, &inner);
    if (!vectors) {
      vrx_lapack_sterf<R>(n, w, e, info);
    } else {
      vrx_lapack_orgtr<T>(uplo, n, a, lda, tau, rest, rest_size, &inner);
      vrx_lapack_steqr<T>("V", n, w, e, a, lda, iteration_work, info);
    }
  }

  if (scaled) {
    const vrx_int count = *info == 0 ? n : *info - 1;
    vrx_blas_level1<R>()->scal(count, 1 / sigma, w);
  }
  work[0] = tr::make(static_cast<R>(plan.lwkopt), 0);
}

template void vrx_lapack_syev<float>(const char*, const char*, vrx_int, float*, vrx_int, float*, float*, vrx_int,
                                     float*, vrx_int*);
template void vrx_lapack_syev<double>(const char*, const char*, vrx_int, double*, vrx_int, double*, double*, vrx_int,
                                      double*, vrx_int*);
template void vrx_lapack_syev<vrx_complex_float>(const char*, const char*, vrx_int, vrx_complex_float*, vrx_int,
                                                 float*, vrx_complex_float*, vrx_int, float*, vrx_int*);
template void vrx_lapack_syev<vrx_complex_double>(const char*, const char*, vrx_int, vrx_complex_double*, vrx_int,
                                                  double*, vrx_complex_double*, vrx_int, double*, vrx_int*);

// ---- the engine's entries by precision letter ----
void vrx_lapack_ssyev(const char* jobz, const char* uplo, const vrx_int* n, float* a, const vrx_int* lda, float* w,
                      float* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_syev(jobz, uplo, *n, a, *lda, w, work, *lwork, static_cast<float*>(nullptr), info);
}
void vrx_lapack_dsyev(const char* jobz, const char* uplo, const vrx_int* n, double* a, const vrx_int* lda, double* w,
                      double* work, const vrx_int* lwork, vrx_int* info) {
  vrx_lapack_syev(jobz, uplo, *n, a, *lda, w, work, *lwork, static_cast<double*>(nullptr), info);
}
void vrx_lapack_cheev(const char* jobz, const char* uplo, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                      float* w, vrx_complex_float* work, const vrx_int* lwork, float* rwork, vrx_int* info) {
  vrx_lapack_syev(jobz, uplo, *n, a, *lda, w, work, *lwork, rwork, info);
}
void vrx_lapack_zheev(const char* jobz, const char* uplo, const vrx_int* n, vrx_complex_double* a,
                      const vrx_int* lda, double* w, vrx_complex_double* work, const vrx_int* lwork, double* rwork,
                      vrx_int* info) {
  vrx_lapack_syev(jobz, uplo, *n, a, *lda, w, work, *lwork, rwork, info);
}
