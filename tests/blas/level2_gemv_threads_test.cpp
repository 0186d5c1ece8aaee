// The thread decision of GEMV and DCOPY, and the threaded forms run with explicit team
// sizes (more threads than cores included) against long-double references.
#include <gtest/gtest.h>

#include <limits>
#include "blas/level12_test_support.h"
#include "blas/vrx_blas.h"
#include "support/child_process.h"
#include "support/gemm_reference.h"

namespace {
constexpr int avx2_type = 5, sse2_type = 0, ssse3_type = 2;

int gemv_threads(char trans, vrx_int m, vrx_int n, int t, int dynamic = 1) {
  return vrx_blas_dgemv_thread_count(trans, m, n, t, avx2_type, 1, dynamic);
}
}  // namespace

TEST(GemvThreads, DecisionFollowsShapeThreadsAndProcessor) {
  EXPECT_EQ(gemv_threads('N', 0, 100, 8), 0);
  EXPECT_EQ(gemv_threads('N', 63, 63, 8), 1);
  EXPECT_EQ(gemv_threads('T', 63, 63, 8), 1);
  EXPECT_EQ(gemv_threads('N', 64, 24, 4), 1);        // d = 16, d n = 384
  EXPECT_EQ(gemv_threads('N', 100, 10000, 4), 4);    // reduction form
  EXPECT_EQ(gemv_threads('N', 101, 10000, 4), 4);    // row split: d = 24, d n large
  EXPECT_EQ(gemv_threads('T', 10000, 100, 3), 3);
  EXPECT_EQ(gemv_threads('N', 64, 100, 2), 2);       // d = 32: 3200 >= 1536
  EXPECT_EQ(gemv_threads('N', 64, 48, 2), 2);        // d = 32, 1536 exactly
  EXPECT_EQ(gemv_threads('N', 64, 47, 2), 1);
  EXPECT_EQ(gemv_threads('N', 128, 48, 2), 2);       // d = 64: 3072 exactly
  EXPECT_EQ(gemv_threads('N', 128, 47, 2), 1);
  EXPECT_EQ(gemv_threads('T', 32, 128, 2), 1);       // c = 64: 2048 < 4096
  EXPECT_EQ(gemv_threads('T', 64, 128, 2), 2);       // 4096 exactly
  EXPECT_EQ(gemv_threads('T', 64, 126, 2), 2);       // c = 63: 4032 >= 2048
  EXPECT_EQ(gemv_threads('T', 32, 126, 2), 1);       // 2016 < 2048
  // From 13 threads: w c >= 4096, else dynamic shrinking to m n / 3072.
  EXPECT_EQ(gemv_threads('N', 1600, 64, 16), 16);    // c = 100, w c = 6400
  EXPECT_EQ(gemv_threads('N', 320, 64, 16), 6);      // c = 20, 1280: 20480 / 3072 = 6
  EXPECT_EQ(gemv_threads('N', 320, 64, 16, 0), 1);   // not dynamic
  EXPECT_EQ(gemv_threads('N', 10, 64, 16), 1);       // c = 0
  EXPECT_EQ(gemv_threads('T', 64, 320, 16), 6);
  // Old processors, a failed vendor test or one thread stay sequential.
  EXPECT_EQ(vrx_blas_dgemv_thread_count('N', 4000, 4000, 8, sse2_type, 1, 1), 1);
  EXPECT_EQ(vrx_blas_dgemv_thread_count('N', 4000, 4000, 8, avx2_type, 0, 1), 1);
  EXPECT_EQ(vrx_blas_dgemv_thread_count('N', 4000, 4000, 1, avx2_type, 1, 1), 1);
  EXPECT_EQ(vrx_blas_dgemv_thread_count('N', 4000, 4000, 8, ssse3_type, 1, 1), 8);
}

