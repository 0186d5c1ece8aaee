// Parameter checks of cblas_dgemm and DGEMM: exact text on stdout, order of tests,
// and outputs left untouched.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "include/customvrx.h"
#include "interface/vrx_interface.h"

namespace {
std::string report(int parameter, const std::string& name) {
  return "\nArdix VRX ERROR: Parameter " + std::to_string(parameter) + " was incorrect on entry to " + name + ".\n";
}

struct captured_call {
  std::string output;
  bool c_untouched;
};

captured_call call_cblas(int layout, int ta, int tb, int m, int n, int k, int lda, int ldb, int ldc) {
  std::vector<double> a(64, 1.0), b(64, 1.0), c(64, 7.5);
  testing::internal::CaptureStdout();
  cblas_dgemm(static_cast<CBLAS_LAYOUT>(layout), static_cast<CBLAS_TRANSPOSE>(ta), static_cast<CBLAS_TRANSPOSE>(tb),
              m, n, k, 2.0, a.data(), lda, b.data(), ldb, 0.0, c.data(), ldc);
  captured_call r{testing::internal::GetCapturedStdout(), true};
  for (double v : c) r.c_untouched &= v == 7.5;
  return r;
}
}  // namespace

TEST(CblasDgemmErrors, LayoutIsTestedLast) {
  EXPECT_EQ(call_cblas(100, 111, 111, 2, 2, 2, 2, 2, 2).output, report(1, "cblas_dgemm"));
  EXPECT_EQ(call_cblas(100, 110, 111, 2, 2, 2, 2, 2, 2).output, report(2, "cblas_dgemm"));
  EXPECT_EQ(call_cblas(100, 111, 114, 2, 2, 2, 2, 2, 2).output, report(3, "cblas_dgemm"));
  EXPECT_EQ(call_cblas(100, 111, 111, -1, 2, 2, 2, 2, 2).output, report(4, "cblas_dgemm"));
  EXPECT_EQ(call_cblas(100, 111, 111, 2, -1, 2, 2, 2, 2).output, report(5, "cblas_dgemm"));
  EXPECT_EQ(call_cblas(100, 111, 111, 2, 2, -1, 2, 2, 2).output, report(6, "cblas_dgemm"));
}

TEST(CblasDgemmErrors, LeadingDimensionsByLayout) {
  // Row major, A not transposed: lda >= k.
  auto r = call_cblas(101, 111, 111, 3, 3, 7, 6, 8, 8);
  EXPECT_EQ(r.output, report(9, "cblas_dgemm"));
  EXPECT_TRUE(r.c_untouched);
  EXPECT_EQ(call_cblas(101, 112, 111, 5, 3, 2, 4, 3, 3).output, report(9, "cblas_dgemm"));   // lda >= m
  EXPECT_EQ(call_cblas(101, 111, 111, 2, 5, 2, 2, 4, 5).output, report(11, "cblas_dgemm"));  // ldb >= n
  EXPECT_EQ(call_cblas(101, 111, 113, 2, 5, 6, 6, 5, 5).output, report(11, "cblas_dgemm"));  // ldb >= k
  EXPECT_EQ(call_cblas(101, 111, 111, 2, 5, 2, 2, 5, 4).output, report(14, "cblas_dgemm"));  // ldc >= n
  // Column major.
  EXPECT_EQ(call_cblas(102, 111, 111, 5, 2, 2, 4, 2, 5).output, report(9, "cblas_dgemm"));   // lda >= m
  EXPECT_EQ(call_cblas(102, 112, 111, 2, 2, 5, 4, 5, 2).output, report(9, "cblas_dgemm"));   // lda >= k
  EXPECT_EQ(call_cblas(102, 111, 111, 2, 2, 5, 2, 4, 2).output, report(11, "cblas_dgemm"));  // ldb >= k
  EXPECT_EQ(call_cblas(102, 111, 112, 2, 5, 2, 2, 4, 2).output, report(11, "cblas_dgemm"));  // ldb >= n
  EXPECT_EQ(call_cblas(102, 111, 111, 3, 2, 2, 3, 2, 2).output, report(14, "cblas_dgemm"));  // ldc >= m
  // ldc = 0 is illegal even with m = 0: max(1, 0) is 1.
  r = call_cblas(102, 111, 111, 0, 2, 2, 1, 2, 0);
  EXPECT_EQ(r.output, report(14, "cblas_dgemm"));
  EXPECT_TRUE(r.c_untouched);
}

TEST(CblasDgemmErrors, EmptyResultsAreSilentAndUntouched) {
  for (int layout : {101, 102}) {
    auto r = call_cblas(layout, 111, 111, 0, 3, 2, 2, 3, 3);
    EXPECT_EQ(r.output, "");
    EXPECT_TRUE(r.c_untouched);
    r = call_cblas(layout, 111, 111, 3, 0, 2, 3, 3, 3);
    EXPECT_EQ(r.output, "");
    EXPECT_TRUE(r.c_untouched);
  }
}

TEST(DgemmWrapperErrors, CheckerNumbersAndBlankInName) {
  std::vector<double> a(64, 1.0), b(64, 1.0), c(64, 3.0);
  const double alpha = 1.0, beta = 0.0;
  auto run = [&](const char* ta, const char* tb, int m, int n, int k, int lda, int ldb, int ldc) {
    testing::internal::CaptureStdout();
    DGEMM(ta, tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
    return testing::internal::GetCapturedStdout();
  };
  EXPECT_EQ(run("X", "N", 2, 2, 2, 2, 2, 2), report(1, "DGEMM "));
  EXPECT_EQ(run("N", "Q", 2, 2, 2, 2, 2, 2), report(2, "DGEMM "));
  EXPECT_EQ(run("N", "N", -1, 2, 2, 2, 2, 2), report(3, "DGEMM "));
  EXPECT_EQ(run("N", "N", 2, -1, 2, 2, 2, 2), report(4, "DGEMM "));
  EXPECT_EQ(run("N", "N", 2, 2, -1, 2, 2, 2), report(5, "DGEMM "));
  EXPECT_EQ(run("N", "N", 3, 2, 2, 2, 2, 3), report(8, "DGEMM "));
  EXPECT_EQ(run("t", "N", 2, 2, 3, 2, 3, 2), report(8, "DGEMM "));
  EXPECT_EQ(run("N", "N", 2, 2, 3, 2, 2, 2), report(10, "DGEMM "));
  EXPECT_EQ(run("N", "c", 2, 3, 2, 2, 2, 2), report(10, "DGEMM "));
  EXPECT_EQ(run("N", "N", 3, 2, 2, 3, 2, 2), report(13, "DGEMM "));
  for (double v : c) EXPECT_EQ(v, 3.0);
  // Lower-case letters are accepted.
  EXPECT_EQ(run("n", "t", 2, 2, 2, 2, 2, 2), "");
  EXPECT_EQ(c[0], 2.0);
}
