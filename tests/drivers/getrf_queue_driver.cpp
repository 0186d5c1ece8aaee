// The LU queue path under this process's settings, in S, D, C and Z.
//   getrf_queue_driver host     square, tall and wide matrices through the host routine's
//                               path choice, with ILAENV's answers or chosen scheduler
//                               keys: prints the path, the threads asked and run, the keys
//                               stored and info
//   getrf_queue_driver nested   the square case from inside a parallel region of two threads
//   getrf_queue_driver stop     the queue path called directly on three threads, a progress
//                               hook asking to stop in the first panel, in a worker's panel
//                               and in the corner: prints info, the hook's stage text and the
//                               blocks left allocated
//   getrf_queue_driver refused  the queue path called directly with the service's base
//                               allocator refusing: prints its status and whether the
//                               matrix, pivots and info were touched
// Factors are checked by the residual ratio (below 30) and the padding. Prints "ok" and
// exits 0, or what went wrong and exits 1.
#include <omp.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "lapack/getrf_queue_keys.h"
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"
#include "support/lu_check.h"
#include "support/refused_memory.h"
#include "support/stopping_hook.h"

namespace {
bool failed = false;

template <typename T>
void check(const char* name, vrx_int m, vrx_int n, const std::vector<T>& a, const std::vector<T>& lu, vrx_int lda,
           const std::vector<vrx_int>& ipiv) {
  const double ratio = vrx_test_lu_residual(m, n, a, lda, lu, lda, ipiv.data());
  if (!(ratio < 30) || !vrx_test_lu_padding_intact(lu, m, n, lda)) {
    std::printf("%c %s: residual ratio %g or the padding is wrong\n", vrx_traits<T>::letter, name, ratio);
    failed = true;
  }
}

template <typename T>
void run_host(const vrx_test_queue_host_case& c) {
  const vrx_int lda = c.m + 1;
  const std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, static_cast<uint64_t>(c.m * 7 + c.n));
  std::vector<T> lu = a;
  std::vector<vrx_int> ipiv(static_cast<std::size_t>(std::min(c.m, c.n)));
  vrx_int info = -99;
  vrx_getrf_trace t;
  {
    vrx_test_queue_tuned keys(c.group, c.tail);
    vrx_lapack_getrf_host<T>(c.m, c.n, lu.data(), lda, ipiv.data(), &info);
    t = *vrx_lapack_getrf_trace();
  }
  std::printf("%c %s path %d threads %d region %d group %lld tail %lld info %lld\n", vrx_traits<T>::letter, c.name,
              t.path, t.threads, t.region_threads, (long long)t.group, (long long)t.tail, (long long)info);
  check(c.name, c.m, c.n, a, lu, lda, ipiv);
}

// ---- blocks of the base allocator still held ----

long live_blocks = 0;
vrx_base_allocator underlying;
void* counted(void* p) {
  if (p) __atomic_add_fetch(&live_blocks, 1, __ATOMIC_RELAXED);
  return p;
}
void* uncounted(void* p) {
  if (p) __atomic_sub_fetch(&live_blocks, 1, __ATOMIC_RELAXED);
  return p;
}
void* counted_malloc(std::size_t size) { return counted(underlying.malloc(size)); }
void* counted_pool_malloc(std::size_t size) { return counted(underlying.pool_malloc(size)); }
void counted_free(void* p) { underlying.free(uncounted(p)); }
void counted_pool_free(void* p) { underlying.pool_free(uncounted(p)); }
void count_blocks() {
  vrx_serv_memory_init();
  underlying = vrx_serv_base_allocator;
  vrx_serv_base_allocator.malloc = counted_malloc;
  vrx_serv_base_allocator.free = counted_free;
  vrx_serv_base_allocator.pool_malloc = counted_pool_malloc;
  vrx_serv_base_allocator.pool_free = counted_pool_free;
}

template <typename T>
vrx_int queue_call(vrx_int m, vrx_int n, std::vector<T>* lu, std::vector<vrx_int>* ipiv, int* status) {
  vrx_int info = -99;
  *status = vrx_lapack_getrf_queue<T>(m, n, lu->data(), m, ipiv->data(), &info, 3, 16);
  return info;
}

// Order 200 in blocks of 16: panel 1 is columns 1-16, the workers' panels end at 192, the
// corner holds the rest. A first call without a stop brings every thread's records in.
template <typename T>
void run_stop() {
  const vrx_int n = 200;
  const std::vector<T> a = vrx_test_lu_matrix<T>(n, n, n, 3);
  std::vector<vrx_int> ipiv(n);
  std::vector<T> lu = a;
  int status;
  vrx_test_stop_at = 1 << 30;
  queue_call(n, n, &lu, &ipiv, &status);
  for (int at : {8, 100, 196}) {
    lu = a;
    vrx_test_hook_stage[0] = 0;
    const long before = __atomic_load_n(&live_blocks, __ATOMIC_RELAXED);
    vrx_test_stop_at = at;
    const vrx_int info = queue_call(n, n, &lu, &ipiv, &status);
    vrx_test_stop_at = 1 << 30;
    const long after = __atomic_load_n(&live_blocks, __ATOMIC_RELAXED);
    std::printf("%c stop %d status %d info %lld stage %s leaked %ld\n", vrx_traits<T>::letter, at, status,
                (long long)info, vrx_test_hook_stage, after - before);
  }
}

template <typename T>
void run_refused() {
  const vrx_int n = 200;
  const std::vector<T> a = vrx_test_lu_matrix<T>(n, n, n, 4);
  std::vector<T> lu = a;
  std::vector<vrx_int> ipiv(n, -5);
  int status;
  const vrx_int info = queue_call(n, n, &lu, &ipiv, &status);
  const bool untouched = std::memcmp(lu.data(), a.data(), a.size() * sizeof(T)) == 0 && info == -99 &&
                         ipiv == std::vector<vrx_int>(n, -5);
  std::printf("%c refused status %d untouched %s\n", vrx_traits<T>::letter, status, untouched ? "yes" : "no");
}

template <typename T>
void run_mode(const std::string& mode) {
  if (mode == "host") {
    for (const vrx_test_queue_host_case& c : vrx_test_queue_host_cases) run_host<T>(c);
  } else if (mode == "nested") {
#pragma omp parallel num_threads(2)
    {
#pragma omp master
      run_host<T>(vrx_test_queue_host_cases[0]);
    }
  } else if (mode == "stop") {
    run_stop<T>();
  } else if (mode == "refused") {
    run_refused<T>();
  }
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::string mode = argv[1];
  if (mode == "stop") {
    vrx_serv_set_progress(vrx_test_stopping_hook);
    count_blocks();
  }
  if (mode == "refused" && !vrx_test_refuse_memory("nomemory")) return 2;
  run_mode<float>(mode);
  run_mode<double>(mode);
  run_mode<vrx_complex_float>(mode);
  run_mode<vrx_complex_double>(mode);
  std::printf(failed ? "failed\n" : "ok\n");
  return failed ? 1 : 0;
}
