// y := alpha op(A) x + beta y, on one thread or several by the shape. Wide flat products
// (the long side at least 10000, the output at most 100) run in reduction form: every
// thread takes a slice of the long side into its own partial result, and the master sums
// them. Everything else splits the output among the threads.
#include <omp.h>
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int wide = 10000, flat = 100;

bool reduction_form(bool plain, vrx_int m, vrx_int n) {
  return plain ? (n >= wide && m <= flat) : (m >= wide && n <= flat);
}

// y := beta y + sum of the `slices` partial results (each `len` long, `len` apart),
// summed per element in groups of 16, then pairs, then singly.
void sum_slices(const double* work, vrx_int slices, vrx_int len, double beta, double* y0, vrx_int incy) {
  for (vrx_int e = 0; e < len; ++e) {
    const double* w = work + e;
    double s = 0.0;
    vrx_int k = 0;
    for (; k + 16 <= slices; k += 16) {
      double g = 0.0;
      for (int q = 0; q < 16; ++q) g += w[(k + q) * len];
      s += g;
    }
    for (; k + 2 <= slices; k += 2) s += w[k * len] + w[(k + 1) * len];
    for (; k < slices; ++k) s += w[k * len];
    double& out = y0[e * incy];
    if (beta == 0.0) out = s;
    else if (beta == 1.0) out += s;
    else out = beta * out + s;
  }
}

void gemv_reduction(int threads, bool plain, vrx_int m, vrx_int n, double alpha, const double* a, vrx_int lda,
                    const double* x0, vrx_int incx, double beta, double* y0, vrx_int incy) {
  const vrx_int leny = plain ? m : n, longside = plain ? n : m;
  double* work = nullptr;
  const char* letter = plain ? "N" : "T";
#pragma omp parallel num_threads(threads)
  {
    const vrx_int team = omp_get_num_threads(), id = omp_get_thread_num();
    bool whole = team == 1;
    if (id == 0 && team > 1) {
      work = static_cast<double*>(vrx_serv_malloc(8 * static_cast<std::size_t>(leny * team), 64));
      if (work) {
        for (vrx_int i = 0; i < leny * team; ++i) work[i] = 0.0;
      } else {
        whole = true;
      }
    }
#pragma omp barrier
    if (whole) {
      vrx_blas_gemv_sequential(letter, m, n, alpha, a, lda, vrx_blas_sub_vector(x0, 0, plain ? n : m, incx), incx,
                               beta, vrx_blas_sub_vector(y0, 0, leny, incy), incy);
    } else if (work) {
      const vrx_int chunk = longside / team, start = id * chunk;
      const vrx_int count = id == team - 1 ? longside - start : chunk;
      const double* xs = vrx_blas_sub_vector(x0, start, count, incx);
      double* slice = work + id * leny;
      if (count > 0) {
        if (plain) vrx_blas_gemv_sequential(letter, m, count, alpha, a + start * lda, lda, xs, incx, 0.0, slice, 1);
        else vrx_blas_gemv_sequential(letter, count, n, alpha, a + start, lda, xs, incx, 0.0, slice, 1);
      }
#pragma omp barrier
      if (id == 0) {
        sum_slices(work, team, leny, beta, y0, incy);
        vrx_serv_free(work);
      }
    }
  }
}

void gemv_split(int threads, bool plain, vrx_int m, vrx_int n, double alpha, const double* a, vrx_int lda,
                const double* x, vrx_int incx, double beta, double* y0, vrx_int incy) {
  const vrx_int leny = plain ? m : n;
  const char* letter = plain ? "N" : "T";
#pragma omp parallel num_threads(threads)
  {
    const vrx_int team = omp_get_num_threads(), id = omp_get_thread_num();
    const vrx_int chunk = leny / team, start = id * chunk;
    const vrx_int count = id == team - 1 ? leny - start : chunk;
    double* ys = vrx_blas_sub_vector(y0, start, count, incy);
    if (count > 0) {
      if (plain) vrx_blas_gemv_sequential(letter, count, n, alpha, a + start, lda, x, incx, beta, ys, incy);
      else vrx_blas_gemv_sequential(letter, m, count, alpha, a + start * lda, lda, x, incx, beta, ys, incy);
    }
  }
}
}  // namespace

