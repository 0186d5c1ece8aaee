// Reduction of a symmetric (Hermitian) matrix to tridiagonal form, Q^H A Q = T, in panels
// of nb columns: LATRD reduces a panel and returns W, the rest of the matrix takes the
// rank-2nb update A := A - V W^H - W V^H, and the last columns go to the unblocked code.
// With one thread, or a matrix below the first crossover, this is the published
// routine, whose BLAS may thread on their own. With threads the panel's symmetric
// products are forked, and the update runs in one region per panel in which each
// thread takes a band of block rows of equal area: the rank-2k kernel on its diagonal
// block, and two GEMM on the rectangle beside it.
#include <omp.h>

#include "blas/level2/level2_common.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/syev/vrx_sytrd.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
template <typename T>
const char* family() {
  return vrx_is_complex<T> ? "HETRD" : "SYTRD";
}

// The panel width, the order below which the unblocked code finishes, and the threads.
struct plan {
  int threads;
  vrx_int nb, nx, lwkopt;
};

template <typename T>
plan plan_of(bool upper, vrx_int n, vrx_int lwork) {
  const char* opts = upper ? "U" : "L";
  int t = vrx_serv_get_max_threads();
  if (t < 1 || vrx_lapack_ilaenv<T>(3, family<T>(), opts, -1, -1, -1, -1) > n) t = 1;
  // The sequential routine asks as the published one does, without a thread count.
  const vrx_int asked = t > 1 ? t : -1;
  plan p = {t, vrx_lapack_ilaenv<T>(1, family<T>(), opts, n, asked, -1, -1), n, 0};
  p.lwkopt = n * p.nb;
  if (p.nb > 1 && p.nb < n) {
    const vrx_int crossover = vrx_lapack_ilaenv<T>(3, family<T>(), opts, n, asked, -1, -1);
    p.nx = crossover > p.nb ? crossover : p.nb;
    if (p.nx < n && lwork < n * p.nb) {
      // A short workspace narrows the panel; below the smallest useful width, no panels.
      p.nb = lwork / n > 1 ? lwork / n : 1;
      if (p.nb < vrx_lapack_ilaenv<T>(2, family<T>(), opts, n, asked, -1, -1)) p.nx = n;
    }
    if (p.nx >= n) p.nx = n;
  } else {
    p.nb = 1;
  }
  return p;
}

// C := C - V W^H - W V^H on the order-m trailing matrix (one triangle), for the threads of
// the region: each takes the block rows of its share of the triangle's area.
template <typename T>
void trailing_update(bool upper, vrx_int m, vrx_int nb, const T* v, vrx_int ldv, const T* w, vrx_int ldw, T* c,
                     vrx_int ldc, int threads) {
  typedef vrx_traits<T> tr;
  const T one = tr::make(1, 0), minus_one = tr::make(-1, 0);
  const vrx_real_t<T> real_one = 1;
  const char adjoint[2] = {tr::adjoint, 0};
  int region_threads = 1;
#pragma omp parallel num_threads(threads)
  {
    const int parts = omp_get_num_threads(), me = omp_get_thread_num();
    if (me == 0) region_threads = parts;
    // Rows of a lower triangle grow with their index, those of an upper one shrink.
    const vrx_int r0 = vrx_syev_area_edge(m, me, parts, !upper), r1 = vrx_syev_area_edge(m, me + 1, parts, !upper);
    const vrx_int rows = r1 - r0;
    if (rows > 0) {
      vrx_syev_blas<T>::syr2k_sequential(upper ? "U" : "L", "N", &rows, &nb, &minus_one, v + r0, &ldv, w + r0, &ldw,
                                         &real_one, c + r0 + r0 * ldc, &ldc);
      // The rectangle beside the diagonal block: columns before it (lower), after it (upper).
      const vrx_int c0 = upper ? r1 : 0, cols = upper ? m - r1 : r0;
      if (cols > 0) {
        T* block = c + r0 + c0 * ldc;
        vrx_lapack_blas<T>::gemm_sequential("N", adjoint, &rows, &cols, &nb, &minus_one, v + r0, &ldv, w + c0, &ldw,
                                            &one, block, &ldc);
        vrx_lapack_blas<T>::gemm_sequential("N", adjoint, &rows, &cols, &nb, &minus_one, w + r0, &ldw, v + c0, &ldv,
                                            &one, block, &ldc);
      }
    }
  }
  vrx_lapack_sytrd_trace()->region_threads = region_threads;
}

