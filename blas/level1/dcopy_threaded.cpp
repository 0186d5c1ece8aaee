// y := x with threads for long vectors: the thread count follows the length, the
// processor and the dynamic setting.
#include <omp.h>
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "blas/vrx_stride.h"
#include "service/vrx_serv.h"

int vrx_blas_dcopy_thread_count(vrx_int n, vrx_int incx, vrx_int incy, int t, int cpu_type, int vendor_gate,
                                int dynamic, long long cache_bytes) {
  if (n < 2001 || t <= 1) return 1;
  if (cpu_type == VRX_CPU_SSSE3) {
    if (n < 3001) return 1;
  } else if (!vendor_gate || cpu_type < VRX_CPU_SSE42) {
    return 1;
  }
  if (incx == 0 || incy == 0) return 1;
  if (!dynamic) return t;

  if (cpu_type >= VRX_CPU_SSE42) {
    if (n < 20000 && t > 4) return 4;
    if (t == 2) return n < 2500 ? 1 : 2;
    bool reduced = false;
    if (t >= 17 && n < 8500 * static_cast<vrx_int>(t)) {
      t = n / 8500 > 16 ? static_cast<int>(n / 8500) : 16;
      reduced = true;
    }
    if (t >= 9 && !reduced && n < 5000 * static_cast<vrx_int>(t)) t = n / 5000 > 8 ? static_cast<int>(n / 5000) : 8;
    return t;
  }
  if (cache_bytes > 0 && cache_bytes <= 3145728) {
    if (n < 25000) {
      if (t > 4) t = 4;
    } else if (t > 16 && n < 30000) {
      t = 16;
    }
    if (t == 2 && n < 3000) return 1;
    return t;
  }
  if (n < 4000) return t < 2 ? t : 2;
  if (n < 10000) return t < 4 ? t : 4;
  return t;
}

void vrx_blas_dcopy_on_threads(int threads, vrx_int n, const double* x, vrx_int incx, double* y, vrx_int incy) {
  const double* x0 = x + vrx_blas_first_index(n, incx);
  double* y0 = y + vrx_blas_first_index(n, incy);
#pragma omp parallel num_threads(threads)
  {
    const vrx_int team = omp_get_num_threads(), id = omp_get_thread_num();
    const vrx_int chunk = (n / team) & ~vrx_int(7);
    const vrx_int start = id * chunk, count = id == team - 1 ? n - start : chunk;
    if (count > 0)
      DCOPY(&count, vrx_blas_sub_vector(x0, start, count, incx), &incx, vrx_blas_sub_vector(y0, start, count, incy),
            &incy);
  }
}

void vrx_blas_dcopy_threaded(const vrx_int* n, const double* x, const vrx_int* incx, double* y,
                             const vrx_int* incy) {
  if (*n < 1) return;
  const int t = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  int threads = 1;
  if (*n >= 2001 && t > 1) {
    const int cpu = vrx_serv_cpu_detect();
    const long long cache = cpu == VRX_CPU_SSSE3 ? vrx_serv_cache_size(0) : -1;
    threads = vrx_blas_dcopy_thread_count(*n, *incx, *incy, t, cpu, vrx_serv_vendor_gate(), vrx_serv_get_dynamic(),
                                          cache);
  }
  if (threads <= 1) return DCOPY(n, x, incx, y, incy);
  vrx_blas_dcopy_on_threads(threads, *n, x, *incx, y, *incy);
}
