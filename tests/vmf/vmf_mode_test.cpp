// The mode word: its grammar, the grouped setter, the callback bit, the row rule.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "vector/vrx_vmf.h"

namespace {
struct mode_case {
  const char* text;
  std::uint32_t mode;
};

// Puts the calling thread's block in a known state for a test.
void reset_block(std::uint32_t mode) {
  vrx_vmf_context* block = vrx_vmf_context_get();
  block->mode = mode;
  block->status = 0;
  block->callback = nullptr;
  block->base = nullptr;
}

void some_callback() {}
}  // namespace

TEST(VmfModeGrammar, TokensCombineByOrAndInvalidTextGivesTheDefault) {
  const mode_case cases[] = {
      {"VMF_HA,VMF_ERRMODE_IGNORE", 0x102},
      {"VMF_HA,XYZ", 6658},
      {"VMF_LA", 0x1},
      {"VMF_EP", 0x3},
      {"VMF_LA,VMF_HA", 0x3},
      {"VMF_ERRMODE_IGNORE", 0x100},
      {"VMF_DEFAULT_PRECISION", 0x0},
      {"VMF_FLOAT_CONSISTENT,VMF_LA", 0x11},
      {"VMF_DOUBLE_CONSISTEN", 0x20},
      {"VMF_DOUBLE_CONSISTENT", 6658},  // one character beyond the keyword
      {"VMF_RESTORE", 0x30},
      {"VMF_ERRMODE_ERRNO,VMF_ERRMODE_STDERR,VMF_ERRMODE_EXCEPT", 0xE00},
      {"VMF_ERRMODE_CALLBACK", 0x1000},
      {"VMF_ERRMODE_DEFAULT,VMF_EP", 0x1A03},
      {"", 6658},
      {"HA", 6658},
      {"vmf_ha", 6658},
      {"VMF_HA,", 6658},          // a comma needs a token behind it
      {"VMF_HA,,VMF_LA", 6658},
      {"VMF_HA, VMF_LA", 6658},   // the token after a comma starts with V
      {"VMF_HA VMF_LA", 6658},
      {"VMF_HAX", 6658},
      {"VMF_", 6658},
      {"VMF_HA,VMX_LA", 6658},
      {"V", 6658},
  };
  for (const mode_case& c : cases) EXPECT_EQ(vrx_vmf_parse_mode(c.text), c.mode) << c.text;
  EXPECT_EQ(vrx_vmf_parse_mode(nullptr), 6658u);
}

TEST(VmfModeGrammar, OnlyTheFirst256CharactersCount) {
  std::string tokens;
  for (int i = 0; i < 35; ++i) tokens += "VMF_HA,";  // 245 characters
  // A token closing at character 256: what follows is not read.
  const std::string ends_at_limit = tokens + "VMF_RESTORE";
  ASSERT_EQ(ends_at_limit.size(), 256u);
  EXPECT_EQ(vrx_vmf_parse_mode((ends_at_limit + ",VMF_LA").c_str()), 0x32u);
  EXPECT_EQ(vrx_vmf_parse_mode((ends_at_limit + "garbage").c_str()), 0x32u);
  // A token crossing the limit is cut and no longer matches.
  EXPECT_EQ(vrx_vmf_parse_mode((tokens + "VMF_HA,VMF_EP").c_str()), 6658u);
  // A comma as the 256th character has no token behind it.
  const std::string comma_last = tokens.substr(0, 238) + "VMF_ERRMODE_ERRNO,";
  ASSERT_EQ(comma_last.size(), 256u);
  EXPECT_EQ(vrx_vmf_parse_mode((comma_last + "VMF_LA").c_str()), 6658u);
  EXPECT_EQ(vrx_vmf_parse_mode(comma_last.substr(0, 255).c_str()), 0x202u);
}

TEST(VmfModeWord, SetModeReplacesEachGroupByItself) {
  reset_block(0x1A02);
  EXPECT_EQ(vrx_vmf_set_mode(0x1), 0x1A02u);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x1A01u);
  EXPECT_EQ(vrx_vmf_set_mode(0x100), 0x1A01u);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x101u);
  EXPECT_EQ(vrx_vmf_set_mode(0x280000), 0x101u);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x280101u);
  // Bits outside the three groups are dropped; a zero group leaves its bits alone.
  vrx_vmf_set_mode(0x30 | 0x3 | 0x40000000);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x280103u);
  vrx_vmf_set_mode(0);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x280103u);
}

TEST(VmfModeWord, CallbackSetsAndClearsItsErrorModeBit) {
  reset_block(0x0202);
  EXPECT_EQ(vrx_vmf_set_callback(some_callback), nullptr);
  EXPECT_EQ(vrx_vmf_get_callback(), some_callback);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x1202u);
  EXPECT_EQ(vrx_vmf_set_callback(nullptr), some_callback);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x0202u);
  // With the callback bit the only error-mode bit, clearing it leaves none.
  reset_block(0x1002);
  vrx_vmf_set_callback(nullptr);
  EXPECT_EQ(vrx_vmf_get_mode(), 0x0002u);
}

TEST(VmfModeWord, StatusAndBaseBelongToTheThread) {
  reset_block(0x1A02);
  EXPECT_EQ(vrx_vmf_set_status(-7), 0);
  EXPECT_EQ(vrx_vmf_get_status(), -7);
  const double marker = 1.0;
  vrx_vmf_set_base(&marker);
  EXPECT_EQ(vrx_vmf_context_get()->base, &marker);
  vrx_vmf_context seen{};
  std::thread other([&] {
    seen = *vrx_vmf_context_get();
    vrx_vmf_set_status(5);
    vrx_vmf_set_base(nullptr);
  });
  other.join();
  // A new thread starts with a block of zeros, and its changes stay its own.
  EXPECT_EQ(seen.mode, 0u);
  EXPECT_EQ(seen.status, 0);
  EXPECT_EQ(seen.callback, nullptr);
  EXPECT_EQ(seen.base, nullptr);
  EXPECT_EQ(vrx_vmf_get_status(), -7);
  EXPECT_EQ(vrx_vmf_context_get()->base, &marker);
  reset_block(0x1A02);
}

TEST(VmfModeWord, RowFollowsTheAccuracyAndTreatsMissingAccuracyAsHigh) {
  reset_block(0x1A01);
  EXPECT_EQ(vrx_vmf_row(0), 0);
  EXPECT_EQ(vrx_vmf_row(9), 9);
  reset_block(0x1A02);
  EXPECT_EQ(vrx_vmf_row(7), 17);
  reset_block(0x1A03);
  EXPECT_EQ(vrx_vmf_row(5), 25);
  reset_block(0x100);  // no accuracy token
  EXPECT_EQ(vrx_vmf_row(6), 16);
  reset_block(0x10F);  // outside the table
  EXPECT_EQ(vrx_vmf_row(6), 16);
  reset_block(0x1A02);
}
