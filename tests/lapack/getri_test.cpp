// The inverse from the LU factors in the four precisions: ||I - A inv(A)||_1 /
// (n ||A||_1 ||inv(A)||_1 eps) below 30 for orders on both sides of the block size 64,
// with the optimal workspace, with one column (the column loop), and with two and three
// columns (narrow blocks, the smallest allowed and one above); the workspace query; a
// singular U; every parameter check. Then the inverse's tuning query, row by row on
// both sides of each bound.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "lapack/lu/vrx_getrf.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/solve_check.h"
#include "service/vrx_serv.h"
#include "support/child_process.h"
#include "support/lu_check.h"

namespace {
template <typename T>
class GetriTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(GetriTest, element_types);

template <typename T>
int64_t invert(int64_t n, std::vector<T>& a, int64_t lda, const int64_t* ipiv, std::vector<T>& work, int64_t lwork) {
  int64_t info = -99;
  vrx_test_solve_entries<T>::getri(&n, a.data(), &lda, ipiv, work.data(), &lwork, &info);
  return info;
}

template <typename T>
int64_t optimal_workspace(int64_t n) {
  std::vector<T> work(1);
  std::vector<T> a(1);
  EXPECT_EQ(invert<T>(n, a, n > 1 ? n : 1, nullptr, work, -1), 0);
  return static_cast<int64_t>(vrx_traits<T>::real_part(work[0]));
}

// Factors a random matrix of order n (lda = n + 3), inverts it with lwork (0: the
// optimal size) and checks the ratio, the padding and work(1).
template <typename T>
void check_inverse(int64_t n, int64_t lwork, uint64_t seed) {
  const int64_t lda = n + 3;
  const std::vector<T> a = vrx_test_lu_matrix<T>(n, n, lda, seed);
  std::vector<T> inverse = a;
  std::vector<int64_t> ipiv(n);
  int64_t info = -99;
  vrx_lapack_getrf_seq(n, n, inverse.data(), lda, ipiv.data(), &info);
  ASSERT_EQ(info, 0);
  const int64_t optimal = optimal_workspace<T>(n);
  if (lwork == 0) lwork = optimal;
  std::vector<T> work(static_cast<std::size_t>(lwork));
  ASSERT_EQ(invert<T>(n, inverse, lda, ipiv.data(), work, lwork), 0);
  const std::string where = "n " + std::to_string(n) + " lwork " + std::to_string(lwork);
  const auto m = vrx_test_detail::general_op<vrx_test_wide_t<T>>('N', n, a.data(), lda);
  EXPECT_LT(vrx_test_product_ratio<T>(m, n, n, inverse.data(), lda, nullptr, 0), 30.0) << where;
  EXPECT_TRUE(vrx_test_lu_padding_intact(inverse, n, n, lda)) << where;
  EXPECT_EQ(vrx_traits<T>::real_part(work[0]), optimal) << where;
}
}  // namespace

TYPED_TEST(GetriTest, InvertsOnBothSidesOfTheBlockSize) {
  uint64_t seed = 0;
  for (int64_t n : {1, 2, 30, 64, 65, 150}) check_inverse<TypeParam>(n, 0, ++seed);
}

// lwork n leaves blocks of one column: the column loop. 2n gives the smallest block, 3n
// blocks of three (the last one narrower).
TYPED_TEST(GetriTest, ShortWorkspaceNarrowsTheBlocks) {
  for (int64_t n : {65, 100})
    for (int64_t columns : {1, 2, 3}) check_inverse<TypeParam>(n, columns * n, n + columns);
}

TYPED_TEST(GetriTest, WorkspaceQueryWritesOnlyTheSize) {
  for (int64_t n : {0, 1, 70, 999}) {
    const int64_t lda = n + 1;
    std::vector<TypeParam> a(static_cast<std::size_t>(lda * (n + 1)), vrx_traits<TypeParam>::make(5, 1));
    std::vector<TypeParam> work(4, vrx_traits<TypeParam>::make(-3, 0));
    const std::vector<TypeParam> a0 = a;
    int64_t info = -99, lwork = -1;
    vrx_test_solve_entries<TypeParam>::getri(&n, a.data(), &lda, nullptr, work.data(), &lwork, &info);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(vrx_traits<TypeParam>::real_part(work[0]), 64 * n) << "n " << n;
    for (int i = 1; i < 4; ++i) EXPECT_EQ(vrx_traits<TypeParam>::real_part(work[i]), -3);
    EXPECT_TRUE(vrx_test_same_bits(a, a0));
  }
}

