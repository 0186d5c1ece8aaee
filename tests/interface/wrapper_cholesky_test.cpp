// The Cholesky factorisation's wrappers called directly: the checker in order under one
// name for both precisions and both entries, with the matrix untouched.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "interface/vrx_interface.h"
#include "lapack/solve_check.h"

namespace {
struct potrf_check_case {
  const char* uplo;
  int n, lda;
  int info;
};
}  // namespace

TEST(WrapperCholesky, PotrfCheckerInOrderUnderOneName) {
  const potrf_check_case cases[] = {
      {"x", -1, 0, -1}, {"", 2, 2, -1}, {"U", -1, 0, -2}, {"l", 3, 2, -4}, {"L", 0, 0, -4}, {"u", 0, 1, 0},
  };
  for (const potrf_check_case& c : cases) {
    std::vector<double> a(9, 1.5);
    std::vector<float> as(9, 1.5f);
    int infos[4] = {99, 99, 99, 99};
    const std::string printed = vrx_test_printed_by([&] {
      DPOTRF(c.uplo, &c.n, a.data(), &c.lda, &infos[0]);
      dpotrf(c.uplo, &c.n, a.data(), &c.lda, &infos[1]);
      SPOTRF(c.uplo, &c.n, as.data(), &c.lda, &infos[2]);
      spotrf(c.uplo, &c.n, as.data(), &c.lda, &infos[3]);
    });
    for (int info : infos) EXPECT_EQ(info, c.info) << c.uplo << " " << c.n << " " << c.lda;
    const std::string line = c.info ? vrx_test_parameter_line(-c.info, "DPOTRF") : "";
    EXPECT_EQ(printed, line + line + line + line) << c.uplo << " " << c.n << " " << c.lda;
    EXPECT_EQ(a, std::vector<double>(9, 1.5));
    EXPECT_EQ(as, std::vector<float>(9, 1.5f));
  }
}
