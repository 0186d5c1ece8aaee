// NaN screening and layout transposition helpers: the fast (summing) and exact phases at
// their thresholds, what counts as screened, and triangles copied without their other half.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "interface/lapacke/vrx_lapacke.h"

namespace {
const int R = LAPACK_ROW_MAJOR, C = LAPACK_COL_MAJOR;

struct screen_case {
  int layout;
  char uplo;  // 0: the whole matrix (ge)
  int m, n;   // m is ignored for triangles
  bool fast;  // the summing phase runs first
};

// The phases run by one call, and its answer.
struct phases {
  int found;
  std::int64_t fast, exact;
};

template <typename T>
phases screen(const screen_case& c, const std::vector<T>& a, int lda, char diag = 'N') {
  vrx_lapacke_nancheck_trace* trace = vrx_lapacke_nancheck_trace_record();
  const vrx_lapacke_nancheck_trace before = *trace;
  int found;
  if constexpr (sizeof(T) == 8)
    found = c.uplo ? LAPACKE_dtr_nancheck(c.layout, c.uplo, diag, c.n, a.data(), lda)
                   : LAPACKE_dge_nancheck(c.layout, c.m, c.n, a.data(), lda);
  else
    found = c.uplo ? LAPACKE_str_nancheck(c.layout, c.uplo, diag, c.n, a.data(), lda)
                   : LAPACKE_sge_nancheck(c.layout, c.m, c.n, a.data(), lda);
  return {found, trace->fast_phases - before.fast_phases, trace->exact_phases - before.exact_phases};
}

// Storage is seen as lines (columns when column major, rows when row major) of lda
// elements. The last element of the last line is always screened.
int last_screened(const screen_case& c, int lda) {
  const int lines = c.uplo ? c.n : (c.layout == C ? c.n : c.m);
  const int extent = c.uplo ? c.n : (c.layout == C ? c.m : c.n);
  return (lines - 1) * lda + extent - 1;
}
// The first element of a line whose first two elements are both screened.
int full_line_start(const screen_case& c, int lda) {
  const bool leading = c.uplo && (c.uplo == 'U') == (c.layout == C);
  return leading ? (c.n - 1) * lda : 0;
}

const screen_case screen_cases[] = {
    {C, 0, 16, 3, true},  {C, 0, 15, 30, false}, {R, 0, 30, 5, true},   {R, 0, 3, 4, false},
    {C, 'U', 0, 16, true}, {C, 'U', 0, 15, false}, {R, 'L', 0, 16, true}, {R, 'L', 0, 15, false},
    {C, 'L', 0, 20, true}, {C, 'L', 0, 19, false}, {R, 'U', 0, 20, true}, {R, 'U', 0, 19, false},
};

template <typename T>
void check_phases() {
  const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
  for (const screen_case& c : screen_cases) {
    const int lda = 33;
    std::vector<T> a(33 * 33, T(1.5));
    SCOPED_TRACE(testing::Message() << "layout " << c.layout << " uplo " << (c.uplo ? c.uplo : '-') << " m " << c.m
                                    << " n " << c.n);
    phases p = screen(c, a, lda);
    EXPECT_EQ(p.found, 0);
    EXPECT_EQ(p.fast, c.fast ? 1 : 0);
    EXPECT_EQ(p.exact, c.fast ? 0 : 1);
    // +inf first and -inf beside it in the same line: a NaN sum, but no NaN.
    a[full_line_start(c, lda)] = inf;
    a[full_line_start(c, lda) + 1] = -inf;
    p = screen(c, a, lda);
    EXPECT_EQ(p.found, 0);
    EXPECT_EQ(p.exact, 1);
    // A NaN in the last screened element is found, behind the infinity.
    a[last_screened(c, lda)] = nan;
    p = screen(c, a, lda);
    EXPECT_EQ(p.found, 1);
    EXPECT_EQ(p.fast, c.fast ? 1 : 0);
    EXPECT_EQ(p.exact, 1);
  }
}
}  // namespace

TEST(LapackeNancheck, PhasesAtTheirThresholdsInDouble) { check_phases<double>(); }
TEST(LapackeNancheck, PhasesAtTheirThresholdsInSingle) { check_phases<float>(); }

