// The QR team path under this process's settings. Actions, each followed by its
// arguments, run in turn:
//   stop L m n b T t step a progress hook asking to stop at `step` columns, the team path
//                         on t threads with block width b in teams of T (key 20); prints
//                         info and the blocks of the base allocator left held
//   refused L m n b T t   the service's base allocator refusing everything (first in its
//                         process, before the pools keep any block): prints the path and
//                         whether the result equals the sequential routine's bit for bit
// L is a string of precision letters. Factors of the refused runs are also judged by
// their residual and orthogonality ratios (below 30). Prints "ok" and exits 0, or
// "failed" and exits 1.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lapack/geqrf_check.h"
#include "lapack/geqrf_team_keys.h"
#include "lapack/qr/vrx_geqrf_team.h"
#include "service/vrx_serv.h"
#include "support/counted_blocks.h"
#include "support/precision_letters.h"
#include "support/refused_memory.h"
#include "support/stopping_hook.h"

namespace {
bool failed = false;

struct run_case {
  vrx_int m, n, b, team_size;
  int t;
};


template <typename T>
vrx_int factor(const run_case& c, std::vector<T>* qr, vrx_int lda, std::vector<T>* tau) {
  vrx_test_qr_team_tuned tuned({c.b, c.team_size, 0, 0});
  std::vector<T> work(static_cast<std::size_t>(c.n));
  vrx_int info = -99;
  vrx_lapack_geqrf_team<T>(c.m, c.n, qr->data(), lda, tau->data(), work.data(), c.n, &info, c.t);
  return info;
}

template <typename T>
void run(const std::string& action, const run_case& c, int step) {
  const vrx_int lda = c.m + 1;
  const std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, static_cast<uint64_t>(c.m * 5 + c.n));
  std::vector<T> qr = a, tau(static_cast<std::size_t>(c.n));
  const char letter = vrx_traits<T>::letter;
  if (action == "stop") {
    factor(c, &qr, lda, &tau);  // brings every thread's records in
    qr = a;
    const long before = __atomic_load_n(&vrx_test_live_blocks, __ATOMIC_RELAXED);
    vrx_test_stop_at = step;
    const vrx_int info = factor(c, &qr, lda, &tau);
    vrx_test_stop_at = 1 << 30;
    std::printf("%c stop at %d: info %lld held %ld\n", letter, step, (long long)info,
                __atomic_load_n(&vrx_test_live_blocks, __ATOMIC_RELAXED) - before);
    return;
  }
  const vrx_int info = factor(c, &qr, lda, &tau);
  const vrx_geqrf_team_trace trace = *vrx_lapack_geqrf_team_trace();
  std::vector<T> seq = a, seq_tau(tau.size()), work(static_cast<std::size_t>(c.n));
  vrx_int seq_info = -99;
  vrx_lapack_geqrf_seq<T>(c.m, c.n, seq.data(), lda, seq_tau.data(), work.data(), c.n, &seq_info);
  const bool same = std::memcmp(seq.data(), qr.data(), sizeof(T) * seq.size()) == 0 &&
                    std::memcmp(seq_tau.data(), tau.data(), sizeof(T) * tau.size()) == 0 && seq_info == info;
  std::printf("%c %s %lldx%lld: path %d fallback %d info %lld %s\n", letter, action.c_str(), (long long)c.m,
              (long long)c.n, trace.path, trace.fallback, (long long)info, same ? "same as sequential" : "differs");
  const vrx_test_qr_ratios ratios = vrx_test_qr_check(c.m, c.n, a, qr, lda, tau);
  if (!ratios.good()) {
    std::printf("%c: residual %g, orthogonality %g, padding %d\n", letter, ratios.residual, ratios.orthogonality,
                ratios.padding ? 1 : 0);
    failed = true;
  }
}
}  // namespace

int main(int argc, char** argv) {
  vrx_serv_set_progress(vrx_test_stopping_hook);
  vrx_test_count_blocks();
  int i = 1;
  while (i < argc) {
    const std::string action = argv[i];
    const bool stop = action == "stop";
    if (!stop && action != "refused") return 2;
    const int needed = stop ? 8 : 7;
    if (i + needed > argc) return 2;
    const char* letters = argv[i + 1];
    const run_case c = {std::atoll(argv[i + 2]), std::atoll(argv[i + 3]), std::atoll(argv[i + 4]),
                        std::atoll(argv[i + 5]), std::atoi(argv[i + 6])};
    const int step = stop ? std::atoi(argv[i + 7]) : 0;
    const vrx_base_allocator counting = vrx_serv_base_allocator;
    if (action == "refused" && !vrx_test_refuse_memory("nomemory")) return 2;
    if (!vrx_test_for_each_letter(letters, [&](auto zero) { run<decltype(zero)>(action, c, step); })) return 2;
    vrx_serv_base_allocator = counting;
    i += needed;
  }
  std::printf(failed ? "failed\n" : "ok\n");
  return failed ? 1 : 0;
}
