// The published level-1/2 members of S, D, C and Z against references in a wider type,
// in this process (CPU type of this machine) and in child processes under every CPU type
// this processor runs, so that every class's kernels serve the published names.
#include <gtest/gtest.h>

#include "blas/level1_checks.h"
#include "blas/level2_checks.h"
#include "support/child_process.h"

namespace {
template <typename T>
class Level12Typed : public ::testing::Test {};
typedef ::testing::Types<float, double, vrx_complex_float, vrx_complex_double> level12_types;
TYPED_TEST_SUITE(Level12Typed, level12_types);

TYPED_TEST(Level12Typed, DotAndConjugatedDot) { EXPECT_EQ(level1_check_dots<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, AxpyScalCopySwapRotAndTheirGaps) { EXPECT_EQ(level1_check_updates<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, NormsNearOverflowAndUnderflow) { EXPECT_EQ(level1_check_norms<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, IamaxTiesAndMagnitude) { EXPECT_EQ(level1_check_iamax<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, GemvEveryTransposition) { EXPECT_EQ(level2_check_gemv<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, GeruAndGerc) { EXPECT_EQ(level2_check_ger<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, HemvReadsOneTriangleAndARealDiagonal) { EXPECT_EQ(level2_check_hemv<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, Her2WritesOneTriangleAndARealDiagonal) { EXPECT_EQ(level2_check_her2<TypeParam>(), ""); }
TYPED_TEST(Level12Typed, TrmvAndTrsvEveryCase) { EXPECT_EQ(level2_check_triangular<TypeParam>(), ""); }

TEST(Level12Typed, DotuAndDotcDifferByTheConjugate) {
  const vrx_complex_double x[2] = {{1, 2}, {3, -1}}, y[2] = {{2, 1}, {0, 1}};
  const vrx_int n = 2, one = 1;
  const vrx_complex_double u = ZDOTU(&n, x, &one, y, &one), c = ZDOTC(&n, x, &one, y, &one);
  // (1+2i)(2+i) + (3-i)(i) = 5i + 1 + 3i = 1 + 8i; (1-2i)(2+i) + (3+i)(i) = 4 - 3i - 1 + 3i = 3.
  EXPECT_TRUE(u.re == 1 && u.im == 8);
  EXPECT_TRUE(c.re == 3 && c.im == 0);
  const vrx_complex_float xf[2] = {{1, 2}, {3, -1}}, yf[2] = {{2, 1}, {0, 1}};
  const vrx_complex_float uf = CDOTU(&n, xf, &one, yf, &one), cf = CDOTC(&n, xf, &one, yf, &one);
  EXPECT_TRUE(uf.re == 1 && uf.im == 8 && cf.re == 3 && cf.im == 0);
}

TEST(Level12Typed, LacgvConjugatesInPlaceWithAnyIncrement) {
  vrx_complex_double z[5] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}};
  const vrx_int three = 3, minus_two = -2, zero = 0;
  ZLACGV(&three, z, &minus_two);
  EXPECT_TRUE(z[0].im == -1 && z[1].im == 2 && z[2].im == -3 && z[3].im == 4 && z[4].im == -5);
  ZLACGV(&zero, z, &minus_two);
  vrx_complex_float c[2] = {{1, -1}, {2, 0}};
  const vrx_int two = 2, one = 1;
  CLACGV(&two, c, &one);
  EXPECT_TRUE(c[0].re == 1 && c[0].im == 1 && c[1].re == 2 && c[1].im == 0);
}

TEST(Level12Typed, ComplexLevel2ArgumentsAreReportedWithTheirNames) {
  const vrx_int two = 2, minus = -1, zero = 0, one = 1;
  const vrx_complex_double alpha = {1, 0};
  vrx_complex_double a[4] = {}, x[2] = {}, y[2] = {};
  testing::internal::CaptureStdout();
  ZGEMV("Q", &two, &two, &alpha, a, &two, x, &one, &alpha, y, &one);
  CGERC(&two, &two, (const vrx_complex_float*)&alpha, (const vrx_complex_float*)x, &zero,
        (const vrx_complex_float*)y, &one, (vrx_complex_float*)a, &two);
  ZHEMV("U", &two, &alpha, a, &one, x, &one, &alpha, y, &one);
  ZHER2("X", &two, &alpha, x, &one, y, &one, a, &two);
  CTRSV("U", "N", "N", &minus, (const vrx_complex_float*)a, &two, (vrx_complex_float*)x, &one);
  ZTRMV("U", "C", "N", &two, a, &two, x, &zero);
  std::string want;
  for (const char* line : {"1 was incorrect on entry to ZGEMV ", "5 was incorrect on entry to CGERC ",
                           "5 was incorrect on entry to ZHEMV ", "1 was incorrect on entry to ZHER2 ",
                           "4 was incorrect on entry to CTRSV ", "8 was incorrect on entry to ZTRMV "})
    want += std::string("\nArdix VRX ERROR: Parameter ") + line + ".\n";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), want);
  for (const auto& v : y) EXPECT_TRUE(v.re == 0 && v.im == 0);  // untouched
}

TEST(Level12Typed, EveryCpuTypeServesThePublishedNames) {
  for (const char* type : {"0", "4", "5", "7"}) {
    const vrx_child_result r = vrx_test_run(vrx_test_driver("level12_driver"), {}, {{"VRX_DEBUG_CPU_TYPE", type}});
    EXPECT_EQ(r.exit_status, 0) << type;
    EXPECT_EQ(r.output, "S ok\nD ok\nC ok\nZ ok\n") << "CPU type " << type;
  }
}
}  // namespace
