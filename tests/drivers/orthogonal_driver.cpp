// Driver of the product with Q under refused memory, run as a child process:
//   orthogonal_driver nomemory LETTERS   the service's base allocator refusing: ORMQR
//                                        (side L, op C) and ORMLQ (side R, op N) on the
//                                        domain's threads with a workspace too short for
//                                        the threaded product, which can't get its own
// Each case prints "LETTER NAME path P threads T fallback F same S": the trace of the
// call, and whether its result has the bits of the same call on one thread. Prints "ok"
// and exits 0, or what went wrong and exits 1.
#include <cstdio>
#include <string>
#include <vector>

#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_orthogonal.h"
#include "support/gemm_typed_reference.h"
#include "support/lapack_seams.h"
#include "support/precision_letters.h"
#include "support/refused_memory.h"

namespace {
bool failed = false;

template <typename T>
void run_product(bool rowwise) {
  const vrx_int m = 60, n = 50, k = 40, nq = rowwise ? n : m, nw = rowwise ? m : n;
  const vrx_int lda = rowwise ? k : nq, ldc = m, lwork = nw * 8;
  uint64_t state = 99;
  std::vector<T> a(static_cast<std::size_t>(lda * (rowwise ? nq : k))), c(static_cast<std::size_t>(ldc * n));
  std::vector<T> tau(static_cast<std::size_t>(k)), work(static_cast<std::size_t>(lwork));
  for (T& x : a) x = vrx_test_value<T>(&state);
  for (T& x : c) x = vrx_test_value<T>(&state);
  if (rowwise) vrx_lapack_gelq2(k, nq, a.data(), lda, tau.data(), work.data());
  else vrx_lapack_geqr2(nq, k, a.data(), lda, tau.data(), work.data());
  const auto run = rowwise ? vrx_lapack_ormlq<T> : vrx_lapack_ormqr<T>;
  const char* side = rowwise ? "Right" : "Left";
  const char* trans = rowwise ? "No transpose" : "Conjugate transpose";
  std::vector<T> one = c;
  vrx_int info = -99;
  {
    vrx_test_forced_threads single(1);
    run(side, trans, m, n, k, a.data(), lda, tau.data(), one.data(), ldc, work.data(), lwork, &info);
  }
  run(side, trans, m, n, k, a.data(), lda, tau.data(), c.data(), ldc, work.data(), lwork, &info);
  const vrx_orthogonal_trace t = *vrx_lapack_orthogonal_trace();
  const bool same = vrx_test_detail::same_bits<T>(c.data(), one.data(), c.size() * sizeof(T));
  std::printf("%c %s path %d threads %d fallback %d same %s\n", vrx_traits<T>::letter, rowwise ? "ormlq" : "ormqr",
              t.path, t.threads, t.fallback, same ? "yes" : "no");
  if (info != 0) {
    std::printf("%c info %lld\n", vrx_traits<T>::letter, (long long)info);
    failed = true;
  }
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const std::string mode = argv[1];
  if (mode != "nomemory" || !vrx_test_refuse_memory("nomemory")) return 2;
  const bool known = vrx_test_for_each_letter(argv[2], [](auto zero) {
    run_product<decltype(zero)>(false);
    run_product<decltype(zero)>(true);
  });
  if (!known) return 2;
  if (vrx_test_refusals == 0) {
    std::printf("nothing was refused\n");
    failed = true;
  }
  std::printf(failed ? "failed\n" : "ok\n");
  return failed ? 1 : 0;
}
