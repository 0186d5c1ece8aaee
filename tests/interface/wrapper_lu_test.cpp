// The LU wrappers called directly: checker order and names, empty factorisations, the
// workspace query, the transposition letters and the second entries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "interface/lapacke/vrx_lapacke.h"
#include "interface/vrx_interface.h"
#include "support/lu_check.h"

namespace {
std::string report(int parameter, const std::string& name) {
  return "\nArdix VRX ERROR: Parameter " + std::to_string(parameter) + " was incorrect on entry to " + name + ".\n";
}

struct getrf_check_case {
  int m, n, lda;
  int info;
};
}  // namespace

TEST(WrapperLu, GetrfCheckerInOrderUnderOneName) {
  const getrf_check_case cases[] = {
      {-1, -1, 0, -1}, {2, -1, 0, -2}, {3, 2, 2, -4}, {0, 2, 0, -4}, {0, 2, 1, 0}, {2, 0, 2, 0},
  };
  for (const getrf_check_case& c : cases) {
    std::vector<double> a(8, 1.5);
    std::vector<float> as(8, 1.5f);
    std::vector<int> ipiv(4, 7);
    int info = 99;
    testing::internal::CaptureStdout();
    DGETRF(&c.m, &c.n, a.data(), &c.lda, ipiv.data(), &info);
    EXPECT_EQ(info, c.info);
    int info_single = 99;
    SGETRF(&c.m, &c.n, as.data(), &c.lda, ipiv.data(), &info_single);
    EXPECT_EQ(info_single, c.info);
    const std::string expected = c.info ? report(-c.info, "DGETRF") : "";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected + expected) << c.m << " " << c.n << " " << c.lda;
    // Nothing to factor or a failed check: the matrix stays; with min(m, n) <= 0 the pivots too.
    EXPECT_EQ(a, std::vector<double>(8, 1.5));
    EXPECT_EQ(as, std::vector<float>(8, 1.5f));
    if (std::min(c.m, c.n) <= 0) EXPECT_EQ(ipiv, std::vector<int>(4, 7));
  }
}

TEST(WrapperLu, TallMatrixBelowTheGateOrderAndSecondEntries) {
  // m = 9000, n = 100 takes the host road; the lower-case entry gives the same factors.
  const int m = 9000, n = 100;
  const std::vector<double> a = vrx_test_lu_matrix<double>(m, n, m, 5);
  std::vector<double> lu = a, lu2 = a;
  std::vector<int> ipiv(n), ipiv2(n);
  int info = -5, info2 = -5;
  DGETRF(&m, &n, lu.data(), &m, ipiv.data(), &info);
  dgetrf(&m, &n, lu2.data(), &m, ipiv2.data(), &info2);
  ASSERT_EQ(info, 0);
  EXPECT_EQ(info2, 0);
  EXPECT_EQ(ipiv, ipiv2);
  EXPECT_EQ(std::memcmp(lu.data(), lu2.data(), lu.size() * sizeof(double)), 0);
  const std::vector<int64_t> pivots(ipiv.begin(), ipiv.end());
  EXPECT_LT(vrx_test_lu_residual<double>(m, n, a, m, lu, m, pivots.data()), 30);
}

TEST(WrapperLu, LowerCaseCIsTheTransposeOfRealData) {
  const int n = 12, nrhs = 2;
  std::vector<float> a = vrx_test_lu_matrix<float>(n, n, n, 3);
  std::vector<int> ipiv(n);
  int info = 0;
  sgetrf(&n, &n, a.data(), &n, ipiv.data(), &info);
  ASSERT_EQ(info, 0);
  const std::vector<float> b = vrx_test_lu_matrix<float>(n, nrhs, n, 4);
  std::vector<float> upper_t = b, lower_c = b;
  SGETRS("T", &n, &nrhs, a.data(), &n, ipiv.data(), upper_t.data(), &n, &info);
  EXPECT_EQ(info, 0);
  sgetrs("c", &n, &nrhs, a.data(), &n, ipiv.data(), lower_c.data(), &n, &info);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(std::memcmp(upper_t.data(), lower_c.data(), b.size() * sizeof(float)), 0);
}

TEST(WrapperLu, InverseQueryWritesOnlyItsAnswerAndMatchesTheRowMajorOne) {
  const int n = 6, query = -1;
  std::vector<double> a(36, 1.25), work(3, -8.0);
  int info = 5;
  DGETRI(&n, a.data(), &n, nullptr, work.data(), &query, &info);
  EXPECT_EQ(info, 0);
  EXPECT_GT(work[0], 0);
  EXPECT_EQ(work[1], -8.0);
  EXPECT_EQ(a, std::vector<double>(36, 1.25));
  // The row-major work layer asks with the transposed leading dimension and copies nothing.
  std::vector<double> row_work(3, -8.0);
  EXPECT_EQ(LAPACKE_dgetri_work(LAPACK_ROW_MAJOR, n, a.data(), 9, nullptr, row_work.data(), -1), 0);
  EXPECT_EQ(row_work, (std::vector<double>{work[0], -8.0, -8.0}));
  double second = 0;
  dgetri(&n, a.data(), &n, nullptr, &second, &query, &info);
  EXPECT_EQ(second, work[0]);
}