TYPED_TEST(GetriTest, EmptyMatrixReturnsAtOnce) {
  int64_t n = 0, lda = 1, lwork = 1, info = -99;
  std::vector<TypeParam> a(1, vrx_traits<TypeParam>::make(4, 0)), work(1);
  int64_t ipiv = 1;
  vrx_test_solve_entries<TypeParam>::getri(&n, a.data(), &lda, &ipiv, work.data(), &lwork, &info);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(vrx_traits<TypeParam>::real_part(a[0]), 4);
}

// A zero on U's diagonal (the first of two): info names it and the factors stay as
// they were.
TYPED_TEST(GetriTest, SingularUIsReportedWithTheFactorsUnchanged) {
  for (int64_t col : {0, 4, 69}) {
    const int64_t n = 70, lda = n + 3;
    std::vector<TypeParam> a = vrx_test_lu_matrix<TypeParam>(n, n, lda, 40 + col);
    std::vector<int64_t> ipiv(n);
    int64_t info = -99;
    vrx_lapack_getrf_seq(n, n, a.data(), lda, ipiv.data(), &info);
    ASSERT_EQ(info, 0);
    a[col + col * lda] = a[(n - 1) + (n - 1) * lda] = vrx_traits<TypeParam>::make(0, 0);
    const std::vector<TypeParam> factors = a;
    const std::vector<int64_t> pivots = ipiv;
    std::vector<TypeParam> work(static_cast<std::size_t>(optimal_workspace<TypeParam>(n)));
    EXPECT_EQ(invert<TypeParam>(n, a, lda, ipiv.data(), work, static_cast<int64_t>(work.size())), col + 1);
    EXPECT_TRUE(vrx_test_same_bits(a, factors));
    EXPECT_EQ(ipiv, pivots);
  }
}

TYPED_TEST(GetriTest, ParameterChecksInOrder) {
  struct row {
    int64_t n, lda, lwork;
    int position;
  };
  const row rows[] = {
      {-1, 0, 0, 1}, {-1, 1, -1, 1}, {3, 2, 0, 3}, {0, 0, 1, 3}, {3, 2, -1, 3}, {3, 3, 2, 6}, {0, 1, 0, 6}, {3, 3, -2, 6},
  };
  const std::string name = std::string(1, vrx_traits<TypeParam>::letter) + "GETRI";
  for (const row& r : rows) {
    std::vector<TypeParam> a(16, vrx_traits<TypeParam>::make(2, 0)), work(16, vrx_traits<TypeParam>::make(3, 0));
    const std::vector<TypeParam> a0 = a;
    std::vector<int64_t> ipiv(4, 1);
    int64_t info = 0;
    const std::string printed = vrx_test_printed_by([&] {
      vrx_test_solve_entries<TypeParam>::getri(&r.n, a.data(), &r.lda, ipiv.data(), work.data(), &r.lwork, &info);
    });
    EXPECT_EQ(printed, vrx_test_parameter_line(r.position, name)) << r.n << " " << r.lda << " " << r.lwork;
    EXPECT_EQ(info, -r.position);
    EXPECT_TRUE(vrx_test_same_bits(a, a0));
    for (std::size_t i = 1; i < work.size(); ++i) EXPECT_EQ(vrx_traits<TypeParam>::real_part(work[i]), 3);
  }
}

// ---- the inverse's tuning query ----
namespace {
vrx_int ask(vrx_int key, const char* name, vrx_int n, vrx_int threads) {
  return vrx_lapack_inverse_tuning(&key, name, "UN", &n, &threads);
}

// Answers of the driver in a child process of the given CPU type, one per query.
std::vector<std::string> answers_of_cpu_type(const char* cpu, const std::vector<std::string>& queries) {
  const vrx_child_result run =
      vrx_test_run(vrx_test_driver("inverse_tuning_driver"), queries, {{"VRX_DEBUG_CPU_TYPE", cpu}});
  EXPECT_EQ(run.exit_status, 0);
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = run.output.find('\n', start)) != std::string::npos; start = end + 1)
    lines.push_back(run.output.substr(start, end - start));
  return lines;
}
}  // namespace

