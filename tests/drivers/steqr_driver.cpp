// The implicit tridiagonal iteration with rotations gathered in batches against one
// application per sweep, the form it takes when its batch table cannot be allocated.
//   steqr_driver single LETTERS   compz "I" at order 120 (one strip and one thread, so
//                                 both forms make the same calls on the same elements),
//                                 with splits and 2 by 2 blocks; run again with the base
//                                 allocator refusing (VRX_DISABLE_FAST_MM set: no pool)
// Prints "LETTER same" when the second run was refused and both agree bit for bit, else
// "LETTER differ"; then "ok" and exits 0, or exits 1 after a difference.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "lapack/syev/vrx_syev.h"
#include "support/precision_letters.h"
#include "support/refused_memory.h"

namespace {
constexpr vrx_int order = 120;

template <typename T>
struct run_result {
  std::vector<vrx_real_t<T>> d;
  std::vector<T> z;
  vrx_int info;
};

template <typename T>
run_result<T> run() {
  typedef vrx_real_t<T> R;
  run_result<T> out{std::vector<R>(order), std::vector<T>(order * order), -99};
  std::vector<R> e(order - 1), work(2 * order - 2);
  for (vrx_int i = 0; i < order; ++i) {
    out.d[i] = R(std::sin(0.7 * i) + (i % 9 == 4 ? 3 : 0));
    if (i + 1 < order) e[i] = i % 13 == 6 ? R(0) : R(std::cos(1.3 * i));
  }
  vrx_lapack_steqr<T>("I", order, out.d.data(), e.data(), out.z.data(), order, work.data(), &out.info);
  return out;
}

bool differed = false;

template <typename T>
struct batched_first {
  static inline run_result<T> result;
};

template <typename T>
void compare() {
  const int refused_before = vrx_test_refusals;
  const run_result<T> single = run<T>();
  const run_result<T>& batched = batched_first<T>::result;
  bool same = vrx_test_refusals > refused_before && single.info == 0 && batched.info == 0 && single.d == batched.d;
  for (std::size_t i = 0; same && i < single.z.size(); ++i) same = single.z[i] == batched.z[i];
  std::printf("%c %s\n", vrx_traits<T>::letter, same ? "same" : "differ");
  differed |= !same;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || std::string(argv[1]) != "single") return 2;
  if (!vrx_test_for_each_letter(argv[2], [](auto zero) {
        typedef decltype(zero) T;
        batched_first<T>::result = run<T>();
      }))
    return 2;
  if (!vrx_test_refuse_memory("nomemory")) return 2;
  vrx_test_for_each_letter(argv[2], [](auto zero) { compare<decltype(zero)>(); });
  if (differed) return 1;
  std::printf("ok\n");
  return 0;
}