int vrx_blas_dgemv_thread_count(char trans, vrx_int m, vrx_int n, int t, int cpu_type, int vendor_gate,
                                int dynamic) {
  if (m < 1 || n < 1) return 0;
  if ((m < 64 && n < 64) || cpu_type < VRX_CPU_SSSE3 || !vendor_gate || t <= 1) return 1;
  const bool plain = vrx_blas_trans_code(trans) == 0;
  if (reduction_form(plain, m, n)) return t;
  vrx_int c, w;
  if (plain) {
    c = m / t;
    const vrx_int d = c & ~vrx_int(7);
    if (t < 13) return d * n >= (d < 64 ? 1536 : 3072) ? t : 1;
    w = n;
  } else {
    c = n / t;
    if (t < 13) return m * c >= (c < 64 ? 2048 : 4096) ? t : 1;
    w = m;
  }
  if (w * c >= 4096) return t;
  if (c == 0 || !dynamic) return 1;
  const vrx_int by_size = m * n / 3072 > 1 ? m * n / 3072 : 1;
  return by_size < t ? static_cast<int>(by_size) : t;
}

void vrx_blas_dgemv_threaded(int threads, const char* trans, const vrx_int* m_, const vrx_int* n_,
                             const double* alpha, const double* a, const vrx_int* lda, const double* x,
                             const vrx_int* incx, const double* beta, double* y, const vrx_int* incy) {
  const vrx_int m = *m_, n = *n_;
  if (m < 1 || n < 1) return;
  const bool plain = vrx_blas_trans_code(*trans) == 0;
  const vrx_int leny = plain ? m : n, lenx = plain ? n : m;
  double* y0 = y + vrx_blas_first_index(leny, *incy);
  if (reduction_form(plain, m, n)) {
    const double* x0 = x + vrx_blas_first_index(lenx, *incx);
    gemv_reduction(threads, plain, m, n, *alpha, a, *lda, x0, *incx, *beta, y0, *incy);
  } else {
    gemv_split(threads, plain, m, n, *alpha, a, *lda, x, *incx, *beta, y0, *incy);
  }
}

void vrx_blas_dgemv(const char* trans, const vrx_int* m, const vrx_int* n, const double* alpha, const double* a,
                    const vrx_int* lda, const double* x, const vrx_int* incx, const double* beta, double* y,
                    const vrx_int* incy) {
  const bool plain = vrx_blas_trans_code(*trans) == 0;
  const vrx_int leny = plain ? *m : *n, lenx = plain ? *n : *m;
  if (leny < 1) return;
  if (lenx < 1) {
    // An empty (or, from callers below the wrappers, negative) inner length: y := beta y,
    // the result every road of a product gives when nothing is summed.
    double* y0 = y + vrx_blas_first_index(leny, *incy);
    for (vrx_int i = 0; i < leny; ++i) y0[i * *incy] = *beta == 0.0 ? 0.0 : *beta * y0[i * *incy];
    return;
  }
  int threads = 1;
  if (*m >= 64 || *n >= 64) {
    threads = vrx_blas_dgemv_thread_count(*trans, *m, *n, vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS),
                                          vrx_serv_cpu_detect(), vrx_serv_vendor_gate(), vrx_serv_get_dynamic());
  }
  if (threads > 1) return vrx_blas_dgemv_threaded(threads, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
  const vrx_int one = 1;
  vrx_blas_dgemv_sequential(trans, m, n, alpha, a, lda, x, incx, beta, y, incy, &one);
}
