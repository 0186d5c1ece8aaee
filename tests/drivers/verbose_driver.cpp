// Calls DGEMM in a process of its own, so that VRX_VERBOSE is read at first use.
//   verbose_driver command...
// Commands: mode, dgemm, bad, thread1, facts.
#include <omp.h>

#include <cstdio>
#include <cstring>

#include "interface/vrx_interface.h"
#include "service/vrx_serv.h"

namespace {
// C (2 by 3) = A (2 by 4) * B^T (B is 3 by 4).
void small_product(int m) {
  const int n = 3, k = 4, lda = 2, ldb = 3, ldc = 2;
  double a[8], b[12], c[6] = {0};
  for (int i = 0; i < 8; ++i) a[i] = i + 1;
  for (int i = 0; i < 12; ++i) b[i] = 12 - i;
  const double alpha = 1.0, beta = 0.0;
  DGEMM("N", "T", &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}

void run(const char* command) {
  if (std::strcmp(command, "mode") == 0) {
    std::printf("mode=%d\n", *vrx_serv_verbose_mode());
  } else if (std::strcmp(command, "dgemm") == 0) {
    small_product(2);
  } else if (std::strcmp(command, "bad") == 0) {
    small_product(-1);
  } else if (std::strcmp(command, "thread1") == 0) {
#pragma omp parallel num_threads(2)
    {
      if (omp_get_thread_num() == 1) small_product(2);
    }
  } else if (std::strcmp(command, "facts") == 0) {
    // What the statistics should show, asked from the subsystems themselves.
    std::printf("facts branch=%d fastmm=%d dynamic=%d nthr=%d blas=%d fft=%d vmf=%d dirsol=%d\n",
                vrx_serv_cbwr_get(1), vrx_serv_fast_mm_disabled() ? 0 : 1, vrx_serv_get_dynamic(),
                vrx_serv_get_max_threads(), vrx_serv_domain_get_max_threads(1), vrx_serv_domain_get_max_threads(2),
                vrx_serv_domain_get_max_threads(3), vrx_serv_domain_get_max_threads(4));
  } else {
    std::printf("unknown command %s\n", command);
  }
}
}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) run(argv[i]);
  return 0;
}
