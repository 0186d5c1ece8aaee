// The thread model of the triangular calls, case by case from its formulas: the small
// rule, one thread, p from the right-hand sides, w rounded to 4 (side L from m = 513,
// side R always), and each side's thresholds on a and b.
#include <gtest/gtest.h>

#include "blas/level3/trsm/vrx_triangular.h"

namespace {
struct plan_case {
  int side;
  vrx_int m, n;
  int t;
  int threads;
  vrx_int width;  // checked when threads > 1
  const char* why;
};

const plan_case cases[] = {
    {0, 16, 16, 33, 1, 0, "m <= 16 and n < 17"},
    {1, 16, 16, 8, 1, 0, "m <= 16 and n < 17, side R"},
    {0, 400, 400, 1, 1, 0, "one thread"},
    {0, 16, 17, 2, 1, 0, "a 1.06 + b 1.0 <= 6"},
    {0, 17, 16, 2, 1, 0, "a 1.20 + b 1.06 <= 6"},
    {0, 40, 40, 2, 2, 20, "a 6.41 + b 6.25 > 6"},
    {0, 30, 4, 4, 1, 0, "p = n / 2 = 2, w 2: a 3.63 + b 0.47 <= 6"},
    {0, 48, 4, 4, 2, 2, "p = 2, w 2: a 9.19 > 6"},
    {0, 15, 100, 2, 1, 0, "a 0.94 < 1 and b 5.86 < 6"},
    {0, 15, 104, 2, 2, 52, "b 6.09: a + b 7.03 > 6"},
    {0, 512, 30, 4, 4, 7, "w 7 kept below m = 513"},
    {0, 513, 30, 4, 4, 4, "w 7 rounded to 4 from m = 513"},
    {0, 100, 3, 4, 1, 0, "p = max(n / 2, 1) = 1"},
    {1, 20, 10, 2, 1, 0, "w 10 -> 8: a 0.43 <= 1 and b 0.63 < 4"},
    {1, 64, 16, 2, 1, 0, "w 32: a 1.06 + b 4 <= 10"},
    {1, 128, 16, 2, 1, 0, "w 64: a 1.06 + b 8 <= 10"},
    {1, 160, 16, 2, 2, 80, "w 80: a 1.06 + b 10 > 10"},
    {1, 68, 15, 2, 1, 0, "w 34 -> 32: a 0.94 <= 1 and b 3.75 < 4"},
    {1, 200, 15, 2, 2, 100, "w 100: b 11.7, a + b > 10"},
    {1, 20, 50, 16, 1, 0, "p = 10, w 2 -> 0: a 9.96 <= 10"},
    {1, 20, 51, 16, 10, 0, "p = 10, w 0: a 10.36 > 10"},
    {1, 2, 100, 2, 1, 0, "p = max(m / 2, 1) = 1"},
    {1, 4000, 4000, 8, 8, 500, "large, side R"},
    {0, 4000, 4000, 8, 8, 500, "large, side L"},
};

TEST(TriPlan, AnswersOnBothSidesOfEachThreshold) {
  for (const plan_case& c : cases) {
    const vrx_tri_plan plan = vrx_l3_tri_plan({c.side, 0, 0, 1}, c.m, c.n, c.t);
    EXPECT_EQ(plan.threads, c.threads) << c.why;
    if (c.threads > 1) EXPECT_EQ(plan.width, c.width) << c.why;
    // Neither uplo, transa nor diag changes the answer.
    const vrx_tri_plan other = vrx_l3_tri_plan({c.side, 1, 2, 0}, c.m, c.n, c.t);
    EXPECT_EQ(other.threads, plan.threads) << c.why;
    EXPECT_EQ(other.width, plan.width) << c.why;
  }
}
}  // namespace
