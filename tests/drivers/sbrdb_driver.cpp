// Band to tridiagonal reduction when memory is refused.
//   sbrdb_driver refused LETTERS   a lower band of order 40 and width 4 with "V", run
//                                  with the base allocator refusing (VRX_DISABLE_FAST_MM
//                                  set: no pool) and, to reach the sweeps side by side,
//                                  VRX_NUM_THREADS=2 with VRX_DYNAMIC=false
// Prints "LETTER -100 unchanged" when info is -100 and the band is as it was (else
// "LETTER info N" and "changed"), then "ok"; exits 1 after a failure.
#include <cstdio>
#include <cstring>
#include <vector>

#include "lapack/syev/vrx_syev.h"
#include "support/precision_letters.h"
#include "support/refused_memory.h"

namespace {
bool failed = false;

template <typename T>
void refused() {
  const vrx_int n = 40, kd = 4, ldab = 2 * kd;
  std::vector<T> ab(static_cast<std::size_t>(ldab * n));
  for (std::size_t i = 0; i < ab.size(); ++i) ab[i] = vrx_traits<T>::make(static_cast<vrx_real_t<T>>(i % 7), 0);
  const std::vector<T> before = ab;
  std::vector<T> q(n * n), work(n * n * 4);
  std::vector<vrx_real_t<T>> d(n), e(n);
  vrx_int info = 0;
  vrx_lapack_sbrdb<T>("V", "L", n, kd, ab.data(), ldab, d.data(), e.data(), q.data(), n, work.data(),
                      static_cast<vrx_int>(work.size()), &info);
  const bool unchanged = std::memcmp(ab.data(), before.data(), ab.size() * sizeof(T)) == 0;
  if (info == -100) std::printf("%c -100", vrx_traits<T>::letter);
  else std::printf("%c info %lld", vrx_traits<T>::letter, static_cast<long long>(info));
  std::printf(" %s\n", unchanged ? "unchanged" : "changed");
  failed |= info != -100 || !unchanged;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || std::strcmp(argv[1], "refused") != 0) return 2;
  if (!vrx_test_refuse_memory("nomemory")) return 2;
  if (!vrx_test_for_each_letter(argv[2], [](auto zero) { refused<decltype(zero)>(); })) return 2;
  if (failed) return 1;
  std::printf("ok\n");
  return 0;
}