TEST(GemvThreads, ThreadedFormsMatchTheReferenceAtEveryTeamSize) {
  struct shape {
    char trans;
    vrx_int m, n;
  } shapes[] = {{'N', 100, 10000}, {'N', 101, 10000}, {'T', 10000, 100}, {'T', 10000, 101},
                {'N', 64, 64},     {'T', 63, 200},    {'N', 333, 77},    {'T', 77, 333}};
  for (const shape& s : shapes) {
    const vrx_int lda = s.m + 5;
    const std::vector<double> a = vrx_test_random(lda * s.n, 11);
    const std::vector<double> x = vrx_test_random(2 * (s.m + s.n), 12);
    for (long inc : {1L, -2L}) {
      for (double beta : {0.0, 1.0, 0.5}) {
        std::vector<double> y0 = vrx_test_random(2 * (s.m + s.n), 13);
        if (beta == 0.0)
          for (auto& v : y0) v = std::numeric_limits<double>::quiet_NaN();
        const std::vector<double> expect = reference_gemv(s.trans, s.m, s.n, -0.75, a, lda, x, inc, beta, y0, inc);
        for (int threads : {1, 2, 3, 8}) {
          std::vector<double> y = y0;
          const vrx_int incx = inc, incy = inc;
          const double alpha = -0.75;
          const char letter[2] = {s.trans, 0};
          vrx_blas_dgemv_threaded(threads, letter, &s.m, &s.n, &alpha, a.data(), &lda, x.data(), &incx, &beta,
                                  y.data(), &incy);
          const double bound = 1e-13 * std::sqrt(static_cast<double>(s.trans == 'N' ? s.n : s.m)) + 1e-15;
          for (std::size_t i = 0; i < y.size(); ++i) {
            if (std::isnan(expect[i])) {
              ASSERT_TRUE(std::isnan(y[i])) << "element outside the vector written";
              continue;
            }
            ASSERT_NEAR(y[i], expect[i], bound * (1 + std::fabs(expect[i])))
                << s.trans << " " << s.m << "x" << s.n << " inc " << inc << " beta " << beta << " threads "
                << threads << " at " << i;
          }
        }
      }
    }
  }
}

TEST(GemvThreads, SplitFormGivesTheSameBitsAtEveryTeamSize) {
  // Rows (N) or columns (T) land in vector steps, row tails or single columns depending
  // on where a thread's share starts, and a thread's share of the 1000 by 140 product is
  // small enough for the column passes meant for cached matrices while the whole is not;
  // each element must come out the same wherever it lands.
  struct shape {
    char trans;
    vrx_int m, n;
  } shapes[] = {{'N', 203, 197}, {'T', 203, 197}, {'T', 1000, 140}};
  for (const auto [trans, m, n] : shapes) {
    const vrx_int lda = m + 8, one = 1;
    const std::vector<double> a = vrx_test_random(lda * n, 21), x = vrx_test_random(m + n, 22);
    const std::vector<double> y0 = vrx_test_random(m + n, 23);
    const double alpha = 0.625, beta = -1.25;
    const char letter[2] = {trans, 0};
    std::vector<double> expect = y0;
    vrx_blas_dgemv_sequential(letter, &m, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, expect.data(), &one,
                              &one);
    for (int threads : {2, 3, 5, 8}) {
      std::vector<double> y = y0;
      vrx_blas_dgemv_threaded(threads, letter, &m, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
      ASSERT_EQ(y, expect) << trans << " threads " << threads;
    }
  }
}

TEST(GemvThreads, ProductsWithOneRowOrColumnGoThroughGemv) {
  // m = 1 and n = 1 products of DGEMM reach the GEMV with strides lda and ldc.
  const vrx_int m = 1, n = 300, k = 250, lda = 3, ldb = 260, ldc = 2;
  const std::vector<double> a = vrx_test_random(lda * k, 1), b = vrx_test_random(ldb * n, 2);
  std::vector<double> c = vrx_test_random(ldc * n, 3);
  std::vector<long double> ref;
  vrx_test_gemm_long_double('N', 'N', m, n, k, 1.0, a.data(), lda, b.data(), ldb, 2.0, c.data(), ldc, ref);
  const double alpha = 1, beta = 2;
  vrx_blas_dgemm("N", "N", &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  EXPECT_LT(vrx_test_gemm_error(c.data(), ldc, m, n, ref, k, 3.0 * k), 1.0);
}

TEST(DcopyThreads, DecisionFollowsLengthStridesAndProcessor) {
  const int sse42 = 3, avx512 = 7;
  EXPECT_EQ(vrx_blas_dcopy_thread_count(2000, 1, 1, 8, avx512, 1, 1, -1), 1);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(100000, 0, 1, 8, avx512, 1, 1, -1), 1);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(100000, 1, 1, 8, avx512, 0, 1, -1), 1);  // vendor test
  EXPECT_EQ(vrx_blas_dcopy_thread_count(100000, 1, 1, 8, sse2_type, 1, 1, -1), 1);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(19999, 1, 1, 8, sse42, 1, 1, -1), 4);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(2400, 1, 1, 2, sse42, 1, 1, -1), 1);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(2500, 1, 1, 2, sse42, 1, 1, -1), 2);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(100000, 1, 1, 32, sse42, 1, 1, -1), 16);  // 8500 t: max(11, 16)
  EXPECT_EQ(vrx_blas_dcopy_thread_count(60000, 1, 1, 12, sse42, 1, 1, -1), 12);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(50000, 1, 1, 12, sse42, 1, 1, -1), 10);  // 5000 t: 50000 / 5000
  EXPECT_EQ(vrx_blas_dcopy_thread_count(50000, 1, 1, 12, sse42, 1, 0, -1), 12);  // not dynamic
  EXPECT_EQ(vrx_blas_dcopy_thread_count(3000, 1, 1, 8, ssse3_type, 0, 1, -1), 1);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(3500, 1, 1, 8, ssse3_type, 0, 1, -1), 2);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(8000, 1, 1, 8, ssse3_type, 0, 1, -1), 4);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(20000, 1, 1, 8, ssse3_type, 0, 1, 1 << 20), 4);
  EXPECT_EQ(vrx_blas_dcopy_thread_count(29000, 1, 1, 32, ssse3_type, 0, 1, 1 << 20), 16);
}

