// The QR factorisation under this process's settings, in S, D, C and Z.
//   geqrf_driver queue    the queue path called on 8 threads for 400 by 60 in panels of 8
//                         (8 block columns): prints its threads after the dynamic rule and
//                         the threads its region ran with
//   geqrf_driver stop     a progress hook that asks to stop once `step` reaches 1 and once
//                         it reaches 50, on 300 by 200: prints the path, info and the hook's
//                         stage text
//   geqrf_driver refused  120 by 120 with the service's base allocator refusing: prints the
//                         path and whether the call fell back
// Every factorisation is judged by ||A - QR|| and ||I - Q^H Q|| below 30 (not for stops).
// Prints "ok" and exits 0, or what went wrong and exits 1.
#include <cstdio>
#include <string>
#include <vector>

#include "lapack/geqrf_check.h"
#include "lapack/qr/vrx_geqrf.h"
#include "service/vrx_serv.h"
#include "support/precision_letters.h"
#include "support/refused_memory.h"
#include "support/stopping_hook.h"

namespace {
bool failed = false;


// The host routine with the workspace it asks for; returns info.
template <typename T>
vrx_int factor(vrx_int m, vrx_int n, bool check) {
  const std::vector<T> a = vrx_test_lu_matrix<T>(m, n, m, static_cast<uint64_t>(m + n));
  std::vector<T> qr = a, tau(static_cast<std::size_t>(std::min(m, n)));
  T asked{};
  vrx_int info = -99;
  vrx_lapack_geqrf_host<T>(m, n, qr.data(), m, tau.data(), &asked, -1, &info);
  std::vector<T> work(static_cast<std::size_t>(vrx_traits<T>::real_part(asked)));
  vrx_lapack_geqrf_host<T>(m, n, qr.data(), m, tau.data(), work.data(), static_cast<vrx_int>(work.size()), &info);
  if (check) {
    const vrx_test_qr_ratios r = vrx_test_qr_check(m, n, a, qr, m, tau);
    if (!r.good() || info != 0) {
      std::printf("%c %lld by %lld: info %lld residual %g orthogonality %g\n", vrx_traits<T>::letter, (long long)m,
                  (long long)n, (long long)info, r.residual, r.orthogonality);
      failed = true;
    }
  }
  return info;
}

template <typename T>
void run(const std::string& mode) {
  const char letter = vrx_traits<T>::letter;
  if (mode == "queue") {
    const vrx_int m = 400, n = 60, k = 60, nb = 8, chunk = 2, t = 8;
    const std::vector<T> a = vrx_test_lu_matrix<T>(m, n, m, 9);
    std::vector<T> qr = a, tau(k), work(static_cast<std::size_t>(k * nb + t * chunk * nb * nb));
    vrx_int info = -99;
    const int status = vrx_lapack_geqrf_queue<T>(m, n, qr.data(), m, tau.data(), work.data(),
                                                 static_cast<vrx_int>(work.size()), &info, t, nb, chunk);
    const vrx_test_qr_ratios r = vrx_test_qr_check(m, n, a, qr, m, tau);
    if (!r.good() || info != 0 || status != 0) failed = true;
    const vrx_geqrf_trace* trace = vrx_lapack_geqrf_trace();
    std::printf("%c queue threads %d region %d\n", letter, trace->queue_threads, trace->region_threads);
  } else if (mode == "stop") {
    for (int at : {1, 50}) {
      vrx_test_hook_stage[0] = 0;
      vrx_test_stop_at = at;
      const vrx_int info = factor<T>(300, 200, false);
      vrx_test_stop_at = 1 << 30;
      std::printf("%c stop %d path %d info %lld stage %s\n", letter, at, vrx_lapack_geqrf_trace()->path,
                  (long long)info, vrx_test_hook_stage);
    }
  } else if (mode == "refused") {
    factor<T>(120, 120, true);
    const vrx_geqrf_trace* t = vrx_lapack_geqrf_trace();
    std::printf("%c path %d fallback %d\n", letter, t->path, t->fallback);
  }
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::string mode = argv[1];
  if (mode == "stop") vrx_serv_set_progress(vrx_test_stopping_hook);
  if (mode == "refused" && !vrx_test_refuse_memory("nomemory")) return 2;
  vrx_test_for_each_letter("SDCZ", [&](auto element) { run<decltype(element)>(mode); });
  std::printf(failed ? "failed\n" : "ok\n");
  return failed ? 1 : 0;
}
