// C := beta C + alpha x y^T: the road of products with k = 1.
#include <omp.h>
#include "blas/vrx_blas.h"
#include "blas/vrx_scale_matrix.h"
#include "blas/vrx_stride.h"
#include "service/vrx_serv.h"

namespace {
void rank_one_sequential(vrx_int m, vrx_int n, double alpha, const double* x, vrx_int incx, const double* y,
                         vrx_int incy, double beta, double* c, vrx_int ldc) {
  if (alpha == 0.0) {
    vrx_scale_matrix(m, n, beta, c, ldc);
    return;
  }
  for (vrx_int j = 0; j < n; ++j) {
    double* cj = c + j * ldc;
    const double s = alpha * y[j * incy];
    if (beta == 0.0)
      for (vrx_int i = 0; i < m; ++i) cj[i] = s * x[i * incx];
    else if (beta == 1.0)
      for (vrx_int i = 0; i < m; ++i) cj[i] += s * x[i * incx];
    else
      for (vrx_int i = 0; i < m; ++i) cj[i] = beta * cj[i] + s * x[i * incx];
  }
}

// Whether the reproducibility branch lets this road fork.
bool branch_permits_threads() {
  const int branch = vrx_serv_cbwr_get(1);
  if (branch == 1) return true;
  if (branch < 2 || branch > 7) return true;
  if (branch > 2) return false;
  const int automatic = vrx_serv_cbwr_auto_branch();  // AUTO forks unless it stands for branches 4 to 7
  return automatic < 4 || automatic > 7;
}
}  // namespace

void vrx_blas_dger_beta(const char*, const char*, const vrx_int* m_, const vrx_int* n_, const double* alpha_,
                        const double* x, const vrx_int* incx_, const double* y, const vrx_int* incy_,
                        const double* beta_, double* c, const vrx_int* ldc_) {
  const vrx_int m = *m_, n = *n_, incx = *incx_, incy = *incy_, ldc = *ldc_;
  const double alpha = *alpha_, beta = *beta_;
  if (n < 1 || m < 1) return;
  const double* x0 = x + vrx_blas_first_index(m, incx);
  const double* y0 = y + vrx_blas_first_index(n, incy);

  int threads = 1;
  if (n >= 128 && vrx_serv_cpu_detect() >= 2 && vrx_serv_vendor_gate() && branch_permits_threads()) {
    threads = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
    if (threads > 1 && n <= 32 * static_cast<vrx_int>(threads)) threads = static_cast<int>(n / 32 > 1 ? n / 32 : 1);
  }
  if (threads <= 1) {
    rank_one_sequential(m, n, alpha, x0, incx, y0, incy, beta, c, ldc);
    return;
  }
  const vrx_int per_thread = (n + threads - 1) / threads;
#pragma omp parallel num_threads(threads)
  {
    const vrx_int first = omp_get_thread_num() * per_thread;
    const vrx_int count = first >= n ? 0 : (n - first < per_thread ? n - first : per_thread);
    if (count > 0)
      rank_one_sequential(m, count, alpha, x0, incx, y0 + first * incy, incy, beta, c + first * ldc, ldc);
  }
}
