// Message catalogue, the reporter and the environment reader.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "service/vrx_serv.h"

namespace {
std::string capture(void (*body)()) {
  testing::internal::CaptureStdout();
  body();
  return testing::internal::GetCapturedStdout();
}
}  // namespace

TEST(Messages, NumberedTextWithArgumentsAndNewline) {
  EXPECT_EQ(capture([] { vrx_serv_print(0, 6, 2, 3, "DGEMM "); }),
            "Ardix VRX ERROR: Parameter 3 was incorrect on entry to DGEMM .\n");
  EXPECT_EQ(capture([] { vrx_serv_print(0, 0, 0); }), "\n");
  EXPECT_EQ(capture([] { vrx_serv_print(0, 1213, 1, 6); }), "Ardix VRX ERROR: CPU 6 is not supported.\n");
}

TEST(Messages, LongMessageIsCutToTheBuffer) {
  static std::string long_name(700, 'x');
  const std::string out = capture([] { vrx_serv_print(0, 1089, 1, long_name.c_str()); });
  // 511 characters of text, then the newline of message 0.
  ASSERT_EQ(out.size(), 512u);
  EXPECT_EQ(out.substr(0, 46), "Ardix VRX INTERNAL ERROR: Not enough work memo");
  EXPECT_EQ(out.back(), '\n');
}

TEST(Messages, RawPrintNeedsArgumentsAndAddsNoNewline) {
  EXPECT_EQ(capture([] { vrx_serv_print_raw(0, "value %d;", 1, 42); }), "value 42;");
  EXPECT_EQ(capture([] { vrx_serv_print_raw(0, "nothing", 0); }), "");
}

TEST(Reporter, EmptyLineThenCodeTable) {
  auto report = [](int code, const char* name, int length) {
    testing::internal::CaptureStdout();
    vrx_serv_xerbla_print(name, &code, length);
    return testing::internal::GetCapturedStdout();
  };
  EXPECT_EQ(report(4, "DPOTRF", 6), "\nArdix VRX ERROR: Parameter 4 was incorrect on entry to DPOTRF.\n");
  EXPECT_EQ(report(-3, "DGETRF", 6), "\nArdix VRX INTERNAL ERROR: Condition 3 detected in function DGETRF.\n");
  EXPECT_EQ(report(0, "X", 1), "\nArdix VRX INTERNAL ERROR: Condition 0 detected in function X.\n");
  EXPECT_EQ(report(1000, "DSYEV", 5),
            "\nArdix VRX INTERNAL ERROR: Insufficient workspace available in function DSYEV.\n");
  EXPECT_EQ(report(1001, "DGELS", 5), "\nArdix VRX ERROR: Incompatible optional parameters on entry to DGELS.\n");
  EXPECT_EQ(report(1089, "DGETRF", 6), "\nArdix VRX INTERNAL ERROR: Not enough work memory in function DGETRF\n");
  EXPECT_EQ(report(1212, "DGEMM", 5), "\nArdix VRX INTERNAL ERROR: Issue accessing coprocessor DGEMM.\n");
  // A name of 25 bytes is cut to its first 20; a shorter length cuts where it says.
  EXPECT_EQ(report(2, "ABCDEFGHIJKLMNOPQRSTUVWXY", 25),
            "\nArdix VRX ERROR: Parameter 2 was incorrect on entry to ABCDEFGHIJKLMNOPQRST.\n");
  EXPECT_EQ(report(2, "DGEMMXYZ", 5), "\nArdix VRX ERROR: Parameter 2 was incorrect on entry to DGEMM.\n");
}

TEST(Reporter, CblasReportMeasuresTheName) {
  testing::internal::CaptureStdout();
  vrx_cblas_xerbla("cblas_dgemm", 9);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\nArdix VRX ERROR: Parameter 9 was incorrect on entry to cblas_dgemm.\n");
}

namespace {
int handled_code = 0;
std::string handled_name;
int recording_handler(const char* name, const int* info, int length) {
  handled_code = *info;
  handled_name.assign(name, static_cast<size_t>(length));
  return 77;
}
}  // namespace

