// The kernel column's override values, and the names of the two variables.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "vector/vrx_vmf.h"

TEST(VmfCpuCode, OverrideValuesAcceptedAndRefused) {
  EXPECT_EQ(vrx_vmf_override_code("0"), 0);
  EXPECT_EQ(vrx_vmf_override_code("7"), 7);
  EXPECT_EQ(vrx_vmf_override_code("9"), 9);
  EXPECT_EQ(vrx_vmf_override_code("07"), 7);
  EXPECT_EQ(vrx_vmf_override_code("09"), 9);
  EXPECT_EQ(vrx_vmf_override_code("5abc"), 5);  // longer values take the first digit
  EXPECT_EQ(vrx_vmf_override_code("8"), -1);
  EXPECT_EQ(vrx_vmf_override_code("08"), -1);
  EXPECT_EQ(vrx_vmf_override_code("10"), -1);
  EXPECT_EQ(vrx_vmf_override_code("99"), -1);
  EXPECT_EQ(vrx_vmf_override_code("5x"), -1);
  EXPECT_EQ(vrx_vmf_override_code("x5"), -1);
  EXPECT_EQ(vrx_vmf_override_code(""), -1);
  EXPECT_EQ(vrx_vmf_override_code(nullptr), -1);
}

TEST(VmfEnvironmentNames, AreNotPlainTextInTheLibrary) {
  char mode_name[32], code_name[32];
  vrx_vmf_mode_variable(mode_name);
  vrx_vmf_cpu_code_variable(code_name);
  EXPECT_STREQ(mode_name, "VRX_VMF_MODE");
  EXPECT_STREQ(code_name, "VRX_VMF_CPU_CODE");
  std::ifstream file(VRX_SHARED_LIBRARY, std::ios::binary);
  ASSERT_TRUE(file.good());
  const std::string image((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  ASSERT_GT(image.size(), 1000u);
  EXPECT_EQ(image.find(mode_name), std::string::npos);
  EXPECT_EQ(image.find(code_name), std::string::npos);
  EXPECT_EQ(image.find("VRX_VMF"), std::string::npos);
}
