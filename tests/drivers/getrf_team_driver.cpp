// The LU team path under this process's settings. Actions, each followed by its
// arguments, run in turn:
//   host L m n nb T          the entry's path choice, with key 1 = nb, key 3 = 1
//                            and key 20 = T (team size) (nb and T 0: ILAENV's answers)
//   team L m n nb T t        the team path called directly on t threads
//   singular L m n nb T t    the same with zero pivots: info and pivots against the
//                            sequential recursion
//   nested L m n nb T t      the team path called directly from inside a parallel
//                            region of two threads, where it can't fork
//   stop L m n nb T t step   a progress hook asking to stop at `step` columns; prints
//                            info and the blocks of the base allocator left held
//   refused L m n nb T t     the service's base allocator refusing everything (first in
//                            its process, before the pools keep any block)
//   nohandle L m n nb T t    the base allocator refusing blocks above 16 KiB, so that
//                            the packed-operand handles can't be made
// L is a string of precision letters. Each run prints one line per letter with what the
// trace recorded; factors are checked by the residual ratio (below 30) and the padding.
// Prints "ok" and exits 0, or "failed" and exits 1.
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lapack/getrf_team_keys.h"
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_serv.h"
#include "support/lu_check.h"
#include "support/counted_blocks.h"
#include "support/refused_memory.h"
#include "support/precision_letters.h"
#include "support/stopping_hook.h"

namespace {
bool failed = false;

struct run_case {
  vrx_int m, n, nb, team_size;
  int t;
};

// One factorisation by the action's road, with the chosen answers in place.
struct factored {
  vrx_int info;
  vrx_getrf_trace trace;
};
template <typename T>
factored factor(const std::string& action, const run_case& c, std::vector<T>* lu, vrx_int lda,
                std::vector<vrx_int>* ipiv) {
  vrx_test_team_tuned tuned(c.nb, c.team_size);
  factored out = {-99, {}};
  *vrx_lapack_getrf_trace() = vrx_getrf_trace{};
  if (action == "host") {
    vrx_test_lu_names<T>::entry(&c.m, &c.n, lu->data(), &lda, ipiv->data(), &out.info);
  } else if (action == "nested") {
#pragma omp parallel num_threads(2)
    {
#pragma omp master
      {
        vrx_lapack_getrf_team<T>(c.m, c.n, lu->data(), lda, ipiv->data(), &out.info, c.t);
        out.trace = *vrx_lapack_getrf_trace();
      }
    }
    return out;
  } else {
    vrx_lapack_getrf_team<T>(c.m, c.n, lu->data(), lda, ipiv->data(), &out.info, c.t);
  }
  out.trace = *vrx_lapack_getrf_trace();
  return out;
}

void print_trace(char letter, const std::string& action, const run_case& c, const factored& f) {
  const vrx_getrf_trace& t = f.trace;
  std::printf("%c %s %lldx%lld: path %d teams %d size %d packed %d region %d tall %d fallback %d info %lld\n", letter,
              action.c_str(), (long long)c.m, (long long)c.n, t.path, t.teams, t.team_size, t.packed,
              t.region_threads, t.tall_threads, t.fallback, (long long)f.info);
}

template <typename T>
void check(const run_case& c, const std::vector<T>& a, const std::vector<T>& lu, vrx_int lda,
           const std::vector<vrx_int>& ipiv) {
  const double ratio = vrx_test_lu_residual(c.m, c.n, a, lda, lu, lda, ipiv.data());
  if (!(ratio < 30) || !vrx_test_lu_padding_intact(lu, c.m, c.n, lda)) {
    std::printf("%c: residual ratio %g or the padding is wrong\n", vrx_traits<T>::letter, ratio);
    failed = true;
  }
}

template <typename T>
void run(const std::string& action, const run_case& c, int step) {
  const vrx_int lda = c.m + 2;
  std::vector<T> a = vrx_test_lu_matrix<T>(c.m, c.n, lda, static_cast<uint64_t>(c.m * 3 + c.n));
  if (action == "singular") {
    // Zero columns stay exactly zero under elimination: exact zero pivots in the first
    // panel, a later panel and the corner.
    for (vrx_int col : {vrx_int{3}, c.n / 2, c.n - 2})
      for (vrx_int i = 0; i < c.m; ++i) a[col * lda + i] = vrx_traits<T>::make(0, 0);
  }
  std::vector<T> lu = a;
  std::vector<vrx_int> ipiv(static_cast<std::size_t>(c.m < c.n ? c.m : c.n), 0);
  if (action == "stop") {
    factor<T>("team", c, &lu, lda, &ipiv);  // brings every thread's records in
    lu = a;
    const long before = __atomic_load_n(&vrx_test_live_blocks, __ATOMIC_RELAXED);
    vrx_test_stop_at = step;
    const factored f = factor<T>("team", c, &lu, lda, &ipiv);
    vrx_test_stop_at = 1 << 30;
    std::printf("%c stop at %d: info %lld held %ld\n", vrx_traits<T>::letter, step, (long long)f.info,
                __atomic_load_n(&vrx_test_live_blocks, __ATOMIC_RELAXED) - before);
    return;
  }
  if (action == "nohandle") {
    // Every thread's pool record first: the manager can't make one while big blocks are
    // refused, and the blocks it then hands out directly are never returned.
#pragma omp parallel num_threads(c.t)
    vrx_serv_free(vrx_serv_malloc(64, 64));
    vrx_test_refuse_above = 16384;
  }
  const factored f = factor<T>(action, c, &lu, lda, &ipiv);
  vrx_test_refuse_above = ~std::size_t{0};
  print_trace(vrx_traits<T>::letter, action, c, f);
  check(c, a, lu, lda, ipiv);
  if (action != "singular") return;
  std::vector<T> seq = a;
  std::vector<vrx_int> seq_ipiv(ipiv.size(), 0);
  vrx_int seq_info = -99;
  vrx_lapack_getrf_seq<T>(c.m, c.n, seq.data(), lda, seq_ipiv.data(), &seq_info);
  std::printf("%c sequential info %lld, pivots %s\n", vrx_traits<T>::letter, (long long)seq_info,
              seq_ipiv == ipiv ? "same" : "differ");
}

}  // namespace

int main(int argc, char** argv) {
  vrx_serv_set_progress(vrx_test_stopping_hook);
  vrx_test_count_blocks();
  int i = 1;
  while (i < argc) {
    const std::string action = argv[i];
    const bool host = action == "host", stop = action == "stop";
    const int needed = host ? 6 : stop ? 8 : 7;
    if (i + needed > argc) return 2;
    const char* letters = argv[i + 1];
    run_case c = {std::atoll(argv[i + 2]), std::atoll(argv[i + 3]), std::atoll(argv[i + 4]), std::atoll(argv[i + 5]),
                  host ? 0 : std::atoi(argv[i + 6])};
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