TEST(DcopyThreads, ThreadedCopyHonoursNegativeStridesAtEveryTeamSize) {
  const vrx_int n = 10007;
  const std::vector<double> x = vrx_test_random(3 * n, 4);
  for (vrx_int incx : {1, -3}) {
    for (vrx_int incy : {1, 2, -1}) {
      const vrx_int ax = incx < 0 ? -incx : incx, ay = incy < 0 ? -incy : incy;
      std::vector<double> expect(ay * n + 3, -7.0);
      for (vrx_int i = 0; i < n; ++i)
        expect[(incy < 0 ? (n - 1 - i) * ay : i * ay)] = x[(incx < 0 ? (n - 1 - i) * ax : i * ax)];
      for (int threads : {1, 3, 8}) {
        std::vector<double> y(ay * n + 3, -7.0);
        vrx_blas_dcopy_on_threads(threads, n, x.data(), incx, y.data(), incy);
        ASSERT_EQ(y, expect) << incx << " " << incy << " " << threads;
      }
      std::vector<double> y(ay * n + 3, -7.0);
      vrx_blas_dcopy_threaded(&n, x.data(), &incx, y.data(), &incy);
      ASSERT_EQ(y, expect);
    }
  }
}

TEST(GemvThreads, EightThreadsOnTwoCoresInAChildProcess) {
  // A reproducibility branch that passes the vendor test lets the threaded roads run here.
  for (const char* cbwr : {"", "AVX2"}) {
    std::vector<std::pair<std::string, std::string>> env = {{"VRX_DYNAMIC", "false"}, {"VRX_NUM_THREADS", "8"}};
    if (*cbwr) env.push_back({"VRX_CBWR", cbwr});
    const vrx_child_result r = vrx_test_run(vrx_test_driver("level2_driver"), {}, env);
    EXPECT_EQ(r.exit_status, 0) << cbwr;
    EXPECT_EQ(r.output, "gemv ok\ncopy ok\nnorm ok\n") << cbwr;
  }
}