TEST(Reporter, HandlerSlotIsSetOnceAndTakesEngineReports) {
  vrx_serv_set_xerbla(recording_handler);
  vrx_serv_set_xerbla(XERBLA);  // a filled slot cannot change
  const int code = 5;
  testing::internal::CaptureStdout();
  EXPECT_EQ(vrx_serv_xerbla("DGETRS", &code, 6), 77);
  EXPECT_EQ(vrx_serv_check_ptr(nullptr, "DTRSM"), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(handled_code, 1089);
  EXPECT_EQ(handled_name, "DTRSM");
  EXPECT_EQ(vrx_serv_check_ptr(&code, "DTRSM"), 0);
  EXPECT_EQ(vrx_serv_check_ptr_quiet(nullptr, "DTRSM"), 1);
  EXPECT_EQ(vrx_serv_check_ptr_quiet(&code, "DTRSM"), 0);
}

TEST(Reporter, ProgressSlotAnswersZeroWhenEmpty) {
  const int thread = 0, step = 1;
  EXPECT_EQ(vrx_serv_progress(&thread, &step, "DGETRF", 6), 0);
  vrx_serv_set_progress([](const int*, const int* s, const char*, int) { return *s == 3 ? 1 : 0; });
  const int stop = 3;
  EXPECT_EQ(vrx_serv_progress(&thread, &stop, "DGETRF", 6), 1);
  EXPECT_EQ(vrx_serv_progress(&thread, &step, "DGETRF", 6), 0);
}

TEST(Lsame, CaseInsensitiveAsciiOnly) {
  EXPECT_TRUE(LSAME("n", "N", 1, 1));
  EXPECT_TRUE(LSAME("T", "t", 1, 1));
  EXPECT_TRUE(LSAME("{", "{", 1, 1));
  EXPECT_FALSE(LSAME("N", "T", 1, 1));
  EXPECT_FALSE(LSAME("[", "{", 1, 1));  // differ by 0x20 but are not letters
}

TEST(Getenv, LengthsEmptyAndTooLong) {
  char buffer[8] = "garbage";
  setenv("VRX_TEST_GETENV_VALUE", "abcdefg", 1);  // 7 bytes: fits in 8
  EXPECT_EQ(vrx_serv_getenv("VRX_TEST_GETENV_VALUE", buffer, 8), 7);
  EXPECT_STREQ(buffer, "abcdefg");
  setenv("VRX_TEST_GETENV_VALUE", "abcdefgh", 1);  // exactly as long as the buffer
  EXPECT_EQ(vrx_serv_getenv("VRX_TEST_GETENV_VALUE", buffer, 8), -9);
  EXPECT_STREQ(buffer, "");
  unsetenv("VRX_TEST_GETENV_VALUE");
  std::strcpy(buffer, "junk");
  EXPECT_EQ(vrx_serv_getenv("VRX_TEST_GETENV_VALUE", buffer, 8), 0);
  EXPECT_STREQ(buffer, "");
  setenv("VRX_TEST_GETENV_VALUE", "x", 1);
  EXPECT_EQ(vrx_serv_getenv("VRX_TEST_GETENV_VALUE", buffer, 0), -2);  // size below 1 reads as 0
  EXPECT_EQ(vrx_serv_getenv("VRX_TEST_GETENV_VALUE", buffer, -5), -2);
}

TEST(Getenv, RestrictionWordLimitsTheNames) {
  char buffer[64];
  setenv("VRX_TEST_GETENV_VALUE", "1", 1);
  setenv("LANG", "C", 1);
  vrx_serv_env_restricted = 1;
  EXPECT_EQ(vrx_serv_getenv("VRX_TEST_GETENV_VALUE", buffer, 64), 0);
  EXPECT_EQ(vrx_serv_getenv("LANG", buffer, 64), 1);
  vrx_serv_env_restricted = 0;
  EXPECT_EQ(vrx_serv_getenv("VRX_TEST_GETENV_VALUE", buffer, 64), 1);
}
