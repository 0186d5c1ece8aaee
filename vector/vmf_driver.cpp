// The threaded driver of the vector math: small calls stay on the calling
// thread, larger ones split evenly with the rest going to the last thread.
#include <omp.h>
#include "service/vrx_serv.h"
#include "vector/vrx_vmf.h"

void vrx_vmf_share(int t, int nt, int n, int* offset, int* count) {
  const int c = n / nt;
  *offset = t * c;
  *count = (t + 1 < nt) ? c : n - c * t;
}

void vrx_vmf_drive_team(vrx_vmf_dkernel kernel, int n, const double* a, const double* b, double* y,
                        int threads) {
  const vrx_vmf_callback callback = vrx_vmf_get_callback();
  const std::uint32_t mode = vrx_vmf_get_mode();
  std::int32_t shared_status = 0;
#pragma omp parallel num_threads(threads)
  {
    // Each worker runs under the caller's settings.
    vrx_vmf_context* block = vrx_vmf_context_get();
    block->callback = callback;
    block->mode = mode;
    block->base = a;
    block->status = 0;
    int offset, count;
    vrx_vmf_share(omp_get_thread_num(), omp_get_num_threads(), n, &offset, &count);
    if (count != 0) kernel(count, a + offset, b + offset, y + offset);
    // No lock: the last writer's status stands.
    if (block->status != 0) __atomic_store_n(&shared_status, block->status, __ATOMIC_RELAXED);
  }
  vrx_vmf_context* caller = vrx_vmf_context_get();
  caller->base = nullptr;
  caller->status = shared_status;
}

void vrx_vmf_drive(vrx_vmf_dkernel kernel, int n, const double* a, const double* b, double* y, float cost) {
  if (n < vrx_vmf_thread_threshold) {
    kernel(n, a, b, y);
    return;
  }
  int threads = vrx_serv_domain_get_max_threads(VRX_DOMAIN_VML);
  if (threads > 1 && vrx_serv_get_dynamic())
    threads = vrx_vmf_reduce_threads(threads, cost, n, vrx_vmf_thread_factor());
  if (threads <= 1) {
    kernel(n, a, b, y);
    return;
  }
  vrx_vmf_drive_team(kernel, n, a, b, y, threads);
}
