// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: input_error_test.cpp
//
// The escaping of control characters: one_line() for the error and warning
// lines, visible_controls() for every string read from an input.

#include "cli/input/input_error.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

struct Case {
  std::string text;
  std::string escaped;
};

TEST(OneLine, ApiExamples) {
  EXPECT_EQ(one_line("a\nb\x1b"), "a\\nb\\x1b");
  EXPECT_EQ(visible_controls("a\nb\x1b"), "a\nb\\x1b");
}

TEST(OneLine, EscapesEveryControlCharacter) {
  std::vector<Case> const cases = {
      {"plain text", "plain text"},
      {"", ""},
      {std::string("a\0b", 3), "a\\x00b"},
      {"\t\n\r", "\\t\\n\\r"},
      {"\x07\x08\x0c\x1f", "\\x07\\x08\\x0c\\x1f"},
      {"del\x7f", "del\\x7f"},
      {"c1\xC2\x80\xC2\x9B\xC2\x9F", "c1\\u0080\\u009b\\u009f"},
      {"nbsp\xC2\xA0 \xC3\xA9", "nbsp\xC2\xA0 \xC3\xA9"},  // not controls
      {"cut\xC2", "cut\xC2"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(one_line(c.text), c.escaped) << c.text;
  }
}

TEST(VisibleControls, KeepsLineFeedAndTab) {
  std::vector<Case> const cases = {
      {"plain text", "plain text"},
      {"two\nlines\tand a tab", "two\nlines\tand a tab"},
      {"\x1b[31mred\x1b[0m", "\\x1b[31mred\\x1b[0m"},
      {"bell\x07 cr\r del\x7f", "bell\\x07 cr\\r del\\x7f"},
      {"csi\xC2\x9B"
       "2J",
       "csi\\u009b2J"},
      {std::string("nul\0", 4), "nul\\x00"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(visible_controls(c.text), c.escaped) << c.text;
  }
}

TEST(MayHoldControls, FindsEachEscapableByteWherever) {
  // Every position of texts long enough for the compiler's vector loop
  // and its tail: each byte below 0x20, DEL and the lead byte 0xc2.
  std::string const clean(70, 'x');
  EXPECT_FALSE(may_hold_controls(clean));
  EXPECT_FALSE(may_hold_controls(""));
  // Bytes at and above 0x80 other than 0xc2 are not controls.
  EXPECT_FALSE(may_hold_controls("\xC3\xA9 \x80\xC1\xC3\xFF ~"));
  for (int byte : {0x00, 0x09, 0x0a, 0x1b, 0x1f, 0x7f, 0xc2}) {
    for (std::size_t at = 0; at < clean.size(); ++at) {
      std::string text = clean;
      text[at] = static_cast<char>(byte);
      EXPECT_TRUE(may_hold_controls(text)) << byte << " at " << at;
    }
  }
  EXPECT_FALSE(may_hold_controls(" "));  // 0x20 is the first text byte
  EXPECT_FALSE(may_hold_controls("~"));  // 0x7e
}

TEST(MoreWarningsLine, CountsTheWarningsLeftOut) {
  EXPECT_EQ(more_warnings_line("a.json", 5),
            "vesk-report: a.json: warning: 5 more warnings not shown\n");
  EXPECT_EQ(more_warnings_line("a\nb", 1),
            "vesk-report: a\\nb: warning: 1 more warning not shown\n");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