TEST(LapackeNancheck, OnlyTheScreenedPartCounts) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> a(20 * 20, 2.0);
  // Padding rows beyond m, column major, for both phases.
  for (int m : {3, 17}) {
    std::vector<double> padded(20 * 4, 1.0);
    padded[19] = nan;  // row 19 of column 0, past m
    EXPECT_EQ(LAPACKE_dge_nancheck(C, m, 4, padded.data(), 20), 0) << m;
    EXPECT_EQ(LAPACKE_dge_nancheck(C, 20, 4, padded.data(), 20), 1) << m;
  }
  // The strict lower triangle of an upper matrix, and the diagonal with diag U.
  a[1] = nan;  // (1, 0) column major
  EXPECT_EQ(LAPACKE_dpo_nancheck(C, 'U', 20, a.data(), 20), 0);
  EXPECT_EQ(LAPACKE_dpo_nancheck(C, 'l', 20, a.data(), 20), 1);
  EXPECT_EQ(LAPACKE_dpo_nancheck(R, 'U', 20, a.data(), 20), 1);  // (0, 1) in row major
  a[1] = 2.0;
  a[21] = nan;  // (1, 1)
  EXPECT_EQ(LAPACKE_dtr_nancheck(C, 'U', 'U', 20, a.data(), 20), 0);
  EXPECT_EQ(LAPACKE_dtr_nancheck(C, 'U', 'N', 20, a.data(), 20), 1);
  // Whatever is not understood screens as clean.
  EXPECT_EQ(LAPACKE_dtr_nancheck(C, 'X', 'N', 20, a.data(), 20), 0);
  EXPECT_EQ(LAPACKE_dtr_nancheck(C, 'U', 'X', 20, a.data(), 20), 0);
  EXPECT_EQ(LAPACKE_dge_nancheck(100, 20, 20, a.data(), 20), 0);
  EXPECT_EQ(LAPACKE_dge_nancheck(C, 20, 20, nullptr, 20), 0);
  EXPECT_EQ(LAPACKE_spo_nancheck(C, 'U', 20, nullptr, 20), 0);
}

TEST(LapackeTranspose, WholeMatricesGoToTheOtherLayout) {
  // A 3 by 2 row-major matrix with lda 4 into column major with ld 5, and back.
  const std::vector<double> row = {1, 2, -1, -1, 3, 4, -1, -1, 5, 6, -1, -1};
  std::vector<double> col(10, 0.0);
  LAPACKE_dge_trans(R, 3, 2, row.data(), 4, col.data(), 5);
  EXPECT_EQ(col, (std::vector<double>{1, 3, 5, 0, 0, 2, 4, 6, 0, 0}));
  std::vector<double> back(12, -1.0);
  LAPACKE_dge_trans(C, 3, 2, col.data(), 5, back.data(), 4);
  EXPECT_EQ(back, row);
  const std::vector<float> rows = {1, 2, 3, 4, 5, 6};
  std::vector<float> cols(6, 0.0f);
  LAPACKE_sge_trans(R, 2, 3, rows.data(), 3, cols.data(), 2);
  EXPECT_EQ(cols, (std::vector<float>{1, 4, 2, 5, 3, 6}));
  LAPACKE_sge_trans(R, 2, 3, nullptr, 3, cols.data(), 2);  // nothing happens
  EXPECT_EQ(cols, (std::vector<float>{1, 4, 2, 5, 3, 6}));
}

TEST(LapackeTranspose, TrianglesLeaveTheOtherHalfAlone) {
  // Column-major 3 by 3 with values 1..9; the target starts at 0.
  const std::vector<double> a = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  struct triangle_case {
    int layout;
    char uplo, diag;
    std::vector<double> expected;  // the target in the other layout
  };
  const triangle_case cases[] = {
      // Upper of the column-major matrix: (0,0)=1 (0,1)=4 (1,1)=5 (0,2)=7 (1,2)=8 (2,2)=9, row major.
      {C, 'U', 'N', {1, 4, 7, 0, 5, 8, 0, 0, 9}},
      {C, 'U', 'U', {0, 4, 7, 0, 0, 8, 0, 0, 0}},
      {C, 'L', 'N', {1, 0, 0, 2, 5, 0, 3, 6, 9}},
      // Read as row major, the upper triangle is 1 2 3 / 5 6 / 9; into column major.
      {R, 'U', 'N', {1, 0, 0, 2, 5, 0, 3, 6, 9}},
      {R, 'l', 'u', {0, 4, 7, 0, 0, 8, 0, 0, 0}},
      {C, 'X', 'N', {0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {C, 'U', 'X', {0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {104, 'U', 'N', {0, 0, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const triangle_case& c : cases) {
    std::vector<double> out(9, 0.0);
    LAPACKE_dtr_trans(c.layout, c.uplo, c.diag, 3, a.data(), 3, out.data(), 3);
    EXPECT_EQ(out, c.expected) << c.layout << c.uplo << c.diag;
  }
  std::vector<float> single(9, 0.0f);
  const std::vector<float> as(a.begin(), a.end());
  LAPACKE_spo_trans(C, 'U', 3, as.data(), 3, single.data(), 3);
  EXPECT_EQ(single, (std::vector<float>{1, 4, 7, 0, 5, 8, 0, 0, 9}));
  std::vector<double> po(9, 0.0);
  LAPACKE_dpo_trans(R, 'L', 3, a.data(), 3, po.data(), 3);
  EXPECT_EQ(po, (std::vector<double>{1, 4, 7, 0, 5, 8, 0, 0, 9}));
}
