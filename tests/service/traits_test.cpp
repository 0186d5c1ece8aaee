// The element-type facts every layer relies on: layout of the complex types, the
// machine constants against their defining properties, and the routine names.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>

#include "service/vrx_traits.h"

namespace {

template <typename R>
void expect_machine_constants() {
  const R eps = vrx_lamch<R>('E');
  // eps is half an ulp of 1: 1 + eps rounds back to 1, 1 + 2 eps does not.
  volatile R one_plus = R(1) + eps;
  volatile R one_plus_two = R(1) + 2 * eps;
  EXPECT_EQ(one_plus, R(1));
  EXPECT_GT(one_plus_two, R(1));
  EXPECT_EQ(vrx_lamch<R>('p'), eps * 2);
  // The safe minimum's reciprocal is finite, and it is the smallest normal number.
  const R sfmin = vrx_lamch<R>('S');
  EXPECT_TRUE(std::isfinite(R(1) / sfmin));
  EXPECT_EQ(std::fpclassify(sfmin), FP_NORMAL);
  EXPECT_EQ(std::fpclassify(sfmin / 2), FP_SUBNORMAL);
  EXPECT_TRUE(std::isinf(vrx_lamch<R>('O') * 2));
  EXPECT_EQ(vrx_lamch<R>('x'), R(0));
}

TEST(Traits, MachineConstantsHaveTheirDefiningProperties) {
  expect_machine_constants<float>();
  expect_machine_constants<double>();
}

TEST(Traits, ComplexTypesShareTheLayoutOfTheStandardComplex) {
  const std::complex<double> z(1.5, -2.25);
  vrx_complex_double w;
  std::memcpy(&w, &z, sizeof w);
  EXPECT_EQ(w.re, 1.5);
  EXPECT_EQ(w.im, -2.25);
  const vrx_complex_double p = w * vrx_complex_double{0.5, 4.0};
  const std::complex<double> q = z * std::complex<double>(0.5, 4.0);
  EXPECT_EQ(p.re, q.real());
  EXPECT_EQ(p.im, q.imag());
}

TEST(Traits, ConjugateMagnitudeAndNames) {
  typedef vrx_traits<vrx_complex_float> c;
  EXPECT_EQ(c::conj({1.0f, 2.0f}), (vrx_complex_float{1.0f, -2.0f}));
  EXPECT_EQ(c::abs1({-3.0f, 4.0f}), 7.0f);
  EXPECT_EQ(vrx_traits<double>::abs1(-2.5), 2.5);
  EXPECT_STREQ(vrx_routine_name<double>("GETRF").text, "DGETRF");
  EXPECT_STREQ(vrx_routine_name<vrx_complex_double>("HEEV").text, "ZHEEV");
  EXPECT_STREQ(vrx_routine_name<float>("GEQRF").text, "SGEQRF");
  EXPECT_EQ(vrx_traits<vrx_complex_float>::adjoint, 'C');
  EXPECT_EQ(vrx_traits<float>::adjoint, 'T');
}

}  // namespace
