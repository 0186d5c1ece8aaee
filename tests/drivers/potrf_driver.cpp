// The Cholesky factorisation through its entries (vrx_lapack_SPOTRF ... ZPOTRF) under
// this process's settings (CPU type, thread count, dynamic mode), printing the path each
// case took from the trace record and checking the factors.
//   potrf_driver paths LETTERS     order 100 (small kernel), 200 (tiles of ILAENV), 260
//                                  with tiles of 8 (super-tiles) and 203 with tiles of 16
//                                  (short last tile row), both triangles
//   potrf_driver nomemory LETTERS  order 200, the service's base allocator refusing: the
//                                  tile table can't be had
//   potrf_driver stop LETTERS      a progress hook that asks to stop from column 100 on:
//                                  order 300 with one tile as large as the matrix
//                                  (sequential) and order 260 with tiles of 8; prints
//                                  info, the hook's calls and stage
//   potrf_driver large LETTERS     order 1000 with ILAENV's answers, lower (its leading
//                                  super-tile takes the tile path again), judged by a
//                                  vector residual
//   potrf_driver checks LETTERS    the published unblocked routine's checks of uplo, n
//                                  and lda, and its info for a minor that fails at 5
// Each case prints "LETTER NAME UPLO path P b B lim L super S threads R fallback F info I";
// the factors are judged by the residual ratio (below 30), the other triangle and the
// padding. Prints "ok" and exits 0, or what went wrong and exits 1.
#include <cstdio>
#include <string>
#include <vector>

#include "lapack/cholesky/vrx_potrf.h"
#include "service/vrx_serv.h"
#include "support/cholesky_check.h"
#include "support/refused_memory.h"
#include "support/precision_letters.h"

namespace {
bool failed = false;

struct chol_case {
  const char* name;
  vrx_int n;
  vrx_int b;  // tile edge, 0 for ILAENV's
};
const chol_case path_cases[] = {{"small", 100, 0}, {"tiles", 200, 0}, {"split", 260, 8}, {"short", 203, 16}};

template <typename T>
void run_case(const chol_case& c, bool upper, bool check, bool by_vector = false) {
  const char letter = vrx_traits<T>::letter;
  const vrx_int lda = c.n + 2;
  const std::vector<T> a = vrx_test_hpd_matrix<T>(c.n, lda, static_cast<uint64_t>(c.n));
  std::vector<T> f = a;
  vrx_int info = -99;
  {
    vrx_test_potrf_tuned tuned(c.b, 0);
    vrx_test_potrf_names<T>::entry(upper ? "U" : "L", &c.n, f.data(), &lda, &info);
  }
  const vrx_potrf_trace t = *vrx_lapack_potrf_trace();
  std::printf("%c %s %c path %d b %lld lim %lld super %lld threads %d fallback %d info %lld\n", letter, c.name,
              upper ? 'U' : 'L', t.path, (long long)t.b, (long long)t.lim, (long long)t.super, t.region_threads,
              t.fallback, (long long)info);
  if (!check) return;
  const double ratio = by_vector ? vrx_test_cholesky_vector_residual(upper, c.n, a, f, lda)
                                 : vrx_test_cholesky_residual(upper, c.n, a, f, lda);
  if (!(ratio < 30) || !vrx_test_cholesky_untouched(upper, c.n, a, f, lda)) {
    std::printf("%c %s: residual ratio %g or the other triangle is wrong\n", letter, c.name, ratio);
    failed = true;
  }
}

// ---- the progress hook ----
int hook_calls = 0;
char hook_stage[8];
int stopping_hook(const int*, const int* step, const char* stage, int length) {
  __atomic_add_fetch(&hook_calls, 1, __ATOMIC_RELAXED);
  std::snprintf(hook_stage, sizeof hook_stage, "%.*s", length < 7 ? length : 7, stage);
  return *step >= 100;
}

template <typename T>
void run_mode(const std::string& mode) {
  if (mode == "paths") {
    for (const chol_case& c : path_cases)
      for (bool upper : {true, false}) run_case<T>(c, upper, true);
  } else if (mode == "nomemory") {
    run_case<T>(path_cases[1], false, true);
  } else if (mode == "stop") {
    const chol_case cases[] = {{"seq", 300, 300}, path_cases[2]};
    for (const chol_case& c : cases) {
      hook_calls = 0;
      run_case<T>(c, true, false);
      std::printf("%c %s hook calls %d stage %s\n", vrx_traits<T>::letter, c.name, hook_calls, hook_stage);
    }
  } else if (mode == "large") {
    run_case<T>({"large", 1000, 0}, false, true, true);
    std::printf("%c large leading path %lld\n", vrx_traits<T>::letter,
                (long long)vrx_lapack_potrf_trace()->leading_path);
  } else if (mode == "checks") {
    struct arguments {
      const char* uplo;
      vrx_int n, lda;
    };
    const arguments bad[] = {{"X", 2, 2}, {"U", -1, 2}, {"l", 3, 2}, {"L", 0, 0}};
    T a[9] = {};
    for (const arguments& b : bad) {
      vrx_int info = -99;
      vrx_test_potrf_names<T>::potf2(b.uplo, &b.n, a, &b.lda, &info);
      std::printf("%c potf2 %s %lld %lld info %lld\n", vrx_traits<T>::letter, b.uplo, (long long)b.n,
                  (long long)b.lda, (long long)info);
    }
    const vrx_int n = 9;
    std::vector<T> f = vrx_test_hpd_matrix<T>(n, n, 1, 5);
    vrx_int info = -99;
    vrx_test_potrf_names<T>::potf2("u", &n, f.data(), &n, &info);
    std::printf("%c potf2 fails info %lld\n", vrx_traits<T>::letter, (long long)info);
  }
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const std::string mode = argv[1];
  if (mode == "nomemory" && !vrx_test_refuse_memory("nomemory")) return 2;
  if (mode == "stop") vrx_serv_set_progress(stopping_hook);
  if (!vrx_test_for_each_letter(argv[2], [&](auto zero) { run_mode<decltype(zero)>(mode); })) return 2;
  std::printf(failed ? "failed\n" : "ok\n");
  return failed ? 1 : 0;
}
