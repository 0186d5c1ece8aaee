// cblas_dgemm results against a long-double reference, both layouts, every
// transposition, and shapes on both sides of each vector-shaped reduction.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "include/customvrx.h"
#include "support/gemm_reference.h"

namespace {
struct shape {
  int m, n, k;
};

// Runs one product in `layout` with padded leading dimensions and checks every
// element against the reference, and that padding is never written.
void check_product(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, shape s, double alpha, double beta,
                   unsigned seed) {
  const bool row = layout == CblasRowMajor;
  const bool a_plain = ta == CblasNoTrans, b_plain = tb == CblasNoTrans;
  // Dimensions of the stored matrices as the caller sees them.
  const int a_rows = a_plain ? s.m : s.k, a_cols = a_plain ? s.k : s.m;
  const int b_rows = b_plain ? s.k : s.n, b_cols = b_plain ? s.n : s.k;
  const int lda = (row ? a_cols : a_rows) + 3, ldb = (row ? b_cols : b_rows) + 2, ldc = (row ? s.n : s.m) + 1;
  const int a_lines = row ? a_rows : a_cols, b_lines = row ? b_rows : b_cols, c_lines = row ? s.m : s.n;
  std::vector<double> a = vrx_test_random(static_cast<size_t>(lda) * std::max(a_lines, 1), seed);
  std::vector<double> b = vrx_test_random(static_cast<size_t>(ldb) * std::max(b_lines, 1), seed + 1);
  std::vector<double> c = vrx_test_random(static_cast<size_t>(ldc) * std::max(c_lines, 1), seed + 2);
  const std::vector<double> c0 = c;

  cblas_dgemm(layout, ta, tb, s.m, s.n, s.k, alpha, a.data(), lda, b.data(), ldb, beta, c.data(), ldc);

  // Reference in column-major terms: a row-major matrix is the column-major transpose.
  std::vector<long double> ref;
  const char la = a_plain ? 'N' : 'T', lb = b_plain ? 'N' : 'T';
  if (!row) {
    vrx_test_gemm_long_double(la, lb, s.m, s.n, s.k, alpha, a.data(), lda, b.data(), ldb, beta, c0.data(), ldc, ref);
    EXPECT_LT(vrx_test_gemm_error(c.data(), ldc, s.m, s.n, ref, s.k, std::fabs(alpha) * s.k + std::fabs(beta)), 1.0);
  } else {
    // C^T = op(B)^T op(A)^T with the stored arrays read column-major.
    vrx_test_gemm_long_double(b_plain ? 'N' : 'T', a_plain ? 'N' : 'T', s.n, s.m, s.k, alpha, b.data(), ldb,
                              a.data(), lda, beta, c0.data(), ldc, ref);
    EXPECT_LT(vrx_test_gemm_error(c.data(), ldc, s.n, s.m, ref, s.k, std::fabs(alpha) * s.k + std::fabs(beta)), 1.0);
  }
  const int c_inner = row ? s.n : s.m;
  for (int line = 0; line < c_lines; ++line)
    for (int i = c_inner; i < ldc; ++i) ASSERT_EQ(c[line * ldc + i], c0[line * ldc + i]) << "padding written";
}
}  // namespace

TEST(CblasDgemmResults, EveryLayoutTranspositionAndReduction) {
  const shape shapes[] = {{1, 1, 1}, {1, 9, 5},  {7, 1, 4},   {1, 1, 6},  {6, 5, 1},  {65, 7, 1}, {64, 7, 1},
                          {5, 6, 0}, {13, 11, 9}, {33, 17, 40}, {70, 3, 2}, {2, 70, 3}, {1, 130, 1}, {130, 1, 2}};
  const CBLAS_TRANSPOSE ts[] = {CblasNoTrans, CblasTrans, CblasConjTrans};
  unsigned seed = 1;
  for (CBLAS_LAYOUT layout : {CblasColMajor, CblasRowMajor})
    for (CBLAS_TRANSPOSE ta : ts)
      for (CBLAS_TRANSPOSE tb : ts)
        for (const shape& s : shapes)
          for (auto [alpha, beta] : {std::pair{1.0, 0.0}, std::pair{-0.5, 1.0}, std::pair{2.0, -1.5}}) {
            SCOPED_TRACE(testing::Message() << "layout " << layout << " ta " << ta << " tb " << tb << " m " << s.m
                                            << " n " << s.n << " k " << s.k << " alpha " << alpha << " beta "
                                            << beta);
            check_product(layout, ta, tb, s, alpha, beta, seed++);
          }
}

TEST(CblasDgemmResults, ExactSmallIntegers) {
  // Integer data keeps every partial sum exact, so any summation order must match.
  const int m = 37, n = 29, k = 41;
  std::vector<double> a(m * k), b(k * n), c(m * n, 0.0);
  for (int i = 0; i < m * k; ++i) a[i] = (i * 7) % 11 - 5;
  for (int i = 0; i < k * n; ++i) b[i] = (i * 3) % 13 - 6;
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a.data(), m, b.data(), k, 0.0, c.data(), m);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      double expected = 0;
      for (int l = 0; l < k; ++l) expected += a[i + l * m] * b[l + j * k];
      ASSERT_EQ(c[i + j * m], expected);
    }
}
