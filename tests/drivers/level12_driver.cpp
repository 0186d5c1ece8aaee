// Runs the level-1/2 checks of every precision through the published names under the CPU
// type of the environment (VRX_DEBUG_CPU_TYPE), printing "<letter> ok" or the first fault.
#include <cstdio>
#include "blas/level1_checks.h"
#include "blas/level2_checks.h"

namespace {
template <typename T>
void run(const char* letter) {
  std::string fault;
  for (auto check : {level1_check_dots<T>, level1_check_updates<T>, level1_check_norms<T>, level1_check_iamax<T>,
                     level2_check_gemv<T>, level2_check_ger<T>, level2_check_hemv<T>, level2_check_her2<T>,
                     level2_check_triangular<T>})
    if (fault.empty()) fault = check();
  std::printf("%s %s\n", letter, fault.empty() ? "ok" : fault.c_str());
}
}  // namespace

int main() {
  run<float>("S");
  run<double>("D");
  run<vrx_complex_float>("C");
  run<vrx_complex_double>("Z");
  return 0;
}