// The rank-2nb update after a panel: forked as above, or the threaded BLAS entry.
template <typename T>
void update(bool upper, vrx_int m, vrx_int nb, const T* v, vrx_int ldv, const T* w, vrx_int ldw, T* c, vrx_int ldc,
            int threads) {
  if (m <= 0) return;
  if (threads > 1) {
    trailing_update(upper, m, nb, v, ldv, w, ldw, c, ldc, threads);
    return;
  }
  const T minus_one = vrx_traits<T>::make(-1, 0);
  const vrx_real_t<T> real_one = 1;
  vrx_syev_blas<T>::syr2k(upper ? "U" : "L", "N", &m, &nb, &minus_one, v, &ldv, w, &ldw, &real_one, c, &ldc);
}
}  // namespace

template <typename T>
void vrx_lapack_sytrd(const char* uplo, vrx_int n, T* a, vrx_int lda, vrx_real_t<T>* d, vrx_real_t<T>* e, T* tau,
                      T* work, vrx_int lwork, vrx_int* info) {
  typedef vrx_traits<T> tr;
  *info = 0;
  const bool query = lwork == -1;
  int position = 0;
  if (!vrx_l2_letter(uplo, "UL")) position = 1;
  else if (n < 0) position = 2;
  else if (lda < (n > 1 ? n : 1)) position = 4;
  else if (lwork < 1 && !query) position = 9;
  if (vrx_lapack_reject<T>(family<T>(), position, info)) return;

  const bool upper = vrx_l2_letter(uplo, "U");
  const plan p = plan_of<T>(upper, n, query ? 0 : lwork);
  const vrx_int lwkopt = p.lwkopt > 1 ? p.lwkopt : 1;
  work[0] = tr::make(static_cast<vrx_real_t<T>>(lwkopt), 0);
  if (query) return;
  vrx_sytrd_trace* trace = vrx_lapack_sytrd_trace();
  *trace = vrx_sytrd_trace{p.threads, p.nb, p.nx, 0, 0, 0};
  if (n == 0) {
    work[0] = tr::make(1, 0);
    return;
  }

  const auto at = [a, lda](vrx_int i, vrx_int j) -> T* { return a + i + j * lda; };
  const vrx_int nb = p.nb, ldwork = n;
  if (upper) {
    // Panels from the right end; the leading kk columns are left to the unblocked code.
    const vrx_int kk = n - ((n - p.nx + nb - 1) / nb) * nb;
    for (vrx_int i = n - nb; i >= kk; i -= nb) {
      vrx_lapack_latrd(true, i + nb, nb, a, lda, e, tau, work, ldwork, p.threads);
      update(true, i, nb, at(0, i), lda, work, ldwork, a, lda, p.threads);
      for (vrx_int j = i; j < i + nb; ++j) {
        *at(j - 1, j) = tr::make(e[j - 1], 0);
        d[j] = tr::real_part(*at(j, j));
      }
      ++trace->panels;
    }
    vrx_lapack_sytd2(true, kk, a, lda, d, e, tau);
  } else {
    vrx_int i = 0;
    for (; i < n - p.nx; i += nb) {
      vrx_lapack_latrd(false, n - i, nb, at(i, i), lda, e + i, tau + i, work, ldwork, p.threads);
      update(false, n - i - nb, nb, at(i + nb, i), lda, work + nb, ldwork, at(i + nb, i + nb), lda, p.threads);
      for (vrx_int j = i; j < i + nb; ++j) {
        *at(j + 1, j) = tr::make(e[j], 0);
        d[j] = tr::real_part(*at(j, j));
      }
      ++trace->panels;
    }
    vrx_lapack_sytd2(false, n - i, at(i, i), lda, d + i, e + i, tau + i);
  }
  work[0] = tr::make(static_cast<vrx_real_t<T>>(lwkopt), 0);
}

vrx_sytrd_trace* vrx_lapack_sytrd_trace() {
  static thread_local vrx_sytrd_trace record;
  return &record;
}

template void vrx_lapack_sytrd<float>(const char*, vrx_int, float*, vrx_int, float*, float*, float*, float*, vrx_int,
                                      vrx_int*);
template void vrx_lapack_sytrd<double>(const char*, vrx_int, double*, vrx_int, double*, double*, double*, double*,
                                       vrx_int, vrx_int*);
template void vrx_lapack_sytrd<vrx_complex_float>(const char*, vrx_int, vrx_complex_float*, vrx_int, float*, float*,
                                                  vrx_complex_float*, vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_sytrd<vrx_complex_double>(const char*, vrx_int, vrx_complex_double*, vrx_int, double*,
                                                   double*, vrx_complex_double*, vrx_complex_double*, vrx_int,
                                                   vrx_int*);