// Key 1 by order and threads, on a CPU type above 0 and on type 0 (64 everywhere); the
// CPU type is read once per process, so each runs in a child. GETRI's query asks with
// the LAPACK domain's thread count.
TEST(InverseTuning, BlockSizeByOrderThreadsAndCpuType) {
  struct row {
    const char* query;
    vrx_int block;
  };
  const row rows[] = {
      {"1,DGETRI,1,1", 64},        {"1,DGETRI,999,40", 64},     {"1,DGETRI,1000,1", 224},
      {"1,DGETRI,2000,15", 224},   {"1,DGETRI,2001,1", 384},    {"1,DGETRI,3500,15", 384},
      {"1,DGETRI,3501,1", 576},    {"1,DGETRI,7500,1", 576},    {"1,ztrtri,7501,15", 672},
      {"1,DGETRI,1000,16", 64},    {"1,DGETRI,2500,16", 64},    {"1,DGETRI,2501,16", 384},
      {"1,DGETRI,3500,16", 384},   {"1,DGETRI,3501,16", 576},   {"1,DGETRI,7500,16", 576},
      {"1,STRTRI,7501,16", 672},   {"1,DGETRI,1000,17", 384},   {"1,DGETRI,1500,24", 384},
      {"1,DGETRI,1501,17", 512},   {"1,DGETRI,3500,24", 512},   {"1,DGETRI,3501,17", 896},
      {"1,cgetri,90000,24", 896},  {"1,DGETRI,1000,25", 320},   {"1,DGETRI,5000,99", 320},
      {"1,DGETRI,5001,25", 480},   {"1,DGETRI,8000,25", 480},   {"1,DGETRI,8001,25", 640},
      {"1,DGETRI,1200,0", 224},    {"getri,1500,1", 224 * 1500}, {"getri,1500,16", 64 * 1500},
      {"getri,1500,20", 384 * 1500}, {"getri,1500,32", 320 * 1500}, {"getri,999,32", 64 * 999},
  };
  std::vector<std::string> queries;
  for (const row& r : rows) queries.push_back(r.query);
  const std::vector<std::string> typed = answers_of_cpu_type("2", queries), baseline = answers_of_cpu_type("0", queries);
  ASSERT_EQ(typed.size(), queries.size());
  ASSERT_EQ(baseline.size(), queries.size());
  for (std::size_t i = 0; i < queries.size(); ++i) {
    const bool workspace = queries[i][0] == 'g';
    const vrx_int n = workspace ? std::stoll(queries[i].substr(6)) : 1;
    EXPECT_EQ(typed[i], std::to_string(rows[i].block)) << queries[i];
    EXPECT_EQ(baseline[i], std::to_string(workspace ? 64 * n : 64)) << queries[i];
  }
}

TEST(InverseTuning, OtherKeysAndNames) {
  struct row {
    vrx_int key;
    const char* name;
    vrx_int answer;
  };
  const row rows[] = {
      {1, "XGETRI", 1}, {1, "", 1},       {2, "sgetri", 2},  {2, "CTRTRI", 2}, {2, "getri", 1}, {4, "DGETRI", 1},
      {5, "XGETRI", 1}, {0, "DGETRI", -1}, {7, "DGETRI", -1}, {-3, "DGETRI", -1},
  };
  for (const row& r : rows) EXPECT_EQ(ask(r.key, r.name, 2000, 4), r.answer) << r.key << " " << r.name;
  EXPECT_EQ(ask(3, "DGETRI", 10, 1), vrx_serv_get_max_threads());
  EXPECT_EQ(ask(6, "DGETRI", 10, 1), vrx_serv_cpu_detect());
  EXPECT_EQ(answers_of_cpu_type("2", {"6,DGETRI,1,1"}), std::vector<std::string>{"2"});
}
