// Bounded string functions: codes, constraint texts in the order of the tests, and
// what a failure leaves in the destination.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "service/vrx_serv.h"

namespace {
std::string last_text;
int last_code = 0;
int reports = 0;
void record(const char* message, void*, int code) {
  last_text = message;
  last_code = code;
  ++reports;
}
struct SafeString : testing::Test {
  void SetUp() override {
    vrx_serv_set_constraint_handler(record);
    last_text.clear();
    last_code = 0;
    reports = 0;
  }
};
}  // namespace

TEST_F(SafeString, Strnlen) {
  EXPECT_EQ(strnlen_s(nullptr, 10), 0u);
  EXPECT_EQ(reports, 0);
  EXPECT_EQ(strnlen_s("abc", 0), 0u);
  EXPECT_EQ(last_text, "strnlen_s: dmax is 0");
  EXPECT_EQ(last_code, 401);
  EXPECT_EQ(strnlen_s("abc", 4097), 0u);
  EXPECT_EQ(last_text, "strnlen_s: dmax exceeds max");
  EXPECT_EQ(last_code, 403);
  EXPECT_EQ(strnlen_s("abcdef", 4), 4u);
  EXPECT_EQ(strnlen_s("abc", 4096), 3u);
}

TEST_F(SafeString, StrncpyOrderOfTests) {
  char dest[8] = "keep";
  EXPECT_EQ(strncpy_s(nullptr, 8, "a", 1), 400);
  EXPECT_EQ(last_text, "strncpy_s: dest is null");
  EXPECT_EQ(strncpy_s(dest, 0, nullptr, 0), 401);
  EXPECT_EQ(last_text, "strncpy_s: dmax is 0");
  EXPECT_STREQ(dest, "keep");  // before the src test, dest is not touched
  EXPECT_EQ(strncpy_s(dest, 5000, nullptr, 0), 403);
  EXPECT_EQ(last_text, "strncpy_s: dmax exceeds max");
  EXPECT_STREQ(dest, "keep");
  EXPECT_EQ(strncpy_s(dest, 8, nullptr, 0), 400);
  EXPECT_EQ(last_text, "strncpy_s: src is null");
  EXPECT_STREQ(dest, "");
  std::strcpy(dest, "keep");
  EXPECT_EQ(strncpy_s(dest, 8, "abc", 0), 401);
  EXPECT_EQ(last_text, "strncpy_s: slen is zero");
  EXPECT_STREQ(dest, "");
  std::strcpy(dest, "keep");
  EXPECT_EQ(strncpy_s(dest, 8, "abc", 4097), 403);
  EXPECT_EQ(last_text, "strncpy_s: slen exceeds max");
  EXPECT_STREQ(dest, "");
}

TEST_F(SafeString, StrncpyCopiesRunsOutAndOverlaps) {
  char dest[8];
  EXPECT_EQ(strncpy_s(dest, 8, "abcdef", 3), 0);
  EXPECT_STREQ(dest, "abc");
  EXPECT_EQ(strncpy_s(dest, 8, "abcdefg", 100), 0);
  EXPECT_STREQ(dest, "abcdefg");
  EXPECT_EQ(strncpy_s(dest, 8, "abcdefgh", 100), 406);
  EXPECT_EQ(last_text, "strncpy_s: not enough space for src");
  EXPECT_STREQ(dest, "");
  char both[16] = "abcdefgh";
  EXPECT_EQ(strncpy_s(both, 16, both + 2, 10), 404);
  EXPECT_EQ(last_text, "strncpy_s: overlapping objects");
  std::strcpy(both, "abcdefgh");
  EXPECT_EQ(strncpy_s(both + 2, 10, both, 10), 404);
}

TEST_F(SafeString, Strncat) {
  char dest[8] = "ab";
  EXPECT_EQ(strncat_s(dest, 8, "cde", 10), 0);
  EXPECT_STREQ(dest, "abcde");
  EXPECT_EQ(strncat_s(dest, 8, "xyz", 2), 0);
  EXPECT_STREQ(dest, "abcdexy");
  EXPECT_EQ(strncat_s(dest, 8, "z", 1), 406);
  EXPECT_STREQ(dest, "");
  EXPECT_EQ(strncat_s(nullptr, 8, "z", 1), 400);
  EXPECT_EQ(last_text, "strncat_s: dest is null");
  EXPECT_EQ(strncat_s(dest, 0, "z", 1), 401);
  EXPECT_EQ(last_text, "strncat_s: dmax is 0");
  EXPECT_EQ(strncat_s(dest, 4097, "z", 1), 403);
  EXPECT_EQ(last_text, "strncat_s: dmax exceeds max");
  EXPECT_EQ(strncat_s(dest, 8, nullptr, 1), 400);
  EXPECT_EQ(last_text, "strncat_s: src is null");
  EXPECT_EQ(strncat_s(dest, 8, "z", 4097), 403);
  EXPECT_EQ(last_text, "strncat_s: slen exceeds max");
}

TEST_F(SafeString, MemmoveClearsDestinationOnFailure) {
  char dest[6] = "hello";
  const char src[6] = "world";
  EXPECT_EQ(memmove_s(nullptr, 6, src, 6), 400);
  EXPECT_EQ(last_text, "memmove_s: dest is null");
  EXPECT_EQ(memmove_s(dest, 0, src, 6), 401);
  EXPECT_EQ(last_text, "memmove_s: dmax is 0");
  EXPECT_STREQ(dest, "hello");
  EXPECT_EQ(memmove_s(dest, 6, src, 0), 401);
  EXPECT_EQ(last_text, "memmove_s: smax is 0");
  EXPECT_EQ(std::string(dest, 6), std::string(6, '\0'));
  std::memcpy(dest, "hello", 6);
  EXPECT_EQ(memmove_s(dest, 4, src, 6), 403);
  EXPECT_EQ(last_text, "memmove_s: smax exceeds max");
  EXPECT_EQ(std::string(dest, 4), std::string(4, '\0'));
  EXPECT_EQ(dest[4], 'o');
  std::memcpy(dest, "hello", 6);
  EXPECT_EQ(memmove_s(dest, 6, nullptr, 6), 400);
  EXPECT_EQ(last_text, "memmove_s: src is null");
  EXPECT_EQ(memmove_s(dest, 6, src, 6), 0);
  EXPECT_STREQ(dest, "world");
  char overlap[8] = "abcdefg";
  EXPECT_EQ(memmove_s(overlap + 1, 7, overlap, 6), 0);
  EXPECT_STREQ(overlap, "aabcdef");
}
